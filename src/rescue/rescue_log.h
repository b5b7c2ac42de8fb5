// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The rescue log: who the disk is, what was tried and what happened, beside the cache as
// `CACHE.log`. JSON Lines in UTF-8, one event a line, each with "t" (UTC) and "event"; it is only
// appended to. docs/rescue-log.md has the events. The cache is complete without it: what cannot be
// written here is told of once, and costs at worst that something is asked again.

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "io/sector_range.h"
#include "io/status_counts.h"
#include "platform/file.h"
#include "rescue/asked_source.h"

namespace larkspur {

// The log's path, for the cache's: beside the file itself, where that is reached through a link.
std::u16string LogPathOf(const std::u16string& cachePath);

// One event, made key by key: LogEvent("failed").Add("start", 7).
class LogEvent {
 public:
  explicit LogEvent(std::string_view name);

  LogEvent& Add(std::string_view key, u64 value);
  LogEvent& Add(std::string_view key, bool value);
  LogEvent& Add(std::string_view key, double value);
  LogEvent& Add(std::string_view key, std::string_view text);
  LogEvent& Add(std::string_view key, const SourceIdentity& source);
  LogEvent& Add(SectorRange range) { return Add("start", range.first).Add("sectors", range.count); }
  LogEvent& Add(const StatusCounts& counts);
  // A pointer would become true or false.
  LogEvent& Add(std::string_view key, const char* text) { return Add(key, std::string_view(text)); }

  const std::string& Line() const { return m_line; }

 private:
  void Key(std::string_view key);

  std::string m_line;
};

class RescueLog {
 public:
  virtual ~RescueLog() = default;

  virtual void Write(const LogEvent& event) = 0;
  // Flushes what was written to disk.
  virtual void Sync() = 0;
};

// Why nothing is logged to the file that has the log's name.
enum class LogFault {
  kUsed,     // the run itself reads or writes it
  kForeign,  // it holds something else
  kFolder,
  kNoFile,    // a device, a pipe
  kDeadLink,  // a link to what is not there
};

// Asks before anything is opened for writing. None when there is no such file, an empty one, a log,
// or what a power cut left of one. `used` are the paths that the run works on.
std::optional<LogFault> FaultOfLog(const std::u16string& path,
                                   const std::vector<std::u16string>& used);

// The log in its file. Does nothing where it could not be opened.
class FileLog final : public RescueLog {
 public:
  // Opens or makes the file, after FaultOfLog. Where the system refuses that, Failure() says why.
  static Result<std::unique_ptr<FileLog>, LogFault> Open(const std::u16string& path,
                                                         const std::vector<std::u16string>& used);

  void Write(const LogEvent& event) override;
  void Sync() override;
  // The system's error of the first failure; 0 while all is well.
  u32 Failure() const { return m_failure; }

 private:
  explicit FileLog(platform::OwnedFile file);
  void Fail();

  platform::OwnedFile m_file;
  u64 m_end = 0;
  u32 m_failure = 0;
};

}  // namespace larkspur
