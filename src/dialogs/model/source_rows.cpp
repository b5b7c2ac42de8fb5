// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/model/source_rows.h"

#include <algorithm>
#include <array>

#include "dialogs/model/number_text.h"

namespace larkspur {
namespace {

constexpr size_t kMaxTextCharacters = 256;
constexpr std::u16string_view kNoSerial = u"[n/a]";

// One line of text: what would break or hide in a row becomes a blank, runs of blanks one.
std::u16string OneLine(std::u16string_view text) {
  std::u16string line;
  for (const char16_t unit : text) {
    const bool blank = unit <= u' ' || unit == 0x7F;
    if (!blank) {
      line += unit;
    } else if (!line.empty() && line.back() != u' ') {
      line += u' ';
    }
  }
  if (line.ends_with(u' ')) line.pop_back();
  return line;
}

std::u16string DescriptionOf(cBaseIO* storage) {
  std::array<char16_t, kMaxTextCharacters> buffer{};
  // One character less than there are, so that the text ends even where the storage ends nothing.
  if (!storage->GetDescription(buffer.data(), static_cast<i32>(buffer.size()) - 1)) return {};
  return OneLine(buffer.data());
}

std::u16string NameOf(cBaseIO* storage) {
  const char16_t* const name = storage->GetName();
  if (!name) return {};
  const char16_t* const limit = name + kMaxTextCharacters;
  std::u16string_view text(name, static_cast<size_t>(std::find(name, limit, u'\0') - name));
  return text == kNoSerial ? std::u16string() : OneLine(text);
}

}  // namespace

std::u16string StorageText(cBaseIO* storage, size_t place) {
  std::u16string description = DescriptionOf(storage), name = NameOf(storage);
  if (description.empty() && name.empty()) {
    return u"#" + NumberText(place) + u" (" + GigabytesText(storage->GetByteSize()) + u")";
  }
  if (description.empty()) return name;
  if (name.empty() || description.find(name) != std::u16string::npos) return description;
  return description + u" [" + name + u"]";
}

std::vector<SourceRow> SourceRows(std::span<cBaseIO* const> storages) {
  std::vector<SourceRow> rows;
  for (cBaseIO* const storage : storages) {
    if (!storage || storage->GetTypeId() == kTypeReadOnce) continue;
    rows.push_back({StorageText(storage, rows.size() + 1), storage});
  }
  return rows;
}

}  // namespace larkspur
