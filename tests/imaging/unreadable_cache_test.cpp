// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Index entries and status maps that cannot be read, at any moment, under everything that uses a
// cache. Nothing is known of the sectors there, which is another answer than that they are missing:
// the source is not asked for them, and what is held is neither asked for again nor marked
// otherwise.

#include <algorithm>

#include <gtest/gtest.h>

#include "fakes/dying_disk.h"
#include "host/model/read_everything.h"
#include "host/storage_rig.h"
#include "imaging/cache_history.h"
#include "rescue/cache_store.h"
#include "rescue/rescue_io.h"

namespace larkspur {
namespace {

constexpr u32 kBlock = 128;
constexpr u64 kSectors = kBlock * 5 + 50;
constexpr u64 kBlocks = 6;
constexpr u64 kMapsByte = 2 * kSectorBytes;  // the first record, after header and index
constexpr u64 kRecordBytes = (1 + kBlock) * kSectorBytes;
constexpr u64 kHealed = 517;  // held as unreadable, and readable by now
constexpr u64 kBad[] = {100, 101, 200, 263, 515, 516, 650};

// A cache with blocks that are complete, begun, marked only, and absent; and its source, for those
// who take a storage and for the engine.
struct Rig {
  Rig() {
    const auto image = fakes::CreateImage(store, kSectors);
    const std::vector<u8> data = fakes::Pattern(0, kSectors);
    const auto put = [&](u64 first, u32 count) {
      EXPECT_EQ(image->Write(first, &data[first * kSectorBytes], count), count);
    };
    EXPECT_TRUE(image->MarkUnreadable(515, 3) && image->MarkUnreadable(100, 2));
    put(3 * kBlock, kBlock);
    put(0, 100);
    put(102, kBlock - 102);
    put(kBlock + 10, 50);
    disk.badKind = FailureKind::kMedium;
    for (const u64 sector : kBad) disk.bad.Add({sector, 1});
    script->failing.insert(std::begin(kBad), std::end(kBad));
    before = Statuses();
  }

  std::string Statuses() {
    return fakes::Statuses(fakes::OpenImage(store, true).get(), 0, kSectors);
  }
  u32 Asked(u64 sector) const { return disk.asked[sector] + script->Asked(sector); }
  u64 AskedInAll() const {
    u64 sum = 0;
    for (u64 sector = 0; sector < kSectors; ++sector) sum += Asked(sector);
    return sum;
  }
  void Forget() {
    script->Forget();
    disk.asked.assign(kSectors, 0);
  }

