// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What `larkspur files` prints, as it finds it: a table, or a JSON document.

#include <memory>
#include <string>

#include "files/file_state.h"
#include "files/volumes.h"

namespace larkspur::cli {

struct FoundVolume {
  PlacedVolume volume;
  std::string fileSystem;
  std::string label;
};

class FilesOutput {
 public:
  virtual ~FilesOutput() = default;
  virtual void BeginVolume(const FoundVolume& volume) = 0;
  // Every file that is looked at, listed or not.
  virtual void Count(FileCondition condition) = 0;
  virtual void File(const PlacedVolume& volume, const FoundFile& file, const FileState& state) = 0;
  // A folder, or with an empty path the file system itself, that is not all there.
  virtual void Damaged(const PlacedVolume& volume, const std::string& path,
                       const FileState& state) = 0;
  virtual void End() = 0;
};

std::unique_ptr<FilesOutput> MakeFilesOutput(const std::string& cache, bool json);

// "disk.kvrsp: partition 2", or the cache alone.
std::string VolumeName(const std::string& cache, const PlacedVolume& volume);

}  // namespace larkspur::cli
