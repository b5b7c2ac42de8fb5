// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Language packs. The input is taken as a whole pack, then as the sections of one (the fuzzer would
// hardly find its way through zlib).

#include <cstdlib>
#include <string>

#include <zlib.h>

#include "catalog/message_catalog.h"
#include "catalog/pack_builder.h"

namespace larkspur {
namespace {

// Reads every unit that the catalog holds for the keys of the seeds.
size_t Touch(const cMessageCatalog& catalog) {
  size_t units = 0;
  for (const char* key : {"a", "bad", "good", "raid::main", ""}) {
    const MessageTexts* const texts = catalog.Find(key);
    if (!texts) continue;
    for (const cWideString& text : *texts) units += text.View().size();
  }
  return units;
}

}  // namespace
}  // namespace larkspur

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace larkspur;
  cMessageCatalog whole({}, {}, {});
  whole.LoadPack({data, size});
  Touch(whole);

  cMessageCatalog catalog({}, {}, {});
  const std::string pack = fakes::Pack(std::string(reinterpret_cast<const char*>(data), size));
  catalog.LoadPack({reinterpret_cast<const u8*>(pack.data()), pack.size()});
  if (Touch(catalog) > size) std::abort();  // no unit without a byte after it
  return 0;
}
