// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A user at work: a second thread that finds the module's windows by their captions and works their
// controls by messages, while the first waits in a call of the module.

#include <windows.h>

#include <stdbool.h>

// The controls of the device dialog and the forms around it.
enum {
  kAccept = 1,
  kCancel = 2,
  kSourceList = 100,
  kAddDevice = 101,
  kText = 102,
  kChooseFile = 103,
};

typedef void (*Script)(HWND form, void* context);

// Begins to wait for a visible window with that caption and then runs the script. One user at a
// time.
void StartUser(const wchar_t* caption, Script script, void* context);

// Waits for the script's end. False when the window did not appear.
bool UserIsDone(void);

// Milliseconds from StartUser to the window's appearance.
double MillisecondsToWindow(void);

// Within scripts. Waits for another window; null, and a failed check, when it does not come.
HWND AwaitWindow(const wchar_t* caption);
// Waits until the window is gone.
bool AwaitEnd(HWND window);
HWND Control(HWND form, int id);
// Returns at once: what the button opens comes back only when it is closed again.
void Press(HWND form, int id);
// Returns when the button has done its work, which opens nothing.
void PressAndWait(HWND form, int id);
// Presses a key in the control that has the focus.
void PressKey(HWND form, WPARAM key);
// Whether the button is one of the themed controls, which alone can tell of their images.
bool IsThemed(HWND form, int button);
void ChooseRow(HWND form, int row);
int CountRows(HWND form);
void RowText(HWND form, int row, wchar_t* text, int capacity);
void TypeText(HWND form, const wchar_t* text);
void MoveFocus(HWND form, int id);
// Whether the control gets the focus within a while.
bool AwaitFocus(HWND form, int id);
// Closes a message form and says whether one of its lines begins with that text.
bool DismissMessage(const wchar_t* caption, const wchar_t* begins);
