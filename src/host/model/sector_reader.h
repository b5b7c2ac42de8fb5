// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Reads the sectors that somebody looks at, on a thread of its own and through a clone of the
// storage: a drive may take half a minute over a bad sector, and the window works meanwhile.

#include <functional>
#include <optional>

#include "base/critical_section.h"
#include "base/job.h"
#include "host/model/sector_view.h"

namespace larkspur::host {

class cSectorReader final : public cJob {
 public:
  // `onRead` is called on the job's thread when there is something to Take.
  explicit cSectorReader(std::function<void()> onRead)
      : cJob(nullptr), m_onRead(std::move(onRead)) {}
  ~cSectorReader() { Leave(); }

  // Reads of this storage from now on, and of the one before no more; waits for a sector that is
  // just being read. False when the storage cannot be cloned.
  bool Watch(const Storage& storage);
  // Reads of nothing any more.
  void Leave();
  bool IsWatching() const { return m_storage.node != nullptr; }

  // Asks for a sector. Of several asked for while one is being read, the last one counts.
  // REQUIRES: watching
  void Ask(u64 sector);
  // The sector that was asked for last, once; nothing while it is not there yet.
  std::optional<SectorView> Take();

  u32 Run() override;
  void* Destroy(u32 flags) override { return DestroyAs(this, flags); }

 private:
  // What to read next; nothing, and the thread ends, when it has been read already.
  std::optional<u64> NextWanted();
  void Keep(const SectorView& view);

  std::function<void()> m_onRead;
  HostStorageNode m_node{};
  Owned<cBaseIO> m_io;
  Storage m_storage;  // clones; used by the job's thread while that runs

  cCriticalSection m_section;  // guards what follows
  std::optional<u64> m_wanted;
  bool m_isReading = false;
  std::optional<SectorView> m_read;
};

}  // namespace larkspur::host
