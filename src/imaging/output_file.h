// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The rule about every file that is written for the user: nothing is overwritten unasked, nothing
// that the run itself works on is overwritten at all, and a device takes no file's contents.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "platform/file.h"

namespace larkspur {

enum class OutputFaultKind {
  kExists,        // and may not be replaced
  kInput,         // it is what the run reads, its cache or the cache's log
  kInUse,         // another run is working on this file: a cache, a log
  kOnSourceDisk,  // what is written there may fall on what is to be saved
  kDevice,        // or a pipe, or anything else that is no file
  kFolder,
  kDeadLink,    // a link to what is not there
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

// What no output may overwrite where a run works on the cache at that path: the cache, its log, and
// the file that it was made from.
std::vector<std::u16string> FilesOfCache(const std::u16string& cache);

// Why nothing may be written to `path`, as far as can be said before it is opened. `inputs` are the
// paths that the run works on, or will; empty ones are none.
std::optional<OutputFault> FaultOfOutput(const std::u16string& path, bool replace,
                                         const std::vector<std::u16string>& inputs);

// Makes the file at `path`, or with `replace` empties the one that is there.
Result<OutputFile, OutputFault> OpenOutputFile(const std::u16string& path, bool replace,
                                               const std::vector<std::u16string>& inputs);

// Writes all bytes at the file's beginning and flushes them to disk; false with the system's error
// in platform::LastFailure().
bool WriteOutput(const platform::OwnedFile& file, std::string_view bytes);

// A file that takes its name only when it is whole, so that a crash leaves nothing half-made under
// that name. Until then it lies beside it under a name that nothing had; it goes with this object
// if it never took its own.
class UnfinishedFile {
 public:
  // Makes it; not open when that fails: platform::LastFailure() says why.
  explicit UnfinishedFile(const std::u16string& path);
  UnfinishedFile(const UnfinishedFile&) = delete;
  UnfinishedFile& operator=(const UnfinishedFile&) = delete;
  ~UnfinishedFile();  // keeps platform::LastFailure()

  const platform::OwnedFile& File() const { return m_file; }
  bool IsOpen() const { return m_file.IsOpen(); }
  // Where it lies until it takes its name.
  const std::u16string& Path() const { return m_unfinished; }

  // Closes it and gives it its name, flushed to disk; what was written to it is flushed by the
  // caller. Without `replace` it fails where something has the name already. False with the
  // system's error in platform::LastFailure(), and then nothing has changed under that name, but
  // that with `replace` a name that cannot be flushed to disk is taken.
  bool TakeName(bool replace);

 private:
  const std::u16string m_path;
  std::u16string m_unfinished;  // empty once it has its name
  platform::OwnedFile m_file;
};

// Puts a file with these bytes in the place of the one at `path`, in one step; false with the
// system's error in platform::LastFailure(), as UnfinishedFile::TakeName has it.
bool ReplaceOutput(const std::u16string& path, std::string_view bytes);

}  // namespace larkspur
