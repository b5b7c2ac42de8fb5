// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/tree_item.h"

#include <cstddef>

#include "base/owned.h"

namespace larkspur {
namespace {

// The chain's end is sought from `known`, an item of it, where there is one.
void LinkBehindLast(cTreeItem** first, cTreeItem* item, cTreeItem* known) {
  if (!*first) {
    *first = item;
    return;
  }
  cTreeItem* last = known ? known : *first;
  while (last->m_next) last = last->m_next;
  last->m_next = item;
  item->m_previous = last;
}

// The first item of the chain that has nothing below it, so that deleting needs no recursion.
cTreeItem* Deepest(cTreeItem* item) {
  while (item->m_firstChild) item = item->m_firstChild;
  return item;
}

}  // namespace

void* cTreeItem::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

void AppendToTree(cTreeItem** head, cTreeItem* item) {
  item->m_owner = head;
  LinkBehindLast(head, item, nullptr);
}

void AppendChild(cTreeItem* parent, cTreeItem* item, cTreeItem* known) {
  item->m_owner = parent->m_owner;
  item->m_parent = parent;
  LinkBehindLast(&parent->m_firstChild, item, known);
}

void DeleteTree(cTreeItem** head) {
  while (*head) {
    cTreeItem* item = Deepest(*head);
    cTreeItem** first = item->m_parent ? &item->m_parent->m_firstChild : head;
    *first = item->m_next;
    if (item->m_next) item->m_next->m_previous = nullptr;
    item->Destroy(kFreeMemory);
  }
}

static_assert(sizeof(cTreeItem) == 48);

}  // namespace larkspur
