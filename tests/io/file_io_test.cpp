// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/file_io.h"

#include <chrono>
#include <cstring>
#include <filesystem>

#include <gtest/gtest.h>

#include "fakes/temp_folder.h"
#include "platform/clock.h"
#include "platform/system_error.h"

namespace larkspur {
namespace {

namespace fs = std::filesystem;

class FileIO : public testing::Test {
 protected:
  void SetUp() override {
    if (!m_folder.Exists()) GTEST_SKIP() << "no folder for temporary files";
  }
  std::u16string Path() const { return m_folder.File(u"file.bin"); }
  // Seconds since 1970 of the last write, as the standard library sees it.
  i64 LastWrite() const {
    using namespace std::chrono;
    const auto time = file_clock::to_sys(fs::last_write_time(fs::path(Path())));
    return duration_cast<seconds>(time.time_since_epoch()).count();
  }

  fakes::TempFolder m_folder;
};

TEST_F(FileIO, ReadsAndWritesAtItsPosition) {
  cFileIO file;
  ASSERT_TRUE(file.CreateEmpty(Path().c_str()));
  EXPECT_TRUE(file.IsOpen());
  EXPECT_EQ(file.GetTargetKind(), 1u);
  EXPECT_EQ(file.Path().View(), Path());
  EXPECT_TRUE(file.WriteExact("abcdefgh", 8));
  EXPECT_EQ(file.WriteSome("ij", 2), 2u);
  EXPECT_EQ(file.GetSize(), 10u);
  EXPECT_TRUE(file.Seek(4));
  char text[16] = {};
  EXPECT_TRUE(file.ReadExact(text, 3));
  EXPECT_STREQ(text, "efg");
  EXPECT_EQ(file.ReadSome(text, 10), 3u) << "short at the end";
  EXPECT_EQ(file.ReadSome(text, 10), 0u);
  EXPECT_TRUE(file.Seek(9));
  EXPECT_FALSE(file.ReadExact(text, 2));
  EXPECT_FALSE(file.Seek(u64{1} << 63));
}

TEST_F(FileIO, SetSizeLeavesThePositionAtTheNewEnd) {
  cFileIO file;
  ASSERT_TRUE(file.CreateEmpty(Path().c_str()));
  EXPECT_TRUE(file.WriteExact("abc", 3));
  EXPECT_TRUE(file.SetSize(5));
  EXPECT_TRUE(file.WriteExact("x", 1));
  EXPECT_EQ(fakes::ReadWholeFile(Path()), (std::vector<u8>{'a', 'b', 'c', 0, 0, 'x'}));
  EXPECT_TRUE(file.SetSize(0));
  EXPECT_EQ(file.GetSize(), 0u);
  EXPECT_TRUE(file.WriteExact("y", 1));
  EXPECT_EQ(fakes::ReadWholeFile(Path()), (std::vector<u8>{'y'}));
}

TEST_F(FileIO, SeekFromEndSucceedsOnlyWhereItLandsOnTheDistance) {
  cFileIO file;
  ASSERT_TRUE(file.CreateEmpty(Path().c_str()));
  EXPECT_TRUE(file.SeekFromEnd(0));
  EXPECT_TRUE(file.SeekFromEnd(7));
  EXPECT_TRUE(file.SetSize(10));
  EXPECT_FALSE(file.SeekFromEnd(0));
  EXPECT_FALSE(file.SeekFromEnd(3));
  EXPECT_TRUE(file.WriteExact("z", 1)) << "it has moved all the same";
  EXPECT_EQ(file.GetSize(), 14u);
}

TEST_F(FileIO, AClosedFileDoesNothing) {
  cFileIO file;
  char byte = 0;
  file.Close();
  EXPECT_FALSE(file.IsOpen());
  EXPECT_EQ(file.GetSize(), 0u);
  EXPECT_EQ(file.ReadSome(&byte, 1), 0u);
  EXPECT_EQ(file.WriteSome(&byte, 1), 0u);
  EXPECT_FALSE(file.Seek(0));
  EXPECT_FALSE(file.SeekFromEnd(0));
  EXPECT_FALSE(file.SetSize(0));
  EXPECT_FALSE(file.SetTimeStamp(2020, 1, 1, 0, 0, 0));
  EXPECT_FALSE(file.SetUnixTimes(1, 1, 1));
}

TEST_F(FileIO, OpensOnlyWhatIsThere) {
  cFileIO file;
  EXPECT_FALSE(file.Reopen(Path().c_str(), cFileIO::kModeRead));
  EXPECT_FALSE(file.Reopen(m_folder.Path().u16string().c_str(), cFileIO::kModeRead)) << "folder";
  EXPECT_FALSE(file.CreateEmpty(m_folder.File(u"no/such/folder").c_str()));
  ASSERT_TRUE(fakes::WriteWholeFile(Path(), {1, 2, 3}));
  EXPECT_TRUE(file.Reopen(Path().c_str(), cFileIO::kModeRead));
  EXPECT_EQ(file.WriteSome("x", 1), 0u) << "opened for reading";
  EXPECT_TRUE(file.Reopen(file.Path().Text(), cFileIO::kModeReadWrite)) << "by its own path";
  EXPECT_EQ(file.WriteSome("x", 1), 1u);
  EXPECT_TRUE(file.CreateEmpty(Path().c_str()));
  EXPECT_EQ(file.GetSize(), 0u) << "created again";
}

// Positions beyond what 32 bits hold, in a file that is nearly all hole.
TEST_F(FileIO, TakesPositionsOf64Bits) {
  cFileIO file;
  ASSERT_TRUE(file.CreateEmpty(Path().c_str()));
  for (const u64 position : {u64{0x7FFFFFFF}, u64{0xFFFFFFFF}, (u64{5} << 32) + 1}) {
    if (!file.Seek(position) || !file.WriteExact("mark", 4)) {
      GTEST_SKIP() << "no file of " << position << " bytes here, error " << platform::LastFailure();
    }
    EXPECT_EQ(file.GetSize(), position + 4);
    char text[5] = {};
    EXPECT_TRUE(file.Seek(position));
    EXPECT_TRUE(file.ReadExact(text, 4));
    EXPECT_STREQ(text, "mark");
  }
  char byte = 1;
  EXPECT_TRUE(file.Seek((u64{4} << 32) + 1));
  EXPECT_TRUE(file.ReadExact(&byte, 1));
  EXPECT_EQ(byte, 0);
  EXPECT_TRUE(file.SetSize((u64{3} << 32) + 2));
  EXPECT_EQ(file.GetSize(), (u64{3} << 32) + 2);
}

TEST_F(FileIO, SetTimeStampTakesUtc) {
  const struct {
    u16 year, month, day, hour, minute, second;
    i64 seconds;  // since 1970; -1: refused
  } cases[] = {
      {2001, 9, 9, 1, 46, 40, 1000000000},
      {1980, 1, 1, 0, 0, 0, 315532800},
      {2024, 2, 29, 23, 59, 58, 1709251198},
      {2023, 2, 29, 0, 0, 0, -1},
      {2023, 13, 1, 0, 0, 0, -1},
      {2023, 1, 0, 0, 0, 0, -1},
      {2023, 1, 1, 24, 0, 0, -1},
      {2023, 1, 1, 0, 60, 0, -1},
      {2023, 1, 1, 0, 0, 60, -1},
      {1600, 1, 1, 0, 0, 0, -1},
  };
  for (const auto& c : cases) {
    cFileIO file;
    ASSERT_TRUE(file.CreateEmpty(Path().c_str()));
    EXPECT_EQ(file.SetTimeStamp(c.year, c.month, c.day, c.hour, c.minute, c.second), c.seconds >= 0)
        << c.year << "-" << c.month << "-" << c.day;
    file.Close();
    if (c.seconds >= 0) {
      EXPECT_EQ(LastWrite(), c.seconds);
    }
  }
}

TEST_F(FileIO, SetUnixTimesTakesLocalTime) {
  constexpr u32 kSummer = 1720000000, kWinter = 1705000000;
  cFileIO file;
  ASSERT_TRUE(file.CreateEmpty(Path().c_str()));
  for (const u32 local : {kSummer, kWinter, u32{0x80000001}}) {
    EXPECT_TRUE(file.SetUnixTimes(local, cFileIO::kUnchangedTime, cFileIO::kUnchangedTime));
    EXPECT_EQ(LastWrite(), platform::LocalToUtcSeconds(local));
  }
  EXPECT_TRUE(file.SetUnixTimes(kSummer, kSummer, kSummer));
  const i64 before = LastWrite();
  EXPECT_TRUE(file.SetUnixTimes(cFileIO::kUnchangedTime, kWinter, kWinter));
  EXPECT_EQ(LastWrite(), before);
  EXPECT_FALSE(
      file.SetUnixTimes(cFileIO::kUnchangedTime, cFileIO::kUnchangedTime, cFileIO::kUnchangedTime));
}

}  // namespace
}  // namespace larkspur
