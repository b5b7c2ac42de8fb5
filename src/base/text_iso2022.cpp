// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/text_iso2022.h"

#include <string_view>

#include "base/text_double_byte.h"

namespace larkspur::text {

enum class CharacterSet : u8 { kAscii, kKana, kNational };

struct Escape {
  std::string_view sequence;  // after the ESC; empty ends the list
  CharacterSet set;
};

struct NationalPage {
  u32 codePage;
  u32 cellsCodePage;      // the double-byte page that knows the characters
  const Escape* escapes;  // of 7-bit pages, in the order in which writing prefers them
  CharacterSet shifted;   // what SO turns on
  bool announcesShift;    // national characters are reached by SO, after an announcement
};

namespace {

constexpr u8 kEscape = 0x1B, kShiftOut = 0x0E, kShiftIn = 0x0F;
constexpr u8 kSingleShift2 = 0x8E;
constexpr char16_t kFirstKana = 0xFF61, kLastKana = 0xFF9F;
constexpr u8 kFirstKanaByte = 0xA1;
constexpr std::string_view kAnnouncement = "$)A";

constexpr Escape kJapaneseEscapes[] = {
    {"(B", CharacterSet::kAscii},    {"(I", CharacterSet::kKana},  {"$B", CharacterSet::kNational},
    {"$@", CharacterSet::kNational}, {"(J", CharacterSet::kAscii}, {"", CharacterSet::kAscii},
};

constexpr NationalPage kPages[] = {
    {50221, 932, kJapaneseEscapes, CharacterSet::kKana, false},
    {50227, 936, nullptr, CharacterSet::kNational, true},
    {51932, 932, nullptr, CharacterSet::kAscii, false},
    {51936, 936, nullptr, CharacterSet::kAscii, false},
};

bool IsSevenBit(const NationalPage& page) {
  return page.escapes || page.announcesShift;
}
bool IsJapanese(const NationalPage& page) {
  return page.cellsCodePage == 932;
}
bool IsGraphic(u8 byte) {
  return byte >= 0x21 && byte <= 0x7E;
}
bool IsKana(char16_t unit) {
  return unit >= kFirstKana && unit <= kLastKana;
}
bool IsKanaByte(u8 byte) {
  return byte >= kFirstKanaByte && byte <= 0xDF;
}
char16_t KanaOf(u8 byte) {
  return static_cast<char16_t>(kFirstKana + (byte - kFirstKanaByte));
}

// Rows 0x21..0x7E fold in pairs to the leads 0x81..0x9F and 0xE0..0xEF of page 932.
char16_t FromJis(const DoubleBytePage& cells, u8 row, u8 cell) {
  const int pair = (row - 0x21) / 2;
  const u8 lead = static_cast<u8>(pair + (pair < 0x1F ? 0x81 : 0xC1));
  int trail = cell + 0x7E;
  if (row % 2 == 1) trail = cell + (cell < 0x60 ? 0x1F : 0x20);
  return cells.Pair(lead, static_cast<u8>(trail));
}

// Row and cell, row << 8 | cell, of a pair of page 932; 0 beyond the 94 rows.
u16 ToJis(u16 pair) {
  const int lead = pair >> 8, trail = pair & 0xFF;
  if (lead < 0x81 || lead > 0xEF) return 0;
  const int row = (lead - (lead < 0xA0 ? 0x81 : 0xC1)) * 2 + 0x21;
  if (trail >= 0x9F) return static_cast<u16>((row + 1) << 8 | (trail - 0x7E));
  return static_cast<u16>(row << 8 | (trail - (trail < 0x80 ? 0x1F : 0x20)));
}

char16_t FromRowCell(const NationalPage& page, const DoubleBytePage& cells, u8 row, u8 cell) {
  if (!IsGraphic(row) || !IsGraphic(cell)) return 0;
  if (IsJapanese(page)) return FromJis(cells, row, cell);
  return cells.Pair(static_cast<u8>(row | 0x80), static_cast<u8>(cell | 0x80));
}

// Page 932 writes IBM's characters in rows beyond the 94; NEC's selection has them in rows 89 to
// 92. They are rare, so a search will do.
u16 FindInNecSelection(const DoubleBytePage& cells, char16_t unit) {
  for (u8 row = 0x79; row <= 0x7C; ++row) {
    for (u8 cell = 0x21; cell <= 0x7E; ++cell) {
      if (FromJis(cells, row, cell) == unit) return static_cast<u16>(row << 8 | cell);
    }
  }
  return 0;
}

u16 ToRowCell(const NationalPage& page, const DoubleBytePage& cells, char16_t unit) {
  const u16 pair = cells.Bytes(unit);
  if (pair < 0x100) return 0;
  if (!IsJapanese(page)) {
    const bool inCorner = pair >= 0xA1A1 && (pair & 0xFF) >= 0xA1;
    return inCorner ? static_cast<u16>(pair & 0x7F7F) : u16{0};
  }
  return pair >= 0xFA40 ? FindInNecSelection(cells, unit) : ToJis(pair);
}

template <typename Output>
class Decoder {
 public:
  Decoder(const NationalPage& page, const u8* bytes, size_t count, Output out)
      : m_page(page),
        m_cells(*DoubleBytePage::Find(page.cellsCodePage)),
        m_at(bytes),
        m_end(bytes + count),
        m_out(out) {}

