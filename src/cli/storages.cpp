// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "cli/storages.h"

#include "base/path_text.h"
#include "base/size_text.h"
#include "cli/output.h"
#include "platform/device.h"
#include "platform/helper_process.h"
#include "platform/system_error.h"

namespace larkspur::cli {
Result<Source, ExitStatus> OpenSourceOrTell(const StorageOptions& options) {
  const std::u16string path = WideFromUtf8(options.source);
  // A source is asked by the engine alone, so only what may be a cache is looked at, and that once.
  const bool isFirst =
      platform::KindOfPath(WideFromUtf8(options.cache).c_str()) != platform::PathKind::kFile;
  const auto cache = isFirst && MayBeCache(path) ? OpenIfCache(path) : std::nullopt;
  if (cache && *cache) {
    return Failed(Fail(options.source +
                       ": this is a cache, not a disk or an image of one; name what it was made "
                       "from, or 'larkspur export' it first"));
  }
  auto source = OpenSource(path, {.testMapfile = WideFromUtf8(options.testMode),
                                  .passThrough = options.passThrough,
                                  .timeoutSeconds = options.timeoutSeconds});
  if (!source) {
    const bool isMapfile = source.error().kind == SourceFaultKind::kMapfile;
    return Failed(Fail(
        Failure(isMapfile ? options.testMode : options.source, SourceWords(path, source.error()))));
  }
  if (source->trailingBytes > 0) {
    Tell(fmt::format("{}: the last {} bytes are not a whole sector and are left out",
                     options.source, source->trailingBytes));
  }
  return std::move(*source);
}

std::string CannotWalkWords(const std::string& name) {
  if (!platform::HasHelpers()) return name + ": this build of larkspur cannot read file systems";
  return Failure(name, "the process that reads file systems cannot be started",
                 platform::LastFailure());
}

std::string LogWords(const std::string& cache, LogFault fault) {
  const auto words = [&cache](const char* what) {
    return fmt::format(
        "{0}.log: the log of {0} goes to a file of this name, but {1}; it is left as it is. Choose "
        "another name for the cache",
        cache, what);
  };
  switch (fault) {
    case LogFault::kUsed:
      return words("this is the source, the cache or a mapfile of this command");
    case LogFault::kForeign:
      return words("this one holds something else");
    case LogFault::kFolder:
      return words("this is a folder");
    case LogFault::kNoFile:
      return words("this is a device or a pipe");
    case LogFault::kDeadLink:
      return words("this is a link to a file that is not there");
  }
  return {};
}

std::string OutputWords(const std::string& name, const OutputFault& fault) {
  switch (fault.kind) {
    case OutputFaultKind::kExists:
      return name + ": this already exists; choose another name, or replace it with --force";
    case OutputFaultKind::kInput:
      return name +
             ": this would overwrite what the command itself uses: the source, the cache, the "
             "cache's log or a mapfile; choose another name";
    case OutputFaultKind::kInUse:
      return name + ": another run is using this file; choose another name";
    case OutputFaultKind::kOnSourceDisk:
      return name +
             ": this is on the disk that is being rescued, and writing there destroys what can "
             "still be saved; choose another disk";
    case OutputFaultKind::kDevice:
      return name + ": this is a device or a pipe, not a file; name a file";
    case OutputFaultKind::kDeadLink:
      return name + ": this is a link to a file that is not there; choose another name";
    case OutputFaultKind::kFolder:
      return name + ": this is a folder; name a file in it";
    case OutputFaultKind::kCannotMake:
      return Failure(name, "the file cannot be created", fault.systemError);
  }
  return {};
}

Result<Cache, ExitStatus> OpenCacheToLook(const std::string& path) {
  auto cache = OpenCache(WideFromUtf8(path), CacheAccess::kLook);
  if (!cache && cache.error().kind == CacheFaultKind::kForeign) {
    return Failed(Fail(path + ": this is not a cache"));
  }
  if (!cache) return Failed(Fail(CacheFailure(path, cache.error())));
  return std::move(*cache);
}

std::string Failure(const std::string& name, const FaultWords& words) {
  return Failure(name, words.text, words.systemError);
}

std::string CacheFailure(const std::string& name, const CacheFault& fault, u64 sourceSectors) {
  const bool isLog = fault.kind == CacheFaultKind::kLogUnreadable;
  return Failure(isLog ? name + ".log" : name, CacheWords(fault, sourceSectors));
}

ExitStatus TellDamage(const std::string& name, const Cache& cache, u64 unknown, ExitStatus status) {
  if (cache.damage) return Fail(CacheFailure(name, *cache.damage));
  if (unknown == 0) return status;
  return Fail(fmt::format(
      "{}: part of the cache cannot be read or makes no sense, so nothing is known of {}; "
      "copy the file to a healthy disk, and work on the copy; 'larkspur check' says more about it",
      name, CountText(unknown, "sector")));
}

std::vector<std::u16string> FilesOf(const std::string& cache,
                                    std::initializer_list<std::string> others) {
  std::vector<std::u16string> files = FilesOfCache(WideFromUtf8(cache));
  for (const std::string& other : others) files.push_back(WideFromUtf8(other));
  return files;
}

ExitStatus JudgeOutputOrTell(const std::string& path, bool force,
                             const std::vector<std::u16string>& inputs) {
  const auto fault = FaultOfOutput(WideFromUtf8(path), force, inputs);
  return fault ? Fail(OutputWords(path, *fault)) : kExitDone;
}

ExitStatus WriteFileOrTell(const std::string& path, bool force,
                           const std::vector<std::u16string>& inputs,
                           const std::function<std::string()>& make) {
  if (path == "-") {
    const std::string bytes = make();
    PrintBytes(bytes.data(), bytes.size());
    return kExitDone;
  }
  auto file = OpenOutputFile(WideFromUtf8(path), force, inputs);
  if (!file) return Fail(OutputWords(path, file.error()));
  if (WriteOutput(file->File(), make())) return kExitDone;
  file->Discard();
  return Fail(Failure(path, "the file could not be written", platform::LastFailure()));
}

}  // namespace larkspur::cli
