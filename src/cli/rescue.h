// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A source and its cache, opened for reading once, with words for everything that may happen to
// them; for every command that reads a source through its cache.

#include <memory>
#include <string>

#include "cli/commands.h"
#include "imaging/rescue_session.h"

namespace larkspur::cli {

class Rescue {
 public:
  // `stop` ends what is done for this rescue, and lives as long as it; else Ctrl-C does.
  explicit Rescue(const std::atomic<bool>* stop = nullptr) : m_stop(stop) {}

  Rescue(const Rescue&) = delete;
  Rescue& operator=(const Rescue&) = delete;
  ~Rescue();  // ends a run that is open, as Finish does

  // kExitDone when all is ready; otherwise the user has been told.
  ExitStatus Open(const StorageOptions& options, EngineOptions engine = {});
  // Another run after Finish, when the source is there again; else the user need not be told.
  bool Reopen(EngineOptions engine);

  Engine& engine() { return m_session->Rescue(); }
  AskedSource* Asked() { return m_source.asked.get(); }
  cKVRSparseIO* Image() { return m_cache.image.get(); }
  Cache* TheCache() { return &m_cache; }
  // What --start and --sectors name.
  SectorRange Range() const { return m_range; }

  // Ends the run; tells why it ended early, if it did. Answers `status` when it did not, or the
  // exit status for that.
  ExitStatus Finish(ExitStatus status = kExitDone);
  // What ends with kExitDone, or with kExitSomeUnreadable when the counts lack anything.
  static ExitStatus StatusOf(const StatusCounts& counts);

 private:
  ExitStatus OpenSession(EngineOptions engine);
  void TellOfSession();

  const std::atomic<bool>* m_stop;
  StorageOptions m_options;
  Source m_source;
  Cache m_cache;
  SectorRange m_range;
  std::unique_ptr<RescueSession> m_session;
  bool m_isOpen = false;  // a run is
};

// The function for EngineOptions::onSilent that runs the user's command and waits for the device;
// empty for an empty command. `source` is known only later, when the function is called.
std::function<bool(StopReason)> WakeBy(const std::string& command, AskedSource* const* source);

}  // namespace larkspur::cli
