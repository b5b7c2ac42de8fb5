// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What a partition tree says beside its nodes' places, in words for people: the records of nodes,
// and the notes beside the tree.

#include <string>
#include <vector>

#include "partitions/notes.h"
#include "partitions/part_records.h"

namespace larkspur {

// `ext4 "backup", 0a3d5f2c-...`; `EFI system partition "boot"`; one phrase without a stop.
std::string NoteText(const Note& note);

// The words of a node's notes, a line each; what is unread in many places is one line.
std::vector<std::string> NoteLines(const std::vector<Note>& notes);

// What kind of note it is, in one word for programs.
std::string_view NoteKind(const Note& note);

// The words for programs.
std::string_view GptStateName(GptState state);
std::string_view BudgetName(Budget budget);

// Whose objects the records are. Those of a module that another compiler built are read as data, at
// the places that the contract fixes, and not beyond; only GetKind is called.
enum class Records { kOurs, kAnyModules };

// `piece 0 of 2 of raid1 "name", blocks of 64.0 KiB, set 0123...`; one phrase without a stop, empty
// for records that tell people nothing.
std::string RecordText(cPartExtension* record, Records whose);

// The text of a node or record, cut where it is longer than any real one: another module's may lack
// an end.
std::string TextOf(const cWideString& text);

// A member's level in the words of its format; empty where it gives none. REQUIRES: it is ours.
std::string RaidLevel(const cPartSoftRAIDInfo& raid);

}  // namespace larkspur
