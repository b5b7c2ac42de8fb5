// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/mapfile.h"

#include <sstream>

#include <gtest/gtest.h>

#include "fakes/temp_folder.h"
#include "platform/system_error.h"

namespace larkspur {
namespace {

std::string Dump(const std::vector<SectorRange>& ranges) {
  std::string text;
  for (const SectorRange& range : ranges) {
    text += std::to_string(range.first) + "+" + std::to_string(range.count) + " ";
  }
  return text;
}

TEST(Mapfile, TellsTheFinishedSectors) {
  const struct {
    const char* name;
    const char* text;
    const char* sectors;
  } cases[] = {
      {"one block", "0x0 +\n0 0x400 +\n", "0+2 "},
      {"pass, comments, blank lines", "# x\n\n0 ? 1 # y\n0 512 + # z\n", "0+1 "},
      {"octal and decimal", "0 +\n01000 1024 +\n", "1+2 "},
      {"every other status fails", "0 F\n0 512 ?\n512 512 *\n1024 512 /\n1536 512 -\n", ""},
      {"neighbours are joined", "0 +\n0 512 +\n512 512 +\n", "0+2 "},
      {"a gap fails", "0 +\n0 512 +\n1024 512 +\n", "0+1 2+1 "},
      {"partly finished sectors fail", "0 +\n1 1536 +\n", "1+2 "},
      {"joined across a sector's middle", "0 +\n0 700 +\n700 324 +\n", "0+2 "},
      {"no blocks", "0 +\n", ""},
  };
  for (const auto& c : cases) {
    std::istringstream in(c.text);
    const auto blocks = ParseMapfile(in);
    ASSERT_TRUE(blocks) << c.name << ": " << blocks.error().detail;
    EXPECT_EQ(Dump(FinishedSectors(*blocks)), c.sectors) << c.name;
  }
}

TEST(Mapfile, TellsTheSectorsOfAnyStatus) {
  std::istringstream in("0 +\n0 1024 +\n1024 512 *\n1536 1024 /\n2560 700 -\n3260 324 +\n");
  const auto blocks = ParseMapfile(in);
  ASSERT_TRUE(blocks);
  EXPECT_EQ(Dump(SectorsMarked(*blocks, "+")), "0+2 ");
  EXPECT_EQ(Dump(SectorsMarked(*blocks, "*/")), "2+3 ");
  EXPECT_EQ(Dump(SectorsMarked(*blocks, "-")), "5+1 ");
  EXPECT_EQ(Dump(SectorsMarked(*blocks, "-+")), "0+2 5+2 ");
}

TEST(Mapfile, NamesTheWrongLine) {
  const struct {
    const char* text;
    u32 line;
  } cases[] = {
      {"", 0},
      {"# only a comment\n\n", 0},
      {"nonsense\n", 1},
      {"0x0 !\n", 1},
      {"0 + 1 2\n", 1},
      {"0 +\n0 512\n", 2},
      {"0 +\n\n0 512 x\n", 3},
      {"0 +\n0 0x +\n", 2},
      {"0 +\n0 08 +\n", 2},
      {"0 +\n-1 512 +\n", 2},
      {"0 +\n0 1024 +\n512 512 -\n", 3},
      {"0 +\n0xFFFFFFFFFFFFFFFF 2 +\n", 2},
      {"0 +\n0x10000000000000000 2 +\n", 2},
  };
  for (const auto& c : cases) {
    std::istringstream in(c.text);
    const auto blocks = ParseMapfile(in);
    ASSERT_FALSE(blocks) << c.text;
    EXPECT_EQ(blocks.error().line, c.line) << c.text;
    EXPECT_FALSE(blocks.error().detail.empty()) << c.text;
  }
}

TEST(Mapfile, ReadsWhatItWrites) {
  std::ostringstream out;
  MapfileWriter writer(out, false);
  writer.Add(0, 10, '+');
  writer.Add(10, u64{1} << 32, '-');
  writer.Add((u64{1} << 32) + 10, 5, '+');
  std::istringstream in(out.str());
  const auto blocks = ParseMapfile(in);
  ASSERT_TRUE(blocks) << blocks.error().detail;
  EXPECT_EQ(Dump(FinishedSectors(*blocks)), "0+10 4294967306+5 ");
}

// Nor does a failure of earlier pass for its own.
TEST(Mapfile, ThatIsTooLargeIsNoFailureOfTheSystem) {
  const fakes::TempFolder folder;
  ASSERT_TRUE(fakes::WriteWholeFile(folder.File(u"large.map"), {}));
  std::filesystem::resize_file(folder.Path() / "large.map", kMaxMapfileBytes + 1);
  platform::SetLastFailure(5);
  EXPECT_EQ(ReadMapfile(folder.File(u"large.map")).error().systemError, 0u);
}

}  // namespace
}  // namespace larkspur
