// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/cache.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "fakes/images.h"
#include "fakes/temp_folder.h"
#include "imaging/check.h"
#include "platform/boot.h"
#include "rescue/cache_store.h"
#include "rescue/rescue_log.h"

namespace larkspur {
namespace {

TEST(Cache, IsGivenOutOnlyWhereItFits) {
  const fakes::TempFolder folder;
  const std::u16string path = folder.File(u"disk.kvrsp");
  ASSERT_TRUE(OpenOrCreateCache(path, {}, 3000));
  const struct {
    std::optional<u64> expected;
    bool fits;
  } kCases[] = {{std::nullopt, true}, {3000, true}, {2999, false}, {0, false}};
  for (const auto& test : kCases) {
    for (const CacheAccess access : {CacheAccess::kLook, CacheAccess::kResume}) {
      const auto cache = OpenCache(path, access, test.expected);
      ASSERT_EQ(cache.has_value(), test.fits) << test.expected.value_or(kNowhere);
      EXPECT_TRUE(cache || cache.error().kind == CacheFaultKind::kOtherSize);
    }
  }
  std::vector<u8> bytes = fakes::ReadWholeFile(path);
  bytes.pop_back();
  ASSERT_TRUE(fakes::WriteWholeFile(path, bytes));
  const auto cut = OpenCache(path, CacheAccess::kResume);
  ASSERT_FALSE(cut);
  EXPECT_EQ(cut.error().kind, CacheFaultKind::kIncomplete);
  const auto shown = OpenCache(path, CacheAccess::kLook);
  ASSERT_TRUE(shown && shown->damage);
  EXPECT_EQ(shown->damage->kind, CacheFaultKind::kIncomplete);
}

TEST(Cache, IsToldFromASource) {
  const fakes::TempFolder folder;
  const std::u16string path = folder.File(u"disk.kvrsp");
  EXPECT_FALSE(OpenIfCache(path));
  EXPECT_FALSE(OpenIfCache(folder.Path().u16string()));
  std::error_code error;
  std::filesystem::create_symlink("loop", folder.Path() / "loop", error);
  const auto unreadable = OpenIfCache(folder.File(u"loop"));
  EXPECT_TRUE(error || (unreadable && unreadable->error().kind == CacheFaultKind::kCannotOpen));
  ASSERT_TRUE(OpenOrCreateCache(path, {}, 3000));
  EXPECT_TRUE(OpenIfCache(path)->has_value());
  std::vector<u8> bytes = fakes::ReadWholeFile(path);
  bytes[16] = bytes[17] = 0;  // blocks without sectors
  ASSERT_TRUE(fakes::WriteWholeFile(path, bytes));
  EXPECT_EQ(OpenIfCache(path)->error().kind, CacheFaultKind::kDamagedHeader);
  // Without a cache's magic the name tells; only where a cache is looked at.
  bytes[0] = 'x';
  struct Row {
    const char16_t* name;
    bool isNamedAsCache;
  };
  for (const auto& [name, isNamedAsCache] :
       {Row{u"disk.kvrsp", true}, {u"DISK.KVRSP", true}, {u"disk.img", false}, {u"kvrsp", false}}) {
    const std::u16string file = folder.File(name);
    ASSERT_TRUE(fakes::WriteWholeFile(file, bytes));
    const auto opened = OpenIfCache(file);
    EXPECT_EQ(opened && opened->error().kind == CacheFaultKind::kDamagedHeader, isNamedAsCache)
        << testing::PrintToString(name);
    EXPECT_EQ(OpenCache(file, CacheAccess::kResume).error().kind, CacheFaultKind::kForeign);
  }
}

// What those who look are told of a cache of 4000 sectors, all present, of which 100 are zeros.
class DoubtfulCache : public testing::Test {
 protected:
  void SetUp() override {
    const auto made = OpenOrCreateCache(m_path, {}, 4000);
    ASSERT_TRUE(made);
    fakes::WritePattern(made->image.get(), 0, 4000);
    const std::vector<u8> zeros(100 * kSectorBytes);
    made->image->MarkMissing(1000, 100);
    ASSERT_EQ(made->image->Write(1000, zeros.data(), 100), 100u);
    m_stamp = made->image->Layout().stamp;
  }

  LogEvent Opened(std::string_view boot, u64 sectors = 4000) {
    SourceIdentity source;
    source.sectors = sectors;
    return LogEvent("open").Add("boot", boot).Add("source", source).Add("stamp", u64{m_stamp});
  }
  void Log(const std::vector<LogEvent>& events) {
    std::string text;
    for (const LogEvent& event : events) text += event.Line() + "\n";
    ASSERT_TRUE(fakes::WriteWholeFile(m_path + u".log", {text.begin(), text.end()}));
  }
  // The damage, as a look and a check see it.
  std::optional<CacheFaultKind> Damage() {
    const auto cache = OpenCache(m_path, CacheAccess::kLook);
    if (!cache) return cache.error().kind;
    EXPECT_EQ(CheckCache(m_path, false)->problemCount, cache->damage ? 1u : 0u);
    return cache->damage ? std::optional(cache->damage->kind) : std::nullopt;
  }

