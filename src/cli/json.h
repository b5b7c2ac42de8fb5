// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A JSON document to print, put together value by value: {{"path", path}, {"sectors", 5}} is an
// object. Members stay in the order in which they were added. Texts are UTF-8, as in
// base/json_text.h.

#include <concepts>
#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace larkspur::cli {

class Json {
 public:
  struct Member;

  Json();  // null
  Json(std::nullptr_t) : Json() {}
  Json(bool value);
  Json(double value);
  Json(std::string_view text);
  Json(const std::string& text) : Json(std::string_view(text)) {}
  Json(const char* text) : Json(std::string_view(text)) {}
  template <typename Number>
  requires std::integral<Number> || std::is_enum_v<Number> Json(Number value)
      : Json(Written(), std::to_string(+value)) {}
  Json(std::initializer_list<Member> members);

  static Json Array(std::initializer_list<Json> items = {});
  static Json Object() { return Json(std::initializer_list<Member>()); }

  // Makes an array of null first.
  void Add(Json item);
  // The member of that name, added as null if there is none. Makes an object of null first.
  Json& operator[](std::string_view name);

  // On one line, and with a line for each value.
  std::string Compact() const;
  std::string Pretty() const;

 private:
  enum class Kind { kScalar, kArray, kObject };
  struct Written {};

  Json(Written, std::string text);
  void Write(std::string* out, const std::string* lineBreak) const;

  Kind m_kind = Kind::kScalar;
  std::string m_text;                // a scalar as it is written
  std::vector<std::string> m_names;  // of an object's values
  std::vector<Json> m_values;
};

struct Json::Member {
  std::string name;
  Json value;
};

}  // namespace larkspur::cli
