// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// The text of LVM2's volume groups, and what is made of it: the pieces of one physical volume lie
// among its extents.

#include "partitions/lvm2_text.h"

#include <cstdlib>
#include <string>

#include "partitions/lvm2_volumes.h"

namespace larkspur {
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
}  // namespace larkspur

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace larkspur;
  const Lvm2Text text(std::string(reinterpret_cast<const char*>(data), size));
  Walk(text, Lvm2Text::kRoot);
  Lvm2SequenceNumber(text);
  const auto volume = FindPhysicalVolume(text, kOwnId);
  if (!volume) return 0;
  if (volume->extentSectors == 0) std::abort();
  for (const Lvm2Piece& piece : volume->pieces) {
    const bool isCounted = piece.count > 0 && piece.first + piece.count > piece.first;
    if (!isCounted || piece.set.columns <= piece.set.index) std::abort();
  }
  return 0;
}
