// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/posix/sysfs.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include <fcntl.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace larkspur::platform {

std::optional<std::string> ReadSmallFile(const std::string& path, size_t limit) {
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) return std::nullopt;
  std::string text(limit, '\0');
  size_t length = 0;
  ssize_t got = 0;
  while (length < limit && (got = read(file, text.data() + length, limit - length)) > 0) {
    length += static_cast<size_t>(got);
  }
  close(file);
  if (got < 0) return std::nullopt;
  text.resize(length);
  if (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

SysBlock::SysBlock(dev_t device) {
  Find("/sys/dev/block/" + std::to_string(major(device)) + ":" + std::to_string(minor(device)));
}

SysBlock::SysBlock(const std::string& name) {
  Find("/sys/class/block/" + name);
}

SysBlock SysBlock::InFolder(const std::string& folder) {
  SysBlock block;
  block.Find(folder);
  return block;
}

void SysBlock::Find(const std::string& link) {
  const std::unique_ptr<char, decltype(&std::free)> real(realpath(link.c_str(), nullptr),
                                                         &std::free);
  if (!real) return;
  m_folder = real.get();
  const bool isPartition = access((m_folder + "/partition").c_str(), F_OK) == 0;
  m_disk = isPartition ? m_folder.substr(0, m_folder.rfind('/')) : m_folder;
}

// The kernel writes the slashes of a name as exclamation marks.
std::string SysBlock::Name() const {
  std::string name = m_folder.substr(m_folder.rfind('/') + 1);
  std::replace(name.begin(), name.end(), '!', '/');
  return name;
}

std::optional<std::string> SysBlock::Own(const char* file) const {
  return Exists() ? ReadSmallFile(m_folder + "/" + file) : std::nullopt;
}

std::optional<std::string> SysBlock::Disk(const char* file) const {
  return Exists() ? ReadSmallFile(m_disk + "/" + file) : std::nullopt;
}

u64 SysBlock::OwnNumber(const char* file) const {
  return std::strtoull(Own(file).value_or("0").c_str(), nullptr, 10);
}

u64 SysBlock::DiskNumber(const char* file) const {
  return std::strtoull(Disk(file).value_or("0").c_str(), nullptr, 10);
}

std::vector<SysBlock> SysBlock::Lower() const {
  std::vector<SysBlock> lower;
  for (const std::string& name : NamesIn(m_disk + "/slaves")) {
    lower.push_back(InFolder(m_disk + "/slaves/" + name));
  }
  return lower;
}

std::vector<std::string> NamesIn(const std::string& folder) {
  std::vector<std::string> names;
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator(folder, ignored)) {
    names.push_back(entry.path().filename());
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace larkspur::platform
