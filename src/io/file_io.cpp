// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/file_io.h"

#include <chrono>

#include "base/owned.h"
#include "platform/clock.h"

namespace larkspur {
namespace {

constexpr u64 kPositionLimit = u64{1} << 63;  // positions of both systems are signed

// The first and last year that the system's own file times can hold.
constexpr int kFirstYear = 1601;
constexpr int kLastYear = 30827;

std::optional<i64> UtcOrUnchanged(u32 localSeconds) {
  if (localSeconds == cFileIO::kUnchangedTime) return std::nullopt;
  return platform::LocalToUtcSeconds(localSeconds);
}

}  // namespace

bool cFileIOTarget::ReadExact(void* buffer, u32 lengthBytes) {
  return ReadSome(buffer, lengthBytes) == lengthBytes;
}

bool cFileIOTarget::WriteExact(const void* buffer, u32 lengthBytes) {
  return WriteSome(buffer, lengthBytes) == lengthBytes;
}

bool cFileIO::Hold(platform::FileHandle file, const char16_t* path) {
  m_file = file;
  m_position = 0;
  if (IsOpen()) m_path.Assign(path);
  return IsOpen();
}

bool cFileIO::Reopen(const char16_t* path, u32 mode) {
  Close();
  // The path may be our own member, which Hold replaces.
  const cWideString kept{path};
  return Hold(platform::OpenExistingFile(kept.Text(), mode), kept.Text());
}

bool cFileIO::CreateEmpty(const char16_t* path) {
  Close();
  const cWideString kept{path};
  return Hold(platform::CreateEmptyFile(kept.Text()), kept.Text());
}

bool cFileIO::ReserveRoom(u64 offset, u64 bytes) {
  return IsOpen() && platform::ReserveRoom(m_file, offset, bytes);
}

std::optional<platform::FileIdentity> cFileIO::Identity() const {
  if (m_file == platform::kNoFile) return std::nullopt;
  return platform::IdentityOf(m_file);
}

u64 cFileIO::GetSize() {
  return IsOpen() ? platform::FileSize(m_file) : 0;
}

u32 cFileIO::ReadSome(void* buffer, u32 lengthBytes) {
  if (!IsOpen()) return 0;
  const u32 moved = platform::ReadFileAt(m_file, buffer, lengthBytes, m_position);
  m_position += moved;
  return moved;
}

u32 cFileIO::WriteSome(const void* buffer, u32 lengthBytes) {
  if (!IsOpen()) return 0;
  const u32 moved = platform::WriteFileAt(m_file, buffer, lengthBytes, m_position);
  m_position += moved;
  return moved;
}

bool cFileIO::Seek(u64 offset) {
  if (!IsOpen() || offset >= kPositionLimit) return false;
  m_position = offset;
  return true;
}

bool cFileIO::SeekFromEnd(u64 distance) {
  if (!IsOpen()) return false;
  const u64 size = GetSize();
  if (distance >= kPositionLimit - size) return false;
  m_position = size + distance;
  return m_position == distance;
}

bool cFileIO::SetSize(u64 sizeBytes) {
  return Seek(sizeBytes) && platform::SetFileSize(m_file, sizeBytes);
}

void cFileIO::Close() {
  if (IsOpen()) platform::CloseFile(m_file);
  m_file = platform::kNoFile;
}

bool cFileIO::SetTimeStamp(u16 year, u16 month, u16 day, u16 hour, u16 minute, u16 second) {
  using namespace std::chrono;
  const year_month_day date{std::chrono::year{year}, std::chrono::month{month},
                            std::chrono::day{day}};
  const bool valid = date.ok() && year >= kFirstYear && year <= kLastYear && hour < 24 &&
                     minute < 60 && second < 60;
  if (!IsOpen() || !valid) return false;
  const auto time = sys_days{date} + hours{hour} + minutes{minute} + seconds{second};
  const i64 utc = duration_cast<seconds>(time.time_since_epoch()).count();
  return platform::SetFileTimes(m_file, {.creation = utc, .access = std::nullopt, .write = utc});
}

bool cFileIO::SetUnixTimes(u32 write, u32 creation, u32 access) {
  if ((write & creation & access) == kUnchangedTime || !IsOpen()) return false;
  return platform::SetFileTimes(m_file, {.creation = UtcOrUnchanged(creation),
                                         .access = UtcOrUnchanged(access),
                                         .write = UtcOrUnchanged(write)});
}

void* cFileIO::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

}  // namespace larkspur
