// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What the host gives to the module: objects that it implements, called by their slots, and the
// list of its open storages, which the module reads and appends to. Orders and offsets are fixed.

#include "base/types.h"
#include "catalog/message_catalog.h"

namespace larkspur {

class cBaseIO;
class cTreeItem;

class HostString {
 public:
  // The host copies the zero-terminated text.
  virtual void Assign(const char16_t* text) = 0;

 protected:
  ~HostString() = default;
};

class HostElement {
 public:
  // The window (HWND) over which a modal form is shown.
  virtual void* GetWindowHandle() = 0;

 protected:
  ~HostElement() = default;
};

// Allocated on the shared heap and owned by the host's list.
struct HostStorageNode {
  cBaseIO* storage;
  cTreeItem* tree;  // the tree's head: its first top-level item, null when there is none
  HostStorageNode* next;
};
static_assert(sizeof(HostStorageNode) == 24);

class HostStorageList {
 public:
  virtual void OnNodeAdded(HostStorageNode* node) = 0;

  HostStorageNode* m_head;
  HostStorageNode* m_tail;

 protected:
  HostStorageList() = default;
  ~HostStorageList() = default;
};
static_assert(sizeof(HostStorageList) == 24);

}  // namespace larkspur
