// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/tree_words.h"

#include <algorithm>

#include <fmt/format.h>

#include "base/path_text.h"
#include "base/printable.h"
#include "base/size_text.h"
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
  return text + fmt::format(", last sector {}{}", note.lastSector,
                            note.isReversed ? ", before its first" : "");
}

std::string_view StateWords(GptState state) {
  return state == GptState::kNotInCache ? "not in the cache yet" : GptStateName(state);
}

std::string Words(const GptTableNote& note) {
  if (note.shown == GptTableNote::Shown::kBackup) {
    return fmt::format("from the backup table; the primary table is {}", StateWords(note.primary));
  }
  const bool isShown = note.shown == GptTableNote::Shown::kPrimary;
  if (isShown && note.primary == GptState::kIntact && note.backup == GptState::kIntact) {
    return "primary and backup table are intact";
  }
  return fmt::format("{}primary table {}, backup table {}{}{}",
                     isShown ? "" : "a GUID table that this tree does not show: ",
                     StateWords(note.primary), StateWords(note.backup),
                     note.backupHelps ? "; --backup-gpt builds the tree from the backup" : "",
                     note.isCompleted ? "; all entries are shown as the backup has them" : "");
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
    case Budget::kEntries:
      return "entries of a GUID table";
  }
  return {};
}

std::string Words(const LimitNote& note) {
  return fmt::format("the limit of {} {} was reached; there may be more", note.limit,
                     BudgetWords(note.budget));
}

std::string_view WhyUnread(SectorStatus status) {
  if (status == kMissing) return "not in the cache yet";
  return status == kUnknown ? "in a part of the cache that cannot be read" : "unreadable";
}

std::string Words(const UnreadNote& note) {
  const std::string_view why = WhyUnread(note.status);
  if (note.sectors == 1) return fmt::format("sector {} was needed and is {}", note.start, why);
  return fmt::format("sectors {} to {} were needed and are {}", note.start,
                     note.start + note.sectors - 1, why);
}

std::string Words(const std::vector<UnreadNote>& notes) {
  if (notes.size() == 1) return Words(notes[0]);
  u64 sectors = 0;
  for (const UnreadNote& note : notes) sectors += note.sectors;
  return fmt::format("{} from {} to {} were needed and are {}", CountText(sectors, "sector"),
                     notes[0].start, notes.back().start + notes.back().sectors - 1,
                     WhyUnread(notes[0].status));
}

std::string Words(const TypeNote& note) {
  return note.isConfirmed
             ? "as its type says"
             : fmt::format("doubtful: its type says {}, but none was found there", note.expected);
}

std::string Words(const SectorSizeNote& note) {
  return fmt::format("counts in sectors of {} bytes{}", note.bytes,
                     note.isConfirmed ? "" : ", as the storage says; nothing confirms it");
}

// No text or identifier of a real set is longer.
constexpr size_t kMostCharacters = 512;
constexpr u64 kMostSetBytes = 64;

std::string_view LayoutWords(u32 layout) {
  switch (layout) {
    case kLayoutSimple:
      return "a linear set";
    case kLayoutStripe:
      return "a stripe";
    case kLayoutMirror:
      return "a mirror";
    case kLayoutRaid5:
      return "a RAID 5";
    default:
      return "a set";
  }
}

std::string Words(const cPartSoftRAIDInfo& raid, const std::string& level) {
  std::string text;
  if (raid.m_columns > 1) text += fmt::format("piece {} of {} of ", raid.m_index, raid.m_columns);
  text += level.empty() ? LayoutWords(raid.m_layout) : level;
  if (const std::string name = TextOf(raid.m_name); !name.empty()) {
    text += fmt::format(" \"{}\"", name);
  }
  if (raid.m_blockBytes > kSectorBytes) text += ", blocks of " + SizeText(raid.m_blockBytes);
  if (raid.m_set && raid.m_setBytes > 0 && raid.m_setBytes <= kMostSetBytes) {
    text += ", set " + HexText(raid.Identifier());
  }
  return text;
}

std::string Words(const cLUKSPartInfo& luks) {
  return fmt::format("version {}, {}-{}, {}", luks.m_version, TextOf(luks.m_cipherName),
                     TextOf(luks.m_cipherMode), TextOf(luks.m_uuid));
}

std::string Words(const cNWPartData& data) {
  return fmt::format("segment {} of {}", data.m_segmentIndex + 1, data.m_segmentCount);
}

}  // namespace

std::string NoteText(const Note& note) {
  return std::visit([](const auto& item) { return Words(item); }, note);
}

std::vector<std::string> NoteLines(const std::vector<Note>& notes) {
  constexpr SectorStatus kReasons[] = {kUnreadable, kMissing, kUnknown};
  std::vector<std::string> lines;
  for (const Note& note : notes) {
    if (!std::holds_alternative<UnreadNote>(note)) lines.push_back(NoteText(note));
  }
  for (const SectorStatus reason : kReasons) {
    std::vector<UnreadNote> unread;
    for (const Note& note : notes) {
      const auto* item = std::get_if<UnreadNote>(&note);
      if (item && item->status == reason) unread.push_back(*item);
    }
    if (!unread.empty()) lines.push_back(Words(unread));
  }
  return lines;
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
    case GptState::kNotInCache:
      return "notInCache";
  }
  return {};
}

std::string_view BudgetName(Budget budget) {
  constexpr std::string_view kNames[] = {"nodes", "sectors", "textBytes", "items",
                                         "looks", "pieces",  "depth",     "entries"};
  return kNames[static_cast<size_t>(budget)];
}

std::string RecordText(cPartExtension* record, Records whose) {
  const bool isOurs = whose == Records::kOurs;
  switch (record->GetKind()) {
    case kKindSoftRAID: {
      const auto& raid = *static_cast<cPartSoftRAIDInfo*>(record);
      return Words(raid, isOurs ? RaidLevel(raid) : "");
    }
    case kKindSBRLegacyOffset:
      return fmt::format("offset {}", static_cast<cSBRLegacyOffset*>(record)->m_offset);
    case kKindLUKS:
      return isOurs ? Words(*static_cast<cLUKSPartInfo*>(record)) : "";
    case kKindNWPartData:
      return isOurs ? Words(*static_cast<cNWPartData*>(record)) : "";
    case kKindPartName:
      return isOurs ? '"' + TextOf(static_cast<cPartNameData*>(record)->m_name) + '"' : "";
    default:
      return {};
  }
}

std::string TextOf(const cWideString& text) {
  const char16_t* const first = text.Text();
  const char16_t* const end = first + kMostCharacters;
  return Utf8FromWide({first, static_cast<size_t>(std::find(first, end, u'\0') - first)});
}

std::string RaidLevel(const cPartSoftRAIDInfo& raid) {
  const auto* member = dynamic_cast<const cSoftRAIDMember*>(&raid);
  return member ? Utf8FromWide(member->m_level.View()) : std::string();
}

}  // namespace larkspur
