// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/lvm2_volumes.h"

#include <algorithm>
#include <map>

#include "partitions/part_records.h"

namespace larkspur {
namespace {

using Section = Lvm2Text::Section;

// How a kind of segment spreads its extents over its areas.
struct SegmentKind {
  std::string_view prefix;  // of its name
  u32 layout;
  bool isCopied;   // every area holds all extents, or with `hasCopies` some of them
  bool hasCopies;  // "data_copies" says how often each extent is there
  u32 parityAreas;
};

// The first row whose prefix fits counts.
constexpr SegmentKind kSegmentKinds[] = {
    {"striped", kLayoutStripe, false, false, 0}, {"linear", kLayoutStripe, false, false, 0},
    {"mirror", kLayoutMirror, true, false, 0},   {"raid10", kLayoutNone, false, true, 0},
    {"raid1", kLayoutMirror, true, false, 0},    {"raid0", kLayoutStripe, false, false, 0},
    {"raid4", kLayoutNone, false, false, 1},     {"raid5", kLayoutRaid5, false, false, 1},
    {"raid6", kLayoutNone, false, false, 2},
};

// The lists that name a segment's areas: a physical or logical volume each, and after it, where
// the area is not the whole of that, its first extent.
constexpr std::string_view kAreaLists[] = {"stripes", "mirrors", "raids", "raid0_lvs"};

// In a list of images each may be preceded by the volume with its metadata.
constexpr std::string_view kImageMetadata = "_rmeta_";

constexpr u64 kDefaultCopies = 2;

// LVM2 allows 127 characters. Every piece repeats its names, so that a long one would cost much.
constexpr size_t kMaxNameBytes = 127;
constexpr size_t kMaxLevelBytes = 31;
constexpr size_t kIdBytes = 32;

struct Area {
  std::string_view name;
  u64 first = 0;
};

struct Segment {
  const SegmentKind* kind;
  std::string level;
  u64 extents;
  u64 copies;
  u64 stripeSectors;
  std::vector<Area> areas;
};

struct LogicalVolume {
  std::string_view name;
  std::string id;
  std::vector<Segment> segments;
};

std::string WithoutDashes(std::string text) {
  std::erase(text, '-');
  return text;
}

std::string IdOf(const Lvm2Text& text, Section section) {
  return WithoutDashes(text.Text(section, "id").value_or("")).substr(0, kIdBytes);
}

const SegmentKind* FindKind(std::string_view type) {
  for (const SegmentKind& kind : kSegmentKinds) {
    if (type.starts_with(kind.prefix)) return &kind;
  }
  return nullptr;
}

std::vector<Area> ReadAreas(const Lvm2Text& text, Section segment) {
  std::vector<Area> areas;
  for (const std::string_view list : kAreaLists) {
    for (const auto& scalar : text.List(segment, list)) {
      if (!scalar.number) {
        areas.push_back({scalar.text});
      } else if (!areas.empty()) {
        areas.back().first = *scalar.number;
      }
    }
    if (!areas.empty()) break;
  }
  std::erase_if(areas,
                [](const Area& area) { return area.name.find(kImageMetadata) != area.name.npos; });
  return areas;
}

// Nothing for segments that lie on no volume, or only by way of others that are listed themselves.
std::optional<Segment> ReadSegment(const Lvm2Text& text, Section section) {
  std::string type = text.Text(section, "type").value_or("striped");
  type.resize(std::min({type.size(), type.find('+'), kMaxLevelBytes}));  // after "+" are flags
  Segment segment{FindKind(type), type, 0, 0, 0, ReadAreas(text, section)};
  if (!segment.kind || segment.areas.empty()) return std::nullopt;
  segment.extents = text.Number(section, "extent_count").value_or(0);
  segment.copies = text.Number(section, "data_copies").value_or(kDefaultCopies);
  segment.stripeSectors = text.Number(section, "stripe_size").value_or(0);
  return segment;
}

LogicalVolume ReadLogicalVolume(const Lvm2Text& text, const Lvm2Text::Named& named) {
  LogicalVolume volume{named.name, IdOf(text, named.section), {}};
  for (const auto& inner : text.Sections(named.section)) {
    if (!inner.name.starts_with("segment")) continue;
    if (auto segment = ReadSegment(text, inner.section)) {
      volume.segments.push_back(std::move(*segment));
    }
  }
  return volume;
}

// The extents of a segment that one of its areas holds; 0 when the numbers do not fit together.
u64 ExtentsOfArea(const Segment& segment) {
  const u64 areas = segment.areas.size();
  if (segment.kind->isCopied) return segment.extents;
  if (segment.kind->hasCopies) {
    if (segment.copies == 0 || segment.extents > kNowhere / segment.copies) return 0;
    return segment.extents * segment.copies / areas;
  }
  if (areas <= segment.kind->parityAreas) return 0;
  return segment.extents / (areas - segment.kind->parityAreas);
}

// A segment of a logical volume, and which of its areas something is.
struct Place {
  const LogicalVolume* volume;
  size_t segment;
  size_t area;

  const Segment& Of() const { return volume->segments[segment]; }
};

class GroupReader {
 public:
  GroupReader(const Lvm2Text& text, const Lvm2Text::Named& group, u64 maxPieces)
      : m_text(text), m_group(group), m_maxPieces(maxPieces) {}

  std::optional<Lvm2PhysicalVolume> Find(std::string_view id);

