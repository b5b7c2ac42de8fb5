// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/clipboard.h"

#include <cstring>

namespace larkspur::host {
namespace {

// The text in the kind of memory that a clipboard takes; null without memory.
HGLOBAL MovableCopy(const std::u16string& text) {
  const size_t bytes = (text.size() + 1) * sizeof(char16_t);
  const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, bytes);
  if (!memory) return nullptr;
  std::memcpy(GlobalLock(memory), text.c_str(), bytes);
  GlobalUnlock(memory);
  return memory;
}

}  // namespace

bool CopyToClipboard(HWND owner, const std::u16string& text) {
  if (!OpenClipboard(owner)) return false;
  EmptyClipboard();
  const HGLOBAL memory = MovableCopy(text);
  // The clipboard owns what it has taken.
  const bool taken = memory && SetClipboardData(CF_UNICODETEXT, memory);
  if (memory && !taken) GlobalFree(memory);
  CloseClipboard();
  return taken;
}

}  // namespace larkspur::host
