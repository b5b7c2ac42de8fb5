// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/file_source.h"

#include <cerrno>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>

#include "platform/posix/block_state.h"
#include "platform/system_error.h"

namespace larkspur::platform {

// By the descriptor and not by the path: the file's name may belong to another by now.
FileHandle OpenPastCache(FileHandle file) {
  const std::string link = "/proc/self/fd/" + std::to_string(file);
  const int direct = open(link.c_str(), O_RDONLY | O_DIRECT | O_CLOEXEC | O_NONBLOCK);
  if (direct < 0) {
    SetLastFailure(static_cast<u32>(errno));
    // The cache fails less of a file when it does not read ahead.
    posix_fadvise(static_cast<int>(file), 0, 0, POSIX_FADV_RANDOM);
  }
  return direct;
}

u32 UnitPastCache(FileHandle file) {
  struct stat status;
  if (fstat(static_cast<int>(file), &status) != 0) return kSectorBytes;
  const u64 bytes = SysBlock(status.st_dev).DiskNumber("queue/logical_block_size");
  return bytes == 4096 ? 4096 : kSectorBytes;
}

FailureKind KindOfFileFailure(u32 code, FileHandle file, u64 bytes) {
  const FailureKind kind = code == 0 ? FailureKind::kUnclear : KindOfFailure(code);
  if (kind == FailureKind::kMedium) return kind;
  const FailureKind state = StateOfFile(static_cast<int>(file), bytes);
  if (state != FailureKind::kNone) return state;
  return kind == FailureKind::kGone ? FailureKind::kTransport : kind;  // of this piece only
}

}  // namespace larkspur::platform
