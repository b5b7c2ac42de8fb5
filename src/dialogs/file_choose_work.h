// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What the file chooser asks of drives and servers, each of which may take its time: done on
// threads of their own, answered by letters to the form.

#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "dialogs/model/chosen_path.h"
#include "dialogs/model/places.h"
#include "ui/detached_work.h"

namespace larkspur {

struct PlaceFound {
  FilePlace place;
};

// `turn` is the number of the question: what was asked for before a later question is of no use.
struct FolderRead {
  u32 turn = 0;
  std::u16string folder;
  std::vector<platform::FolderEntry> entries;
  u32 systemError = 0;  // why the folder could not be read; 0 when it was
};

struct NameDecided {
  u32 turn = 0;
  ChosenPath chosen;
};

struct FolderMade {
  u32 turn = 0;
  NewFolder made;
};

using ChooserLetter = std::variant<PlaceFound, FolderRead, NameDecided, FolderMade>;
using ChooserMail = std::shared_ptr<cMailbox<ChooserLetter>>;

struct NameQuestion {
  std::u16string typed, current, extension;
  FileUse use = FileUse::kOpen;
};

// Each answers false when no thread is to be had.
bool FindPlaces(const ChooserMail& mail);
// Connects an offline place first.
bool ReadFolder(const ChooserMail& mail, u32 turn, const std::u16string& folder,
                const std::optional<platform::NetworkConnection>& offline);
bool DecideName(const ChooserMail& mail, u32 turn, const NameQuestion& question);
bool MakeFolder(const ChooserMail& mail, u32 turn, const std::u16string& name,
                const std::u16string& current);

}  // namespace larkspur
