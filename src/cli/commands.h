// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The commands: each turns what a person asked into calls, and results into words or JSON. All
// answer the program's exit status. Paths are UTF-8 as base/path_text.h has it.

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/exit_status.h"
#include "base/types.h"
#include "imaging/source_options.h"

namespace larkspur::cli {

// What the words of an option mean.
template <typename Value>
using Choice = std::pair<const char*, Value>;

inline constexpr Choice<PassThrough> kPassThroughChoices[] = {
    {"auto", PassThrough::kAuto}, {"on", PassThrough::kOn}, {"off", PassThrough::kOff}};

// Whether what is unreadable reads as zeros.
inline constexpr Choice<bool> kUnreadableChoices[] = {{"error", false}, {"zeros", true}};

// A source, and most often its cache.
struct StorageOptions {
  std::string source;
  std::string cache;
  std::string testMode;  // a ddrescue mapfile, or empty
  u64 start = 0;
  std::optional<u64> sectors;
  bool otherSource = false;
  PassThrough passThrough = PassThrough::kAuto;
  unsigned timeoutSeconds = 10;
  bool json = false;
};

struct ImageOptions : StorageOptions {
  std::string domain;     // a ddrescue mapfile, or empty
  std::string partition;  // a place, or empty
  bool used = false;      // only what file systems use
  bool scrape = true;
  bool retry = false;
  bool reverse = false;
  unsigned maxFailures = 64;
  u64 maxRate = 0;  // bytes a second; 0: no limit
  std::string whenSilent;
  std::string report;  // the page to keep up to date, or empty
  bool force = false;  // replace an existing file by it
  bool jsonProgress = false;
};

struct ReadOptions : StorageOptions {
  std::string output;  // empty: standard output
  bool force = false;  // replace an existing file
};

struct MapOptions {
  std::string cache;
  std::string png;
  std::string svg;
  std::string mapfile;
  bool force = false;  // replace existing files
  bool json = false;
};

struct ImportOptions {
  std::string image;
  std::string mapfile;
  std::string cache;
  bool json = false;
};

struct ExportOptions {
  std::string cache;
  std::string output;  // "-": standard output
  u64 start = 0;
  std::optional<u64> sectors;
  std::string partition;  // its place, instead of a range
  bool force = false;
  bool hash = false;
};

// Without a source, the cache as it is.
struct ServeOptions : StorageOptions {
  std::string socket;  // a path, or empty
  std::optional<u16> port;
  std::string address = "127.0.0.1";
  std::string partition;  // its place; empty: the whole storage
  bool zerosForUnreadable = false;
  bool fill = false;
};

// Without a source, the cache as it is.
struct FilesOptions : StorageOptions {
  std::string partition;           // its place; empty: all of them
  std::vector<std::string> paths;  // globs; none: all files
  std::string mapfile;             // a domain to write, or empty
  bool damaged = false;
  bool force = false;
};

struct ReportOptions {
  std::string cache;
  std::string output;
  bool force = false;
};

struct TreeOptions : StorageOptions {
  bool trace = false;
  bool noNotes = false;
  bool backupGpt = false;
};

ExitStatus RunImage(const ImageOptions& options);
ExitStatus RunRead(const ReadOptions& options);
ExitStatus RunLog(const std::string& cache, bool json);
ExitStatus RunInfo(const std::string& cache, bool json);
ExitStatus RunMap(const MapOptions& options);
ExitStatus RunCheck(const std::string& cache, bool repair, bool json);
ExitStatus RunImport(const ImportOptions& options);
ExitStatus RunExport(const ExportOptions& options);
ExitStatus RunServe(ServeOptions options);
ExitStatus RunFiles(const FilesOptions& options);
ExitStatus RunReport(const ReportOptions& options);
// The storage is options.source; options.cache may be empty.
ExitStatus RunTree(const TreeOptions& options);
ExitStatus RunDevices(bool json);
ExitStatus RunIdentify(const std::string& device, bool json);

}  // namespace larkspur::cli
