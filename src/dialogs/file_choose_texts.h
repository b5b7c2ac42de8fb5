// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The items of "ciom::filechoose" by their use; the first four are the new-folder request's.

#include "ui/texts.h"

namespace larkspur {

enum class FileChooseText : size_t {
  kAccept = 1,
  kCancel = 2,
  kHome = 4,
  kPlaces = 5,
  kNewFolder = 6,
  kName = 7,
  kDate = 8,
  kType = 9,
  kSize = 10,
  kFileName = 11,
  kAllFiles = 12,
  kSave = 13,
  kOpen = 14,
  kFileFolder = 16,
  kFile = 17,
  kFileExists = 19,
  kFolderExists = 20,
  kFolderNotMade = 21,
  kSpecialExists = 22,
  kFilter = 23,
  kCustom = 24,
};

// The items of "ciom::filenotes".
enum class FileNote : size_t {
  kReplaceIt = 0,
  kNotThere = 1,
  kNoFolder = 2,
  kNotAllowed = 3,
  kNotReady = 4,
  kUnreadable = 5,  // with the system's number
};

constexpr char kFileChooseKey[] = "ciom::filechoose";

inline std::u16string TextOf(FileChooseText item) {
  return TextOf(kFileChooseKey, static_cast<size_t>(item));
}

inline std::u16string TextOf(FileNote item) {
  return TextOf("ciom::filenotes", static_cast<size_t>(item));
}

}  // namespace larkspur
