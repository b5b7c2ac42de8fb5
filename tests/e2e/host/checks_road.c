// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// The whole road: a host lists its disk, the user defines a read-once storage over it, the host
// reads that storage.

#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include "checks.h"
#include "disk.h"
#include "host.h"
#include "user.h"

static const wchar_t kTitle[] = L"Define Larkspur storage";

static void Cancel(HWND form, void* unused) {
  (void)unused;
  CHECK(GetWindow(form, GW_OWNER) != NULL);
  CHECK(IsThemed(form, kAccept));  // though this program asks for no such thing
  Press(form, kCancel);
}

void CheckCancelled(const Module* module) {
  static Disk disk;
  HostList list;
  HostElement parent;
  MakeDisk(&disk, L"SERIAL-1");
  MakeList(&list);
  AddStorage(&list, OpenDisk(&disk));
  MakeElement(&parent, OpenHostWindow());
  Node* const before = list.base.tail;
  StartUser(kTitle, Cancel, NULL);
  CHECK(module->makeinstance(&list.base, &parent.base) == NULL);
  CHECK(UserIsDone());
  CHECK(list.base.head == before && list.base.tail == before && before->next == NULL);
  CHECK_EQUAL(list.notified, 0);
  CHECK(IsWindowEnabled(parent.window));
  ClearList(&list);
  CHECK_EQUAL(disk.alive, 0);
  CHECK_EQUAL(disk.misused, 0);
  DestroyWindow(parent.window);
}

// What the user does: one row more than there are storages, the first of them, this cache.
typedef struct {
  int rows;
  const wchar_t* firstRow;
  const wchar_t* cache;
} Wish;

static void Define(HWND form, void* context) {
  const Wish* const wish = context;
  wchar_t text[256];
  CHECK_EQUAL(CountRows(form), wish->rows);
  RowText(form, 0, text, 256);
  CHECK_TEXT((const Unit*)text, L"- Select one -");
  RowText(form, 1, text, 256);
  CHECK_TEXT((const Unit*)text, wish->firstRow);
  CHECK(!IsWindowEnabled(Control(form, kChooseFile)));
  ChooseRow(form, 1);
  CHECK(IsWindowEnabled(Control(form, kChooseFile)));
  TypeText(form, wish->cache);
  Press(form, kAccept);
}

static Storage* DefineBy(const Module* module, HostList* list, HostElement* parent, Wish* wish) {
  StartUser(kTitle, Define, wish);
  Storage* const made = module->makeinstance(&list->base, &parent->base);
  CHECK(UserIsDone());
  return made;
}

static void CheckSlots(Storage* storage) {
  const StorageTable* const table = storage->table;
  uint32_t three[3] = {0};
  Unit text[64];
  CHECK_EQUAL(table->GetTypeId(storage), 22);
  CHECK_EQUAL(table->GetResourceKind(storage), 0);
  CHECK_EQUAL(table->GetSectorCount(storage), DISK_SECTORS);
  CHECK_EQUAL(table->GetFullSectorCount(storage), DISK_SECTORS);
  CHECK_EQUAL(table->GetByteSize(storage), DISK_SECTORS * SECTOR_BYTES);
  CHECK(!table->IsSparse(storage));
  CHECK(table->QueryCapability(storage));  // the host's disk answers yes
  CHECK(table->GetGeometry(storage, three));
  CHECK(three[0] == 512 && three[1] == 63 && three[2] == 255);
  CHECK(table->GetDescription(storage, text, 64));
  CHECK_TEXT(text, L"{Drive of the host}");
  CHECK(!table->GetDescription(storage, text, 2));
  CHECK_TEXT(table->GetName(storage), L"{Drive of the host}");
  CHECK_EQUAL(table->Write(storage, 0, text, 1), 0);
  CHECK(!table->Open(storage, NULL, true));
  CHECK_EQUAL(table->SetPosition(storage, ~(uint64_t)0), DISK_SECTORS);
}

static bool IsDiskData(const Disk* disk, uint64_t first, uint32_t count, const uint8_t* bytes) {
  for (uint32_t i = 0; i < count; ++i) {
    for (uint32_t j = 0; j < SECTOR_BYTES; ++j) {
      if (bytes[(size_t)i * SECTOR_BYTES + j] != DiskByte(disk, first + i, j)) return false;
    }
  }
  return true;
}

