// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The rescue log of a storage's cache, as the host shows it.

#include <string>

#include "base/result.h"
#include "host/model/storages.h"

namespace larkspur::host {

// What there is to read of a log: beside which cache, and of how many sectors. May go to another
// thread.
struct LogPlace {
  std::u16string cachePath;
  u64 sectors = 0;
};

// The text of "larkspur log", lines ended by "\r\n"; or, where there is no such text, why, and what
// to do.
Result<std::u16string, std::u16string> ReadLogText(const LogPlace& place);

}  // namespace larkspur::host
