// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "rescue/json_line.h"

#include <charconv>

#include "base/json_text.h"

namespace larkspur {
namespace {

void SkipBlanks(std::string_view* rest) {
  while (!rest->empty() && (rest->front() == ' ' || rest->front() == '\t')) rest->remove_prefix(1);
}

bool Skip(std::string_view* rest, char expected) {
  SkipBlanks(rest);
  if (rest->empty() || rest->front() != expected) return false;
  rest->remove_prefix(1);
  return true;
}

// Takes a string with its quotes; empty when there is none.
std::string_view TakeString(std::string_view* rest) {
  SkipBlanks(rest);
  if (rest->empty() || rest->front() != '"') return {};
  for (size_t at = 1; at < rest->size(); ++at) {
    if ((*rest)[at] == '\\') {
      ++at;
    } else if ((*rest)[at] == '"') {
      const std::string_view text = rest->substr(0, at + 1);
      rest->remove_prefix(at + 1);
      return text;
    }
  }
  return {};
}

// A number, true, false or null.
std::string_view TakeWord(std::string_view* rest) {
  const size_t end = std::min(rest->find_first_of(",} \t"), rest->size());
  const std::string_view word = rest->substr(0, end);
  rest->remove_prefix(end);
  return word;
}

std::string_view WithoutQuotes(std::string_view text) {
  return text.substr(1, text.size() - 2);
}

template <typename Number>
std::optional<Number> NumberIn(std::string_view text) {
  Number value{};
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc{} || stop != text.data() + text.size()) return std::nullopt;
  return value;
}

}  // namespace

bool JsonLine::Parse(std::string_view line) {
  m_count = 0;
  if (!ParseObject(&line, {})) return false;
  SkipBlanks(&line);
  return line.empty() || line == "\r";
}

bool JsonLine::ParseObject(std::string_view* rest, std::string_view object) {
  if (!Skip(rest, '{')) return false;
  if (Skip(rest, '}')) return true;
  do {
    const std::string_view key = TakeString(rest);
    if (key.empty() || !Skip(rest, ':')) return false;
    SkipBlanks(rest);
    if (rest->empty()) return false;
    if (rest->front() == '{') {
      // Objects inside objects inside the line are not ours.
      if (!object.empty() || !ParseObject(rest, WithoutQuotes(key))) return false;
      continue;
    }
    const std::string_view value = rest->front() == '"' ? TakeString(rest) : TakeWord(rest);
    if (value.empty() || m_count == kMaxFields) return false;
    m_fields[m_count++] = {object, WithoutQuotes(key), value};
  } while (Skip(rest, ','));
  return Skip(rest, '}');
}

const JsonLine::Field* JsonLine::Find(std::string_view key) const {
  const size_t dot = key.find('.');
  const std::string_view object = dot == key.npos ? std::string_view() : key.substr(0, dot);
  if (dot != key.npos) key.remove_prefix(dot + 1);
  for (size_t i = 0; i < m_count; ++i) {
    if (m_fields[i].key == key && m_fields[i].object == object) return &m_fields[i];
  }
  return nullptr;
}

std::optional<u64> JsonLine::Number(std::string_view key) const {
  const Field* field = Find(key);
  return field ? NumberIn<u64>(field->value) : std::nullopt;
}

std::optional<double> JsonLine::Decimal(std::string_view key) const {
  const Field* field = Find(key);
  return field ? NumberIn<double>(field->value) : std::nullopt;
}

std::optional<bool> JsonLine::Bool(std::string_view key) const {
  const Field* field = Find(key);
  if (!field || (field->value != "true" && field->value != "false")) return std::nullopt;
  return field->value == "true";
}

std::optional<std::string> JsonLine::Text(std::string_view key) const {
  const Field* field = Find(key);
  if (!field || field->value.front() != '"') return std::nullopt;
  if (field->value.find('\\') == std::string_view::npos) {
    return std::string(WithoutQuotes(field->value));
  }
  return TextOfJson(field->value);
}

}  // namespace larkspur
