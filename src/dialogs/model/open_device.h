// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include "base/owned.h"
#include "dialogs/model/device_path.h"
#include "io/base_io.h"

namespace larkspur {

// Opens what was decided on for reading; null when it was refused or does not open. An optical
// drive delivers no sector that it could not read: what is read here is kept.
Owned<cBaseIO> OpenDevice(const DevicePath& device);

}  // namespace larkspur
