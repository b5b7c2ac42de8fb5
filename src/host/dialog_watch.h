// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Sees what a user chose in a module's device dialog: by the ids of its controls, which are fixed,
// and at the moment in which the dialog goes. A module says nothing of its storages' caches, and
// without the cache the host could show no map.

#include <windows.h>

#include "host/model/storages.h"

namespace larkspur::host {

// The ids of the controls in that dialog.
enum DeviceDialogId : int {
  kDefineButton = 1,
  kCancelButton = 2,
  kSourceList = 100,
  kAddDeviceButton = 101,
  kCachePathEdit = 102,
  kChooseFileButton = 103,
};

bool IsDeviceDialog(HWND window);

// Watches the dialogs of this thread while it lives. One at a time.
class cDialogWatch {
 public:
  // REQUIRES: `list` outlives the watch
  explicit cDialogWatch(const HostStorageList& list);
  cDialogWatch(const cDialogWatch&) = delete;
  cDialogWatch& operator=(const cDialogWatch&) = delete;
  ~cDialogWatch();

  // What the last dialog that went showed.
  const MadeFrom& Seen() const { return m_seen; }

 private:
  static LRESULT CALLBACK OnHook(int code, WPARAM wParam, LPARAM lParam);
  void Note(HWND dialog);

  const HostStorageList& m_list;
  MadeFrom m_seen;
  HHOOK m_hook;
};

}  // namespace larkspur::host
