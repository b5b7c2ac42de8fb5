// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The drives of this machine, as rows of a list.

#include <functional>
#include <string>
#include <vector>

#include "devices/device_list.h"

namespace larkspur {

struct DriveRow {
  std::u16string path, model, serial, size;
  std::u16string notes;  // how it is attached, and what is special about it
  bool isSystem = false;
};

// What may be special about a drive, in the user's language.
struct DriveWords {
  std::u16string removable, optical, readOnly, system, mounted;
};

// A row for each drive, in their order. `isSystem` answers whether the system runs from the drive
// at that path: it is mounted then, and told from the others.
std::vector<DriveRow> DriveRows(const std::vector<DeviceFacts>& drives, const DriveWords& words,
                                const std::function<bool(const std::u16string&)>& isSystem);

// The row to offer: the first that the system does not run from; the first where there is no other.
u32 RowToOffer(const std::vector<DriveRow>& rows);

}  // namespace larkspur
