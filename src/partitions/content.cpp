// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/content.h"

#include <algorithm>

#include "base/printable.h"
#include "partitions/content_rows.h"
#include "partitions/field_text.h"
#include "partitions/type_names.h"

namespace larkspur {
namespace {

using Form = ContentField::Form;

// The bytes from the last to the first, in hex.
std::string Reversed(std::span<const u8> field) {
  std::string text;
  for (size_t i = field.size(); i > 0; --i) text += HexText(field.subspan(i - 1, 1));
  return text;
}

std::string Serial(std::span<const u8> field) {
  std::string text = Reversed(field);
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'a' ? static_cast<char>(c - 'a' + 'A') : c; });
  return text;
}

// Without the zeros before it; 0 is none.
std::string Number(const std::string& text) {
  return text.substr(std::min(text.find_first_not_of('0'), text.size()));
}

std::string TextOf(NodeBytes& bytes, const ContentField& field) {
  const auto found = bytes.Bytes(field.offset, field.bytes);
  if (found.empty()) return {};
  switch (field.form) {
    case Form::kText:
      return FieldUtf8(found);
    case Form::kUtf16Le:
      return FieldUtf16(found, false);
    case Form::kUuid:
      return FieldUuid(found);
    case Form::kGuid:
      return FieldGuid(found);
    case Form::kHex:
      return HexText(found);
    case Form::kSerial32:
      return Serial(found).insert(4, 1, '-');
    case Form::kSerial64:
      return Serial(found);
    case Form::kBe64:
      return Number(HexText(found));
    case Form::kTwoWords:
      return Reversed(found.first(4)) + Reversed(found.last(4));
    case Form::kVmfs:
      return Reversed(found.first(4)) + '-' + Reversed(found.subspan(4, 4)) + '-' +
             Reversed(found.subspan(8, 2)) + '-' + HexText(found.last(6));
    case Form::kNone:
      break;
  }
  return {};
}

// Where a row's structure lies, in bytes from the node's start.
std::optional<u64> PlaceOf(const ContentRow& row, u64 size) {
  if (row.place >= 0) return static_cast<u64>(row.place);
  const u64 back = static_cast<u64>(-row.place);
  if (size < back) return std::nullopt;
  return (size - back) / row.multiple * row.multiple;
}

bool IsLookedFor(const ContentRow& row, const cPartTreeItem& node, ContentReach reach) {
  const bool isWholeDisk = !node.Parent();
  switch (row.where) {
    case ContentRow::Where::kAnywhere:
      return true;
    case ContentRow::Where::kWholeDisk:
      return isWholeDisk;
    case ContentRow::Where::kVmfs:
      return isWholeDisk || reach == ContentReach::kFar;
  }
  return false;
}

bool Fits(const ContentRow& row, NodeBytes& bytes) {
  const auto place = PlaceOf(row, bytes.Size());
  if (!place) return false;
  bytes.Reset(*place);
  const auto found = bytes.Bytes(row.magicAt, row.magic.size());
  if (!StartsWith(found, row.magic)) return false;
  return !row.guard || (row.guard(bytes) && !bytes.Failed());
}

bool LiesInChild(Scan& scan, const cPartTreeItem& node, u64 offset) {
  const u64 sector = node.m_start + (offset >> kSectorShift);
  for (const cPartTreeItem* child = node.FirstChild(); child; child = child->Next()) {
    const bool isBefore = sector < child->m_start;
    if (!isBefore && sector - child->m_start < scan.TableLength(*child)) return true;
  }
  return false;
}

ContentNote Describe(const ContentRow& row, NodeBytes& bytes) {
  ContentNote note{row.name, {}, {}, std::string(row.version)};
  const u64 base = bytes.Base();
  if (row.label.form != Form::kNone) note.label = TextOf(bytes, row.label);
  bytes.Reset(base);
  if (row.uuid.form != Form::kNone) note.uuid = TextOf(bytes, row.uuid);
  bytes.Reset(base);
  if (row.describe) row.describe(bytes, &note);
  return note;
}

struct Promise {
  u16 type;
  std::string_view names;  // blkid's words, each between blanks; the first is the promise
};
constexpr Promise kPromises[] = {
    {1, " vfat "},
    {4, " vfat "},
    {6, " vfat "},
    {7, " ntfs "},
    {11, " vfat "},
    {12, " vfat "},
    {14, " vfat "},
    {17, " vfat "},
    {20, " vfat "},
    {22, " vfat "},
    {23, " ntfs "},
    {27, " vfat ntfs "},
    {30, " vfat "},
    {kTypeLinuxSwap, " swap swsuspend "},
    {kTypeLinuxLvm, " LVM2_member "},
    {239, " vfat "},
    {kTypeLinuxRaid, " linux_raid_member "},
};

const Promise* PromiseOf(u16 type) {
  const auto* found = std::find_if(std::begin(kPromises), std::end(kPromises),
                                   [type](const Promise& row) { return row.type == type; });
  return found == std::end(kPromises) ? nullptr : found;
}

}  // namespace

std::optional<ContentNote> FindContent(Scan& scan, const cPartTreeItem& node, ContentReach reach) {
  NodeBytes bytes(scan, node);
  for (const ContentRow& row : ContentRows()) {
    if (!IsLookedFor(row, node, reach) || !Fits(row, bytes)) continue;
    // The last partition may end where the disk ends.
    if (row.place < 0 && LiesInChild(scan, node, bytes.Base())) continue;
    return Describe(row, bytes);
  }
  return std::nullopt;
}

std::string_view ExpectedContent(u16 type) {
  const Promise* promise = PromiseOf(type);
  return promise ? promise->names.substr(1, promise->names.find(' ', 1) - 1) : std::string_view();
}

bool KeepsPromise(u16 type, std::string_view name) {
  const Promise* promise = PromiseOf(type);
  return promise && promise->names.find(' ' + std::string(name) + ' ') != promise->names.npos;
}

}  // namespace larkspur
