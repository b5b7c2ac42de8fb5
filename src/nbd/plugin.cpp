// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// The plugin for nbdkit: serves a cache, or a source through its cache, read-only. docs/serve.md
// has its parameters.

#define NBDKIT_API_VERSION 2
#define THREAD_MODEL NBDKIT_THREAD_MODEL_PARALLEL

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <nbdkit-plugin.h>
#include <poll.h>
#include <unistd.h>

#include "nbd/served_storage.h"

namespace larkspur {
namespace {

// Sectors that are fetched at once.
constexpr u32 kFetchSectors = 2048;

ServedOptions g_options;
std::string g_readyFile;
ServedStorage g_served;
std::string g_untilFile;
std::thread g_watch;
std::atomic<bool> g_isUnloading{false};

// Each of these takes a parameter's value; false when it makes no sense.
bool TakeText(const char* value, std::string* text) {
  *text = value;
  return !text->empty();
}

bool TakePath(const char* value, std::string* path) {
  // nbdkit leaves its folder when it becomes a server.
  char* absolute = nbdkit_absolute_path(value);
  if (!absolute) return false;
  *path = absolute;
  std::free(absolute);
  return true;
}

bool TakeFlag(const char* value, bool* flag) {
  const int answer = nbdkit_parse_bool(value);
  *flag = answer > 0;
  return answer >= 0;
}

template <typename Value>
bool TakeOneOf(const std::string& value, std::span<const cli::Choice<Value>> choices,
               Value* chosen) {
  for (const auto& [word, meaning] : choices) {
    if (value != word) continue;
    *chosen = meaning;
    return true;
  }
  return false;
}

struct Parameter {
  const char* key;
  bool (*take)(const char* value);
};

constexpr Parameter kParameters[] = {
    {"cache", [](const char* value) { return TakePath(value, &g_options.cache); }},
    {"source", [](const char* value) { return TakePath(value, &g_options.source); }},
    {"test-mode", [](const char* value) { return TakePath(value, &g_options.testMode); }},
    {"partition", [](const char* value) { return TakeText(value, &g_options.partition); }},
    {"fill", [](const char* value) { return TakeFlag(value, &g_options.fill); }},
    {"other-source", [](const char* value) { return TakeFlag(value, &g_options.otherSource); }},
    {"unreadable",
     [](const char* value) {
       return TakeOneOf<bool>(value, cli::kUnreadableChoices, &g_options.zerosForUnreadable);
     }},
    {"pass-through",
     [](const char* value) {
       return TakeOneOf<PassThrough>(value, cli::kPassThroughChoices, &g_options.passThrough);
     }},
    {"ready", [](const char* value) { return TakePath(value, &g_readyFile); }},
    {"until", [](const char* value) { return TakePath(value, &g_untilFile); }},
    {"timeout",
     [](const char* value) {
       return nbdkit_parse_unsigned("timeout", value, &g_options.timeoutSeconds) == 0 &&
              g_options.timeoutSeconds > 0 && g_options.timeoutSeconds <= 3600;
     }},
};

int Configure(const char* key, const char* value) {
  for (const Parameter& parameter : kParameters) {
    if (std::strcmp(parameter.key, key) != 0) continue;
    if (parameter.take(value)) return 0;
    nbdkit_error("%s=%s makes no sense", key, value);
    return -1;
  }
  nbdkit_error("%s is not a parameter of this plugin", key);
  return -1;
}

int CheckOptions() {
  if (g_options.cache.empty()) {
    nbdkit_error("cache=FILE is missing");
    return -1;
  }
  if (g_options.source.empty() && (g_options.fill || !g_options.testMode.empty())) {
    nbdkit_error("fill and test-mode need source=FILE");
    return -1;
  }
  return 0;
}

// nbdkit ends a wait when it shuts down and when the client of this thread has gone.
bool IsClientGone() {
  return nbdkit_nanosleep(0, 1) != 0;
}

int Open() {
  g_options.isClientGone = IsClientGone;
  g_served = OpenServedStorage(g_options);
  return g_served.blocks ? 0 : -1;
}

// Tells those who started the server.
bool Say(const char* line) {
  if (g_readyFile.empty()) return true;
  std::FILE* const file = std::fopen(g_readyFile.c_str(), "a");
  const bool written = file && std::fputs(line, file) >= 0;
  if (file && std::fclose(file) == 0 && written) return true;
  nbdkit_error("%s: cannot be written", g_readyFile.c_str());
  return false;
}

// nbdkit waits for its clients before it unloads a plugin, idle ones too, and those who started it
// do not wait as long: so what was read is flushed to disk as soon as they close their end.
void WatchForEnd(int until) {
  constexpr int kLookMilliseconds = 200;
  pollfd end{until, POLLIN, 0};
  while (!g_isUnloading && poll(&end, 1, kLookMilliseconds) <= 0) continue;
  close(until);
  g_served.blocks->End();
  Say("ended\n");
}

int Watch() {
  if (g_untilFile.empty()) return 0;
  const int until = open(g_untilFile.c_str(), O_RDONLY | O_CLOEXEC);
  if (until >= 0) {
    g_watch = std::thread(WatchForEnd, until);
    return 0;
  }
  nbdkit_error("%s: cannot be read", g_untilFile.c_str());
  return -1;
}

void Unload() {
  g_isUnloading = true;
  if (g_watch.joinable()) g_watch.join();
  g_served = {};
}

// Threads do not survive nbdkit's way into the background, so with a source it is opened there.
int OpenInForeground() {
  return g_options.source.empty() ? Open() : 0;
}
int OpenInBackground() {
  if (!g_options.source.empty() && Open() != 0) return -1;
  return Watch() == 0 && Say("ready\n") ? 0 : -1;
}

bool IsServed(SectorStatus status) {
  return status == kPresent || (status == kUnreadable && g_options.zerosForUnreadable);
}

// Reads sectors of what is served; the answer as errno has it.
int ReadSectors(u64 first, u32 count, u8* out) {
  std::vector<SectorStatus> statuses(count);
  if (!g_served.blocks->Fetch(g_served.range.first + first, count, out, statuses.data())) {
    return EIO;
  }
  if (!std::all_of(statuses.begin(), statuses.end(), IsServed)) return EIO;
  for (u32 i = 0; i < count; ++i) {
    if (statuses[i] != kPresent) std::memset(out + u64{i} * kSectorBytes, 0, kSectorBytes);
  }
  return 0;
}

// Reads bytes that begin or end within a sector.
int ReadUnaligned(u8* out, u32 count, u64 offset) {
  const u64 first = offset >> kSectorShift;
  const u64 end = (offset + count + kSectorBytes - 1) >> kSectorShift;
  std::vector<u8> sectors((end - first) << kSectorShift);
  const int error = ReadSectors(first, static_cast<u32>(end - first), sectors.data());
  std::memcpy(out, sectors.data() + offset % kSectorBytes, count);
  return error;
}

int ReadBytes(void*, void* buffer, uint32_t count, uint64_t offset, uint32_t) {
  auto* out = static_cast<u8*>(buffer);
  for (u32 done = 0; done < count;) {
    const u64 at = offset + done;
    const u32 left = count - done;
    const u32 within = static_cast<u32>(at % kSectorBytes);
    const bool isAligned = within == 0 && left >= kSectorBytes;
    const u32 here = isAligned ? std::min(left / kSectorBytes, kFetchSectors) * kSectorBytes
                               : std::min(left, kSectorBytes - within);
    const int error = isAligned ? ReadSectors(at >> kSectorShift, here >> kSectorShift, out + done)
                                : ReadUnaligned(out + done, here, at);
    if (error) {
      nbdkit_set_error(error);
      return -1;
    }
    done += here;
  }
  return 0;
}

void* OpenConnection(int) {
  g_served.blocks->ClientCame();
  return NBDKIT_HANDLE_NOT_NEEDED;
}

int64_t SizeInBytes(void*) {
  return static_cast<int64_t>(g_served.range.count << kSectorShift);
}

nbdkit_plugin MakePlugin() {
  nbdkit_plugin plugin{};
  plugin.name = "larkspur";
  plugin.longname = "Larkspur caches";
  plugin.version = LARKSPUR_VERSION;
  plugin.description = "Serves a failing disk through its cache, or the cache alone, read-only.";
  plugin.config_help =
      "cache=FILE (required), source=FILE, partition=PLACE, unreadable=error|zeros, fill=BOOL, "
      "other-source=BOOL, pass-through=auto|on|off, timeout=SECONDS, test-mode=MAPFILE, "
      "ready=FILE, until=FILE";
  plugin.magic_config_key = "cache";
  plugin.config = Configure;
  plugin.config_complete = CheckOptions;
  plugin.get_ready = OpenInForeground;
  plugin.after_fork = OpenInBackground;
  plugin.unload = Unload;
  plugin.open = OpenConnection;
  plugin.get_size = SizeInBytes;
  plugin.can_write = [](void*) { return 0; };
  plugin.can_multi_conn = [](void*) { return 1; };
  plugin.pread = ReadBytes;
  // No extents: the cache does not know which sectors are zeros, and what is missing is no hole.
  return plugin;
}

nbdkit_plugin g_plugin = MakePlugin();

}  // namespace
}  // namespace larkspur

NBDKIT_REGISTER_PLUGIN(larkspur::g_plugin)
