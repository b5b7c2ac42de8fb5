// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/model/drive_rows.h"

#include <gtest/gtest.h>

#include "base/path_text.h"
#include "devices/device_kind.h"

namespace larkspur {
namespace {

TEST(DriveRows, SayWhatADriveIsAndWhatIsSpecialAboutIt) {
  const DriveWords words{u"removable", u"optical", u"read-only", u"system", u"mounted"};
  std::vector<DeviceFacts> drives(4);
  drives[0].path = u"C";
  drives[0].kind = kKindAta;
  drives[0].bytes = u64{1} << 40;
  drives[0].isMounted = true;
  drives[1].path = u"U";
  drives[1].kind = kKindUsbRemovable;
  drives[1].model = u"Stick";
  drives[1].serial = u"S1";
  drives[1].bytes = 1536;
  drives[1].isRemovable = drives[1].isMounted = true;
  drives[2].path = u"D";
  drives[2].isOptical = drives[2].isReadOnly = true;
  std::string text;
  for (const DriveRow& row :
       DriveRows(drives, words, [](const auto& path) { return path == u"C"; }))
    for (const auto& cell : {row.path, row.model, row.serial, row.size, row.notes + u"\n"})
      text += "|" + Utf8FromWide(cell);
  EXPECT_EQ(text,
            "|C|||1.0 TiB|ATA, system\n"
            "|U|Stick|S1|1.5 KiB|USB, removable, mounted\n"
            "|D|||-|optical, read-only\n"
            "||||-|\n");
}

}  // namespace
}  // namespace larkspur
