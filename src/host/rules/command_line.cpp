// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/rules/command_line.h"

#include <charconv>

namespace larkspur::host {

const char kUsage[] =
    R"(larkspur-host: opens storages, and makes new ones with the modules beside it

  larkspur-host [STORAGE...]                show the window, with these storages open
  larkspur-host --list                      tell the modules and what else lies beside the program
  larkspur-host --open FILE --dump-tree     show the partitions of an image, a cache or a drive
  larkspur-host --make SOURCE CACHE         make a read-once storage with the module's own dialog
      --dump-tree                           ... and show its partitions
      --read                                ... and read all of it

  --test-mode MAPFILE   make every sector of a source fail that this GNU ddrescue mapfile does not
                        mark +
  --language N          the language of the dialogs, 0 (English) to 9
  --help, --version

Exit status: 0 done; 1 failed; 2 wrong usage; 3 done, but some sectors are unreadable; 130 stopped.
)";

namespace {

using Verb = CommandLine::Verb;

constexpr unsigned kMostLanguages = 10;

CommandLine Wrong(std::string fault) {
  CommandLine line;
  line.verb = Verb::kWrong;
  line.fault = std::move(fault);
  return line;
}

size_t NamesOf(Verb verb) {
  return verb == Verb::kOpen ? 1 : verb == Verb::kMake ? 2 : 0;
}

bool TakeLanguage(const std::string& word, unsigned* language) {
  const char* const end = word.data() + word.size();
  const auto [stop, error] = std::from_chars(word.data(), end, *language);
  return error == std::errc() && stop == end && *language < kMostLanguages;
}

struct VerbRow {
  const char* word;
  Verb verb;
};
constexpr VerbRow kVerbs[] = {{"--list", Verb::kList},
                              {"--open", Verb::kOpen},
                              {"--make", Verb::kMake},
                              {"--help", Verb::kHelp},
                              {"--version", Verb::kVersion}};

// Takes `word` when it is the name of something to do; "--open" before a second one is an error.
bool TakeVerb(const std::string& word, CommandLine* line) {
  for (const VerbRow& row : kVerbs) {
    if (word != row.word) continue;
    if (line->verb != Verb::kShow) line->fault = word + " does not go with what stands before it";
    line->verb = row.verb;
    return true;
  }
  return false;
}

std::string Checked(const CommandLine& line) {
  if (!line.fault.empty()) return line.fault;
  const bool isWork = line.verb == Verb::kOpen || line.verb == Verb::kMake;
  if (isWork && line.names.size() != NamesOf(line.verb)) {
    return line.verb == Verb::kOpen ? "--open takes one FILE" : "--make takes SOURCE and CACHE";
  }
  if (!isWork && line.verb != Verb::kShow && !line.names.empty()) {
    return line.names[0] + ": not expected here";
  }
  if (!isWork && (line.dumpTree || line.readAll)) return "--dump-tree and --read want a storage";
  if (line.verb == Verb::kOpen && !line.dumpTree && !line.readAll) {
    return "--open wants --dump-tree or --read";
  }
  return {};
}

}  // namespace

CommandLine ParseCommandLine(const std::vector<std::string>& words) {
  CommandLine line;
  for (size_t i = 0; i < words.size(); ++i) {
    const std::string& word = words[i];
    if (TakeVerb(word, &line)) continue;
    if (word == "--dump-tree") {
      line.dumpTree = true;
    } else if (word == "--read") {
      line.readAll = true;
    } else if (word == "--test-mode" || word == "--language") {
      if (++i == words.size()) return Wrong(word + " wants a value");
      if (word == "--test-mode") {
        line.testMapfile = words[i];
      } else if (!TakeLanguage(words[i], &line.language)) {
        return Wrong(words[i] + ": no language has that number");
      }
    } else if (word.starts_with("--")) {
      return Wrong(word + ": there is no such option");
    } else {
      line.names.push_back(word);
    }
  }
  const std::string fault = Checked(line);
  return fault.empty() ? line : Wrong(fault);
}

}  // namespace larkspur::host
