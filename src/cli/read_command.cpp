// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <cstdio>
#include <memory>

#include "base/path_text.h"
#include "cli/commands.h"
#include "cli/output.h"
#include "cli/storages.h"
#include "imaging/imager.h"
#include "platform/owned_file.h"
#include "platform/system_error.h"
#include "platform/terminal.h"

namespace larkspur::cli {
namespace {

constexpr u32 kRequestSectors = cImager::kRequestSectors;

// Where the sectors go: a file, or standard output.
class Output {
 public:
  bool Open(const std::string& path) {
    if (path.empty()) return true;
    m_file = platform::OwnedFile(platform::CreateEmptyFile(WideFromUtf8(path).c_str()));
    return m_file.IsOpen();
  }

  bool Write(const u8* bytes, u32 count) {
    if (!m_file.IsOpen()) return std::fwrite(bytes, 1, count, stdout) == count;
    const bool written = platform::WriteFileAt(m_file.Handle(), bytes, count, m_position) == count;
    m_position += count;
    return written;
  }

  bool Finish() { return m_file.IsOpen() || std::fflush(stdout) == 0; }

 private:
  platform::OwnedFile m_file;
  u64 m_position = 0;
};

bool WouldOverwrite(const ReadOptions& options) {
  const std::u16string output = WideFromUtf8(options.output);
  return platform::AreSameFile(output.c_str(), WideFromUtf8(options.source).c_str()) ||
         platform::AreSameFile(output.c_str(), WideFromUtf8(options.cache).c_str()) ||
         platform::KindOfPath(output.c_str()) == platform::PathKind::kDevice;
}

ExitStatus CopyRange(Pair* pair, cReader* reader, Output* output, const ReadOptions& options) {
  const auto buffer = std::make_unique<u8[]>(u64{kRequestSectors} * kSectorBytes);
  const std::string target = options.output.empty() ? "standard output" : options.output;
  for (u64 done = 0; done < pair->count;) {
    const u64 boundary = kRequestSectors - (pair->first + done) % kRequestSectors;
    const u32 request = static_cast<u32>(std::min(boundary, pair->count - done));
    const u32 settled = reader->Read(pair->first + done, buffer.get(), request);
    if (!output->Write(buffer.get(), settled * kSectorBytes)) {
      return Fail(Failure(target, "the sectors cannot be written", platform::LastFailure()));
    }
    if (settled < request) return TellReadEnd(reader->End(), reader->SystemError(), options);
    done += settled;
  }
  if (!output->Finish()) return Fail(Failure(target, "the sectors cannot be written", 0));
  return kExitDone;
}

}  // namespace

ExitStatus RunRead(const ReadOptions& options) {
  const std::atomic<bool>& stop = platform::InterruptFlag();
  if (!options.output.empty() && WouldOverwrite(options)) {
    return Fail(options.output + ": the output would overwrite the source, the cache or a device");
  }
  Pair pair;
  if (const ExitStatus status = OpenPair(options, &pair); status != kExitDone) return status;
  Output output;
  if (!output.Open(options.output)) {
    return Fail(Failure(options.output, "the file cannot be made", platform::LastFailure()));
  }
  cReader reader(&pair.cache, &pair.source, &stop);
  if (!reader.IsReady()) return TellReadEnd(ReadEnd::kCacheFailed, 0, options);
  const ExitStatus status = CopyRange(&pair, &reader, &output, options);
  if (!pair.cache.hold->Sync() && status == kExitDone) {
    return TellReadEnd(ReadEnd::kStoreFailed, platform::LastFailure(), options);
  }
  if (status != kExitDone) return status;
  const StatusCounts counts = CountStatuses(pair.cache.image.get(), pair.first, pair.count);
  return counts.unreadable > 0 ? kExitSomeUnreadable : kExitDone;
}

}  // namespace larkspur::cli
