// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/legend_child.h"

#include "platform/windows/win32.h"

namespace larkspur::host {
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
