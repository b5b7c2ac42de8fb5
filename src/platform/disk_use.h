// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What uses a disk beside us. A disk that is read for the last time should be neither mounted nor
// written to. Both ask the system only, and answer false where it does not tell.

namespace larkspur::platform {

// Whether anything on the disk that `device` is, or is a part of, is mounted (or swapped to).
bool IsDiskMounted(const char16_t* device);

// Whether a file, which need not exist yet, lies on the disk that `device` is, or is a part of.
bool IsFileOnDisk(const char16_t* file, const char16_t* device);

}  // namespace larkspur::platform
