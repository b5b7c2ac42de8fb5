// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/about_plg_form.h"

#include "ui/windows/form_driver.h"

namespace larkspur {
namespace {

using AboutPlgFormTest = FormTest;

TEST_F(AboutPlgFormTest, SaysWhatTheModuleIs) {
  cFormDriver driver({[](HWND form) {
    EXPECT_EQ(Utf8(TextOfWindow(form)), "About Larkspur I/O module");
    EXPECT_EQ(Utf8(TextOfWindow(GetDlgItem(form, 1))), "Close");
    EXPECT_EQ(FocusedId(), 1);
    EXPECT_EQ(TabOrder(form), (std::vector<int>{1}));
    RECT box{};
    GetClientRect(form, &box);
    EXPECT_EQ(box.right, 400);
    EXPECT_EQ(box.bottom, 290);
    PressKey(VK_RETURN);
  }});
  cAboutPlgForm::Present(GetDesktopWindow());
}

TEST_F(AboutPlgFormTest, NeedsAParent) {
  cFormDriver driver({});
  cAboutPlgForm::Present(nullptr);
}

}  // namespace
}  // namespace larkspur
