// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "fakes/tree_text.h"

#include <cctype>

#include <fmt/core.h>

#include "base/path_text.h"
#include "base/printable.h"
#include "fakes/memory_disk.h"
#include "imaging/tree_words.h"
#include "partitions/detection.h"
#include "partitions/format.h"

namespace larkspur::fakes {
namespace {

std::string Quoted(const cWideString& text) {
  return '"' + Utf8FromWide(text.View()) + '"';
}

std::string ParserText(u32 id) {
  const Format* format = FormatOf(id);
  std::string text;
  for (const char* at = format ? format->className + 1 : "?"; *at; ++at) {
    text += static_cast<char>(std::tolower(static_cast<unsigned char>(*at)));
  }
  for (const char* ending : {"partparser", "parser"}) {
    if (text.ends_with(ending)) return text.substr(0, text.size() - std::string(ending).size());
  }
  return text;
}

std::string RaidText(const cPartSoftRAIDInfo& raid) {
  std::string text =
      fmt::format("raid {} layout {} columns {} index {} block {}", Quoted(raid.m_name),
                  raid.m_layout, raid.m_columns, raid.m_index, raid.m_blockBytes);
  if (const std::string level = RaidLevel(raid); !level.empty()) text += " level " + level;
  return text + " set " + HexText(raid.Identifier());
}

std::string RecordText(cPartExtension* record) {
  switch (record->GetKind()) {
    case kKindParser:
      return ParserText(static_cast<cPartParser*>(record)->GetParserId());
    case kKindSBRLegacyOffset:
      return fmt::format("{{offset {}}}", static_cast<cSBRLegacyOffset*>(record)->m_offset);
    case kKindSoftRAID:
      return '{' + RaidText(*static_cast<cPartSoftRAIDInfo*>(record)) + '}';
    case kKindLUKS: {
      const auto* luks = static_cast<cLUKSPartInfo*>(record);
      return fmt::format("{{luks{} payload {} {}-{} {} key {} uuid {}}}", luks->m_version,
                         luks->m_payloadOffset, Utf8FromWide(luks->m_cipherName.View()),
                         Utf8FromWide(luks->m_cipherMode.View()), Utf8FromWide(luks->m_hash.View()),
                         luks->m_keyBytes, Utf8FromWide(luks->m_uuid.View()));
    }
    case kKindNWPartData: {
      const auto* data = static_cast<cNWPartData*>(record);
      return fmt::format("{{netware {:x} hotfix {} data {} cluster {} segment {} of {}}}",
                         data->m_partitionId, data->m_hotFixSectors, data->m_dataSectors,
                         data->m_clusterBytes, data->m_segmentIndex, data->m_segmentCount);
    }
    default:
      return fmt::format("{{kind {}}}", record->GetKind());
  }
}

void Append(const cPartTreeItem& node, size_t indent, std::string* text) {
  *text += fmt::format("{:{}}{}+{} {} {}", "", indent, node.m_start, node.m_length, node.m_type,
                       Quoted(node.m_name));
  for (const cPartExtensionItem* item = node.m_firstExtension; item; item = item->m_next) {
    *text += ' ' + RecordText(item->m_record);
  }
  *text += '\n';
  for (const cPartTreeItem* child = node.FirstChild(); child; child = child->Next()) {
    Append(*child, indent + 2, text);
  }
}

}  // namespace

std::string TreeText(const cPartTreeItem* node) {
  std::string text;
  if (node) Append(*node, 0, &text);
  return text;
}

std::string TreeText(cBaseIO* io) {
  PartitionTree tree;
  const bool understood = BuildPartitionTree(tree.Head(), io);
  return TreeText(tree.Root()) + (understood ? "" : "(false)\n");
}

std::string TreeText(std::vector<u8> bytes) {
  bytes.resize((bytes.size() + kSectorBytes - 1) / kSectorBytes * kSectorBytes);
  return TreeText(DiskOn(StoreOf(std::move(bytes))).get());
}

}  // namespace larkspur::fakes
