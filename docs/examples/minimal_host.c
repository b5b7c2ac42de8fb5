// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// The smallest host that does the whole road: it loads the module, lets the user define a storage
// in the module's dialog, reads the first sector, shows the partitions, and gives all back.
//
//   x86_64-w64-mingw32-gcc minimal_host.c -o minimal_host.exe     (or any other C compiler)
//   minimal_host.exe larkspur.dll          shows the dialog
//   minimal_host.exe larkspur.dll --list   says only what the module is

#include <windows.h>

#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <wchar.h>

// An object of the module or of ours: its first member points to its table of operations.
typedef struct Object {
  void* const* operations;
} Object;

typedef struct StorageNode {
  Object* storage;
  struct TreeItem* tree;
  struct StorageNode* next;
} StorageNode;

typedef struct StorageList {
  void* const* operations;
  StorageNode* head;
  StorageNode* tail;
} StorageList;

// A node of the partition tree, as far as it is read here.
typedef struct TreeItem {
  void* const* operations;
  struct TreeItem* next;
  struct TreeItem* previous;
  struct TreeItem* firstChild;
  struct TreeItem* parent;
  struct TreeItem** owner;
  void* extensions[2];
  uint64_t start;
  uint64_t length;
  uint16_t type;
  const wchar_t* name;
  Object* storage;
} TreeItem;

enum { kSetPosition = 9, kRead = 10, kGetSectorCount = 16, kGetName = 19, kDestroy = 22 };

typedef uint64_t (*SetPosition)(Object*, uint64_t sector);
typedef uint32_t (*Read)(Object*, void* buffer, uint32_t count, void* presence);
typedef uint64_t (*GetSectorCount)(Object*);
typedef const wchar_t* (*GetName)(Object*);
typedef void* (*Destroy)(void*, uint32_t flags);

// The heap that host and module share. The module looks for this export of the host.
__declspec(dllexport) void* __get_process_shared_heap(void) {
  static HANDLE heap;
  if (!heap) heap = HeapCreate(0, 1024, 0);
  return heap;
}

// Our three objects: a string that the module fills, the window above which it shows its dialogs,
// and the list of storages.

typedef struct String {
  void* const* operations;
  wchar_t text[256];
} String;

static void AssignText(String* string, const wchar_t* text) {
  wcsncpy(string->text, text, 255);
}
static void* const kStringOperations[] = {(void*)AssignText};

typedef struct Element {
  void* const* operations;
  HWND window;
} Element;

static void* GetWindow_(Element* element) {
  return element->window;
}
static void* const kElementOperations[] = {(void*)GetWindow_};

static void OnNodeAdded(StorageList* list, StorageNode* node) {
  (void)list;
  printf("the list has a new storage: %ls\n",
         ((GetName)node->storage->operations[kGetName])(node->storage));
}
static void* const kListOperations[] = {(void*)OnNodeAdded};

static void ShowTree(const TreeItem* item, int level) {
  for (; item; item = item->next) {
    printf("%*s%llu+%llu %ls (%u)\n", level * 2, "", (unsigned long long)item->start,
           (unsigned long long)item->length, item->name ? item->name : L"", item->type);
    ShowTree(item->firstChild, level + 1);
  }
}

static void DestroyTree(TreeItem* item) {
  while (item) {
    TreeItem* next = item->next;
    DestroyTree(item->firstChild);
    ((Destroy)item->operations[0])(item, 1);
    item = next;
  }
}

static void ShowStorage(StorageNode* node) {
  Object* storage = node->storage;
  unsigned char sector[512];
  printf("%llu sectors\n",
         (unsigned long long)((GetSectorCount)storage->operations[kGetSectorCount])(storage));
  ((SetPosition)storage->operations[kSetPosition])(storage, 0);
  if (((Read)storage->operations[kRead])(storage, sector, 1, NULL) == 1) {
    printf("sector 0 ends with %02x %02x\n", sector[510], sector[511]);
  }
  ShowTree(node->tree, 0);
}

static void MakeStorage(HMODULE module) {
  typedef Object* (*MakeInstance)(StorageList*, Element*);
  MakeInstance make = (MakeInstance)(void*)GetProcAddress(module, "makeinstance");
  StorageList list = {kListOperations, NULL, NULL};
  Element element = {kElementOperations, NULL};
  element.window = CreateWindowW(L"STATIC", L"Minimal host", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 50,
                                 50, 500, 450, NULL, NULL, NULL, NULL);
  if (!make(&list, &element)) printf("no storage was defined\n");
  while (list.head) {
    StorageNode* node = list.head;
    ShowStorage(node);
    list.head = node->next;
    DestroyTree(node->tree);
    ((Destroy)node->storage->operations[kDestroy])(node->storage, 1);
    HeapFree(__get_process_shared_heap(), 0, node);
  }
  DestroyWindow(element.window);
}

int main(int argc, char** argv) {
  HMODULE module = argc > 1 ? LoadLibraryA(argv[1]) : NULL;
  if (!module) return printf("usage: minimal_host MODULE.dll [--list]\n"), 2;
  BOOLEAN (*typeofmod)(void*) = (BOOLEAN(*)(void*))(void*)GetProcAddress(module, "typeofmod");
  uint64_t (*appuidof)(void) = (uint64_t(*)(void))(void*)GetProcAddress(module, "appuidof");
  BOOLEAN(*names)
  (String*, String*) = (BOOLEAN(*)(String*, String*))(void*)GetProcAddress(module, "names");
  char type[6];
  String name = {kStringOperations, L""};
  String description = {kStringOperations, L""};
  if (!typeofmod || !appuidof || !names || !typeofmod(type) || memcmp(type, "QMCIIO", 6) != 0 ||
      !names(&name, &description)) {
    return printf("%s is no storage module\n", argv[1]), 1;
  }
  printf("%ls: %ls (%016llx)\n", name.text, description.text, (unsigned long long)appuidof());
  if (argc == 2) MakeStorage(module);
  FreeLibrary(module);
  return 0;
}
