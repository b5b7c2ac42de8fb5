// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What the fuzzers run, a function in each file: it takes any bytes, aborts where a rule is broken,
// and gives what comes of them as text. The fuzzers throw the text away; the tests hold it fast
// (tests/sweep_test.cpp).

#include <cstdlib>
#include <span>
#include <string>
#include <string_view>

#include "base/types.h"

namespace larkspur::fuzz {

using Target = std::string(std::span<const u8> input);

Target RunCheckRepair, RunCommandLine, RunDevice, RunLdm, RunLvm2Text, RunMapfile, RunPack,
    RunPartitionTree, RunPropertyList, RunRescueLog, RunSparseImage, RunText, RunWalkLine;

inline void Require(bool holds) {
  if (!holds) std::abort();
}

inline std::string_view AsText(std::span<const u8> input) {
  return {reinterpret_cast<const char*>(input.data()), input.size()};
}

}  // namespace larkspur::fuzz
