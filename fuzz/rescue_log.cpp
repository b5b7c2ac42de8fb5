// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// A rescue log of any bytes: whatever it says, no extent lies outside the storage, and feeding it
// in pieces says the same as feeding it whole.

#include <cstdlib>

#include "rescue/rescue_history.h"

namespace {

constexpr larkspur::u64 kSectors = 100000;

larkspur::RescueHistory Read(std::string_view text, size_t piece) {
  larkspur::HistoryReader reader(kSectors, "boot");
  for (; text.size() > piece; text.remove_prefix(piece)) reader.Feed(text.substr(0, piece));
  reader.Feed(text);
  return reader.Finish();
}

void Check(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t count) {
  const std::string_view text(reinterpret_cast<const char*>(bytes), count);
  const larkspur::RescueHistory whole = Read(text, count + 1), pieces = Read(text, 13);
  for (const auto* set : {&whole.triedTogether, &whole.triedAlone, &whole.storing}) {
    Check(!set->NextFrom(kSectors));
  }
  Check(whole.lines == pieces.lines && whole.wrongLines == pieces.wrongLines);
  Check(whole.triedTogether.Sectors() == pieces.triedTogether.Sectors());
  Check(whole.runs.size() == pieces.runs.size());
  return 0;
}
