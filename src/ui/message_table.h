// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A window procedure as a table of messages and handlers.
//
//   constexpr MessageRow<cCustomForm> kMessages[] = {
//       {WM_SIZE, &cCustomForm::OnSize},
//       ...
//   };
//   if (const auto answer = HandledBy(*this, kMessages, message)) return answer;
//   return cWindow::OnMessage(message);

#include <windows.h>

#include <optional>

namespace larkspur {

struct WindowMessage {
  UINT id = 0;
  WPARAM wParam = 0;
  LPARAM lParam = 0;
};

// A handler's answer to the sender, or nothing when the message is left to the system's default.
using MessageAnswer = std::optional<LRESULT>;

template <typename Owner>
struct MessageRow {
  UINT message;
  MessageAnswer (Owner::*handle)(const WindowMessage& message);
};

template <typename Owner, size_t rowCount>
MessageAnswer HandledBy(Owner& owner, const MessageRow<Owner> (&rows)[rowCount],
                        const WindowMessage& message) {
  for (const MessageRow<Owner>& row : rows) {
    if (row.message == message.id) return (owner.*row.handle)(message);
  }
  return std::nullopt;
}

}  // namespace larkspur
