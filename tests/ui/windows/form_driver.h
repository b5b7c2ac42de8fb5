// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Plays the user of modal forms: each step is called from the forms' own message loop, with the
// form that is on top at that time.

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/types.h"

namespace larkspur {

using FormStep = std::function<void(HWND form)>;

// Takes the steps one after the other while the caller shows forms. A form that is still open when
// the last step is done is closed, and the test fails.
class cFormDriver {
 public:
  explicit cFormDriver(std::vector<FormStep> steps);
  cFormDriver(const cFormDriver&) = delete;
  cFormDriver& operator=(const cFormDriver&) = delete;
  ~cFormDriver();

  size_t StepsLeft() const { return m_steps.size() - m_next; }

 private:
  static void CALLBACK OnTimer(HWND, UINT, UINT_PTR, DWORD);
  void TakeStep();

  std::vector<FormStep> m_steps;
  size_t m_next = 0;
  HWND m_quiet = nullptr;  // the form on top at the last tick, if nothing was at work then
  u32 m_idlePairs = 0;
};

// The enabled form on top of this thread's windows; null without one.
HWND TopForm();

// A key pressed in the window that has the focus.
void PressKey(u32 key);
void PressKeyIn(HWND window, u32 key);

// A step that presses a key, or a button by its id.
FormStep Key(u32 key);
FormStep Press(int id);

std::u16string TextOfWindow(HWND window);
std::string ClassOf(HWND window);
std::string Utf8(const std::u16string& text);

// The control that has the focus, by id; -1 without one.
int FocusedId();
// The ids at which Tab stops, from the first one to the one before it comes round.
std::vector<int> TabOrder(HWND form);

// Chooses the language of the forms to come.
void UseLanguage(u32 id);

// Tests that show forms: skipped where there is no screen to show them on.
class FormTest : public ::testing::Test {
 protected:
  void SetUp() override;
};

}  // namespace larkspur
