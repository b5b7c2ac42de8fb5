// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The rule about every file that is written for the user: nothing is overwritten unasked, nothing
// that the run itself works on is overwritten at all, and a device takes no file's contents.

#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "platform/owned_file.h"

namespace larkspur {

enum class OutputFaultKind {
  kExists,        // and may not be replaced
  kInput,         // it is what the run reads, its cache or the cache's log
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

// An output, and what becomes of it when it cannot be written.
class OutputFile {
 public:
  OutputFile() = default;
  // `madeAt`: its path; empty when another file was replaced by it.
  OutputFile(platform::OwnedFile file, std::u16string madeAt)
      : m_file(std::move(file)), m_madeAt(std::move(madeAt)) {}

  const platform::OwnedFile& File() const { return m_file; }
  bool IsOpen() const { return m_file.IsOpen(); }
  // Closes it, and leaves no new file, which the next try would not replace unasked. Keeps
  // platform::LastFailure().
  void Discard();

 private:
  platform::OwnedFile m_file;
  std::u16string m_madeAt;
};

// Makes the file at `path`, or with `replace` empties the one that is there. `inputs` are the paths
// that the run works on, or will.
Result<OutputFile, OutputFault> OpenOutputFile(const std::u16string& path, bool replace,
                                               const std::vector<std::u16string>& inputs);

// Writes all bytes at the file's beginning and flushes them to disk; false with the system's error
// in platform::LastFailure().
bool WriteOutput(const platform::OwnedFile& file, std::string_view bytes);

// Makes a file beside `path` under a name that nothing had, for what takes the name `path` when it
// is whole; `unfinished` learns that name. Not open when that fails, with the system's error.
platform::OwnedFile MakeUnfinished(const std::u16string& path, std::u16string* unfinished);

// Puts a file with these bytes in the place of the one at `path`, in one step; false with the
// system's error in platform::LastFailure(), and then the old one is there still.
bool ReplaceOutput(const std::u16string& path, std::string_view bytes);

}  // namespace larkspur
