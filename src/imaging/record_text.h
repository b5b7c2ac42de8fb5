// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The records of a partition tree, in words for people.

#include <string>

#include "partitions/part_records.h"

namespace larkspur {

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
