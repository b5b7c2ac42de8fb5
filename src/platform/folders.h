// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Folders as a person looks through them. As with volumes, a question may wait long.

#include <functional>
#include <optional>
#include <string>

#include "base/types.h"
#include "platform/file.h"

namespace larkspur::platform {

// A time of day by the clock on the wall.
struct CalendarTime {
  u16 year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
};

struct FolderEntry {
  std::u16string name;
  bool isFolder = false;
  u64 sizeBytes = 0;     // of a file
  u64 writtenAt = 0;     // orders entries by their last change; the unit is the system's
  CalendarTime written;  // the same in local time
};

class cFolders {
 public:
  virtual PathKind KindOf(const std::u16string& path) = 0;
  // Calls `visit` for each entry but "." and ".." until it answers false. False when the folder
  // cannot be read, or not to its end.
  virtual bool Visit(const std::u16string& folder,
                     const std::function<bool(const FolderEntry&)>& visit) = 0;
  // False as well when the name is taken.
  virtual bool Make(const std::u16string& folder) = 0;

 protected:
  ~cFolders() = default;
};

cFolders& SystemFolders();

// An environment variable of at most `limit` characters; nothing when it is absent or longer.
std::optional<std::u16string> EnvironmentText(const char16_t* name, size_t limit);

}  // namespace larkspur::platform
