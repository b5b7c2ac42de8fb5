// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Modules that are not what a host expects: OTHER_KIND makes one of another kind, else one that
// never makes a storage.

#include <stdint.h>
#include <string.h>

#define EXPORTED __declspec(dllexport)

EXPORTED uint8_t typeofmod(void* six_bytes) {
#ifdef OTHER_KIND
  memcpy(six_bytes, "QMCFSX", 6);
#else
  memcpy(six_bytes, "QMCIIO", 6);
#endif
  return 1;
}

EXPORTED uint64_t appuidof(void) {
  return 0x1122334455667788;
}

EXPORTED uint8_t names(void* name, void* description) {
  (void)name;
  (void)description;
  return 0;
}

EXPORTED uint8_t configure(void* settings) {
  (void)settings;
  return 1;
}

EXPORTED void* makeinstance(void* list, void* parent) {
  (void)list;
  (void)parent;
  return 0;
}
