// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/property_list.h"

#include <algorithm>
#include <charconv>
#include <map>

#include <rapidxml/rapidxml.hpp>

namespace larkspur {
namespace {

using Node = rapidxml::xml_node<char>;

std::string_view NameOf(const Node* node) {
  return {node->name(), node->name_size()};
}

std::string_view TextOf(const Node* node) {
  return {node->value(), node->value_size()};
}

std::string_view AttributeOf(const Node* node, const char* name) {
  const auto* attribute = node->first_attribute(name);
  return attribute ? std::string_view{attribute->value(), attribute->value_size()}
                   : std::string_view{};
}

// The element after `node` in the order of the text; null past the last.
const Node* NextInOrder(const Node* node, const Node* top) {
  if (node->first_node()) return node->first_node();
  while (node != top && !node->next_sibling()) node = node->parent();
  return node == top ? nullptr : node->next_sibling();
}

// Every "<" that opens something may be an element in the one before it.
bool IsWithinLimits(std::string_view text) {
  size_t elements = 0;
  for (size_t at = text.find('<'); at != text.npos; at = text.find('<', at + 1)) {
    const char next = at + 1 < text.size() ? text[at + 1] : '\0';
    if (next == '!') return false;
    if (next != '/' && ++elements > PropertyList::kMaxElements) return false;
  }
  return true;
}

// Decimal, or hexadecimal after "0x".
std::optional<u64> ParseNumber(std::string_view digits) {
  const bool isHex = digits.starts_with("0x") || digits.starts_with("0X");
  if (isHex) digits.remove_prefix(2);
  u64 number = 0;
  const char* end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, number, isHex ? 16 : 10);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

}  // namespace

struct PropertyList::Document {
  // Parses `text`, which the nodes point into.
  bool Parse();
  // The element itself or, for a reference, the one that it refers to; null when there is none, or
  // it is a reference again.
  const Node* Resolve(const Node* node) const;
  // The value of that key; null when there is none of that kind.
  const Node* Find(std::string_view key, std::string_view kind) const;

  std::string text;
  rapidxml::xml_document<char> xml;
  const Node* dictionary = nullptr;
  std::map<std::string_view, const Node*> byId;
};

bool PropertyList::Document::Parse() {
  try {
    xml.parse<rapidxml::parse_no_data_nodes | rapidxml::parse_validate_closing_tags>(text.data());
  } catch (const rapidxml::parse_error&) {
    return false;
  }
  dictionary = xml.first_node();
  if (!dictionary || NameOf(dictionary) != "dict") return false;
  for (const Node* node = dictionary; node; node = NextInOrder(node, dictionary)) {
    const std::string_view id = AttributeOf(node, "ID");
    if (!id.empty()) byId.emplace(id, node);
  }
  return true;
}

const Node* PropertyList::Document::Resolve(const Node* node) const {
  if (NameOf(node) != "reference") return node;
  const auto found = byId.find(AttributeOf(node, "IDREF"));
  const bool isValue = found != byId.end() && NameOf(found->second) != "reference";
  return isValue ? found->second : nullptr;
}

const Node* PropertyList::Document::Find(std::string_view key, std::string_view kind) const {
  for (const Node* node = dictionary->first_node("key"); node; node = node->next_sibling("key")) {
    if (TextOf(node) != key || !node->next_sibling()) continue;
    const Node* value = Resolve(node->next_sibling());
    return value && NameOf(value) == kind ? value : nullptr;
  }
  return nullptr;
}

PropertyList::PropertyList(std::span<const u8> bytes) {
  auto document = std::make_unique<Document>();
  document->text.assign(bytes.begin(), std::find(bytes.begin(), bytes.end(), u8{0}));
  const bool isReadable = document->text.size() <= kMaxBytes && IsWithinLimits(document->text);
  if (isReadable && document->Parse()) m_document = std::move(document);
}

PropertyList::~PropertyList() = default;

std::optional<std::string> PropertyList::Text(std::string_view key) const {
  const Node* value = m_document ? m_document->Find(key, "string") : nullptr;
  if (!value) return std::nullopt;
  return std::string(TextOf(value));
}

std::optional<u64> PropertyList::Number(std::string_view key) const {
  const Node* value = m_document ? m_document->Find(key, "integer") : nullptr;
  return value ? ParseNumber(TextOf(value)) : std::nullopt;
}

std::optional<std::vector<std::string>> PropertyList::Texts(std::string_view key) const {
  const Node* value = m_document ? m_document->Find(key, "array") : nullptr;
  if (!value) return std::nullopt;
  std::vector<std::string> texts;
  for (const Node* node = value->first_node(); node; node = node->next_sibling()) {
    const Node* text = m_document->Resolve(node);
    if (text && NameOf(text) == "string") texts.emplace_back(TextOf(text));
  }
  return texts;
}

}  // namespace larkspur
