// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/map_child.h"

#include <algorithm>

#include "host/menu_place.h"
#include "host/model/map_words.h"
#include "imaging/map_picture.h"
#include "platform/windows/win32.h"
#include "ui/handles.h"

namespace larkspur::host {
namespace {

constexpr i32 kSmallCell = 8;  // pixels; below it an unreadable one is drawn larger than it is

COLORREF ColourRef(Colour colour) {
  return RGB(colour.red, colour.green, colour.blue);
}

void Fill(HDC dc, const RECT& box, COLORREF colour) {
  SetDCBrushColor(dc, colour);
  FillRect(dc, &box, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
}

}  // namespace

cMapChild::cMapChild() : cChild(WC_STATICW, WS_TABSTOP | SS_NOTIFY) {}

void cMapChild::SetGrid(std::shared_ptr<const MapGrid> grid) {
  m_grid = std::move(grid);
  if (IsOpen()) InvalidateRect(Handle(), nullptr, FALSE);
}

MessageAnswer cMapChild::OnMessage(const WindowMessage& message) {
  static constexpr MessageRow<cMapChild> kMessages[] = {
      {WM_PAINT, &cMapChild::OnPaint},           {WM_CONTEXTMENU, &cMapChild::OnMenu},
      {WM_LBUTTONDOWN, &cMapChild::OnPress},     {WM_SETFOCUS, &cMapChild::OnFocusChange},
      {WM_KILLFOCUS, &cMapChild::OnFocusChange}, {WM_MOUSEMOVE, &cMapChild::OnMove},
      {WM_MOUSELEAVE, &cMapChild::OnLeave},      {WM_GETDLGCODE, &cMapChild::OnKeyCode},
      {WM_KEYDOWN, &cMapChild::OnKey},
  };
  if (const MessageAnswer answer = HandledBy(*this, kMessages, message)) return answer;
  return cChild::OnMessage(message);
}

MessageAnswer cMapChild::OnMenu(const WindowMessage& message) {
  if (onContextMenu) onContextMenu(MenuPlace(Handle(), message.lParam));
  return 0;
}

std::optional<size_t> cMapChild::CellUnder(const WindowMessage& message) const {
  if (!m_grid) return std::nullopt;
  const Size size = ClientSize();
  const size_t count = m_grid->cells.size();
  return CellAt(FieldOf(count, size.width, size.height), count,
                static_cast<short>(LOWORD(message.lParam)),
                static_cast<short>(HIWORD(message.lParam)));
}

void cMapChild::Point(std::optional<size_t> cell) {
  if (cell == m_pointed) return;
  m_pointed = cell;
  if (onPoint) onPoint(cell);
}

// A new count may have fewer squares.
size_t cMapChild::Marked() const {
  return std::min(m_marked, m_grid->cells.size() - 1);
}

void cMapChild::Mark(size_t cell) {
  m_marked = cell;
  Repaint();
  Point(cell);
}

// Enter is the default button's where there is no square.
MessageAnswer cMapChild::OnKeyCode(const WindowMessage& message) {
  const MSG* key = reinterpret_cast<const MSG*>(message.lParam);
  const bool isEnter = key && key->message == WM_KEYDOWN && key->wParam == VK_RETURN;
  return isEnter && m_grid ? DLGC_WANTMESSAGE : DLGC_WANTARROWS;
}

MessageAnswer cMapChild::OnKey(const WindowMessage& message) {
  if (!m_grid || m_grid->cells.empty()) return std::nullopt;
  struct Row {
    WPARAM key;
    i32 cells, rows;
  };
  static constexpr Row kMoves[] = {
      {VK_LEFT, -1, 0}, {VK_RIGHT, 1, 0}, {VK_UP, 0, -1}, {VK_DOWN, 0, 1}};
  const Size size = ClientSize();
  const size_t count = m_grid->cells.size();
  const MapField field = FieldOf(count, size.width, size.height);
  for (const Row& move : kMoves) {
    if (move.key != message.wParam) continue;
    Mark(CellFrom(field, count, Marked(), move.cells, move.rows));
    return 0;
  }
  if (message.wParam == VK_HOME || message.wParam == VK_END) {
    Mark(message.wParam == VK_HOME ? 0 : count - 1);
  } else if (message.wParam == VK_RETURN) {
    if (onChoose) onChoose(Marked());
  } else {
    return std::nullopt;
  }
  return 0;
}

MessageAnswer cMapChild::OnMove(const WindowMessage& message) {
  TRACKMOUSEEVENT leaving{sizeof leaving, TME_LEAVE, Handle(), 0};
  TrackMouseEvent(&leaving);
  Point(CellUnder(message));
  return 0;
}

MessageAnswer cMapChild::OnLeave(const WindowMessage&) {
  Point(std::nullopt);
  return 0;
}

MessageAnswer cMapChild::OnPress(const WindowMessage& message) {
  Focus();
  const std::optional<size_t> cell = CellUnder(message);
  if (!cell) return 0;
  m_marked = *cell;
  if (onChoose) onChoose(*cell);
  return 0;
}

MessageAnswer cMapChild::OnFocusChange(const WindowMessage&) {
  Repaint();
  return 0;
}

MessageAnswer cMapChild::OnPaint(const WindowMessage&) {
  PAINTSTRUCT paint;
  const HDC dc = BeginPaint(Handle(), &paint);
  const Size size = ClientSize();
  const OwnedMemoryDc memory(CreateCompatibleDC(dc));
  const OwnedBitmap bitmap(CreateCompatibleBitmap(dc, size.width, size.height));
  const cSelected selected(memory.get(), bitmap.get());
  Draw(memory.get(), size);
  BitBlt(dc, 0, 0, size.width, size.height, memory.get(), 0, 0, SRCCOPY);
  EndPaint(Handle(), &paint);
  return 0;
}

void cMapChild::Draw(HDC dc, Size size) const {
  const RECT all{0, 0, size.width, size.height};
  Fill(dc, all, GetSysColor(COLOR_WINDOW));
  if (m_grid) {
    const MapField field = FieldOf(m_grid->cells.size(), size.width, size.height);
    const i32 gap = field.cell > kSmallCell ? 1 : 0;
    for (const bool marks : {false, true}) {
      for (size_t i = 0; i < m_grid->cells.size(); ++i) {
        if (LookOf(m_grid->cells[i]).unreadable != marks) continue;
        const i32 x = static_cast<i32>(i) % field.columns * field.cell;
        const i32 y = static_cast<i32>(i) / field.columns * field.cell;
        const i32 halo = marks && gap == 0 ? 1 : 0;
        Fill(dc, {x - halo, y - halo, x + field.cell - gap + halo, y + field.cell - gap + halo},
             ColourRef(ColourOf(m_grid->cells[i])));
      }
    }
  }
  if (HasFocus()) DrawFocus(dc, size);
}

// A frame around all, and one around the marked square that is seen on every colour.
void cMapChild::DrawFocus(HDC dc, Size size) const {
  const RECT all{0, 0, size.width, size.height};
  DrawFocusRect(dc, &all);
  if (!m_grid || m_grid->cells.empty()) return;
  const MapField field = FieldOf(m_grid->cells.size(), size.width, size.height);
  const i32 x = static_cast<i32>(Marked()) % field.columns * field.cell;
  const i32 y = static_cast<i32>(Marked()) / field.columns * field.cell;
  RECT frame{x - 2, y - 2, x + field.cell + 2, y + field.cell + 2};
  for (const int colour : {COLOR_WINDOWTEXT, COLOR_WINDOWTEXT, COLOR_WINDOW}) {
    FrameRect(dc, &frame, GetSysColorBrush(colour));
    InflateRect(&frame, -1, -1);
  }
}

namespace {

constexpr i32 kSwatch = 12, kBesideSwatch = 5, kBetween = 16, kLine = 20;  // units

}  // namespace

bool cLegendChild::Create(cCustomForm& form, std::vector<LegendEntry> entries) {
  m_entries = std::move(entries);
  if (!cChild::Create(form, kPlacedByForm)) return false;
  std::u16string name;
  for (const LegendEntry& entry : m_entries) {
    name.append(name.empty() ? u"" : u", ").append(entry.words);
  }
  SetText(name);
  return true;
}

MessageAnswer cLegendChild::OnMessage(const WindowMessage& message) {
  if (message.id != WM_PAINT) return cChild::OnMessage(message);
  PAINTSTRUCT paint;
  Draw(BeginPaint(Handle(), &paint));
  EndPaint(Handle(), &paint);
  return 0;
}

void cLegendChild::Draw(HDC dc) {
  const Size size = ClientSize();
  RECT box{0, 0, size.width, size.height};
  FillRect(dc, &box, GetSysColorBrush(COLOR_BTNFACE));
  const cSelected font(dc, Font());
  SetTextColor(dc, TextColour(kLabelColour));
  SetBkMode(dc, TRANSPARENT);
  const i32 swatch = Theme().Pixels(kSwatch), line = Theme().Pixels(kLine);
  box.bottom = line;
  for (const LegendEntry& entry : m_entries) {
    const i32 words = TextSize(Font(), entry.words).width;
    if (box.left + swatch + Theme().Pixels(kBesideSwatch) + words > size.width) {
      box = {0, box.bottom, size.width, box.bottom + line};
    }
    const i32 top = box.top + (line - swatch) / 2;
    const RECT sample{box.left, top, box.left + swatch, top + swatch};
    SetDCBrushColor(dc, RGB(entry.colour.red, entry.colour.green, entry.colour.blue));
    FillRect(dc, &sample, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
    box.left += swatch + Theme().Pixels(kBesideSwatch);
    DrawTextW(dc, Wide(entry.words), -1, &box, DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX);
    box.left += words + Theme().Pixels(kBetween);
  }
}

}  // namespace larkspur::host
