// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The helper's side of a walk: reads a file system with libtsk and tells what it finds over the
// line. Messages, integers in the machine's own order since both ends are one program:
//
//   WalkMessage kind, u32 length, then that many bytes
//
// A read is answered with one byte (1: all of it is there) and the data, always of the full length.

#include "platform/helper_process.h"

namespace larkspur {

enum class WalkMessage : u32 {
  kRead,     // WalkRead
  kOpened,   // kind, a zero byte, label
  kAreas,    // SectorRange..., of the next file, relative to the file system
  kFile,     // WalkFileHead, path
  kFolder,   // path of a folder that was just read; told when something in it could not be
  kUsed,     // SectorRange..., relative to the file system
  kNothing,  // no file system
  kEnd,
};

struct WalkHead {
  WalkMessage kind;
  u32 length;
};

// Whom it matters to when a read meets what is not there.
enum class WalkCare : u32 {
  kNone,        // it is asked for again
  kNext,        // the file or folder that is told next
  kFileSystem,  // no one file
};

struct WalkRead {
  u64 first;  // sector, relative to the file system
  u32 count;
  WalkCare care;
};

struct WalkFileHead {
  u64 size;
  u32 deleted;
  u32 known;
};

constexpr u32 kMaxWalkRead = 128;          // sectors
constexpr u32 kMaxWalkMessage = 64 << 10;  // bytes after the head

// What is told beside the files.
enum class WalkTask { kFiles, kFilesAndUsed };

// Walks the file system on a storage of `sectors` sectors; ends when it has told everything.
void RunWalker(platform::HelperLine& line, u64 sectors, WalkTask task);

}  // namespace larkspur
