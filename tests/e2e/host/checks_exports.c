// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// What the module answers without a window.

#include <string.h>

#include "checks.h"
#include "host.h"

void CheckIdentity(const Module* module) {
  char letters[7] = "......!";
  CHECK(module->typeofmod(letters));
  CHECK(memcmp(letters, "QMCIIO!", 7) == 0);
  CHECK(!module->typeofmod(NULL));
  CHECK_EQUAL(module->appuidof(), 0x4f585c1000000004);
  CHECK_EQUAL(module->init(7), 7);
  CHECK_EQUAL(module->init(~(uint64_t)0), ~(uint64_t)0);
  module->destroy();
  CHECK(module->typeofmod(letters));
}

void CheckHeap(const Module* module) {
  HostText name, description;
  MakeText(&name);
  MakeText(&description);
  if (kHeapIsExported) {
    CHECK(module->heap() == HostHeap());
  } else {
    // There is nothing to make texts of, until somebody asks for a heap.
    CHECK(!module->names(&name.base, &description.base));
    CHECK_EQUAL(name.assigned, 0);
    CHECK(module->configure(NULL));
    CHECK(module->about(NULL));
    HostElement parent;
    HostList list;
    MakeElement(&parent, NULL);
    MakeList(&list);
    CHECK(module->makeinstance(&list.base, &parent.base) == NULL);
  }
  void* const heap = module->heap();
  CHECK(heap != NULL);
  CHECK(module->heap() == heap);
  CHECK(HeapValidate(heap, 0, NULL));
  CHECK(module->names(&name.base, &description.base));
}

static void CheckNames(const Module* module, const wchar_t* wantedName,
                       const wchar_t* wantedDescription) {
  HostText name, description;
  MakeText(&name);
  MakeText(&description);
  CHECK(module->names(&name.base, &description.base));
  CHECK_TEXT((const Unit*)name.text, wantedName);
  CHECK_TEXT((const Unit*)description.text, wantedDescription);
  CHECK_EQUAL(name.assigned, 1);
  CHECK_EQUAL(description.assigned, 1);
}

void CheckLanguages(const Module* module) {
  const wchar_t* const kEnglish[] = {L"Create read-once storage", L"Larkspur Plugin"};
  const wchar_t* const kGerman[] = {L"Einmal-Lese-Datentr\x00E4ger anlegen", L"Larkspur-Plug-In"};
  const wchar_t* const kRussian[] = {
      L"\x0421\x043E\x0437\x0434\x0430\x0442\x044C \x0445\x0440\x0430\x043D\x0438\x043B\x0438\x0449"
      L"\x0435 \x043E\x0434\x043D\x043E\x043A\x0440\x0430\x0442\x043D\x043E\x0433\x043E "
      L"\x0447\x0442\x0435\x043D\x0438\x044F",
      L"\x041F\x043E\x0434\x043A\x043B\x044E\x0447\x0430\x0435\x043C\x044B\x0439 "
      L"\x043C\x043E\x0434\x0443\x043B\x044C Larkspur"};
  const struct {
    uint32_t language, size;
    const wchar_t* const* names;
  } kSteps[] = {
      {2, 4, kGerman},  {1, 4, kRussian},  {0, 4, kEnglish},
      {2, 4, kGerman},  {1, 8, kGerman},  // of another length: the language stays
      {1, 0, kGerman},                    // there is no setting
      {3, 4, kEnglish},                   // Japanese has texts of the toolkit alone
      {1, 4, kRussian}, {77, 4, kEnglish}, {0, 4, kEnglish},
  };
  CheckNames(module, kEnglish[0], kEnglish[1]);  // before anything was configured
  static HostSettings settings;                  // the module keeps the object
  for (size_t i = 0; i < sizeof kSteps / sizeof *kSteps; ++i) {
    MakeSettings(&settings, kSteps[i].language);
    settings.size = kSteps[i].size;
    CHECK(module->configure(&settings.base));
    CHECK(settings.asked > 0);
    CheckNames(module, kSteps[i].names[0], kSteps[i].names[1]);
  }
  // The object given last is asked again where none is given.
  MakeSettings(&settings, 2);
  CHECK(module->configure(NULL));
  CheckNames(module, kGerman[0], kGerman[1]);
  MakeSettings(&settings, 0);
  CHECK(module->configure(NULL));
}

void CheckRefusals(const Module* module) {
  HostText text;
  HostElement parent;
  HostList list;
  MakeText(&text);
  MakeElement(&parent, NULL);
  MakeList(&list);
  CHECK(!module->names(NULL, &text.base));
  CHECK(!module->names(&text.base, NULL));
  CHECK(!module->names(NULL, NULL));
  CHECK_EQUAL(text.assigned, 0);
  CHECK(module->makeinstance(NULL, &parent.base) == NULL);
  CHECK(module->makeinstance(&list.base, NULL) == NULL);
  CHECK(module->makeinstance(NULL, NULL) == NULL);
  CHECK(module->about(NULL));
  CHECK(list.base.head == NULL && list.notified == 0);
}
