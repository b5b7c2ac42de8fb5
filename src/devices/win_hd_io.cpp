// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "devices/win_hd_io.h"

#include <algorithm>
#include <new>

#include "base/path_text.h"
#include "devices/device_kind.h"
#include "devices/identity_text.h"

namespace larkspur {
namespace {

using namespace platform;

constexpr u32 kLargestSector = 4096;
constexpr i32 kDescriptionCharacters = 1024;

u32 AccessFor(bool readOnly) {
  return readOnly ? kAccessRead : kAccessRead | kAccessWrite;
}

const char16_t* KindSuffix(u32 kind) {
  switch (kind) {
    case kKindAta:
      return u" (ATA)";
    case kKindScsi:
      return u" (SCSI)";
    case kKindSat:
      return u" (SAT)";
    case kKindUsb:
      return u" (USB)";
  }
  return u"";
}

std::u16string DriveNumber(i32 number) {
  return WideFromUtf8(std::to_string(number));
}

}  // namespace

cBaseIO* cWinHDIO::Clone() {
  return FinishClone(Owned<cWinHDIO>(new (std::nothrow) cWinHDIO), m_resource);
}

cBaseIO* cWinHDIO::FinishClone(Owned<cWinHDIO> clone, const cBaseIoResource& resource) {
  if (!clone || !clone->Open(&resource, m_readOnly)) return nullptr;
  clone->m_payloadOffset = m_payloadOffset;
  clone->m_payloadSize = m_payloadSize;
  const bool isUsual = m_sectorSize == kSectorBytes || m_sectorSize == kLargestSector;
  if (clone->m_sectorSize != m_sectorSize && (clone->m_sectorSize & 0xFFFF) != 0 && isUsual) {
    clone->m_sectorSize = m_sectorSize;
    clone->m_sectorRatio = m_sectorRatio;
  }
  return clone.release();
}

bool cWinHDIO::IsSameAs(cBaseIO* other) {
  return other && other->GetTypeId() == GetTypeId() &&
         static_cast<cWinHDIO*>(other)->m_resource.Equals(&m_resource);
}

void cWinHDIO::InitState() {
  m_readOnly = true;
  m_sectorCount = 0;
  m_fullSectorCount = 0;
  m_position = 0;
  m_alignedPosition = 0;
  m_payloadOffset = 0;
  m_payloadSize = kSectorBytes;
  m_sectorSize = 0;
  m_sectorRatio = 0;
  m_sectorsPerTrack = 0;
  m_tracksPerCylinder = 0;
  m_removable = false;
  m_serial.Assign({});
  m_identity = {};
}

void cWinHDIO::Close() {
  m_device.reset();
  m_transfer.Free();
  m_path.Assign({});
  InitState();
}

bool cWinHDIO::OpenHandle() {
  if (m_path.IsEmpty()) return false;
  m_device = Devices().Open(m_path.Text(), AccessFor(m_readOnly));
  return m_device != nullptr;
}

bool cWinHDIO::SetReadOnly(bool readOnly) {
  if (readOnly == m_readOnly) return true;
  if (m_path.IsEmpty()) return false;
  m_device.reset();  // before the other mode: some drivers take one writer only
  m_device = Devices().Open(m_path.Text(), AccessFor(readOnly));
  if (!m_device) return false;
  m_readOnly = readOnly;
  return true;
}

bool cWinHDIO::Open(const cBaseIoResource* resource, bool readOnly) {
  Close();
  if (!resource || resource->GetKind() != kResourceNumberedDevice) return false;
  m_resource.Assign(*resource);
  m_path.Assign(u"\\\\.\\PhysicalDrive" + DriveNumber(m_resource.Number()));
  m_readOnly = readOnly;
  return OpenDevice();
}

bool cWinHDIO::LoadGeometry() {
  const auto geometry = QueryGeometry(*m_device);
  if (!geometry) return false;
  m_sectorSize = geometry->bytesPerSector;
  m_sectorRatio = m_sectorSize / kSectorBytes;
  m_sectorsPerTrack = geometry->sectorsPerTrack;
  m_tracksPerCylinder = geometry->tracksPerCylinder;
  m_sectorCount = SectorsByLengthOr(*m_device, *geometry);
  m_fullSectorCount = m_sectorCount;
  return true;
}

bool cWinHDIO::OpenDevice() {
  if (!OpenHandle()) return false;
  m_removable = larkspur::IsRemovable(m_device.get());
  if (!m_transfer.Allocate(kTransferBytes) || !LoadGeometry()) {
    m_device.reset();
    return false;
  }
  const std::unique_ptr<char16_t[]> text(new (std::nothrow) char16_t[kDescriptionCharacters]);
  if (text && GetDescription(text.get(), kDescriptionCharacters)) m_name.Assign(text.get());
  if (m_sectorRatio == 0) {
    m_device.reset();
    return false;
  }
  m_payloadOffset = 0;
  m_payloadSize = m_sectorSize / kSectorBytes * kSectorBytes;
  m_position = 0;
  m_alignedPosition = 0;
  return true;
}

u32 cWinHDIO::Write(u64 sector, const void* buffer, u32 count) {
  if (m_readOnly || sector >= m_sectorCount || !m_device) return 0;
  if (SetPosition(sector) != sector) return 0;
  const u64 fitting = std::min<u64>({count, m_sectorCount - sector, 0xFFFFFFFF / kSectorBytes});
  return m_device->Write(buffer, static_cast<u32>(fitting * kSectorBytes)) / kSectorBytes;
}

const char16_t* cWinHDIO::GetName() {
  return m_serial.IsEmpty() ? u"[n/a]" : m_serial.Text();
}

void* cWinHDIO::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

bool cWinHDIO::GetGeometry(u32* three) {
  three[0] = m_sectorSize;
  three[1] = m_sectorsPerTrack;
  three[2] = m_tracksPerCylinder;
  return true;
}

bool cWinHDIO::GetDescription(char16_t* buffer, i32 capacity) {
  return Describe(u"Drive" + DriveNumber(m_resource.Number()) + u": ", buffer, capacity);
}

bool cWinHDIO::Describe(const std::u16string& prefix, char16_t* buffer, i32 capacity) {
  const auto text = IdentityText();
  return text && CopyText(prefix + *text, buffer, capacity);
}

std::optional<std::u16string> cWinHDIO::IdentityText() {
  auto text = ProbeDrive();
  return text ? text : TextOfSystem();
}

// Through a handle of its own: commands to the drive ask for the right to write.
std::optional<std::u16string> cWinHDIO::ProbeDrive() {
  const auto device =
      m_path.IsEmpty() ? nullptr : Devices().Open(m_path.Text(), kAccessRead | kAccessWrite);
  auto identity = device ? ProbeIdentity(*device) : std::nullopt;
  if (!identity) return std::nullopt;
  if (!identity->serial.empty()) m_serial.Assign(identity->serial);
  m_fullSectorCount = identity->sectorCount + 1;
  m_sectorSize = std::max(m_sectorSize, identity->logicalSectorBytes);
  m_sectorRatio = m_sectorSize / kSectorBytes;
  if (identity->model.empty()) identity->model = u"[n/a]";
  m_identity = std::move(*identity);
  return (m_removable ? u"Removable " : u"Fixed ") + m_identity.model + KindSuffix(m_identity.kind);
}

std::optional<std::u16string> cWinHDIO::TextOfSystem() {
  if (!m_device) return std::nullopt;
  const auto found = TextsOfDescriptor(*m_device);
  const DescriptorTexts texts = found.value_or(DescriptorTexts());
  if (found) m_serial.Assign(texts.serial);
  m_identity.serial = m_serial.View();
  m_identity.model = ModelText(texts.vendor, texts.model);
  return texts.line;
}

}  // namespace larkspur
