// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A rescue log as people are told of it, by every face.

#include <string>

#include "rescue/rescue_history.h"

namespace larkspur {

// The kinds of failures, in the order in which they are told.
constexpr FailureKind kLoggedKinds[] = {FailureKind::kMedium, FailureKind::kUnclear,
                                        FailureKind::kTransport, FailureKind::kGone,
                                        FailureKind::kSystem};
u64 CountOf(const RescueHistory& history, FailureKind kind);
// How many sectors failed, together with others or alone, each counted once.
u64 TriedSectors(const RescueHistory& history);

inline constexpr char kNoLogWords[] = "there is no log, or it is empty";
// "2 lines cannot be understood and are ignored; the first is line 7". REQUIRES: there are some
std::string WrongLinesText(const RescueHistory& history);

// The disk, the runs, the failures and the slowest of them, in lines that end with "\n" and are at
// most so wide, but for what the disk and the log call themselves.
constexpr i32 kHistoryColumns = 94;
std::string HistoryText(const RescueHistory& history);

}  // namespace larkspur
