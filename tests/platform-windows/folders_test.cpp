// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/folders.h"

#include <gtest/gtest.h>

#include "fakes/temp_folder.h"
#include "platform/volumes.h"

namespace larkspur {
namespace {

TEST(WindowsFolders, KnowReservedNames) {
  platform::cFolders& folders = platform::SystemFolders();
  EXPECT_EQ(folders.KindOf(u"NUL"), platform::PathKind::kDevice);
  EXPECT_EQ(folders.KindOf(u"\\\\.\\C:"), platform::PathKind::kDevice);
  EXPECT_EQ(folders.KindOf(u"C:\\"), platform::PathKind::kFolder);
}

TEST(WindowsVolumes, KnowTheSystemDrive) {
  platform::cVolumes& volumes = platform::SystemVolumes();
  EXPECT_EQ(volumes.TypeOf(u"C:\\"), platform::kDriveFixed);
  EXPECT_EQ(volumes.TypeOf(u"?:\\"), platform::kDriveNoRoot);
  EXPECT_GT(volumes.TotalBytes(u"C:\\").value_or(0), 0u);
  EXPECT_EQ(volumes.TotalBytes(u"?:\\"), std::nullopt);
  EXPECT_EQ(volumes.MountedAt(u"C:\\windows\\"), u"");
  EXPECT_EQ(volumes.MountedAt(u""), u"");
}

TEST(WindowsVolumes, ListConnectionsAndComeToAnEnd) {
  platform::SystemVolumes().VisitConnections([](const platform::NetworkConnection& connection) {
    EXPECT_FALSE(connection.remoteName.empty() && connection.localName.empty());
  });
}

TEST(WindowsEnvironment, HoldsToTheLimit) {
  EXPECT_EQ(platform::EnvironmentText(u"LARKSPUR_TEST_NONE", 10), std::nullopt);
  const auto root = platform::EnvironmentText(u"SystemRoot", 260);
  ASSERT_TRUE(root);
  EXPECT_EQ(platform::EnvironmentText(u"SystemRoot", root->size()), root);
  EXPECT_EQ(platform::EnvironmentText(u"SystemRoot", root->size() - 1), std::nullopt);
}

}  // namespace
}  // namespace larkspur
