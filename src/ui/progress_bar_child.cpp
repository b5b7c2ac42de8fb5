// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/progress_bar_child.h"

#include <algorithm>

namespace larkspur {
namespace {

constexpr i32 kSteps = 1000;

}  // namespace

void cProgressBarChild::OnCreate() {
  Send(PBM_SETRANGE32, 0, kSteps);
}

void cProgressBarChild::SetShare(double share) {
  Send(PBM_SETPOS, static_cast<WPARAM>(std::clamp(share, 0.0, 1.0) * kSteps));
}

}  // namespace larkspur
