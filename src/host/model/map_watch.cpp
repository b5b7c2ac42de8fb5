// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/model/map_watch.h"

#include <algorithm>

#include "platform/clock.h"

namespace larkspur::host {
namespace {

constexpr u32 kNapMilliseconds = 20;

}  // namespace

void cMapWatch::Watch(cKVRSparseIO* image) {
  Stop(kPatienceMilliseconds);
  Publish(nullptr);
  m_image.reset(image ? static_cast<cKVRSparseIO*>(image->Clone()) : nullptr);
  if (m_image && m_image->GetSectorCount() > 0) Start();
}

std::shared_ptr<const MapGrid> cMapWatch::Take() {
  const cSafeCriticalSectionAccess access(&m_section);
  return m_grid;
}

void cMapWatch::Publish(std::shared_ptr<const MapGrid> grid) {
  const cSafeCriticalSectionAccess access(&m_section);
  m_grid = std::move(grid);
}

u32 cMapWatch::Run() {
  while (!StopRequested()) {
    const double began = platform::MonotonicSeconds();
    Publish(std::make_shared<const MapGrid>(MakeMapGrid(m_image.get(), kMostCells)));
    m_onNew();
    const double now = platform::MonotonicSeconds();
    const double pause = std::max(kLeastSeconds, (now - began) / kShareOfTime);
    while (!StopRequested() && platform::MonotonicSeconds() < now + pause) {
      platform::SleepMilliseconds(kNapMilliseconds);
    }
  }
  return 0;
}

}  // namespace larkspur::host
