// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
// A hundred openings of each form leave no object of the system behind.

#include "catalog/message_catalog.h"
#include "dialogs/about_plg_form.h"
#include "dialogs/file_choose_dialog.h"
#include "dialogs/message_form.h"
#include "dialogs/mk_raid_form.h"
#include "dialogs/new_folder_name_req_form.h"
#include "ui/windows/form_driver.h"
#include "ui/windows/object_counts.h"

namespace larkspur {
namespace {

constexpr int kOpenings = 100;

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
      {"choose a file",
       [] {
         FileChoice choice;
         ChooseFile(nullptr, choice);
       }},
  };
  for (const auto& form : forms) {
    SCOPED_TRACE(form.name);
    Repeat(5, form.show);  // what the system loads once
    const ObjectCounts before = CountObjects();
    Repeat(kOpenings, form.show);
    const ObjectCounts after = CountObjects();
    ASSERT_GT(before.gdi, 0u) << "nothing was counted";
    ASSERT_GT(before.user, 0u);
    // Fewer than one for five openings is not growth with them.
    EXPECT_LE(after.gdi, before.gdi + kOpenings / 5);
    EXPECT_LE(after.user, before.user + kOpenings / 5);
    std::printf("%s: GDI %u to %u, USER %u to %u\n", form.name, before.gdi, after.gdi, before.user,
                after.user);
  }
}

}  // namespace
}  // namespace larkspur
