// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/note_text.h"

#include <fmt/format.h>

#include "partitions/scan.h"

namespace larkspur {
namespace {

std::string Words(const ContentNote& note) {
  std::string text(note.name);
  if (!note.version.empty()) text += " " + note.version;
  if (!note.label.empty()) text += fmt::format(" \"{}\"", note.label);
  if (!note.uuid.empty()) text += ", " + note.uuid;
  return text;
}

std::string Words(const GptNote& note) {
  std::string text(note.type.empty() ? "type " + note.typeGuid : std::string(note.type));
  if (!note.name.empty()) text += fmt::format(" \"{}\"", note.name);
  if (note.attributes != 0) text += fmt::format(", attributes {:#x}", note.attributes);
  return text + fmt::format(", last sector {}", note.lastSector);
}

std::string Words(const GptTableNote& note) {
  if (note.isFromBackup) {
    return fmt::format("from the backup table; the primary table is {}",
                       GptStateName(note.primary));
  }
  if (note.primary == GptState::kIntact && note.backup == GptState::kIntact) {
    return "primary and backup table are intact";
  }
  std::string text = fmt::format("primary table {}, backup table {}", GptStateName(note.primary),
                                 GptStateName(note.backup));
  if (note.backup == GptState::kIntact) text += ": --backup-gpt builds the tree from the backup";
  return text;
}

std::string_view BudgetWords(Budget budget) {
  switch (budget) {
    case Budget::kNodes:
      return "nodes";
    case Budget::kSectors:
      return "sectors read";
    case Budget::kTextBytes:
      return "bytes of metadata text";
    case Budget::kItems:
      return "items of metadata";
    case Budget::kLooks:
      return "looks at items of metadata";
    case Budget::kPieces:
      return "pieces of volumes";
    case Budget::kDepth:
      return "levels";
  }
  return {};
}

std::string Words(const LimitNote& note) {
  return fmt::format("the limit of {} {} was reached; there may be more", note.limit,
                     BudgetWords(note.budget));
}

std::string Words(const UnreadNote& note) {
  if (note.sectors == 1) return fmt::format("sector {} was needed and is unreadable", note.start);
  return fmt::format("sectors {} to {} were needed and are unreadable", note.start,
                     note.start + note.sectors - 1);
}

std::string Words(const TypeNote& note) {
  return note.isConfirmed
             ? "as its type says"
             : fmt::format("doubtful: no {} found there, as its type says", note.expected);
}

std::string Words(const SectorSizeNote& note) {
  return fmt::format("counts in sectors of {} bytes{}", note.bytes,
                     note.isConfirmed ? "" : ", as the storage says; nothing confirms it");
}

}  // namespace

std::string NoteText(const Note& note) {
  return std::visit([](const auto& item) { return Words(item); }, note);
}

std::string_view NoteKind(const Note& note) {
  if (const auto* type = std::get_if<TypeNote>(&note)) {
    return type->isConfirmed ? "confirmed" : "doubtful";
  }
  constexpr std::string_view kKinds[] = {"content", "gpt", "backup",    "limit",
                                         "unread",  "",    "sectorSize"};
  return kKinds[note.index()];
}

std::string_view GptStateName(GptState state) {
  switch (state) {
    case GptState::kIntact:
      return "intact";
    case GptState::kDamaged:
      return "damaged";
    case GptState::kMissing:
      return "missing";
    case GptState::kUnreadable:
      return "unreadable";
  }
  return {};
}

std::string_view BudgetName(Budget budget) {
  constexpr std::string_view kNames[] = {"nodes", "sectors", "textBytes", "items",
                                         "looks", "pieces",  "depth"};
  return kNames[static_cast<size_t>(budget)];
}

}  // namespace larkspur
