// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// What the file chooser decides: places, rows, and the path that was typed.

#include <algorithm>
#include <map>

#include <gtest/gtest.h>

#include "base/path_text.h"
#include "dialogs/model/chosen_path.h"
#include "dialogs/model/folder_rows.h"
#include "dialogs/model/number_text.h"
#include "dialogs/model/places.h"
#include "fakes/fake_volumes.h"
#include "platform/folders.h"

namespace larkspur {
namespace {

constexpr u64 kGigabyte = u64{1} << 30;

using Variables = std::map<std::u16string, std::u16string>;

AskEnvironment EnvironmentOf(const Variables& variables) {
  return [variables](const char16_t* name, size_t limit) -> std::optional<std::u16string> {
    const auto found = variables.find(name);
    if (found == variables.end() || found->second.size() > limit) return std::nullopt;
    return found->second;
  };
}

// A line for each place: a letter for its kind, text, path, and "offline" where it is.
std::string ListOf(const Variables& variables, fakes::FakeVolumes& volumes) {
  std::string list;
  VisitPlaces(EnvironmentOf(variables), volumes, [&](const FilePlace& place) {
    list += "HDCN"[static_cast<size_t>(place.kind)];
    list += " " + Utf8FromWide(place.text) + " -> " + Utf8FromWide(place.path);
    list += place.isOffline ? " offline\n" : "\n";
    return true;
  });
  return list;
}

TEST(GigabytesText, CutsAfterTwoDecimals) {
  const std::pair<u64, const char16_t*> cases[] = {
      {0, u"0.00GB"},         {10737417, u"0.00GB"},        {10737418, u"0.01GB"},
      {kGigabyte, u"1.00GB"}, {1000204886016, u"931.51GB"}, {kNowhere, u"17179869568.00GB"}};
  for (const auto& [bytes, text] : cases) EXPECT_EQ(GigabytesText(bytes), text) << bytes;
}

TEST(HomeFolder, ComesFromTheEnvironment) {
  const struct {
    Variables variables;
    const char16_t* home;
  } cases[] = {
      {{{u"USERPROFILE", u"C:\\Users\\Ann"}}, u"C:\\Users\\Ann"},
      {{{u"USERPROFILE", u"\"C:\\Users\\Ann\"  "}}, u"C:\\Users\\Ann"},
      {{{u"USERPROFILE", u"C:\\Users\\Ann  \""}}, u"C:\\Users\\Ann"},
      {{{u"HOMEDRIVE", u"D:"}, {u"HOMEPATH", u"\\Ann"}}, u"D:\\Ann"},
      {{{u"USERPROFILE", u"C:\\A"}, {u"HOMEDRIVE", u"D:"}, {u"HOMEPATH", u"\\B"}}, u"C:\\A"},
      {{{u"USERPROFILE", std::u16string(261, u'x')}}, u""},
      {{{u"HOMEDRIVE", u"D:"}}, u""},
      {{{u"USERPROFILE", u"\""}}, u""},
      {{{u"USERPROFILE", u"  "}}, u""},
      {{}, u""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(HomeFolder(EnvironmentOf(c.variables)), c.home) << Utf8FromWide(c.home);
  }
}

TEST(Places, NameEachKindOfDrive) {
  fakes::FakeVolumes volumes;
  volumes.drives = {{u"A:\\", {platform::kDriveRemovable}},
                    {u"B:\\", {platform::kDriveUnknown}},
                    {u"C:\\", {platform::kDriveFixed, kGigabyte}},
                    {u"D:\\", {platform::kDriveFixed, 3 * kGigabyte, u"Data"}},
                    {u"E:\\", {platform::kDriveOptical, kGigabyte, u"unasked"}},
                    {u"F:\\", {platform::kDriveFixed}},
                    {u"N:\\", {platform::kDriveRemote, kGigabyte}},
                    {u"O:\\", {platform::kDriveRemote, kGigabyte, u"Pool"}},
                    {u"R:\\", {platform::kDriveRamDisk}},
                    {u"Z:\\", {42}}};
  EXPECT_EQ(ListOf({{u"USERPROFILE", u"C:\\Ann"}}, volumes),
            "H Home folder -> C:\\Ann\n"
            "D Disk A: -> A:\n"
            "D Fixed disk C: (1.00GB) -> C:\n"
            "D Data (D:, 3.00GB fixed drive) -> D:\n"
            "C CD/DVD drive E: -> E:\n"
            "D Fixed disk F: (0.00GB) -> F:\n"
            "N Network disk N: (1.00GB) -> N:\n"
            "N Pool (O:, 1.00GB network drive) -> O:\n"
            "D RAM drive R: -> R:\n"
            "D Disk Z: -> Z:\n");
}

TEST(Places, ShowNetworkConnectionsOnceAndLast) {
  fakes::FakeVolumes volumes;
  volumes.drives = {{u"C:\\", {platform::kDriveFixed, kGigabyte}},
                    {u"N:\\", {platform::kDriveRemote, 2 * kGigabyte, u"Team"}},
                    {u"O:\\", {platform::kDriveRemote}},
                    {u"\\\\nas\\open\\", {platform::kDriveRemote, kGigabyte}},
                    {u"P:\\", {platform::kDriveRemote, kGigabyte}}};
  volumes.connections = {{u"n:", u"\\\\nas\\team", true},  {u"O:", u"\\\\nas\\gone", true},
                         {u"", u"\\\\nas\\open", true},    {u"", u"\\\\old\\share\\", false},
                         {u"Q:", u"\\\\old\\data", false}, {u"", u"", true}};
  volumes.drives[u"n:\\"] = volumes.drives[u"N:\\"];
  EXPECT_EQ(ListOf({}, volumes),
            "D Fixed disk C: (1.00GB) -> C:\n"
            "N Network disk P: (1.00GB) -> P:\n"
            "N Team (n:, 2.00GB on \\\\nas\\team) -> n:\n"
            "N gone (O: on \\\\nas\\gone - Offline) -> O: offline\n"
            "N open (1.00GB on \\\\nas\\open) -> \\\\nas\\open\n"
            "N share (\\\\old\\share\\ - Offline) -> \\\\old\\share\\ offline\n"
            "N data (Q: on \\\\old\\data - Offline) -> Q: offline\n");
}

TEST(Places, AreThereWithoutANetworkAndStopWhenAsked) {
  fakes::FakeVolumes volumes;
  volumes.drives = {{u"C:\\", {platform::kDriveFixed}}, {u"D:\\", {platform::kDriveOptical}}};
  volumes.connections = {{u"N:", u"\\\\nas\\team", true}};
  for (int wanted = 1; wanted <= 4; ++wanted) {
    int seen = 0;
    VisitPlaces(EnvironmentOf({{u"USERPROFILE", u"C:\\Ann"}}), volumes,
                [&](const FilePlace&) { return ++seen < wanted; });
    EXPECT_EQ(seen, wanted);
  }
}

using platform::FolderEntry;

const TypeWords kWords = {u"File folder", u"File"};

FolderEntry File(const char16_t* name, u64 bytes, u64 writtenAt = 0) {
  return {name, false, bytes, writtenAt, {}};
}
FolderEntry Folder(const char16_t* name, u64 writtenAt = 0) {
  return {name, true, 0, writtenAt, {}};
}

TEST(FolderRows, SayNameDateTypeAndSize) {
  FolderEntry file = File(u"disk.kvrsp", 1023);
  file.written = {2026, 3, 9, 7, 5, 1};
  EXPECT_EQ(ColumnText(file, FolderColumn::kName, kWords), u"disk.kvrsp");
  EXPECT_EQ(ColumnText(file, FolderColumn::kDate, kWords), u"09.03.2026 07:05:01");
  EXPECT_EQ(ColumnText(file, FolderColumn::kType, kWords), u"File");
  const FolderEntry folder = Folder(u"a");
  EXPECT_EQ(ColumnText(folder, FolderColumn::kType, kWords), u"File folder");
  EXPECT_EQ(ColumnText(folder, FolderColumn::kSize, kWords), u"");
  const std::pair<u64, const char16_t*> sizes[] = {
      {1023, u"0 KB"}, {1024, u"1 KB"}, {2047, u"1 KB"}, {u64{5} << 40, u"5368709120 KB"}};
  for (const auto& [bytes, text] : sizes) {
    EXPECT_EQ(ColumnText(File(u"", bytes), FolderColumn::kSize, kWords), text) << bytes;
  }
}

TEST(FolderRows, StandInTheOrderOfTheirColumn) {
  const std::vector<FolderEntry> entries = {File(u"b", 300, 1), File(u"A", 100, 3),
                                            Folder(u"z", 2),    File(u"c", 200, 2),
                                            Folder(u"Y", 5),    File(u"a", 100, 4)};
  const struct {
    FolderColumn column;
    const char16_t* order;
  } cases[] = {{FolderColumn::kName, u"YzAabc"},
               {FolderColumn::kDate, u"zYbcAa"},
               {FolderColumn::kType, u"YzAabc"},
               {FolderColumn::kSize, u"YzAacb"}};
  for (const auto& c : cases) {
    std::vector<FolderEntry> sorted = entries;
    std::sort(sorted.begin(), sorted.end(), [&](const FolderEntry& one, const FolderEntry& other) {
      return CompareEntries(one, other, c.column) < 0;
    });
    std::u16string order;
    for (const FolderEntry& entry : sorted) order += entry.name;
    EXPECT_EQ(order, c.order) << static_cast<int>(c.column);
    for (const FolderEntry& entry : entries) EXPECT_EQ(CompareEntries(entry, entry, c.column), 0);
  }
}

TEST(FolderRows, NamesStandAsPeopleCount) {
  constexpr const char16_t* kOrdered[] = {
      u"",       u"1",     u"2",       u"10 d",  u"A",       u"a",       u"a b",  u"file",
      u"file02", u"file2", u"file2.b", u"File3", u"file10a", u"file10b", u"zoo9", u"zoo10"};
  EXPECT_LT(CompareNames(u"file99999999999999999999", u"file100000000000000000000"), 0);
  for (const char16_t* one : kOrdered) {
    bool isPast = false;
    for (const char16_t* other : kOrdered) {
      if (one == other) isPast = true;
      const int order = CompareNames(one, other), back = CompareNames(other, one);
      EXPECT_EQ(order > 0, !isPast) << Utf8FromWide(one) << " " << Utf8FromWide(other);
      EXPECT_EQ(order<0, back> 0);
    }
  }
}

TEST(FolderRows, PatternsFitAsEverywhere) {
  const struct {
    const char16_t* name;
    const char16_t* pattern;
    bool fits;
  } cases[] = {
      {u"disk.kvrsp", u"*.kvrsp", true},
      {u"DISK.KVRSP", u"*.kvrsp", true},
      {u"disk.kvrsp.txt", u"*.kvrsp", false},
      {u".kvrsp", u"*.kvrsp", true},
      {u"kvrsp", u"*.kvrsp", false},
      {u"a.kvrsp.kvrsp", u"*.kvrsp", true},
      {u"anything", u"*", true},
      {u"", u"*", true},
      {u"no dot", u"*.*", true},
      {u"abc", u"a?c", true},
      {u"ac", u"a?c", false},
      {u"abc", u"abc", true},
      {u"abcd", u"abc", false},
      {u"aXbXc", u"a*b*c", true},
      {u"aXbX", u"a*b*c", false},
      {u"b.img", u"*.kvrsp;*.img", true},
      {u"b.bin", u"*.kvrsp;*.img", false},
      {u"b.bin", u"", false},
      {u"b.bin", u";;", false},
      {u"\u0416\u0443\u043A", u"\u0436*", true},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(FitsPattern(c.name, c.pattern), c.fits)
        << Utf8FromWide(c.name) << " " << Utf8FromWide(c.pattern);
    EXPECT_EQ(IsShown(File(c.name, 1), c.pattern), c.fits);
    EXPECT_TRUE(IsShown(Folder(c.name), c.pattern)) << "folders are always shown";
  }
  std::u16string hostile;
  for (int i = 0; i < 100; ++i) hostile += u"*a";
  EXPECT_FALSE(FitsPattern(std::u16string(10000, u'a'), hostile + u"b")) << "in no time";
}

using platform::PathKind;

// Folders that know no more than what stands at each path.
class FakeFolders final : public platform::cFolders {
 public:
  std::map<std::u16string, PathKind> kinds;
  bool makes = true;
  std::u16string made;  // the folder made last

  PathKind KindOf(const std::u16string& path) override {
    const auto found = kinds.find(path);
    return found == kinds.end() ? PathKind::kAbsent : found->second;
  }
  bool Visit(const std::u16string&,
             const std::function<bool(const platform::FolderEntry&)>&) override {
    return false;
  }
  bool Make(const std::u16string& folder) override {
    if (makes) made = folder;
    return makes;
  }
};

FakeFolders SomeFolders() {
  FakeFolders folders;
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
  constexpr const char* kNames[] = {"nothing",   "pattern",    "folder",  "file",
                                    "overwrite", "ask folder", "missing", "special"};
  return std::string(kNames[static_cast<int>(chosen.kind)]) + " " + Utf8FromWide(chosen.path);
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
  FakeFolders folders = SomeFolders();
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
  EXPECT_EQ(Told(DecideChosenPath(u"new", u"C:\\here", u"", FileUse::kReplace, folders)),
            "file C:\\here\\new")
      << "a filter without an extension gives none";
}

TEST(NewFolder, IsMadeUnlessItsNameIsTaken) {
  const struct {
    const char16_t* name;
    NewFolderOutcome outcome;
    const char16_t* path;
  } cases[] = {
      {u"", NewFolderOutcome::kNothing, u""},
      {u" \" ", NewFolderOutcome::kNothing, u""},
      {u"new", NewFolderOutcome::kMade, u"C:\\here\\new"},
      {u" new ", NewFolderOutcome::kMade, u"C:\\here\\new"},
      {u"bare", NewFolderOutcome::kNameOfFile, u"C:\\here\\bare"},
      {u"sub", NewFolderOutcome::kNameOfFolder, u"C:\\here\\sub"},
      {u"sub\\", NewFolderOutcome::kNameOfFolder, u"C:\\here\\sub"},
      {u"NUL", NewFolderOutcome::kNameOfOther, u"C:\\here\\NUL"},
      {u"odd", NewFolderOutcome::kNameOfOther, u"C:\\here\\odd"},
      {u"no\"name", NewFolderOutcome::kFailed, u"C:\\here\\no\"name"},
  };
  for (const auto& c : cases) {
    FakeFolders folders = SomeFolders();
    const NewFolder made = MakeNewFolder(c.name, u"C:\\here", folders);
    EXPECT_EQ(made.outcome, c.outcome) << Utf8FromWide(c.name);
    EXPECT_EQ(made.path, c.path);
    EXPECT_EQ(folders.made, c.outcome == NewFolderOutcome::kMade ? c.path : u"");
  }
  FakeFolders folders = SomeFolders();
  folders.makes = false;
  EXPECT_EQ(MakeNewFolder(u"new", u"C:\\here", folders).outcome, NewFolderOutcome::kFailed);
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
