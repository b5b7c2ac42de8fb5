// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
// Every text of the forms has the room that it needs, in every language and at every scale.

#include "catalog/message_catalog.h"
#include "dialogs/about_plg_form.h"
#include "dialogs/drive_form.h"
#include "dialogs/file_choose_dialog.h"
#include "dialogs/message_form.h"
#include "dialogs/mk_raid_form.h"
#include "dialogs/new_folder_name_req_form.h"
#include "ui/screen.h"
#include "ui/texts.h"
#include "ui/theme.h"
#include "ui/windows/form_driver.h"

namespace larkspur {
namespace {

Size SizeOf(HWND window) {
  RECT box{};
  GetWindowRect(window, &box);
  return {box.right - box.left, box.bottom - box.top};
}

// Whether the control has room for its text, wrapped where it wraps.
bool Fits(HWND control) {
  const std::u16string text = TextOfWindow(control);
  const HFONT font = reinterpret_cast<HFONT>(SendMessageW(control, WM_GETFONT, 0, 0));
  const Size size = SizeOf(control);
  if (ClassOf(control) == "Button") {
    if (GetWindowLongPtrW(control, GWL_STYLE) & BS_ICON) return true;  // its text is not seen
    SIZE ideal{};
    SendMessageW(control, BCM_GETIDEALSIZE, 0, reinterpret_cast<LPARAM>(&ideal));
    return ideal.cx <= size.width && TextSize(font, text).height <= size.height;
  }
  const bool wraps = !(GetWindowLongPtrW(control, GWL_STYLE) & SS_ENDELLIPSIS);
  if (wraps) return WrappedHeight(font, text, size.width) <= size.height;
  const Size needed = TextSize(font, text);
  return needed.width <= size.width && needed.height <= size.height;
}

BOOL CALLBACK CheckFits(HWND control, LPARAM) {
  const std::string kind = ClassOf(control);
  if (kind != "Button" && kind != "Static") return TRUE;
  const Size size = SizeOf(control);
  if (size.width == 0 || !IsWindowVisible(control)) return TRUE;
  EXPECT_TRUE(Fits(control)) << Utf8(TextOfWindow(control)) << " in " << size.width << "x"
                             << size.height;
  return TRUE;
}

void CheckTitleFits(HWND form) {
  constexpr i32 kCloseButton = 32;
  const OwnedFont font = TitleFont(kUnitDpi);
  EXPECT_LE(TextSize(font.get(), TextOfWindow(form)).width + kCloseButton, SizeOf(form).width)
      << Utf8(TextOfWindow(form));
}

// Checks the form at 100, 150 and 200 percent and closes it.
void CheckAtEveryScale(HWND form) {
  CheckTitleFits(form);
  const Size unscaled = SizeOf(form);
  for (const u32 percent : {100u, 150u, 200u}) {
    SCOPED_TRACE(percent);
    const u32 dpi = kUnitDpi * percent / 100;
    const Size size = Scaled(unscaled, dpi);
    const RECT box{0, 0, size.width, size.height};
    SendMessageW(form, WM_DPICHANGED, MAKEWPARAM(dpi, dpi), reinterpret_cast<LPARAM>(&box));
    EnumChildWindows(form, CheckFits, 0);
  }
  PressKey(VK_ESCAPE);
}

class FitTest : public FormTest, public ::testing::WithParamInterface<u32> {
 protected:
  void SetUp() override {
    FormTest::SetUp();
    UseLanguage(GetParam());
  }
};

TEST_P(FitTest, Forms) {
  cFormDriver driver(std::vector<FormStep>(9, CheckAtEveryScale));
  ShowError(nullptr, TextOf("raid::mkspan", 10));
  ShowError(nullptr, TextOf("ciom::filechoose", 21));
  AskToConfirm(nullptr, TextOf("ciom::filechoose", 20));
  cNewFolderNameReqForm::Ask(nullptr, *Messages().Find("raid::devopen"));
  cNewFolderNameReqForm::Ask(nullptr, *Messages().Find("ciom::filechoose"));
  cAboutPlgForm::Present(GetDesktopWindow());
  AskForReadOnceStorage(nullptr, *Messages().Find("raid::mkspan"), {});
  cDriveForm::Ask(nullptr, [] { return std::vector<DeviceFacts>(); });
  FileChoice choice;
  choice.title = TextOf("raid::mkspan", 6);
  ChooseFile(nullptr, choice);
}

INSTANTIATE_TEST_SUITE_P(Languages, FitTest, ::testing::Values(0, 1, 2, 3, 4, 5, 6, 8, 9));

}  // namespace
}  // namespace larkspur
