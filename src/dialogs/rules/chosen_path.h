// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What a name means that a person typed into the file chooser, and what becomes of a new folder.

#include <string>
#include <string_view>

#include "platform/folders.h"

namespace larkspur {

// `name` below `folder`; a name that begins at a drive, a share or a root stands alone.
std::u16string JoinPath(std::u16string_view folder, std::u16string_view name);

// The folder that holds `path`; empty above a drive's root and above a share.
std::u16string ParentFolder(std::u16string_view path);

enum class ChosenKind {
  kNothing,       // no name: nothing happens
  kPattern,       // `path` is a pattern for the names to show
  kFolder,        // `path` is a folder to go to
  kFile,          // `path` is the choice
  kAskOverwrite,  // the same, but a file of this name is there already
  kAskFolder,     // a folder of this name is there: go to it?
  kMissing,       // the file, or the folder it would be in, is not there
  kSpecial,       // something that is neither
};

struct ChosenPath {
  ChosenKind kind = ChosenKind::kNothing;
  std::u16string path;
};

// `typed` in the folder `current`. A name without an extension gets `extension` unless a file goes
// by it as it is. With `isNew` the file need not be there.
ChosenPath DecideChosenPath(std::u16string_view typed, std::u16string_view current,
                            std::u16string_view extension, bool isNew, platform::cFolders& folders);

enum class NewFolderAnswer { kNothing, kMade, kNameOfFile, kNameOfFolder, kNameOfOther, kFailed };

struct NewFolder {
  NewFolderAnswer answer = NewFolderAnswer::kNothing;
  std::u16string path;
};

// Makes the folder `name` in `current`.
NewFolder MakeNewFolder(std::u16string_view name, std::u16string_view current,
                        platform::cFolders& folders);

}  // namespace larkspur
