// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A disk image as libtsk reads it, whose sectors come over a helper's line; and the other messages
// of that line (files/walker.h). Ends the process when the line breaks: then no one waits for it.

#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

#include <tsk/libtsk.h>

#include "files/walker.h"

namespace larkspur {

enum class ReadMode {
  kExact,  // a read of what is not there fails, and what is told next lacks it
  kZeros,  // what is not there reads as zeros, and what is told next lacks it
  kAside,  // as kZeros, but it is the whole file system that lacks it
};

class LineImage {
 public:
  LineImage(platform::HelperLine& line, u64 sectors);

  TSK_IMG_INFO* Info() { return &m_image->info; }
  void SetMode(ReadMode mode) { m_mode = mode; }
  // How many reads have failed since what was wanted is not there.
  u64 Failures() const { return m_failures; }

  // Tells a message made of these parts. Held back until the next read or Flush.
  void Tell(WalkMessage kind, std::initializer_list<std::string_view> parts);
  void Flush();

 private:
  // What libtsk hands back to us is the address of `info`.
  struct Image {
    TSK_IMG_INFO info;
    LineImage* owner;
  };

  ssize_t Read(u64 offset, char* buffer, size_t count);
  ssize_t Failed();
  ssize_t ReadUnaligned(u64 offset, char* buffer, size_t count);
  bool IsReadAhead(u64 offset, size_t count) const;
  // False when any of it is not there; zeros stand in.
  bool Ask(u64 first, u64 sectors, WalkCare care, char* buffer);
  WalkCare CareOfMode() const;

  platform::HelperLine& m_line;
  std::unique_ptr<Image> m_image;
  ReadMode m_mode = ReadMode::kAside;
  std::string m_told;
  u64 m_failures = 0;
  u64 m_refused = kNowhere;  // where the last read-ahead that was refused began
};

}  // namespace larkspur
