// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The host's own side of the contract: its heap, texts, settings, window and list of storages,
// and the folder where it keeps caches.

#include "larkspur_host.h"

// Whether this program exports its heap; a host of another kind does not.
extern const bool kHeapIsExported;
HANDLE HostHeap(void);
// Takes over the module's heap, where there is none of the host's.
void ShareHeap(HANDLE heap);

typedef struct {
  String base;
  wchar_t text[256];
  int assigned;  // how often
} HostText;
void MakeText(HostText* text);

// Setting 16 and no other.
typedef struct {
  Settings base;
  uint32_t language;
  uint32_t size;  // the setting's length in bytes; 0: it does not exist
  int asked;
} HostSettings;
void MakeSettings(HostSettings* settings, uint32_t language);

typedef struct {
  Element base;
  HWND window;
} HostElement;
void MakeElement(HostElement* element, HWND window);

typedef struct {
  List base;
  Node* added;  // by the last notification
  int notified;
} HostList;
void MakeList(HostList* list);
// Appends a storage of the host's; null storages are allowed.
void AddStorage(HostList* list, Storage* storage);
// Ends every node: tree, storage, memory.
void ClearList(HostList* list);

// A window of the host's, over which forms are shown.
HWND OpenHostWindow(void);

// False, after saying why, when the library or one of its exports is missing.
bool OpenModule(Module* module, const wchar_t* path);

// A folder for the caches of this run, made at the first call, with a name that is no plain one.
const wchar_t* CachePath(const wchar_t* name);
void WriteFileOf(const wchar_t* path, const char* bytes);
void RemoveCacheFolder(void);
