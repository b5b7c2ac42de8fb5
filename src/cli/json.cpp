// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "cli/json.h"

#include <algorithm>
#include <utility>

#include "base/json_text.h"

namespace larkspur::cli {

Json::Json() : Json(Written(), "null") {}
Json::Json(bool value) : Json(Written(), value ? "true" : "false") {}
Json::Json(double value) : Json(Written(), JsonNumber(value)) {}
Json::Json(std::string_view text) : Json(Written(), JsonText(text)) {}
Json::Json(Written, std::string text) : m_text(std::move(text)) {}

Json::Json(std::initializer_list<Member> members) : m_kind(Kind::kObject) {
  for (const Member& member : members) {
    m_names.push_back(member.name);
    m_values.push_back(member.value);
  }
}

Json Json::Array(std::initializer_list<Json> items) {
  Json array;
  array.m_kind = Kind::kArray;
  for (const Json& item : items) array.Add(item);
  return array;
}

void Json::Add(Json item) {
  if (m_kind == Kind::kScalar) m_kind = Kind::kArray;
  m_values.push_back(std::move(item));
}

Json& Json::operator[](std::string_view name) {
  if (m_kind == Kind::kScalar) m_kind = Kind::kObject;
  const auto found = std::find(m_names.begin(), m_names.end(), name);
  if (found != m_names.end()) return m_values[static_cast<size_t>(found - m_names.begin())];
  m_names.emplace_back(name);
  return m_values.emplace_back();
}

std::string Json::Compact() const {
  std::string out;
  Write(&out, nullptr);
  return out;
}

std::string Json::Pretty() const {
  const std::string lineBreak = "\n";
  std::string out;
  Write(&out, &lineBreak);
  return out;
}

// `lineBreak` has the indentation of the line that the value begins in; none: all is one line.
void Json::Write(std::string* out, const std::string* lineBreak) const {
  if (m_kind == Kind::kScalar) {
    *out += m_text;
    return;
  }
  const bool isObject = m_kind == Kind::kObject;
  const std::string inner = lineBreak ? *lineBreak + "  " : "";
  const char* separator = "";
  *out += isObject ? '{' : '[';
  for (size_t i = 0; i < m_values.size(); ++i) {
    *out += std::exchange(separator, ",");
    *out += inner;
    if (isObject) *out += JsonText(m_names[i]) + (lineBreak ? ": " : ":");
    m_values[i].Write(out, lineBreak ? &inner : nullptr);
  }
  if (lineBreak && !m_values.empty()) *out += *lineBreak;
  *out += isObject ? '}' : ']';
}

}  // namespace larkspur::cli
