// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/model/command_line.h"

#include <sstream>

#include <gtest/gtest.h>

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
      {"--help", Verb::kTell, 0},
      {"--version", Verb::kTell, 0},
      {"--open a", Verb::kWrong, 0},
      {"--open", Verb::kWrong, 0},
      {"--open a b --dump-tree", Verb::kWrong, 0},
      {"--make a", Verb::kWrong, 0},
      {"--list a", Verb::kWrong, 0},
      {"--list --open a --dump-tree", Verb::kWrong, 0},
      {"--dump-tree", Verb::kWrong, 0},
      {"--language", Verb::kWrong, 0},
      {"--language 10", Verb::kWrong, 0},
      {"--language x", Verb::kWrong, 0},
      {"--test-mode", Verb::kWrong, 0},
      {"--bogus", Verb::kWrong, 0},
  };
  for (const Row& row : kRows) {
    const CommandLine line = Parse(row.line);
    EXPECT_EQ(line.verb, row.verb) << row.line;
    EXPECT_EQ(line.names.size(), row.names) << row.line;
    EXPECT_EQ(line.words.empty(), row.verb != Verb::kWrong && row.verb != Verb::kTell) << row.line;
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

}  // namespace
}  // namespace larkspur::host
