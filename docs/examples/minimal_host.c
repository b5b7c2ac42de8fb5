// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// The smallest host that does the whole road: it loads the module, lets the user define a storage
// in the module's dialog, reads the first sector, shows the partitions, and gives all back.
//
//   x86_64-w64-mingw32-gcc minimal_host.c -o minimal_host.exe     (or any other C11 compiler)
//   minimal_host.exe larkspur.dll          shows the dialog
//   minimal_host.exe larkspur.dll --list   says only what the module is

#include <stdio.h>
#include <string.h>
#include <wchar.h>

#include "larkspur_host.h"

// The heap that host and module share. The module looks for this export of the host.
__declspec(dllexport) void* __get_process_shared_heap(void) {
  static HANDLE heap;
  if (!heap) heap = HeapCreate(0, 1024, 0);
  return heap;
}

// Our three objects: a string that the module fills, the window above which it shows its dialogs,
// and the list of storages.

typedef struct {
  String base;
  wchar_t text[256];
} OwnString;

static void AssignText(String* self, const Unit* text) {
  wcsncpy(((OwnString*)self)->text, (const wchar_t*)text, 255);
}
static const StringTable kStringTable = {AssignText};

typedef struct {
  Element base;
  HWND window;
} OwnElement;

static void* GetOwnWindow(Element* self) {
  return ((OwnElement*)self)->window;
}
static const ElementTable kElementTable = {GetOwnWindow};

static void OnNodeAdded(List* list, Node* node) {
  (void)list;
  printf("the list has a new storage: %ls\n",
         (const wchar_t*)node->storage->table->GetName(node->storage));
}
static const ListTable kListTable = {OnNodeAdded};

static void ShowTree(const TreeItem* item, int level) {
  for (; item; item = item->next) {
    printf("%*s%llu+%llu %ls (%u)\n", level * 2, "", (unsigned long long)item->start,
           (unsigned long long)item->length, item->name ? (const wchar_t*)item->name : L"",
           item->type);
    ShowTree(item->firstChild, level + 1);
  }
}

static void DestroyTree(TreeItem* item) {
  while (item) {
    TreeItem* next = item->next;
    DestroyTree(item->firstChild);
    item->table->Destroy((Ended*)item, 1);
    item = next;
  }
}

static void ShowStorage(const Node* node) {
  Storage* storage = node->storage;
  unsigned char sector[512];
  printf("%llu sectors\n", (unsigned long long)storage->table->GetSectorCount(storage));
  storage->table->SetPosition(storage, 0);
  if (storage->table->Read(storage, sector, 1, NULL) == 1) {
    printf("sector 0 ends with %02x %02x\n", sector[510], sector[511]);
  }
  ShowTree(node->tree, 0);
}

static void MakeStorage(HMODULE module) {
  Storage* (*make)(List*, Element*) =
      (Storage * (*)(List*, Element*))(void*)GetProcAddress(module, "makeinstance");
  List list = {&kListTable, NULL, NULL};
  OwnElement element = {{&kElementTable}, NULL};
  element.window = CreateWindowW(L"STATIC", L"Minimal host", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 50,
                                 50, 500, 450, NULL, NULL, NULL, NULL);
  if (!make(&list, &element.base)) printf("no storage was defined\n");
  while (list.head) {
    Node* node = list.head;
    ShowStorage(node);
    list.head = node->next;
    DestroyTree(node->tree);
    node->storage->table->Destroy(node->storage, 1);
    HeapFree(__get_process_shared_heap(), 0, node);
  }
  DestroyWindow(element.window);
}

int main(int argc, char** argv) {
  HMODULE module = argc > 1 ? LoadLibraryA(argv[1]) : NULL;
  if (!module) return printf("usage: minimal_host MODULE.dll [--list]\n"), 2;
  bool (*typeofmod)(void*) = (bool (*)(void*))(void*)GetProcAddress(module, "typeofmod");
  uint64_t (*appuidof)(void) = (uint64_t(*)(void))(void*)GetProcAddress(module, "appuidof");
  bool (*names)(String*, String*) =
      (bool (*)(String*, String*))(void*)GetProcAddress(module, "names");
  char type[6];
  OwnString name = {{&kStringTable}, L""};
  OwnString description = {{&kStringTable}, L""};
  if (!typeofmod || !appuidof || !names || !typeofmod(type) || memcmp(type, "QMCIIO", 6) != 0 ||
      !names(&name.base, &description.base)) {
    return printf("%s is no storage module\n", argv[1]), 1;
  }
  printf("%ls: %ls (%016llx)\n", name.text, description.text, (unsigned long long)appuidof());
  if (argc == 2) MakeStorage(module);
  FreeLibrary(module);
  return 0;
}
