// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// larkspur-host as a user meets it, by keyboard and messages, with the real module beside it.

#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <set>

#include <commctrl.h>
#include <gtest/gtest.h>

#include "base/path_text.h"
#include "catalog/message_catalog.h"
#include "fakes/disk_builder.h"
#include "fakes/memory_disk.h"
#include "fakes/temp_folder.h"
#include "host/main_form.h"
#include "host/model/sector_view.h"
#include "host/windows/host_driver.h"
#include "imaging/cache.h"
#include "imaging/summary.h"
#include "platform/windows/win32.h"
#include "ui/texts.h"
#include "ui/windows/process_resources.h"
#include "windows/screen_picture.h"

namespace larkspur::host {
namespace {

constexpr u64 kSectors = 8192;
constexpr u64 kFirstBad = 5000, kBadSectors = 3;

std::string Narrow(const std::u16string& text) {
  return Utf8FromWide(text);
}

bool Has(const std::u16string& text, std::u16string_view part) {
  return text.find(part) != std::u16string::npos;
}

class HostTest : public testing::Test {
 protected:
  void SetUp() override {
    disk = folder.File(u"disk.img");
    cache = folder.File(u"disk.kvrsp");
    mapfile = folder.File(u"failing.map");
    std::vector<u8> bytes = fakes::Pattern(0, kSectors);
    const auto table = fakes::DiskBuilder(1).Mbr(0).MbrEntry(0, 0, 0x0C, 2048, 4096).Bytes();
    std::copy(table.begin(), table.end(), bytes.begin());
    ASSERT_TRUE(fakes::WriteWholeFile(disk, bytes));
    WriteMapfile();
  }

  void WriteMapfile() {
    char text[256];
    std::snprintf(text, sizeof text, "0x0 + 1\n0x0 0x%llx +\n0x%llx 0x%llx -\n0x%llx 0x%llx +\n",
                  kFirstBad * 512, kFirstBad * 512, kBadSectors * 512,
                  (kFirstBad + kBadSectors) * 512, (kSectors - kFirstBad - kBadSectors) * 512);
    const std::string words = text;
    ASSERT_TRUE(fakes::WriteWholeFile(mapfile, {words.begin(), words.end()}));
  }

  // Fills the module's dialog in by messages and presses Define.
  static void FillIn(HWND dialog, const std::u16string& path) {
    SendDlgItemMessageW(dialog, 100, CB_SETCURSEL, 1, 0);
    SendDlgItemMessageW(dialog, 102, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(path.c_str()));
    PostMessageW(GetDlgItem(dialog, 1), BM_CLICK, 0, 0);
  }

  static bool Make(cHostDriver& host, const std::u16string& path) {
    host.Command(cMainForm::kMakeStorage);
    const HWND dialog = host.WaitForForm();
    if (!dialog) return false;
    FillIn(dialog, path);
    return host.WaitForNoForm();
  }

  static LRESULT StorageCount(const cHostDriver& host) {
    return SendDlgItemMessageW(host.Window(), cMainForm::kStoragesId, LVM_GETITEMCOUNT, 0, 0);
  }

  static bool WaitForStatus(const cHostDriver& host, std::u16string_view start) {
    return cHostDriver::Wait([&] { return host.Status().starts_with(start); });
  }

  static bool WaitForCopy(cHostDriver& host, std::u16string_view part) {
    return cHostDriver::Wait([&] { return Has(host.Copied(), part); });
  }

  // The text of a message form, which is put away.
  static std::u16string PutAway(cHostDriver& host) {
    const HWND form = host.WaitForForm();
    if (!form) return {};
    std::u16string text;
    for (HWND line = nullptr; (line = FindWindowExW(form, line, L"Static", nullptr));) {
      text += TextOfControl(line) + u" ";
    }
    PostMessageW(GetDlgItem(form, 1), BM_CLICK, 0, 0);
    host.WaitForNoForm();
    return text;
  }

  StatusCounts CacheCounts() const {
    const auto opened = OpenCache(cache, CacheAccess::kLook);
    if (!opened) return {};
    return CountStatuses(opened->image.get(), 0, opened->image->GetSectorCount());
  }

