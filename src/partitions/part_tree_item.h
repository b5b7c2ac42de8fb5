// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// cPartTreeItem: a node of the partition tree, which says where something lies on a storage, what
// it is, and which records belong to it. Sectors are those of the storage, 512 bytes each.

#include "base/wide_string.h"
#include "partitions/part_extension.h"
#include "partitions/tree_item.h"

namespace larkspur {

class cBaseIO;

// An item of a node's list of records.
class cPartExtensionItem final {
 public:
  explicit cPartExtensionItem(cPartExtension* record) : m_record(record) {}
  cPartExtensionItem(const cPartExtensionItem&) = delete;
  cPartExtensionItem& operator=(const cPartExtensionItem&) = delete;

  virtual void* Destroy(u32 flags);  // slot 0

  cPartExtensionItem* m_next = nullptr;
  cPartExtension* m_record;  // owned

 protected:
  ~cPartExtensionItem();

 private:
  template <typename T>
  friend void* DestroyAs(T* object, u32 flags);
};

class cPartTreeItem : public cTreeItem {
 public:
  cPartTreeItem() = default;

  void* Destroy(u32 flags) override;

  u64 End() const { return m_start + m_length; }
  const cPartTreeItem* Parent() const { return static_cast<const cPartTreeItem*>(m_parent); }
  const cPartTreeItem* FirstChild() const {
    return static_cast<const cPartTreeItem*>(m_firstChild);
  }
  const cPartTreeItem* Next() const { return static_cast<const cPartTreeItem*>(m_next); }

  cPartExtensionItem* m_firstExtension = nullptr;
  cPartExtensionItem* m_lastExtension = nullptr;
  u64 m_start = 0;
  u64 m_length = 0;
  u16 m_type = 0;
  cWideString m_name;
  cBaseIO* m_io = nullptr;  // not owned

 protected:
  ~cPartTreeItem();

 private:
  template <typename T>
  friend void* DestroyAs(T* object, u32 flags);
};

// A node as our scans make it: after the fields that a host reads, the length that the table
// itself gives. Nodes of a GUID partition table are shorter by one of its blocks, others are not.
class cScannedItem final : public cPartTreeItem {
 public:
  explicit cScannedItem(u64 tableLength) : m_tableLength(tableLength) {}

  void* Destroy(u32 flags) override;

  u64 m_tableLength;
  u16 m_tableType = 0;  // what the node holds may have given it another

 protected:
  ~cScannedItem() = default;

 private:
  template <typename T>
  friend void* DestroyAs(T* object, u32 flags);
};

// Ends all records of the node, stores the four values and names the node after its type. Answers
// whether the length is not zero.
bool SetNode(cPartTreeItem& node, cBaseIO* io, u64 start, u64 length, u16 type);

// Gives the node another type and the name of that type; its records stay.
void SetNodeType(cPartTreeItem& node, u16 type);

// Attaches the record, which the node owns from then on, after the others; a record of the same
// kind is ended first. Null is ignored.
void AddExtension(cPartTreeItem& node, cPartExtension* record);

// The node's record of that kind, or null.
cPartExtension* FindExtension(const cPartTreeItem& node, u32 kind);

}  // namespace larkspur
