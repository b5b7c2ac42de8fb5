// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// The order in which an image changes its file, and what a crash between any two steps leaves.

#include <gtest/gtest.h>

#include "fakes/images.h"

namespace larkspur {
namespace {

std::string ChangesOf(fakes::MemoryStore* store, const std::function<void()>& work) {
  store->log.clear();
  store->keepLog = true;
  work();
  std::erase_if(store->log, [](const auto& operation) { return operation.kind == 'R'; });
  store->keepLog = false;
  return fakes::Describe(store->log);
}

TEST(SparseOrder, GrowthThenIndexThenDataThenMap) {
  const auto store = fakes::MakeStore();
  Owned<cKVRSparseIO> image;
  const std::vector<u8> data = fakes::Pattern(0, 300);
  EXPECT_EQ(ChangesOf(store.get(), [&] { image = fakes::CreateImage(store, 1000); }),
            "G:1024 W:512+512 W:0+28");
  EXPECT_EQ(ChangesOf(store.get(), [&] { image->Write(300, data.data(), 1); }),
            "G:67072 W:520+4 W:24064+512 W:1024+128");
  EXPECT_EQ(ChangesOf(store.get(), [&] { image->Write(301, data.data(), 2); }),
            "W:24576+1024 W:1024+128");
  EXPECT_EQ(ChangesOf(store.get(), [&] { image->Write(301, data.data(), 2); }), "W:24576+1024")
      << "a map that stays is not written";
  EXPECT_EQ(ChangesOf(store.get(), [&] { image->MarkSectorBad(305); }), "W:1024+128");
  EXPECT_EQ(ChangesOf(store.get(), [&] { image->MarkSectorBad(305); }), "");
  EXPECT_EQ(ChangesOf(store.get(), [&] { image->MarkSectorBad(0); }),
            "G:133120 W:512+4 W:67072+128");
}

TEST(SparseOrder, NeighbouringNewBlocksAreIndexedAtOnce) {
  const auto store = fakes::MakeStore();
  const auto image = fakes::CreateImage(store, 1000);
  const std::vector<u8> data = fakes::Pattern(0, 300);
  EXPECT_EQ(ChangesOf(store.get(), [&] { image->Write(127, data.data(), 130); }),
            "G:199168 W:512+12 W:66560+512 W:1024+128 W:67584+65536 W:67072+128 "
            "W:133632+512 W:133120+128");
}

struct Step {
  u64 first;
  u32 count;  // 0: mark
};

std::vector<Step> RandomSteps(fakes::RandomSource* random, u64 sectors) {
  std::vector<Step> steps;
  for (int i = 0; i < 12; ++i) {
    const u64 first = random->Below(sectors);
    steps.push_back({first, static_cast<u32>(random->Below(4) ? 1 + random->Below(300) : 0)});
  }
  return steps;
}

// Takes the steps until one fails; `stored` learns what was done before: '.', 'p', 'u'.
void TakeSteps(cKVRSparseIO* image, const std::vector<Step>& steps, std::string* stored) {
  for (const Step& step : steps) {
    if (step.count == 0) {
      if (!image->MarkSectorBad(step.first)) return;
      (*stored)[step.first] = 'u';
      continue;
    }
    const std::vector<u8> data = fakes::Pattern(step.first, step.count);
    const u32 written = image->Write(step.first, data.data(), step.count);
    for (u32 i = 0; i < written; ++i) {
      char& status = (*stored)[step.first + i];
      if (status == '.') status = 'p';
    }
    if (written < step.count && step.first + written < stored->size()) return;
  }
}

// What was answered as stored is there, and whatever is there is right.
void CheckAfterCrash(const std::shared_ptr<fakes::MemoryStore>& store, const std::string& stored) {
  const auto image = fakes::OpenImage(store);
  ASSERT_TRUE(image);
  const std::string found = fakes::Statuses(image.get(), 0, stored.size());
  for (u64 sector = 0; sector < stored.size(); ++sector) {
    if (stored[sector] != '.') {
      ASSERT_NE(found[sector], '.') << sector << " was lost";
    }
    if (stored[sector] == 'u') {
      ASSERT_EQ(found[sector], 'u') << sector;
    }
    if (found[sector] != 'p') continue;
    u8 bytes[kSectorBytes];
    image->SetPosition(sector);
    ASSERT_EQ(image->Read(bytes, 1), 1u);
    ASSERT_TRUE(fakes::IsPattern(sector, bytes)) << sector << " is not what was written";
  }
}

TEST(SparseOrder, ACrashAtAnyOperationLosesNothingAndClaimsNothing) {
  constexpr u64 kSectors = 900;
  fakes::RandomSource random;
  SCOPED_TRACE("LARKSPUR_SEED=" + std::to_string(random.seed));
  for (int round = 0; round < 4; ++round) {
    const std::vector<Step> steps = RandomSteps(&random, kSectors);
    bool crashed = true;
    for (u64 k = 1; crashed; ++k) {
      const auto store = fakes::StoreWithImage(kSectors, 128);
      const auto image = fakes::OpenImage(store);
      store->operations = 0;
      store->failAt = k;
      store->failForGood = true;
      store->tearWrites = round % 2 == 1;
      std::string stored(kSectors, '.');
      TakeSteps(image.get(), steps, &stored);
      crashed = store->operations >= k;
      store->failAt = 0;
      ASSERT_NO_FATAL_FAILURE(CheckAfterCrash(store, stored)) << "crash at operation " << k;
    }
  }
}

}  // namespace
}  // namespace larkspur
