// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What a simulated drive makes of pass-through requests.

#include "fakes/simulated_drive.h"

namespace larkspur::fakes {

// Looks at every byte of the request and answers it.
bool AnswerPassThrough(SimulatedDrive& drive, u32 code, std::span<const u8> in, std::span<u8> out,
                       u32* returned);

}  // namespace larkspur::fakes