static void CheckWholeRead(const Disk* disk, Storage* storage) {
  const uint32_t kAtOnce = 1024;  // ends where the disk ends
  uint8_t* const buffer = malloc((size_t)kAtOnce * SECTOR_BYTES);
  uint64_t position = storage->table->SetPosition(storage, 0);
  while (position < DISK_SECTORS) {
    const uint32_t got = storage->table->Read(storage, buffer, kAtOnce, NULL);
    if (!CHECK(got > 0) || !CHECK(IsDiskData(disk, position, got, buffer))) break;
    position += got;
  }
  CHECK_EQUAL(storage->table->Read(storage, buffer, 1, NULL), 0);
  CHECK(storage->table->ReadBytes(storage, buffer, 700, 100));
  CHECK_EQUAL(buffer[0], DiskByte(disk, 1, 700 - SECTOR_BYTES));
  free(buffer);
}

static void CheckTree(Node* node) {
  TreeItem* const root = node->tree;
  if (!CHECK(root != NULL)) return;
  CHECK(root->parent == NULL && root->next == NULL && root->owner == &node->tree);
  CHECK(root->storage == node->storage);
  CHECK_EQUAL(root->start, 0);
  CHECK_EQUAL(root->length, DISK_SECTORS);
  TreeItem* const partition = root->firstChild;
  if (!CHECK(partition != NULL)) return;
  CHECK(partition->parent == root && partition->owner == &node->tree);
  CHECK(partition->next == NULL && partition->previous == NULL);
  CHECK_EQUAL(partition->start, 64);
  CHECK_EQUAL(partition->length, 2000);
  CHECK_EQUAL(partition->type, 12);
  CHECK_TEXT(partition->name, L"FAT32 LBA");
  CHECK(partition->storage == node->storage);
}

static void CheckFirstTime(const Module* module, Disk* disk, HostElement* parent,
                           const wchar_t* cache) {
  HostList list;
  MakeList(&list);
  AddStorage(&list, NULL);
  AddStorage(&list, OpenDisk(disk));
  Node* const before = list.base.tail;
  Wish wish = {2, L"Drive of the host [SERIAL-1]", cache};
  Storage* const made = DefineBy(module, &list, parent, &wish);
  if (CHECK(made != NULL)) {
    CHECK(list.base.tail != before && before->next == list.base.tail);
    CHECK(list.base.tail->storage == made && list.base.tail->next == NULL);
    CHECK_EQUAL(list.notified, 1);
    CHECK(list.added == list.base.tail);
    CHECK(HeapSize(module->heap(), 0, list.base.tail) == 24);
    CheckTree(list.base.tail);
    CheckSlots(made);
    CheckWholeRead(disk, made);
    Storage* const clone = made->table->Clone(made);
    CHECK(clone && clone->table->IsSameAs(clone, made));
    if (clone) CheckWholeRead(disk, clone);
    if (clone) clone->table->Destroy(clone, 1);
  }
  ClearList(&list);
}

// The same cache again: nothing is left to be asked, and the read-once storage is no source.
static void CheckSecondTime(const Module* module, Disk* disk, HostElement* parent,
                            const wchar_t* cache) {
  HostList list;
  MakeList(&list);
  AddStorage(&list, OpenDisk(disk));
  const uint32_t asked = AskedInAll(disk);
  for (int round = 0; round < 2; ++round) {
    Wish wish = {2, L"Drive of the host [SERIAL-1]", cache};
    Storage* const made = DefineBy(module, &list, parent, &wish);
    if (CHECK(made != NULL)) CheckWholeRead(disk, made);
  }
  CHECK_EQUAL(list.notified, 2);
  CHECK_EQUAL(AskedInAll(disk), asked);
  ClearList(&list);
}

void CheckRoad(const Module* module) {
  static Disk disk;
  HostElement parent;
  wchar_t cache[2 * MAX_PATH];
  MakeDisk(&disk, L"SERIAL-1");
  wcscpy(cache, CachePath(L"road.kvrsp"));
  MakeElement(&parent, OpenHostWindow());
  CheckFirstTime(module, &disk, &parent, cache);
  CHECK_EQUAL(MostAsked(&disk), 1);
  CHECK_EQUAL(AskedInAll(&disk), DISK_SECTORS);
  CheckSecondTime(module, &disk, &parent, cache);

  CHECK_EQUAL(disk.alive, 0);
  CHECK_EQUAL(disk.misused, 0);
  DestroyWindow(parent.window);
}
