// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Reading by SCSI commands of our own: one command is one request to the drive, it has our time and
// not the system's, and the drive's sense data say what failed. One thread at a time.

#include <memory>
#include <string>

#include "platform/device.h"
#include "platform/pages.h"

namespace larkspur {

struct ScsiCommand;

// What one command came to: everything that was asked for, or nothing.
struct CommandOutcome {
  // False: the drive or its driver does not take such commands, and nothing was read.
  bool isTaken = true;
  platform::FailureKind kind = platform::FailureKind::kNone;
  u32 code = 0;             // the system's error number where the command did not reach the drive
  u64 firstBad = kNowhere;  // the first of the sectors asked for that the drive named as bad
  u32 sense = 0;            // as AskOutcome::sense
};

class cPassThroughReader {
 public:
  struct Target {
    std::u16string path;
    u32 blockBytes = kSectorBytes;
    u32 maxSectors = 0;  // of one request
    u32 timeoutSeconds = 0;
    bool isOptical = false;
    bool isRemovable = false;
  };
  // Opens the device for commands. Null where that is not allowed, where its connection carries no
  // SCSI commands, or where it is not known on which blocks of the drive it lies.
  static std::unique_ptr<cPassThroughReader> Open(const Target& target);

  // Reads [sector, sector+count) into `buffer`, a page's start. Blocks that do not fit whole
  // sectors (520 bytes and the like) give their first 512 bytes, and count as one sector each.
  CommandOutcome Read(u64 sector, u32 count, u8* buffer);

 private:
  explicit cPassThroughReader(const Target& target) : m_target(target) {}
  bool FindStart();
  bool IsOdd() const { return m_target.blockBytes % kSectorBytes != 0; }
  u32 Ratio() const { return IsOdd() ? 1 : m_target.blockBytes / kSectorBytes; }
  CommandOutcome Send(ScsiCommand* command);
  CommandOutcome ReadBlocks(u64 block, u32 count, u8* data);
  // One block of an optical disc, whatever the form of its sector.
  CommandOutcome ReadRawBlock(u64 block, u8* data);
  // Gives the sectors asked for out of the blocks around them.
  void TakeOut(u64 sector, u32 count, u8* buffer) const;

  Target m_target;
  std::unique_ptr<platform::Device> m_device;
  u64 m_firstSector = 0;   // where the device lies on its drive
  bool m_readsRaw = true;  // optical discs: until the drive refuses
  platform::OwnedPages m_blocks;
};

}  // namespace larkspur