  std::vector<std::u16string> Words(u32 language) const {
    return {disk, u"--test-mode", mapfile, u"--language",
            std::u16string(1, static_cast<char16_t>(u'0' + language))};
  }

  fakes::TempFolder folder;
  std::u16string disk, cache, mapfile;
};

class HostRoadTest : public HostTest, public testing::WithParamInterface<u32> {};

TEST_P(HostRoadTest, FromAFailingDiskToItsMap) {
  cSettings settings;
  settings.SetLanguage(GetParam());
  Messages().SelectLanguage(&settings);
  cHostDriver host(Words(GetParam()));
  ASSERT_TRUE(host.Window());
  ASSERT_TRUE(WaitForCopy(host, u"FAT32 LBA"));

  SetForegroundWindow(host.Window());
  PressKeys({VK_CONTROL, 'N'});
  const HWND dialog = host.WaitForForm();
  ASSERT_TRUE(dialog);
  EXPECT_EQ(Narrow(TextOfControl(dialog)), Narrow(TextOf("raid::mkspan", 0)));
  ASSERT_TRUE(cHostDriver::Wait([&] { return GetForegroundWindow() == dialog; }));
  Sleep(300);  // until the keys go to its first control
  PressKeys({VK_DOWN});
  PressKeys({VK_TAB});
  PressKeys({VK_TAB});
  TypeText(cache);
  PressKeys({VK_RETURN});
  ASSERT_TRUE(host.WaitForNoForm());
  ASSERT_TRUE(cHostDriver::Wait([&] { return StorageCount(host) == 2; }));

  PressKeys({VK_F5});
  ASSERT_TRUE(WaitForStatus(host, u"Everything was read; 3 sectors are unreadable."));
  PressKeys({VK_CONTROL, '3'});
  EXPECT_TRUE(WaitForCopy(host, u"unreadable 3 (0.1%), missing 0 (0.0%)"));
  EXPECT_EQ(CacheCounts().present, kSectors - kBadSectors);

  PressKeys({VK_CONTROL, 'G'});
  TypeText(u"5001");
  PressKeys({VK_RETURN});
  EXPECT_TRUE(WaitForCopy(host, u"Sector 5001 of 8192, at byte 2560512: unreadable"));
  PressKeys({VK_F8});
  PressKeys({VK_F8});
  EXPECT_TRUE(WaitForCopy(host, WideFromUtf8(HexText(fakes::Pattern(5003, 1)))));
  PressKeys({VK_F7});
  EXPECT_TRUE(WaitForCopy(host, u"Sector 5002 of"));
  EXPECT_EQ(host.Close(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Languages, HostRoadTest, testing::Values(0u, 2u));

TEST_F(HostTest, TheLanguageChangesTheNextDialog) {
  cHostDriver host(Words(0));
  ASSERT_TRUE(host.Window());
  const HWND list = GetDlgItem(host.Window(), cMainForm::kLanguageId);
  const LRESULT languages = SendMessageW(list, CB_GETCOUNT, 0, 0);
  EXPECT_EQ(languages, static_cast<LRESULT>(kToolkitPacks.size()));
  std::set<std::u16string> titles;
  for (LRESULT row = 0; row < languages; ++row) {
    SendMessageW(list, CB_SETCURSEL, static_cast<WPARAM>(row), 0);
    SendMessageW(host.Window(), WM_COMMAND, MAKEWPARAM(cMainForm::kLanguageId, CBN_SELCHANGE),
                 reinterpret_cast<LPARAM>(list));
    host.Command(cMainForm::kMakeStorage);
    const HWND dialog = host.WaitForForm();
    ASSERT_TRUE(dialog);
    titles.insert(TextOfControl(dialog));
    PostMessageW(dialog, WM_CLOSE, 0, 0);
    ASSERT_TRUE(host.WaitForNoForm());
    EXPECT_TRUE(WaitForStatus(host, u"No storage was made."));
  }
  EXPECT_EQ(titles.size(), kModulePacks.size());
  EXPECT_EQ(host.Close(), 0u);
}

TEST_F(HostTest, ReadingStopsAndGoesOn) {
  constexpr u64 kLarge = u64{256} << 20;
  std::filesystem::resize_file(folder.Path() / "disk.img", kLarge);
  cHostDriver host({disk});
  ASSERT_TRUE(host.Window());
  ASSERT_TRUE(cHostDriver::Wait([&] { return StorageCount(host) == 1; }));
  ASSERT_TRUE(Make(host, cache));
  host.Command(cMainForm::kReadEverything);
  ASSERT_TRUE(cHostDriver::Wait([&] { return CacheCounts().present > 10000; }));
  // The views work meanwhile.
  host.Command(cMainForm::kSectors);
  EXPECT_TRUE(WaitForCopy(host, u"Sector 0 of 524288"));
  PostMessageW(GetDlgItem(host.Window(), cMainForm::kStopId), BM_CLICK, 0, 0);
  ASSERT_TRUE(WaitForStatus(host, u"Stopped."));
  const StatusCounts stopped = CacheCounts();
  EXPECT_GT(stopped.missing, 0u) << "this machine was faster than the stop";
  host.Command(cMainForm::kReadEverything);
  ASSERT_TRUE(WaitForStatus(host, u"Everything was read."));
  EXPECT_EQ(CacheCounts().present, kLarge / kSectorBytes);
  EXPECT_EQ(host.Close(), 0u);
}

TEST_F(HostTest, ClosingTheWindowEndsAReading) {
  std::filesystem::resize_file(folder.Path() / "disk.img", u64{4} << 30);
  cHostDriver host({disk});
  ASSERT_TRUE(cHostDriver::Wait([&] { return StorageCount(host) == 1; }));
  host.Command(cMainForm::kReadEverything);
  Sleep(100);
  EXPECT_EQ(host.Close(), 0u);
}

// What the window shows once that stays as it is: a busy machine draws late.
ScreenPixels PixelsAtRest(HWND window) {
  constexpr int kEqualSamples = 6;
  ScreenPixels seen = ClientPixels(window);
  int equal = 0;
  cHostDriver::Wait([&] {
    Sleep(80);
    ScreenPixels now = ClientPixels(window);
    equal = now == seen ? equal + 1 : 0;
    seen = std::move(now);
    return equal == kEqualSamples;
  });
  return seen;
}

TEST_F(HostTest, AResizedWindowLooksAsIfDrawnAtOnce) {
  constexpr UINT kAllOfIt = RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN;
  cHostDriver host(Words(0));
  ASSERT_TRUE(cHostDriver::Wait([&] { return StorageCount(host) == 1; }));
  for (const u32 page :
       {cMainForm::kPartitions, cMainForm::kSectors, cMainForm::kMap, cMainForm::kLog}) {
    host.Command(page);
    for (const SIZE size : {SIZE{700, 500}, {1300, 900}, {900, 640}}) {
      SetWindowPos(host.Window(), nullptr, 0, 0, size.cx, size.cy, SWP_NOZORDER | SWP_NOACTIVATE);
      const ScreenPixels resized = PixelsAtRest(host.Window());
      RedrawWindow(host.Window(), nullptr, nullptr, kAllOfIt);
      EXPECT_TRUE(resized == PixelsAtRest(host.Window())) << page << ", " << size.cx;
    }
  }
  EXPECT_TRUE(IsWindowVisible(GetDlgItem(host.Window(), cMainForm::kLanguageId)));
  RECT choice{};
  GetWindowRect(GetDlgItem(host.Window(), cMainForm::kLanguageId), &choice);
  EXPECT_GT(choice.bottom - choice.top, 15);
  EXPECT_EQ(host.Close(), 0u);
}

TEST_F(HostTest, TheMapIsSavedWhereTheUserSays) {
  cHostDriver host(Words(0));
  ASSERT_TRUE(cHostDriver::Wait([&] { return StorageCount(host) == 1; }));
  ASSERT_TRUE(Make(host, cache));
  host.Command(cMainForm::kSaveMap);
  const HWND chooser = host.WaitForForm();
  ASSERT_TRUE(chooser);
  EXPECT_EQ(Narrow(TextOfControl(chooser)), "Save the map as a picture");
  const std::u16string picture = folder.File(u"map.png");
  SendDlgItemMessageW(chooser, 102, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(picture.c_str()));
  PostMessageW(GetDlgItem(chooser, 1), BM_CLICK, 0, 0);
  ASSERT_TRUE(host.WaitForNoForm());
  EXPECT_TRUE(WaitForStatus(host, u"The map was saved as " + picture));
  const std::vector<u8> bytes = fakes::ReadWholeFile(picture);
  ASSERT_GT(bytes.size(), 100u);
  EXPECT_EQ(std::string(bytes.begin() + 1, bytes.begin() + 4), "PNG");
  EXPECT_EQ(host.Close(), 0u);
}

TEST_F(HostTest, AFileThatShrinksIsToldAndNothingIsLost) {
  cHostDriver host({disk});
  ASSERT_TRUE(cHostDriver::Wait([&] { return StorageCount(host) == 1; }));
  ASSERT_TRUE(Make(host, cache));
  host.Command(cMainForm::kSectors);
  ASSERT_TRUE(WaitForCopy(host, u"Sector 0 of 8192"));
  const u64 present = CacheCounts().present;
  std::filesystem::resize_file(folder.Path() / "disk.img", 4000 * kSectorBytes);
  SendDlgItemMessageW(host.Window(), cSectorPage::kNumberId, WM_SETTEXT, 0,
                      reinterpret_cast<LPARAM>(L"6000"));
  host.Command(cMainForm::kGoToSector);
  EXPECT_TRUE(WaitForCopy(host, u"not read; the storage has become shorter or is gone"));
  host.Command(cMainForm::kReadEverything);
  EXPECT_TRUE(Has(PutAway(host), u"The source has become shorter or is gone."));
  EXPECT_EQ(CacheCounts().present, present);
  EXPECT_EQ(CacheCounts().unreadable, 0u);
  EXPECT_EQ(host.Close(), 0u);
}

TEST_F(HostTest, OfACacheAloneNothingIsRead) {
  ASSERT_TRUE(OpenOrCreateCache(cache, disk, kSectors));
  cHostDriver host({cache, disk});
  ASSERT_TRUE(cHostDriver::Wait([&] { return StorageCount(host) == 2; }));
  EXPECT_FALSE(host.Status().starts_with(u"A cache alone."));
  // The keyboard is where the storage that was just opened is.
  SetForegroundWindow(host.Window());
  PressKeys({VK_UP});
  EXPECT_TRUE(WaitForStatus(host, u"A cache alone."));
  host.Command(cMainForm::kReadEverything);
  // A click beside the rows chooses none of them, and leaves the chosen one.
  const HWND list = GetDlgItem(host.Window(), cMainForm::kStoragesId);
  for (const UINT message : {WM_LBUTTONDOWN, WM_LBUTTONUP}) {
    PostMessageW(list, message, 0, MAKELPARAM(20, 200));
  }
  EXPECT_TRUE(WaitForCopy(host, u"disk.kvrsp"));
  EXPECT_EQ(host.Close(), 0u);

  EXPECT_EQ(
      RunToFiles(u"\"" + ProgramFolder() + u"larkspur-host.exe\" --open \"" + cache + u"\" --read",
                 folder.File(u"out"), folder.File(u"err")),
      3u);
  const std::vector<u8> err = fakes::ReadWholeFile(folder.File(u"err"));
  EXPECT_NE(std::string(err.begin(), err.end()).find("8192 sectors are missing"),
            std::string::npos);
}

TEST_F(HostTest, WhatDoesNotOpenIsTold) {
  cHostDriver host({folder.File(u"absent.img"), disk});
  EXPECT_TRUE(Has(PutAway(host), u"It cannot be opened for reading"));
  EXPECT_TRUE(cHostDriver::Wait([&] { return StorageCount(host) == 1; }));
  EXPECT_EQ(host.Close(), 0u);
}

// A host in a folder of its own, with other libraries than usual.
class HostLibrariesTest : public HostTest {
 protected:
  void SetUp() override {
    HostTest::SetUp();
    const std::filesystem::path programs(ProgramFolder());
    for (const char* name :
         {"larkspur-host.exe", "other-kind.dll", "null-maker.dll", "no-module.dll"}) {
      const auto from = programs / (name[0] == 'l' ? "" : "test-modules") / name;
      std::filesystem::copy_file(from, folder.Path() / name);
    }
    const std::string junk = "this is no library at all";
    ASSERT_TRUE(fakes::WriteWholeFile(folder.File(u"junk.dll"), {junk.begin(), junk.end()}));
    program = folder.File(u"larkspur-host.exe");
  }

  std::u16string program;
};

TEST_F(HostLibrariesTest, ThoseThatAreNoModulesAreTold) {
  EXPECT_EQ(RunToFiles(u"\"" + program + u"\" --list", folder.File(u"out"), folder.File(u"err")),
            0u);
  const std::vector<u8> out = fakes::ReadWholeFile(folder.File(u"out"));
  const std::vector<u8> err = fakes::ReadWholeFile(folder.File(u"err"));
  EXPECT_EQ(std::string(out.begin(), out.end()),
            "null-maker.dll  1122334455667788  null-maker.dll ()\n");
  const std::string faults(err.begin(), err.end());
  EXPECT_NE(faults.find("junk.dll cannot be loaded"), std::string::npos) << faults;
  EXPECT_NE(faults.find("no-module.dll is not a module"), std::string::npos) << faults;
  EXPECT_NE(faults.find("other-kind.dll is a module of another kind: QMCFSX"), std::string::npos)
      << faults;
}

TEST_F(HostLibrariesTest, AModuleThatMakesNothingDoesNoHarm) {
  cHostDriver host({disk}, program);
  ASSERT_TRUE(cHostDriver::Wait([&] { return StorageCount(host) == 1; }));
  host.Command(cMainForm::kMakeStorage);
  EXPECT_TRUE(WaitForStatus(host, u"No storage was made."));
  EXPECT_EQ(StorageCount(host), 1);
  EXPECT_EQ(host.Close(), 0u);
}

TEST_F(HostTest, AHundredRoundsLeaveNothingBehind) {
  constexpr int kWarmUp = 10, kRounds = 100;
  constexpr u64 kNoise = u64{512} << 10;  // what heaps and Wine round up to
  cHostDriver host({disk});
  ASSERT_TRUE(cHostDriver::Wait([&] { return StorageCount(host) == 1; }));
  host.Command(cMainForm::kMap);
  ProcessResources before;
  for (int round = 0; round < kWarmUp + kRounds; ++round) {
    if (round == kWarmUp) before = ResourcesAtRest(host.Process());
    ASSERT_TRUE(Make(host, cache));
    ASSERT_TRUE(cHostDriver::Wait([&] { return StorageCount(host) == 2; }));
    host.Command(cMainForm::kCloseStorage);
    host.Command(cMainForm::kCloseStorage);
    ASSERT_TRUE(cHostDriver::Wait([&] { return StorageCount(host) == 0; }));
    PostMessageW(host.Window(), cMainForm::kOpenNamed, 0, 0);
    ASSERT_TRUE(cHostDriver::Wait([&] { return StorageCount(host) == 1; }));
  }
  const ProcessResources after = ResourcesAtRest(host.Process());
  std::printf("handles %u to %u, drawing objects %u to %u, windows %u to %u, bytes %llu to %llu\n",
              before.handles, after.handles, before.drawingObjects, after.drawingObjects,
              before.windows, after.windows, before.privateBytes, after.privateBytes);
  ASSERT_GT(before.handles, 0u);
  ASSERT_GT(before.drawingObjects, 0u);
  ASSERT_GT(before.windows, 0u);
  ASSERT_GT(before.privateBytes, 0u);
  EXPECT_LE(after.handles, before.handles);
  EXPECT_LE(after.drawingObjects, before.drawingObjects);
  EXPECT_LE(after.windows, before.windows);
  EXPECT_LE(after.privateBytes, before.privateBytes + kNoise);
  EXPECT_EQ(host.Close(), 0u);
}

}  // namespace
}  // namespace larkspur::host
