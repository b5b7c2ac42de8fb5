// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/model/command_line.h"

#include <algorithm>
#include <utility>

#include <CLI/CLI.hpp>
#include <fmt/core.h>

#include "base/help_format.h"
#include "base/path_text.h"
#include "base/printable.h"
#include "catalog/message_catalog.h"

namespace larkspur::host {
namespace {

using Verb = CommandLine::Verb;

constexpr char kStatuses[] =
    "Exit status: 0 done; 1 failed; 2 wrong usage; 3 done, but some sectors are unreadable or "
    "missing; 130 stopped.";

// The catalog's languages, by their numbers.
std::vector<CatalogLanguage> Languages() {
  std::vector<CatalogLanguage> languages = CatalogLanguages();
  std::sort(languages.begin(), languages.end(),
            [](const auto& one, const auto& other) { return one.id < other.id; });
  return languages;
}

std::string LanguageHelp() {
  std::string help = "Language of the dialogs:";
  for (const char* before = " "; const CatalogLanguage& language : Languages()) {
    help += fmt::format("{}{} {}", std::exchange(before, ", "), language.id,
                        Utf8FromWide(language.name));
  }
  return help;
}

unsigned LanguageOf(const std::string& text) {
  std::string known;
  for (const CatalogLanguage& language : Languages()) {
    if (text == std::to_string(language.id)) return language.id;
    known += (known.empty() ? "" : ", ") + std::to_string(language.id);
  }
  throw CLI::ValidationError(
      fmt::format("--language takes one of {}, not \"{}\"", known, Printable(text)),
      CLI::ExitCodes::ValidationError);
}

CommandLine Answer(Verb verb, std::string words) {
  CommandLine line;
  line.verb = verb;
  line.words = std::move(words);
  return line;
}

// The arguments as they are declared to the parser, and where it puts what they say.
struct Arguments {
  Arguments() : app("Opens storages, and makes new ones with the modules beside the program.") {
    app.name("larkspur-host");
    UseHelpFormat(&app);
    app.set_version_flag("--version", "larkspur-host " LARKSPUR_VERSION, "Print the version");
    app.set_help_flag("-h,--help", "Print this help");
    app.footer(kStatuses);
    show = app.add_option("STORAGE", line.names, "Show the window, with these storages open")
               ->type_name("[STORAGE...]");
    list = app.add_flag(
        "--list", listed,
        "List the modules beside the program, and why other libraries are not modules");
    open =
        app.add_option("--open", opened, "Open an image, a cache or a drive")->type_name("STORAGE");
    make = app.add_option("--make", made, "Make a read-once storage with the module's own dialog")
               ->type_name("SOURCE CACHE")
               ->expected(2);
    app.add_flag("--dump-tree", line.dumpTree, "Print the partitions of what was opened or made");
    app.add_flag("--read", line.readAll, "Read all of it");
    app.add_option("--test-mode", line.testMapfile,
                   "Make every sector of a source fail that this GNU ddrescue mapfile does not "
                   "mark +, to practise")
        ->type_name("MAPFILE");
    app.add_option_function<std::string>(
           "--language", [this](const std::string& text) { line.language = LanguageOf(text); },
           LanguageHelp())
        ->type_name("N");
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
  const auto wrong = [](const std::string& fault) {
    return Answer(Verb::kWrong, fault + "; see 'larkspur-host --help'");
  };
  try {
    known.app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
  } catch (const CLI::CallForHelp&) {
    return Answer(Verb::kTell, known.app.help());
  } catch (const CLI::CallForVersion& version) {
    return Answer(Verb::kTell, std::string(version.what()) + "\n");
  } catch (const CLI::ParseError& fault) {
    return wrong(ParserWords(known.app, fault));
  }
  const std::string fault = known.Fault();
  return fault.empty() ? known.Line() : wrong(fault);
}

}  // namespace larkspur::host
