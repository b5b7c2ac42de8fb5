// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/model/sector_view.h"

#include <algorithm>
#include <charconv>

#include <fmt/core.h>

#include "host/model/words.h"
#include "io/bit_map.h"

namespace larkspur::host {
namespace {

// What the map says of a sector; present where there is no map.
SectorStatus StatusOf(const Storage& storage, u64 sector) {
  SectorStatus status = kPresent;
  if (!storage.map) return status;
  storage.map->VisitExtents(sector, 1, [&status](u64, u64, SectorStatus found) {
    status = found;
    return false;
  });
  return status;
}

SectorState StateOf(const Storage& storage, u64 sector, bool isPresent) {
  const SectorStatus status = StatusOf(storage, sector);
  if (status == kUnreadable) return SectorState::kKnownUnreadable;
  if (status == kUnknown || status == kMeaningless) return SectorState::kUnreadable;
  return status == kMissing || !isPresent ? SectorState::kMissing : SectorState::kData;
}

bool WouldAskGoneSource(const Storage& storage, u64 sector) {
  return !storage.source.IsThere() && (!storage.map || StatusOf(storage, sector) == kMissing);
}

const char* StateWords(SectorState state) {
  switch (state) {
    case SectorState::kData:
      return "";
    case SectorState::kUnreadable:
      return ": unreadable";
    case SectorState::kKnownUnreadable:
      return ": unreadable; zeros stand in for it";
    case SectorState::kMissing:
      return ": not in the cache yet; zeros stand in for it";
    case SectorState::kBehindEnd:
      return ": past the end of the storage";
    case SectorState::kSourceGone:
      return ": not read; the storage has become shorter or is gone";
  }
  return "";
}

}  // namespace

SectorView LookAtSector(const Storage& storage, u64 sector) {
  cBaseIO* const io = storage.IO();
  SectorView view;
  view.sector = sector;
  if (sector >= storage.sectors) return view;
  if (WouldAskGoneSource(storage, sector)) {
    view.state = SectorState::kSourceGone;
    return view;
  }
  if (io->SetPosition(sector) != sector) return view;
  cBitMap presence(1);
  const bool isSparse = io->IsSparse();
  if (io->Read(view.bytes.data(), 1, isSparse ? &presence : nullptr) != 1) {
    view.state = SectorState::kUnreadable;
    return view;
  }
  view.state = StateOf(storage, sector, !isSparse || presence.Test(0));
  return view;
}

std::u16string SectorHeading(const SectorView& view, u64 sectors) {
  return Words("Sector {} of {}, at byte {}{}", view.sector, sectors, view.sector * kSectorBytes,
               StateWords(view.state));
}

std::u16string SectorBody(const SectorView& view) {
  const bool hasBytes = view.state == SectorState::kData || view.state == SectorState::kMissing ||
                        view.state == SectorState::kKnownUnreadable;
  return hasBytes ? WideFromUtf8(HexText(view.bytes)) : std::u16string();
}

namespace {

bool IsPrintable(u8 byte) {
  return byte >= 0x20 && byte < 0x7F;
}

void AppendLine(size_t place, std::span<const u8> bytes, std::string* text) {
  *text += fmt::format("{:04x} ", place);
  for (size_t i = 0; i < kHexBytesInLine; ++i) {
    if (i == kHexBytesInLine / 2) *text += ' ';
    *text += i < bytes.size() ? fmt::format(" {:02x}", bytes[i]) : "   ";
  }
  *text += "  ";
  for (const u8 byte : bytes) *text += IsPrintable(byte) ? static_cast<char>(byte) : '.';
  *text += "\r\n";
}

}  // namespace

std::string HexText(std::span<const u8> bytes) {
  std::string text;
  for (size_t place = 0; place < bytes.size(); place += kHexBytesInLine) {
    AppendLine(place, bytes.subspan(place, std::min(kHexBytesInLine, bytes.size() - place)), &text);
  }
  return text;
}

std::optional<u64> SectorFromText(std::u16string_view text) {
  std::string digits;
  for (const char16_t unit : text) {
    if (unit > 0x7F) return std::nullopt;
    digits += static_cast<char>(unit);
  }
  digits.erase(0, digits.find_first_not_of(" \t"));
  digits.erase(digits.find_last_not_of(" \t") + 1);
  const bool isHex = digits.starts_with("0x") || digits.starts_with("0X");
  const char* const first = digits.data() + (isHex ? 2 : 0);
  const char* const end = digits.data() + digits.size();
  u64 sector = 0;
  const auto [stop, error] = std::from_chars(first, end, sector, isHex ? 16 : 10);
  if (error != std::errc() || stop != end) return std::nullopt;
  return sector;
}

}  // namespace larkspur::host
