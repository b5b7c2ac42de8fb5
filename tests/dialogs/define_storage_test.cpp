// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/model/define_storage.h"

#include <gtest/gtest.h>

#include "fakes/listed_sectors.h"
#include "fakes/memory_disk.h"
#include "fakes/recording_source.h"
#include "fakes/temp_folder.h"
#include "platform/file.h"

namespace larkspur {
namespace {

constexpr u64 kSectors = 3000;

class DefineStorageTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(m_folder.Exists());
    m_path = m_folder.File(u"disk.kvrsp");
  }

  bool FileExists() { return platform::KindOfPath(m_path.c_str()) == platform::PathKind::kFile; }
  static Owned<cBaseIO> SourceOf(u64 sectors) {
    auto script = std::make_shared<fakes::SourceScript>(1);
    script->sectors = sectors;  // they are not read
    return Owned<cBaseIO>(fakes::SourceOn(std::move(script)).release());
  }
  // Why it cannot be defined; none when it can.
  std::optional<DefineFault> Define(u64 sectors) {
    const auto defined = DefineStorage(SourceOf(sectors).get(), m_path);
    return defined ? std::nullopt : std::optional(defined.error());
  }

  fakes::TempFolder m_folder;
  std::u16string m_path;
};

TEST_F(DefineStorageTest, WantsASourceAndThenAPath) {
  EXPECT_EQ(DefineStorage(nullptr, u"").error(), DefineFault::kSourceMissing);
  EXPECT_EQ(DefineStorage(nullptr, m_path).error(), DefineFault::kSourceMissing);
  EXPECT_EQ(DefineStorage(SourceOf(1).get(), u"").error(), DefineFault::kPathMissing);
  EXPECT_FALSE(FileExists());
}

TEST_F(DefineStorageTest, MakesACacheAndGoesOnWithIt) {
  auto script = std::make_shared<fakes::SourceScript>(kSectors);
  const auto source = fakes::SourceOn(script);
  std::vector<u8> buffer(100 * kSectorBytes);
  for (int round = 0; round < 2; ++round) {
    const auto defined = DefineStorage(source.get(), m_path);
    ASSERT_TRUE(defined) << round;
    EXPECT_EQ((*defined)->GetSectorCount(), kSectors);
    (*defined)->SetPosition(200);
    ASSERT_EQ((*defined)->Read(buffer.data(), 100), 100u);
    EXPECT_TRUE(fakes::IsPattern(299, buffer.data() + 99 * kSectorBytes));
  }
  EXPECT_EQ(script->AskedMoreThan(1), "");
  EXPECT_EQ(script->AskedInAll(), 100u);
}

TEST_F(DefineStorageTest, LeavesAndNamesWhatItCannotUse) {
  ASSERT_FALSE(Define(kSectors));
  const std::vector<u8> cache = fakes::ReadWholeFile(m_path);
  EXPECT_EQ(Define(kSectors + 1), DefineFault::kWrongSize);
  EXPECT_EQ(Define(0), DefineFault::kWrongSize);
  {
    const platform::OwnedFile locked(
        platform::OpenExistingFile(m_path.c_str(), platform::kOpenRead | platform::kOpenWrite));
    ASSERT_EQ(platform::LockFileAlone(locked.Handle()), platform::LockOutcome::kLocked);
    EXPECT_EQ(Define(kSectors), DefineFault::kLockedElsewhere);
  }
  EXPECT_EQ(fakes::ReadWholeFile(m_path), cache);
  const std::vector<u8> other(5000, 'x');
  ASSERT_TRUE(fakes::WriteWholeFile(m_path, other));
  EXPECT_EQ(Define(kSectors), DefineFault::kCacheFailed);
  EXPECT_EQ(fakes::ReadWholeFile(m_path), other);
  for (const auto& path : {m_folder.Path().u16string(), m_folder.File(u"missing/disk.kvrsp"),
                           std::u16string(16384, u'x')}) {
    m_path = path;
    EXPECT_EQ(Define(kSectors), DefineFault::kCacheFailed);
  }
}

TEST_F(DefineStorageTest, RemovesWhatCannotBecomeACache) {
  EXPECT_EQ(Define(0), DefineFault::kCacheFailed);
  EXPECT_FALSE(FileExists());
  EXPECT_EQ(Define(u64{1} << 41), DefineFault::kCacheFailed);
  EXPECT_FALSE(FileExists());
  EXPECT_FALSE(Define(kSectors));
}

TEST_F(DefineStorageTest, RemovesANewCacheWhoseSourceGivesNoClone) {
  static constexpr u8 kHeader[] = {0, kSectors % 256, kSectors / 256, 0};
  fakes::cListedSectors source(kHeader);
  EXPECT_EQ(DefineStorage(&source, m_path).error(), DefineFault::kNotAttached);
  EXPECT_FALSE(FileExists());
  ASSERT_FALSE(Define(kSectors));
  EXPECT_EQ(DefineStorage(&source, m_path).error(), DefineFault::kNotAttached);
  EXPECT_TRUE(FileExists());
}

TEST_F(DefineStorageTest, LocksTheCacheUntilTheLastCloneIsGone) {
  // As another process sees it.
  const auto isLocked = [this] {
    const platform::OwnedFile other(
        platform::OpenExistingFile(m_path.c_str(), platform::kOpenRead | platform::kOpenWrite));
    return platform::LockFileAlone(other.Handle()) == platform::LockOutcome::kLockedElsewhere;
  };
  auto defined = DefineStorage(SourceOf(kSectors).get(), m_path);
  ASSERT_TRUE(defined);
  EXPECT_TRUE(isLocked());
  auto second = DefineStorage(SourceOf(kSectors).get(), m_path);
  EXPECT_TRUE(second) << "storages of one process share it";
  Owned<cBaseIO> clone((*defined)->Clone());
  defined->reset();
  EXPECT_TRUE(isLocked());
  clone.reset();
  EXPECT_TRUE(isLocked());
  second->reset();
  EXPECT_FALSE(isLocked());
}

}  // namespace
}  // namespace larkspur
