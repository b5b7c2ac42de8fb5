// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/export.h"

#include <gtest/gtest.h>

#include "fakes/images.h"

namespace larkspur {
namespace {

constexpr u64 kSectors = 5000;
constexpr u64 kHole = 4600;  // from here on, nothing is stored

class MemorySink final : public ExportSink {
 public:
  bool Put(const u8* data, u64 count) override {
    bytes.insert(bytes.end(), data, data + count);
    return true;
  }
  bool PutZeros(u64 count) override {
    bytes.resize(bytes.size() + count);
    return true;
  }
  bool Finish() override { return true; }

  std::vector<u8> bytes;
};

ExportResult Export(const std::shared_ptr<fakes::MemoryStore>& store, MemorySink* sink) {
  const auto image = fakes::OpenImage(store, true);
  const std::atomic<bool> stop{false};
  return ExportRaw(image.get(), 0, kSectors, sink, stop, [](u64) {});
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

TEST(Export, OneSectorThatCannotBeReadCostsNoOther) {
  const auto store = MakeCache();
  constexpr u64 kLost = 1000;
  constexpr u64 kRecords = 2, kRecord = 129;
  store->RefuseByte((kRecords + kLost / 128 * kRecord + 1 + kLost % 128) * kSectorBytes + 7);
  MemorySink sink;
  const ExportResult result = Export(store, &sink);
  EXPECT_EQ(result.counts.present, kHole - 1);
  EXPECT_EQ(result.counts.unknown, 1u);
  EXPECT_EQ(result.firstUnknown, kLost);
  EXPECT_TRUE(fakes::IsPattern(kLost + 1, &sink.bytes[(kLost + 1) * kSectorBytes]));
}

}  // namespace
}  // namespace larkspur
