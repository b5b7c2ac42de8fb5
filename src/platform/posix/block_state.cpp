// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/posix/block_state.h"

#include <cerrno>

#include <sys/stat.h>

namespace larkspur::platform {
namespace {

constexpr int kMaxLayers = 8;  // of devices built on devices

FailureKind StateOf(const SysBlock& block, u64 bytes, int layers);

// What the drivers of SCSI disks and NVMe controllers call their states.
FailureKind StateByName(const std::string& name) {
  for (const char* gone : {"cancel", "deleted", "offline", "transport-offline", "deleting",
                           "deleting (no IO)", "dead"}) {
    if (name == gone) return FailureKind::kGone;
  }
  for (const char* waiting : {"blocked", "created-blocked", "quiesce", "resetting", "connecting"}) {
    if (name == waiting) return FailureKind::kTransport;
  }
  return FailureKind::kNone;
}

// Of several that are all needed.
FailureKind Worse(FailureKind one, FailureKind other) {
  if (one == FailureKind::kGone || other == FailureKind::kGone) return FailureKind::kGone;
  return one == FailureKind::kNone ? other : one;
}

// How many of the devices below may be gone before the one above is: the redundancy of md arrays,
// and all but one of several paths to the same disk.
size_t MaySpare(const SysBlock& block, size_t below) {
  const std::string level = block.Disk("md/level").value_or("");
  if (level == "raid4" || level == "raid5") return 1;
  if (level == "raid6") return 2;
  const bool isCopies = level == "raid1" || level == "raid10" ||
                        block.Disk("dm/uuid").value_or("").rfind("mpath-", 0) == 0;
  return isCopies && below > 0 ? below - 1 : 0;
}

FailureKind StateOfLower(const SysBlock& block, int layers) {
  const std::vector<SysBlock> below = block.Lower();
  FailureKind worst = FailureKind::kNone;
  size_t gone = 0;
  for (const SysBlock& lower : below) {
    const FailureKind state = StateOf(lower, 0, layers);
    if (state == FailureKind::kGone) {
      ++gone;
    } else {
      worst = Worse(worst, state);
    }
  }
  return gone > MaySpare(block, below.size()) ? FailureKind::kGone : worst;
}

FailureKind StateOfHolder(const struct stat& file, u64 bytes, int layers) {
  if (S_ISBLK(file.st_mode)) return StateOf(SysBlock(file.st_rdev), bytes, layers);
  if (static_cast<u64>(file.st_size) < bytes) return FailureKind::kGone;
  // File systems with a number of their own (networks, several disks) do not tell where they lie.
  const SysBlock disk(file.st_dev);
  return disk.Exists() ? StateOf(disk, 0, layers) : FailureKind::kNone;
}

// Of the file that a loop device is made of.
FailureKind StateOfBackingFile(const SysBlock& block, u64 bytes, int layers) {
  const auto path = block.Disk("loop/backing_file");
  if (!path) return FailureKind::kNone;
  struct stat file;
  if (stat(path->c_str(), &file) == 0) {
    return StateOfHolder(file, bytes + block.DiskNumber("loop/offset"), layers);
  }
  // A path that is merely absent belongs to another mount namespace: nothing is known.
  const bool isUnknown = errno == ENOENT && !path->ends_with(" (deleted)");
  return isUnknown || errno == EACCES ? FailureKind::kNone : FailureKind::kGone;
}

FailureKind StateOf(const SysBlock& block, u64 bytes, int layers) {
  if (!block.Exists()) return FailureKind::kGone;
  const u64 size = block.OwnNumber("size") << kSectorShift;
  const u64 diskBytes = block.DiskNumber("size") << kSectorShift;
  if (size == 0 || size < bytes || diskBytes == 0) return FailureKind::kGone;
  FailureKind state = StateByName(block.Disk("device/state").value_or(""));
  if (layers == 0) return state;
  state = Worse(state, StateOfBackingFile(block, diskBytes, layers - 1));
  return Worse(state, StateOfLower(block, layers - 1));
}

}  // namespace

FailureKind StateOfBlock(const SysBlock& block, u64 bytes) {
  return StateOf(block, bytes, kMaxLayers);
}

FailureKind StateOfFile(int file, u64 bytes) {
  struct stat status;
  if (fstat(file, &status) != 0) return FailureKind::kGone;
  return StateOfHolder(status, bytes, kMaxLayers);
}

}  // namespace larkspur::platform
