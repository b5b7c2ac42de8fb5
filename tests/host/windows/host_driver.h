// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Starts larkspur-host and plays its user: from outside, by keys and by messages to its windows,
// which are found by the ids of their controls.

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include "base/types.h"

namespace larkspur::host {

class cHostDriver {
 public:
  static constexpr u32 kPatienceMilliseconds = 20000;

  // Starts `program`, or the one in this program's folder when that is empty, with these words.
  explicit cHostDriver(const std::vector<std::u16string>& words,
                       const std::u16string& program = {});
  cHostDriver(const cHostDriver&) = delete;
  cHostDriver& operator=(const cHostDriver&) = delete;
  ~cHostDriver();  // ends the program, by force if it has to

  // The main window; null when none appeared in time.
  HWND Window() const { return m_window; }
  HANDLE Process() const { return m_process; }

  // A command of the main window, as its tool bar, menu or shortcut gives it.
  void Command(u32 id) { PostMessageW(m_window, WM_COMMAND, id, 0); }
  // The form that takes the keyboard now, the main window included; null while there is none.
  HWND Top() const;
  // Waits for a form over the main window; null when there comes none.
  HWND WaitForForm();
  // Waits until only the main window is left.
  bool WaitForNoForm();
  // Closes the main window and waits for the end; the exit status, or all ones.
  DWORD Close();

  // The text of the main window's control.
  std::u16string Text(u32 id) const;
  std::u16string Status() const;
  // What "Copy as text" gives; nothing when there is nothing to copy.
  std::u16string Copied();

  // Whether `condition` came true in time.
  static bool Wait(const std::function<bool()>& condition);

 private:
  HANDLE m_process = nullptr;
  DWORD m_processId = 0;
  HWND m_window = nullptr;
};

// The text of any control, also of another program.
std::u16string TextOfControl(HWND control);

// Keys of the keyboard, for whatever window has it.
void PressKeys(std::initializer_list<WORD> keys);
void TypeText(const std::u16string& text);

// Runs a command line with its words going to two files, and answers its exit status.
DWORD RunToFiles(std::u16string line, const std::u16string& out, const std::u16string& err);

// Where this program lies, with a backslash.
std::u16string ProgramFolder();

}  // namespace larkspur::host