  size_t Run() {
    while (m_at != m_end) {
      if (IsSevenBit(m_page) && TakeSwitch()) continue;
      if (!m_out.Put(IsSevenBit(m_page) ? NextSevenBit() : NextEightBit())) return 0;
    }
    return m_out.Count();
  }

 private:
  size_t Left() const { return static_cast<size_t>(m_end - m_at); }

  bool TakeSequence(std::string_view sequence) {
    if (Left() < sequence.size() + 1) return false;
    for (size_t i = 0; i < sequence.size(); ++i) {
      if (m_at[i + 1] != static_cast<u8>(sequence[i])) return false;
    }
    m_at += sequence.size() + 1;
    return true;
  }

  bool TakeEscape() {
    if (m_page.announcesShift) return TakeSequence(kAnnouncement);
    for (const Escape* escape = m_page.escapes; !escape->sequence.empty(); ++escape) {
      if (!TakeSequence(escape->sequence)) continue;
      m_set = escape->set;
      m_shifted = false;
      return true;
    }
    return false;
  }

  // Takes an escape sequence or a shift; false when a character is next.
  bool TakeSwitch() {
    if (*m_at == kEscape) return TakeEscape();
    if (*m_at != kShiftOut && *m_at != kShiftIn) return false;
    m_shifted = *m_at++ == kShiftOut;
    return true;
  }

  char16_t NextSevenBit() {
    const u8 byte = *m_at++;
    const CharacterSet set = m_shifted ? m_page.shifted : m_set;
    if (IsJapanese(m_page) && IsKanaByte(byte)) return KanaOf(byte);
    if (byte >= 0x80) return kReplacement;
    if (set == CharacterSet::kAscii || !IsGraphic(byte)) return byte;
    if (set == CharacterSet::kKana) {
      return byte <= 0x5F ? KanaOf(static_cast<u8>(byte | 0x80)) : kReplacement;
    }
    return Pair(byte, 0);
  }

  char16_t NextEightBit() {
    const u8 byte = *m_at++;
    if (byte < 0x80) return byte;
    if (byte != kSingleShift2 || !IsJapanese(m_page)) {
      return byte > 0xA0 ? Pair(static_cast<u8>(byte & 0x7F), 0x80) : kReplacement;
    }
    if (m_at == m_end || !IsKanaByte(*m_at)) return kReplacement;
    return KanaOf(*m_at++);
  }

  // The character of a row and the cell that follows, which carries the bit `high`. A byte that is
  // no cell is left where it is.
  char16_t Pair(u8 row, u8 high) {
    if (m_at == m_end || (*m_at & 0x80) != high) return kReplacement;
    const u8 cell = *m_at & 0x7F;
    if (!IsGraphic(cell)) return kReplacement;
    ++m_at;
    const char16_t unit = FromRowCell(m_page, m_cells, row, cell);
    return unit ? unit : kReplacement;
  }

