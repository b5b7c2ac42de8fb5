// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Keeps an eye on a cache that somebody else fills: counts it again and again on a thread of its
// own, so that a large cache does not hold up the windows that show it.

#include <functional>
#include <memory>

#include "base/critical_section.h"
#include "base/job.h"
#include "base/owned.h"
#include "imaging/map_picture.h"

namespace larkspur::host {

class cMapWatch final : public cJob {
 public:
  static constexpr u64 kMostCells = 4096;
  static constexpr double kLeastSeconds = 0.5;  // from one count to the next
  static constexpr double kShareOfTime = 0.2;   // of counting, where that takes long

  // `onNew` is called on the job's thread when there is something new to Take.
  explicit cMapWatch(std::function<void()> onNew) : cJob(nullptr), m_onNew(std::move(onNew)) {}
  ~cMapWatch() { Stop(kPatienceMilliseconds); }

  // Watches a clone of `image` from now on, or nothing when it is null or cannot be cloned.
  void Watch(cKVRSparseIO* image);

  // The last count; null before the first one.
  std::shared_ptr<const MapGrid> Take();

  u32 Run() override;
  void* Destroy(u32 flags) override { return DestroyAs(this, flags); }

 private:
  void Publish(std::shared_ptr<const MapGrid> grid);

  std::function<void()> m_onNew;
  Owned<cKVRSparseIO> m_image;
  cCriticalSection m_section;
  std::shared_ptr<const MapGrid> m_grid;  // guarded by m_section
};

}  // namespace larkspur::host
