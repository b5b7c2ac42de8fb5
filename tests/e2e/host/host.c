// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host.h"

#include <stdio.h>
#include <string.h>
#include <wchar.h>

#ifdef LARKSPUR_HOST_EXPORTS_ITS_HEAP
const bool kHeapIsExported = true;
__declspec(dllexport) void* __get_process_shared_heap(void);
void* __get_process_shared_heap(void) {
  return HostHeap();
}
#else
const bool kHeapIsExported = false;
#endif

static HANDLE theHeap;

HANDLE HostHeap(void) {
  if (!theHeap) theHeap = HeapCreate(0, 0, 0);
  return theHeap;
}

void ShareHeap(HANDLE heap) {
  theHeap = heap;
}

static void Assign(String* self, const Unit* text) {
  HostText* const own = (HostText*)self;
  ++own->assigned;
  wcsncpy(own->text, (const wchar_t*)text, 255);
}
static const StringTable kStringTable = {Assign};

void MakeText(HostText* text) {
  memset(text, 0, sizeof *text);
  text->base.table = &kStringTable;
}

static bool QuerySetting(Settings* self, uint32_t number, void* buffer, uint32_t capacity,
                         uint32_t* size) {
  HostSettings* const own = (HostSettings*)self;
  ++own->asked;
  if (number != 16 || own->size == 0) return false;
  uint8_t value[16] = {0};
  memcpy(value, &own->language, sizeof own->language);
  memcpy(buffer, value, own->size < capacity ? own->size : capacity);
  *size = own->size;
  return true;
}
static const SettingsTable kSettingsTable = {QuerySetting};

void MakeSettings(HostSettings* settings, uint32_t language) {
  *settings = (HostSettings){{&kSettingsTable}, language, sizeof language, 0};
}

static void* GetWindowHandle(Element* self) {
  return ((HostElement*)self)->window;
}
static const ElementTable kElementTable = {GetWindowHandle};

void MakeElement(HostElement* element, HWND window) {
  *element = (HostElement){{&kElementTable}, window};
}

static void OnNodeAdded(List* self, Node* node) {
  HostList* const own = (HostList*)self;
  own->added = node;
  ++own->notified;
}
static const ListTable kListTable = {OnNodeAdded};

void MakeList(HostList* list) {
  *list = (HostList){{&kListTable, NULL, NULL}, NULL, 0};
}

void AddStorage(HostList* list, Storage* storage) {
  Node* const node = HeapAlloc(HostHeap(), HEAP_ZERO_MEMORY, sizeof *node);
  node->storage = storage;
  if (list->base.tail) {
    list->base.tail->next = node;
  } else {
    list->base.head = node;
  }
  list->base.tail = node;
}

static void EndTree(TreeItem* item) {
  while (item) {
    TreeItem* const next = item->next;
    EndTree(item->firstChild);
    item->table->Destroy((Ended*)item, 1);
    item = next;
  }
}

void ClearList(HostList* list) {
  for (Node* node = list->base.head; node;) {
    Node* const next = node->next;
    EndTree(node->tree);
    if (node->storage) node->storage->table->Destroy(node->storage, 1);
    HeapFree(HostHeap(), 0, node);
    node = next;
  }
  list->base.head = list->base.tail = NULL;
}

HWND OpenHostWindow(void) {
  return CreateWindowExW(0, L"STATIC", L"Host of the module", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 80,
                         60, 900, 700, NULL, NULL, GetModuleHandleW(NULL), NULL);
}

static bool Find(Module* module, const char* name, void* place) {
  const FARPROC found = GetProcAddress(module->library, name);
  if (!found) printf("the module does not export %s\n", name);
  memcpy(place, &found, sizeof found);
  return found != NULL;
}

bool OpenModule(Module* module, const wchar_t* path) {
  memset(module, 0, sizeof *module);
  module->library = LoadLibraryW(path);
  if (!module->library) {
    printf("%ls cannot be loaded: error %lu\n", path, GetLastError());
    return false;
  }
  return Find(module, "typeofmod", &module->typeofmod) &&
         Find(module, "appuidof", &module->appuidof) && Find(module, "names", &module->names) &&
         Find(module, "about", &module->about) && Find(module, "configure", &module->configure) &&
         Find(module, "init", &module->init) &&
         Find(module, "makeinstance", &module->makeinstance) &&
         Find(module, "destroy", &module->destroy) &&
         Find(module, "__get_process_shared_heap", &module->heap);
}

static wchar_t folder[MAX_PATH];

static void MakeFolder(void) {
  wchar_t base[MAX_PATH];
  GetTempPathW(MAX_PATH, base);
  swprintf(folder, MAX_PATH, L"%lscaches \x0436 %lu", base, GetCurrentProcessId());
  RemoveCacheFolder();  // what a run that was cut short has left
  CreateDirectoryW(folder, NULL);
}

const wchar_t* CachePath(const wchar_t* name) {
  static wchar_t path[2 * MAX_PATH];
  if (!folder[0]) MakeFolder();
  swprintf(path, 2 * MAX_PATH, L"%ls\\%ls", folder, name);
  return path;
}

void WriteFileOf(const wchar_t* path, const char* bytes) {
  DWORD written;
  const HANDLE file = CreateFileW(path, GENERIC_WRITE, 0, NULL, CREATE_ALWAYS, 0, NULL);
  WriteFile(file, bytes, (DWORD)strlen(bytes), &written, NULL);
  CloseHandle(file);
}

void RemoveCacheFolder(void) {
  if (!folder[0]) return;
  wchar_t pattern[2 * MAX_PATH];
  wcscpy(pattern, CachePath(L"*"));
  WIN32_FIND_DATAW found;
  const HANDLE search = FindFirstFileW(pattern, &found);
  if (search == INVALID_HANDLE_VALUE) return;
  do {
    DeleteFileW(CachePath(found.cFileName));
  } while (FindNextFileW(search, &found));
  FindClose(search);
  RemoveDirectoryW(folder);
}
