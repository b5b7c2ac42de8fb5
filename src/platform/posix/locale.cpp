// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/locale.h"

namespace larkspur::platform {

u32 AnsiCodePage() {
  return 65001;
}

}  // namespace larkspur::platform
