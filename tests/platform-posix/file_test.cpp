// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// What file systems may refuse without harm.

#include "platform/file.h"

#include <gtest/gtest.h>

#include "fakes/temp_folder.h"
#include "platform/system_error.h"

namespace larkspur::platform {
namespace {

TEST(FreeBytes, AreNotNoneWhereNobodyKnows) {
  EXPECT_GT(FreeBytes(u".").value_or(0), 0u);
  EXPECT_EQ(FreeBytes(u"/proc"), std::nullopt);
  EXPECT_EQ(FreeBytes(u"/nowhere"), std::nullopt);
}

// A file that is open for reading is refused the call, as by a file system that does not know it.
TEST(ReserveRoom, AsksWhatIsFreeWhereItCannotSetAside) {
  constexpr u64 kBytes = 1 << 20, kTooMuch = u64{1} << 60;
  const fakes::TempFolder folder;
  ASSERT_TRUE(folder.Exists());
  const std::u16string full = folder.File(u"full"), holes = folder.File(u"holes");
  ASSERT_TRUE(fakes::WriteWholeFile(full, std::vector<u8>(kBytes, 1)));
  ASSERT_TRUE(fakes::WriteWholeFile(holes, {1}));
  const OwnedFile grown(OpenExistingFile(holes.c_str(), kOpenRead | kOpenWrite));
  ASSERT_TRUE(SetFileSize(grown.Handle(), kBytes));
  const struct {
    std::u16string path;
    u64 bytes;
    bool hasRoom;
  } cases[] = {{full, kTooMuch, true},
               {holes, 1, true},
               {holes, kTooMuch, false},
               {u"/sys/kernel/uevent_seqnum", kTooMuch, true}};  // nobody knows
  for (const auto& c : cases) {
    const OwnedFile file(OpenExistingFile(c.path.c_str(), kOpenRead));
    if (c.path.starts_with(u"/sys") && !file.IsOpen()) continue;  // a container may lack it
    EXPECT_TRUE(file.IsOpen());
    SetLastFailure(0);
    EXPECT_EQ(ReserveRoom(file.Handle(), 0, c.bytes), c.hasRoom) << c.bytes;
    EXPECT_EQ(IsDiskFull(LastFailure()), !c.hasRoom);
  }
}

TEST(SyncFolder, FailsForFoldersThatAreNotThereAlone) {
  const fakes::TempFolder folder;
  ASSERT_TRUE(folder.Exists());
  EXPECT_TRUE(SyncFolderOf(folder.File(u"any").c_str()));
  EXPECT_TRUE(SyncFolderOf(u"any"));
  EXPECT_TRUE(SyncFolderOf(u"/proc/self/any")) << "it knows no flushing";
  EXPECT_FALSE(SyncFolderOf(folder.File(u"none/any").c_str()));
}

}  // namespace
}  // namespace larkspur::platform
