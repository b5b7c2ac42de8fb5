// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/detection.h"

#include <algorithm>
#include <array>
#include <memory>

#include "base/owned.h"
#include "partitions/formats.h"
#include "partitions/gpt_table.h"
#include "partitions/type_names.h"

namespace larkspur {
namespace {

// What a whole storage may hold. A node keeps the parser of the first that matches, so the order is
// part of what the tree says; formats that share a place on the disk stand the stricter one first.
constexpr const Format* kWholeDeviceFormats[] = {
    &kLdmFormat,  &kMbrFormat,      &kAppleMapFormat, &kGptFormat,
    &kSnapFormat, &kBsdLabelFormat, &kMdRaidFormat,   &kLvm2Format,
    &kLuksFormat, &kSolarisFormat,  &kAixLvmFormat,
};

// What a partition may hold. Members of a RAID come first, since what they hold may begin with
// any other format; a dynamic disk's partition is known by its type alone; a master boot record
// comes late, since its test is the weakest of all.
constexpr const Format* kNodeFormats[] = {
    &kMdRaidFormat,   &kAppleRaidFormat, &kGptFormat,     &kLdmTypeFormat,
    &kBsdLabelFormat, &kSolarisFormat,   &kNetWareFormat, &kNetWareNssFormat,
    &kXUnixFormat,    &kMbrFormat,       &kLvm2Format,    &kLuksFormat,
};

using FrontBytes = std::array<u8, kFrontSectors * kSectorBytes>;

// The four SAN systems that have records of their own would be looked for where no format matched.
// None of them has a published signature, so none is recognised.

cPartParser* ParserOf(const cPartTreeItem& node) {
  return static_cast<cPartParser*>(FindExtension(node, kKindParser));
}

// Whether an ancestor that starts where the node starts was read by that parser already.
bool WasReadAtThisStart(const cPartTreeItem& node, u32 parserId) {
  for (const cPartTreeItem* item = node.Parent(); item; item = item->Parent()) {
    if (item->m_start != node.m_start) continue;
    cPartParser* parser = ParserOf(*item);
    if (parser && parser->GetParserId() == parserId) return true;
  }
  return false;
}

bool Matches(Scan& scan, const cPartTreeItem& node, const Format& format, NodeFront front) {
  if (format.looksAtFront && WasReadAtThisStart(node, format.parserId)) return false;
  ScanAsker asker(scan, format.className);
  return format.probe(scan, node, front);
}

// Reads the front of a node and runs the first of the formats that matches it, but `leftOut`. To
// people one with holes is shown as far as it goes, and the storage's end is no hole.
bool DetectByFront(Scan& scan, cPartTreeItem& node, std::span<const Format* const> formats,
                   const Format* leftOut) {
  auto front = std::make_unique_for_overwrite<FrontBytes>();
  const u64 toEnd = scan.SectorCount() - std::min(node.m_start, scan.SectorCount());
  const u64 whole = scan.IsForPeople() ? std::min<u64>(kFrontSectors, toEnd) : kFrontSectors;
  const bool isWhole = scan.ReadFront(node.m_start, kFrontSectors, front->data()) >= whole;
  if (toEnd == 0 || (!isWhole && !scan.IsForPeople())) return false;
  for (const Format* format : formats) {
    if (format == leftOut || !Matches(scan, node, *format, *front)) continue;
    return RunFormat(scan, node, *format) && isWhole;
  }
  return isWhole;
}

bool DetectWhole(Scan& scan, cPartTreeItem& root) {
  AddIntelMatrixVolumes(scan, root);
  return DetectByFront(scan, root, kWholeDeviceFormats, nullptr);
}

bool ReadFromBackup(Scan& scan, cPartTreeItem& root) {
  ScanAsker asker(scan, kGptFormat.className);
  auto table = FindBackupGpt(scan);
  if (!table) return false;
  AddExtension(root, kGptFormat.makeParser());
  AddGptPartitions(scan, root, std::move(*table));
  return true;
}

}  // namespace

bool RunFormat(Scan& scan, cPartTreeItem& node, const Format& format) {
  ScanAsker asker(scan, format.className);
  AddExtension(node, format.makeParser());
  return format.parse(scan, node);
}

bool BuildPartitionTree(cTreeItem** tree, cBaseIO* io) {
  return BuildPartitionTree(tree, io, ScanOptions());
}

bool BuildPartitionTree(cTreeItem** tree, cBaseIO* io, const ScanOptions& options) {
  DeleteTree(tree);
  if (options.notes) options.notes->Clear();
  Scan scan(io, options);
  if (scan.SectorCount() == 0) return false;
  auto* root = new cScannedItem(scan.SectorCount());
  AppendToTree(tree, root);
  SetNode(*root, io, 0, scan.SectorCount(), kTypeWholeDevice);
  const bool understood =
      options.fromBackupGpt ? ReadFromBackup(scan, *root) : DetectWhole(scan, *root);
  if (options.notes) TakeNotes(scan, *root, *options.notes);
  if (options.obstacles) *options.obstacles = scan.MetObstacles();
  return understood;
}

bool DetectPartitionContents(cPartTreeItem* node, bool allowMbr) {
  if (!node || !node->m_io) return false;
  Scan scan(*node);
  return DetectContents(scan, *node, allowMbr);
}

bool DetectContents(Scan& scan, cPartTreeItem& node, bool allowMbr) {
  ScanAsker asker(scan, kDetection);
  ReadNodeAhead(scan, node, scan.TakesNotes());
  return DetectByFront(scan, node, kNodeFormats, allowMbr ? nullptr : &kMbrFormat);
}

void ReadNodeAhead(Scan& scan, const cPartTreeItem& node, bool forContent) {
  constexpr u32 kAtFront = 43;
  // MD's superblock begins at a multiple of eight sectors; what lies behind it, at the last eight.
  constexpr u64 kMdFromEnd = 16;
  constexpr u64 kLastFromEnd = 8;
  constexpr struct {
    u32 first;
    u32 count;
  } kContentPlaces[] = {{63, 5}, {127, 4}};
  if (!scan.IsForPeople()) return;
  const u64 length = scan.TableLength(node);
  if (length >= kAtFront) scan.ReadAhead(node.m_start, kAtFront);
  for (const auto& piece : kContentPlaces) {
    if (!forContent || piece.first + piece.count > length) break;
    scan.ReadAhead(node.m_start + piece.first, piece.count);
  }
  if (length < kAtFront + kMdFromEnd + 8) return;
  const u64 first = (std::min(length, node.m_length) - kMdFromEnd) / 8 * 8;
  scan.ReadAhead(node.m_start + first, static_cast<u32>(length - kLastFromEnd + 1 - first));
}

const Format* FormatOf(u32 parserId) {
  for (const Format* format : kWholeDeviceFormats) {
    if (format->parserId == parserId) return format;
  }
  for (const Format* format : kNodeFormats) {
    if (format->parserId == parserId) return format;
  }
  return parserId == kParserIntelMatrix ? &kIntelMatrixFormat : nullptr;
}

}  // namespace larkspur
