// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// The text of LVM2's volume groups, and what is made of it: the pieces of one physical volume lie
// among its extents.

#include "partitions/lvm2_text.h"

#include <cstdlib>
#include <string>

#include <fmt/core.h>

#include "fuzz/targets.h"
#include "partitions/lvm2_volumes.h"

namespace larkspur::fuzz {
namespace {

constexpr char kOwnId[] = "00000011112222333344445555666666";

// A name means one thing: what is a section is no value.
void Walk(const Lvm2Text& text, Lvm2Text::Section section) {
  for (const auto& named : text.Sections(section)) {
    const bool hasOther = text.Number(section, named.name) || text.Text(section, named.name) ||
                          !text.List(section, named.name).empty();
    if (hasOther && text.FindSection(section, named.name)) std::abort();
    Walk(text, named.section);
  }
}

}  // namespace

std::string RunLvm2Text(std::span<const u8> input) {
  const Lvm2Text text{std::string(AsText(input))};
  Walk(text, Lvm2Text::kRoot);
  std::string told = fmt::format("number {}", Lvm2SequenceNumber(text));
  const auto volume = FindPhysicalVolume(text, kOwnId);
  if (!volume) return told;
  if (volume->extentSectors == 0) std::abort();
  told += fmt::format(" extents of {} from {}", volume->extentSectors, volume->firstExtentSector);
  for (const Lvm2Piece& piece : volume->pieces) {
    const bool isCounted = piece.count > 0 && piece.first + piece.count > piece.first;
    if (!isCounted || piece.set.columns <= piece.set.index) std::abort();
    told += fmt::format(" {}+{} {} of {}", piece.first, piece.count, piece.set.index,
                        piece.set.columns);
  }
  return told;
}

}  // namespace larkspur::fuzz
