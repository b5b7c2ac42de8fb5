// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
//
// Shows one form and saves what the screen then shows as a PNG.
//
//   larkspur-screenshots FORM LANGUAGE FILE
//
// FORM is a name of the table below, LANGUAGE a language's number. Without arguments it lists the
// forms.

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "catalog/message_catalog.h"
#include "dialogs/message_form.h"
#include "dialogs/new_folder_name_req_form.h"
#include "imaging/png_writer.h"
#include "ui/handles.h"
#include "ui/texts.h"

namespace larkspur {
namespace {

constexpr UINT kSettledMilliseconds = 900;
std::string g_file;
int g_status = 1;

// What the screen shows in a box.
Canvas ScreenIn(const RECT& box) {
  const int width = box.right - box.left, height = box.bottom - box.top;
  const cScreenDc screen;
  const OwnedMemoryDc memory(CreateCompatibleDC(screen));
  BITMAPINFO info{};
  info.bmiHeader = {sizeof info.bmiHeader, width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
  void* bits = nullptr;
  const OwnedBitmap bitmap(CreateDIBSection(screen, &info, DIB_RGB_COLORS, &bits, nullptr, 0));
  const cSelected selected(memory.get(), bitmap.get());
  BitBlt(memory.get(), 0, 0, width, height, screen, box.left, box.top, SRCCOPY);
  const u32 columns = static_cast<u32>(width), rows = static_cast<u32>(height);
  Canvas canvas(columns, rows, {0, 0, 0});
  const u8* at = static_cast<const u8*>(bits);
  for (u32 i = 0; i < columns * rows; ++i, at += 4) {
    canvas.Fill(i % columns, i / columns, 1, 1, {at[2], at[1], at[0]});
  }
  return canvas;
}

// Saves the form on top and closes it.
void CALLBACK SaveAndClose(HWND, UINT, UINT_PTR timer, DWORD) {
  KillTimer(nullptr, timer);
  const HWND form = GetForegroundWindow();
  RECT box{};
  GetWindowRect(form, &box);
  std::ofstream file(g_file, std::ios::binary);
  if (file << ScreenIn(box).ToPng()) g_status = 0;
  PostMessageW(form, WM_CLOSE, 0, 0);
}

class cLanguage final : public HostSettings {
 public:
  explicit cLanguage(u32 id) : m_id(id) {}
  bool QuerySetting(u32 number, void* buffer, u32 capacity, u32* size) override {
    if (number != 16 || capacity < sizeof m_id) return false;
    *static_cast<u32*>(buffer) = m_id;
    *size = sizeof m_id;
    return true;
  }

 private:
  u32 m_id;
};

void Error() {
  ShowError(nullptr, TextOf("raid::mkspan", 10));
}
void LongError() {
  ShowError(nullptr, TextOf("ciom::filechoose", 21));
}
void Question() {
  AskToConfirm(nullptr, TextOf("ciom::filechoose", 20));
}
void NewFolder() {
  cNewFolderNameReqForm::Ask(nullptr, *Messages().Find("ciom::filechoose"));
}
void DevicePath() {
  cNewFolderNameReqForm::Ask(nullptr, *Messages().Find("raid::devopen"));
}

struct Scene {
  const char* name;
  void (*show)();
};
constexpr Scene kScenes[] = {
    {"error", Error},          {"long-error", LongError},   {"question", Question},
    {"new-folder", NewFolder}, {"device-path", DevicePath},
};

}  // namespace
}  // namespace larkspur

int main(int count, char** words) {
  using namespace larkspur;
  if (count != 4) {
    for (const Scene& scene : kScenes) std::puts(scene.name);
    return count == 1 ? 0 : 2;
  }
  cLanguage language(static_cast<u32>(std::atoi(words[2])));
  Messages().SelectLanguage(&language);
  g_file = words[3];
  for (const Scene& scene : kScenes) {
    if (std::string(scene.name) != words[1]) continue;
    SetTimer(nullptr, 0, kSettledMilliseconds, SaveAndClose);
    scene.show();
  }
  return g_status;
}
