// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "fakes/read_once_rig.h"

#include <gtest/gtest.h>

namespace larkspur::fakes {

bool ReadOnceRig::Open() {
  view.reset();
  traffic = std::make_shared<SourceTraffic>();
  Owned<cKVRSparseIO> image = OpenImage(store);
  if (!image) image = CreateImage(store, script->sectors);
  if (!image) return false;
  Owned<cBaseIO> source = SourceOn(script);
  if (inPieces) source.reset(new cPiecewiseIO(std::move(source), traffic));
  view.reset(new cReadOnceIO);
  if (view->Attach(image.get(), source.get())) return true;
  view.reset();
  return false;
}

u32 ReadOnceRig::Read(u64 first, u32 count) {
  std::vector<u8> buffer((u64{count} + 1) * kSectorBytes, 0xEE);
  EXPECT_EQ(view->SetPosition(first), first);
  const u32 answer = view->Read(buffer.data(), count);
  EXPECT_LE(answer, std::min<u64>(count, script->sectors - first));
  for (u32 i = 0; i < answer; ++i) {
    const u8* sector = &buffer[u64{i} * kSectorBytes];
    const bool right = script->failing.count(first + i) ? IsZero(sector, kSectorBytes)
                                                        : IsPattern(first + i, sector);
    EXPECT_TRUE(right) << "sector " << first + i << " of " << first << "+" << count;
  }
  EXPECT_EQ(buffer.back(), 0xEE);
  return answer;
}

void ReadOnceRig::ReadAll(u32 request) {
  for (u64 first = 0; first < script->sectors;) {
    const u32 count = static_cast<u32>(std::min<u64>(request, script->sectors - first));
    if (Read(first, count) < count) return;
    first += count;
  }
}

}  // namespace larkspur::fakes
