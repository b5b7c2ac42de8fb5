// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/place.h"

#include <charconv>

namespace larkspur {
namespace {

// A number without sign and without zeros before it, taken from the front of `text`; 0 when there
// is none.
size_t TakeNumber(std::string_view* text) {
  if (text->starts_with('0')) return 0;
  size_t number = 0;
  const char* end = text->data() + text->size();
  const auto [stop, error] = std::from_chars(text->data(), end, number);
  if (error != std::errc()) return 0;
  text->remove_prefix(static_cast<size_t>(stop - text->data()));
  return number;
}

}  // namespace

bool IsPlace(std::string_view text) {
  while (TakeNumber(&text) > 0) {
    if (text.empty()) return true;
    if (!text.starts_with('.')) return false;
    text.remove_prefix(1);
  }
  return false;
}

const cPartTreeItem* FindNode(const cPartTreeItem& root, std::string_view place) {
  const cPartTreeItem* node = &root;
  while (!place.empty()) {
    size_t number = TakeNumber(&place);
    if (number == 0) return nullptr;
    node = node->FirstChild();
    while (node && --number > 0) node = node->Next();
    if (!node || place.empty()) return node;
    if (!place.starts_with('.') || place.size() == 1) return nullptr;
    place.remove_prefix(1);
  }
  return node;
}

std::optional<PlacedSectors> FindPlace(const cPartTreeItem& root, std::string_view place) {
  const cPartTreeItem* node = FindNode(root, place);
  if (!node) return std::nullopt;
  const u64 sectors = static_cast<const cScannedItem*>(node)->m_tableLength;
  if (sectors == 0 || sectors > kNowhere - node->m_start) return std::nullopt;
  return PlacedSectors{node->m_start, sectors};
}

std::string ChildPlace(std::string_view parent, size_t number) {
  std::string place(parent);
  if (!place.empty()) place += '.';
  return place + std::to_string(number);
}

}  // namespace larkspur
