// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/rules/folder_rows.h"

#include <algorithm>

#include "base/text.h"
#include "dialogs/rules/number_text.h"

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
  const size_t shared = std::min(one.size(), other.size());
  for (size_t i = 0; i < shared; ++i) {
    if (const int order = Sign(UpperCase(one[i]), UpperCase(other[i]))) return order;
  }
  if (const int order = Sign(one.size(), other.size())) return order;
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
