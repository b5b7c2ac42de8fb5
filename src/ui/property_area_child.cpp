// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/property_area_child.h"

#include <algorithm>

#include "platform/windows/win32.h"
#include "ui/custom_form.h"
#include "ui/module_instance.h"
#include "ui/texts.h"

namespace larkspur {
namespace {

constexpr const char* kTextKey = "ciom::propsheet";
constexpr size_t kHideItem = 0, kExpandItem = 1;

constexpr i32 kMargin = 6;  // units
constexpr i32 kMark = 14;   // room for the mark before a heading that folds, units
constexpr i32 kHeadingPadding = 6;
constexpr i32 kWheelLines = 3;
constexpr DWORD kWrapped = SS_LEFT | SS_NOPREFIX | SS_EDITCONTROL;

// A mark that points down while the section is open and to the right while it is folded.
void DrawMark(HDC dc, const RECT& box, bool folded, i32 extent, COLORREF colour) {
  const i32 x = box.left + extent / 2, y = (box.top + box.bottom) / 2, reach = extent / 4;
  const POINT open[] = {{x - reach, y - reach / 2}, {x + reach, y - reach / 2}, {x, y + reach}};
  const POINT shut[] = {{x - reach / 2, y - reach}, {x - reach / 2, y + reach}, {x + reach, y}};
  const OwnedBrush brush(CreateSolidBrush(colour));
  const cSelected filled(dc, brush.get());
  const cSelected unframed(dc, GetStockObject(NULL_PEN));
  Polygon(dc, folded ? shut : open, 3);
}

void PlacePart(HWND part, const Box& place) {
  SetWindowPos(part, nullptr, place.x, place.y, place.width, place.height, kPlacing);
}

}  // namespace

cPropertyAreaChild::cPropertyAreaChild() : cChild(WC_DIALOG, WS_CLIPCHILDREN) {}

size_t cPropertyAreaChild::Add(std::u16string_view heading, std::u16string_view body,
                               COLORREF colour, Folding folding) {
  Section section;
  section.headingText = heading;
  section.bodyText = body;
  section.colour = colour;
  section.foldable = folding == Folding::ByUser;
  section.heading = section.foldable ? MakePart(WC_BUTTONW, WS_TABSTOP | BS_OWNERDRAW | BS_NOTIFY,
                                                section.headingText)
                                     : MakePart(WC_STATICW, kWrapped, section.headingText);
  section.body = MakePart(WC_STATICW, kWrapped, section.bodyText);
  if (section.foldable) {
    SetWindowLongPtrW(Handle(), GWL_EXSTYLE,
                      GetWindowLongPtrW(Handle(), GWL_EXSTYLE) | WS_EX_CONTROLPARENT);
    NameFolding(section);
  }
  m_sections.push_back(std::move(section));
  OnScale();
  return m_sections.size() - 1;
}

HWND cPropertyAreaChild::MakePart(const wchar_t* windowClass, DWORD style,
                                  const std::u16string& text) {
  return CreateWindowExW(0, windowClass, Wide(text),
                         WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS | style, 0, 0, 0, 0, Handle(),
                         nullptr, ModuleInstance(), nullptr);
}

void cPropertyAreaChild::SetBody(size_t section, std::u16string_view body) {
  m_sections[section].bodyText = body;
  SetWindowTextW(m_sections[section].body, Wide(m_sections[section].bodyText));
  Arrange();
}

void cPropertyAreaChild::Fold(size_t section, bool folded) {
  m_sections[section].folded = folded;
  NameFolding(m_sections[section]);
  Arrange();
}

void cPropertyAreaChild::Clear() {
  // The keyboard is not to go down with a heading that has it.
  if (IsChild(Handle(), GetFocus())) SetFocus(Form().Handle());
  for (const Section& section : m_sections) {
    DestroyWindow(section.heading);
    DestroyWindow(section.body);
  }
  m_sections.clear();
  Arrange();
}

void cPropertyAreaChild::NameFolding(const Section& section) {
  Form().Hints().Set(Handle(), section.heading,
                     TextOf(kTextKey, section.folded ? kExpandItem : kHideItem));
}

cPropertyAreaChild::Section* cPropertyAreaChild::SectionOf(HWND part) {
  const auto found = std::find_if(m_sections.begin(), m_sections.end(), [part](const Section& s) {
    return s.heading == part || s.body == part;
  });
  return found == m_sections.end() ? nullptr : &*found;
}

// ---- Arrangement ----

void cPropertyAreaChild::OnScale() {
  for (const Section& section : m_sections) {
    SendMessageW(section.heading, WM_SETFONT, reinterpret_cast<WPARAM>(Theme().Font(kFontBold)),
                 TRUE);
    SendMessageW(section.body, WM_SETFONT, reinterpret_cast<WPARAM>(Theme().Font()), TRUE);
  }
  Arrange();
}

i32 cPropertyAreaChild::LineHeight() const {
  return TextSize(Theme().Font(), u"X").height;
}

SectionStack cPropertyAreaChild::Stack(i32 width) {
  const i32 margin = Theme().Pixels(kMargin), inner = width - 2 * margin;
  std::vector<SectionHeights> heights;
  for (const Section& section : m_sections) {
    const i32 heading = section.foldable
                            ? LineHeight() + Theme().Pixels(kHeadingPadding)
                            : WrappedHeight(Theme().Font(kFontBold), section.headingText, inner);
    heights.push_back(
        {heading, WrappedHeight(Theme().Font(), section.bodyText, inner), section.folded});
  }
  return StackSections(heights, width, margin, m_scrolled);
}

void cPropertyAreaChild::Arrange() {
  // Showing or hiding the scroll bar changes the size that is being worked with.
  if (m_arranging || !IsOpen()) return;
  m_arranging = true;
  m_height = Stack(ClientSize().width).height;
  ShowScrollBar(m_height, ClientSize().height);
  SectionStack stack = Stack(ClientSize().width);
  m_height = stack.height;
  ShowScrollBar(m_height, ClientSize().height);
  const i32 kept = ScrollOffset(m_scrolled, m_height, ClientSize().height);
  if (kept != m_scrolled) {
    m_scrolled = kept;
    stack = Stack(ClientSize().width);
  }
  for (size_t i = 0; i < m_sections.size(); ++i) {
    const SectionPlace& place = stack.places[i];
    PlacePart(m_sections[i].heading, place.heading);
    PlacePart(m_sections[i].body, place.body);
    ShowWindow(m_sections[i].body, m_sections[i].folded ? SW_HIDE : SW_SHOWNA);
  }
  m_arranging = false;
  Repaint();
}

void cPropertyAreaChild::ShowScrollBar(i32 height, i32 view) {
  SCROLLINFO bar{};
  bar.cbSize = sizeof bar;
  bar.fMask = SIF_RANGE | SIF_PAGE | SIF_POS;
  bar.nMax = std::max(0, height - 1);
  bar.nPage = static_cast<UINT>(std::max(0, view));
  bar.nPos = m_scrolled;
  SetScrollInfo(Handle(), SB_VERT, &bar, TRUE);
  // Texts that cannot be seen at once have to be reached by keys as well: by their headings'
  // buttons or by the area itself.
  const LONG_PTR style = GetWindowLongPtrW(Handle(), GWL_STYLE);
  const bool hasButtons = std::any_of(m_sections.begin(), m_sections.end(),
                                      [](const Section& section) { return section.foldable; });
  const LONG_PTR stop = height > view && !hasButtons ? WS_TABSTOP : 0;
  SetWindowLongPtrW(Handle(), GWL_STYLE, (style & ~LONG_PTR{WS_TABSTOP}) | stop);
}

void cPropertyAreaChild::ScrollTo(i32 offset) {
  const i32 kept = ScrollOffset(offset, m_height, ClientSize().height);
  if (kept == m_scrolled) return;
  m_scrolled = kept;
  Arrange();
}

// ---- Messages ----

MessageAnswer cPropertyAreaChild::OnMessage(const WindowMessage& message) {
  static constexpr MessageRow<cPropertyAreaChild> kMessages[] = {
      {WM_SIZE, &cPropertyAreaChild::OnSize},
      {WM_VSCROLL, &cPropertyAreaChild::OnScrollBar},
      {WM_MOUSEWHEEL, &cPropertyAreaChild::OnWheel},
      {WM_SETFOCUS, &cPropertyAreaChild::OnFocusChange},
      {WM_KILLFOCUS, &cPropertyAreaChild::OnFocusChange},
      {WM_PAINT, &cPropertyAreaChild::OnPaint},
      {WM_GETDLGCODE, &cPropertyAreaChild::OnKeyCode},
      {WM_KEYDOWN, &cPropertyAreaChild::OnKey},
      {WM_CTLCOLORSTATIC, &cPropertyAreaChild::OnTextColour},
      {WM_COMMAND, &cPropertyAreaChild::OnHeading},
      {WM_DRAWITEM, &cPropertyAreaChild::OnDrawHeading},
  };
  if (const MessageAnswer answer = HandledBy(*this, kMessages, message)) return answer;
  return cChild::OnMessage(message);
}

MessageAnswer cPropertyAreaChild::OnSize(const WindowMessage&) {
  Arrange();
  return 0;
}

MessageAnswer cPropertyAreaChild::OnScrollBar(const WindowMessage& message) {
  SCROLLINFO bar{};
  bar.cbSize = sizeof bar;
  bar.fMask = SIF_TRACKPOS;
  GetScrollInfo(Handle(), SB_VERT, &bar);
  const i32 page = ClientSize().height;
  const struct {
    WORD code;
    i32 offset;
  } moves[] = {{SB_LINEUP, m_scrolled - LineHeight()},
               {SB_LINEDOWN, m_scrolled + LineHeight()},
               {SB_PAGEUP, m_scrolled - page},
               {SB_PAGEDOWN, m_scrolled + page},
               {SB_THUMBTRACK, bar.nTrackPos}};
  for (const auto& move : moves) {
    if (move.code == LOWORD(message.wParam)) ScrollTo(move.offset);
  }
  return 0;
}

MessageAnswer cPropertyAreaChild::OnWheel(const WindowMessage& message) {
  const i32 turned = static_cast<short>(HIWORD(message.wParam));
  ScrollTo(m_scrolled - turned * kWheelLines * LineHeight() / WHEEL_DELTA);
  return 0;
}

// The class's own answer would be to hand the focus on to a control inside, and there is none.
MessageAnswer cPropertyAreaChild::OnFocusChange(const WindowMessage&) {
  Repaint();
  return 0;
}

MessageAnswer cPropertyAreaChild::OnPaint(const WindowMessage&) {
  return PaintBare();
}

MessageAnswer cPropertyAreaChild::OnKeyCode(const WindowMessage&) {
  return DLGC_WANTARROWS;
}

MessageAnswer cPropertyAreaChild::OnKey(const WindowMessage& message) {
  const i32 line = LineHeight(), page = ClientSize().height;
  const struct {
    WPARAM key;
    i32 distance;
  } moves[] = {{VK_UP, -line},  {VK_DOWN, line},      {VK_PRIOR, -page},
               {VK_NEXT, page}, {VK_HOME, -m_height}, {VK_END, m_height}};
  for (const auto& move : moves) {
    if (move.key == message.wParam) ScrollTo(m_scrolled + move.distance);
  }
  return 0;
}

MessageAnswer cPropertyAreaChild::OnTextColour(const WindowMessage& message) {
  const Section* section = SectionOf(reinterpret_cast<HWND>(message.lParam));
  const HDC dc = reinterpret_cast<HDC>(message.wParam);
  SetTextColor(dc, TextColour(section ? section->colour : kLabelColour));
  SetBkColor(dc, GetSysColor(COLOR_BTNFACE));
  return reinterpret_cast<LRESULT>(GetSysColorBrush(COLOR_BTNFACE));
}

MessageAnswer cPropertyAreaChild::OnHeading(const WindowMessage& message) {
  const Section* section = SectionOf(reinterpret_cast<HWND>(message.lParam));
  if (!section || !section->foldable) return std::nullopt;
  const size_t index = static_cast<size_t>(section - m_sections.data());
  if (HIWORD(message.wParam) == BN_CLICKED) Fold(index, !section->folded);
  if (HIWORD(message.wParam) == BN_SETFOCUS) {
    RECT box{};
    GetWindowRect(section->heading, &box);
    MapWindowPoints(nullptr, Handle(), reinterpret_cast<POINT*>(&box), 2);
    if (box.top < 0 || box.bottom > ClientSize().height) ScrollTo(m_scrolled + box.top);
  }
  return 0;
}

MessageAnswer cPropertyAreaChild::OnDrawHeading(const WindowMessage& message) {
  const DRAWITEMSTRUCT& item = *reinterpret_cast<const DRAWITEMSTRUCT*>(message.lParam);
  const Section* section = SectionOf(item.hwndItem);
  if (!section) return std::nullopt;
  const COLORREF colour = TextColour(section->colour);
  FillRect(item.hDC, &item.rcItem, GetSysColorBrush(COLOR_BTNFACE));
  DrawMark(item.hDC, item.rcItem, section->folded, Theme().Pixels(kMark), colour);
  RECT box = item.rcItem;
  box.left += Theme().Pixels(kMark);
  const cSelected font(item.hDC, Theme().Font(kFontBold));
  SetTextColor(item.hDC, colour);
  SetBkMode(item.hDC, TRANSPARENT);
  DrawTextW(item.hDC, Wide(section->headingText), -1, &box,
            DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX | DT_END_ELLIPSIS);
  if (item.itemState & ODS_FOCUS) DrawFocusRect(item.hDC, &item.rcItem);
  return TRUE;
}

}  // namespace larkspur
