// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// A rescue log of any bytes: whatever it says, no extent lies outside the storage, and feeding it
// in pieces says the same as feeding it whole.

#include <fmt/core.h>

#include "fuzz/targets.h"
#include "imaging/rescue_words.h"
#include "rescue/rescue_history.h"

namespace larkspur::fuzz {
namespace {

constexpr u64 kSectors = 100000;

RescueHistory Read(std::string_view text, size_t piece) {
  HistoryReader reader(kSectors, "boot");
  for (; text.size() > piece; text.remove_prefix(piece)) reader.Feed(text.substr(0, piece));
  reader.Feed(text);
  return reader.Finish();
}

}  // namespace

std::string RunRescueLog(std::span<const u8> input) {
  const std::string_view text = AsText(input);
  const RescueHistory whole = Read(text, text.size() + 1), pieces = Read(text, 13);
  std::string told = HistoryText(whole) + whole.boot + whole.medium;
  for (const auto* set :
       {&whole.triedTogether, &whole.triedAlone, &whole.storing, &whole.beganSilence}) {
    Require(!set->NextFrom(kSectors));
    set->Visit(
        [&told](SectorRange range) { told += fmt::format(" {}+{}", range.first, range.count); });
    told += '\n';
  }
  Require(whole.lines == pieces.lines && whole.wrongLines == pieces.wrongLines);
  Require(whole.triedTogether.Sectors() == pieces.triedTogether.Sectors());
  Require(whole.runs.size() == pieces.runs.size());
  return told + fmt::format("{}{}{}{} {} {} {}", whole.ended, whole.syncFailed, whole.wasSilent,
                            whole.cameBack, whole.stamp, whole.points.size(), whole.firstWrongLine);
}

}  // namespace larkspur::fuzz
