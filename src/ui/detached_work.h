// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Work that may take long and must not hold up a form: asking a server that does not answer, a
// drive that is spinning up. It runs on a thread of its own, which nothing waits for; a form that
// is closed meanwhile just does not get the answer.

#include <windows.h>

#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "base/critical_section.h"
#include "base/types.h"

namespace larkspur {

// Runs `work`, which owns all that it touches, and keeps the module loaded until it ends. False
// when no thread is to be had.
bool RunDetached(std::function<void()> work);

// How much of it has not ended yet.
u32 CountDetachedWork();

// Letters from detached work to a form, which is told of each by a message. The form and the work
// share the box; either may go first.
template <typename Letter>
class cMailbox {
 public:
  // From now on `window` gets `message` when there is something to take.
  void Open(HWND window, UINT message) {
    const cSafeCriticalSectionAccess access(&m_section);
    m_window = window;
    m_message = message;
  }

  // The form goes: what is posted from now on is dropped.
  void Close() {
    const cSafeCriticalSectionAccess access(&m_section);
    m_window = nullptr;
    m_letters.clear();
  }

  // False when the owner is gone.
  bool Post(Letter letter) {
    const cSafeCriticalSectionAccess access(&m_section);
    if (!m_window) return false;
    m_letters.push_back(std::move(letter));
    return PostMessageW(m_window, m_message, 0, 0) != FALSE;
  }

  std::vector<Letter> Take() {
    const cSafeCriticalSectionAccess access(&m_section);
    return std::exchange(m_letters, {});
  }

 private:
  cCriticalSection m_section;
  HWND m_window = nullptr;
  UINT m_message = 0;
  std::vector<Letter> m_letters;
};

}  // namespace larkspur
