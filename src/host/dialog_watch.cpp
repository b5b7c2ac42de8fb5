// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/dialog_watch.h"

#include "io/base_io.h"
#include "platform/windows/win32.h"

namespace larkspur::host {
namespace {

cDialogWatch* g_watch = nullptr;

// The storage in row `row` of the dialog's list: row 0 is none, and read-once storages are left
// out.
cBaseIO* SourceInRow(const HostStorageList& list, LRESULT row) {
  for (const HostStorageNode* node = list.m_head; node && row > 0; node = node->next) {
    if (node->storage->GetTypeId() == kTypeReadOnce) continue;
    if (--row == 0) return node->storage;
  }
  return nullptr;
}

std::u16string TextOfControl(HWND dialog, int id) {
  const HWND control = GetDlgItem(dialog, id);
  std::u16string text(static_cast<size_t>(GetWindowTextLengthW(control)) + 1, u'\0');
  const int length = GetWindowTextW(control, WideBuffer(text), static_cast<int>(text.size()));
  text.resize(static_cast<size_t>(length));
  return text;
}

}  // namespace

bool IsDeviceDialog(HWND window) {
  for (const int id : {kDefineButton, kSourceList, kCachePathEdit, kChooseFileButton}) {
    if (!GetDlgItem(window, id)) return false;
  }
  return true;
}

cDialogWatch::cDialogWatch(const HostStorageList& list)
    : m_list(list), m_hook(SetWindowsHookExW(WH_CBT, OnHook, nullptr, GetCurrentThreadId())) {
  g_watch = this;
}

cDialogWatch::~cDialogWatch() {
  UnhookWindowsHookEx(m_hook);
  g_watch = nullptr;
}

LRESULT CALLBACK cDialogWatch::OnHook(int code, WPARAM wParam, LPARAM lParam) {
  const HWND window = reinterpret_cast<HWND>(wParam);
  if (code == HCBT_DESTROYWND && g_watch && IsDeviceDialog(window)) g_watch->Note(window);
  return CallNextHookEx(nullptr, code, wParam, lParam);
}

void cDialogWatch::Note(HWND dialog) {
  const LRESULT row = SendDlgItemMessageW(dialog, kSourceList, CB_GETCURSEL, 0, 0);
  m_seen = {TextOfControl(dialog, kCachePathEdit), SourceInRow(m_list, row)};
}

}  // namespace larkspur::host
