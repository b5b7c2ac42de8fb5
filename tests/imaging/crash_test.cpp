// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// What a crash leaves of a cache that is being filled. All changes of a run are logged with the
// flushes between them. A killed run leaves a prefix of them; a power cut leaves, of every page
// changed since the last flush, any of its contents since then, and any of the file's sizes. Each
// state is opened as a run does, and read to its end: no sector may be called present whose data is
// not the source's, and nothing that is readable may stay unreadable or missing.
//
// LARKSPUR_CRASH_STATES says how many power cuts are tried: a hundred unless told. LARKSPUR_SEED
// tells the parts of a longer run apart: 10000 states each take some two minutes.

#include <cstdlib>
#include <cstring>
#include <map>

#include <gtest/gtest.h>

#include "fakes/images.h"
#include "fakes/recording_source.h"
#include "fakes/temp_folder.h"
#include "imaging/cache.h"
#include "imaging/cache_history.h"
#include "imaging/check.h"
#include "io/read_once_io.h"

namespace larkspur {
namespace {

constexpr u64 kSectors = 128 * 20 + 50;
constexpr u64 kPageBytes = 4096;
constexpr u64 kAreaSectors = 512;

// A run in random order over a source with refused sectors, and everything that it did to its file.
struct LoggedRun {
  std::vector<u8> fresh;  // the file as it was made, flushed
  // Of kind 'S': everything so far was flushed; 'A': an area was announced.
  std::vector<fakes::MemoryOperation> events;
  std::set<u64> failing;
};

LoggedRun LogRun(fakes::RandomSource* random) {
  LoggedRun run;
  const auto store = fakes::MakeStore();
  const auto image = fakes::CreateImage(store, kSectors);
  run.fresh = store->bytes;
  auto script = std::make_shared<fakes::SourceScript>(kSectors);
  for (u64 first = 200; first < kSectors; first += 700) {
    for (u64 i = 0; i < 1 + first % 9; ++i) script->failing.insert(first + i);
  }
  run.failing = script->failing;
  store->log.clear();
  store->keepLog = store->keepData = true;
  cReadOnceIO view;
  EXPECT_TRUE(view.Attach(image.get(), fakes::SourceOn(script).get()));
  std::vector<u8> buffer(128 * kSectorBytes);
  std::set<u64> announced;
  for (u64 left = kSectors / 128 * 2; left > 0; --left) {
    const u64 first = random->Below(kSectors / 64) * 64;
    const u32 count = static_cast<u32>(std::min<u64>(64 + random->Below(65), kSectors - first));
    for (u64 s = first; s < first + count; ++s) {
      const u64 area = s / kAreaSectors * kAreaSectors;
      if (announced.insert(area).second) store->log.push_back({'A', area, kAreaSectors, {}});
    }
    const bool isMade = random->Below(3) > 0 || image->MakeRoom(first, 4 * 128);
    EXPECT_TRUE(isMade);
    view.SetPosition(first);
    EXPECT_EQ(view.Read(buffer.data(), count), count);
    if (random->Below(6) > 0) continue;
    store->log.push_back({'S', 0, 0, {}});
    announced.clear();
  }
  std::erase_if(store->log, [](const auto& operation) { return operation.kind == 'R'; });
  run.events = std::move(store->log);
  return run;
}

void Apply(const fakes::MemoryOperation& event, std::vector<u8>* file) {
  if (event.kind == 'G') file->resize(event.offset);
  if (event.kind == 'W') {
    std::copy(event.data.begin(), event.data.end(), file->begin() + static_cast<i64>(event.offset));
  }
}

// The file after the first `count` events.
std::vector<u8> Prefix(const LoggedRun& run, size_t count) {
  std::vector<u8> file = run.fresh;
  for (size_t i = 0; i < count; ++i) Apply(run.events[i], &file);
  return file;
}

// What a power cut after `count` events leaves.
std::vector<u8> PowerCut(const LoggedRun& run, size_t count, fakes::RandomSource* random,
                         ExtentSet* announced) {
  size_t flushed = 0;
  for (size_t i = 0; i < count; ++i) {
    if (run.events[i].kind == 'S') flushed = i + 1;
  }
  std::vector<u8> file = Prefix(run, flushed);
  const size_t sizeAt = flushed + random->Below(count - flushed + 1);
  u64 size = file.size();
  std::map<u64, size_t> pageUntil;  // each page's content is that after this event
  for (size_t i = flushed; i < count; ++i) {
    const fakes::MemoryOperation& event = run.events[i];
    if (event.kind == 'A')
      announced->Add({event.offset, std::min(kAreaSectors, kSectors - event.offset)});
    if (event.kind == 'G') file.resize(std::max<u64>(file.size(), event.offset));
    if (event.kind == 'G' && i < sizeAt) size = event.offset;
    if (event.kind != 'W') continue;
    for (u64 at = event.offset; at < event.offset + event.length;) {
      const u64 end = std::min((at / kPageBytes + 1) * kPageBytes, event.offset + event.length);
      const auto [page, isNew] = pageUntil.try_emplace(at / kPageBytes, 0);
      if (isNew) page->second = flushed + random->Below(count - flushed + 1);
      if (i < page->second) {
        const auto from = event.data.begin() + static_cast<i64>(at - event.offset);
        std::copy(from, from + static_cast<i64>(end - at), file.begin() + static_cast<i64>(at));
      }
      at = end;
    }
  }
  file.resize(size);
  return file;
}

void CheckTruth(cKVRSparseIO* image, const std::set<u64>& failing) {
  static const std::vector<u8> source = fakes::Pattern(0, kSectors);
  const std::string statuses = fakes::Statuses(image, 0, kSectors);
  std::vector<u8> held(kSectors * kSectorBytes);
  image->SetPosition(0);
  ASSERT_EQ(image->Read(held.data(), kSectors), kSectors);
  for (u64 s = 0; s < kSectors; ++s) {
    ASSERT_TRUE(statuses[s] != 'u' || failing.contains(s)) << s;
    if (statuses[s] != 'p') continue;
    const u64 at = s * kSectorBytes;
    ASSERT_EQ(std::memcmp(&held[at], &source[at], kSectorBytes), 0)
        << s << " is not what the source gave";
  }
}

// Reads what is missing, and finds everything as it should be.
void ReadToTheEnd(cKVRSparseIO* image, const std::set<u64>& failing) {
  ASSERT_NO_FATAL_FAILURE(CheckTruth(image, failing));
  auto script = std::make_shared<fakes::SourceScript>(kSectors);
  script->failing = failing;
  cReadOnceIO view;
  ASSERT_TRUE(view.Attach(image, fakes::SourceOn(script).get()));
  std::vector<u8> buffer(kSectors * kSectorBytes);
  ASSERT_EQ(view.Read(buffer.data(), kSectors), kSectors);
  ASSERT_NO_FATAL_FAILURE(CheckTruth(image, failing));
  std::string expected(kSectors, 'p');
  for (const u64 s : failing) expected[s] = 'u';
  ASSERT_EQ(fakes::Statuses(image, 0, kSectors), expected);
}

u64 WantedStates() {
  const char* const chosen = std::getenv("LARKSPUR_CRASH_STATES");
  return chosen ? std::strtoull(chosen, nullptr, 10) : LARKSPUR_SANITIZED ? 60 : 100;
}

TEST(CrashStates, AKilledRunNeedsNothingButTheSameCommand) {
  fakes::RandomSource random;
  SCOPED_TRACE("LARKSPUR_SEED=" + std::to_string(random.seed));
  const LoggedRun run = LogRun(&random);
  const size_t step = LARKSPUR_SANITIZED ? 5 : 1;
  for (size_t count = 0; count <= run.events.size(); count += step) {
    const auto store = fakes::MakeStore();
    store->bytes = Prefix(run, count);
    const auto image = fakes::OpenImage(store);
    ASSERT_TRUE(image);
    ASSERT_NO_FATAL_FAILURE(ReadToTheEnd(image.get(), run.failing)) << "after event " << count;
  }
}

TEST(CrashStates, APowerCutLeavesACacheThatTellsTheTruth) {
  fakes::RandomSource random;
  SCOPED_TRACE("LARKSPUR_SEED=" + std::to_string(random.seed));
  const fakes::TempFolder folder;
  ASSERT_TRUE(folder.Exists());
  const std::u16string path = folder.File(u"disk.kvrsp");
  LoggedRun run;
  u64 repaired = 0;
  for (u64 state = 0; state < WantedStates(); ++state) {
    if (state % 50 == 0) run = LogRun(&random);
    ExtentSet announced;  // areas since the last flush, about which a power cut leaves doubt
    const size_t count = random.Below(run.events.size() + 1);
    ASSERT_TRUE(fakes::WriteWholeFile(path, PowerCut(run, count, &random, &announced)));
    auto cache = OpenCache(path, CacheAccess::kResume, kSectors);
    if (!cache && cache.error().kind == CacheFaultKind::kIncomplete) {
      ++repaired;
      const CheckResult result = *CheckCache(path, true);
      ASSERT_EQ(result.repairedCount, result.problemCount) << result.problems[0].detail;
      cache = OpenCache(path, CacheAccess::kResume, kSectors);
    }
    ASSERT_TRUE(cache) << "state " << state;
    ASSERT_TRUE(DisbelieveZeros(cache->image.get(), announced));
    ASSERT_NO_FATAL_FAILURE(ReadToTheEnd(cache->image.get(), run.failing)) << "state " << state;
  }
  RecordProperty("repaired", static_cast<int>(repaired));
}

}  // namespace
}  // namespace larkspur
