// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// One sector of a storage as the host shows it.

#include <array>
#include <string>

#include "host/model/storages.h"

namespace larkspur::host {

enum class SectorState {
  kData,
  kUnreadable,       // the storage does not deliver it
  kKnownUnreadable,  // the cache says that the source refused it; it reads as zeros
  kMissing,          // of a cache alone: not read yet; it reads as zeros
  kBehindEnd,        // the storage has become shorter, or was never that long
  kSourceGone,       // not read: the source has become shorter or went away
};

struct SectorView {
  u64 sector = 0;
  SectorState state = SectorState::kBehindEnd;
  std::array<u8, kSectorBytes> bytes{};
};

// Reads one sector, at most once; a read-once storage may fetch it by that. One that would fetch it
// from a source that is gone is not read: it would note the sector as unreadable for good.
SectorView LookAtSector(const Storage& storage, u64 sector);

// "Sector 63 of 4096, at byte 32256", and what is to be known of it.
std::u16string SectorHeading(const SectorView& view, u64 sectors);
// The bytes, where there are any.
std::u16string SectorBody(const SectorView& view);

}  // namespace larkspur::host
