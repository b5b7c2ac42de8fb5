// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Words of the host: its command line, bytes in hexadecimal, the log, and trees.

#include <algorithm>
#include <array>
#include <sstream>

#include <gtest/gtest.h>

#include "base/path_text.h"
#include "catalog/message_catalog.h"
#include "fakes/disk_builder.h"
#include "fakes/temp_folder.h"
#include "host/model/command_line.h"
#include "host/model/log_text.h"
#include "host/model/sector_view.h"
#include "host/model/tree_rows.h"
#include "partitions/detection.h"
#include "partitions/part_records.h"
#include "partitions/type_names.h"

namespace larkspur::host {
namespace {

using Verb = CommandLine::Verb;

CommandLine Parse(const std::string& line) {
  std::istringstream in(line);
  std::vector<std::string> words;
  for (std::string word; in >> word;) words.push_back(word);
  return ParseCommandLine(words);
}

TEST(HostCommandLineTest, EachLineMeansOneThing) {
  struct Row {
    const char* line;
    Verb verb;
    size_t names;
    const char* words = "";  // that the answer begins with
  };
  constexpr Row kRows[] = {
      {"", Verb::kShow, 0},
      {"a b c", Verb::kShow, 3},
      {"--list", Verb::kList, 0},
      {"--open a --dump-tree", Verb::kOpen, 1},
      {"--dump-tree --open a", Verb::kOpen, 1},
      {"--open a --read", Verb::kOpen, 1},
      {"--make a b", Verb::kMake, 2},
      {"--make a b --read --dump-tree --language 2", Verb::kMake, 2},
      {"--help", Verb::kTell, 0, "Opens storages"},
      {"--version", Verb::kTell, 0, "larkspur-host "},
      {"--open a", Verb::kWrong, 0, "--open needs --dump-tree or --read; see 'larkspur-host"},
      {"--open", Verb::kWrong, 0, "--open needs STORAGE; see"},
      {"--open a b --dump-tree", Verb::kWrong, 0, "STORAGE cannot be used with --open"},
      {"--make a", Verb::kWrong, 0, "--make needs SOURCE CACHE"},
      {"--list a", Verb::kWrong, 0, "STORAGE cannot be used with --list"},
      {"--list --open a --dump-tree", Verb::kWrong, 0, "--list cannot be used with --open"},
      {"--dump-tree", Verb::kWrong, 0, "--dump-tree and --read need --open or --make"},
      {"--language", Verb::kWrong, 0, "--language needs N"},
      {"--language 7", Verb::kWrong, 0,
       "--language takes one of 0, 1, 2, 3, 4, 5, 6, 8, 9, not \"7\""},
      {"--language 10", Verb::kWrong, 0, "--language takes"},
      {"--language x", Verb::kWrong, 0, "--language takes"},
      {"--test-mode", Verb::kWrong, 0, "--test-mode needs MAPFILE"},
      {"--bogus", Verb::kWrong, 0, "the following argument was not expected: --bogus"},
  };
  for (const Row& row : kRows) {
    const CommandLine line = Parse(row.line);
    EXPECT_EQ(line.verb, row.verb) << row.line;
    EXPECT_EQ(line.names.size(), row.names) << row.line;
    EXPECT_EQ(line.words.empty(), row.verb != Verb::kWrong && row.verb != Verb::kTell) << row.line;
    EXPECT_TRUE(line.words.starts_with(row.words)) << row.line << ": " << line.words;
  }
  // Nothing of the parser's own words, which name C++'s types.
  const std::string help = Parse("--help").words;
  for (const char* raw : {"TEXT", "UINT", "Excludes", "REQUIRED"}) {
    EXPECT_EQ(help.find(raw), std::string::npos) << help;
  }
  for (const CatalogLanguage& language : CatalogLanguages()) {
    EXPECT_NE(help.find(Utf8FromWide(language.name)), std::string::npos) << help;
  }
}

TEST(HostCommandLineTest, OptionsAreTaken) {
  const CommandLine line = Parse("--make a b --test-mode m --language 9 --read");
  EXPECT_EQ(line.names, (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(line.testMapfile, "m");
  EXPECT_EQ(line.language, 9u);
  EXPECT_TRUE(line.readAll);
  EXPECT_FALSE(line.dumpTree);
}

TEST(HexTextTest, AWholeSectorIsThirtyTwoLines) {
  std::array<u8, kSectorBytes> bytes{};
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<u8>(i);
  const std::string text = HexText(bytes);
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 32);
  EXPECT_EQ(text.substr(0, text.find('\r')),
            "0000  00 01 02 03 04 05 06 07  08 09 0a 0b 0c 0d 0e 0f  ................");
  EXPECT_NE(
      text.find("0040  40 41 42 43 44 45 46 47  48 49 4a 4b 4c 4d 4e 4f  @ABCDEFGHIJKLMNO\r\n"),
      std::string::npos);
  EXPECT_NE(
      text.find("0170  70 71 72 73 74 75 76 77  78 79 7a 7b 7c 7d 7e 7f  pqrstuvwxyz{|}~.\r\n"),
      std::string::npos);
}

TEST(HexTextTest, AShortLineKeepsItsColumns) {
  const std::array<u8, 3> bytes{'a', 0xFF, 'c'};
  EXPECT_EQ(HexText(bytes), "0000  61 ff 63" + std::string(42, ' ') + "a.c\r\n");
  EXPECT_EQ(HexText({}), "");
}

TEST(HexTextTest, SectorsAreReadAsPeopleTypeThem) {
  struct Row {
    const char16_t* text;
    std::optional<u64> sector;
  };
  constexpr Row kRows[] = {
      {u"0", 0},
      {u" 63\t", 63},
      {u"0x3F", 63},
      {u"0Xff", 255},
      {u"18446744073709551615", 0xFFFFFFFFFFFFFFFF},
      {u"18446744073709551616", std::nullopt},
      {u"", std::nullopt},
      {u"  ", std::nullopt},
      {u"0x", std::nullopt},
      {u"-1", std::nullopt},
      {u"12a", std::nullopt},
      {u"1 2", std::nullopt},
      {u"\u0661", std::nullopt},
  };
  for (const Row& row : kRows) {
    EXPECT_EQ(SectorFromText(row.text), row.sector) << testing::PrintToString(row.text);
  }
}

TEST(LogTextTest, ALogIsToldAsTheCommandLineDoesAndItsAbsenceSaysWhatToDo) {
  const fakes::TempFolder folder;
  const std::u16string cache = folder.File(u"disk.kvrsp"), path = cache + u".log";
  const auto said = [&] {
    const auto log = ReadLogText({cache, 8192});
    return (log ? "" : "no log: ") + Utf8FromWide(log ? *log : log.error());
  };
  const std::string name = Utf8FromWide(path);
  EXPECT_TRUE(said().starts_with("no log: " + name + "\r\nNothing is known")) << said();

  const std::string lines =
      R"({"t":"2026-11-21T19:00:00.123Z","event":"open","source":{"model":"ACME","sectors":8192}})"
      "\n{\"event\":\n"
      R"({"event":"failed","start":4096,"sectors":2,"kind":"medium","ms":2500})"
      "\n"
      R"({"t":"2026-11-21T19:01:00.000Z","event":"end","how":"done","present":8190,"unreadable":2})"
      "\n";
  ASSERT_TRUE(fakes::WriteWholeFile(path, {lines.begin(), lines.end()}));
  std::string wanted = R"(line 2 cannot be understood and is ignored

model     ACME
size      8192 sectors, 4.0 MiB

run from (UTC)       to                   ended                  read      present  unreadable
2026-11-21 19:00:00  2026-11-21 19:01:00  done                      0         8190           2

failures  medium 1  unclear 0  transport 0  gone 0  system 0
2 sectors failed at least once

         start  sectors   seconds  slowest failures
          4096        2       2.5  medium
)";
  for (size_t at = 0; (at = wanted.find('\n', at)) != std::string::npos; at += 2) {
    wanted.insert(at, 1, '\r');
  }
  EXPECT_EQ(said(), wanted);
}

cPartTreeItem* Node(u64 start, u64 length, u16 type) {
  auto* node = new cPartTreeItem;
  SetNode(*node, nullptr, start, length, type);
  return node;
}

TEST(TreeRowsTest, ATreeIsReadFromTheTopDown) {
  const auto disk =
      fakes::DiskBuilder(64).MbrEntry(0, 0, 0x0C, 8, 16).MbrEntry(0, 1, 0x83, 24, 32).Disk();
  PartitionTree tree;
  ASSERT_TRUE(BuildPartitionTree(tree.Head(), disk.get()));
  EXPECT_EQ(TreeText(TreeRows(*tree.Head())),
            "       start      sectors       size   type  what\n"
            "           0           64   32.0 KiB  32764  whole storage\n"
            "           8           16    8.0 KiB     12    FAT32 LBA\n"
            "          24           32   16.0 KiB    131    Linux native (unclassified)\n");
}

TEST(TreeRowsTest, RecordsAreToldInWords) {
  PartitionTree tree;
  cPartTreeItem* const node = Node(8, 16, kTypeLinuxRaid);
  AppendToTree(tree.Head(), node);
  auto* const raid = new cPartSoftRAIDInfo;
  const u8 set[] = {0x01, 0xAB};
  raid->SetIdentifier(set);
  raid->m_name.Assign(u"data");
  raid->m_layout = kLayoutMirror;
  raid->m_blockBytes = 65536;
  raid->m_columns = 2;
  raid->m_index = 1;
  AddExtension(*node, raid);
  AddExtension(*node, new cSBRLegacyOffset(63));
  const auto rows = TreeRows(*tree.Head());
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].facts,
            u"piece 1 of 2 of a mirror \"data\", blocks of 64.0 KiB, set 01ab; offset 63");
}

TEST(TreeRowsTest, NotesAreToldInWords) {
  const auto disk = fakes::DiskBuilder(64).Text(0, 3, "-FVE-FS-").Disk();
  PartitionTree tree;
  TreeNotes notes;
  ASSERT_TRUE(BuildPartitionTree(tree.Head(), disk.get(), {.notes = &notes}));
  EXPECT_EQ(TreeRows(*tree.Head(), notes)[0].facts, u"BitLocker");
}

// What a careless module may hand over.
TEST(TreeRowsTest, ATreeThatLeadsBackIntoItselfEnds) {
  PartitionTree tree;
  cPartTreeItem* const node = Node(0, 8, kTypeWholeDevice);
  AppendToTree(tree.Head(), node);
  node->m_next = node;
  EXPECT_LE(TreeRows(*tree.Head()).size(), 65536u);
  node->m_next = nullptr;
  node->m_firstChild = node;
  EXPECT_LE(TreeRows(*tree.Head()).size(), 128u);
  node->m_firstChild = nullptr;
}

}  // namespace
}  // namespace larkspur::host
