// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
//
// Plays the whole road in larkspur-host and takes a picture of every window on the way.
//
//   larkspur-host-show DISK MAPFILE CACHE FOLDER LANGUAGE SECTOR
//
// Opens DISK, whose sectors fail that MAPFILE does not mark finished, makes a read-once storage of
// it with CACHE in the module's dialog, reads everything, and shows SECTOR, and leaves the pictures
// in FOLDER.

#include <cstdio>

#include "base/path_text.h"
#include "host/dialog_watch.h"
#include "host/main_form.h"
#include "host/windows/host_driver.h"
#include "platform/terminal.h"
#include "windows/screen_picture.h"

namespace larkspur::host {
namespace {

constexpr DWORD kSettledMilliseconds = 900;

class cShow {
 public:
  cShow(const std::vector<std::string>& words)
      : m_cache(WideFromUtf8(words[2])),
        m_folder(WideFromUtf8(words[3])),
        m_sector(WideFromUtf8(words[5])),
        m_host({WideFromUtf8(words[0]), u"--test-mode", WideFromUtf8(words[1]), u"--language",
                WideFromUtf8(words[4])}) {}

  bool Play() {
    if (!m_host.Window()) return Fail("the window did not open");
    if (!OpenedDisk()) return Fail("the disk was not opened");
    Picture(m_host.Window(), u"partitions");
    if (!MadeStorage()) return Fail("no storage was made");
    m_host.Command(cMainForm::kMap);
    m_host.Command(cMainForm::kReadEverything);
    Sleep(kSettledMilliseconds / 3);
    SavePicture(m_host.Window(), m_folder + u"/reading.png");
    if (!ReadEverything()) return Fail("it was not read to its end");
    Picture(m_host.Window(), u"map");
    ShowSector();
    Picture(m_host.Window(), u"sectors");
    m_host.Command(cMainForm::kLog);
    Picture(m_host.Window(), u"log");
    return m_host.Close() == 0;
  }

 private:
  static bool Fail(const char* message) {
    std::fprintf(stderr, "larkspur-host-show: %s\n", message);
    return false;
  }

  bool OpenedDisk() {
    return cHostDriver::Wait(
        [this] { return m_host.Copied().find(u"whole storage") != m_cache.npos; });
  }

  // In the dialog: the first source, the cache's path, Define. By messages, which arrive however
  // busy the machine is; the tests use the keyboard.
  bool MadeStorage() {
    m_host.Command(cMainForm::kMakeStorage);
    const HWND dialog = m_host.WaitForForm();
    if (!dialog) return false;
    const HWND sources = GetDlgItem(dialog, kSourceList);
    SendMessageW(sources, CB_SETCURSEL, 1, 0);
    SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(kSourceList, CBN_SELCHANGE),
                 reinterpret_cast<LPARAM>(sources));
    SendMessageW(GetDlgItem(dialog, kCachePathEdit), WM_SETTEXT, 0,
                 reinterpret_cast<LPARAM>(m_cache.c_str()));
    Picture(dialog, u"define");
    PostMessageW(GetDlgItem(dialog, kDefineButton), BM_CLICK, 0, 0);
    // The host lists it a moment after the dialog is gone.
    return m_host.WaitForNoForm() &&
           cHostDriver::Wait([this] { return m_host.Copied().find(u"{") != m_cache.npos; });
  }

  bool ReadEverything() {
    return cHostDriver::Wait(
        [this] { return m_host.Status().starts_with(u"Everything was read"); });
  }

  void ShowSector() {
    m_host.Command(cMainForm::kFocusSector);
    Sleep(kSettledMilliseconds);
    TypeText(m_sector);
    PressKeys({VK_RETURN});
  }

  void Picture(HWND window, const char16_t* name) {
    Sleep(kSettledMilliseconds);
    SavePicture(window, m_folder + u"/" + name + u".png");
  }

  std::u16string m_cache;
  std::u16string m_folder;
  std::u16string m_sector;
  cHostDriver m_host;
};

}  // namespace
}  // namespace larkspur::host

int main(int count, char** given) {
  const std::vector<std::string> words = larkspur::platform::ProgramArguments(count, given);
  if (words.size() != 6) {
    std::fputs("larkspur-host-show DISK MAPFILE CACHE FOLDER LANGUAGE SECTOR\n", stderr);
    return 2;
  }
  return larkspur::host::cShow(words).Play() ? 0 : 1;
}
