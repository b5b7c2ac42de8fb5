// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/record_text.h"

#include <algorithm>

#include <fmt/format.h>

#include "base/path_text.h"
#include "base/printable.h"
#include "imaging/size_text.h"

namespace larkspur {
namespace {

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
