// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A form: an ordinary top-level window of the system's dialog class, so that Tab, Enter, Escape,
// default buttons and focus work as everywhere, with children at anchored places.
//
// A derived form has its children as members, creates them in OnCreate, and is told of commands in
// OnCommand. The form object outlives its window; its window lives from Open or ShowModal to Close.
// Enter runs the default command, Escape and the window's close button the cancel operation; the
// function keys do nothing unless an action has one for its shortcut.

#include <windows.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ui/model/action.h"
#include "ui/theme.h"
#include "ui/window.h"

namespace larkspur {

// The hints of a form: short texts beside the pointer, by the system's tooltip control.
class cHints {
 public:
  // Gives `control`, a child of `form`, a hint; an empty text takes it away. The tooltip control is
  // made with the first hint and goes with the form's window.
  void Set(HWND form, HWND control, const std::u16string& text);

  // The form's window is gone, and the tooltip with it.
  void Forget() { m_tip = nullptr; }

 private:
  HWND m_tip = nullptr;
};

// The owner of a modal form, kept from doing anything while the form is open.
class cModalScope {
 public:
  // Disables the top-level window that `parent` is or lies in. Null or a window that is gone: there
  // is no owner. One that is disabled already stays so afterwards.
  explicit cModalScope(HWND parent);
  cModalScope(const cModalScope&) = delete;
  cModalScope& operator=(const cModalScope&) = delete;
  ~cModalScope() { Release(); }

  HWND Owner() const { return m_owner; }
  void Release();

 private:
  HWND m_owner;
  bool m_disabled = false;
};

class cChild;

// Sizes are of the client area, in units.
struct FormLook {
  std::u16string title;
  Size size;
  Size least;              // with a size: the user may resize the form, down to this
  bool inTaskBar = false;  // a program's main window
};

class cCustomForm : public cWindow {
 public:
  static constexpr u32 kAccept = IDOK;
  static constexpr u32 kCancel = IDCANCEL;

  ~cCustomForm() override;

  // Shows the form over the window that `parent` is or lies in, which can do nothing meanwhile, and
  // returns what Close was given: 0 when the form was cancelled, its parent went away, the program
  // was told to quit (which is passed on) or the window could not be made. A parent that is null or
  // gone leaves the form in the middle of the screen.
  u32 ShowModal(HWND parent, const FormLook& look);

  // Shows the form and returns at once; RunUntilClosed then handles its messages.
  bool Open(HWND owner, const FormLook& look);
  u32 RunUntilClosed();

  // Ends the form with this result once the message at hand is done with.
  void Close(u32 result);
  u32 Result() const { return m_result; }

  cTheme& Theme() { return *m_theme; }
  cHints& Hints() { return m_hints; }
  cActionList& Actions() { return m_actions; }

  // Puts every child at its place.
  void Layout();
  // The command that Enter runs; 0 for none.
  void SetDefaultCommand(u32 id);
  // Makes the client area at least `client` pixels large, in the middle of the owner again.
  void GrowTo(Size client);

 protected:
  // Creates the children. The window is there and has its size, and is not yet shown.
  virtual void OnCreate() = 0;
  // A button or an action of this id; kCancel closes the form and kAccept does nothing by itself.
  virtual void OnCommand(u32 id);
  // Places what anchors alone cannot; called after the children were placed.
  virtual void OnLayout(Size /*client*/) {}
  virtual void OnCancel() { Close(0); }
  // After a change of scale: the children have theirs, and the layout follows.
  virtual void OnScale() {}
  MessageAnswer OnMessage(const WindowMessage& message) override;

 private:
  friend class cChild;

  void Remember(cChild& child) { m_children.push_back(&child); }
  void Forget(cChild& child);
  cChild* ChildOf(HWND control) const;

  void Start(HWND window);
  void TakeSize(Size client);
  i32 TitleWidth();
  void FocusFirst();
  bool TakesKey(const MSG& message);
  void Run();
  DWORD Style() const;
  DWORD ExStyle() const;

  MessageAnswer OnSize(const WindowMessage& message);
  MessageAnswer OnLeastSize(const WindowMessage& message);
  MessageAnswer OnDpiChanged(const WindowMessage& message);
  MessageAnswer OnWindowCommand(const WindowMessage& message);
  MessageAnswer OnWindowNotify(const WindowMessage& message);
  MessageAnswer OnControlColour(const WindowMessage& message);
  MessageAnswer OnDrawItem(const WindowMessage& message);
  MessageAnswer OnClose(const WindowMessage& message);
  MessageAnswer OnHelp(const WindowMessage& message);
  MessageAnswer OnSystemLook(const WindowMessage& message);

  static INT_PTR CALLBACK Procedure(HWND window, UINT id, WPARAM wParam, LPARAM lParam);

  FormLook m_look;
  u32 m_result = 0;
  bool m_closing = false;
  bool m_takesAltUp = false;  // Alt was part of a shortcut, and is still down
  std::unique_ptr<cTheme> m_theme;
  cHints m_hints;
  cActionList m_actions;
  OwnedIcon m_icon;
  std::vector<cChild*> m_children;
};

}  // namespace larkspur
