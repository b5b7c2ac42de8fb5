// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/model/text_template.h"

#include <algorithm>
#include <cstdio>
#include <string>

namespace larkspur {
namespace {

constexpr std::u16string_view kConversions = u"sdcfu";
constexpr int kMostDigits = 20;

struct Directive {
  bool zeros = false;
  int width = 0;
  int decimals = -1;
  char16_t conversion = 0;
  size_t length = 0;  // of its text, from the percent sign on
};

int NumberAt(std::u16string_view text, size_t& at) {
  int number = 0;
  while (at < text.size() && text[at] >= u'0' && text[at] <= u'9') {
    number = std::min(kMostDigits, number * 10 + (text[at++] - u'0'));
  }
  return number;
}

// Reads the directive at the start of `text`; conversion 0 when there is none.
Directive ReadDirective(std::u16string_view text) {
  Directive found;
  size_t at = 1;
  found.zeros = at < text.size() && text[at] == u'0';
  found.width = NumberAt(text, at);
  if (at < text.size() && text[at] == u'.') found.decimals = NumberAt(text, ++at);
  while (at < text.size() && text[at] == u'l') ++at;
  if (at < text.size() && kConversions.find(text[at]) != kConversions.npos) {
    found.conversion = text[at];
    found.length = at + 1;
  }
  return found;
}

std::u16string Widened(std::string_view ascii) {
  return {ascii.begin(), ascii.end()};
}

std::u16string Whole(const Directive& directive, i64 value) {
  if (directive.conversion == u'c') return std::u16string(1, static_cast<char16_t>(value));
  char digits[64];
  std::snprintf(digits, sizeof digits, directive.zeros ? "%0*lld" : "%*lld", directive.width,
                static_cast<long long>(value));
  return Widened(digits);
}

std::u16string Fraction(const Directive& directive, double value) {
  char digits[400];
  std::snprintf(digits, sizeof digits, directive.zeros ? "%0*.*f" : "%*.*f", directive.width,
                directive.decimals < 0 ? 6 : directive.decimals, value);
  return Widened(digits);
}

std::u16string Shown(const Directive& directive, const TemplateArgument& argument) {
  const bool wantsText = directive.conversion == u's';
  const bool wantsFraction = directive.conversion == u'f';
  if (const auto* text = std::get_if<std::u16string_view>(&argument)) {
    return wantsText ? std::u16string(*text) : std::u16string();
  }
  if (const auto* value = std::get_if<double>(&argument)) {
    return wantsFraction ? Fraction(directive, *value) : std::u16string();
  }
  return wantsText || wantsFraction ? std::u16string() : Whole(directive, std::get<i64>(argument));
}

}  // namespace

std::u16string FilledIn(std::u16string_view text, std::span<const TemplateArgument> arguments) {
  std::u16string out;
  size_t next = 0;
  while (!text.empty()) {
    const size_t plain = std::min(text.find(u'%'), text.size());
    out += text.substr(0, plain);
    text.remove_prefix(plain);
    if (text.empty()) break;
    const Directive directive = ReadDirective(text);
    if (directive.conversion) {
      if (next < arguments.size()) out += Shown(directive, arguments[next++]);
      text.remove_prefix(directive.length);
    } else {
      out += u'%';
      text.remove_prefix(text.substr(0, 2) == u"%%" ? 2 : 1);
    }
  }
  return out;
}

}  // namespace larkspur
