// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/path_text.h"
#include "cli/commands.h"
#include "fakes/temp_folder.h"
#include "imaging/asked_source_test.h"

namespace larkspur::cli {
namespace {

using TreeCommand = AskedSourceTest;

// Whether the system gives the drive no size, or a wrong one.
TEST_F(TreeCommand, SectorsOfOddSizesAreReadThroughACacheOnly) {
  for (const u64 told : {u64{0}, u64{4000} * 520}) {
    const fakes::TempFolder folder;
    fakes::SimulatedDrive* drive = MakeScsiDrive(520);
    drive->lengthBytes = told;
    drive->geometrySectorBytes = 512;
    TreeOptions options;
    options.source = Utf8FromWide(drive->path);
    testing::internal::CaptureStderr();
    EXPECT_EQ(RunTree(options), kExitFailed);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "larkspur: " + options.source +
                  ": sectors of 520 bytes are only read into a cache; name one with --cache\n");
    options.cache = Utf8FromWide(folder.File(u"cache"));
    testing::internal::CaptureStdout();
    EXPECT_EQ(RunTree(options), kExitDone);
    EXPECT_NE(testing::internal::GetCapturedStdout().find("4000"), std::string::npos);
  }
}

}  // namespace
}  // namespace larkspur::cli
