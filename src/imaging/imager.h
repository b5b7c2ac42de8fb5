// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Reading everything: fills a cache with what it lacks of its source, in large aligned requests,
// and never asks for a sector that the cache has or that the source refused.

#include <functional>

#include "imaging/leaps.h"
#include "imaging/reader.h"
#include "imaging/summary.h"
#include "platform/pages.h"

namespace larkspur {

struct ImagingProgress {
  u64 sectors = 0;      // of the whole storage
  StatusCounts counts;  // of the whole storage
  u64 asked = 0;        // sectors asked of the source in this run
  u64 left = 0;         // sectors of the range still to be fetched
};

class cImager {
 public:
  static constexpr u32 kRequestSectors = 512;
  static constexpr double kSyncSeconds = 30;

  // Told often, also from within slow areas: whoever shows it limits how often. Cheap to call.
  using Monitor = std::function<void(const ImagingProgress&)>;

  cImager(Cache* cache, Source* source, const std::atomic<bool>* stop);

  // Takes the range to fetch, cut at the storage's end, and counts what there is already.
  void Prepare(u64 first, u64 count);
  // Fetches what is missing of the range. The cache is brought to its medium every kSyncSeconds and
  // at the end, whatever the end was. REQUIRES: Prepare.
  ReadEnd Run(const Monitor& monitor);

  const ImagingProgress& Progress() const { return m_progress; }
  u32 SystemError() const { return m_systemError; }

 private:
  // Goes once over what is missing of the range.
  ReadEnd Pass(const cLeaps& leaps);
  ReadEnd Fetch(u64 first, u64 count);
  // Counts sectors that were missing and are so no more.
  void Settle(const StatusCounts& now);
  void Tell();
  // False once bringing the cache to its medium has failed.
  bool SyncWhenDue();
  void Sync();

  Cache* m_cache;
  Source* m_source;
  cReader m_reader;
  u64 m_first = 0;
  u64 m_count = 0;
  cLeaps m_leaps;
  Monitor m_monitor;
  ImagingProgress m_progress;
  platform::OwnedPages m_buffer;  // devices transfer to pages without a copy
  u64 m_cutFirst = 0;  // the request that ended the run early, and its length; 0: none did
  u32 m_cutCount = 0;
  double m_lastSync;
  bool m_syncFailed = false;  // kept: systems tell of a failure once only
  u32 m_systemError = 0;
};

}  // namespace larkspur
