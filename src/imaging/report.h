// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The report on a rescue for the owner of the data: one HTML page that needs nothing else, without
// scripts, in plain words. What it tells is gathered by its callers; here it is written down. All
// texts are UTF-8 and may hold anything: they are escaped here.

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "imaging/summary.h"
#include "io/sector_range.h"

namespace larkspur {

// What every report begins with.
constexpr std::string_view kReportMark = "<!DOCTYPE html>\n<!-- A report of Larkspur. -->\n";

// Who the disk is; empty where it did not say.
struct ReportDisk {
  std::string path;
  std::string model;
  std::string serial;
  std::string firmware;
};

struct ReportRun {
  std::string start;  // as people read it, UTC
  std::string end;    // empty: it could not say any more
  std::string how;    // "done", "stopped", ...
  u64 asked = 0;      // sectors
};

// Good data at a moment of the work; pauses between runs do not count.
struct ReportPoint {
  double seconds = 0;
  u64 present = 0;  // sectors
};

// What the rescue log tells; empty without one.
struct ReportHistory {
  std::optional<ReportDisk> disk;
  std::vector<ReportRun> runs;
  std::vector<ReportPoint> good;
  std::vector<SectorRange> failures;                      // what was refused when it was asked for
  std::vector<std::pair<std::string, u64>> failureKinds;  // why, in words: how often
};

struct ReportPartition {
  std::string place;
  std::string kind;
  u64 start = 0;  // sector
  u64 sectors = 0;
};

struct ReportFile {
  std::string volume;  // its place; empty: the whole storage
  std::string path;
  u64 size = 0;  // bytes
  bool isDamaged = false;
  u64 unreadable = 0;  // sectors
  u64 missing = 0;
};

struct ReportFiles {
  u64 complete = 0;
  u64 damaged = 0;
  u64 incomplete = 0;
  // Those that are not complete; no more than kMaxListed of them.
  static constexpr size_t kMaxListed = 2000;
  std::vector<ReportFile> listed;
  // What kept files from being found, in a sentence each; no more than kMaxObstacles.
  static constexpr size_t kMaxObstacles = 100;
  std::vector<std::string> obstacles;
  void AddObstacle(std::string sentence) {
    if (obstacles.size() < kMaxObstacles) obstacles.push_back(std::move(sentence));
  }
};

struct ReportFacts {
  std::string cache;   // its name
  std::string made;    // when, as people read it
  std::string damage;  // what is wrong with the cache; empty: nothing
  ReportHistory history;
  std::vector<ReportPartition> partitions;
  std::optional<ReportFiles> files;  // none: they were not looked at
  u32 refreshSeconds = 0;            // a browser loads the page again after so long; 0: it does not
};

std::string WriteReport(cKVRSparseIO* image, const ReportFacts& facts);

}  // namespace larkspur
