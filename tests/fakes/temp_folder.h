// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A folder for one test's files, removed with everything in it at the end.

#include <filesystem>
#include <string>
#include <vector>

#include "base/types.h"

namespace larkspur::fakes {

class TempFolder {
 public:
  TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  ~TempFolder();

  // False when the system has no such folder; then nothing below may be used.
  bool Exists() const { return !m_folder.empty(); }
  const std::filesystem::path& Path() const { return m_folder; }
  // The path of a file in the folder as I/O objects take it.
  std::u16string File(const std::u16string& name) const;

 private:
  std::filesystem::path m_folder;
};

// Makes a file of these bytes; false on failure.
bool WriteWholeFile(const std::u16string& path, const std::vector<u8>& bytes);
std::vector<u8> ReadWholeFile(const std::u16string& path);

}  // namespace larkspur::fakes
