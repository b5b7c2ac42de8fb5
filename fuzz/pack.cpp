// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Language packs. The input is taken as a whole pack, then as the sections of one (the fuzzer would
// hardly find its way through zlib).

#include <cstdlib>
#include <string>

#include <zlib.h>

#include "base/path_text.h"
#include "catalog/message_catalog.h"
#include "catalog/pack_builder.h"
#include "fuzz/targets.h"

namespace larkspur::fuzz {
namespace {

// What the catalog holds for the keys of the seeds.
std::u16string TextsOf(const cMessageCatalog& catalog) {
  std::u16string all;
  for (const char* key : {"a", "bad", "good", "raid::main", ""}) {
    const MessageTexts* const texts = catalog.Find(key);
    if (!texts) continue;
    for (const cWideString& text : *texts) (all += text.View()) += u'|';
  }
  return all;
}

}  // namespace

std::string RunPack(std::span<const u8> input) {
  cMessageCatalog whole({}, {}, {});
  whole.LoadPack(input);

  cMessageCatalog catalog({}, {}, {});
  const std::string pack = fakes::Pack(std::string(AsText(input)));
  catalog.LoadPack({reinterpret_cast<const u8*>(pack.data()), pack.size()});
  const std::u16string texts = TextsOf(catalog);
  if (texts.size() > 2 * input.size()) std::abort();  // no unit without a byte before it
  return Utf8FromWide(TextsOf(whole) + texts);
}

}  // namespace larkspur::fuzz
