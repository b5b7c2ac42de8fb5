// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/lvm2_text.h"

#include <charconv>

namespace larkspur {
namespace {

bool IsSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

bool IsWordCharacter(char c) {
  return c != '\0' && !IsSpace(c) && c != '#' && c != '=' && c != '{' && c != '}';
}

// Of a number, whole or with a fraction.
bool IsNumberCharacter(char c) {
  return IsDigit(c) || c == '+' || c == '-' || c == '.';
}

bool IsBareCharacter(char c) {
  return IsWordCharacter(c) && c != ',' && c != '[' && c != ']';
}

// A text as it was written in double quotes, without its backslashes.
std::string Unescape(std::string_view quoted) {
  std::string text;
  for (size_t i = 0; i < quoted.size(); ++i) {
    if (quoted[i] == '\\' && i + 1 < quoted.size()) ++i;
    text += quoted[i];
  }
  return text;
}

}  // namespace

// Reads tokens and files items. Sections that are open stand on a stack of its own.
class Lvm2TextReader {
 public:
  explicit Lvm2TextReader(Lvm2Text& text)
      : m_text(text), m_rest(std::string_view(text.m_text).substr(0, text.m_text.find('\0'))) {}

  bool Read();

 private:
  using Item = Lvm2Text::Item;
  using Kind = Lvm2Text::Kind;

  // The character of the next token; 0 at the end.
  char Next();
  bool Take(char c);
  std::string_view TakeWhile(bool (*isPart)(char));
  bool ReadItem();
  bool ReadName(std::string_view* name);
  bool ReadQuoted(char quote, std::string_view* inside);
  bool ReadValue(Item* value);
  bool ReadScalar(Item* value);
  bool ReadList(u32 list);
  bool OpenSection(std::string_view name);
  bool CloseSection();

  // Null when there are too many items.
  Item* Append(u32 parent, Item item);
  Item* AppendNamed(Item item);

