// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The rescue log: who the disk is, what was tried and what happened, beside the cache as
// `CACHE.log`. JSON Lines in UTF-8, one event a line, each with "t" (UTC) and "event"; it is only
// appended to. docs/rescue-log.md has the events. The cache is complete without it: what cannot be
// written here is told of once, and costs at worst that something is asked again.

#include <string>
#include <string_view>

#include "io/sector_range.h"
#include "platform/owned_file.h"
#include "rescue/asked_source.h"

namespace larkspur {

struct StatusTotals {
  u64 present = 0;
  u64 unreadable = 0;
  u64 missing = 0;
};

// The log's path, for the cache's.
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
  LogEvent& Add(const StatusTotals& totals);
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

// The log in its file. Does nothing where it could not be opened.
class FileLog final : public RescueLog {
 public:
  // Opens or makes the file; only an ordinary file is written to.
  explicit FileLog(const std::u16string& path);

  void Write(const LogEvent& event) override;
  void Sync() override;
  // The system's error of the first failure; 0 while all is well.
  u32 Failure() const { return m_failure; }

 private:
  void Fail();

  platform::OwnedFile m_file;
  u64 m_end = 0;
  u32 m_failure = 0;
};

}  // namespace larkspur
