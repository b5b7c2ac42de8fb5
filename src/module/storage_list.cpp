// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "module/storage_list.h"

#include <new>

#include "base/heap.h"
#include "partitions/detection.h"

namespace larkspur {
namespace {

// More than any host keeps open: a list that leads back into itself ends here.
constexpr size_t kMaxStorages = 65536;

void Link(HostStorageList& list, HostStorageNode* node) {
  HostStorageNode*& last = list.m_tail ? list.m_tail->next : list.m_head;
  last = node;
  list.m_tail = node;
}

// What can be told of the storage is worth having, and the storage is, even without the tree.
void DetectPartitions(HostStorageNode* node) {
  try {
    BuildPartitionTree(&node->tree, node->storage);
  } catch (const std::bad_alloc&) {
  }
}

}  // namespace

std::vector<cBaseIO*> StoragesOf(const HostStorageList& list) {
  std::vector<cBaseIO*> storages;
  for (const HostStorageNode* node = list.m_head; node && storages.size() < kMaxStorages;
       node = node->next) {
    storages.push_back(node->storage);
  }
  return storages;
}

cBaseIO* AppendStorage(HostStorageList& list, Owned<cBaseIO> storage) {
  void* const memory = HeapAllocate(sizeof(HostStorageNode));
  if (!memory) return nullptr;
  HostStorageNode* const node = new (memory) HostStorageNode{storage.release(), nullptr, nullptr};
  Link(list, node);
  DetectPartitions(node);
  list.OnNodeAdded(node);
  return node->storage;
}

}  // namespace larkspur
