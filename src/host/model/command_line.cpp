// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/model/command_line.h"

#include <CLI/CLI.hpp>

namespace larkspur::host {
namespace {

using Verb = CommandLine::Verb;

constexpr unsigned kLastLanguage = 9;

constexpr char kStatuses[] =
    "Exit status: 0 done; 1 failed; 2 wrong usage; 3 done, but some sectors are unreadable\n"
    "or missing; 130 stopped.";

CommandLine Answer(Verb verb, std::string words) {
  CommandLine line;
  line.verb = verb;
  line.words = std::move(words);
  return line;
}

// The arguments as they are declared to the parser, and where it puts what they say.
struct Arguments {
  Arguments()
      : app("larkspur-host: opens storages, and makes new ones with the modules beside it") {
    app.name("larkspur-host");
    app.set_version_flag("--version", "larkspur-host " LARKSPUR_VERSION);
    app.footer(kStatuses);
    show = app.add_option("STORAGE", line.names, "show the window, with these storages open");
    list = app.add_flag("--list", listed,
                        "list the modules beside the program, and why other libraries are none");
    open =
        app.add_option("--open", opened, "open an image, a cache or a drive")->type_name("STORAGE");
    make = app.add_option("--make", made, "make a read-once storage with the module's own dialog")
               ->type_name("SOURCE CACHE")
               ->expected(2);
    app.add_flag("--dump-tree", line.dumpTree, "show the partitions of what was opened or made");
    app.add_flag("--read", line.readAll, "read all of it");
    app.add_option("--test-mode", line.testMapfile,
                   "make every sector of a source fail that this GNU ddrescue mapfile does not "
                   "mark +")
        ->type_name("MAPFILE");
    app.add_option("--language", line.language, "the language of the dialogs, 0 (English) to 9")
        ->type_name("N")
        ->check(CLI::Range(0u, kLastLanguage));
    list->excludes(open)->excludes(make)->excludes(show);
    open->excludes(make)->excludes(show);
    make->excludes(show);
  }

  // What no single argument can say by itself; empty when all is well.
  std::string Fault() const {
    const bool isAsked = line.dumpTree || line.readAll;
    if (isAsked && !*open && !*make) return "--dump-tree and --read need --open or --make";
    if (*open && !isAsked) return "--open needs --dump-tree or --read";
    return {};
  }

  CommandLine Line() {
    line.verb = *list ? Verb::kList : *open ? Verb::kOpen : *make ? Verb::kMake : Verb::kShow;
    if (*open) line.names = {opened};
    if (*make) line.names = made;
    return line;
  }

  CLI::App app;
  CommandLine line;
  bool listed = false;
  std::string opened;
  std::vector<std::string> made;
  CLI::Option *show, *list, *open, *make;
};

}  // namespace

CommandLine ParseCommandLine(const std::vector<std::string>& arguments) {
  Arguments known;
  try {
    known.app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
  } catch (const CLI::CallForHelp&) {
    return Answer(Verb::kTell, known.app.help());
  } catch (const CLI::CallForVersion& version) {
    return Answer(Verb::kTell, std::string(version.what()) + "\n");
  } catch (const CLI::ParseError& fault) {
    return Answer(Verb::kWrong, fault.what());
  }
  const std::string fault = known.Fault();
  return fault.empty() ? known.Line() : Answer(Verb::kWrong, fault);
}

}  // namespace larkspur::host
