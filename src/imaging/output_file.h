// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The rule about every file that is written for the user: nothing is overwritten unasked, nothing
// that the run itself works on is overwritten at all, and a device takes no file's contents.

#include <initializer_list>
#include <string>
#include <string_view>

#include "base/result.h"
#include "platform/owned_file.h"

namespace larkspur {

enum class OutputFaultKind {
  kExists,        // and may not be replaced
  kInput,         // it is what the run reads, or its cache
  kInUse,         // another run is working on this file
  kOnSourceDisk,  // what is written there may fall on what is to be saved
  kDevice,        // or a pipe, or anything else that is no file
  kFolder,
  kCannotMake,  // systemError says why
};

struct OutputFault {
  OutputFaultKind kind;
  u32 systemError = 0;
};

// Makes the file at `path`, or with `replace` empties the one that is there. `inputs` are the paths
// that the run works on.
Result<platform::OwnedFile, OutputFault> OpenOutputFile(
    const std::u16string& path, bool replace, std::initializer_list<std::u16string> inputs);

// Writes all bytes at the file's beginning and flushes them to disk; false with the system's error
// in platform::LastFailure().
bool WriteOutput(const platform::OwnedFile& file, std::string_view bytes);

// Where ReplaceOutput writes what will be the file at `path`.
std::u16string UnfinishedName(const std::u16string& path);

// Puts a file with these bytes in the place of the one at `path`, in one step; false with the
// system's error in platform::LastFailure(), and then the old one is there still.
bool ReplaceOutput(const std::u16string& path, std::string_view bytes);

}  // namespace larkspur
