// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/model/sector_reader.h"

#include <utility>

namespace larkspur::host {

bool cSectorReader::Watch(const Storage& storage) {
  Leave();
  m_io = CloneOf(storage);
  Watched source = storage.source.Clone();
  // A source that is gone is not to pass for one that is not known.
  if (!m_io || (storage.source.io && !source.io)) return false;
  m_node.storage = m_io.get();
  m_storage.node = &m_node;
  m_storage.sectors = storage.sectors;
  m_storage.source = std::move(source);
  if (storage.map) m_storage.map.reset(static_cast<cKVRSparseIO*>(storage.map->Clone()));
  return true;
}

void cSectorReader::Leave() {
  Stop(kPatienceMilliseconds);
  m_storage = {};
  m_io.reset();
  m_wanted.reset();
  m_read.reset();
  m_isReading = false;
}

void cSectorReader::Ask(u64 sector) {
  const cSafeCriticalSectionAccess access(&m_section);
  m_wanted = sector;
  m_read.reset();
  // A thread that has said that it reads no more does not need what is held here to end.
  if (!m_isReading) m_isReading = Start();
}

std::optional<SectorView> cSectorReader::Take() {
  const cSafeCriticalSectionAccess access(&m_section);
  return std::exchange(m_read, std::nullopt);
}

std::optional<u64> cSectorReader::NextWanted() {
  const cSafeCriticalSectionAccess access(&m_section);
  m_isReading = m_wanted && !StopRequested();
  return m_isReading ? std::exchange(m_wanted, std::nullopt) : std::nullopt;
}

void cSectorReader::Keep(const SectorView& view) {
  const cSafeCriticalSectionAccess access(&m_section);
  if (!m_wanted) m_read = view;
}

u32 cSectorReader::Run() {
  while (const std::optional<u64> sector = NextWanted()) {
    Keep(LookAtSector(m_storage, *sector));
    m_onRead();
  }
  return 0;
}

}  // namespace larkspur::host
