// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "cli/command_line.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <span>
#include <sstream>

#include <CLI/CLI.hpp>
#include <fmt/core.h>

#include "base/help_format.h"
#include "base/printable.h"
#include "cli/commands.h"
#include "cli/output.h"
#include "cli/parser.h"

namespace larkspur::cli {
namespace {

// Options by the type of their values. Only the first two call the library's templates: these take
// long to compile for each type, and again for each call.
using TakeText = std::function<void(const std::string& text)>;

CLI::Option* AddOption(CLI::App* command, const std::string& name, const TakeText& take,
                       const char* description) {
  return command->add_option_function<std::string>(name, take, description);
}

CLI::Option* AddTexts(CLI::App* command, const std::string& name,
                      const std::function<void(const std::vector<std::string>& texts)>& take,
                      const char* description) {
  return command->add_option_function<std::vector<std::string>>(name, take, description);
}

CLI::Option* AddFlag(CLI::App* command, const std::string& name, bool* flag,
                     const char* description) {
  return command->add_flag_callback(
      name, [=] { *flag = true; }, description);
}

CLI::Option* AddText(CLI::App* command, const std::string& name, std::string* value,
                     const char* description) {
  return AddOption(
      command, name, [=](const std::string& text) { *value = text; }, description);
}

// A file to write beside what goes to standard output.
CLI::Option* AddFile(CLI::App* command, const std::string& name, std::string* path,
                     const char* description) {
  const auto take = [=](const std::string& text) { *path = ParseFile(name, text); };
  return AddOption(command, name, take, description)->type_name("FILE");
}

CLI::Option* AddSize(CLI::App* command, const std::string& name, u64* bytes,
                     const char* description) {
  const auto take = [=](const std::string& text) { *bytes = ParseSize(name, text); };
  return AddOption(command, name, take, description)->type_name("SIZE");
}

template <typename Value>
CLI::Option* AddNumber(CLI::App* command, const std::string& name, Value* value, Bounds bounds,
                       const char* description) {
  const auto take = [=](const std::string& text) {
    *value = static_cast<Value>(ParseNumber(name, text, bounds));
  };
  return AddOption(command, name, take, description);
}

// An option whose value is one of a few words. The choices live as long as the command.
template <typename Value>
CLI::Option* AddChoice(CLI::App* command, const std::string& name, Value* value,
                       std::span<const Choice<Value>> choices, const char* description) {
  std::vector<std::string> words;
  words.reserve(choices.size());
  for (const auto& [word, meaning] : choices) words.push_back(word);
  const auto take = [=](const std::string& text) {
    *value = choices[ParseWord(name, text, words)].second;
  };
  return AddOption(command, name, take, description)->type_name(CLI::detail::join(words, "|"));
}

void AddTestMode(CLI::App* command, StorageOptions* options) {
  AddText(command, "--test-mode", &options->testMode,
          "Make every sector fail that this GNU ddrescue mapfile does not mark +, to practise")
      ->type_name("MAPFILE");
}

void AddSourceAndCache(CLI::App* command, StorageOptions* options) {
  AddText(command, "SOURCE", &options->source, "What is read: a file or a device")->required();
  AddText(command, "CACHE", &options->cache, "The cache file, such as disk.kvrsp")->required();
  AddTestMode(command, options);
}

// A cache, or a source before it.
void AddStorages(CLI::App* command, StorageOptions* options, const char* description) {
  AddTexts(
      command, "STORAGES",
      [options](const std::vector<std::string>& paths) {
        options->cache = paths.back();
        if (paths.size() > 1) options->source = paths.front();
      },
      description)
      ->type_name("[SOURCE] CACHE")
      ->required()
      ->expected(1, 2);
}

// How a source is read once.
void AddReading(CLI::App* command, StorageOptions* options) {
  AddFlag(command, "--other-source", &options->otherSource,
          "Read into a cache that was made from another disk of the same size");
  AddChoice<PassThrough>(command, "--pass-through", &options->passThrough, kPassThroughChoices,
                         "Read by SCSI commands instead of through the kernel, which retries on "
                         "its own: auto after the first failure, on from the start, off never")
      ->default_str("auto")
      ->expected(0, 1);
  AddNumber(command, "--timeout", &options->timeoutSeconds, {1, 3600},
            "How long such a command may take")
      ->default_str("10")
      ->type_name("SECONDS");
}

void AddCache(CLI::App* command, std::string* cache) {
  AddText(command, "CACHE", cache, "The cache file, such as disk.kvrsp")->required();
}

void AddJson(CLI::App* command, bool* json) {
  AddFlag(command, "--json", json, "Print one JSON document instead of text");
}

template <typename Options>
void AddRange(CLI::App* command, Options* options, bool required) {
  AddNumber(command, "--start", &options->start, {}, "First sector, from 0")
      ->type_name("S")
      ->required(required);
  AddNumber(command, "--sectors", &options->sectors, {1}, "Number of sectors")
      ->type_name("N")
      ->required(required);
}

CLI::Option* AddPartition(
    CLI::App* command, std::string* place,
    const char* description = "A partition by its place, as tree shows it: 1 or 1.2") {
  const auto take = [=](const std::string& text) { *place = ParsePlace("--partition", text); };
  return AddOption(command, "--partition", take, description)->type_name("P");
}

// Each of these gives a command its options; `chosen` becomes what to run when it is the one.
void AddImage(CLI::App* command, Action* chosen) {
  auto options = std::make_shared<ImageOptions>();
  AddSourceAndCache(command, options.get());
  AddRange(command, options.get(), false);
  AddPartition(command, &options->partition,
               "Read only this partition, by its place as tree shows it: 1 or 1.2")
      ->excludes("--start")
      ->excludes("--sectors");
  AddText(command, "--domain", &options->domain, "Read only what this GNU ddrescue mapfile marks +")
      ->type_name("MAPFILE");
  AddFlag(command, "--used", &options->used,
          "Read everything but free space, partition tables and file system metadata "
          "first; not on Windows");
  command->add_flag_callback(
      "--no-scrape", [=] { options->scrape = false; },
      "Stop before sectors that failed together are read one by one");
  AddFlag(command, "--retry", &options->retry,
          "Read the unreadable sectors, and only those, once more, one by one");
  AddFlag(command, "--reverse", &options->reverse, "Read from the end to the start");
  AddNumber(command, "--max-failures", &options->maxFailures, {1, 1'000'000'000},
            "Failures in a row after which the disk must prove that it still answers")
      ->default_str("64")
      ->type_name("N");
  AddSize(command, "--max-rate", &options->maxRate,
          "Read at most this much in a second, such as 10M");
  AddText(command, "--when-silent", &options->whenSilent,
          "Run this command when the disk stops answering, wait for the disk, and resume; "
          "the command finds the device in LARKSPUR_DEVICE and its serial number in "
          "LARKSPUR_SERIAL")
      ->type_name("COMMAND");
  auto* report = AddFile(command, "--report", &options->report,
                         "Keep a page for the data's owner up to date while reading");
  AddFlag(command, "--force", &options->force, "Replace an existing file with that page")
      ->needs(report);
  AddReading(command, options.get());
  AddFlag(command, "--json-progress", &options->jsonProgress,
          "Write progress as JSON Lines to standard error");
  AddJson(command, &options->json);
  command->callback([=] { *chosen = [options] { return RunImage(*options); }; });
}

void AddRead(CLI::App* command, Action* chosen) {
  auto options = std::make_shared<ReadOptions>();
  AddSourceAndCache(command, options.get());
  AddRange(command, options.get(), true);
  AddReading(command, options.get());
  AddText(command, "-o,--output", &options->output, "The file to write; - is standard output")
      ->type_name("FILE");
  AddFlag(command, "--force", &options->force, "Replace an existing file");
  command->callback([=] { *chosen = [options] { return RunRead(*options); }; });
}

void AddLog(CLI::App* command, Action* chosen) {
  auto cache = std::make_shared<std::string>();
  auto json = std::make_shared<bool>(false);
  AddCache(command, cache.get());
  AddJson(command, json.get());
  command->callback([=] { *chosen = [=] { return RunLog(*cache, *json); }; });
}

void AddInfo(CLI::App* command, Action* chosen) {
  auto cache = std::make_shared<std::string>();
  auto json = std::make_shared<bool>(false);
  AddCache(command, cache.get());
  AddJson(command, json.get());
  command->callback([=] { *chosen = [=] { return RunInfo(*cache, *json); }; });
}

void AddMap(CLI::App* command, Action* chosen) {
  auto options = std::make_shared<MapOptions>();
  AddCache(command, &options->cache);
  AddText(command, "--png", &options->png, "Draw the map as a PNG picture")->type_name("FILE");
  AddText(command, "--svg", &options->svg, "Draw the map as an SVG picture")->type_name("FILE");
  AddText(command, "--mapfile", &options->mapfile, "Write a GNU ddrescue mapfile")
      ->type_name("FILE");
  AddFlag(command, "--force", &options->force,
          "Replace existing files, but never the cache itself or a device");
  AddJson(command, &options->json);
  command->callback([=] { *chosen = [options] { return RunMap(*options); }; });
}

void AddCheck(CLI::App* command, Action* chosen) {
  auto cache = std::make_shared<std::string>();
  auto repair = std::make_shared<bool>(false);
  auto json = std::make_shared<bool>(false);
  AddCache(command, cache.get());
  AddFlag(command, "--repair", repair.get(),
          "Repair what can be repaired without losing a sector; when the header does not match "
          "the file, or part of the file cannot be read, nothing is changed");
  AddJson(command, json.get());
  command->callback([=] { *chosen = [=] { return RunCheck(*cache, *repair, *json); }; });
}

void AddExport(CLI::App* command, Action* chosen) {
  auto options = std::make_shared<ExportOptions>();
  AddCache(command, &options->cache);
  AddText(command, "OUT", &options->output,
          "The raw image to make; - is standard output, and a block device needs --force")
      ->required();
  AddRange(command, options.get(), false);
  AddPartition(command, &options->partition)->excludes("--start")->excludes("--sectors");
  AddFlag(command, "--force", &options->force, "Replace an existing file, or write to a device");
  AddFlag(command, "--hash", &options->hash,
          "Print the SHA-256 of what was written, and how many sectors were replaced by zeros; on "
          "standard error when OUT is -");
  command->callback([=] { *chosen = [options] { return RunExport(*options); }; });
}

void AddImport(CLI::App* command, Action* chosen) {
  auto options = std::make_shared<ImportOptions>();
  AddText(command, "IMAGE", &options->image, "The image that GNU ddrescue wrote")->required();
  AddText(command, "MAPFILE", &options->mapfile, "Its mapfile")->required();
  AddText(command, "CACHE", &options->cache, "The cache file to make")->required();
  AddJson(command, &options->json);
  command->callback([=] { *chosen = [options] { return RunImport(*options); }; });
}

void AddServe(CLI::App* command, Action* chosen) {
  auto options = std::make_shared<ServeOptions>();
  AddStorages(command, options.get(),
              "A cache; or a source and its cache, in which what clients read is kept");
  AddTestMode(command, options.get());
  AddReading(command, options.get());
  auto* socket = AddText(command, "--socket", &options->socket, "Listen on this socket");
  socket->type_name("PATH");
  auto* port = AddNumber(command, "--port", &options->port, {1, 65535}, "Listen on this TCP port");
  port->type_name("N")->excludes(socket);
  AddText(command, "--address", &options->address, "The port's address; 127.0.0.1 if not given")
      ->type_name("IP")
      ->needs(port);
  AddPartition(command, &options->partition);
  AddChoice<bool>(command, "--unreadable", &options->zerosForUnreadable, kUnreadableChoices,
                  "What reading an unreadable sector gives")
      ->default_str("error");
  AddFlag(command, "--fill", &options->fill, "Image the source while no client waits");
  command->callback([=] { *chosen = [options] { return RunServe(*options); }; });
}

void AddFiles(CLI::App* command, Action* chosen) {
  auto options = std::make_shared<FilesOptions>();
  AddStorages(command, options.get(),
              "A cache; or a source and its cache, into which file system metadata is read");
  AddTestMode(command, options.get());
  AddReading(command, options.get());
  AddPartition(command, &options->partition);
  AddFlag(command, "--damaged", &options->damaged, "List only files that are not complete");
  AddTexts(
      command, "--path",
      [options](const std::vector<std::string>& globs) { options->paths = globs; },
      "List only files whose path matches: * stays within a folder, ** does not")
      ->type_name("GLOB")
      ->allow_extra_args(false);
  AddFile(command, "--mapfile", &options->mapfile,
          "Write what the listed files still need, for image --domain");
  AddFlag(command, "--force", &options->force, "Replace an existing mapfile");
  AddJson(command, &options->json);
  command->callback([=] { *chosen = [options] { return RunFiles(*options); }; });
}

void AddReport(CLI::App* command, Action* chosen) {
  auto options = std::make_shared<ReportOptions>();
  AddCache(command, &options->cache);
  AddText(command, "OUT", &options->output,
          "The page to write, such as report.html; - is standard output")
      ->required();
  AddFlag(command, "--force", &options->force, "Replace an existing file");
  command->callback([=] { *chosen = [options] { return RunReport(*options); }; });
}

void AddTree(CLI::App* command, Action* chosen) {
  auto options = std::make_shared<TreeOptions>();
  AddText(command, "STORAGE", &options->source, "A file, a device or a cache")->required();
  auto* cache = AddText(command, "--cache", &options->cache,
                        "Look at the source through this cache, so that each sector "
                        "is read from it once");
  cache->type_name("CACHE");
  AddTestMode(command, options.get());
  AddFlag(command, "--trace", &options->trace, "List the sectors that were read, and what for");
  AddFlag(command, "--no-notes", &options->noNotes,
          "Show only the tree, without looking for what lies in the partitions");
  AddFlag(command, "--backup-gpt", &options->backupGpt,
          "Build the tree from the backup of a GUID table at the storage's end");
  AddJson(command, &options->json);
  command->callback([=] { *chosen = [options] { return RunTree(*options); }; });
}

void AddDevices(CLI::App* command, Action* chosen) {
  auto json = std::make_shared<bool>(false);
  AddJson(command, json.get());
  command->callback([=] { *chosen = [=] { return RunDevices(*json); }; });
}

void AddIdentify(CLI::App* command, Action* chosen) {
  auto device = std::make_shared<std::string>();
  auto json = std::make_shared<bool>(false);
  AddText(command, "DEVICE", device.get(), "The device, such as /dev/sdb or \\\\.\\PhysicalDrive1")
      ->required();
  AddJson(command, json.get());
  command->callback([=] { *chosen = [=] { return RunIdentify(*device, *json); }; });
}

struct Command {
  const char* name;
  const char* description;
  void (*add)(CLI::App* command, Action* chosen);
  const char* details = "";  // for the help's end: paragraphs, a line each
};

constexpr Command kCommands[] = {
    {"image", "Read the source once into the cache, creating or resuming it", AddImage,
     "What reads well is read first, and bad areas last. Ctrl-C stops cleanly, and the same "
     "command resumes."},
    {"read", "Copy a range of sectors out, through the cache", AddRead},
    {"log", "Show what happened: disk, runs, failures", AddLog},
    {"info", "Show a cache's header and counts", AddInfo},
    {"map", "Show what is present, unreadable and missing", AddMap},
    {"check", "Verify a cache's index, records and maps", AddCheck},
    {"export", "Write a raw image, with holes for what is not there", AddExport,
     "What is not in the cache reads as zeros. In a file, zeros become holes."},
    {"import", "Make a cache of a rescue that GNU ddrescue began", AddImport,
     "What the mapfile marks + becomes present, - becomes unreadable, the rest is missing."},
    {"serve", "Serve a cache, or a source through it, as NBD for other tools", AddServe,
     "Serves read-only until Ctrl-C, with nbdkit(1), and prints the lines to type to attach it; "
     "not on Windows. With a source, what clients want and the cache lacks is read from it once; "
     "without one, they get an error."},
    {"files", "List the files on a cache and how much of each is there", AddFiles,
     "A file is complete, damaged (part of it is unreadable) or incomplete (part of it is "
     "missing). Not on Windows."},
    {"report", "Write a page that tells the data's owner what was saved", AddReport},
    {"tree", "Show the partitions and volume sets of a source or a cache", AddTree},
    {"devices", "List the storage devices of this machine", AddDevices},
    {"identify", "Show what a drive says it is", AddIdentify},
};

bool IsCommand(const std::string& name) {
  return std::any_of(std::begin(kCommands), std::end(kCommands),
                     [&](const Command& command) { return command.name == name; });
}

constexpr char kStatuses[] =
    "Exit status: 0 done; 1 failed; 2 wrong usage; 3 done, but some sectors are unreadable or "
    "missing; 130 interrupted.";

// The named command alone, since describing all of them to the parser takes as long as looking at a
// disk does; all of them, for the help, when it is none of them.
void AddCommands(CLI::App* app, const std::string& named, Action* chosen) {
  const bool isOne = IsCommand(named);
  for (const Command& command : kCommands) {
    if (isOne && command.name != named) continue;
    CLI::App* const added = app->add_subcommand(command.name, command.description);
    added->group("Commands");
    if (*command.details) added->footer(fmt::format("{}\n\n{}", command.details, kStatuses));
    command.add(added, chosen);
  }
}

Action WrongUsage(const std::string& command, const std::string& fault) {
  const std::string place = command.empty() ? "" : command + " ";
  Tell(fmt::format("{}{}; see 'larkspur {}--help'", command.empty() ? "" : command + ": ", fault,
                   place));
  return [] { return kExitUsage; };
}

// "help" and "help COMMAND" are other words for --help.
void TranslateHelp(std::vector<std::string>* arguments) {
  if (arguments->empty() || arguments->front() != "help") return;
  arguments->erase(arguments->begin());
  arguments->resize(std::min<size_t>(arguments->size(), 1));
  arguments->push_back("--help");
}

// The parser would take whatever follows a bare --pass-through for its value, the source as well.
void CompletePassThrough(std::vector<std::string>* arguments) {
  for (auto at = arguments->begin(); at != arguments->end() && *at != "--"; ++at) {
    if (*at != "--pass-through") continue;
    const auto next = at + 1;
    const bool hasValue =
        next != arguments->end() &&
        std::any_of(std::begin(kPassThroughChoices), std::end(kPassThroughChoices),
                    [&](const auto& choice) { return *next == choice.first; });
    *at += "=" + (hasValue ? *next : std::string("auto"));
    if (hasValue) arguments->erase(next);
  }
}

}  // namespace

Action ParseCommandLine(std::vector<std::string> arguments) {
  TranslateHelp(&arguments);
  CompletePassThrough(&arguments);
  if (arguments.empty()) return WrongUsage({}, "no command was given");
  const std::string named = arguments.front();
  if (!named.starts_with("-") && !IsCommand(named)) {
    return WrongUsage({}, "there is no command \"" + Printable(named) + "\"");
  }
  const std::string command = IsCommand(named) ? named : "";
  for (const std::string& argument : arguments) {
    if (!argument.starts_with("--") || !argument.ends_with("=")) continue;
    return WrongUsage(command, Printable(argument.substr(0, argument.size() - 1)) +
                                   " needs a value after the '='");
  }
  CLI::App app{
      "Larkspur reads a failing disk once: each sector with its neighbours and, only\n"
      "where that fails, once more alone."};
  UseHelpFormat(&app);
  app.name("larkspur");
  app.set_version_flag("--version", "larkspur " LARKSPUR_VERSION, "Print the version");
  app.set_help_flag("-h,--help", "Print this help");
  app.require_subcommand(1);
  app.footer(kStatuses);
  Action chosen;
  AddCommands(&app, named, &chosen);
  try {
    std::reverse(arguments.begin(), arguments.end());  // as the parser takes them
    app.parse(arguments);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {
      std::ostringstream text;
      app.exit(error, text);
      Print(text.str());
      return [] { return kExitDone; };
    }
    return WrongUsage(command, ParserWords(app, error));
  }
  return chosen;
}

}  // namespace larkspur::cli
