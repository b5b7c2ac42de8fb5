// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/new_folder_name_req_form.h"

#include "catalog/message_catalog.h"
#include "ui/windows/form_driver.h"

namespace larkspur {
namespace {

class NewFolderNameReqFormTest : public FormTest {
 protected:
  std::optional<std::u16string> Ask(std::vector<FormStep> steps) {
    cFormDriver driver(std::move(steps));
    return cNewFolderNameReqForm::Ask(nullptr, *Messages().Find("raid::devopen"));
  }
};

FormStep Type(const wchar_t* text) {
  return [text](HWND form) { SetDlgItemTextW(form, 102, text); };
}

TEST_F(NewFolderNameReqFormTest, AnswersWithTheTextAsItStands) {
  EXPECT_EQ(Ask({Type(L" \"E:\\\" "), Key(VK_RETURN)}), u" \"E:\\\" ");
  EXPECT_EQ(Ask({Type(L"Диск"), Press(IDOK)}), u"Диск");
  EXPECT_EQ(Ask({Key(VK_RETURN)}), u"");
}

TEST_F(NewFolderNameReqFormTest, AnswersWithNothingWhenCancelled) {
  EXPECT_EQ(Ask({Type(L"E:"), Key(VK_ESCAPE)}), std::nullopt);
  EXPECT_EQ(Ask({Type(L"E:"), Press(IDCANCEL)}), std::nullopt);
}

TEST_F(NewFolderNameReqFormTest, HasItsTextsAndControlsInTheirPlaces) {
  Ask({[](HWND form) {
    EXPECT_EQ(Utf8(TextOfWindow(form)), "Specify the device full path");
    EXPECT_EQ(ClassOf(GetDlgItem(form, 102)), "Edit");
    EXPECT_EQ(Utf8(TextOfWindow(GetDlgItem(form, IDOK))), "OK");
    EXPECT_EQ(Utf8(TextOfWindow(GetDlgItem(form, IDCANCEL))), "Cancel");
    EXPECT_EQ(FocusedId(), 102);
    EXPECT_EQ(TabOrder(form), (std::vector<int>{102, 1, 2}));
    wchar_t hint[64] = {};
    SendDlgItemMessageW(form, 102, EM_GETCUEBANNER, reinterpret_cast<WPARAM>(hint), 64);
    EXPECT_STREQ(hint, L"Specify device path here");
    // The label before an edit is what screen readers call it by.
    EXPECT_EQ(Utf8(TextOfWindow(GetWindow(GetDlgItem(form, 102), GW_HWNDPREV))),
              "Specify the device full path");
    RECT box{};
    GetClientRect(form, &box);
    EXPECT_EQ(box.right, 250);
    EXPECT_EQ(box.bottom, 100);
    PressKey(VK_ESCAPE);
  }});
}

TEST_F(NewFolderNameReqFormTest, DoesWithoutTextsThatAreMissing) {
  const MessageTexts none;
  cFormDriver driver({Key(VK_RETURN)});
  EXPECT_EQ(cNewFolderNameReqForm::Ask(nullptr, none), u"");
}

}  // namespace
}  // namespace larkspur
