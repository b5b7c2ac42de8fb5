// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Text between byte code pages and UTF-16, by tables of our own: the same on every system.
//
// A code page goes by its Windows number; 0 means the user's default ANSI page. The characters are
// those of Microsoft's pages, user-defined and vendor rows included. All operations may be called
// from any thread.
//
// What has no meaning in a page becomes U+FFFD, one for:
// - in UTF-8, each longest part that could have begun a character, else each byte (overlong forms
//   and surrogates are no characters);
// - in the others, each undefined byte, each undefined pair, and a lead byte without a trail byte;
//   an ASCII byte that completes no defined pair is not part of one.
// What a page cannot write becomes '?', one for a surrogate pair; a lone surrogate becomes U+FFFD
// in UTF-8. There are no near equivalents: U+00C0 never becomes 'A'.

#include <span>
#include <string>

#include "base/types.h"

namespace larkspur {

constexpr u32 kUtf8CodePage = 65001;

// Writes the text of the bytes [bytes, bytes+count) to [out, out+capacity) and returns the number
// of units, without a zero at the end. 0 when there are no bytes, the page is unknown or the text
// does not fit; the buffer then holds nothing of use, but is never exceeded.
size_t BytesToWide(const void* bytes, size_t count, char16_t* out, size_t capacity, u32 codePage);

// The text of the bytes, whole.
std::u16string WideText(std::span<const u8> bytes, u32 codePage = kUtf8CodePage);

// The reverse of BytesToWide, by the same rules; the result counts bytes.
size_t WideToBytes(const char16_t* text, size_t count, void* out, size_t capacity, u32 codePage);

// The units that BytesToWide gives when there is room.
size_t WideLength(const void* bytes, size_t count, u32 codePage);

// All pages that are known, in the order in which a user is shown them.
struct CodePage {
  u32 number;
  const char* name;  // UTF-8; blanks at its end belong to it
};
std::span<const CodePage> KnownCodePages();

// The display name; null when the page is unknown. 0 is no page here.
const char* CodePageName(u32 codePage);

// The upper-case form of a letter that has exactly one, whose lower-case form is the letter again:
// the 973 such letters that Unicode 5.1 has among the 16-bit units. Any other unit is returned.
char16_t UpperCase(char16_t unit);

// Local time to UTC, both in seconds since 1970-01-01, by the zone set on this machine.
i64 LocalToUtc(i64 localSeconds);

}  // namespace larkspur
