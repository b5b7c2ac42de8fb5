// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "files/walker.h"

namespace larkspur {

// Not called: where there is no libtsk, there are no helpers either.
void RunWalker(platform::HelperLine&, u64, WalkTask) {}

}  // namespace larkspur
