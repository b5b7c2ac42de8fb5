// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Random use of images of every kind of block size, by several clones, against a simple model.

#include <algorithm>

#include <gtest/gtest.h>

#include "fakes/images.h"
#include "io/bit_map.h"

namespace larkspur {
namespace {

struct Model {
  explicit Model(u64 sectors) : status(sectors, '.'), stamp(sectors, 0) {}
  std::string status;      // as fakes::Statuses tells it
  std::vector<u64> stamp;  // which pattern was written last; 0: none
};

void WriteBoth(fakes::RandomSource* random, cKVRSparseIO* image, Model* model, u64 first,
               u32 count) {
  const u64 stamp = 1 + random->Below(u64{1} << 40);
  const std::vector<u8> data = fakes::Pattern(stamp, count);
  const u64 fitting = std::min<u64>(count, model->status.size() - first);
  ASSERT_EQ(image->Write(first, data.data(), count), fitting);
  for (u64 i = 0; i < fitting; ++i) {
    model->stamp[first + i] = stamp + i;
    char& status = model->status[first + i];
    if (status == '.') status = 'p';
  }
}

void CompareRead(cKVRSparseIO* image, const Model& model, u64 first, u32 count) {
  std::vector<u8> buffer(u64{count} * kSectorBytes, 0xEE);
  cBitMap presence(count);
  image->SetPosition(first);
  const u64 fitting = std::min<u64>(count, model.status.size() - first);
  ASSERT_EQ(image->Read(buffer.data(), count, &presence), fitting);
  for (u64 i = 0; i < fitting; ++i) {
    const u8* sector = &buffer[i * kSectorBytes];
    const u64 stamp = model.stamp[first + i];
    ASSERT_EQ(presence.Test(i), model.status[first + i] != '.') << first + i;
    ASSERT_TRUE(stamp ? fakes::IsPattern(stamp, sector) : fakes::IsZero(sector, kSectorBytes))
        << first + i;
  }
}

void RunModel(fakes::RandomSource* random, u64 sectors, u32 blockSize) {
  const auto store = fakes::StoreWithImage(sectors, blockSize);
  Model model(sectors);
  std::vector<Owned<cKVRSparseIO>> images;
  for (int i = 0; i < 2; ++i) images.push_back(fakes::OpenImage(store));
  images.emplace_back(static_cast<cKVRSparseIO*>(images[0]->Clone()));
  for (int step = 0; step < 60; ++step) {
    cKVRSparseIO* image = images[random->Below(images.size())].get();
    const u64 first = random->Below(sectors);
    const u32 count = static_cast<u32>(1 + random->Below(random->Below(3) ? 20 : sectors + 5));
    switch (random->Below(4)) {
      case 0:
        ASSERT_NO_FATAL_FAILURE(WriteBoth(random, image, &model, first, count));
        break;
      case 1:
        ASSERT_TRUE(image->MarkSectorBad(first));
        model.status[first] = 'u';
        break;
      case 2:
        ASSERT_EQ(fakes::Statuses(image, first, count), model.status.substr(first, count));
        break;
      default:
        ASSERT_NO_FATAL_FAILURE(CompareRead(image, model, first, count));
    }
  }
  const auto reopened = fakes::OpenImage(store, true);
  ASSERT_NO_FATAL_FAILURE(CompareRead(reopened.get(), model, 0, static_cast<u32>(sectors)));
  ASSERT_EQ(fakes::Statuses(reopened.get(), 0, sectors), model.status);
}

TEST(SparseModel, AgreesForEveryBlockSize) {
  fakes::RandomSource random;
  SCOPED_TRACE("LARKSPUR_SEED=" + std::to_string(random.seed));
  const struct {
    u64 sectors;
    u32 blockSize;
  } cases[] = {{1, 1},     {1, 512},   {7, 1},      {2100, 1},   {300, 3},   {127, 128},
               {128, 128}, {129, 128}, {255, 128},  {1000, 128}, {999, 256}, {511, 512},
               {512, 512}, {513, 512}, {1500, 512}, {700, 77}};
  for (const auto& c : cases) {
    ASSERT_NO_FATAL_FAILURE(RunModel(&random, c.sectors, c.blockSize))
        << c.sectors << " sectors in blocks of " << c.blockSize;
  }
}

}  // namespace
}  // namespace larkspur
