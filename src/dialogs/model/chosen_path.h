// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What a name means that a person typed into the file chooser, and what becomes of a new folder.

#include <string>
#include <string_view>
#include <vector>

#include "platform/folders.h"

namespace larkspur {

// `name` below `folder`; a name that begins at a drive, a share or a root stands alone.
std::u16string JoinPath(std::u16string_view folder, std::u16string_view name);

// The folder that holds `path`; empty above a drive's root and above a share.
std::u16string ParentFolder(std::u16string_view path);

// What the file is for that is being named.
enum class FileUse {
  kOpen,      // it has to be there
  kReplace,   // it is written: the user is asked before one that is there is lost
  kContinue,  // it is made, or resumed where it is there
};

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

// `typed` in the folder `current`. A name that does not end in `extension` gets it, whatever dots
// it has of its own, unless a file goes by the name as it is.
ChosenPath DecideChosenPath(std::u16string_view typed, std::u16string_view current,
                            std::u16string_view extension, FileUse use,
                            platform::cFolders& folders);

enum class NewFolderOutcome { kNothing, kMade, kNameOfFile, kNameOfFolder, kNameOfOther, kFailed };

struct NewFolder {
  NewFolderOutcome outcome = NewFolderOutcome::kNothing;
  std::u16string path;
};

// Makes the folder `name` in `current`.
NewFolder MakeNewFolder(std::u16string_view name, std::u16string_view current,
                        platform::cFolders& folders);

// Where the file chooser is, what lies above, and where it came from. A folder counts once it has
// been read, so arriving is all that happens here.
class cNavigationProvider {
 public:
  // Empty before the first arrival.
  const std::u16string& Current() const { return m_current; }
  // Empty where there is nothing above.
  std::u16string Parent() const;
  // Empty before the second arrival.
  std::u16string Previous() const { return m_before.empty() ? std::u16string() : m_before.back(); }

  // Arriving where one came from takes the last step back.
  void Arrive(const std::u16string& folder);

 private:
  std::u16string m_current;
  std::vector<std::u16string> m_before;
};

}  // namespace larkspur
