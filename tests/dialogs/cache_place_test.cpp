// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <gtest/gtest.h>

#include "base/path_text.h"
#include "dialogs/model/define_storage.h"

namespace larkspur {
namespace {

TEST(CachePlace, ADescriptionTellsItsDevice) {
  const struct {
    const char16_t* description;
    const char16_t* device;
  } cases[] = {
      {u"Drive1: Fixed ACME Barracuda 2000GB (SAT)", u"\\\\.\\PhysicalDrive1"},
      {u"PhysicalDrive12: Fixed ACME", u"\\\\.\\PhysicalDrive12"},
      {u"Drive C: ACME: a disk", u"\\\\.\\C:"},
      {u"\\\\?\\Volume{0a}: ACME", u"\\\\?\\Volume{0a}"},
      {u"C:\\images\\disk.img", u""},
      {u"Drives: many", u""},
      {u"Drive: none", u""},
      {u": nothing", u""},
      {u"a plain name", u""},
      {u"", u""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(DeviceOfDescription(c.description), c.device) << Utf8FromWide(c.description);
  }
}

}  // namespace
}  // namespace larkspur
