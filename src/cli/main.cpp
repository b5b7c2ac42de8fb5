// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <algorithm>
#include <charconv>
#include <functional>
#include <map>

#include <CLI/CLI.hpp>

#include "base/printable.h"
#include "cli/commands.h"
#include "cli/output.h"
#include "platform/terminal.h"

namespace larkspur::cli {
namespace {

using Action = std::function<ExitStatus()>;

void AddTestMode(CLI::App* command, StorageOptions* options) {
  command
      ->add_option("--test-mode", options->testMode,
                   "Make every sector fail that this GNU ddrescue mapfile does not mark +")
      ->type_name("MAPFILE");
}

void AddSourceAndCache(CLI::App* command, StorageOptions* options) {
  command->add_option("SOURCE", options->source, "What is read: a file or a device")->required();
  command->add_option("CACHE", options->cache, "The cache file, such as disk.kvrsp")->required();
  AddTestMode(command, options);
}

// How a source is read once.
void AddReading(CLI::App* command, StorageOptions* options) {
  static const std::map<std::string, PassThrough> kPassThrough = {
      {"auto", PassThrough::kAuto}, {"on", PassThrough::kOn}, {"off", PassThrough::kOff}};
  command->add_flag("--other-source", options->otherSource,
                    "Read into a cache that was made of another disk");
  command
      ->add_option("--pass-through", options->passThrough,
                   "Read by SCSI commands instead of through the kernel: auto (from the first "
                   "failure on), on or off")
      ->transform(CLI::Transformer(kPassThrough))
      ->default_str("auto")
      ->expected(0, 1)
      ->type_name("WHEN");
  command
      ->add_option("--timeout", options->timeoutSeconds,
                   "How long such a command may take, in seconds")
      ->check(CLI::Range(1, 3600))
      ->type_name("SECONDS");
}

void AddCache(CLI::App* command, std::string* cache) {
  command->add_option("CACHE", *cache, "The cache file, such as disk.kvrsp")->required();
}

void AddJson(CLI::App* command, bool* json) {
  command->add_flag("--json", *json, "Print one JSON document instead of text");
}

// An option that takes a whole number, `least` or more, in decimal digits and nothing else: "010"
// may have been meant as octal.
template <typename Value>
CLI::Option* AddNumber(CLI::App* command, const std::string& name, Value* value, u64 least,
                       const char* description) {
  const auto take = [=](const std::string& text) {
    u64 number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    const bool isPlain = error == std::errc() && stop == end && (text[0] != '0' || text == "0");
    if (!isPlain || number < least) {
      throw CLI::ValidationError(
          fmt::format("{} takes a whole number from {} on, such as 2048, not \"{}\"", name, least,
                      Printable(text)),
          CLI::ExitCodes::ValidationError);
    }
    *value = number;
  };
  return command->add_option_function<std::string>(name, take, description);
}

template <typename Options>
void AddRange(CLI::App* command, Options* options, bool required) {
  AddNumber(command, "--start", &options->start, 0, "First sector, from 0")
      ->type_name("S")
      ->required(required);
  AddNumber(command, "--sectors", &options->sectors, 1, "Number of sectors")
      ->type_name("N")
      ->required(required);
}

// Each of these gives a command its options; `chosen` becomes what to run when it is the one.
void AddImage(CLI::App* command, Action* chosen) {
  auto options = std::make_shared<ImageOptions>();
  AddSourceAndCache(command, options.get());
  AddRange(command, options.get(), false);
  command
      ->add_option("--partition", options->partition,
                   "Read only this partition, by its place as 'larkspur tree' prints it")
      ->type_name("P");
  command
      ->add_option("--domain", options->domain, "Read only what this GNU ddrescue mapfile marks +")
      ->type_name("MAPFILE");
  command->add_flag("!--no-scrape", options->scrape,
                    "Stop before sectors that failed together are read one by one");
  command->add_flag("--retry", options->retry, "Read the unreadable sectors once more, one by one");
  command->add_flag("--reverse", options->reverse, "Read from the end to the start");
  command
      ->add_option("--max-failures", options->maxFailures,
                   "Failures in a row after which the disk must prove that it still answers")
      ->check(CLI::PositiveNumber)
      ->capture_default_str()
      ->type_name("N");
  command->add_option("--max-rate", options->maxRate, "Read at most this much in a second")
      ->transform(CLI::AsSizeValue(true))
      ->type_name("SIZE");
  command
      ->add_option("--when-silent", options->whenSilent,
                   "Run this command when the disk stops answering, wait for it, and resume")
      ->type_name("COMMAND");
  AddReading(command, options.get());
  command->add_flag("--json-progress", options->jsonProgress,
                    "Write progress as JSON Lines to standard error");
  AddJson(command, &options->json);
  command->callback([=] { *chosen = [options] { return RunImage(*options); }; });
}

void AddRead(CLI::App* command, Action* chosen) {
  auto options = std::make_shared<ReadOptions>();
  AddSourceAndCache(command, options.get());
  AddRange(command, options.get(), true);
  AddReading(command, options.get());
  command->add_option("-o,--output", options->output, "The file to write; else standard output")
      ->type_name("FILE");
  command->add_flag("--force", options->force, "Replace an existing file");
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
  command->add_option("--png", options->png, "Draw the map as a PNG picture")->type_name("FILE");
  command->add_option("--svg", options->svg, "Draw the map as an SVG picture")->type_name("FILE");
  command->add_option("--mapfile", options->mapfile, "Write a GNU ddrescue mapfile")
      ->type_name("FILE");
  command->add_flag("--force", options->force, "Replace existing files");
  AddJson(command, &options->json);
  command->callback([=] { *chosen = [options] { return RunMap(*options); }; });
}

void AddCheck(CLI::App* command, Action* chosen) {
  auto cache = std::make_shared<std::string>();
  auto repair = std::make_shared<bool>(false);
  auto json = std::make_shared<bool>(false);
  AddCache(command, cache.get());
  command->add_flag("--repair", *repair, "Repair what can be repaired without losing a sector");
  AddJson(command, json.get());
  command->callback([=] { *chosen = [=] { return RunCheck(*cache, *repair, *json); }; });
}

void AddExport(CLI::App* command, Action* chosen) {
  auto options = std::make_shared<ExportOptions>();
  AddCache(command, &options->cache);
  command->add_option("OUT", options->output, "The raw image to make; - is standard output")
      ->required();
  AddRange(command, options.get(), false);
  command->add_flag("--force", options->force, "Replace an existing file, or write to a device");
  command->add_flag("--hash", options->hash, "Print the SHA-256 of what was written");
  command->callback([=] { *chosen = [options] { return RunExport(*options); }; });
}

void AddImport(CLI::App* command, Action* chosen) {
  auto options = std::make_shared<ImportOptions>();
  command->add_option("IMAGE", options->image, "The image that GNU ddrescue wrote")->required();
  command->add_option("MAPFILE", options->mapfile, "Its mapfile")->required();
  command->add_option("CACHE", options->cache, "The cache file to make")->required();
  AddJson(command, &options->json);
  command->callback([=] { *chosen = [options] { return RunImport(*options); }; });
}

void AddTree(CLI::App* command, Action* chosen) {
  auto options = std::make_shared<TreeOptions>();
  command->add_option("STORAGE", options->source, "A file, a device or a cache")->required();
  auto* cache = command->add_option("--cache", options->cache,
                                    "Look at the source through this cache, so that each sector "
                                    "is read from it once");
  cache->type_name("CACHE");
  AddTestMode(command, options.get());
  command->add_flag("--trace", options->trace, "List the sectors that were read, and for what");
  command->add_flag("--no-notes", options->noNotes,
                    "Only the tree: do not look for what lies in the partitions");
  command->add_flag("--backup-gpt", options->backupGpt,
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
  command->add_option("DEVICE", *device, "The device, such as /dev/sdb or \\\\.\\PhysicalDrive1")
      ->required();
  AddJson(command, json.get());
  command->callback([=] { *chosen = [=] { return RunIdentify(*device, *json); }; });
}

struct Command {
  const char* name;
  const char* description;
  void (*add)(CLI::App* command, Action* chosen);
};

constexpr Command kCommands[] = {
    {"image", "Read the source once into the cache, creating or resuming it", AddImage},
    {"read", "Copy a range of sectors out, through the cache", AddRead},
    {"log", "Tell what happened: disk, runs, failures", AddLog},
    {"info", "Show a cache's header and counts", AddInfo},
    {"map", "Show what is present, unreadable and missing", AddMap},
    {"check", "Verify a cache's index, records and maps", AddCheck},
    {"export", "Write a raw image, with holes for what is not there", AddExport},
    {"import", "Make a cache of a rescue that GNU ddrescue began", AddImport},
    {"tree", "Show the partitions and volume sets of a source or a cache", AddTree},
    {"devices", "List the storage devices of this machine", AddDevices},
    {"identify", "Ask a drive what it is", AddIdentify},
};

bool IsCommand(const std::string& name) {
  return std::any_of(std::begin(kCommands), std::end(kCommands),
                     [&](const Command& command) { return command.name == name; });
}

// The named command alone, since describing all of them to the parser takes as long as looking at a
// disk does; all of them, for the help, when it is none of them.
void AddCommands(CLI::App* app, const std::string& named, Action* chosen) {
  const bool isOne = IsCommand(named);
  for (const Command& command : kCommands) {
    if (isOne && command.name != named) continue;
    command.add(app->add_subcommand(command.name, command.description), chosen);
  }
}

ExitStatus Run(std::vector<std::string> arguments) {
  CLI::App app{"Larkspur reads each sector of a failing disk at most once."};
  app.name("larkspur");
  app.set_version_flag("--version", "larkspur " LARKSPUR_VERSION);
  app.require_subcommand(1);
  app.footer(
      "Exit status: 0 done; 1 failed; 2 wrong usage; 3 done, but some sectors are unreadable;\n"
      "130 interrupted (the same command resumes).");
  Action chosen;
  const std::string named = arguments.empty() ? std::string() : arguments.front();
  if (!named.empty() && named[0] != '-' && !IsCommand(named)) {
    Tell(named + ": there is no such command; larkspur --help lists them");
    return kExitUsage;
  }
  for (const std::string& argument : arguments) {
    if (!argument.starts_with("--") || !argument.ends_with("=")) continue;
    Tell(Printable(argument.substr(0, argument.size() - 1)) + " needs a value after the '='");
    return kExitUsage;
  }
  AddCommands(&app, named, &chosen);
  try {
    std::reverse(arguments.begin(), arguments.end());  // as the parser takes them
    app.parse(arguments);
  } catch (const CLI::ParseError& error) {
    const bool helped = app.exit(error) == 0;
    return helped ? kExitDone : kExitUsage;
  }
  return chosen();
}

}  // namespace
}  // namespace larkspur::cli

int main(int argc, char** argv) {
  larkspur::platform::PrepareStandardStreams();
  try {
    using namespace larkspur;
    return cli::FinishOutput(cli::Run(platform::ProgramArguments(argc, argv)));
  } catch (const std::exception& error) {
    return larkspur::cli::Fail(error.what());
  }
}
