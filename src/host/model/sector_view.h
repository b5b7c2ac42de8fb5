// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// One sector of a storage as the host shows it.

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "base/types.h"
#include "host/model/storages.h"

namespace larkspur::host {

// Bytes as people read them: sixteen a line with their place, as numbers and as characters.

// The text of a sector: lines, and characters in each.
constexpr size_t kHexBytesInLine = 16;
constexpr i32 kHexLines = 32, kHexColumns = 73;

// "0000  48 65 6c 6c 6f ...  Hello..." a line, each ended by "\r\n"; places count from 0. Bytes
// that are no printable ASCII show as dots.
std::string HexText(std::span<const u8> bytes);

// A sector as the user types it: decimal, or with 0x before it; blanks around do not matter.
// Nothing for anything else, and for numbers of more than 64 bits.
std::optional<u64> SectorFromText(std::u16string_view text);

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
