// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The host contract (docs/host-contract.md) for hosts in C: tables of functions, structures with
// fixed offsets, text as zero-terminated UTF-16. It needs nothing else of this project.

#include <windows.h>

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

typedef uint16_t Unit;  // of UTF-16

typedef struct Storage Storage;
typedef struct {
  Storage* (*Clone)(Storage* self);
  bool (*IsSameAs)(Storage* self, Storage* other);
  bool (*IsSparse)(Storage* self);
  bool (*QueryCapability)(Storage* self);
  void (*InitState)(Storage* self);
  void (*Close)(Storage* self);
  bool (*SetReadOnly)(Storage* self, bool readOnly);
  bool (*Open)(Storage* self, const void* resource, bool readOnly);
  uint64_t (*Create)(Storage* self, const void* resource, uint64_t sectors, bool openAfter);
  uint64_t (*SetPosition)(Storage* self, uint64_t sector);
  uint32_t (*Read)(Storage* self, void* buffer, uint32_t count, void* presence);
  uint32_t (*WriteMasked)(Storage* self, uint64_t sector, const void* buffer, uint32_t count,
                          void* mask);
  uint32_t (*Write)(Storage* self, uint64_t sector, const void* buffer, uint32_t count);
  bool (*ReadBytes)(Storage* self, void* buffer, uint64_t offset, uint32_t bytes);
  bool (*WriteBytes)(Storage* self, const void* buffer, uint64_t offset, uint32_t bytes);
  bool (*SetSectorCount)(Storage* self, uint64_t sectors);
  uint64_t (*GetSectorCount)(Storage* self);
  uint64_t (*GetFullSectorCount)(Storage* self);
  uint64_t (*GetByteSize)(Storage* self);
  const Unit* (*GetName)(Storage* self);
  uint32_t (*GetTypeId)(Storage* self);
  uint32_t (*GetResourceKind)(Storage* self);
  void* (*Destroy)(Storage* self, uint32_t flags);
  bool (*GetGeometry)(Storage* self, uint32_t* three);
  bool (*GetDescription)(Storage* self, Unit* buffer, int32_t capacity);
} StorageTable;
struct Storage {
  const StorageTable* table;
};
_Static_assert(offsetof(StorageTable, GetDescription) == 24 * 8, "25 slots");

// Any object whose slot 0 ends it.
typedef struct Ended Ended;
typedef struct {
  void* (*Destroy)(Ended* self, uint32_t flags);
} EndedTable;
struct Ended {
  const EndedTable* table;
};

typedef struct TreeItem TreeItem;
struct TreeItem {
  const EndedTable* table;
  TreeItem* next;
  TreeItem* previous;
  TreeItem* firstChild;
  TreeItem* parent;
  TreeItem** owner;
  void* firstExtension;
  void* lastExtension;
  uint64_t start;
  uint64_t length;
  uint16_t type;
  const Unit* name;
  Storage* storage;
};
_Static_assert(sizeof(TreeItem) == 104, "a node of the partition tree");
_Static_assert(offsetof(TreeItem, start) == 64 && offsetof(TreeItem, type) == 80, "its fields");

typedef struct Node Node;
struct Node {
  Storage* storage;
  TreeItem* tree;
  Node* next;
};

typedef struct List List;
typedef struct {
  void (*OnNodeAdded)(List* self, Node* node);
} ListTable;
struct List {
  const ListTable* table;
  Node* head;
  Node* tail;
};

typedef struct String String;
typedef struct {
  void (*Assign)(String* self, const Unit* text);
} StringTable;
struct String {
  const StringTable* table;
};

typedef struct Settings Settings;
typedef struct {
  bool (*QuerySetting)(Settings* self, uint32_t number, void* buffer, uint32_t capacity,
                       uint32_t* size);
} SettingsTable;
struct Settings {
  const SettingsTable* table;
};

typedef struct Element Element;
typedef struct {
  void* (*GetWindowHandle)(Element* self);
} ElementTable;
struct Element {
  const ElementTable* table;
};

// The module's exports.
typedef struct {
  HMODULE library;
  bool (*typeofmod)(void* sixBytes);
  uint64_t (*appuidof)(void);
  bool (*names)(String* name, String* description);
  bool (*about)(Element* parent);
  bool (*configure)(Settings* settings);
  uint64_t (*init)(uint64_t value);
  Storage* (*makeinstance)(List* list, Element* parent);
  void (*destroy)(void);
  void* (*heap)(void);
} Module;
