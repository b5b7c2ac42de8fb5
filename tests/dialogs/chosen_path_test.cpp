// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/model/chosen_path.h"

#include <gtest/gtest.h>

#include "base/path_text.h"
#include "fakes/fake_folders.h"

namespace larkspur {
namespace {

using platform::PathKind;

fakes::FakeFolders SomeFolders() {
  fakes::FakeFolders folders;
  folders.kinds = {{u"C:\\", PathKind::kFolder},
                   {u"C:\\here", PathKind::kFolder},
                   {u"C:\\here\\sub", PathKind::kFolder},
                   {u"C:\\here\\sub\\", PathKind::kFolder},
                   {u"C:\\here\\old.kvrsp", PathKind::kFile},
                   {u"C:\\here\\bare", PathKind::kFile},
                   {u"C:\\here\\box.kvrsp", PathKind::kFolder},
                   {u"C:\\here\\NUL", PathKind::kDevice},
                   {u"C:\\here\\odd", PathKind::kOther},
                   {u"C:\\here\\no\"name", PathKind::kUnknown},
                   {u"\\\\nas\\share", PathKind::kFolder}};
  return folders;
}

std::string Told(const ChosenPath& chosen) {
  constexpr const char* kWords[] = {"nothing",   "pattern",    "folder",  "file",
                                    "overwrite", "ask folder", "missing", "special"};
  return std::string(kWords[static_cast<int>(chosen.kind)]) + " " + Utf8FromWide(chosen.path);
}

TEST(ChosenPath, IsDecidedFromWhatWasTyped) {
  const struct {
    const char16_t* typed;
    const char* asNew;
    const char* asExisting;
  } cases[] = {
      {u"", "nothing ", "nothing "},
      {u"  \" ", "nothing ", "nothing "},
      {u"new", "file C:\\here\\new.kvrsp", "missing C:\\here\\new.kvrsp"},
      {u" \"new disk\" ", "file C:\\here\\new disk.kvrsp", "missing C:\\here\\new disk.kvrsp"},
      {u"new.2024", "file C:\\here\\new.2024.kvrsp", "missing C:\\here\\new.2024.kvrsp"},
      {u"new.KVRSP", "file C:\\here\\new.KVRSP", "missing C:\\here\\new.KVRSP"},
      {u"newkvrsp", "file C:\\here\\newkvrsp.kvrsp", "missing C:\\here\\newkvrsp.kvrsp"},
      {u"old", "overwrite C:\\here\\old.kvrsp", "file C:\\here\\old.kvrsp"},
      {u"old.kvrsp", "overwrite C:\\here\\old.kvrsp", "file C:\\here\\old.kvrsp"},
      {u"bare", "overwrite C:\\here\\bare", "file C:\\here\\bare"},
      {u"sub", "folder C:\\here\\sub", "folder C:\\here\\sub"},
      {u"sub/", "folder C:\\here\\sub", "folder C:\\here\\sub"},
      {u"sub\\x", "file C:\\here\\sub\\x.kvrsp", "missing C:\\here\\sub\\x.kvrsp"},
      {u"none\\x", "missing C:\\here\\none\\x.kvrsp", "missing C:\\here\\none\\x.kvrsp"},
      {u"none\\", "missing C:\\here\\none\\", "missing C:\\here\\none\\"},
      {u"box", "ask folder C:\\here\\box.kvrsp", "ask folder C:\\here\\box.kvrsp"},
      {u"NUL", "special C:\\here\\NUL", "special C:\\here\\NUL"},
      {u"odd", "special C:\\here\\odd", "special C:\\here\\odd"},
      {u"no\"name", "missing C:\\here\\no\"name", "missing C:\\here\\no\"name"},
      {u"C:", "folder C:\\", "folder C:\\"},
      {u"C:\\here", "folder C:\\here", "folder C:\\here"},
      {u"c:/", "missing c:\\", "missing c:\\"},  // the fake knows one letter case
      {u"\\here", "folder C:\\here", "folder C:\\here"},
      {u"\\top", "file C:\\top.kvrsp", "missing C:\\top.kvrsp"},
      {u"\\\\nas\\share\\x", "file \\\\nas\\share\\x.kvrsp", "missing \\\\nas\\share\\x.kvrsp"},
      {u"*.img", "pattern *.img", "pattern *.img"},
      {u"a?c", "pattern a?c", "pattern a?c"},
  };
  fakes::FakeFolders folders = SomeFolders();
  for (const auto& c : cases) {
    const auto decided = [&](FileUse use) {
      return Told(DecideChosenPath(c.typed, u"C:\\here", u"kvrsp", use, folders));
    };
    EXPECT_EQ(decided(FileUse::kReplace), c.asNew);
    EXPECT_EQ(decided(FileUse::kOpen), c.asExisting);
    // What is resumed is lost to no one.
    std::string resumed = c.asNew;
    if (resumed.starts_with("overwrite")) resumed.replace(0, 9, "file");
    EXPECT_EQ(decided(FileUse::kContinue), resumed);
  }
}

TEST(ChosenPath, GetsNoExtensionFromAFilterWithoutOne) {
  fakes::FakeFolders folders = SomeFolders();
  EXPECT_EQ(Told(DecideChosenPath(u"new", u"C:\\here", u"", FileUse::kReplace, folders)),
            "file C:\\here\\new");
}

TEST(NewFolder, IsMadeUnlessItsNameIsTaken) {
  const struct {
    const char16_t* name;
    NewFolderAnswer answer;
    const char16_t* path;
  } cases[] = {
      {u"", NewFolderAnswer::kNothing, u""},
      {u" \" ", NewFolderAnswer::kNothing, u""},
      {u"new", NewFolderAnswer::kMade, u"C:\\here\\new"},
      {u" new ", NewFolderAnswer::kMade, u"C:\\here\\new"},
      {u"bare", NewFolderAnswer::kNameOfFile, u"C:\\here\\bare"},
      {u"sub", NewFolderAnswer::kNameOfFolder, u"C:\\here\\sub"},
      {u"sub\\", NewFolderAnswer::kNameOfFolder, u"C:\\here\\sub"},
      {u"NUL", NewFolderAnswer::kNameOfOther, u"C:\\here\\NUL"},
      {u"odd", NewFolderAnswer::kNameOfOther, u"C:\\here\\odd"},
      {u"no\"name", NewFolderAnswer::kFailed, u"C:\\here\\no\"name"},
  };
  for (const auto& c : cases) {
    fakes::FakeFolders folders = SomeFolders();
    const NewFolder made = MakeNewFolder(c.name, u"C:\\here", folders);
    EXPECT_EQ(made.answer, c.answer) << Utf8FromWide(c.name);
    EXPECT_EQ(made.path, c.path);
    EXPECT_EQ(folders.made, c.answer == NewFolderAnswer::kMade ? c.path : u"");
  }
  fakes::FakeFolders folders = SomeFolders();
  folders.makes = false;
  EXPECT_EQ(MakeNewFolder(u"new", u"C:\\here", folders).answer, NewFolderAnswer::kFailed);
}

TEST(Paths, HaveParentsUpToTheDriveOrShare) {
  const struct {
    const char16_t* path;
    const char16_t* parent;
  } cases[] = {{u"C:\\a\\b", u"C:\\a"},
               {u"C:\\a\\b\\", u"C:\\a"},
               {u"C:\\a", u"C:\\"},
               {u"C:\\", u""},
               {u"C:", u""},
               {u"\\\\nas\\share\\a", u"\\\\nas\\share"},
               {u"\\\\nas\\share", u""},
               {u"\\\\nas", u""},
               {u"", u""},
               {u"\\", u""}};
  for (const auto& c : cases) EXPECT_EQ(ParentFolder(c.path), c.parent) << Utf8FromWide(c.path);
}

TEST(Navigation, KnowsTheWayUpAndBack) {
  cNavigationProvider provider;
  EXPECT_EQ(provider.Parent(), u"");
  EXPECT_EQ(provider.Previous(), u"");
  provider.Arrive(u"C:\\a\\b");
  provider.Arrive(u"C:\\a\\b");
  EXPECT_EQ(provider.Previous(), u"");  // nothing was there before
  EXPECT_EQ(provider.Parent(), u"C:\\a");
  provider.Arrive(provider.Parent());
  provider.Arrive(provider.Parent());
  EXPECT_EQ(provider.Current(), u"C:\\");
  EXPECT_EQ(provider.Parent(), u"");
  EXPECT_EQ(provider.Previous(), u"C:\\a");
  provider.Arrive(provider.Previous());
  EXPECT_EQ(provider.Previous(), u"C:\\a\\b");
  provider.Arrive(u"D:\\");
  EXPECT_EQ(provider.Previous(), u"C:\\a");
}

}  // namespace
}  // namespace larkspur
