// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// What maps show: statuses by ranges and by cells, and sizes in words.

#include <algorithm>
#include <array>
#include <regex>
#include <sstream>

#include <gtest/gtest.h>

#include "base/endian.h"
#include "base/size_text.h"
#include "fakes/images.h"
#include "fakes/temp_folder.h"
#include "imaging/map_picture.h"
#include "imaging/mapfile.h"
#include "imaging/status_map.h"
#include "platform/system_error.h"

namespace larkspur {
namespace {

TEST(StatusMap, TellsOfAnyRangeWhatTheImageTells) {
  constexpr u64 kPart = 32768;  // looked at together
  constexpr u64 kSectors = 2 * kPart + 1000;
  const auto image = fakes::CreateImage(fakes::MakeStore(), kSectors);
  for (const u64 start : {u64{10}, kPart - 100}) fakes::WritePattern(image.get(), start, 300);
  for (const u64 bad : {u64{5}, u64{20}, u64{21}, kPart, kSectors - 1}) image->MarkSectorBad(bad);
  StatusMap map(image.get());
  EXPECT_EQ(map.Sectors(), kSectors);
  fakes::RandomSource random;
  for (int turn = 0; turn < 300; ++turn) {
    const u64 near = turn % 2 == 0 ? 0 : kPart - 500;
    const u64 first = near + random.Below(1000);
    const u64 count = random.Below(turn % 3 == 0 ? kSectors + 1 - first : 500);
    const StatusCounts got = map.Count(first, count);
    const StatusCounts expected = CountStatuses(image.get(), first, count);
    EXPECT_EQ(got.present, expected.present) << random.seed;
    EXPECT_EQ(got.unreadable, expected.unreadable) << random.seed;
    EXPECT_EQ(got.missing, expected.missing) << random.seed;
  }
  EXPECT_TRUE(map.IsPresent(22, 288));
  EXPECT_FALSE(map.IsPresent(21, 2));
  EXPECT_EQ(map.Count(kSectors - 10, 100).missing, 99u);  // past the end
  EXPECT_EQ(map.Count(2 * kSectors, kNowhere).missing, kNowhere - 2 * kSectors);
  EXPECT_EQ(map.Unknown(), 0u);
}

TEST(StatusMap, CountsWhatIsUnknown) {
  const auto store = fakes::MakeStore();
  const auto image = fakes::CreateImage(store, 1000);
  fakes::WritePattern(image.get(), 0, 256);
  store->RefuseByte(kSectorBytes);         // the index entry of the first block
  store->bytes[2 * kSectorBytes + 5] = 9;  // a status that does not exist
  for (const bool isRefused : {true, false}) {
    if (!isRefused) store->refusesRead = nullptr;
    const auto again = fakes::OpenImage(store, true);
    StatusMap map(again.get());
    EXPECT_EQ(map.Count(0, 1000).unknown, isRefused ? 128u : 1u);
    EXPECT_EQ(map.Unknown(), isRefused ? 128u : 1u);
  }
}

// "present/unreadable/missing" of every cell.
std::string Dump(const MapGrid& grid) {
  std::string text;
  for (const StatusCounts& cell : grid.cells) {
    text += std::to_string(cell.present) + "/" + std::to_string(cell.unreadable) + "/" +
            std::to_string(cell.missing) + " ";
  }
  return text;
}

TEST(MapGrid, CountsEveryCell) {
  const auto store = std::make_shared<fakes::MemoryStore>();
  const Owned<cKVRSparseIO> image = fakes::CreateImage(store, 20);
  const std::vector<u8> data(6 * kSectorBytes, 1);
  ASSERT_EQ(image->Write(3, data.data(), 6), 6u);
  ASSERT_TRUE(image->MarkSectorBad(19));
  const struct {
    u64 maxCells;
    u64 perCell;
    const char* cells;
  } cases[] = {
      {19, 2, "0/0/2 1/0/1 2/0/0 2/0/0 1/0/1 0/0/2 0/0/2 0/0/2 0/0/2 0/1/1 "},
      {5, 4, "1/0/3 4/0/0 1/0/3 0/0/4 0/1/3 "},
      {4, 8, "5/0/3 1/0/7 0/1/3 "},
      {1, 32, "6/1/13 "},
  };
  for (const auto& c : cases) {
    const MapGrid grid = MakeMapGrid(image.get(), c.maxCells);
    EXPECT_EQ(grid.sectorsPerCell, c.perCell);
    EXPECT_EQ(Dump(grid), c.cells);
    EXPECT_EQ(grid.totals.present, 6u);
    EXPECT_EQ(grid.totals.missing, 13u);
  }
}

TEST(MapGrid, OneUnreadableSectorIsAlwaysSeen) {
  EXPECT_TRUE(LookOf({1000000, 1, 0}).unreadable);
  EXPECT_EQ(LookOf({3, 0, 0}).shade, 255);
  EXPECT_EQ(LookOf({0, 0, 3}).shade, 0);
  EXPECT_LT(LookOf({999999, 0, 1}).shade, 200) << "something is missing";
  EXPECT_GT(LookOf({1, 0, 999999}).shade, 50) << "something is there";
  EXPECT_EQ(LookOf({0, 0, 0}).shade, 0);
}

// x, y, width and height of each rectangle: the picture, cells, and last the legend's three.
std::vector<std::array<u32, 4>> RectsOf(const std::string& svg) {
  const std::regex pattern("<rect x=\"(\\d+)\" y=\"(\\d+)\" width=\"(\\d+)\" height=\"(\\d+)\"");
  std::vector<std::array<u32, 4>> rects;
  for (std::sregex_iterator at(svg.begin(), svg.end(), pattern), end; at != end; ++at) {
    auto& rect = rects.emplace_back();
    for (size_t i = 0; i < 4; ++i) rect[i] = static_cast<u32>(std::stoul((*at)[i + 1]));
  }
  return rects;
}

TEST(MapPicture, IsDrawnForAnySize) {
  for (const u64 sectors : {u64{1}, u64{127}, u64{32768}, u64{32769}, u64{1} << 24}) {
    const auto store = std::make_shared<fakes::MemoryStore>();
    const Owned<cKVRSparseIO> image = fakes::CreateImage(store, sectors);
    ASSERT_TRUE(image->MarkSectorBad(sectors - 1));
    const std::string png = DrawMapPng(image.get(), "a title");
    EXPECT_EQ(png.substr(1, 3), "PNG") << sectors;
    const std::string svg = DrawMapSvg(image.get(), "<&>");
    EXPECT_NE(svg.find("&lt;&amp;&gt;"), std::string::npos);
    EXPECT_NE(svg.find("unreadable: 1 ("), std::string::npos);
    EXPECT_EQ(svg.find("(1 sectors"), std::string::npos);
    const auto rects = RectsOf(svg);
    EXPECT_EQ(LoadBe32(reinterpret_cast<const u8*>(&png[20])), rects[0][3]) << "as high";
    u32 mapEnd = 0;
    for (size_t i = 1; i < rects.size(); ++i) {
      const auto& [x, y, width, height] = rects[i];
      EXPECT_LE(x + width, rects[0][2]);
      EXPECT_LE(y + height, rects[0][3]);
      const bool isLegend = i + 3 >= rects.size();
      EXPECT_TRUE(!isLegend || y > mapEnd) << "the legend is below the map";
      if (!isLegend) mapEnd = std::max(mapEnd, y + height);
    }
  }
}

TEST(SizeText, IsReadableAndPercentRoundToNoFalseEnd) {
  const std::pair<u64, const char*> sizes[] = {
      {0, "0 bytes"},
      {1, "1 byte"},
      {2, "2 bytes"},
      {1023, "1023 bytes"},
      {1024, "1.0 KiB"},
      {1536, "1.5 KiB"},
      {1048524, "1023.9 KiB"},
      {1048525, "1.0 MiB"},
      {u64{3} << 30, "3.0 GiB"},
      {u64{4} << 40, "4.0 TiB"},
      {u64{5} << 50, "5.0 PiB"},
      {~u64{0}, "16.0 EiB"},
  };
  for (const auto& [bytes, text] : sizes) EXPECT_EQ(SizeText(bytes), text) << bytes;
  const std::tuple<u64, u64, const char*> shares[] = {
      {0, 0, "0.0%"},
      {0, 100, "0.0%"},
      {1, 1000000, "0.1%"},
      {999999, 1000000, "99.9%"},
      {~u64{0} - 1, ~u64{0}, "99.9%"},
      {5, 5, "100.0%"},
      {1, 3, "33.3%"},
  };
  for (const auto& [part, whole, text] : shares) EXPECT_EQ(PercentText(part, whole), text) << part;
}

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