 private:
  std::optional<Lvm2Text::Named> FindOwn(std::string_view id) const;
  bool IsPhysicalVolume(std::string_view name) const;
  void ReadVolumes();
  void CollectPieces(const LogicalVolume& volume, size_t segment, u64 extentsHere,
                     std::string_view own, std::vector<Lvm2Piece>* pieces) const;
  Lvm2Set SetOf(const Place& place) const;
  Lvm2Set NewSet(const LogicalVolume& volume) const;

  const Lvm2Text& m_text;
  const Lvm2Text::Named m_group;
  const u64 m_maxPieces;
  std::vector<LogicalVolume> m_volumes;
  // Where a logical volume is an image or a leg of another.
  std::map<std::string_view, Place> m_users;
};

std::optional<Lvm2Text::Named> GroupReader::FindOwn(std::string_view id) const {
  const auto volumes = m_text.FindSection(m_group.section, "physical_volumes");
  if (!volumes) return std::nullopt;
  for (const auto& named : m_text.Sections(*volumes)) {
    if (IdOf(m_text, named.section) == id) return named;
  }
  return std::nullopt;
}

// An area's name is a physical volume's before it is a logical one's.
bool GroupReader::IsPhysicalVolume(std::string_view name) const {
  const auto volumes = m_text.FindSection(m_group.section, "physical_volumes");
  return volumes && m_text.FindSection(*volumes, name);
}

void GroupReader::ReadVolumes() {
  const auto section = m_text.FindSection(m_group.section, "logical_volumes");
  if (!section) return;
  for (const auto& named : m_text.Sections(*section)) {
    m_volumes.push_back(ReadLogicalVolume(m_text, named));
  }
  for (const LogicalVolume& volume : m_volumes) {
    for (size_t segment = 0; segment < volume.segments.size(); ++segment) {
      const auto& areas = volume.segments[segment].areas;
      for (size_t area = 0; area < areas.size(); ++area) {
        if (IsPhysicalVolume(areas[area].name)) continue;
        m_users.emplace(areas[area].name, Place{&volume, segment, area});
      }
    }
  }
}

std::optional<Lvm2PhysicalVolume> GroupReader::Find(std::string_view id) {
  const auto own = FindOwn(id);
  const u64 extentSectors = m_text.Number(m_group.section, "extent_size").value_or(0);
  if (!own || extentSectors == 0) return std::nullopt;
  const u64 extentsHere = m_text.Number(own->section, "pe_count").value_or(0);
  const u64 start = m_text.Number(own->section, "pe_start").value_or(0);
  Lvm2PhysicalVolume found{extentSectors, start, {}};
  ReadVolumes();
  for (const LogicalVolume& volume : m_volumes) {
    for (size_t segment = 0; segment < volume.segments.size(); ++segment) {
      CollectPieces(volume, segment, extentsHere, own->name, &found.pieces);
    }
  }
  return found;
}

void GroupReader::CollectPieces(const LogicalVolume& volume, size_t segment, u64 extentsHere,
                                std::string_view own, std::vector<Lvm2Piece>* pieces) const {
  const auto& areas = volume.segments[segment].areas;
  const u64 count = ExtentsOfArea(volume.segments[segment]);
  for (size_t area = 0; area < areas.size(); ++area) {
    if (areas[area].name != own || count == 0) continue;
    if (pieces->size() == m_maxPieces) return;
    const u64 first = areas[area].first;
    if (first > extentsHere || count > extentsHere - first) continue;
    pieces->push_back({first, count, SetOf({&volume, segment, area})});
  }
}

Lvm2Set GroupReader::NewSet(const LogicalVolume& volume) const {
  Lvm2Set set{};
  set.name.append(m_group.name.substr(0, kMaxNameBytes));
  set.name.append("/").append(volume.name.substr(0, kMaxNameBytes));
  set.id = volume.id;
  return set;
}

// The innermost set that has several parts: the areas of the segment, the segments of the volume,
// or the images of the volume that this one is an image of.
Lvm2Set GroupReader::SetOf(const Place& place) const {
  const bool isWholeSegment = place.Of().areas.size() == 1;
  const bool isWholeVolume = isWholeSegment && place.volume->segments.size() == 1;
  const auto user = isWholeVolume ? m_users.find(place.volume->name) : m_users.end();
  const bool isImage = user != m_users.end() && user->second.Of().areas.size() > 1;
  if (isWholeSegment && !isImage) {
    Lvm2Set set = NewSet(*place.volume);
    set.level = "linear";
    set.layout = kLayoutSimple;
    set.columns = place.volume->segments.size();
    set.index = place.segment;
    return set;
  }
  const Place& at = isImage ? user->second : place;
  Lvm2Set set = NewSet(*at.volume);
  set.level = at.Of().level;
  set.layout = at.Of().kind->layout;
  set.blockSectors = at.Of().stripeSectors;
  set.columns = at.Of().areas.size();
  set.index = at.area;
  return set;
}

// The one section of the text that has physical volumes.
std::optional<Lvm2Text::Named> FindGroup(const Lvm2Text& text) {
  for (const auto& named : text.Sections(Lvm2Text::kRoot)) {
    if (text.FindSection(named.section, "physical_volumes")) return named;
  }
  return std::nullopt;
}

}  // namespace

u64 Lvm2SequenceNumber(const Lvm2Text& text) {
  const auto group = FindGroup(text);
  return group ? text.Number(group->section, "seqno").value_or(0) : 0;
}

std::optional<Lvm2PhysicalVolume> FindPhysicalVolume(const Lvm2Text& text, std::string_view id,
                                                     u64 maxPieces) {
  const auto group = FindGroup(text);
  if (!group) return std::nullopt;
  return GroupReader(text, *group, maxPieces).Find(id);
}

}  // namespace larkspur
