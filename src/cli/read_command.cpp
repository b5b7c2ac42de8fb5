// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <cstdio>
#include <memory>

#include "base/path_text.h"
#include "base/size_text.h"
#include "cli/commands.h"
#include "cli/output.h"
#include "cli/rescue.h"
#include "cli/storages.h"
#include "platform/file.h"
#include "platform/system_error.h"

namespace larkspur::cli {
namespace {

constexpr u32 kRequestSectors = 2048;

// Where the sectors go: a file, or standard output.
class Output {
 public:
  explicit Output(const ReadOptions& options) : m_options(options) {
    // It takes reading the log.
    if (IsToFile()) m_inputs = FilesOf(options.cache, {options.source, options.testMode});
  }

  // Before the disk is touched: whether anything may be written there. Otherwise than with
  // kExitDone, the user has been told; the same of the others.
  ExitStatus Judge() const {
    if (!IsToFile()) return kExitDone;
    return JudgeOutputOrTell(m_options.output, m_options.force, m_inputs);
  }

  ExitStatus Open() {
    if (!IsToFile()) return kExitDone;
    auto file = OpenOutputFile(WideFromUtf8(m_options.output), m_options.force, m_inputs);
    if (!file) return Fail(OutputWords(m_options.output, file.error()));
    m_file = std::move(*file);
    return kExitDone;
  }

  // What standard output does not take is told of at the end.
  bool Write(const u8* bytes, u32 count) {
    if (!m_file.IsOpen()) return PrintBytes(bytes, count);
    const auto handle = m_file.File().Handle();
    if (platform::WriteFileAt(handle, bytes, count, m_position) != count) return false;
    m_position += count;
    return true;
  }

  // Waits until all of it is flushed to disk.
  bool Finish() { return !m_file.IsOpen() || platform::SyncFile(m_file.File().Handle()); }

  // After a failure: leaves no file.
  ExitStatus TellFailure() {
    if (!m_file.IsOpen()) return kExitFailed;
    m_file.Discard();
    return Fail(
        Failure(m_options.output, "the sectors cannot be written", platform::LastFailure()));
  }

 private:
  bool IsToFile() const { return !m_options.output.empty() && m_options.output != "-"; }

  const ReadOptions& m_options;
  std::vector<std::u16string> m_inputs;
  OutputFile m_file;
  u64 m_position = 0;
};

// Copies what the cache has to the output, front to back.
class Copier {
 public:
  enum class End { kDone, kMissing, kCacheFailed, kOutputFailed };

  Copier(cKVRSparseIO* image, Output* output, u64 first)
      : m_store(image, nullptr),
        m_output(output),
        m_next(first),
        m_buffer(new u8[u64{kRequestSectors} * kSectorBytes]) {}

  // The sector that comes next.
  u64 Next() const { return m_next; }
  // The unreadable sectors of those that were copied.
  u64 Zeros() const { return m_zeros; }

  // Copies up to `end`, or up to the first sector that is missing.
  End CopyTo(u64 end) {
    while (m_next < end) {
      const u64 count = std::min<u64>(kRequestSectors - m_next % kRequestSectors, end - m_next);
      u64 settled = count, zeros = 0;
      const bool isRead =
          m_store.Visit({m_next, count}, [&](u64 start, u64 sectors, SectorStatus status) {
            if (status == kMissing) settled = start - m_next;
            if (status == kUnreadable) zeros += sectors;
            return status != kMissing;
          });
      std::fill_n(m_buffer.get(), settled * kSectorBytes, u8{0});  // where it is unreadable
      if (!isRead || !m_store.Load(m_next, m_buffer.get(), static_cast<u32>(settled))) {
        return End::kCacheFailed;
      }
      if (!m_output->Write(m_buffer.get(), static_cast<u32>(settled * kSectorBytes))) {
        return End::kOutputFailed;
      }
      m_next += settled;
      m_zeros += zeros;
      if (settled < count) return End::kMissing;
    }
    return End::kDone;
  }

 private:
  CacheStore m_store;
  Output* m_output;
  u64 m_next, m_zeros = 0;
  std::unique_ptr<u8[]> m_buffer;
};

// Reads the range and copies it as it comes; the run is over afterwards.
ExitStatus CopyRange(Rescue* rescue, Output* output, const ReadOptions& options) {
  const SectorRange range = rescue->Range();
  Copier copier(rescue->Image(), output, range.first);
  Copier::End end = Copier::End::kDone;
  for (u64 at = range.first; at < range.End() && end == Copier::End::kDone;) {
    const u64 next = std::min((at / kRequestSectors + 1) * kRequestSectors, range.End());
    rescue->engine().ReadMissing({at, next - at}, false);
    end = copier.CopyTo(next);
    at = next;
  }
  if (end == Copier::End::kOutputFailed) return output->TellFailure();
  // What failed is marked once the disk has proved to be alive, at the latest when the run ends.
  const ExitStatus finished = rescue->Finish();
  if (end == Copier::End::kMissing) end = copier.CopyTo(range.End());
  if (end == Copier::End::kOutputFailed || !output->Finish()) return output->TellFailure();
  if (copier.Zeros() > 0) {
    Tell(fmt::format("{}: {} read as zeros", options.source,
                     CountText(copier.Zeros(), "unreadable sector")));
  }
  if (finished != kExitDone || end == Copier::End::kDone) return finished;
  if (end == Copier::End::kCacheFailed) {
    return Fail(Failure(options.cache, "the cache cannot be read", platform::LastFailure()));
  }
  return Fail(
      fmt::format("{}: sector {} is missing; the output ends there. Run the same command again",
                  options.source, copier.Next()));
}

}  // namespace

ExitStatus RunRead(const ReadOptions& options) {
  Output output(options);
  if (const ExitStatus status = output.Judge(); status != kExitDone) return status;
  Rescue rescue;
  if (const ExitStatus status = rescue.Open(options); status != kExitDone) return status;
  if (const ExitStatus status = output.Open(); status != kExitDone) return status;
  const ExitStatus status = CopyRange(&rescue, &output, options);
  if (status != kExitDone) return status;
  if (const auto counts = CacheStore(rescue.Image(), nullptr).Count(rescue.Range())) {
    return Rescue::StatusOf(*counts);
  }
  return Fail(Failure(options.cache, "the cache cannot be read", platform::LastFailure()));
}

}  // namespace larkspur::cli
