// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/windows/form_driver.h"

#include <utility>

#include "base/path_text.h"
#include "catalog/message_catalog.h"
#include "platform/windows/win32.h"
#include "ui/detached_work.h"

namespace larkspur {
namespace {

constexpr UINT kTickMilliseconds = 10;
constexpr u32 kPatiencePairs = 250;  // of ticks: five seconds

cFormDriver* g_driver = nullptr;
UINT_PTR g_timer = 0;

class cLanguage final : public HostSettings {
 public:
  bool QuerySetting(u32, void* buffer, u32, u32* size) override {
    *static_cast<u32*>(buffer) = id;
    *size = sizeof id;
    return true;
  }
  u32 id = 0;
};

}  // namespace

cFormDriver::cFormDriver(std::vector<FormStep> steps) : m_steps(std::move(steps)) {
  g_driver = this;
  g_timer = SetTimer(nullptr, 0, kTickMilliseconds, OnTimer);
}

cFormDriver::~cFormDriver() {
  KillTimer(nullptr, g_timer);
  g_driver = nullptr;
  EXPECT_EQ(StepsLeft(), 0u) << "steps that were not taken";
}

void CALLBACK cFormDriver::OnTimer(HWND, UINT, UINT_PTR, DWORD) {
  if (g_driver) g_driver->TakeStep();
}

void cFormDriver::TakeStep() {
  // A user waits for what a form is about to show. One quiet tick proves nothing: it may have been
  // due while work still ran, whose answer is not yet acted upon, and a form that has just come to
  // the top may not have begun what the last step asks for.
  const HWND form = CountDetachedWork() > 0 ? nullptr : TopForm();
  if (std::exchange(m_quiet, form) != form || !form) return;
  m_quiet = nullptr;
  if (StepsLeft() > 0) {
    m_steps[m_next++](form);
  } else if (++m_idlePairs > kPatiencePairs) {
    ADD_FAILURE() << "a form stayed open: " << Utf8(TextOfWindow(form));
    PostMessageW(form, WM_CLOSE, 0, 0);
    m_idlePairs = 0;
  }
}

HWND TopForm() {
  HWND found = nullptr;
  const auto look = [](HWND window, LPARAM result) -> BOOL {
    const bool isForm = ClassOf(window) == "#32770" && IsWindowVisible(window);
    if (!isForm || !IsWindowEnabled(window)) return TRUE;
    *reinterpret_cast<HWND*>(result) = window;
    return FALSE;
  };
  EnumThreadWindows(GetCurrentThreadId(), look, reinterpret_cast<LPARAM>(&found));
  return found;
}

void PressKeyIn(HWND window, u32 key) {
  PostMessageW(window, WM_KEYDOWN, key, 1);
  PostMessageW(window, WM_KEYUP, key, static_cast<LPARAM>(0xC0000001));
}

void PressKey(u32 key) {
  PressKeyIn(GetFocus(), key);
}

FormStep Key(u32 key) {
  return [key](HWND) { PressKey(key); };
}

FormStep Press(int id) {
  return [id](HWND form) {
    const HWND button = GetDlgItem(form, id);
    ASSERT_TRUE(button) << "no button " << id;
    PostMessageW(button, BM_CLICK, 0, 0);
  };
}

std::u16string TextOfWindow(HWND window) {
  std::u16string text(static_cast<size_t>(GetWindowTextLengthW(window)) + 1, u'\0');
  text.resize(
      static_cast<size_t>(GetWindowTextW(window, WideBuffer(text), static_cast<int>(text.size()))));
  return text;
}

std::string ClassOf(HWND window) {
  char name[64] = {};
  GetClassNameA(window, name, sizeof name);
  return name;
}

std::string Utf8(const std::u16string& text) {
  return Utf8FromWide(text);
}

int FocusedId() {
  return GetFocus() ? GetDlgCtrlID(GetFocus()) : -1;
}

std::vector<int> TabOrder(HWND form) {
  std::vector<int> ids;
  const HWND first = GetNextDlgTabItem(form, nullptr, FALSE);
  HWND at = first;
  do {
    ids.push_back(GetDlgCtrlID(at));
    at = GetNextDlgTabItem(form, at, FALSE);
  } while (at && at != first && ids.size() < 100);
  return ids;
}

void UseLanguage(u32 id) {
  // The catalog keeps the settings that it was given.
  static cLanguage language;
  language.id = id;
  Messages().SelectLanguage(&language);
}

void FormTest::SetUp() {
  const HWND probe =
      CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
  if (!probe) GTEST_SKIP() << "there is no screen to show forms on";
  DestroyWindow(probe);
  UseLanguage(0);
}

}  // namespace larkspur
