// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The failing source as the engine sees it: something that is asked one request at a time and whose
// failures are judged.

#include <string>

#include "base/types.h"
#include "platform/system_error.h"

namespace larkspur {

using platform::FailureKind;

// What one request came to. Sectors from the first on were delivered; of the others, `kind` says
// why not.
struct AskOutcome {
  u32 delivered = 0;
  FailureKind kind = FailureKind::kNone;  // kNone: everything was delivered
  u32 code = 0;                           // the system's error number; 0 when it gave none
  // The first sector that the drive itself named as bad; kNowhere when it named none.
  u64 firstBad = kNowhere;
  // What the drive said of a failure: sense key, additional code and qualifier, as 0xKKAAQQ; 0 when
  // it said nothing, or the system kept that to itself.
  u32 sense = 0;
};

// Who the source is, as far as it said; texts are UTF-8 and empty where it said nothing.
struct SourceIdentity {
  std::string path;
  std::string model;
  std::string serial;
  std::string firmware;
  u64 sectors = 0;
  u32 logicalSectorBytes = kSectorBytes;
  u32 physicalSectorBytes = kSectorBytes;

  // Whether this cannot be the same disk. What either of them does not say is no difference.
  bool IsOtherThan(const SourceIdentity& other) const {
    const auto differ = [](const std::string& one, const std::string& two) {
      return one != two && !one.empty() && !two.empty();
    };
    const bool isOtherSize = sectors != other.sectors && sectors > 0 && other.sectors > 0;
    return differ(serial, other.serial) || differ(model, other.model) || isOtherSize;
  }
};

// One thread at a time, not always the same one. Nothing that failed is asked again below this
// interface.
class AskedSource {
 public:
  // The largest request, in sectors: 64 KiB.
  static constexpr u32 kMaxAskSectors = 128;

  virtual ~AskedSource() = default;

  // Asks for [sector, sector+count) once. `buffer` is a page's start with room for `count` sectors.
  // REQUIRES: 0 < count <= kMaxAskSectors, the range lies inside the source.
  virtual AskOutcome Ask(u64 sector, void* buffer, u32 count) = 0;
  virtual const SourceIdentity& Identity() const = 0;
  // Waits up to `seconds` until the source that was gone or silent is there under the same identity
  // and opens it afresh. False when it is not, or is another one.
  virtual bool Reconnect(double seconds) = 0;
};

}  // namespace larkspur
