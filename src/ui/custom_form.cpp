// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/custom_form.h"

#include <algorithm>
#include <utility>

#include <commctrl.h>

#include "platform/windows/win32.h"
#include "ui/child.h"
#include "ui/icon_list.h"
#include "ui/module_instance.h"
#include "ui/screen.h"
#include "ui/theme.h"

namespace larkspur {
namespace {

// The system's template of a dialog without controls, menu, class or title of its own.
struct alignas(4) EmptyTemplate {
  DLGTEMPLATE dialog{};
  WORD menu = 0;
  WORD windowClass = 0;
  WORD title = 0;
};

void LoadControls() {
  const INITCOMMONCONTROLSEX wanted{sizeof wanted, ICC_WIN95_CLASSES | ICC_STANDARD_CLASSES};
  InitCommonControlsEx(&wanted);
}

bool IsDown(int key) {
  return GetKeyState(key) < 0;
}

// The answers to these messages are a dialog procedure's result itself.
bool AnswersDirectly(UINT id) {
  return id == WM_INITDIALOG || (id >= WM_CTLCOLORMSGBOX && id <= WM_CTLCOLORSTATIC);
}

}  // namespace

cCustomForm::~cCustomForm() {
  if (IsOpen()) DestroyWindow(Handle());
}

u32 cCustomForm::ShowModal(HWND parent, const FormLook& look) {
  const cThemedScope themed;
  cModalScope modal(parent);
  if (!Open(modal.Owner(), look)) return 0;
  Run();
  // The owner has to be enabled again before the form goes: the system then activates it.
  modal.Release();
  if (IsOpen()) DestroyWindow(Handle());
  return m_result;
}

bool cCustomForm::Open(HWND owner, const FormLook& look) {
  LoadControls();
  m_look = look;
  m_result = 0;
  m_closing = false;
  EmptyTemplate empty;
  empty.dialog.style = Style();
  empty.dialog.dwExtendedStyle = ExStyle();
  if (!CreateDialogIndirectParamW(ModuleInstance(), &empty.dialog, owner, Procedure,
                                  reinterpret_cast<LPARAM>(this))) {
    return false;
  }
  ShowWindow(Handle(), SW_SHOW);
  return true;
}

u32 cCustomForm::RunUntilClosed() {
  Run();
  if (IsOpen()) DestroyWindow(Handle());
  return m_result;
}

void cCustomForm::Close(u32 result) {
  m_result = result;
  m_closing = true;
  // Wakes the loop, which a message that was sent rather than posted does not.
  if (IsOpen()) PostMessageW(Handle(), WM_NULL, 0, 0);
}

DWORD cCustomForm::Style() const {
  const DWORD sizing = m_look.least.width > 0 ? WS_THICKFRAME | WS_MAXIMIZEBOX : 0;
  const DWORD own = m_look.inTaskBar ? WS_OVERLAPPED | WS_MINIMIZEBOX : WS_POPUP;
  return own | sizing | WS_CAPTION | WS_SYSMENU | WS_CLIPCHILDREN | DS_NOIDLEMSG;
}

DWORD cCustomForm::ExStyle() const {
  return m_look.inTaskBar ? WS_EX_APPWINDOW : WS_EX_DLGMODALFRAME;
}

void cCustomForm::Start(HWND window) {
  Attach(window);
  LeaveDpiChangesToUs(window);
  FollowAppModeInTitle(window);
  m_theme = std::make_unique<cTheme>(DpiOf(window));
  SetText(m_look.title);
  if (m_look.inTaskBar) {
    m_icon = MakeIcon(kIconApplication, m_theme->Pixels(32));
    Send(WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(m_icon.get()));
  }
  TakeSize(Scaled(m_look.size, m_theme->Dpi()));
  GrowTo({TitleWidth(), 0});
  OnCreate();
  Layout();
  FocusFirst();
}

// Takes a client area of `client` pixels in the middle of the owner.
void cCustomForm::TakeSize(Size client) {
  const Size size = WindowSizeFor(client, Style(), ExStyle(), m_theme->Dpi());
  const Box place = PlaceOverOwner(GetWindow(Handle(), GW_OWNER), Handle(), size);
  SetWindowPos(Handle(), nullptr, place.x, place.y, place.width, place.height,
               SWP_NOZORDER | SWP_NOACTIVATE);
}

void cCustomForm::GrowTo(Size client) {
  const Size now = ClientSize();
  if (client.width <= now.width && client.height <= now.height) return;
  TakeSize({std::max(client.width, now.width), std::max(client.height, now.height)});
}

// What the title needs with the window's buttons beside it.
i32 cCustomForm::TitleWidth() {
  constexpr i32 kBesideTitle = 48, kSizingButtons = 72;  // units
  const i32 beside = kBesideTitle + (m_look.least.width > 0 ? kSizingButtons : 0);
  const OwnedFont font = TitleFont(m_theme->Dpi());
  return TextSize(font.get(), m_look.title).width + m_theme->Pixels(beside);
}

void cCustomForm::FocusFirst() {
  if (GetFocus() && IsChild(Handle(), GetFocus())) return;
  if (const HWND first = GetNextDlgTabItem(Handle(), nullptr, FALSE)) {
    Send(WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(first), 1);
  }
}

void cCustomForm::Layout() {
  if (!m_theme || !IsOpen()) return;
  const Size client = ClientSize();
  HDWP moves = BeginDeferWindowPos(static_cast<int>(m_children.size()));
  for (const cChild* child : m_children) {
    if (child->Place() == kPlacedByForm) continue;
    const Box place = PlaceOf(child->Place(), client, m_theme->Dpi());
    moves = DeferWindowPos(moves, child->Handle(), nullptr, place.x, place.y, place.width,
                           place.height, kPlacing);
  }
  EndDeferWindowPos(moves);
  OnLayout(client);
}

void cCustomForm::SetDefaultCommand(u32 id) {
  Send(DM_SETDEFID, id);
}

void cCustomForm::OnCommand(u32 id) {
  if (id == kCancel) {
    OnCancel();
  } else {
    m_actions.Run(id);
  }
}

void cCustomForm::Forget(cChild& child) {
  m_children.erase(std::remove(m_children.begin(), m_children.end(), &child), m_children.end());
}

cChild* cCustomForm::ChildOf(HWND control) const {
  const auto found =
      std::find_if(m_children.begin(), m_children.end(),
                   [control](const cChild* child) { return child->Handle() == control; });
  return found == m_children.end() ? nullptr : *found;
}

// ---- The loop ----

void cCustomForm::Run() {
  MSG message;
  while (IsOpen() && !m_closing) {
    const BOOL got = GetMessageW(&message, nullptr, 0, 0);
    if (got == 0) {
      // The loop around this one has to quit as well.
      PostQuitMessage(static_cast<int>(message.wParam));
      return;
    }
    if (got < 0) return;
    if (TakesKey(message) || (IsOpen() && IsDialogMessageW(Handle(), &message))) continue;
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

bool cCustomForm::TakesKey(const MSG& message) {
  if (message.wParam == VK_MENU &&
      (message.message == WM_SYSKEYUP || message.message == WM_KEYUP)) {
    return std::exchange(m_takesAltUp, false);
  }
  if (message.message != WM_KEYDOWN && message.message != WM_SYSKEYDOWN) return false;
  if (!IsOpen() || (message.hwnd != Handle() && !IsChild(Handle(), message.hwnd))) return false;
  const Shortcut pressed{static_cast<u32>(message.wParam), IsDown(VK_CONTROL), IsDown(VK_SHIFT),
                         IsDown(VK_MENU)};
  if (m_actions.Run(pressed)) {
    // The system has seen Alt go down and nothing since: let alone, it would go to the window menu.
    m_takesAltUp = pressed.alt;
    return true;
  }
  // F10 alone would leave the keyboard with the window's menu, which a form does not have.
  return pressed == Shortcut{VK_F10, false, false, false};
}

// ---- Messages ----

INT_PTR CALLBACK cCustomForm::Procedure(HWND window, UINT id, WPARAM wParam, LPARAM lParam) {
  if (id == WM_INITDIALOG) {
    SetWindowLongPtrW(window, DWLP_USER, lParam);
    reinterpret_cast<cCustomForm*>(lParam)->Start(window);
    return FALSE;  // the focus is set
  }
  const auto form = reinterpret_cast<cCustomForm*>(GetWindowLongPtrW(window, DWLP_USER));
  if (!form) return FALSE;
  const MessageAnswer answer = form->AnswerTo({id, wParam, lParam});
  if (id == WM_NCDESTROY) {
    form->m_hints.Forget();
    form->Detach();
  }
  if (!answer) return FALSE;
  if (AnswersDirectly(id)) return *answer;
  SetWindowLongPtrW(window, DWLP_MSGRESULT, *answer);
  return TRUE;
}

MessageAnswer cCustomForm::OnMessage(const WindowMessage& message) {
  static constexpr MessageRow<cCustomForm> kMessages[] = {
      {WM_SIZE, &cCustomForm::OnSize},
      {WM_GETMINMAXINFO, &cCustomForm::OnLeastSize},
      {WM_DPICHANGED, &cCustomForm::OnDpiChanged},
      {WM_COMMAND, &cCustomForm::OnWindowCommand},
      {WM_NOTIFY, &cCustomForm::OnWindowNotify},
      {WM_CTLCOLORSTATIC, &cCustomForm::OnControlColour},
      {WM_CTLCOLOREDIT, &cCustomForm::OnControlColour},
      {WM_DRAWITEM, &cCustomForm::OnDrawItem},
      {WM_CLOSE, &cCustomForm::OnClose},
      {WM_HELP, &cCustomForm::OnHelp},
      {WM_SYSCOLORCHANGE, &cCustomForm::OnSystemLook},
      {WM_SETTINGCHANGE, &cCustomForm::OnSystemLook},
      {WM_THEMECHANGED, &cCustomForm::OnSystemLook},
  };
  if (const MessageAnswer answer = HandledBy(*this, kMessages, message)) return answer;
  return cWindow::OnMessage(message);
}

MessageAnswer cCustomForm::OnSize(const WindowMessage&) {
  Layout();
  return 0;
}

MessageAnswer cCustomForm::OnLeastSize(const WindowMessage& message) {
  if (!m_theme || m_look.least.width == 0) return std::nullopt;
  const u32 dpi = m_theme->Dpi();
  const Size least = WindowSizeFor(Scaled(m_look.least, dpi), Style(), ExStyle(), dpi);
  reinterpret_cast<MINMAXINFO*>(message.lParam)->ptMinTrackSize = {least.width, least.height};
  return 0;
}

MessageAnswer cCustomForm::OnDpiChanged(const WindowMessage& message) {
  // The old theme's fonts stay until the children have taken those of the new one.
  const auto before = std::move(m_theme);
  m_theme = std::make_unique<cTheme>(LOWORD(message.wParam));
  for (cChild* child : m_children) child->Rescale();
  const RECT& box = *reinterpret_cast<const RECT*>(message.lParam);
  SetWindowPos(Handle(), nullptr, box.left, box.top, box.right - box.left, box.bottom - box.top,
               SWP_NOZORDER | SWP_NOACTIVATE);
  OnScale();
  Layout();
  Repaint();
  return 0;
}

MessageAnswer cCustomForm::OnWindowCommand(const WindowMessage& message) {
  if (!IsEnabled()) return 0;  // sent past a modal form that is open over this one
  cChild* child = ChildOf(reinterpret_cast<HWND>(message.lParam));
  const u32 notification = HIWORD(message.wParam);
  if (child && child->OnCommand(notification)) return 0;
  // Without a control it is a key or a menu; of controls, buttons alone give commands.
  if (notification == BN_CLICKED) OnCommand(LOWORD(message.wParam));
  return 0;
}

MessageAnswer cCustomForm::OnWindowNotify(const WindowMessage& message) {
  NMHDR& header = *reinterpret_cast<NMHDR*>(message.lParam);
  cChild* child = ChildOf(header.hwndFrom);
  return child ? child->OnNotify(header) : std::nullopt;
}

MessageAnswer cCustomForm::OnControlColour(const WindowMessage& message) {
  cChild* child = ChildOf(reinterpret_cast<HWND>(message.lParam));
  const HBRUSH brush = child ? child->OnColour(reinterpret_cast<HDC>(message.wParam)) : nullptr;
  if (!brush) return std::nullopt;
  return reinterpret_cast<LRESULT>(brush);
}

MessageAnswer cCustomForm::OnDrawItem(const WindowMessage& message) {
  const DRAWITEMSTRUCT& item = *reinterpret_cast<const DRAWITEMSTRUCT*>(message.lParam);
  cChild* child = ChildOf(item.hwndItem);
  return child ? child->OnDrawItem(item) : std::nullopt;
}

MessageAnswer cCustomForm::OnClose(const WindowMessage&) {
  OnCancel();
  return 0;
}

// The system would pass F1 on to the owner, which knows nothing of this form.
MessageAnswer cCustomForm::OnHelp(const WindowMessage&) {
  return TRUE;
}

MessageAnswer cCustomForm::OnSystemLook(const WindowMessage& message) {
  FollowAppModeInTitle(Handle());
  for (const cChild* child : m_children) child->Send(message.id, message.wParam, message.lParam);
  return std::nullopt;
}

cModalScope::cModalScope(HWND parent)
    : m_owner(parent && IsWindow(parent) ? GetAncestor(parent, GA_ROOT) : nullptr) {
  if (!m_owner || !IsWindowEnabled(m_owner)) return;
  EnableWindow(m_owner, FALSE);
  m_disabled = true;
}

void cModalScope::Release() {
  if (m_disabled && IsWindow(m_owner)) EnableWindow(m_owner, TRUE);
  m_disabled = false;
}

namespace {

constexpr i32 kWidestHint = 320;  // units; longer hints wrap

HWND MakeTip(HWND form) {
  const HWND tip = CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr,
                                   WS_POPUP | TTS_ALWAYSTIP | TTS_NOPREFIX, 0, 0, 0, 0, form,
                                   nullptr, ModuleInstance(), nullptr);
  SendMessageW(tip, TTM_SETMAXTIPWIDTH, 0, Scaled(kWidestHint, DpiOf(form)));
  return tip;
}

}  // namespace

void cHints::Set(HWND form, HWND control, const std::u16string& text) {
  if (!m_tip) m_tip = MakeTip(form);
  TTTOOLINFOW tool{};
  tool.cbSize = TTTOOLINFOW_V1_SIZE;
  tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
  tool.hwnd = form;
  tool.uId = reinterpret_cast<UINT_PTR>(control);
  tool.lpszText = WideIn(text);
  SendMessageW(m_tip, TTM_DELTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
  if (!text.empty()) SendMessageW(m_tip, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
}

}  // namespace larkspur
