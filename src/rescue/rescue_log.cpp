// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "rescue/rescue_log.h"

#include <chrono>

#include <fmt/core.h>

#include "base/json_text.h"
#include "platform/system_error.h"

namespace larkspur {
namespace {

constexpr std::u16string_view kLogSuffix = u".log";

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

bool MayWriteTo(const char16_t* path) {
  const platform::PathKind kind = platform::KindOfPath(path);
  return kind == platform::PathKind::kFile || kind == platform::PathKind::kAbsent;
}

}  // namespace

std::u16string LogPathOf(const std::u16string& cachePath) {
  return cachePath + std::u16string(kLogSuffix);
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

LogEvent& LogEvent::Add(const StatusTotals& totals) {
  return Add("present", totals.present)
      .Add("unreadable", totals.unreadable)
      .Add("missing", totals.missing);
}

FileLog::FileLog(const std::u16string& path) {
  platform::SetLastFailure(0);
  if (MayWriteTo(path.c_str())) {
    m_file = platform::OwnedFile(
        platform::OpenExistingFile(path.c_str(), platform::kOpenRead | platform::kOpenWrite));
    if (!m_file.IsOpen()) m_file = platform::OwnedFile(platform::CreateEmptyFile(path.c_str()));
  }
  if (!m_file.IsOpen()) {
    Fail();
    return;
  }
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
