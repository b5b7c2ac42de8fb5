// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/model/tree_rows.h"

#include <cstddef>

#include "base/size_text.h"
#include "host/model/words.h"
#include "imaging/tree_words.h"
#include "partitions/part_tree_item.h"
#include "partitions/type_names.h"

namespace larkspur::host {
namespace {

// Our own classes are the contract's structures; these are the places that a foreign tree is read
// at. (GCC knows offsets in classes with a table of operations; it only warns that not all do.)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(offsetof(cTreeItem, m_next) == 8 && offsetof(cTreeItem, m_firstChild) == 24);
static_assert(offsetof(cPartTreeItem, m_firstExtension) == 48);
static_assert(offsetof(cPartTreeItem, m_start) == 64 && offsetof(cPartTreeItem, m_length) == 72);
static_assert(offsetof(cPartTreeItem, m_type) == 80 && offsetof(cPartTreeItem, m_name) == 88);
static_assert(offsetof(cPartExtensionItem, m_next) == 8);
static_assert(offsetof(cPartExtensionItem, m_record) == 16);
static_assert(offsetof(cSBRLegacyOffset, m_offset) == 8);
static_assert(offsetof(cPartSoftRAIDInfo, m_name) == 8 && offsetof(cPartSoftRAIDInfo, m_set) == 16);
static_assert(offsetof(cPartSoftRAIDInfo, m_layout) == 32);
static_assert(offsetof(cPartSoftRAIDInfo, m_columns) == 44);
#pragma GCC diagnostic pop

constexpr size_t kMostRows = 65536;
constexpr u32 kMostLevels = 64;
constexpr u32 kMostRecords = 64;

std::string NameOf(const cPartTreeItem& node) {
  return node.m_type == kTypeWholeDevice ? "whole storage" : TextOf(node.m_name);
}

std::string FactsOf(const cPartTreeItem& node, const TreeNotes& notes) {
  std::string facts;
  u32 count = 0;
  for (const cPartExtensionItem* item = node.m_firstExtension; item && count < kMostRecords;
       item = item->m_next, ++count) {
    if (!item->m_record) continue;
    const std::string words = RecordText(item->m_record, Records::kAnyModules);
    if (!words.empty()) facts += (facts.empty() ? "" : "; ") + words;
  }
  for (const std::string& line : NoteLines(notes.Of(node))) {
    facts += (facts.empty() ? "" : "; ") + line;
  }
  return facts;
}

void AppendRows(const cTreeItem* item, const TreeNotes& notes, u32 level,
                std::vector<TreeRow>* rows) {
  for (; item && rows->size() < kMostRows; item = item->m_next) {
    const auto& node = static_cast<const cPartTreeItem&>(*item);
    rows->push_back({level, node.m_start, node.m_length, node.m_type, WideFromUtf8(NameOf(node)),
                     WideFromUtf8(FactsOf(node, notes))});
    if (level < kMostLevels) AppendRows(node.m_firstChild, notes, level + 1, rows);
  }
}

}  // namespace

std::vector<TreeRow> TreeRows(const cTreeItem* head, const TreeNotes& notes) {
  std::vector<TreeRow> rows;
  AppendRows(head, notes, 0, &rows);
  return rows;
}

bool IsAnythingKnown(const std::vector<TreeRow>& rows) {
  return rows.size() > 1 || (rows.size() == 1 && !rows[0].facts.empty());
}

std::string TreeText(const std::vector<TreeRow>& rows) {
  std::string text =
      fmt::format("{:>12} {:>12} {:>10} {:>6}  {}\n", "start", "sectors", "size", "type", "what");
  for (const TreeRow& row : rows) {
    text += fmt::format("{:>12} {:>12} {:>10} {:>6}  {:{}}{}{}{}\n", row.start, row.length,
                        SizeText(row.length << kSectorShift), row.type, "", row.level * 2,
                        Utf8(row.name), row.facts.empty() ? "" : ": ", Utf8(row.facts));
  }
  return text;
}

}  // namespace larkspur::host