  const NationalPage& m_page;
  const DoubleBytePage& m_cells;
  const u8* m_at;
  const u8* m_end;
  Output m_out;
  CharacterSet m_set = CharacterSet::kAscii;
  bool m_shifted = false;
};

class Encoder {
 public:
  Encoder(const NationalPage& page, ByteOutput out)
      : m_page(page), m_cells(*DoubleBytePage::Find(page.cellsCodePage)), m_out(out) {}

  size_t Run(const char16_t* text, size_t count) {
    const char16_t* const end = text + count;
    while (text != end) {
      if (!PutCharacter(*text)) return 0;
      text += CharacterUnits(text, end);
    }
    return SwitchTo(CharacterSet::kAscii) ? m_out.Count() : 0;
  }

 private:
  bool PutCharacter(char16_t unit) {
    if (unit < 0x80) return PutAscii(static_cast<u8>(unit));
    if (IsJapanese(m_page) && IsKana(unit)) return PutKana(unit);
    const u16 rowCell = ToRowCell(m_page, m_cells, unit);
    if (rowCell == 0) return PutAscii(kUnwritable);
    const u16 bytes = IsSevenBit(m_page) ? rowCell : static_cast<u16>(rowCell | 0x8080);
    return SwitchTo(CharacterSet::kNational) && m_out.Put(static_cast<u8>(bytes >> 8)) &&
           m_out.Put(static_cast<u8>(bytes));
  }

  // Characters that would be read as a switch cannot be written.
  bool PutAscii(u8 byte) {
    const bool isSwitch = byte == kEscape || byte == kShiftOut || byte == kShiftIn;
    if (isSwitch && IsSevenBit(m_page)) byte = kUnwritable;
    return SwitchTo(CharacterSet::kAscii) && m_out.Put(byte);
  }

  bool PutKana(char16_t unit) {
    const u8 byte = static_cast<u8>(unit - kFirstKana + kFirstKanaByte);
    if (!IsSevenBit(m_page)) return m_out.Put(kSingleShift2) && m_out.Put(byte);
    return SwitchTo(CharacterSet::kKana) && m_out.Put(byte & 0x7F);
  }

  bool PutSequence(std::string_view sequence) {
    if (!m_out.Put(kEscape)) return false;
    for (const char c : sequence) {
      if (!m_out.Put(static_cast<u8>(c))) return false;
    }
    return true;
  }

  bool SwitchTo(CharacterSet set) {
    if (set == m_set || !IsSevenBit(m_page)) return true;
    m_set = set;
    if (m_page.announcesShift) return SwitchByShift();
    const Escape* escape = m_page.escapes;
    while (escape->set != set) ++escape;  // every set has its sequence in the list
    return PutSequence(escape->sequence);
  }

  bool SwitchByShift() {
    if (m_set == CharacterSet::kAscii) return m_out.Put(kShiftIn);
    if (!m_announced && !PutSequence(kAnnouncement)) return false;
    m_announced = true;
    return m_out.Put(kShiftOut);
  }

  const NationalPage& m_page;
  const DoubleBytePage& m_cells;
  ByteOutput m_out;
  CharacterSet m_set = CharacterSet::kAscii;
  bool m_announced = false;
};

}  // namespace

const NationalPage* FindNational(u32 codePage) {
  for (const NationalPage& page : kPages) {
    if (page.codePage == codePage) return &page;
  }
  return nullptr;
}

size_t DecodeNational(const NationalPage& page, const u8* bytes, size_t count, WideOutput out) {
  return Decoder(page, bytes, count, out).Run();
}

size_t MeasureNational(const NationalPage& page, const u8* bytes, size_t count) {
  return Decoder(page, bytes, count, CountOutput()).Run();
}

size_t EncodeNational(const NationalPage& page, const char16_t* text, size_t count,
                      ByteOutput out) {
  return Encoder(page, out).Run(text, count);
}

}  // namespace larkspur::text