  const fakes::TempFolder m_folder;
  const std::u16string m_path = m_folder.File(u"disk.kvrsp");
  u32 m_stamp = 0;
};

TEST_F(DoubtfulCache, WhatWasNeverFlushedIsInDoubt) {
  EXPECT_EQ(Damage(), std::nullopt);
  const std::string boot = platform::BootId(), medium = platform::MediumStay(m_path.c_str());
  const LogEvent zeros = LogEvent("storing").Add(SectorRange{896, 512});
  const LogEvent data = LogEvent("storing").Add(SectorRange{2048, 512});
  const LogEvent synced("synced"), failed("sync-failed");
  const struct {
    const char* what;
    std::vector<LogEvent> events;
    bool isInDoubt;
  } rows[] = {
      {"killed", {Opened(boot), zeros}, false},
      {"switched off", {Opened("before"), zeros}, true},
      {"its disk was away", {Opened(boot).Add("medium", "before"), zeros}, true},
      {"its disk stayed", {Opened(boot).Add("medium", medium), zeros}, false},
      {"switched off, and nothing is zero", {Opened("before"), data}, false},
      {"flushed", {Opened("before"), zeros, synced}, false},
      {"not flushed", {Opened(boot), data, failed}, true},
      {"flushed the next time", {Opened(boot), data, failed, Opened(boot), data, synced}, false},
  };
  for (const auto& row : rows) {
    Log(row.events);
    EXPECT_EQ(Damage() == CacheFaultKind::kNotFlushed, row.isInDoubt) << row.what;
    EXPECT_TRUE(OpenCache(m_path, CacheAccess::kResume)) << row.what;
  }
  ++m_stamp;  // the log of another cache
  Log({Opened("before"), zeros});
  EXPECT_EQ(Damage(), std::nullopt);
}

TEST_F(DoubtfulCache, ALogThatCannotBeReadIsToldOf) {
  std::error_code error;
  std::filesystem::create_symlink("disk.kvrsp.log", m_folder.Path() / "disk.kvrsp.log", error);
  if (error) GTEST_SKIP() << "no links here";
  EXPECT_EQ(Damage(), CacheFaultKind::kLogUnreadable);
}

TEST_F(DoubtfulCache, AFlippedBitOfItsSizeOrItsBlocksIsToldOf) {
  const std::vector<u8> whole = fakes::ReadWholeFile(m_path);
  Log({Opened("before")});
  for (u32 bit = 0; bit < 96; ++bit) {
    std::vector<u8> bytes = whole;
    bytes[8 + bit / 8] = static_cast<u8>(bytes[8 + bit / 8] ^ (1 << bit % 8));
    ASSERT_TRUE(fakes::WriteWholeFile(m_path, bytes));
    const auto cache = OpenCache(m_path, CacheAccess::kLook);
    EXPECT_TRUE(!cache || cache->damage) << bit;
    EXPECT_FALSE(bit >= 64 && OpenCache(m_path, CacheAccess::kResume)) << bit;
    EXPECT_GT(CheckCache(m_path, false)->problemCount, 0u) << bit;
  }
  // Without a log, what the index names past its end tells.
  ASSERT_TRUE(fakes::WriteWholeFile(m_path + u".log", {}));
  std::vector<u8> bytes = whole;
  bytes[9] = static_cast<u8>(bytes[9] ^ 8);
  ASSERT_TRUE(fakes::WriteWholeFile(m_path, bytes));
  EXPECT_EQ(Damage(), CacheFaultKind::kOtherHeader);
}

TEST_F(DoubtfulCache, ItsLogLiesBesideTheFileThatALinkLeadsTo) {
  std::error_code error;
  std::filesystem::create_symlink("disk.kvrsp", m_folder.Path() / "one", error);
  std::filesystem::create_symlink(m_folder.Path() / "one", m_folder.Path() / "two", error);
  if (error) GTEST_SKIP() << "no links here";
  Log({Opened("before")});
  for (const char16_t* name : {u"disk.kvrsp", u"one", u"two"}) {
    EXPECT_EQ(std::filesystem::path(LogPathOf(m_folder.File(name))).filename(), "disk.kvrsp.log");
    EXPECT_GT(fakes::ReadWholeFile(LogPathOf(m_folder.File(name))).size(), 0u);
  }
}

TEST_F(DoubtfulCache, OneThatLostItsNameIsNotFlushed) {
  const auto cache = OpenCache(m_path, CacheAccess::kResume);
  ASSERT_TRUE(cache);
  CacheStore store(cache->image.get(), cache->lock.get());
  EXPECT_TRUE(store.Sync());
  std::error_code error;
  std::filesystem::rename(m_path, m_folder.File(u"other"), error);
  if (error) GTEST_SKIP() << "an open file keeps its name here";
  EXPECT_FALSE(store.Sync());
  ASSERT_TRUE(fakes::WriteWholeFile(m_path, {1}));
  EXPECT_FALSE(store.Sync());
  std::filesystem::rename(m_folder.File(u"other"), m_path);
  EXPECT_TRUE(store.Sync());
}

}  // namespace
}  // namespace larkspur
