// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// An area of titled texts, one below the other: a warning, what a program has to say of itself, the
// properties of something. Texts wrap at the area's width; what does not fit is scrolled to, by
// wheel, bar or keys. A section that may be folded has a button for its heading.

#include <string>
#include <string_view>
#include <vector>

#include "ui/child.h"
#include "ui/model/layout.h"

namespace larkspur {

class cPropertyAreaChild : public cChild {
 public:
  enum class Folding { Never, ByUser };

  cPropertyAreaChild();

  // Appends a section; its index.
  size_t Add(std::u16string_view heading, std::u16string_view body, COLORREF colour = kLabelColour,
             Folding folding = Folding::Never);
  void SetBody(size_t section, std::u16string_view body);
  void Fold(size_t section, bool folded);
  bool IsFolded(size_t section) const { return m_sections[section].folded; }
  void Clear();

  // What all sections need at the present width, in pixels.
  i32 ContentHeight() const { return m_height; }

 private:
  // Heading and body are controls of this window and go with it.
  struct Section {
    HWND heading = nullptr;
    HWND body = nullptr;
    std::u16string headingText;
    std::u16string bodyText;
    COLORREF colour = kLabelColour;
    bool foldable = false;
    bool folded = false;
  };

  void OnScale() override;
  MessageAnswer OnMessage(const WindowMessage& message) override;
  MessageAnswer OnSize(const WindowMessage& message);
  MessageAnswer OnScrollBar(const WindowMessage& message);
  MessageAnswer OnWheel(const WindowMessage& message);
  MessageAnswer OnFocusChange(const WindowMessage& message);
  MessageAnswer OnPaint(const WindowMessage& message);
  MessageAnswer OnKeyCode(const WindowMessage& message);
  MessageAnswer OnKey(const WindowMessage& message);
  MessageAnswer OnTextColour(const WindowMessage& message);
  MessageAnswer OnHeading(const WindowMessage& message);
  MessageAnswer OnDrawHeading(const WindowMessage& message);

  HWND MakePart(const wchar_t* windowClass, DWORD style, const std::u16string& text);
  Section* SectionOf(HWND part);
  void NameFolding(const Section& section);
  void Arrange();
  SectionStack Stack(i32 width);
  void ShowScrollBar(i32 height, i32 view);
  void ScrollTo(i32 offset);
  i32 LineHeight() const;

  std::vector<Section> m_sections;
  i32 m_scrolled = 0;
  i32 m_height = 0;  // of all sections
  bool m_arranging = false;
};

}  // namespace larkspur
