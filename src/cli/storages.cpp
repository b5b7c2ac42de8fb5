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
namespace {

std::string SourceWords(const SourceFault& fault, const StorageOptions& options) {
  const std::string& name = options.source;
  switch (fault.kind) {
    case SourceFaultKind::kCannotOpen:
      return CannotOpenWords(name, fault.systemError);
    case SourceFaultKind::kEmpty:
      if (platform::KindOfPath(WideFromUtf8(name).c_str()) == platform::PathKind::kOther) {
        return name + ": this is neither a disk nor a regular file";
      }
      return name + ": the source is empty or has no medium: it has no whole sector of 512 bytes";
    case SourceFaultKind::kTooLarge:
      return fmt::format("{}: the source has {} sectors; a cache holds fewer than {}", name,
                         fault.sectors, kMaxSparseSectors);
    case SourceFaultKind::kMapfile:
      return MapfileWords(options.testMode, fault.mapfile);
  }
  return {};
}

}  // namespace

Result<Source, ExitStatus> OpenSourceOrTell(const StorageOptions& options) {
  // Looked at before the first run only: no later one asks a source for what it was asked before.
  const bool isFirst =
      platform::KindOfPath(WideFromUtf8(options.cache).c_str()) != platform::PathKind::kFile;
  const auto cache = isFirst ? OpenIfCache(WideFromUtf8(options.source)) : std::nullopt;
  if (cache && *cache) {
    return Failed(Fail(options.source +
                       ": this is a cache, not a disk or an image of one; name what it was made "
                       "from, or 'larkspur export' it first"));
  }
  auto source =
      OpenSource(WideFromUtf8(options.source), {.testMapfile = WideFromUtf8(options.testMode),
                                                .passThrough = options.passThrough,
                                                .timeoutSeconds = options.timeoutSeconds});
  if (!source) return Failed(Fail(SourceWords(source.error(), options)));
  if (source->trailingBytes > 0) {
    Tell(fmt::format("{}: the last {} bytes are not a whole sector and are left out",
                     options.source, source->trailingBytes));
  }
  return std::move(*source);
}

std::string CannotOpenWords(const std::string& name, unsigned systemError) {
  const char* words = "this cannot be opened for reading";
  if (platform::IsNotPermitted(systemError)) {
    words = "you have no permission to read it; devices need root or administrator rights";
  } else if (platform::IsInUse(systemError)) {
    words = "another program is using it and does not let others read it";
  } else if (platform::IsDeviceGone(systemError)) {
    words = "the device is not there, or has no medium";
  }
  return Failure(name, words, systemError);
}

std::string CannotWalkWords(const std::string& name) {
  if (!platform::HasHelpers()) return name + ": this build of larkspur cannot read file systems";
  return Failure(name, "the process that reads file systems cannot be started",
                 platform::LastFailure());
}

std::string MapfileWords(const std::string& name, const MapfileFault& fault) {
  if (fault.systemError != 0) return Failure(name, "the mapfile cannot be read", fault.systemError);
  if (fault.detail.empty()) {
    return fmt::format("{}: this is not a mapfile: it is larger than {}", name,
                       SizeText(kMaxMapfileBytes));
  }
  if (fault.line == 0) return name + ": this is not a mapfile: " + fault.detail;
  return fmt::format("{}: line {}: {}", name, fault.line, fault.detail);
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
      return words("this is the source, the cache or a mapfile of this very command");
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
  if (!cache) return Failed(Fail(CacheWords(path, cache.error())));
  return std::move(*cache);
}

std::string CacheWords(const std::string& name, const CacheFault& fault, u64 sourceSectors) {
  switch (fault.kind) {
    case CacheFaultKind::kAbsent:
      return name + ": there is no such cache";
    case CacheFaultKind::kCannotOpen:
      return Failure(name, "the cache cannot be opened", fault.systemError);
    case CacheFaultKind::kDeadLink:
      return name + ": this is a link to a file that is not there; choose another name";
    case CacheFaultKind::kFolder:
      return name + ": this is a folder; name a file in it, such as disk.kvrsp";
    case CacheFaultKind::kSameAsSource:
      return name + ": source and cache are the same file; the cache must be another one";
    case CacheFaultKind::kOnSourceDisk:
      return name +
             ": this is on the disk that is being rescued, and writing there destroys what can "
             "still be saved; put the cache on another disk";
    case CacheFaultKind::kForeign:
      return name + ": this file is not a cache and is left as it is; choose another name";
    case CacheFaultKind::kDamagedHeader:
      return name + ": this is not a cache, or its header is damaged; 'larkspur check' says more";
    case CacheFaultKind::kIncomplete:
      return name +
             ": the cache ends too early; 'larkspur check --repair' repairs what can be repaired";
    case CacheFaultKind::kSharedRecord:
      return name +
             ": the cache's index gives two blocks the same record, so one of them reads as the "
             "other; 'larkspur check' names them. Start a new cache";
    case CacheFaultKind::kUnreadable:
      return Failure(
          name,
          "part of the cache's index cannot be read; copy the file to a healthy disk, and "
          "work on the copy",
          fault.systemError);
    case CacheFaultKind::kOtherHeader:
      return name +
             ": the cache's header does not match its index or its log, so part of the disk may "
             "be left out or out of place; restore the file from a copy";
    case CacheFaultKind::kNotFlushed:
      return name +
             ": the last run did not end properly, and some of the zeros may stand for what never "
             "reached the disk; resume with 'larkspur image', which reads those sectors again";
    case CacheFaultKind::kLogUnreadable:
      return Failure(name + ".log",
                     "the log cannot be read, so it is not known what was tried, nor whether all "
                     "of the cache reached the disk; make it readable, or remove it if it is lost",
                     fault.systemError);
    case CacheFaultKind::kOtherSize:
      return fmt::format(
          "{}: the cache was made from a source of {} sectors, but this one has {}; is it another "
          "disk?",
          name, fault.cacheSectors, sourceSectors);
    case CacheFaultKind::kLockedElsewhere:
      return name +
             ": another run or an open storage is using this cache; wait for it to end, or close "
             "it";
    case CacheFaultKind::kCannotCreate:
      return Failure(name, "the cache cannot be created", fault.systemError);
  }
  return {};
}

ExitStatus TellDamage(const std::string& name, const Cache& cache, u64 unknown, ExitStatus status) {
  if (cache.damage) return Fail(CacheWords(name, *cache.damage));
  if (unknown == 0) return status;
  return Fail(fmt::format(
      "{}: part of the cache cannot be read or makes no sense, so nothing is known of {} sectors; "
      "copy the file to a healthy disk, and work on the copy, of which 'larkspur check' says more",
      name, unknown));
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
