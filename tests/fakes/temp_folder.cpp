// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "fakes/temp_folder.h"

#include <random>

#include "io/file_io.h"

namespace larkspur::fakes {

namespace fs = std::filesystem;

TempFolder::TempFolder() {
  std::error_code error;
  fs::path base = fs::temp_directory_path(error);
  if (error) return;
  // Paths beyond 260 characters are to be removed, too; Windows wants this before them.
  if (fs::path::preferred_separator == '\\') base = fs::path(u"\\\\?\\" + base.u16string());
  std::random_device random;
  const fs::path folder = base / ("larkspur-test-" + std::to_string(random()));
  if (fs::create_directory(folder, error)) m_folder = folder;
}

TempFolder::~TempFolder() {
  std::error_code error;
  if (Exists()) fs::remove_all(m_folder, error);
}

std::u16string TempFolder::File(const std::u16string& name) const {
  return (m_folder / fs::path(name)).u16string();
}

bool WriteWholeFile(const std::u16string& path, const std::vector<u8>& bytes) {
  cFileIO file;
  return file.CreateEmpty(path.c_str()) &&
         (bytes.empty() || file.WriteExact(bytes.data(), static_cast<u32>(bytes.size())));
}

std::vector<u8> ReadWholeFile(const std::u16string& path) {
  cFileIO file;
  if (!file.Reopen(path.c_str(), cFileIO::kModeRead)) return {};
  std::vector<u8> bytes(file.GetSize());
  if (!bytes.empty()) bytes.resize(file.ReadSome(bytes.data(), static_cast<u32>(bytes.size())));
  return bytes;
}

}  // namespace larkspur::fakes
