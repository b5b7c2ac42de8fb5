// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A child that the user sets to a value, and someone who wants to know when that happens.

#include <functional>

#include "ui/child.h"

namespace larkspur {

class cValueChild : public cChild {
 public:
  // Called when the user has changed the value, not when the program sets it.
  std::function<void()> onChange;

 protected:
  using cChild::cChild;

  void TellChange() const {
    if (onChange) onChange();
  }
};

}  // namespace larkspur