  std::shared_ptr<fakes::MemoryStore> store = fakes::MakeStore();
  std::shared_ptr<fakes::SourceScript> script = std::make_shared<fakes::SourceScript>(kSectors);
  fakes::FakeClock clock;
  fakes::DyingDisk disk{kSectors, &clock};
  std::string before;
  u64 askedInFaultyRun = 0;
};

// Reads everything, and checks what is answered; false when that was not all.
bool ReadAll(Rig& rig, cBaseIO* storage) {
  constexpr u32 kRequest = 50;
  bool isWhole = true;
  for (u64 first = 0; first < kSectors; first += kRequest) {
    const u32 count = static_cast<u32>(std::min<u64>(kRequest, kSectors - first));
    std::vector<u8> buffer(u64{count} * kSectorBytes, 0xEE);
    storage->SetPosition(first);
    const u32 got = storage->Read(buffer.data(), count);
    for (u64 sector = first; sector < first + got; ++sector) {
      const u8* const bytes = &buffer[(sector - first) * kSectorBytes];
      const bool isZero = rig.script->failing.contains(sector) || sector == kHealed;
      EXPECT_TRUE(isZero ? fakes::IsZero(bytes, kSectorBytes) : fakes::IsPattern(sector, bytes))
          << sector;
    }
    isWhole = isWhole && got == count;
  }
  return isWhole;
}

bool RunEngine(Rig& rig, const std::function<bool(Engine&)>& work) {
  const auto image = fakes::OpenImage(rig.store);
  CacheStore store(image.get(), nullptr);
  fakes::MemoryLog log;
  const std::atomic<bool> stop{false};
  Engine engine(&rig.disk, &store, &log, &rig.clock, &stop, {.inThread = false});
  const bool isDone = work(engine);
  return engine.Finish() == StopReason::kDone && isDone;
}

bool ReadOnce(Rig& rig) {
  cReadOnceIO view;
  EXPECT_TRUE(view.Attach(fakes::OpenImage(rig.store).get(), fakes::SourceOn(rig.script).get()));
  const bool isWhole = ReadAll(rig, &view);
  rig.store->refusesRead = nullptr;
  return isWhole &&
         rig.Statuses().find('.') == std::string::npos;  // what it keeps it does not tell
}

bool Image(Rig& rig) {
  return RunEngine(rig, [](Engine& engine) {
    if (engine.Want(ExtentSet({0, kSectors}))) engine.Image();
    return true;
  });
}

bool Fetch(Rig& rig) {
  return RunEngine(rig, [&rig](Engine& engine) {
    cRescueIO storage(&engine);
    return ReadAll(rig, &storage);
  });
}

bool Retry(Rig& rig) {
  return RunEngine(rig, [](Engine& engine) {
    engine.Retry(ExtentSet({0, kSectors}));
    return true;
  });
}

bool HostReading(Rig& rig) {
  host::StorageRig storage(rig.script, rig.store);
  host::cReadEverythingJob job({}, &rig.clock);
  if (!job.Prepare(storage.ReadOnce())) return false;
  job.Run();
  return job.Ended().end == host::ReadingEnd::kDone;
}

bool Disbelieve(Rig& rig) {
  return DisbelieveZeros(fakes::OpenImage(rig.store).get(), ExtentSet({0, kSectors})).has_value();
}

struct Use {
  const char* name;
  bool (*run)(Rig&);  // answers whether it says that it could do everything
  bool reads;         // what is missing
  bool retries;       // what is unreadable
};
constexpr Use kUses[] = {
    {"read once", ReadOnce, true, false},
    {"image", Image, true, false},
    {"fetch", Fetch, true, false},
    {"retry", Retry, false, true},
    {"host's reading", HostReading, true, false},
    {"disbelieve", Disbelieve, false, false},
};

// What the cache has when the use could do everything.
std::string Complete(const Rig& rig, const Use& use) {
  std::string statuses = rig.before;
  if (use.reads) std::replace(statuses.begin(), statuses.end(), '.', 'p');
  for (const u64 sector : kBad)
    statuses[sector] = rig.before[sector] == '.' && !use.reads ? '.' : 'u';
  if (use.retries) statuses[kHealed] = 'p';
  return statuses;
}

// Runs it, faults and all, then without; everything that has to be so is.
void RunAndCheck(Rig& rig, const Use& use) {
  for (const bool isFaulty : {true, false}) {
    const bool isDone = use.run(rig);
    rig.store->refusesRead = nullptr;
    const std::string after = rig.Statuses(), complete = Complete(rig, use);
    EXPECT_TRUE(isDone ? after == complete : isFaulty) << "it says what is not so: " << after;
    for (u64 sector = 0; sector < kSectors; ++sector) {
      const char was = rig.before[sector];
      ASSERT_TRUE(after[sector] == was || after[sector] == complete[sector]) << sector;
      const u32 most = was == '.' ? 2 : was == 'u' && use.retries ? 1 : 0;
      ASSERT_LE(rig.Asked(sector), most) << sector;
    }
    rig.before = after;
    if (isFaulty) rig.askedInFaultyRun = rig.AskedInAll();
    rig.Forget();
  }
}

bool IsMetadata(u64 offset, u64 length) {
  if (offset < kMapsByte) return offset >= kSectorBytes;
  return length < kSectorBytes && (offset - kMapsByte) % kRecordBytes == 0;
}

TEST(UnreadableCache, AnyReadOfAnIndexEntryOrMapMayFail) {
  for (const Use& use : kUses) {
    for (const bool forGood : {false, true}) {
      bool happened = true;
      for (u64 failing = 1; happened; ++failing) {
        SCOPED_TRACE(testing::Message() << use.name << ", metadata read " << failing
                                        << (forGood ? " and all that follow" : ""));
        Rig rig;
        u64 reads = 0, askedBefore = 0;
        rig.store->refusesRead = [&](u64 offset, u64 length) {
          if (!IsMetadata(offset, length)) return false;
          if (++reads == failing) askedBefore = rig.AskedInAll();
          return forGood ? reads >= failing : reads == failing;
        };
        ASSERT_NO_FATAL_FAILURE(RunAndCheck(rig, use));
        happened = reads >= failing;
        EXPECT_TRUE(!happened || !forGood || rig.askedInFaultyRun <= askedBefore + kBlock)
            << "only what was begun";
        ASSERT_FALSE(HasFailure());
        EXPECT_TRUE(happened || failing > kBlocks / 2);
      }
    }
  }
}

TEST(UnreadableCache, NothingIsAskedOfTheBlocksOfWhichNothingIsKnown) {
  constexpr u64 kRecordOf[kBlocks] = {1, 3, kNowhere, 2, 0, kNowhere};
  for (const Use& use : kUses) {
    for (u64 block = 0; block < kBlocks; ++block) {
      for (const bool isMap : {false, true}) {
        if (isMap && kRecordOf[block] == kNowhere) continue;
        SCOPED_TRACE(testing::Message() << use.name << ", the " << (isMap ? "map" : "index entry")
                                        << " of block " << block);
        Rig rig;
        rig.store->RefuseByte(isMap ? kMapsByte + kRecordOf[block] * kRecordBytes + 5
                                    : kSectorBytes + 4 * block);
        std::string known = rig.before;
        const u64 end = std::min<u64>((block + 1) * kBlock, kSectors);
        known.replace(block * kBlock, end - block * kBlock, end - block * kBlock, '?');
        ASSERT_EQ(rig.Statuses(), known);
        EXPECT_FALSE(use.run(rig));
        for (u64 sector = block * kBlock; sector < end; ++sector) {
          ASSERT_EQ(rig.Asked(sector), 0u) << sector;
        }
        rig.Forget();
        ASSERT_NO_FATAL_FAILURE(RunAndCheck(rig, use));
      }
    }
  }
}

// One flipped bit, and what lies there may be anything.
TEST(UnreadableCache, WhatIsNotPresentIsNeverTakenForData) {
  Rig rig;
  for (const u8 status : {u8{kMissing}, u8{kUnreadable}, u8{7}, u8{255}}) {
    rig.store->bytes[kMapsByte + kRecordBytes + 5] = status;  // of the block that begins the disk
    std::vector<u8> data(10 * kSectorBytes, 0xEE);
    EXPECT_TRUE(CacheStore(fakes::OpenImage(rig.store).get(), nullptr).Load(0, data.data(), 10));
    for (u64 sector = 0; sector < 10; ++sector) {
      const std::vector<u8> untouched(kSectorBytes, 0xEE);
      const u8* const bytes = &data[sector * kSectorBytes];
      EXPECT_TRUE(sector == 5 ? std::equal(bytes, bytes + kSectorBytes, untouched.begin())
                              : fakes::IsPattern(sector, bytes))
          << sector << " with status " << int{status};
    }
  }
}

}  // namespace
}  // namespace larkspur
