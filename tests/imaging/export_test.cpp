// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/export.h"

#include <gtest/gtest.h>

#include "fakes/images.h"
#include "fakes/temp_folder.h"
#include "imaging/output_file.h"

namespace larkspur {
namespace {

constexpr u64 kSectors = 5000;
constexpr u64 kHole = 4600;  // from here on, nothing is stored

class MemorySink final : public ExportSink {
 public:
  bool Put(const u8* data, u64 count) override {
    bytes.insert(bytes.end(), data, data + count);
    return ++calls != failing;
  }
  bool PutZeros(u64 count) override {
    bytes.resize(bytes.size() + count);
    return ++calls != failing;
  }
  bool Finish() override { return ++calls != failing; }

  std::vector<u8> bytes;
  u64 calls = 0;
  u64 failing = kNowhere;  // of the calls, from 1 on
};

ExportResult Export(const std::shared_ptr<fakes::MemoryStore>& store, MemorySink* sink,
                    u64 stopAt = kNowhere) {
  const auto image = fakes::OpenImage(store, true);
  std::atomic<bool> stop{false};
  return ExportRaw(image.get(), 0, kSectors, sink, stop,
                   [&](u64 done) { stop = stop || done >= stopAt; });
}

std::shared_ptr<fakes::MemoryStore> MakeCache() {
  auto store = fakes::MakeStore();
  fakes::WritePattern(fakes::CreateImage(store, kSectors).get(), 0, kHole);
  return store;
}

// Whichever read fails: each sector is what was stored, or counted as not known.
TEST(Export, ZerosForWhatTheCacheDoesNotGiveAreCounted) {
  const auto store = MakeCache();
  for (const bool forGood : {false, true}) {
    u64 reads = 0;
    for (u64 failing = 1; reads + 1 >= failing; ++failing) {
      reads = 0;
      store->refusesRead = [&](u64 offset, u64) {
        return offset >= kSectorBytes && (++reads == failing || (forGood && reads > failing));
      };
      MemorySink sink;
      const ExportResult result = Export(store, &sink);
      ASSERT_EQ(result.end, ExportEnd::kDone);
      ASSERT_EQ(sink.bytes.size(), kSectors * kSectorBytes);
      u64 held = 0, firstLost = kSectors;
      for (u64 s = 0; s < kHole; ++s) {
        const u8* const bytes = &sink.bytes[s * kSectorBytes];
        const bool isHeld = fakes::IsPattern(s, bytes);
        ASSERT_TRUE(isHeld || fakes::IsZero(bytes, kSectorBytes)) << s;
        held += isHeld;
        if (!isHeld) firstLost = std::min(firstLost, s);
      }
      EXPECT_EQ(result.counts.present, held) << failing;
      EXPECT_EQ(result.counts.unknown + result.counts.missing, kSectors - held) << failing;
      EXPECT_LE(result.counts.missing, kSectors - kHole) << failing;
      EXPECT_EQ(result.firstUnknown.value_or(kSectors), firstLost) << failing;
    }
    EXPECT_GT(reads, 20u);
  }
}

constexpr u64 kLost = 1000;

std::shared_ptr<fakes::MemoryStore> MakeCacheWithLoss() {
  const auto store = MakeCache();
  constexpr u64 kRecords = 2, kRecord = 129;
  store->RefuseByte((kRecords + kLost / 128 * kRecord + 1 + kLost % 128) * kSectorBytes + 7);
  return store;
}

// Whichever call of the sink fails, and wherever it is stopped: nothing more is put.
TEST(Export, EndsWhereItMust) {
  const auto store = MakeCacheWithLoss();
  MemorySink whole;
  ASSERT_EQ(Export(store, &whole).end, ExportEnd::kDone);
  for (u64 failing = 1; failing <= whole.calls; ++failing) {
    MemorySink sink;
    sink.failing = failing;
    EXPECT_EQ(Export(store, &sink).end, ExportEnd::kWriteFailed) << failing;
    EXPECT_EQ(sink.calls, failing);
  }
  for (u64 stopAt = 1; stopAt <= kSectors; stopAt += 70) {
    MemorySink sink;
    EXPECT_EQ(Export(store, &sink, stopAt).end, ExportEnd::kStopped) << stopAt;
    EXPECT_LT(sink.calls, whole.calls);
    EXPECT_GE(sink.bytes.size(), stopAt * kSectorBytes);
  }
}

TEST(Export, OneSectorThatCannotBeReadCostsNoOther) {
  const auto store = MakeCacheWithLoss();
  MemorySink sink;
  const ExportResult result = Export(store, &sink);
  EXPECT_EQ(result.counts.present, kHole - 1);
  EXPECT_EQ(result.counts.unknown, 1u);
  EXPECT_EQ(result.firstUnknown, kLost);
  EXPECT_TRUE(fakes::IsPattern(kLost + 1, &sink.bytes[(kLost + 1) * kSectorBytes]));
}

TEST(UnfinishedFile, TakesNoNameThatSomethingHasByThen) {
  const fakes::TempFolder folder;
  const std::u16string path = folder.File(u"out");
  for (const bool replace : {false, true}) {
    UnfinishedFile made(path);
    ASSERT_TRUE(made.IsOpen());
    ASSERT_TRUE(WriteOutput(made.File(), "ours"));
    ASSERT_TRUE(fakes::WriteWholeFile(path, {'i', 't', 's'}));
    EXPECT_EQ(made.TakeName(replace), replace);
    EXPECT_EQ(fakes::ReadWholeFile(path).size(), replace ? 4u : 3u);
  }
}

}  // namespace
}  // namespace larkspur
