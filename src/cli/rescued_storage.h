// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What the rescue engine delivers, as a walk over the files reads it.

#include <cstring>

#include "cli/rescue.h"
#include "files/walk.h"
#include "imaging/summary.h"

namespace larkspur::cli {

// It reads ahead until the disk fails for the first time: then only what is needed is worth asking
// for.
class RescuedStorage final : public WalkedStorage {
 public:
  // Outlives it.
  explicit RescuedStorage(Rescue* rescue) : m_rescue(rescue) {}

  bool Read(u64 first, u32 count, u8* buffer, bool ahead) override {
    std::memset(buffer, 0, u64{count} * kSectorBytes);
    if (ahead && m_hasFailed) return false;
    m_rescue->engine().Fetch({first, count}, buffer);
    const bool whole = CountStatuses(m_rescue->Image(), first, count).present == count;
    m_hasFailed = m_hasFailed || !whole;
    return whole;
  }

 private:
  Rescue* m_rescue;
  bool m_hasFailed = false;
};

}  // namespace larkspur::cli
