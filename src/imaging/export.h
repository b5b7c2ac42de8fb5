// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Writing a cache out as a raw image that any tool reads.

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "base/result.h"
#include "imaging/output_file.h"
#include "imaging/summary.h"
#include "platform/hash.h"

namespace larkspur {

enum class ExportEnd {
  kDone,
  kStopped,
  kWriteFailed,  // systemError
  kCacheFailed,  // the cache could not be opened again
};

struct ExportResult {
  ExportEnd end = ExportEnd::kDone;
  u32 systemError = 0;
  StatusCounts counts;              // of what was written; zeros stand for all but what was present
  std::optional<u64> firstUnknown;  // the first sector of which the cache does not give what it has
};

// Where an export goes, front to back. False means that the system refused, and it says why.
class ExportSink {
 public:
  virtual ~ExportSink() = default;
  virtual bool Put(const u8* bytes, u64 count) = 0;
  // For what nothing is known of.
  virtual bool PutZeros(u64 count) = 0;
  // Waits until all of it is where it belongs.
  virtual bool Finish() = 0;
};

enum class TargetFaultKind {
  kNoOutput,    // no output may go there: `output` says why
  kDevice,      // and may not be overwritten
  kIsSource,    // the disk that the cache was made from, as far as its log tells
  kTooSmall,    // the device
  kMounted,     // something on the device is in use
  kHasCache,    // the cache lies on the device
  kCannotOpen,  // the device: systemError
  kCannotSize,  // systemError; the file, which is made
};

struct TargetFault {
  TargetFaultKind kind;
  u32 systemError = 0;
  OutputFault output{};
};

// Opens a file or block device for an export of `bytes` bytes. A file is what every output is, with
// the files of `cache` as inputs. A device is written to only with `force`, and never the one that
// `cache` was made from, nor one that is in use or has `cache` on it. In files, zeros stay holes.
Result<std::unique_ptr<ExportSink>, TargetFault> OpenExportTarget(const std::u16string& path,
                                                                  u64 bytes, bool force,
                                                                  const std::u16string& cache);

// Passes everything on to another sink and hashes it.
class HashingSink final : public ExportSink {
 public:
  HashingSink(ExportSink* target, platform::Sha256* hash) : m_target(target), m_hash(hash) {}

  bool Put(const u8* bytes, u64 count) override;
  bool PutZeros(u64 count) override;
  bool Finish() override { return m_target->Finish(); }

 private:
  ExportSink* m_target;
  platform::Sha256* m_hash;
};

// Told how many of the sectors are done.
using ExportMonitor = std::function<void(u64 sectorsDone)>;

// Writes [first, first+count) of the image; unreadable and missing sectors are zeros, and so is
// what the cache has but does not give, which counts as unknown and ends nothing. What was stopped
// stays; of what the system refused no new file is left. REQUIRES: the range lies inside the image.
ExportResult ExportRaw(cKVRSparseIO* image, u64 first, u64 count, ExportSink* sink,
                       const std::atomic<bool>& stop, const ExportMonitor& monitor);

}  // namespace larkspur
