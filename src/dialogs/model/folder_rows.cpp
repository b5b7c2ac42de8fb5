// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/model/folder_rows.h"

#include <algorithm>

#include "base/text.h"
#include "dialogs/model/number_text.h"
#include "platform/locale.h"

namespace larkspur {
namespace {

using platform::FolderEntry;

constexpr u32 kKilobyteShift = 10;

std::u16string DateText(const platform::CalendarTime& time) {
  return NumberText(time.day, 2) + u"." + NumberText(time.month, 2) + u"." +
         NumberText(time.year, 4) + u" " + NumberText(time.hour, 2) + u":" +
         NumberText(time.minute, 2) + u":" + NumberText(time.second, 2);
}

int Sign(u64 one, u64 other) {
  return one < other ? -1 : one > other ? 1 : 0;
}

bool IsDigit(char16_t unit) {
  return unit >= u'0' && unit <= u'9';
}

// The digits that a text begins with, or else what comes before its first digit.
std::u16string_view FirstPiece(std::u16string_view text) {
  size_t end = 0;
  while (end < text.size() && IsDigit(text[end]) == IsDigit(text[0])) ++end;
  return text.substr(0, end);
}

// Digits by the number that they are, other pieces as the user's language has it; nothing comes
// before digits, and digits before anything else.
int ComparePieces(std::u16string_view one, std::u16string_view other) {
  const auto rank = [](std::u16string_view piece) {
    return piece.empty() ? 0u : IsDigit(piece[0]) ? 1u : 2u;
  };
  if (rank(one) != rank(other)) return Sign(rank(one), rank(other));
  if (rank(one) != 1) return platform::CompareTexts(one, other);
  for (std::u16string_view* number : {&one, &other}) {
    number->remove_prefix(std::min(number->find_first_not_of(u'0'), number->size()));
  }
  return one.size() != other.size() ? Sign(one.size(), other.size()) : one.compare(other);
}

int CompareIn(FolderColumn column, const FolderEntry& one, const FolderEntry& other) {
  switch (column) {
    case FolderColumn::kDate:
      return Sign(one.writtenAt, other.writtenAt);
    case FolderColumn::kSize:
      return one.isFolder ? 0 : Sign(one.sizeBytes, other.sizeBytes);
    default:  // the type says no more than which are folders
      return 0;
  }
}

// One pattern; after a mismatch the last "*" takes one unit more, so this is at most quadratic.
bool FitsOne(std::u16string_view name, std::u16string_view pattern) {
  if (pattern == u"*.*") return true;
  constexpr size_t kNone = std::u16string_view::npos;
  size_t n = 0, p = 0, star = kNone, taken = 0;
  while (n < name.size()) {
    if (p < pattern.size() && pattern[p] == u'*') {
      star = p++;
      taken = n;
    } else if (p < pattern.size() &&
               (pattern[p] == u'?' || UpperCase(pattern[p]) == UpperCase(name[n]))) {
      ++p;
      ++n;
    } else if (star != kNone) {
      p = star + 1;
      n = ++taken;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of(u'*', p) == kNone;
}

}  // namespace

std::u16string ColumnText(const FolderEntry& entry, FolderColumn column, const TypeWords& words) {
  switch (column) {
    case FolderColumn::kName:
      return entry.name;
    case FolderColumn::kDate:
      return DateText(entry.written);
    case FolderColumn::kType:
      return entry.isFolder ? words.folder : words.file;
    case FolderColumn::kSize:
      return entry.isFolder ? u"" : NumberText(entry.sizeBytes >> kKilobyteShift) + u" KB";
  }
  return {};
}

int CompareNames(std::u16string_view one, std::u16string_view other) {
  for (std::u16string_view a = one, b = other; !a.empty() || !b.empty();) {
    const std::u16string_view piece = FirstPiece(a), otherPiece = FirstPiece(b);
    if (const int order = ComparePieces(piece, otherPiece)) return order;
    a.remove_prefix(piece.size());
    b.remove_prefix(otherPiece.size());
  }
  return one.compare(other);
}

int CompareEntries(const FolderEntry& one, const FolderEntry& other, FolderColumn column) {
  if (one.isFolder != other.isFolder) return one.isFolder ? -1 : 1;
  const int order = CompareIn(column, one, other);
  return order != 0 ? order : CompareNames(one.name, other.name);
}

bool FitsPattern(std::u16string_view name, std::u16string_view patterns) {
  while (true) {
    const size_t end = patterns.find(u';');
    const std::u16string_view pattern = patterns.substr(0, end);
    if (!pattern.empty() && FitsOne(name, pattern)) return true;
    if (end == std::u16string_view::npos) return false;
    patterns.remove_prefix(end + 1);
  }
}

bool IsShown(const FolderEntry& entry, std::u16string_view patterns) {
  return entry.isFolder || FitsPattern(entry.name, patterns);
}

}  // namespace larkspur
