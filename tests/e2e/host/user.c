// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "user.h"

#include <commctrl.h>
#include <stdio.h>
#include <wchar.h>

#include "checks.h"

enum { kPatienceMilliseconds = 10000, kStepMilliseconds = 1, kFewMilliseconds = 2000 };

static struct {
  HANDLE thread;
  HANDLE returned;  // set when the module's call has come back
  DWORD programThread;
  const wchar_t* caption;
  Script script;
  void* context;
  LARGE_INTEGER start, shown;
  bool found;
} user;

typedef struct {
  const wchar_t* caption;
  HWND window;
} Search;

static BOOL CALLBACK Compare(HWND window, LPARAM parameter) {
  Search* search = (Search*)parameter;
  wchar_t caption[256];
  if (!IsWindowVisible(window)) return TRUE;
  // Not by a message, which would wait for the window's thread and disturb it.
  InternalGetWindowText(window, caption, 256);
  if (wcscmp(caption, search->caption) != 0) return TRUE;
  search->window = window;
  return FALSE;
}

static HWND FindShown(const wchar_t* caption) {
  Search search = {caption, NULL};
  EnumThreadWindows(user.programThread, Compare, (LPARAM)&search);
  return search.window;
}

static HWND AwaitShown(const wchar_t* caption) {
  for (DWORD waited = 0; waited < kPatienceMilliseconds; waited += kStepMilliseconds) {
    const HWND window = FindShown(caption);
    if (window) return window;
    Sleep(kStepMilliseconds);
  }
  return NULL;
}

// A form that stays open would keep the program for ever.
static void GiveUp(void) {
  printf("\"%ls\" %s\n", user.caption, user.found ? "stays open" : "never opens");
  fflush(stdout);
  ExitProcess(3);
}

static DWORD WINAPI Work(LPVOID unused) {
  (void)unused;
  const HWND form = AwaitShown(user.caption);
  QueryPerformanceCounter(&user.shown);
  user.found = form != NULL;
  if (form) user.script(form, user.context);
  if (WaitForSingleObject(user.returned, kPatienceMilliseconds) != WAIT_OBJECT_0) GiveUp();
  return 0;
}

void StartUser(const wchar_t* caption, Script script, void* context) {
  user.programThread = GetCurrentThreadId();
  user.caption = caption;
  user.script = script;
  user.context = context;
  user.found = false;
  user.returned = CreateEventW(NULL, TRUE, FALSE, NULL);
  QueryPerformanceCounter(&user.start);
  user.thread = CreateThread(NULL, 0, Work, NULL, 0, NULL);
}

bool UserIsDone(void) {
  SetEvent(user.returned);
  WaitForSingleObject(user.thread, INFINITE);
  CloseHandle(user.thread);
  CloseHandle(user.returned);
  return user.found;
}

double MillisecondsToWindow(void) {
  LARGE_INTEGER frequency;
  QueryPerformanceFrequency(&frequency);
  return (double)(user.shown.QuadPart - user.start.QuadPart) * 1000 / (double)frequency.QuadPart;
}

HWND AwaitWindow(const wchar_t* caption) {
  const HWND window = AwaitShown(caption);
  if (!CHECK(window != NULL)) printf("  no window is called \"%ls\"\n", caption);
  return window;
}

bool AwaitEnd(HWND window) {
  for (DWORD waited = 0; waited < kPatienceMilliseconds; waited += kStepMilliseconds) {
    if (!IsWindow(window)) return true;
    Sleep(kStepMilliseconds);
  }
  return false;
}

HWND Control(HWND form, int id) {
  return GetDlgItem(form, id);
}

void Press(HWND form, int id) {
  PostMessageW(Control(form, id), BM_CLICK, 0, 0);
}

void PressAndWait(HWND form, int id) {
  SendMessageW(Control(form, id), BM_CLICK, 0, 0);
}

static HWND FocusOf(HWND form) {
  GUITHREADINFO info = {.cbSize = sizeof info};
  return GetGUIThreadInfo(GetWindowThreadProcessId(form, NULL), &info) ? info.hwndFocus : NULL;
}

void PressKey(HWND form, WPARAM key) {
  const HWND focus = FocusOf(form);
  PostMessageW(focus ? focus : form, WM_KEYDOWN, key, 0);
  PostMessageW(focus ? focus : form, WM_KEYUP, key, (LPARAM)0xC0000000);
}

bool IsThemed(HWND form, int button) {
  BUTTON_IMAGELIST images;
  return SendMessageW(Control(form, button), BCM_GETIMAGELIST, 0, (LPARAM)&images) != 0;
}

void ChooseRow(HWND form, int row) {
  const HWND list = Control(form, kSourceList);
  SendMessageW(list, CB_SETCURSEL, (WPARAM)row, 0);
  SendMessageW(form, WM_COMMAND, MAKEWPARAM(kSourceList, CBN_SELCHANGE), (LPARAM)list);
}

int CountRows(HWND form) {
  return (int)SendMessageW(Control(form, kSourceList), CB_GETCOUNT, 0, 0);
}

void RowText(HWND form, int row, wchar_t* text, int capacity) {
  const HWND list = Control(form, kSourceList);
  text[0] = L'\0';
  if (SendMessageW(list, CB_GETLBTEXTLEN, (WPARAM)row, 0) < capacity) {
    SendMessageW(list, CB_GETLBTEXT, (WPARAM)row, (LPARAM)text);
  }
}

void TypeText(HWND form, const wchar_t* text) {
  SendMessageW(Control(form, kText), WM_SETTEXT, 0, (LPARAM)text);
}

void MoveFocus(HWND form, int id) {
  SendMessageW(form, WM_NEXTDLGCTL, (WPARAM)Control(form, id), TRUE);
}

bool AwaitFocus(HWND form, int id) {
  for (DWORD waited = 0; waited < kFewMilliseconds; waited += kStepMilliseconds) {
    if (FocusOf(form) == Control(form, id)) return true;
    Sleep(kStepMilliseconds);
  }
  return false;
}

typedef struct {
  const wchar_t* begins;
  bool found;
} Words;

static BOOL CALLBACK CompareWords(HWND control, LPARAM parameter) {
  Words* words = (Words*)parameter;
  wchar_t text[1024];
  GetWindowTextW(control, text, 1024);
  words->found = words->found || wcsncmp(text, words->begins, wcslen(words->begins)) == 0;
  return !words->found;
}

bool DismissMessage(const wchar_t* caption, const wchar_t* begins) {
  const HWND message = AwaitWindow(caption);
  if (!message) return false;
  Words words = {begins, false};
  EnumChildWindows(message, CompareWords, (LPARAM)&words);
  Press(message, kAccept);
  return AwaitEnd(message) && words.found;
}
