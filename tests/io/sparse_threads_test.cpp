// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Clones of one read-once storage on several threads, over one real cache file: each reads
// everything in its own order. Whatever they do to each other, the cache tells the truth at the
// end.

#include <thread>

#include <gtest/gtest.h>

#include "fakes/images.h"
#include "fakes/recording_source.h"
#include "fakes/temp_folder.h"
#include "imaging/cache.h"
#include "imaging/summary.h"
#include "io/read_once_io.h"

namespace larkspur {
namespace {

constexpr u64 kSectors = LARKSPUR_SANITIZED ? 20000 : 60000;

// Sector s holds Pattern(s); every 997th is refused. Nothing is kept, so threads may share it.
class PatternSource final : public cBaseIO {
 public:
  static bool Refuses(u64 sector) { return sector % 997 == 13; }

  cBaseIO* Clone() override { return new PatternSource; }
  bool IsSameAs(cBaseIO* other) override { return other->GetTypeId() == GetTypeId(); }
  u64 SetPosition(u64 sector) override { return m_position = sector; }
  u32 Read(void* buffer, u32 count, cBitMap*) override {
    u32 read = 0;
    while (read < count && m_position < kSectors && !Refuses(m_position)) {
      fakes::FillPattern(m_position++, static_cast<u8*>(buffer) + u64{read++} * kSectorBytes);
    }
    return read;
  }
  u64 GetSectorCount() override { return kSectors; }
  u32 GetTypeId() override { return 0x7E77; }
  void* Destroy(u32 flags) override { return DestroyAs(this, flags); }

 private:
  u64 m_position = 0;
};

// Reads everything, from `first` on and around, or at random; answers how much was wrong.
u64 ReadAround(cBaseIO* storage, u64 seed, bool isRandom) {
  std::mt19937_64 engine(seed);
  std::vector<u8> buffer(300 * kSectorBytes);
  u64 wrong = 0;
  u64 next = engine() % kSectors;
  for (u64 done = 0; done < kSectors;) {
    const u64 first = isRandom ? engine() % kSectors : next;
    const u32 count = static_cast<u32>(std::min<u64>(1 + engine() % 300, kSectors - first));
    storage->SetPosition(first);
    wrong += storage->Read(buffer.data(), count) != count;
    for (u32 i = 0; i < count; ++i) {
      const u8* sector = &buffer[u64{i} * kSectorBytes];
      wrong += PatternSource::Refuses(first + i) ? !fakes::IsZero(sector, kSectorBytes)
                                                 : !fakes::IsPattern(first + i, sector);
    }
    next = (first + count) % kSectors;
    done += count;
  }
  return wrong;
}

class CloneThreads : public testing::TestWithParam<std::pair<size_t, bool>> {};

TEST_P(CloneThreads, LeaveACacheThatTellsTheTruth) {
  const size_t threads = std::get<0>(GetParam());
  const bool isRandom = std::get<1>(GetParam());
  const fakes::TempFolder folder;
  ASSERT_TRUE(folder.Exists());
  const auto cache = OpenOrCreateCache(folder.File(u"disk.kvrsp"), {}, kSectors);
  ASSERT_TRUE(cache);
  const Owned<cBaseIO> source(new PatternSource);
  cReadOnceIO storage;
  ASSERT_TRUE(storage.Attach(cache->image.get(), source.get()));
  std::vector<u64> wrong(threads);
  std::vector<std::thread> running;
  for (size_t i = 0; i < wrong.size(); ++i) {
    running.emplace_back([&wrong, i, clone = Owned<cBaseIO>(storage.Clone()), isRandom] {
      wrong[i] = ReadAround(clone.get(), i + 1, isRandom);
    });
  }
  for (std::thread& thread : running) thread.join();
  for (const u64 count : wrong) EXPECT_EQ(count, 0u);
  EXPECT_EQ(ReadAround(&storage, 99, false), 0u);
  const StatusCounts counts = CountStatuses(cache->image.get(), 0, kSectors);
  u64 refused = 0;
  for (u64 sector = 0; sector < kSectors; ++sector) refused += PatternSource::Refuses(sector);
  EXPECT_EQ(counts.unreadable, refused);
  EXPECT_EQ(counts.present, kSectors - refused);
  const auto survey = cache->image->SurveyIndex();
  EXPECT_FALSE(survey.sharing);
  EXPECT_EQ(survey.records, survey.recordEnd) << "no room was given out twice or left over";
}

INSTANTIATE_TEST_SUITE_P(TwoAndFour, CloneThreads,
                         testing::Values(std::pair{size_t{2}, false}, std::pair{size_t{2}, true},
                                         std::pair{size_t{4}, false}, std::pair{size_t{4}, true}));

}  // namespace
}  // namespace larkspur
