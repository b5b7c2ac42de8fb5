// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include "platform/file.h"

namespace larkspur::platform {

// A file handle that is closed with its owner; kNoFile owns nothing.
class OwnedFile {
 public:
  OwnedFile() = default;
  explicit OwnedFile(FileHandle file) : m_file(file) {}
  OwnedFile(OwnedFile&& other) noexcept : m_file(other.Release()) {}
  OwnedFile& operator=(OwnedFile&& other) noexcept {
    Close();
    m_file = other.Release();
    return *this;
  }
  ~OwnedFile() { Close(); }

  FileHandle Handle() const { return m_file; }
  bool IsOpen() const { return m_file != kNoFile; }
  void Close() {
    if (IsOpen()) CloseFile(m_file);
    m_file = kNoFile;
  }

 private:
  FileHandle Release() {
    const FileHandle file = m_file;
    m_file = kNoFile;
    return file;
  }

  FileHandle m_file = kNoFile;
};

}  // namespace larkspur::platform
