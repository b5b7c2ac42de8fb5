// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <cctype>
#include <cstdio>
#include <cstring>
#include <span>

#include "base/path_text.h"
#include "cli/commands.h"
#include "cli/output.h"
#include "cli/storages.h"
#include "platform/file.h"
#include "platform/server_program.h"
#include "platform/system_error.h"
#include "platform/terminal.h"

namespace larkspur::cli {
namespace {

constexpr const char* kPluginFile = "nbdkit-larkspur-plugin.so";
constexpr size_t kMaxSocketPath = 107;  // bytes, on Linux
constexpr double kTickSeconds = 0.5;

// The plugin beside this program, as it is built, or where nbdkit looks for plugins.
Result<std::string, ExitStatus> FindPlugin(const std::string& nbdkit) {
  const auto isFile = [](const std::string& path) {
    return platform::KindOfPath(WideFromUtf8(path).c_str()) == platform::PathKind::kFile;
  };
  std::string plugin = platform::ProgramFolder() + "/" + kPluginFile;
  if (isFile(plugin)) return plugin;
  const std::string config = platform::OutputOf({nbdkit, "--dump-config"}).value_or("");
  constexpr std::string_view kKey = "\nplugindir=";
  const size_t key = config.find(kKey);
  const size_t start = key == std::string::npos ? config.size() : key + kKey.size();
  plugin = config.substr(start, config.find('\n', start) - start) + "/" + kPluginFile;
  if (isFile(plugin)) return plugin;
  return Failed(Fail(std::string(kPluginFile) +
                     ": nbdkit's plugin for larkspur is neither beside this program nor installed; "
                     "install the package nbdkit-plugin-larkspur"));
}

// Makes sure that the path to listen at is free; a socket that a killed server left is removed.
ExitStatus ClearSocketPath(const std::string& path) {
  if (path.size() > kMaxSocketPath) {
    return Fail(fmt::format("{}: a socket's path has at most {} bytes", path, kMaxSocketPath));
  }
  const std::u16string file = WideFromUtf8(path);
  if (platform::KindOfPath(file.c_str()) == platform::PathKind::kAbsent) {
    const std::string folder = path.substr(0, path.rfind('/') + 1);  // the path is a full one
    if (platform::KindOfPath(WideFromUtf8(folder).c_str()) == platform::PathKind::kFolder) {
      if (platform::MayListenAt(path)) return kExitDone;
      return Fail(Failure(path, "no socket can be made there", platform::LastFailure()));
    }
    return Fail(path + ": there is no such folder; make it first, or name another");
  }
  if (!platform::IsAbandonedSocket(path)) {
    return Fail(path + ": this exists already; choose another path");
  }
  if (platform::RemoveFile(file.c_str())) return kExitDone;
  return Fail(Failure(path, "this socket of a server that was killed cannot be removed",
                      platform::LastFailure()));
}

ExitStatus WrongUsage(const std::string& fault) {
  Tell("serve: " + fault + "; see 'larkspur serve --help'");
  return kExitUsage;
}

// Whether the place to listen at is free, with plain words when it is not.
ExitStatus CheckPlace(const ServeOptions& options) {
  if (!options.port && options.socket.empty()) {
    return WrongUsage("it needs --socket PATH or --port N");
  }
  if (!options.port) return ClearSocketPath(options.socket);
  const std::string place = fmt::format("{}:{}", options.address, *options.port);
  switch (platform::AskPort(options.address, *options.port)) {
    case platform::PortOutcome::kFree:
      return kExitDone;
    case platform::PortOutcome::kTaken:
      return Fail(place + ": something listens there already; choose another port");
    case platform::PortOutcome::kNotAnAddress:
      return Fail(options.address + ": this is not an IP address");
    case platform::PortOutcome::kNoSuchAddress:
      return Fail(place + ": this machine has no such address");
    case platform::PortOutcome::kNotPermitted:
      return Fail(place + ": you may not listen there; ports below 1024 need the rights of root");
  }
  return kExitFailed;
}

std::string Quoted(const std::string& word) {
  constexpr std::string_view kPlain =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/._-+=:@%,";
  if (!word.empty() && word.find_first_not_of(kPlain) == std::string::npos) return word;
  std::string quoted = "'";
  for (const char letter : word)
    quoted += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
  return quoted + "'";
}

std::string Uri(const ServeOptions& options) {
  if (options.port) {
    const bool isSix = options.address.find(':') != std::string::npos;
    const std::string host = isSix ? "[" + options.address + "]" : options.address;
    return fmt::format("nbd://{}:{}", host, *options.port);
  }
  std::string path;
  for (const char byte : options.socket) {
    const bool plain = std::isalnum(static_cast<u8>(byte)) || std::strchr("/._-", byte);
    path += plain ? std::string(1, byte) : fmt::format("%{:02X}", static_cast<u8>(byte));
  }
  return "nbd+unix:///?socket=" + path;
}

// What to type to use it.
std::string AttachLines(const ServeOptions& options) {
  const std::string uri = Quoted(Uri(options));
  const std::string client =
      options.port ? fmt::format("{} {} /dev/nbd0", Quoted(options.address), *options.port)
                   : fmt::format("-unix {} /dev/nbd0", Quoted(options.socket));
  return fmt::format(
      "Attach it with one of these:\n"
      "  as a file, without root:  mkdir disk && nbdfuse disk {0} &   (then use disk/nbd)\n"
      "  as a device, as root:     modprobe nbd && nbd-client -readonly {1}\n"
      "                            or qemu-nbd --read-only --connect=/dev/nbd0 {0}\n"
      "  its files, without root:  guestfish --ro --format=raw -a {0} -i\n"
      "  what is there:            nbdinfo {0}\n"
      "End it with Ctrl-C.\n",
      uri, client);
}

template <typename Value>
const char* WordOf(Value value, std::span<const Choice<Value>> choices) {
  for (const auto& [word, meaning] : choices) {
    if (meaning == value) return word;
  }
  return "";
}

// What the plugin is told.
std::vector<std::string> Parameters(const ServeOptions& options) {
  std::vector<std::string> words = {
      "cache=" + options.cache,
      std::string("unreadable=") + WordOf<bool>(options.zerosForUnreadable, kUnreadableChoices)};
  if (!options.partition.empty()) words.push_back("partition=" + options.partition);
  if (options.source.empty()) return words;
  words.insert(
      words.end(),
      {"source=" + options.source,
       fmt::format("pass-through={}",
                   WordOf<PassThrough>(options.passThrough, kPassThroughChoices)),
       fmt::format("timeout={}", options.timeoutSeconds),
       fmt::format("other-source={}", options.otherSource), fmt::format("fill={}", options.fill)});
  if (!options.testMode.empty()) words.push_back("test-mode=" + options.testMode);
  return words;
}

std::vector<std::string> Command(const ServeOptions& options, const std::string& nbdkit,
                                 const std::string& plugin) {
  // One thread a connection: with more, nbdkit up to 1.32 ends for everyone when a client vanishes
  // while several of its requests are under way.
  std::vector<std::string> command = {nbdkit, "--foreground",      "--readonly", "--threads",
                                      "1",    "--exit-with-parent"};
  if (options.port) {
    const std::string port = std::to_string(*options.port);
    command.insert(command.end(), {"--ipaddr", options.address, "--port", port});
  } else {
    command.insert(command.end(), {"--unix", options.socket});
  }
  command.push_back(plugin);
  const std::vector<std::string> parameters = Parameters(options);
  command.insert(command.end(), parameters.begin(), parameters.end());
  return command;
}

// Until it ends or is to end. What went wrong was said where it did.
ExitStatus Serve(const ServeOptions& options, const std::vector<std::string>& command) {
  using State = platform::ServerProgram::State;
  const std::atomic<bool>& stop = platform::InterruptFlag();
  auto server = platform::ServerProgram::Start(command, "ready=", "until=");
  if (!server) return Fail(Failure(command[0], "it cannot be started", platform::LastFailure()));
  State state = State::kStarting;
  while (state == State::kStarting && !stop) state = server->WaitFor(State::kServing, kTickSeconds);
  const bool served = state == State::kServing || state == State::kFinished;
  if (served && !stop) {
    Print(AttachLines(options));
    std::fflush(stdout);
  }
  while (state != State::kEnded && !stop) state = server->WaitFor(State::kEnded, kTickSeconds);
  server.reset();
  // It was not there before, and nbdkit leaves it.
  if (!options.socket.empty()) platform::RemoveFile(WideFromUtf8(options.socket).c_str());
  if (stop) return kExitInterrupted;
  return served ? Fail(options.cache + ": nbdkit has ended; what was read is in the cache")
                : kExitFailed;
}

}  // namespace

ExitStatus RunServe(ServeOptions options) {
  if (!platform::HasServers()) return Fail("serve is not in this build: nbdkit runs on Linux");
  if (options.source.empty() && (options.fill || !options.testMode.empty())) {
    return WrongUsage("--fill and --test-mode need a source beside the cache");
  }
  // The lines to type are good in any folder.
  if (!options.socket.empty()) {
    options.socket = Utf8FromWide(platform::FullPath(WideFromUtf8(options.socket).c_str()));
  }
  if (const ExitStatus status = CheckPlace(options); status != kExitDone) return status;
  const auto nbdkit = platform::FindProgram("nbdkit");
  if (!nbdkit) return Fail("nbdkit: this program is not installed; install the package nbdkit");
  const auto plugin = FindPlugin(*nbdkit);
  return plugin ? Serve(options, Command(options, *nbdkit, *plugin)) : plugin.error();
}

}  // namespace larkspur::cli
