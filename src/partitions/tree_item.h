// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// cTreeItem: a node among siblings, with children below it.
//
// A host walks these links as data, so their places are fixed. A tree is known by its head, the
// pointer to its first top-level item; the owner of the head owns all items.

#include "base/types.h"

namespace larkspur {

class cTreeItem {
 public:
  cTreeItem() = default;
  cTreeItem(const cTreeItem&) = delete;
  cTreeItem& operator=(const cTreeItem&) = delete;

  // Ends this item alone: not its siblings, not its children.
  virtual void* Destroy(u32 flags);  // slot 0

  cTreeItem* m_next = nullptr;
  cTreeItem* m_previous = nullptr;
  cTreeItem* m_firstChild = nullptr;
  cTreeItem* m_parent = nullptr;  // null at the top
  cTreeItem** m_owner = nullptr;  // the head of the tree it is in

 protected:
  ~cTreeItem() = default;

 private:
  template <typename T>
  friend void* DestroyAs(T* object, u32 flags);
};

// Puts `item`, which is in no tree yet, after the last top-level item.
void AppendToTree(cTreeItem** head, cTreeItem* item);

// Puts `item`, which is in no tree yet, after the last child of `parent`. The walk to that one
// begins at `known`, a child of `parent` too, where there is one.
void AppendChild(cTreeItem* parent, cTreeItem* item, cTreeItem* known = nullptr);

// Ends every item of the tree and leaves it empty.
void DeleteTree(cTreeItem** head);

}  // namespace larkspur
