// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "cli/tree_text.h"

#include "base/path_text.h"
#include "base/printable.h"
#include "base/size_text.h"
#include "cli/output.h"
#include "imaging/summary.h"
#include "imaging/tree_words.h"
#include "partitions/detection.h"
#include "partitions/format.h"
#include "partitions/place.h"
#include "partitions/type_names.h"

namespace larkspur::cli {
namespace {

std::string Utf8(const cWideString& text) {
  return Utf8FromWide(text.View());
}

const Format* FormatOfNode(const cPartTreeItem& node) {
  auto* parser = static_cast<cPartParser*>(FindExtension(node, kKindParser));
  return parser ? FormatOf(parser->GetParserId()) : nullptr;
}

// What looks like a partition's own table may be a file system's boot sector: it only gave the
// type.
bool IsBootSector(const cPartTreeItem& node, const Format& format) {
  return format.parserId == kParserMbr && node.Parent() && !node.FirstChild();
}

std::string NodeWords(const cPartTreeItem& node) {
  std::string text = node.m_type == kTypeWholeDevice
                         ? "whole storage"
                         : Utf8(node.m_name) + " (" + std::to_string(node.m_type) + ")";
  if (const Format* format = FormatOfNode(node); format && !IsBootSector(node, *format)) {
    text += std::string(": ") + format->title;
  }
  for (const cPartExtensionItem* item = node.m_firstExtension; item; item = item->m_next) {
    if (item->m_record->GetKind() == kKindSBRLegacyOffset) continue;  // the node's start says it
    const std::string words = RecordText(item->m_record, Records::kOurs);
    if (!words.empty()) text += "; " + words;
  }
  return text;
}

// What is as it should be needs no line of its own.
bool IsWorthALine(const Note& note) {
  const auto* type = std::get_if<TypeNote>(&note);
  return !type || !type->isConfirmed;
}

void AppendLine(const cPartTreeItem& node, const std::string& place, size_t level,
                std::string* text) {
  AppendRight(text, std::to_string(node.m_start), 12);
  AppendRight(&(*text += ' '), std::to_string(node.m_length), 12);
  AppendRight(&(*text += ' '), SizeText(node.m_length << kSectorShift), 10);
  text->append(2 + level * 2, ' ');
  if (!place.empty()) text->append(place).append(2, ' ');
  text->append(NodeWords(node)) += '\n';
}

void AppendLines(const cPartTreeItem& node, const TreeNotes& notes, const std::string& place,
                 size_t level, std::string* text) {
  AppendLine(node, place, level, text);
  std::vector<Note> told = notes.Of(node);
  std::erase_if(told, [](const Note& note) { return !IsWorthALine(note); });
  for (const std::string& line : NoteLines(told)) {
    *text += fmt::format("{:>36}  {:{}}- {}\n", "", "", level * 2, line);
  }
  size_t number = 0;
  for (const cPartTreeItem* child = node.FirstChild(); child; child = child->Next()) {
    AppendLines(*child, notes, ChildPlace(place, ++number), level + 1, text);
  }
}

Json RaidJson(const cPartSoftRAIDInfo& raid) {
  Json record = {{"kind", kKindSoftRAID},
                 {"name", Utf8(raid.m_name)},
                 {"set", HexText(raid.Identifier())},
                 {"layout", raid.m_layout},
                 {"blockSize", raid.m_blockBytes},
                 {"columns", raid.m_columns},
                 {"index", raid.m_index}};
  if (const std::string level = RaidLevel(raid); !level.empty()) record["level"] = level;
  return record;
}

Json LuksJson(const cLUKSPartInfo& luks) {
  return {{"kind", kKindLUKS},
          {"version", luks.m_version},
          {"cipher", Utf8(luks.m_cipherName)},
          {"mode", Utf8(luks.m_cipherMode)},
          {"hash", Utf8(luks.m_hash)},
          {"keyBytes", luks.m_keyBytes},
          {"payloadOffset", luks.m_payloadOffset},
          {"uuid", Utf8(luks.m_uuid)}};
}

Json NetWareJson(const cNWPartData& data) {
  return {{"kind", kKindNWPartData},
          {"partitionId", data.m_partitionId},
          {"hotFixSectors", data.m_hotFixSectors},
          {"dataSectors", data.m_dataSectors},
          {"clusterBytes", data.m_clusterBytes},
          {"segment", data.m_segmentIndex},
          {"segments", data.m_segmentCount}};
}

// Only what is known.
void SetText(Json* json, const char* key, std::string_view text) {
  if (!text.empty()) (*json)[key] = text;
}

void AddFacts(const ContentNote& note, Json* json) {
  (*json)["name"] = note.name;
  SetText(json, "label", note.label);
  SetText(json, "uuid", note.uuid);
  SetText(json, "version", note.version);
}

void AddFacts(const GptNote& note, Json* json) {
  (*json)["name"] = note.name;
  SetText(json, "type", note.type);
  (*json)["typeGuid"] = note.typeGuid;
  (*json)["guid"] = note.guid;
  (*json)["attributes"] = note.attributes;
  (*json)["lastSector"] = note.lastSector;
}

void AddFacts(const GptTableNote& note, Json* json) {
  (*json)["primary"] = GptStateName(note.primary);
  (*json)["backup"] = GptStateName(note.backup);
  constexpr const char* kUsed[] = {"primary", "backup", "none"};
  (*json)["used"] = note.isCompleted ? "backup" : kUsed[static_cast<size_t>(note.shown)];
  (*json)["diskGuid"] = note.diskGuid;
}

void AddFacts(const LimitNote& note, Json* json) {
  (*json)["limit"] = BudgetName(note.budget);
  (*json)["value"] = note.limit;
}

void AddFacts(const UnreadNote& note, Json* json) {
  (*json)["start"] = note.start;
  (*json)["sectors"] = note.sectors;
  (*json)["status"] = StatusName(note.status);
}

void AddFacts(const TypeNote& note, Json* json) {
  (*json)["expected"] = note.expected;
}

void AddFacts(const SectorSizeNote& note, Json* json) {
  (*json)["bytes"] = note.bytes;
  (*json)["confirmed"] = note.isConfirmed;
}

Json NoteJson(const Note& note) {
  Json json = {{"kind", NoteKind(note)}, {"text", NoteText(note)}};
  std::visit([&](const auto& item) { AddFacts(item, &json); }, note);
  return json;
}

Json RecordJson(cPartExtension* record) {
  switch (record->GetKind()) {
    case kKindSoftRAID:
      return RaidJson(*static_cast<cPartSoftRAIDInfo*>(record));
    case kKindSBRLegacyOffset:
      return {{"kind", kKindSBRLegacyOffset},
              {"offset", static_cast<cSBRLegacyOffset*>(record)->m_offset}};
    case kKindLUKS:
      return LuksJson(*static_cast<cLUKSPartInfo*>(record));
    case kKindNWPartData:
      return NetWareJson(*static_cast<cNWPartData*>(record));
    case kKindPartName:
      return {{"kind", kKindPartName}, {"name", Utf8(static_cast<cPartNameData*>(record)->m_name)}};
    default:
      return {{"kind", record->GetKind()}};
  }
}

}  // namespace

std::string TreeTable(const cPartTreeItem& root, const TreeNotes& notes) {
  std::string text = fmt::format("{:>12} {:>12} {:>10}  {}\n", "start", "sectors", "size", "what");
  AppendLines(root, notes, {}, 0, &text);
  return text;
}

Json TreeJson(const cPartTreeItem& node, const TreeNotes& notes, const std::string& place) {
  Json json = {{"start", node.m_start},  {"sectors", node.m_length},  {"place", place},
               {"type", node.m_type},    {"name", Utf8(node.m_name)}, {"parser", nullptr},
               {"parserClass", nullptr}, {"records", Json::Array()},  {"children", Json::Array()}};
  if (const Format* format = FormatOfNode(node)) {
    json["parser"] = format->parserId;
    json["parserClass"] = format->className;
  }
  for (const cPartExtensionItem* item = node.m_firstExtension; item; item = item->m_next) {
    if (item->m_record->GetKind() == kKindParser) continue;
    json["records"].Add(RecordJson(item->m_record));
  }
  for (const Note& note : notes.Of(node)) json["notes"].Add(NoteJson(note));
  size_t number = 0;
  for (const cPartTreeItem* child = node.FirstChild(); child; child = child->Next()) {
    json["children"].Add(TreeJson(*child, notes, ChildPlace(place, ++number)));
  }
  return json;
}

}  // namespace larkspur::cli
