// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/asked_file.h"

#include <algorithm>
#include <cstring>

#include "base/path_text.h"
#include "imaging/reconnect.h"
#include "platform/file_source.h"
#include "platform/system_error.h"

namespace larkspur {
namespace {

constexpr u32 kLargestUnitBytes = 4096;

// One transfer; being interrupted before it began is no answer.
u32 ReadAt(platform::FileHandle file, u8* buffer, u32 lengthBytes, u64 offset) {
  u32 got = 0;
  do {
    platform::SetLastFailure(0);
    got = platform::ReadFileAt(file, buffer, lengthBytes, offset);
  } while (got == 0 && platform::IsInterrupted(platform::LastFailure()));
  return got;
}

}  // namespace

std::unique_ptr<cAskedFile> cAskedFile::Open(const std::u16string& path) {
  std::unique_ptr<cAskedFile> file(new cAskedFile);
  file->m_path = path;
  file->m_identity.path = Utf8FromWide(path);
  if (!file->OpenByPath()) return nullptr;
  file->m_identity.sectors = platform::FileSize(file->m_file.Handle()) >> kSectorShift;
  file->m_identity.physicalSectorBytes = platform::UnitPastCache(file->m_file.Handle());
  return file;
}

bool cAskedFile::OpenByPath() {
  m_direct.Close();
  m_file = platform::OwnedFile(platform::OpenExistingFile(m_path.c_str(), platform::kOpenRead));
  if (m_file.IsOpen() && m_hasFailed) LeaveCache();
  return m_file.IsOpen();
}

void cAskedFile::LeaveCache() {
  m_hasFailed = true;
  m_unitBytes = platform::UnitPastCache(m_file.Handle());
  m_direct = platform::OwnedFile(platform::OpenPastCache(m_file.Handle()));
}

AskOutcome cAskedFile::Ask(u64 sector, void* buffer, u32 count) {
  if (!m_file.IsOpen()) return {0, FailureKind::kGone, 0};
  u8* into = static_cast<u8*>(buffer);
  const bool isDirect = m_direct.IsOpen();
  const u32 delivered =
      isDirect ? AskPastCache(sector, into, count) : AskThroughCache(sector, into, count);
  if (delivered == count) return {count};
  AskOutcome outcome{delivered, FailureKind::kNone, platform::LastFailure()};
  outcome.kind = platform::KindOfFileFailure(outcome.code, m_file.Handle(),
                                             m_identity.sectors << kSectorShift);
  if (!m_hasFailed) LeaveCache();
  return outcome;
}

u32 cAskedFile::AskThroughCache(u64 sector, u8* buffer, u32 count) {
  return ReadAt(m_file.Handle(), buffer, count << kSectorShift, sector << kSectorShift) >>
         kSectorShift;
}

u32 cAskedFile::AskPastCache(u64 sector, u8* buffer, u32 count) {
  const u64 offset = sector << kSectorShift;
  const u32 length = count << kSectorShift;
  const u64 first = offset / m_unitBytes * m_unitBytes;
  const u32 before = static_cast<u32>(offset - first);
  const u32 around = (before + length + m_unitBytes - 1) / m_unitBytes * m_unitBytes;
  const bool fits = around == length;
  if (!fits && !m_around.Data() &&
      !m_around.Allocate(kMaxAskSectors * kSectorBytes + 2 * kLargestUnitBytes)) {
    return 0;
  }
  u8* into = fits ? buffer : m_around.Data();
  const u32 got = ReadAt(m_direct.Handle(), into, around, first);
  if (got == 0 && platform::IsFormRefused(platform::LastFailure())) {
    // Nothing was asked: the units are too small, or there is no way past the cache.
    if (m_unitBytes >= kLargestUnitBytes) {
      m_direct.Close();
      return AskThroughCache(sector, buffer, count);
    }
    m_unitBytes = kLargestUnitBytes;
    return AskPastCache(sector, buffer, count);
  }
  const u32 delivered = std::min(got - std::min(got, before), length);
  if (!fits) std::memcpy(buffer, m_around.Data() + before, delivered);
  return delivered >> kSectorShift;
}

bool cAskedFile::Reconnect(double seconds) {
  return WaitFor(seconds, [this] {
    return OpenByPath() &&
           platform::FileSize(m_file.Handle()) >> kSectorShift == m_identity.sectors;
  });
}

}  // namespace larkspur
