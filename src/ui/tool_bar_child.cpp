// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/tool_bar_child.h"

#include "platform/windows/win32.h"
#include "ui/custom_form.h"

namespace larkspur {
namespace {

constexpr DWORD kStyle = WS_TABSTOP | TBSTYLE_FLAT | TBSTYLE_LIST | TBSTYLE_TOOLTIPS |
                         CCS_NORESIZE | CCS_NODIVIDER | CCS_NOPARENTALIGN;
constexpr i32 kPaddingWide = 8, kPaddingHigh = 8;  // units

BYTE StateOf(const Action& action) {
  return action.enabled ? TBSTATE_ENABLED : 0;
}

// Where the system's colours are dark, the button under the pointer is drawn as a selected row is:
// the bar itself would take a light surface from the visual style, and light text on it.
LRESULT DrawOnDark(NMTBCUSTOMDRAW& button) {
  if (button.nmcd.dwDrawStage == CDDS_PREPAINT) return CDRF_NOTIFYITEMDRAW;
  if (button.nmcd.dwDrawStage != CDDS_ITEMPREPAINT) return CDRF_DODEFAULT;
  const bool isEnabled = !(button.nmcd.uItemState & CDIS_DISABLED);
  if (isEnabled && (button.nmcd.uItemState & (CDIS_HOT | CDIS_SELECTED))) {
    FillRect(button.nmcd.hdc, &button.nmcd.rc, GetSysColorBrush(COLOR_HIGHLIGHT));
    button.clrText = GetSysColor(COLOR_HIGHLIGHTTEXT);
  }
  return TBCDRF_NOBACKGROUND | TBCDRF_NOEDGES | TBCDRF_USECDCOLORS;
}

}  // namespace

cToolBarChild::cToolBarChild(Shows shows) : cChild(TOOLBARCLASSNAMEW, kStyle), m_shows(shows) {}

bool cToolBarChild::Create(cCustomForm& form, const AnchoredBox& place,
                           const std::vector<u32>& actionIds) {
  std::vector<u32> icons;
  for (const u32 id : actionIds) {
    const Action* action = form.Actions().Find(id);
    if (action && action->icon) icons.push_back(action->icon);
  }
  m_icons = cIconList(icons);
  if (!cChild::Create(form, place)) return false;
  // Texts are there as names in any case and shown where a button says so.
  Send(TB_SETEXTENDEDSTYLE, 0, TBSTYLE_EX_MIXEDBUTTONS | TBSTYLE_EX_DOUBLEBUFFER);
  Send(TB_BUTTONSTRUCTSIZE, sizeof(TBBUTTON));
  AddButtons(actionIds);
  OnScale();
  return true;
}

void cToolBarChild::AddButtons(const std::vector<u32>& actionIds) {
  for (const u32 id : actionIds) {
    TBBUTTON button{};
    button.fsStyle = BTNS_SEP;
    const Action* action = Form().Actions().Find(id);
    if (action) {
      button.iBitmap = action->icon ? static_cast<int>(m_icons.IndexOf(action->icon)) : I_IMAGENONE;
      button.idCommand = static_cast<int>(id);
      button.fsState = StateOf(*action);
      button.fsStyle = BTNS_BUTTON | BTNS_AUTOSIZE;
      if (m_shows == Shows::IconsAndTexts) button.fsStyle |= BTNS_SHOWTEXT;
      button.iString = reinterpret_cast<INT_PTR>(Wide(action->text));
    }
    Send(TB_ADDBUTTONSW, 1, reinterpret_cast<LPARAM>(&button));
  }
}

void cToolBarChild::OnScale() {
  const HIMAGELIST icons = m_icons.At(Theme().Pixels(kIconSize));
  Send(TB_SETIMAGELIST, 0, reinterpret_cast<LPARAM>(icons));
  Send(TB_SETPADDING, 0, MAKELPARAM(Theme().Pixels(kPaddingWide), Theme().Pixels(kPaddingHigh)));
  Send(TB_AUTOSIZE);
}

void cToolBarChild::ShowState(const Action& action) {
  Send(TB_ENABLEBUTTON, action.id, action.enabled);
}

MessageAnswer cToolBarChild::OnNotify(NMHDR& header) {
  if (header.code == NM_CUSTOMDRAW && AreColoursDark()) {
    return DrawOnDark(reinterpret_cast<NMTBCUSTOMDRAW&>(header));
  }
  if (header.code != TBN_GETINFOTIPW) return std::nullopt;
  const NMTBGETINFOTIPW& tip = reinterpret_cast<NMTBGETINFOTIPW&>(header);
  const Action* action = Form().Actions().Find(static_cast<u32>(tip.iItem));
  if (action) lstrcpynW(tip.pszText, Wide(action->text), tip.cchTextMax);
  return 0;
}

}  // namespace larkspur
