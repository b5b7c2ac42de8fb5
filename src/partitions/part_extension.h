// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// cPartExtension: a record attached to a node of the partition tree. A node holds at most one
// record of each kind.

#include <new>

#include "base/types.h"

namespace larkspur {

enum ExtensionKind : u32 {
  kKindParser = 1,
  kKindNWPartData = 5,
  kKindPartName = 7,
  kKindSoftRAID = 11,
  kKindSBRLegacyOffset = 12,
  kKindLUKS = 13,
  kKindBtrfsVolume = 15,
  kKindStorServDBMD = 16,
  kKindSymhonySAN = 18,
  kKindLeftHandSAN = 20,
  kKindHPEVASAN = 21,
};

class cPartExtension {
 public:
  cPartExtension& operator=(const cPartExtension&) = delete;

  // A copy that the caller owns; null where the record cannot be copied.
  virtual cPartExtension* Clone() = 0;   // slot 0
  virtual void Reset() = 0;              // slot 1
  virtual u32 GetKind() = 0;             // slot 2
  virtual void* Destroy(u32 flags) = 0;  // slot 3

 protected:
  cPartExtension() = default;
  cPartExtension(const cPartExtension&) = default;
  ~cPartExtension() = default;
};

// A copy of a record for a host, which may be built so that nothing can be thrown through it; null
// without memory.
template <typename Record>
Record* CopyOf(const Record& record) {
  try {
    return new Record(record);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace larkspur
