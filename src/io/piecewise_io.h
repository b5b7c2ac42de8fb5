// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// cPiecewiseIO: asks a source in aligned pieces of 64 KiB, so that an unreadable sector spoils no
// more than the piece around it.
//
// cReadOnceIO answers a short read by asking for every sector of it again, alone. This adapter
// therefore keeps what a short read did deliver, asks the source only for the sectors that were
// not, and never for one sector more than twice: once with its neighbours, once alone. Of a source
// with larger physical sectors (its geometry tells), alone means all of one physical sector.

#include <atomic>
#include <functional>
#include <memory>

#include "base/owned.h"
#include "io/base_io.h"

namespace larkspur {

// What all clones of one adapter share.
struct SourceTraffic {
  // The source has ended before the sector it was asked for, or went away.
  std::atomic<bool> gone{false};
  // Asked after a request came out short, of a source that does not shrink when it goes away:
  // whether it has. Set before the first read.
  std::function<bool()> hasGone;
};

class cPiecewiseIO final : public cBaseIO {
 public:
  static constexpr u32 kPieceSectors = 128;

  cPiecewiseIO(Owned<cBaseIO> source, std::shared_ptr<SourceTraffic> traffic);
  ~cPiecewiseIO() = default;

  cBaseIO* Clone() override;
  bool IsSameAs(cBaseIO* other) override;
  bool QueryCapability() override { return m_source->QueryCapability(); }
  u64 SetPosition(u64 sector) override;
  u32 Read(void* buffer, u32 count, cBitMap* presence = nullptr) override;
  u64 GetSectorCount() override { return m_source->GetSectorCount(); }
  u64 GetFullSectorCount() override { return m_source->GetFullSectorCount(); }
  u64 GetByteSize() override { return m_source->GetByteSize(); }
  u32 GetTypeId() override { return kTypePiecewise; }
  void* Destroy(u32 flags) override;
  bool GetGeometry(u32* three) override { return m_source->GetGeometry(three); }
  bool GetDescription(char16_t* buffer, i32 capacity) override;

  // The source itself; the adapter is of no use any more.
  Owned<cBaseIO> ReleaseSource() { return std::move(m_source); }

 private:
  // What is known of a sector of the last request that came out short.
  enum class Kept : u8 { kNotAsked, kDelivered, kAskedWithNeighbours, kRefused };

  static bool IsOpen(Kept state) {
    return state == Kept::kAskedWithNeighbours || state == Kept::kNotAsked;
  }
  bool MayAsk() const { return !m_traffic->gone; }
  // How many of `count` sectors at the position lie before the source's end.
  u32 SectorsInside(u32 count);
  u32 Ask(u64 sector, u8* buffer, u32 count);

  // Begins to keep the request at m_keptFirst, of which the first sectors were delivered. False
  // without memory; then nothing is kept and single sectors are simply asked for again.
  bool StartKeeping(const u8* buffer, u32 delivered, u32 count);
  // Asks for the request's remaining pieces, from sector `at` of it on, and keeps them, unless they
  // are to be left.
  void KeepRest(u32 at, u32 count);
  // A piece of the request, from its sector `at` on, delivered `got` sectors.
  void Note(u32 at, u32 piece, u32 got);
  // Gives sector `index` of the kept request, asking the source when it has to.
  bool AnswerKept(u32 index, u8* buffer);
  // Asks for the physical sector around sector `index`, of which nothing is settled yet; false when
  // the source went away.
  bool AskAlone(u32 index);

  Owned<cBaseIO> m_source;
  std::shared_ptr<SourceTraffic> m_traffic;
  u64 m_position = 0;
  u32 m_physicalSectors;  // that lie in one physical sector of the source

  u64 m_keptFirst = 0;
  u32 m_keptCount = 0;
  std::unique_ptr<u8[]> m_keptData;
  std::unique_ptr<Kept[]> m_keptStates;
};

}  // namespace larkspur
