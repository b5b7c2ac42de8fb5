// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What a host calls by name (exports.def). Failure is false or null; no exception leaves.

#include "module/host_contract.h"

extern "C" {

// Writes the six letters of the module's type.
bool typeofmod(void* sixBytes);
larkspur::u64 appuidof(void);
bool names(larkspur::HostString* name, larkspur::HostString* description);
// Shows the about form; always true.
bool about(larkspur::HostElement* parent);
// Takes the language from the settings, which are kept for calls with null; always true.
bool configure(larkspur::HostSettings* settings);
larkspur::u64 init(larkspur::u64 value);
// Lets the user define a read-once storage and appends it to the list; null when he does not.
larkspur::cBaseIO* makeinstance(larkspur::HostStorageList* list, larkspur::HostElement* parent);
void destroy(void);
// The heap that host and module share: the host's, or else one that is made here.
void* __get_process_shared_heap(void);

}  // extern "C"
