// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <cstdio>
#include <memory>

#include "base/path_text.h"
#include "cli/commands.h"
#include "cli/output.h"
#include "cli/rescue.h"
#include "cli/storages.h"
#include "platform/owned_file.h"
#include "platform/system_error.h"

namespace larkspur::cli {
namespace {

constexpr u32 kRequestSectors = 2048;

// Where the sectors go: a file, or standard output.
class Output {
 public:
  // False when nothing may or can be written there; the user has been told.
  bool Open(const ReadOptions& options) {
    if (options.output.empty() || options.output == "-") return true;
    auto file = OpenOutputFile(WideFromUtf8(options.output), options.force,
                               FilesOf(options.cache, {options.source, options.testMode}));
    if (!file) {
      Tell(OutputWords(options.output, file.error()));
      return false;
    }
    m_file = std::move(*file);
    return true;
  }

  bool Write(const u8* bytes, u32 count) {
    if (!m_file.IsOpen()) return PrintBytes(bytes, count);
    const auto handle = m_file.File().Handle();
    if (platform::WriteFileAt(handle, bytes, count, m_position) != count) return false;
    m_position += count;
    return true;
  }

  // After a failure: leaves no file, and tells, but of standard output, which is told of at the
  // end.
  ExitStatus TellFailure(const std::string& name) {
    if (!m_file.IsOpen()) return kExitFailed;
    m_file.Discard();
    return Fail(Failure(name, "the sectors cannot be written", platform::LastFailure()));
  }

 private:
  OutputFile m_file;
  u64 m_position = 0;
};

ExitStatus CopyRange(Rescue* rescue, Output* output, const ReadOptions& options) {
  const auto buffer = std::make_unique<u8[]>(u64{kRequestSectors} * kSectorBytes);
  const SectorRange range = rescue->Range();
  for (u64 at = range.first; at < range.End();) {
    const u64 boundary = (at / kRequestSectors + 1) * kRequestSectors;
    const u64 count = std::min(boundary, range.End()) - at;
    const u64 settled = rescue->engine().Fetch({at, count}, buffer.get());
    if (!output->Write(buffer.get(), static_cast<u32>(settled * kSectorBytes))) {
      return output->TellFailure(options.output);
    }
    if (settled < count) {
      if (rescue->engine().Reason() != StopReason::kNone) return kExitFailed;
      return Fail(
          fmt::format("{}: sector {} failed, and the disk has not answered since; the "
                      "output ends there. Run the same command again",
                      options.source, at + settled));
    }
    at += count;
  }
  return kExitDone;
}

}  // namespace

ExitStatus RunRead(const ReadOptions& options) {
  Rescue rescue;
  if (const ExitStatus status = rescue.Open(options); status != kExitDone) return status;
  Output output;
  if (!output.Open(options)) {
    rescue.engine().Finish();
    return kExitFailed;
  }
  ExitStatus status = CopyRange(&rescue, &output, options);
  if (status == kExitDone) {
    StatusTotals totals;
    CacheStore(rescue.Image(), nullptr).Count(rescue.Range(), &totals);
    status = Rescue::StatusOf(totals);
  }
  return rescue.Finish(status);
}

}  // namespace larkspur::cli
