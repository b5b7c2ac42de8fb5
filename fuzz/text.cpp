// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// The converters. The first byte picks the page, the rest is its text: the length is right, a
// buffer short of it refuses, and text that was written once is written alike when read again.

#include "base/text.h"

#include <cstdlib>
#include <string>
#include <vector>

#include "base/endian.h"
#include "base/path_text.h"
#include "fuzz/targets.h"

namespace larkspur::fuzz {
namespace {

std::u16string Read(const std::string& bytes, u32 page) {
  const size_t length = WideLength(bytes.data(), bytes.size(), page);
  std::vector<char16_t> out(length);
  if (BytesToWide(bytes.data(), bytes.size(), out.data(), length, page) != length) std::abort();
  std::vector<char16_t> tight(length ? length - 1 : 0);
  if (BytesToWide(bytes.data(), bytes.size(), tight.data(), tight.size(), page)) std::abort();
  return {out.begin(), out.end()};
}

std::string Write(const std::u16string& text, u32 page) {
  std::vector<char> out(text.size() * 8 + 8);  // an escape sequence before and after each character
  const size_t count = WideToBytes(text.data(), text.size(), out.data(), out.size(), page);
  if ((count == 0) != text.empty()) std::abort();
  std::vector<char> tight(count ? count - 1 : 0);
  if (WideToBytes(text.data(), text.size(), tight.data(), tight.size(), page)) std::abort();
  return {out.data(), count};
}

}  // namespace

std::string RunText(std::span<const u8> input) {
  if (input.empty()) return {};
  const u32 page = KnownCodePages()[input[0] % KnownCodePages().size()].number;
  const std::string bytes(AsText(input.subspan(1)));
  const std::u16string read = Read(bytes, page);
  const std::string written = Write(read, page);
  if (Write(Read(written, page), page) != written) std::abort();
  std::u16string any(bytes.size() / 2, u'\0');
  for (size_t i = 0; i < any.size(); ++i) any[i] = LoadLe16(&input[1 + 2 * i]);
  const std::string once = Write(any, page);
  if (Write(Read(once, page), page) != once) std::abort();
  return Utf8FromWide(read) + written + once;
}

}  // namespace larkspur::fuzz
