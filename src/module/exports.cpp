// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "module/exports.h"

#include <windows.h>

#include <algorithm>
#include <utility>

#include "catalog/message_catalog.h"
#include "dialogs/about_plg_form.h"
#include "dialogs/mk_raid_form.h"
#include "module/storage_list.h"
#include "platform/shared_heap.h"

using namespace larkspur;

namespace {

constexpr char kTypeTag[] = {'Q', 'M', 'C', 'I', 'I', 'O'};
constexpr u64 kModuleId = 0x4f585c1000000004;

// Without memory, or without a heap to take it from, there is nothing to do but to say no.
template <typename Result, typename Work>
Result Guarded(Result failed, Work&& work) noexcept {
  try {
    return work();
  } catch (...) {
    return failed;
  }
}

HWND WindowOf(HostElement* element) {
  return static_cast<HWND>(element->GetWindowHandle());
}

bool AssignNames(HostString* name, HostString* description) {
  cMessageCatalog& messages = Messages();
  if (messages.LanguageId() == kNoLanguage) messages.SelectLanguage(nullptr);
  const char16_t* const first = messages.Text("raid::main", 0);
  const char16_t* const second = messages.Text("raid::main", 1);
  if (!first || !second) return false;
  name->Assign(first);
  description->Assign(second);
  return true;
}

cBaseIO* MakeInstance(HostStorageList& list, HostElement* parent) {
  const MessageTexts* const texts = Messages().Find("raid::mkspan");
  if (!texts) return nullptr;
  Owned<cReadOnceIO> made = AskForReadOnceStorage(WindowOf(parent), *texts, StoragesOf(list));
  if (!made) return nullptr;
  return AppendStorage(list, Owned<cBaseIO>(made.release()));
}

}  // namespace

extern "C" {

bool typeofmod(void* sixBytes) {
  if (!sixBytes) return false;
  std::copy(std::begin(kTypeTag), std::end(kTypeTag), static_cast<char*>(sixBytes));
  return true;
}

u64 appuidof(void) {
  return kModuleId;
}

bool names(HostString* name, HostString* description) {
  if (!name || !description) return false;
  return Guarded(false, [&] { return AssignNames(name, description); });
}

bool about(HostElement* parent) {
  return Guarded(true, [&] {
    Messages().SelectLanguage(nullptr);
    if (parent) cAboutPlgForm::Present(WindowOf(parent));
    return true;
  });
}

bool configure(HostSettings* settings) {
  return Guarded(true, [&] {
    Messages().SelectLanguage(settings);
    return true;
  });
}

u64 init(u64 value) {
  return value;
}

cBaseIO* makeinstance(HostStorageList* list, HostElement* parent) {
  return Guarded<cBaseIO*>(nullptr, [&]() -> cBaseIO* {
    Messages().SelectLanguage(nullptr);
    return list && parent ? MakeInstance(*list, parent) : nullptr;
  });
}

void destroy(void) {}

void* __get_process_shared_heap(void) {
  return platform::SharedHeapHandleOrNew();
}

}  // extern "C"
