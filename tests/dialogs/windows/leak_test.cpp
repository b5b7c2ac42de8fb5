// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
// Forty openings of each form leave no object of the system behind.

#include "catalog/message_catalog.h"
#include "dialogs/about_plg_form.h"
#include "dialogs/drive_form.h"
#include "dialogs/file_choose_dialog.h"
#include "dialogs/message_form.h"
#include "dialogs/mk_raid_form.h"
#include "dialogs/new_folder_name_req_form.h"
#include "ui/windows/form_driver.h"
#include "ui/windows/process_resources.h"

namespace larkspur {
namespace {

constexpr int kOpenings = 40;

using LeakTest = FormTest;

void ChangeScaleAndCancel(HWND form) {
  const RECT box{50, 50, 900, 700};
  SendMessageW(form, WM_DPICHANGED, MAKEWPARAM(144, 144), reinterpret_cast<LPARAM>(&box));
  PressKey(VK_ESCAPE);
}

void Repeat(int times, const std::function<void()>& show) {
  for (int i = 0; i < times; ++i) {
    cFormDriver driver({ChangeScaleAndCancel});
    show();
  }
}

TEST_F(LeakTest, FormsGiveBackWhatTheyTook) {
  const struct {
    const char* name;
    std::function<void()> show;
  } forms[] = {
      {"message", [] { AskToConfirm(nullptr, u"One\nTwo"); }},
      {"request", [] { cNewFolderNameReqForm::Ask(nullptr, *Messages().Find("raid::devopen")); }},
      {"about", [] { cAboutPlgForm::Present(GetDesktopWindow()); }},
      {"define", [] { AskForReadOnceStorage(nullptr, *Messages().Find("raid::mkspan"), {}); }},
      {"choose a drive", [] { cDriveForm::Ask(nullptr); }},
      {"choose a file",
       [] {
         FileChoice choice;
         ChooseFile(nullptr, choice);
       }},
  };
  for (const auto& form : forms) {
    SCOPED_TRACE(form.name);
    Repeat(5, form.show);  // what the system loads once
    const ProcessResources before = ResourcesOf(GetCurrentProcess());
    Repeat(kOpenings, form.show);
    const ProcessResources after = ResourcesOf(GetCurrentProcess());
    ASSERT_GT(before.drawingObjects, 0u) << "nothing was counted";
    ASSERT_GT(before.handles, 0u);
    // Fewer than one for five openings is not growth with them.
    EXPECT_LE(after.drawingObjects, before.drawingObjects + kOpenings / 5);
    EXPECT_LE(after.windows, before.windows + kOpenings / 5);
    EXPECT_LE(after.handles, before.handles + kOpenings / 5);
    std::printf("%s: %u to %u drawing objects, %u to %u windows, %u to %u handles\n", form.name,
                before.drawingObjects, after.drawingObjects, before.windows, after.windows,
                before.handles, after.handles);
  }
}

}  // namespace
}  // namespace larkspur