  Lvm2Text& m_text;
  std::string_view m_rest;
  std::vector<u32> m_open{Lvm2Text::kRoot};
};

bool Lvm2TextReader::Read() {
  m_text.m_items.push_back({Kind::kSection, {}, {}});
  while (Next() != '\0') {
    if (!(Next() == '}' ? CloseSection() : ReadItem())) return false;
  }
  return m_open.size() == 1;
}

char Lvm2TextReader::Next() {
  while (!m_rest.empty() && (IsSpace(m_rest[0]) || m_rest[0] == '#')) {
    const size_t end = m_rest[0] == '#' ? m_rest.find('\n') : 1;
    m_rest.remove_prefix(end == m_rest.npos ? m_rest.size() : end);
  }
  return m_rest.empty() ? '\0' : m_rest[0];
}

bool Lvm2TextReader::Take(char c) {
  if (Next() != c) return false;
  m_rest.remove_prefix(1);
  return true;
}

std::string_view Lvm2TextReader::TakeWhile(bool (*isPart)(char)) {
  size_t length = 0;
  while (length < m_rest.size() && isPart(m_rest[length])) ++length;
  const std::string_view taken = m_rest.substr(0, length);
  m_rest.remove_prefix(length);
  return taken;
}

bool Lvm2TextReader::ReadItem() {
  std::string_view name;
  if (!ReadName(&name)) return false;
  if (Take('{')) return OpenSection(name);
  Item value{Kind::kText, name, {}};
  if (!Take('=')) return false;
  if (Next() != '[') return ReadScalar(&value) && AppendNamed(value);
  value.kind = Kind::kList;
  return AppendNamed(value) && ReadList(static_cast<u32>(m_text.m_items.size() - 1));
}

bool Lvm2TextReader::ReadName(std::string_view* name) {
  const char first = Next();
  if (first == '"' || first == '\'') {
    if (!ReadQuoted(first, name)) return false;
  } else {
    *name = TakeWhile(IsWordCharacter);
  }
  return !name->empty();
}

bool Lvm2TextReader::ReadQuoted(char quote, std::string_view* inside) {
  size_t end = 1;
  while (end < m_rest.size() && m_rest[end] != quote) {
    end += quote == '"' && m_rest[end] == '\\' ? 2 : 1;
  }
  if (end >= m_rest.size()) return false;
  *inside = m_rest.substr(1, end - 1);
  m_rest.remove_prefix(end + 1);
  return true;
}

bool Lvm2TextReader::ReadScalar(Item* value) {
  const char first = Next();
  if (first == '"' || first == '\'') {
    value->kind = first == '"' ? Kind::kQuoted : Kind::kText;
    return ReadQuoted(first, &value->value);
  }
  value->kind = IsNumberCharacter(first) ? Kind::kNumber : Kind::kText;
  value->value = TakeWhile(IsNumberCharacter(first) ? IsNumberCharacter : IsBareCharacter);
  return !value->value.empty();
}

bool Lvm2TextReader::ReadList(u32 list) {
  Take('[');
  while (!Take(']')) {
    Item scalar{Kind::kText, {}, {}};
    if (!ReadScalar(&scalar) || !Append(list, scalar)) return false;
    Take(',');
  }
  return true;
}

bool Lvm2TextReader::OpenSection(std::string_view name) {
  if (m_open.size() > Lvm2Text::kMaxNesting) return false;
  if (const auto known = m_text.FindSection(m_open.back(), name)) {
    m_open.push_back(*known);
    return true;
  }
  if (!AppendNamed({Kind::kSection, name, {}})) return false;
  m_open.push_back(static_cast<u32>(m_text.m_items.size() - 1));
  return true;
}

bool Lvm2TextReader::CloseSection() {
  m_open.pop_back();
  return Take('}') && !m_open.empty();
}

Lvm2Text::Item* Lvm2TextReader::Append(u32 parent, Item item) {
  auto& items = m_text.m_items;
  if (items.size() >= m_text.m_maxItems) return nullptr;
  const u32 number = static_cast<u32>(items.size());
  Item& above = items[parent];
  (above.lastChild == Lvm2Text::kNone ? above.firstChild : items[above.lastChild].next) = number;
  above.lastChild = number;
  return &items.emplace_back(item);
}

Lvm2Text::Item* Lvm2TextReader::AppendNamed(Item item) {
  Item* added = Append(m_open.back(), item);
  const u32 number = static_cast<u32>(m_text.m_items.size() - 1);
  if (added) m_text.m_index[{m_open.back(), item.name}] = number;
  return added;
}

Lvm2Text::Lvm2Text(std::string text, u64 maxItems) : m_text(std::move(text)), m_maxItems(maxItems) {
  m_valid = Lvm2TextReader(*this).Read();
}

const Lvm2Text::Item* Lvm2Text::FindItem(Section in, std::string_view name) const {
  const auto found = m_index.find({in, name});
  return found == m_index.end() ? nullptr : &m_items[found->second];
}

std::vector<Lvm2Text::Named> Lvm2Text::Sections(Section in) const {
  std::vector<Named> sections;
  for (u32 child = m_items[in].firstChild; child != kNone; child = m_items[child].next) {
    if (m_items[child].kind == Kind::kSection) sections.push_back({m_items[child].name, child});
  }
  return sections;
}

std::optional<Lvm2Text::Section> Lvm2Text::FindSection(Section in, std::string_view name) const {
  const Item* item = FindItem(in, name);
  if (!item || item->kind != Kind::kSection) return std::nullopt;
  return m_index.at({in, name});
}

std::optional<u64> Lvm2Text::NumberOf(const Item& item) {
  if (item.kind != Kind::kNumber) return std::nullopt;
  std::string_view digits = item.value;
  if (digits[0] == '+') digits.remove_prefix(1);
  u64 number = 0;
  const char* end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, number);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

std::optional<u64> Lvm2Text::Number(Section in, std::string_view name) const {
  const Item* item = FindItem(in, name);
  return item ? NumberOf(*item) : std::nullopt;
}

std::optional<std::string> Lvm2Text::Text(Section in, std::string_view name) const {
  const Item* item = FindItem(in, name);
  if (!item || (item->kind != Kind::kText && item->kind != Kind::kQuoted)) return std::nullopt;
  return item->kind == Kind::kQuoted ? Unescape(item->value) : std::string(item->value);
}

std::vector<Lvm2Text::Scalar> Lvm2Text::List(Section in, std::string_view name) const {
  const Item* item = FindItem(in, name);
  if (!item || item->kind == Kind::kSection) return {};
  if (item->kind != Kind::kList) return {{item->value, NumberOf(*item)}};
  std::vector<Scalar> scalars;
  for (u32 child = item->firstChild; child != kNone; child = m_items[child].next) {
    scalars.push_back({m_items[child].value, NumberOf(m_items[child])});
  }
  return scalars;
}

}  // namespace larkspur
