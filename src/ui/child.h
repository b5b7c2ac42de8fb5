// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// An element of a form: a control of one of the system's own classes, with an id, an anchored place
// and a font of the form's theme. A concrete class adds what the control is for.
//
// A child is a member of the form that shows it and is created in the form's OnCreate, in the order
// in which Tab moves. Its handle lives as long as the form's window.

#include <windows.h>

#include <functional>
#include <string_view>

#include "ui/theme.h"
#include "ui/window.h"

namespace larkspur {

class cCustomForm;

constexpr u32 kNoId = 0xFFFF;

// How a control is placed: all of it is drawn again. What the system would copy along may show text
// that wrapped at another width, or what a sibling covered.
constexpr UINT kPlacing = SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOCOPYBITS;

// Stands for a place that the form gives in its OnLayout, by MoveTo.
constexpr AnchoredBox kPlacedByForm{};

class cChild : public cWindow {
 public:
  ~cChild() override;

  // Makes the control, visible, in `form`. False when the system refuses.
  bool Create(cCustomForm& form, const AnchoredBox& place, u32 id = kNoId);

  // Another place; shown at the form's next layout, which this asks for.
  void Move(const AnchoredBox& place);
  const AnchoredBox& Place() const { return m_place; }

  // Places a child that anchors cannot place, in pixels; from the form's OnLayout, each time.
  void MoveTo(const Box& place);

  u32 Id() const { return m_id; }
  void SetFont(u32 number);
  // Moves the keyboard here as Tab would: an edit selects its text.
  void Focus() const;

 protected:
  cChild(const wchar_t* windowClass, DWORD style, DWORD exStyle = 0)
      : m_class(windowClass), m_style(style), m_exStyle(exStyle) {}

  cCustomForm& Form() const { return *m_form; }
  cTheme& Theme() const;
  HFONT Font() const;
  MessageAnswer OnMessage(const WindowMessage& message) override;
  // Answers WM_PAINT for a control that shows nothing of its own but where the keyboard is.
  MessageAnswer PaintBare();

  // Once, when the control is there; what depends on the scale belongs into OnScale.
  virtual void OnCreate() {}
  // After OnCreate and after every change of scale or font.
  virtual void OnScale() {}

 private:
  friend class cCustomForm;

  // What the form passes on to the control that it is about.
  virtual bool OnCommand(u32 /*notification*/) { return false; }
  virtual MessageAnswer OnNotify(NMHDR& /*header*/) { return std::nullopt; }
  virtual HBRUSH OnColour(HDC /*dc*/) { return nullptr; }
  virtual MessageAnswer OnDrawItem(const DRAWITEMSTRUCT& /*item*/) { return std::nullopt; }

  void Rescale();
  static LRESULT CALLBACK Procedure(HWND window, UINT id, WPARAM wParam, LPARAM lParam, UINT_PTR,
                                    DWORD_PTR self);

  const wchar_t* m_class;
  DWORD m_style;
  DWORD m_exStyle;
  cCustomForm* m_form = nullptr;
  AnchoredBox m_place;
  u32 m_id = kNoId;
  u32 m_font = kFontRegular;
};

// A child that the user sets to a value, and someone who wants to know when that happens.
class cValueChild : public cChild {
 public:
  // Called when the user has changed the value, not when the program sets it.
  std::function<void()> onChange;

 protected:
  using cChild::cChild;

  void TellChange() const {
    if (onChange) onChange();
  }
};

}  // namespace larkspur
