// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// What the dialog says and does when the user's wish cannot be granted, and in other languages.

#include <wchar.h>

#include "checks.h"
#include "disk.h"
#include "host.h"
#include "user.h"

static const wchar_t kTitle[] = L"Define Larkspur storage";

static Storage* Show(const Module* module, HostList* list, HWND parent, const wchar_t* title,
                     Script script) {
  HostElement element;
  MakeElement(&element, parent);
  StartUser(title, script, NULL);
  Storage* const made = module->makeinstance(&list->base, &element.base);
  CHECK(UserIsDone());
  return made;
}

static void DefineWith(HWND form, const wchar_t* path) {
  TypeText(form, path);
  Press(form, kAccept);
}

// The dialog stays, with the message's cause under the cursor.
static void CheckRefused(HWND form, const wchar_t* path, const wchar_t* message) {
  DefineWith(form, path);
  CHECK(DismissMessage(L"Error", message));
  CHECK(IsWindowVisible(form) && IsWindowEnabled(form));
  CHECK(AwaitFocus(form, kText));
}

// Without a path the request is cancelled.
static void RequestDevice(HWND form, const wchar_t* path) {
  Press(form, kAddDevice);
  const HWND request = AwaitWindow(L"Specify the device full path");
  if (!request) return;
  if (path) TypeText(request, path);
  Press(request, path ? kAccept : kCancel);
  CHECK(!path || DismissMessage(L"Error", L"Unable to open the device specified!"));
  CHECK(AwaitEnd(request));
  CHECK_EQUAL(CountRows(form), 2);
}

// What is refused, and why, the tests of the rules say; here is that the user gets to see it.
static void TryEverything(HWND form, void* unused) {
  (void)unused;
  ChooseRow(form, 0);
  CHECK(!IsWindowEnabled(Control(form, kChooseFile)));
  MoveFocus(form, kText);  // in a list, F4 drops it down
  for (WPARAM key = VK_F1; key <= VK_F12; ++key) PressKey(form, key);
  CHECK(IsWindowVisible(form) && IsWindowEnabled(form));
  ChooseRow(form, 1);
  CheckRefused(form, CachePath(L"foreign.kvrsp"), L"Add named device");
  CheckRefused(form, CachePath(L"other.kvrsp"),
               L"The existing local cache file does not fit to the storage!");
  RequestDevice(form, NULL);
  RequestDevice(form, L"\"\\\\.\\no such device\" ");
  Press(form, kCancel);
}

static void DefineOther(HWND form, void* unused) {
  (void)unused;
  ChooseRow(form, 1);
  DefineWith(form, CachePath(L"other.kvrsp"));
}

// The cache of a storage that is one sector shorter.
static void MakeOtherCache(const Module* module, HWND window) {
  static Disk shorter;
  HostList list;
  MakeDisk(&shorter, L"SHORTER");
  shorter.sectors = DISK_SECTORS - 1;
  MakeList(&list);
  AddStorage(&list, OpenDisk(&shorter));
  CHECK(Show(module, &list, window, kTitle, DefineOther) != NULL);
  ClearList(&list);
}

void CheckMessages(const Module* module) {
  static Disk disk;
  HostList list;
  const HWND window = OpenHostWindow();
  MakeDisk(&disk, L"SERIAL-1");
  MakeList(&list);
  AddStorage(&list, OpenDisk(&disk));
  WriteFileOf(CachePath(L"foreign.kvrsp"), "not a cache");
  MakeOtherCache(module, window);
  CHECK(Show(module, &list, window, kTitle, TryEverything) == NULL);
  CHECK_EQUAL(list.notified, 0);
  CHECK_EQUAL(AskedInAll(&disk), 0);
  ClearList(&list);
  DestroyWindow(window);
}

static void CancelBoth(HWND form, void* unused) {
  (void)unused;
  CHECK_EQUAL(CountRows(form), 1);
  PressAndWait(form, kAccept);
  CHECK(AwaitFocus(form, kSourceList));
  Press(form, kCancel);
}

static void CheckParents(const Module* module) {
  HostList list;
  MakeList(&list);
  const HWND gone = OpenHostWindow();
  DestroyWindow(gone);
  CHECK(Show(module, &list, gone, kTitle, CancelBoth) == NULL);
  CHECK(Show(module, &list, NULL, kTitle, CancelBoth) == NULL);
}

static void CheckLanguagesOfDialog(const Module* module) {
  static HostSettings settings;
  HostList list;
  MakeList(&list);
  MakeSettings(&settings, 2);
  module->configure(&settings.base);
  CHECK(Show(module, &list, NULL, L"Larkspur-Datentr\x00E4ger anlegen", CancelBoth) == NULL);
  settings.language = 0;  // makeinstance asks by itself
  CHECK(Show(module, &list, NULL, kTitle, CancelBoth) == NULL);
}

void CheckDialog(const Module* module) {
  CheckParents(module);
  CheckLanguagesOfDialog(module);
}

static void CloseAbout(HWND form, void* unused) {
  (void)unused;
  PressKey(form, VK_RETURN);
}

void CheckAbout(const Module* module) {
  HostElement parent;
  MakeElement(&parent, OpenHostWindow());
  StartUser(L"About Larkspur I/O module", CloseAbout, NULL);
  CHECK(module->about(&parent.base));
  CHECK(UserIsDone());
  DestroyWindow(parent.window);
}
