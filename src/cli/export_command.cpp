// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <cstdio>

#include "base/path_text.h"
#include "base/printable.h"
#include "base/size_text.h"
#include "cli/commands.h"
#include "cli/output.h"
#include "cli/partition.h"
#include "cli/progress.h"
#include "cli/storages.h"
#include "imaging/export.h"
#include "platform/system_error.h"
#include "platform/terminal.h"

namespace larkspur::cli {
namespace {

// For pipes: everything is written, zeros too.
class StandardOutputSink final : public ExportSink {
 public:
  bool Put(const u8* bytes, u64 count) override { return PrintBytes(bytes, count); }
  bool PutZeros(u64 count) override {
    static constexpr u8 kZeros[65536] = {};
    for (u64 done = 0; done < count;) {
      const u64 here = std::min<u64>(count - done, sizeof kZeros);
      if (!Put(kZeros, here)) return false;
      done += here;
    }
    return true;
  }
  bool Finish() override { return FlushOutput(); }
};

std::string UnwrittenWords(const std::string& output, u32 systemError) {
  return Failure(output, "the image could not be written and is not complete", systemError);
}

// The end of an export as words, and its exit status.
ExitStatus TellEnd(const ExportResult& result, const ExportOptions& options) {
  switch (result.end) {
    case ExportEnd::kDone:
      return kExitDone;
    case ExportEnd::kStopped:
      Tell(options.output + ": stopped; the image is not complete");
      return kExitInterrupted;
    case ExportEnd::kWriteFailed:
      if (options.output == "-") return kExitFailed;  // FinishOutput tells
      return Fail(UnwrittenWords(options.output, result.systemError));
    case ExportEnd::kCacheFailed:
      return Fail(Failure(options.cache, "the cache cannot be read; try 'larkspur check'",
                          result.systemError));
  }
  return kExitFailed;
}

std::string TargetWords(const std::string& output, const TargetFault& fault) {
  switch (fault.kind) {
    case TargetFaultKind::kNoOutput:
      return OutputWords(output, fault.output);
    case TargetFaultKind::kDevice:
      return output +
             ": this is a device, and what is on it would be overwritten; name a file, or add "
             "--force if you are sure";
    case TargetFaultKind::kIsSource:
      return output +
             ": the cache was made from this, and what can still be saved of it would be "
             "overwritten; choose another target";
    case TargetFaultKind::kTooSmall:
      return output + ": this device is smaller than what is to be written";
    case TargetFaultKind::kMounted:
      return output + ": something on this device is mounted or in use; unmount it first";
    case TargetFaultKind::kHasCache:
      return output + ": the cache is on this device; choose another device";
    case TargetFaultKind::kCannotOpen:
      return Failure(output, "this cannot be opened for writing", fault.systemError);
    case TargetFaultKind::kCannotSize:
      return UnwrittenWords(output, fault.systemError);
  }
  return {};
}

// What is to be written, in sectors.
Result<SectorRange, ExitStatus> FindRange(const ExportOptions& options, cKVRSparseIO* image) {
  if (!options.partition.empty())
    return FindPartition(image, image, options.cache, options.partition);
  const u64 sectors = image->GetSectorCount();
  if (options.start >= sectors) {
    Tell(fmt::format("--start {} lies past the end: the cache has {}", options.start,
                     CountText(sectors, "sector")));
    return Failed(kExitUsage);
  }
  return SectorRange{options.start,
                     std::min(options.sectors.value_or(sectors), sectors - options.start)};
}

Result<std::unique_ptr<ExportSink>, ExitStatus> OpenTarget(const ExportOptions& options,
                                                           u64 bytes) {
  if (options.output == "-") return std::make_unique<StandardOutputSink>();
  const std::u16string output = WideFromUtf8(options.output);
  const std::u16string cache = WideFromUtf8(options.cache);
  auto sink = OpenExportTarget(output, bytes, options.force, cache);
  if (!sink) return Failed(Fail(TargetWords(options.output, sink.error())));
  return std::move(*sink);
}

// A name as sha256sum -c reads it: with a line's end in it, such bytes and backslashes are written
// out, and a backslash before the line says so.
std::string HashLine(const std::string& name, const std::string& digest) {
  if (name.find_first_of("\r\n") == std::string::npos) {
    return fmt::format("SHA256 ({}) = {}\n", name, digest);
  }
  std::string plain;
  for (const char byte : name) {
    plain += byte == '\n'   ? std::string("\\n")
             : byte == '\r' ? std::string("\\r")
             : byte == '\\' ? std::string("\\\\")
                            : std::string(1, byte);
  }
  return fmt::format("\\SHA256 ({}) = {}\n", plain, digest);
}

std::string UnknownWords(const ExportResult& result) {
  if (!result.firstUnknown) return {};
  return fmt::format(
      ", and so do {} that cannot be read from the cache, the first of them sector {}",
      result.counts.unknown, *result.firstUnknown);
}

ExitStatus TellHash(platform::Sha256* hash, const StatusCounts& counts,
                    const ExportOptions& options) {
  std::array<u8, 32> digest{};
  if (!hash->Finish(&digest)) return Fail("this system cannot compute a SHA-256");
  const std::string text =
      HashLine(options.output, HexText(digest)) +
      fmt::format("# zeros stand in for {}\n",
                  CountText(counts.unreadable + counts.missing + counts.unknown, "sector"));
  if (options.output == "-") {
    std::fputs(text.c_str(), stderr);
  } else if (platform::IsOutputATerminal()) {
    Print(text);
  } else {
    PrintBytes(text.data(), text.size());  // any bytes that the name has
  }
  return kExitDone;
}

}  // namespace

ExitStatus RunExport(const ExportOptions& options) {
  const std::atomic<bool>& stop = platform::InterruptFlag();
  auto cache = OpenCacheToLook(options.cache);
  if (!cache) return cache.error();
  const auto range = FindRange(options, cache->image.get());
  if (!range) return range.error();
  const auto target = OpenTarget(options, range->count << kSectorShift);
  if (!target) return target.error();
  platform::Sha256 hash;
  HashingSink hashing(target->get(), &hash);
  ExportSink* sink = options.hash ? &hashing : target->get();
  ProgressLine line;
  const ExportResult result =
      ExportRaw(cache->image.get(), range->first, range->count, sink, stop, [&](u64 done) {
        line.Show({range->count, done}, done, range->count - done);
      });
  if (result.end != ExportEnd::kDone) return TellEnd(result, options);
  const StatusCounts& counts = result.counts;
  Tell(fmt::format("{}: {} written; {} unreadable and {} missing sectors read as zeros{}",
                   options.output, SizeText(range->count << kSectorShift), counts.unreadable,
                   counts.missing, UnknownWords(result)));
  if (options.hash && TellHash(&hash, counts, options) != kExitDone) return kExitFailed;
  const bool isWhole = counts.unreadable + counts.missing == 0;
  return TellDamage(options.cache, *cache, counts.unknown,
                    isWhole ? kExitDone : kExitSomeUnreadable);
}

}  // namespace larkspur::cli
