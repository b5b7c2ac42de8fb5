// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/model/sector_view.h"

#include "host/model/hex_text.h"
#include "host/model/words.h"
#include "io/bit_map.h"

namespace larkspur::host {
namespace {

// What the map says of a sector; present where there is no map.
SectorStatus StatusOf(const Storage& storage, u64 sector) {
  SectorStatus status = kPresent;
  if (!storage.map) return status;
  storage.map->VisitExtents(sector, 1, [&status](u64, u64, SectorStatus found) {
    status = found;
    return false;
  });
  return status;
}

SectorState StateOf(const Storage& storage, u64 sector, bool isPresent) {
  const SectorStatus status = StatusOf(storage, sector);
  if (status == kUnreadable) return SectorState::kKnownUnreadable;
  if (status == kUnknown || status == kMeaningless) return SectorState::kUnreadable;
  return status == kMissing || !isPresent ? SectorState::kMissing : SectorState::kData;
}

bool WouldAskGoneSource(const Storage& storage, u64 sector) {
  return !storage.source.IsThere() && (!storage.map || StatusOf(storage, sector) == kMissing);
}

const char* StateWords(SectorState state) {
  switch (state) {
    case SectorState::kData:
      return "";
    case SectorState::kUnreadable:
      return ": unreadable";
    case SectorState::kKnownUnreadable:
      return ": unreadable; zeros stand in for it";
    case SectorState::kMissing:
      return ": not in the cache yet; zeros stand in for it";
    case SectorState::kBehindEnd:
      return ": past the end of the storage";
    case SectorState::kSourceGone:
      return ": not read; the storage has become shorter or is gone";
  }
  return "";
}

}  // namespace

SectorView LookAtSector(const Storage& storage, u64 sector) {
  cBaseIO* const io = storage.IO();
  SectorView view;
  view.sector = sector;
  if (sector >= storage.sectors) return view;
  if (WouldAskGoneSource(storage, sector)) {
    view.state = SectorState::kSourceGone;
    return view;
  }
  if (io->SetPosition(sector) != sector) return view;
  cBitMap presence(1);
  const bool isSparse = io->IsSparse();
  if (io->Read(view.bytes.data(), 1, isSparse ? &presence : nullptr) != 1) {
    view.state = SectorState::kUnreadable;
    return view;
  }
  view.state = StateOf(storage, sector, !isSparse || presence.Test(0));
  return view;
}

std::u16string SectorHeading(const SectorView& view, u64 sectors) {
  return Words("Sector {} of {}, at byte {}{}", view.sector, sectors, view.sector * kSectorBytes,
               StateWords(view.state));
}

std::u16string SectorBody(const SectorView& view) {
  const bool hasBytes = view.state == SectorState::kData || view.state == SectorState::kMissing ||
                        view.state == SectorState::kKnownUnreadable;
  return hasBytes ? WideFromUtf8(HexText(view.bytes)) : std::u16string();
}

}  // namespace larkspur::host
