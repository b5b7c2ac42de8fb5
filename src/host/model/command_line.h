// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What the program is asked to do by its arguments.

#include <string>
#include <vector>

namespace larkspur::host {

struct CommandLine {
  enum class Verb {
    kShow,   // open the window, with the storages named
    kList,   // tell the modules beside the program
    kOpen,   // open a storage, and do what is asked of it
    kMake,   // make a storage with the module's own dialog, and do what is asked of it
    kTell,   // print `words`: the help, or the version
    kWrong,  // `words` say what
  };
  Verb verb = Verb::kShow;
  std::vector<std::string> names;  // the storages to show; FILE; SOURCE and CACHE
  std::string testMapfile;
  unsigned language = 0;
  bool dumpTree = false;
  bool readAll = false;
  std::string words;
};

// Arguments in UTF-8, without the program's name.
CommandLine ParseCommandLine(const std::vector<std::string>& arguments);

}  // namespace larkspur::host
