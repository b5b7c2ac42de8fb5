// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Notes beside a partition tree, in words for people.

#include <string>

#include "partitions/notes.h"

namespace larkspur {

// `ext4 "backup", 0a3d5f2c-...`; `EFI system partition "boot"`; one phrase without a stop.
std::string NoteText(const Note& note);

// What kind of note it is, in one word for programs.
std::string_view NoteKind(const Note& note);

// The words for programs.
std::string_view GptStateName(GptState state);
std::string_view BudgetName(Budget budget);

}  // namespace larkspur
