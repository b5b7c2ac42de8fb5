// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// How far something has come, as a bar.

#include "ui/child.h"

namespace larkspur {

class cProgressBarChild : public cChild {
 public:
  cProgressBarChild() : cChild(PROGRESS_CLASSW, PBS_SMOOTH) {}

  // 0 to 1.
  void SetShare(double share);

 private:
  void OnCreate() override;
};

}  // namespace larkspur
