// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/model/drive_rows.h"

#include <algorithm>

#include "base/path_text.h"
#include "base/size_text.h"
#include "devices/device_kind.h"

namespace larkspur {
namespace {

std::string AttachmentOf(const DeviceFacts& drive) {
  if (drive.kind == kKindNone && drive.bus == 0) return {};
  // That the medium can be removed is a note of its own.
  return AttachmentName(drive.kind == kKindUsbRemovable ? u32{kKindUsb} : drive.kind, drive.bus);
}

}  // namespace

std::vector<DriveRow> DriveRows(const std::vector<DeviceFacts>& drives, const DriveWords& words,
                                const std::function<bool(const std::u16string&)>& isSystem) {
  std::vector<DriveRow> rows;
  for (const DeviceFacts& drive : drives) {
    std::u16string notes = WideFromUtf8(AttachmentOf(drive));
    const auto note = [&notes](bool applies, const std::u16string& text) {
      if (applies) notes += (notes.empty() ? u"" : u", ") + text;
    };
    const bool runsSystem = isSystem(drive.path);
    note(drive.isOptical, words.optical);
    note(drive.isRemovable, words.removable);
    note(drive.isReadOnly, words.readOnly);
    note(runsSystem, words.system);
    note(drive.isMounted && !runsSystem, words.mounted);
    const std::string size = drive.bytes > 0 ? SizeText(drive.bytes) : "-";
    rows.push_back({drive.path, drive.model, drive.serial, WideFromUtf8(size), notes, runsSystem});
  }
  return rows;
}

u32 RowToOffer(const std::vector<DriveRow>& rows) {
  const auto other =
      std::find_if(rows.begin(), rows.end(), [](const DriveRow& row) { return !row.isSystem; });
  return other == rows.end() ? 0 : static_cast<u32>(other - rows.begin());
}

}  // namespace larkspur
