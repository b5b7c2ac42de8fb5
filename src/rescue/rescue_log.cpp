// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "rescue/rescue_log.h"

#include <algorithm>
#include <chrono>

#include <fmt/core.h>

#include "base/json_text.h"
#include "platform/file.h"
#include "platform/system_error.h"

namespace larkspur {
namespace {

constexpr std::u16string_view kLogSuffix = u".log";
constexpr std::string_view kEventStart = R"({"t":")";
constexpr size_t kHeadBytes = 1 << 16;

// "2026-11-21T19:00:00.123Z"
std::string UtcNow() {
  using namespace std::chrono;
  const auto now = time_point_cast<milliseconds>(system_clock::now());
  const auto day = floor<days>(now);
  const year_month_day date(day);
  const hh_mm_ss time(now - day);
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z", int{date.year()},
                     unsigned{date.month()}, unsigned{date.day()}, time.hours().count(),
                     time.minutes().count(), time.seconds().count(), time.subseconds().count());
}

// Whether a file that begins like this is a log: any of these lines begins an event. A power cut
// may have made zeros of some of it, or cut it within its first line.
bool HasEvents(std::string_view head, bool isWhole) {
  const size_t firstText = head.find_first_not_of('\0');
  if (firstText == head.npos) return isWhole;
  head.remove_prefix(firstText);
  for (size_t end; (end = head.find_first_of(std::string_view("\n\0", 2))) != head.npos;) {
    if (head.starts_with(kEventStart)) return true;
    head.remove_prefix(end + 1);
  }
  const size_t count = std::min(head.size(), kEventStart.size());
  return count > 0 && head.substr(0, count) == kEventStart.substr(0, count);
}

bool IsLog(const std::u16string& path) {
  const platform::OwnedFile file(platform::OpenExistingFile(path.c_str(), platform::kOpenRead));
  if (!file.IsOpen()) return true;  // then nothing is written to it either
  std::string head(kHeadBytes, '\0');
  head.resize(platform::ReadFileAt(file.Handle(), head.data(), kHeadBytes, 0));
  return HasEvents(head, platform::FileSize(file.Handle()) <= kHeadBytes);
}

}  // namespace

std::u16string LogPathOf(const std::u16string& cachePath) {
  return platform::FollowLinks(cachePath) + std::u16string(kLogSuffix);
}

LogEvent::LogEvent(std::string_view name)
    : m_line(fmt::format(R"({{"t":"{}","event":"{}"}})", UtcNow(), name)) {}

// Every key goes before the closing brace.
void LogEvent::Key(std::string_view key) {
  m_line.back() = ',';
  m_line += fmt::format("\"{}\":", key);
}

LogEvent& LogEvent::Add(std::string_view key, u64 value) {
  Key(key);
  m_line += fmt::format("{}}}", value);
  return *this;
}

LogEvent& LogEvent::Add(std::string_view key, bool value) {
  Key(key);
  m_line += value ? "true}" : "false}";
  return *this;
}

LogEvent& LogEvent::Add(std::string_view key, double value) {
  Key(key);
  m_line += fmt::format("{:.3f}}}", value);
  return *this;
}

LogEvent& LogEvent::Add(std::string_view key, std::string_view text) {
  Key(key);
  m_line += JsonText(text) + "}";
  return *this;
}

LogEvent& LogEvent::Add(std::string_view key, const SourceIdentity& source) {
  Key(key);
  m_line += fmt::format(
      R"({{"path":{},"model":{},"serial":{},"firmware":{},"sectors":{},"logicalSectorSize":{},)"
      R"("physicalSectorSize":{}}}}})",
      JsonText(source.path), JsonText(source.model), JsonText(source.serial),
      JsonText(source.firmware), source.sectors, source.logicalSectorBytes,
      source.physicalSectorBytes);
  return *this;
}

LogEvent& LogEvent::Add(const StatusCounts& counts) {
  return Add("present", counts.present)
      .Add("unreadable", counts.unreadable)
      .Add("missing", counts.missing);
}

std::optional<LogFault> FaultOfLog(const std::u16string& path,
                                   const std::vector<std::u16string>& used) {
  switch (platform::KindOfPath(path.c_str())) {
    case platform::PathKind::kAbsent:
    case platform::PathKind::kUnknown:  // opening it will say why
      return std::nullopt;
    case platform::PathKind::kFolder:
      return LogFault::kFolder;
    case platform::PathKind::kDeadLink:
      return LogFault::kDeadLink;
    case platform::PathKind::kDevice:
    case platform::PathKind::kOther:
      return LogFault::kNoFile;
    case platform::PathKind::kFile:
      break;
  }
  const auto isSame = [&path](const std::u16string& other) {
    return platform::AreSameFile(path.c_str(), other.c_str());
  };
  if (std::any_of(used.begin(), used.end(), isSame)) return LogFault::kUsed;
  return IsLog(path) ? std::nullopt : std::optional(LogFault::kForeign);
}

Result<std::unique_ptr<FileLog>, LogFault> FileLog::Open(const std::u16string& path,
                                                         const std::vector<std::u16string>& used) {
  if (const auto fault = FaultOfLog(path, used)) return Failed(*fault);
  const bool isNew = platform::KindOfPath(path.c_str()) == platform::PathKind::kAbsent;
  constexpr u32 kReadWrite = platform::kOpenRead | platform::kOpenWrite;
  platform::SetLastFailure(0);
  return std::unique_ptr<FileLog>(new FileLog(
      platform::OwnedFile(isNew ? platform::CreateNewFile(path.c_str())
                                : platform::OpenExistingFile(path.c_str(), kReadWrite))));
}

FileLog::FileLog(platform::OwnedFile file) : m_file(std::move(file)) {
  if (!m_file.IsOpen()) {
    Fail();
    return;
  }
  platform::LockFileAlone(m_file.Handle());  // so that no other run takes it for an output
  m_end = platform::FileSize(m_file.Handle());
  // A run that was killed may have left half a line: the next event begins a line of its own.
  char last = '\n';
  if (m_end > 0) platform::ReadFileAt(m_file.Handle(), &last, 1, m_end - 1);
  if (last != '\n' && platform::WriteFileAt(m_file.Handle(), "\n", 1, m_end) == 1) ++m_end;
}

void FileLog::Fail() {
  constexpr u32 kUnknownFailure = ~u32{0};
  const u32 code = platform::LastFailure();
  if (m_failure == 0) m_failure = code ? code : kUnknownFailure;
}

void FileLog::Write(const LogEvent& event) {
  if (!m_file.IsOpen()) return;
  const std::string line = event.Line() + "\n";
  const u32 length = static_cast<u32>(line.size());
  const u32 written = platform::WriteFileAt(m_file.Handle(), line.data(), length, m_end);
  // What came out cut is written over by the next event, which may be shorter: its rest is then a
  // line that makes no sense, and is passed over.
  if (written == length) {
    m_end += length;
  } else {
    Fail();
  }
}

void FileLog::Sync() {
  if (m_file.IsOpen() && !platform::SyncFile(m_file.Handle())) Fail();
}

}  // namespace larkspur
