// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Owners of the system's drawing objects. Each closes what it holds and knows nothing else.

#include <windows.h>

#include <memory>
#include <type_traits>

#include <commctrl.h>

namespace larkspur {

template <auto close>
struct CloseWith {
  template <typename Handle>
  void operator()(Handle handle) const {
    close(handle);
  }
};

template <typename Handle, auto close>
using OwnedHandle = std::unique_ptr<std::remove_pointer_t<Handle>, CloseWith<close>>;

using OwnedFont = OwnedHandle<HFONT, DeleteObject>;
using OwnedBrush = OwnedHandle<HBRUSH, DeleteObject>;
using OwnedBitmap = OwnedHandle<HBITMAP, DeleteObject>;
using OwnedMemoryDc = OwnedHandle<HDC, DeleteDC>;
using OwnedIcon = OwnedHandle<HICON, DestroyIcon>;
using OwnedImageList = OwnedHandle<HIMAGELIST, ImageList_Destroy>;

// The screen's device context, for measuring.
class cScreenDc {
 public:
  cScreenDc() : m_dc(GetDC(nullptr)) {}
  cScreenDc(const cScreenDc&) = delete;
  cScreenDc& operator=(const cScreenDc&) = delete;
  ~cScreenDc() { ReleaseDC(nullptr, m_dc); }
  operator HDC() const { return m_dc; }

 private:
  HDC m_dc;
};

// An object selected into a device context for a scope.
class cSelected {
 public:
  cSelected(HDC dc, HGDIOBJ object) : m_dc(dc), m_before(SelectObject(dc, object)) {}
  cSelected(const cSelected&) = delete;
  cSelected& operator=(const cSelected&) = delete;
  ~cSelected() { SelectObject(m_dc, m_before); }

 private:
  HDC m_dc;
  HGDIOBJ m_before;
};

// The pointer that says "wait", for as long as it lives.
class cWaitCursor {
 public:
  cWaitCursor() : m_before(SetCursor(LoadCursorW(nullptr, IDC_WAIT))) {}
  cWaitCursor(const cWaitCursor&) = delete;
  cWaitCursor& operator=(const cWaitCursor&) = delete;
  ~cWaitCursor() { SetCursor(m_before); }

 private:
  HCURSOR m_before;
};

}  // namespace larkspur
