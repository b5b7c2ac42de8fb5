// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/part_tree_item.h"

#include <cstddef>

#include "base/owned.h"
#include "partitions/type_names.h"

namespace larkspur {
namespace {

void DeleteExtensions(cPartTreeItem& node) {
  while (cPartExtensionItem* item = node.m_firstExtension) {
    node.m_firstExtension = item->m_next;
    item->Destroy(kFreeMemory);
  }
  node.m_lastExtension = nullptr;
}

// Takes the record of that kind out of the node and ends it.
void DropExtension(cPartTreeItem& node, u32 kind) {
  cPartExtensionItem* before = nullptr;
  for (cPartExtensionItem* item = node.m_firstExtension; item; item = item->m_next) {
    if (item->m_record->GetKind() == kind) {
      (before ? before->m_next : node.m_firstExtension) = item->m_next;
      if (node.m_lastExtension == item) node.m_lastExtension = before;
      item->Destroy(kFreeMemory);
      return;
    }
    before = item;
  }
}

}  // namespace

void* cPartExtensionItem::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

cPartExtensionItem::~cPartExtensionItem() {
  m_record->Reset();
  m_record->Destroy(kFreeMemory);
}

void* cPartTreeItem::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

cPartTreeItem::~cPartTreeItem() {
  DeleteExtensions(*this);
}

void* cScannedItem::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

bool SetNode(cPartTreeItem& node, cBaseIO* io, u64 start, u64 length, u16 type) {
  DeleteExtensions(node);
  node.m_io = io;
  node.m_start = start;
  node.m_length = length;
  SetNodeType(node, type);
  return length != 0;
}

void SetNodeType(cPartTreeItem& node, u16 type) {
  node.m_type = type;
  node.m_name.Assign(GetTypeName(type));
}

void AddExtension(cPartTreeItem& node, cPartExtension* record) {
  if (!record) return;
  Owned<cPartExtension> owner(record);
  auto* item = new cPartExtensionItem(record);
  static_cast<void>(owner.release());  // the item has it
  DropExtension(node, record->GetKind());
  (node.m_lastExtension ? node.m_lastExtension->m_next : node.m_firstExtension) = item;
  node.m_lastExtension = item;
}

cPartExtension* FindExtension(const cPartTreeItem& node, u32 kind) {
  for (cPartExtensionItem* item = node.m_firstExtension; item; item = item->m_next) {
    if (item->m_record->GetKind() == kind) return item->m_record;
  }
  return nullptr;
}

// What a host reads as data.
static_assert(sizeof(cPartTreeItem) == 104);
static_assert(sizeof(cPartExtensionItem) == 24);

}  // namespace larkspur
