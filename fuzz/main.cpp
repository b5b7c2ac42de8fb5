// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "fuzz/targets.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  larkspur::fuzz::LARKSPUR_FUZZ_TARGET({data, size});
  return 0;
}
