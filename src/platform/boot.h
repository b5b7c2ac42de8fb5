// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Whether what was written may have been lost since: what names a machine's start, and the stay of
// a medium in it.

#include <string>

namespace larkspur::platform {

// What names the time since this machine last started; another one after it was switched off. May
// also change while it runs, and then says less than it could.
std::string BootId();

// What names the stay of a file's medium in this machine: another one after the medium was away, or
// its file system was mounted again. May also change without that, and then says less than it
// could; empty where the system does not tell.
std::string MediumStay(const char16_t* file);

}  // namespace larkspur::platform
