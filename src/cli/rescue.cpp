// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "cli/rescue.h"

#include "base/path_text.h"
#include "base/size_text.h"
#include "cli/output.h"
#include "cli/storages.h"
#include "imaging/rescue_words.h"
#include "platform/command.h"
#include "platform/device.h"
#include "platform/disk_use.h"
#include "platform/system_error.h"
#include "platform/terminal.h"

namespace larkspur::cli {
namespace {

constexpr double kWakeSeconds = 60;

std::string DiskWords(const SourceIdentity& disk) {
  const std::string serial = disk.serial.empty() ? "no serial number" : "serial " + disk.serial;
  return fmt::format("{}, {}, {} sectors", disk.model.empty() ? disk.path : disk.model, serial,
                     disk.sectors);
}

// `systemError` is what the system said, 0 when it said nothing.
std::string StopWords(StopReason reason, u32 systemError, const StorageOptions& options) {
  switch (reason) {
    case StopReason::kNone:
    case StopReason::kDone:
      return {};
    case StopReason::kStopped:
      return options.cache + ": stopped; what was read is kept, and the same command resumes";
    case StopReason::kGone:
      return options.source + ": " + kSourceGone + "; what was read is in " + options.cache +
             ", and the same command resumes when the source is back";
    case StopReason::kNotAnswering:
      return options.source + ": " + kNotAnswering +
             "; nothing that failed since its last answer is marked. " + kWakeTheDisk +
             ", then run the same command: it resumes from " + options.cache;
    case StopReason::kFull:
      return options.cache +
             ": there is no room left for the cache; what was stored is kept. Make room and run "
             "the same command again";
    case StopReason::kStoreFailed:
      return options.cache +
             (systemError ? ": the cache could not be written; what was stored before is kept"
                          : ": the cache could not be written, and may have been changed while it "
                            "was in use; 'larkspur check' says what it holds");
    case StopReason::kCacheUnreadable:
      return options.cache + ": the cache cannot be read; try 'larkspur check'";
    case StopReason::kSystemFailed:
      return options.source +
             ": this machine could not read it, which is not the disk's fault; nothing was marked, "
             "and the same command resumes";
  }
  return {};
}

}  // namespace

Rescue::~Rescue() {
  if (!m_isOpen) return;
  engine().OnProgress({});  // who was told may be gone
  Finish();
}

ExitStatus Rescue::Open(const StorageOptions& options, EngineOptions engine) {
  m_options = options;
  auto source = OpenSourceOrTell(options);
  if (!source) return source.error();
  m_source = std::move(*source);
  if (platform::IsDiskMounted(WideFromUtf8(options.source).c_str())) {
    Tell(options.source +
         ": something on this disk is mounted: programs may write to it, which destroys what can "
         "still be saved, or read it, which wears it out; unmount it first");
  }
  if (options.start >= m_source.sectors) {
    Tell(fmt::format("--start {} lies past the end: the source has {}", options.start,
                     CountText(m_source.sectors, "sector")));
    return kExitUsage;
  }
  m_range = {options.start, std::min(options.sectors.value_or(m_source.sectors),
                                     m_source.sectors - options.start)};
  // Before a cache is made for nothing.
  const std::u16string cachePath = WideFromUtf8(options.cache);
  if (const auto fault =
          FaultOfLog(LogPathOf(cachePath),
                     {WideFromUtf8(options.source), WideFromUtf8(options.testMode), cachePath})) {
    return Fail(LogWords(options.cache, *fault));
  }
  auto cache = OpenOrCreateCache(cachePath, WideFromUtf8(options.source), m_source.sectors);
  if (!cache) return Fail(CacheFailure(options.cache, cache.error(), m_source.sectors));
  m_cache = std::move(*cache);
  return OpenSession(std::move(engine));
}

bool Rescue::Reopen(EngineOptions engine) {
  return m_source.asked->Reconnect(0) && OpenSession(std::move(engine)) == kExitDone;
}

ExitStatus Rescue::OpenSession(EngineOptions engine) {
  m_session = std::make_unique<RescueSession>(&m_source, &m_cache, WideFromUtf8(m_options.cache),
                                              m_stop ? m_stop : &platform::InterruptFlag());
  const auto opened = m_session->Open(std::move(engine), m_options.otherSource);
  if (opened) {
    m_isOpen = true;
    TellOfSession();
    return kExitDone;
  }
  switch (opened.error().kind) {
    case SessionFaultKind::kOtherSource:
      return Fail(
          fmt::format("{}: this cache was made from another disk ({}), not from {} ({}); choose "
                      "another cache, or use --other-source if that is what you mean",
                      m_options.cache, DiskWords(m_session->Before()), m_options.source,
                      DiskWords(m_source.asked->Identity())));
    case SessionFaultKind::kCacheNotFlushed:
      return Fail(Failure(m_options.cache,
                          "the cache could not be flushed to disk earlier, nor can it now; nothing "
                          "is read until it can",
                          opened.error().systemError));
    case SessionFaultKind::kCacheUnreadable:
      return Fail(Failure(m_options.cache, "the cache cannot be read; try 'larkspur check'",
                          opened.error().systemError));
    case SessionFaultKind::kLogUnreadable:
      return Fail(CacheFailure(m_options.cache,
                               {CacheFaultKind::kLogUnreadable, opened.error().systemError}));
    case SessionFaultKind::kLog:
      return Fail(LogWords(m_options.cache, opened.error().logFault));
  }
  return kExitFailed;
}

void Rescue::TellOfSession() {
  const RescueSession& session = *m_session;
  const bool isDevice =
      platform::KindOfPath(WideFromUtf8(m_options.source).c_str()) == platform::PathKind::kDevice;
  const std::string& path = m_source.asked->Identity().path;
  const std::string& before = session.Before().path;
  if (session.Identity() == SameDisk::kUnknown && isDevice) {
    Tell(m_options.source +
         ": the disk reports no serial number, so only its size shows that the cache was made "
         "from it");
  } else if (session.Identity() == SameDisk::kUnknown && before != path) {
    Tell(
        fmt::format("{}: the cache was made from {}, and only its size shows that this is the same",
                    m_options.source, before));
  }
  if (session.Disbelieved() > 0) {
    Tell(
        fmt::format("{}: the last run did not end properly; {} that may not have been "
                    "flushed to disk will be read again",
                    m_options.cache, CountText(session.Disbelieved(), "sector")));
  }
  if (session.WrongLogLine() > 0) {
    Tell(fmt::format("{}.log: line {} cannot be understood and is ignored", m_options.cache,
                     session.WrongLogLine()));
  }
}

ExitStatus Rescue::Finish(ExitStatus status) {
  m_isOpen = false;
  const StopReason reason = engine().Finish();
  if (const u32 code = m_session->LogFailure()) {
    Tell(Failure(m_options.cache + ".log",
                 "the log cannot be written; the cache is complete without it", code));
  }
  if (!m_cache.lock->HasItsName()) {
    return Fail(m_options.cache +
                ": the cache was deleted, renamed or replaced while it was in use, so the run "
                "ended; if the file still exists under another name, resume with that one");
  }
  if (reason == StopReason::kDone) return status;
  const u32 systemError = engine().SystemError();
  const std::string words = StopWords(reason, systemError, m_options);
  Tell(systemError ? words + ": " + platform::FailureText(systemError) : words);
  return reason == StopReason::kStopped ? kExitInterrupted : kExitFailed;
}

ExitStatus Rescue::StatusOf(const StatusCounts& counts) {
  return counts.unreadable + counts.missing > 0 ? kExitSomeUnreadable : kExitDone;
}

std::function<bool(StopReason)> WakeBy(const std::string& command, AskedSource* const* source) {
  if (command.empty()) return {};
  return [=](StopReason) {
    const SourceIdentity& disk = (*source)->Identity();
    Tell(disk.path + ": the disk is not answering; running: " + command);
    const int status = platform::RunCommand(
        command, {{"LARKSPUR_DEVICE", disk.path}, {"LARKSPUR_SERIAL", disk.serial}});
    if (status < 0) {
      Tell("the command could not be run");
    } else if (status > 0 && !platform::InterruptFlag()) {  // Ctrl-C ends the command as well
      Tell(fmt::format("the command ended with status {}", status));
    }
    return (*source)->Reconnect(kWakeSeconds);
  };
}

}  // namespace larkspur::cli
