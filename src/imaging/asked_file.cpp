// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/asked_file.h"

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
  const bool hasRoom = file->m_reader.Allocate(kMaxAskSectors * kSectorBytes, kLargestUnitBytes);
  if (!hasRoom || !file->OpenByPath()) return nullptr;
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
  const u32 delivered = Read(sector, static_cast<u8*>(buffer), count);
  if (delivered == count) return {count};
  AskOutcome outcome{delivered, FailureKind::kNone, platform::LastFailure()};
  outcome.kind = platform::KindOfFileFailure(outcome.code, m_file.Handle(),
                                             m_identity.sectors << kSectorShift);
  if (!m_hasFailed) LeaveCache();
  return outcome;
}

u32 cAskedFile::Read(u64 sector, u8* buffer, u32 count) {
  const bool isDirect = m_direct.IsOpen();
  const platform::FileHandle file = isDirect ? m_direct.Handle() : m_file.Handle();
  const u32 got = m_reader.Read(
      sector << kSectorShift, buffer, count << kSectorShift, isDirect ? m_unitBytes : 1,
      [file](u8* into, u32 length, u64 offset) { return ReadAt(file, into, length, offset); });
  if (got > 0 || !isDirect || !platform::IsFormRefused(platform::LastFailure())) {
    return got >> kSectorShift;
  }
  // Nothing was asked: the units are too small, or there is no way past the cache.
  if (m_unitBytes >= kLargestUnitBytes) m_direct.Close();
  m_unitBytes = kLargestUnitBytes;
  return Read(sector, buffer, count);
}

bool cAskedFile::Reconnect(double seconds) {
  return WaitFor(seconds, [this] {
    return OpenByPath() &&
           platform::FileSize(m_file.Handle()) >> kSectorShift == m_identity.sectors;
  });
}

}  // namespace larkspur
