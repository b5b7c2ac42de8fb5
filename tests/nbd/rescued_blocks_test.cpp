// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "nbd/rescued_blocks.h"

#include <gtest/gtest.h>

#include "fakes/dying_disk.h"
#include "fakes/images.h"
#include "rescue/cache_store.h"

namespace larkspur {
namespace {

constexpr u64 kSectors = 20000;

// Engines on a disk that counts its asks, with a cache in memory.
class Rig {
 public:
  class Runs final : public EngineRuns {
   public:
    explicit Runs(Rig* rig) : m_rig(rig) {}
    Engine* Begin(EngineOptions options, const std::atomic<bool>* stop) override {
      if (m_rig->isAway) return nullptr;
      m_rig->engine = std::make_unique<Engine>(&m_rig->disk, &m_rig->store, &m_rig->log,
                                               &m_rig->clock, stop, std::move(options));
      ++m_rig->runs;
      return m_rig->engine.get();
    }
    void End() override { m_rig->engine->Finish(); }

   private:
    Rig* m_rig;
  };

  // Answers a letter for each sector of the range: 'p', 'u', '.'; the data of 'p' is checked.
  std::string Read(u64 first, u32 count) {
    std::vector<u8> data(count * kSectorBytes);
    std::vector<SectorStatus> statuses(count);
    EXPECT_TRUE(blocks.Fetch(first, count, data.data(), statuses.data()));
    std::string text;
    for (u32 i = 0; i < count; ++i) {
      text += statuses[i] == kPresent ? 'p' : statuses[i] == kUnreadable ? 'u' : '.';
      EXPECT_TRUE(text.back() != 'p' || fakes::IsPattern(first + i, &data[i * kSectorBytes]));
    }
    return text;
  }

  // What is stored, as a client reads it.
  class Cached final : public BlockSource {
   public:
    explicit Cached(Rig* rig) : m_image(static_cast<cKVRSparseIO*>(rig->image->Clone())) {}
    u64 Sectors() const override { return kSectors; }
    bool Fetch(u64 first, u32 count, u8* out, SectorStatus* statuses) override {
      const std::lock_guard lock(m_lock);
      m_image->VisitExtents(first, count, [&](u64 start, u64 sectors, SectorStatus status) {
        std::fill_n(statuses + (start - first), sectors, status);
        return true;
      });
      m_image->SetPosition(first);
      return m_image->Read(out, count) == count;
    }

   private:
    std::mutex m_lock;
    Owned<cKVRSparseIO> m_image;
  };

  Owned<cKVRSparseIO> image = fakes::CreateImage(fakes::MakeStore(), kSectors);
  CacheStore store{image.get(), nullptr};
  fakes::FakeClock clock;
  fakes::DyingDisk disk{kSectors, &clock};
  fakes::MemoryLog log;
  std::atomic<bool> isAway = false;
  std::atomic<bool> isClientGone = false;
  int runs = 0;
  std::unique_ptr<Engine> engine;
  RescuedBlocks blocks{std::make_unique<Runs>(this),
                       {.isClientGone = [this] { return isClientGone.load(); }}};
};

// Starts to serve a whole disk.
void Start(Rig* rig, SectorRange fill = {}) {
  ASSERT_TRUE(rig->blocks.Begin());
  rig->blocks.Start(std::make_unique<Rig::Cached>(rig), fill);
}

TEST(RescuedBlocks, ManyClientsThatWantTheSameMakeOneAsk) {
  Rig rig;
  rig.disk.badKind = FailureKind::kMedium;
  rig.disk.bad.Add({3000, 1});
  Start(&rig);
  std::vector<std::thread> clients;
  for (int i = 0; i < 8; ++i) {
    clients.emplace_back([&rig, i] {
      for (u64 n = 0; n < 100; ++n) {
        const u64 first = (i % 2 ? n : 99 - n) * 100;
        const std::string got = rig.Read(first, 100);
        if (first == 3000) {
          EXPECT_EQ(got[0], 'u');
        } else {
          EXPECT_EQ(got, std::string(100, 'p')) << first;
        }
      }
    });
  }
  for (std::thread& client : clients) client.join();
  EXPECT_EQ(rig.Read(2999, 1) + rig.Read(3000, 1) + rig.Read(3001, 1), "pup");
  EXPECT_EQ(rig.disk.AskedMoreThan(2), "");
  for (u64 s = 0; s < 10000; ++s) EXPECT_TRUE(rig.disk.asked[s] <= 1 || s / 100 == 30) << s;
  EXPECT_EQ(rig.disk.asked[10000], 0u);
}

TEST(RescuedBlocks, NothingIsAskedForARequestThatCannotBeWhole) {
  Rig rig;
  rig.disk.badKind = FailureKind::kMedium;
  rig.disk.bad.Add({1000, 100});
  Start(&rig);
  EXPECT_EQ(rig.Read(1000, 100)[0], 'u');
  EXPECT_EQ(rig.disk.Pattern(), "1000-1023! 1024-1099! 1000!");
  const size_t asks = rig.disk.requests.size();
  EXPECT_EQ(rig.Read(1000, 100)[0], 'u');
  EXPECT_EQ(rig.disk.requests.size(), asks);
}

TEST(RescuedBlocks, ALostSourceIsUsedAgainWhenItIsBack) {
  Rig rig;
  Start(&rig);
  EXPECT_EQ(rig.Read(0, 8), "pppppppp");
  rig.isAway = true;
  rig.disk.misfortune = [&](u64, u64, u32) {
    return rig.isAway ? FailureKind::kGone : FailureKind::kNone;
  };
  EXPECT_EQ(rig.Read(0, 12), "pppppppp....");
  EXPECT_EQ(rig.Read(100, 2), "..");
  rig.isAway = false;
  EXPECT_EQ(rig.Read(100, 2), "..");  // not looked for with each request
  rig.blocks.ClientCame();
  EXPECT_EQ(rig.Read(100, 2), "pp");
  EXPECT_EQ(rig.runs, 2);
  EXPECT_EQ(rig.image->GetSectorCount(), kSectors);
}

TEST(RescuedBlocks, TheImageWaitsForClientsAndNothingForThoseThatLeft) {
  Rig rig;
  std::atomic<bool> isHeld = true, hasBegun = false;
  rig.disk.onAsk = [&](u64) {
    hasBegun = true;
    while (isHeld) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  };
  Start(&rig, {0, kSectors});
  while (!hasBegun) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  // While the image's first request hangs, one client leaves and one stays.
  rig.isClientGone = true;
  EXPECT_EQ(rig.Read(19000, 1), ".");
  rig.isClientGone = false;
  std::thread client([&rig] { EXPECT_EQ(rig.Read(15000, 8), "pppppppp"); });
  // The engine looks for clients several times a second while a request hangs.
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  isHeld = false;
  client.join();
  for (u64 s = 0; s < kSectors; s += 100) EXPECT_EQ(rig.Read(s, 100), std::string(100, 'p'));
  EXPECT_EQ(rig.disk.Pattern().substr(0, 18), "0-127 15000-15007 ");
  EXPECT_EQ(rig.disk.AskedMoreThan(1), "");
}

}  // namespace
}  // namespace larkspur
