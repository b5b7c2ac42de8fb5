// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/drive_form.h"

#include "platform/windows/win32.h"
#include "ui/windows/form_driver.h"

namespace larkspur {
namespace {

constexpr int kList = cDriveForm::kListId, kPath = cDriveForm::kPathId;

class DriveFormTest : public FormTest {
 protected:
  // What was asked for; "cancelled" when nothing was.
  static std::string Show(std::vector<FormStep> steps, size_t count = 2) {
    cFormDriver driver(std::move(steps));
    const auto path = cDriveForm::Ask(nullptr, [count] {
      std::vector<DeviceFacts> drives(count);
      for (size_t i = 0; i < count; ++i) drives[i].path = u"drive" + std::u16string(i, u'+');
      return drives;
    });
    return path ? Utf8(*path) : "cancelled";
  }
  static std::string Path(HWND form) { return Utf8(TextOfWindow(GetDlgItem(form, kPath))); }
};

TEST_F(DriveFormTest, TakesWhatIsChosenOrTyped) {
  UseLanguage(0);
  const FormStep wait = [](HWND) {};
  const FormStep first = [](HWND form) {
    EXPECT_EQ(FocusedId(), kList);
    EXPECT_EQ(Utf8(TextOfWindow(GetDlgItem(form, kList))), "Drives of this machine:");
    EXPECT_EQ(Path(form), "drive");
    EXPECT_EQ(TabOrder(form), (std::vector<int>{kList, kPath, IDOK, IDCANCEL}));
    PressKey(VK_DOWN);
  };
  EXPECT_EQ(Show({wait, first, wait, Key(VK_RETURN)}), "drive+");
  EXPECT_EQ(Show({wait, Key(VK_ESCAPE)}), "cancelled");
  const FormStep type = [](HWND form) {
    EXPECT_EQ(FocusedId(), kPath);
    SendMessageW(form, WM_COMMAND, IDOK, 0);  // with nothing typed: not taken
    SetDlgItemTextW(form, kPath, L"E:");
  };
  EXPECT_EQ(Show({wait, type, Press(IDOK)}, 0), "E:");
}

}  // namespace
}  // namespace larkspur
