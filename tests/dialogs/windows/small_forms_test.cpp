// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// The forms that say or ask one thing.

#include "catalog/message_catalog.h"
#include "dialogs/about_plg_form.h"
#include "dialogs/message_form.h"
#include "dialogs/new_folder_name_req_form.h"
#include "ui/windows/form_driver.h"

namespace larkspur {
namespace {

using MessageFormTest = FormTest;

struct AnswerCase {
  const char* name;
  u32 kind;
  u32 option;
  FormStep step;
  bool answer;
};

TEST_F(MessageFormTest, ClosesWithWhatTheUserChose) {
  const AnswerCase cases[] = {
      {"error, enter", kMessageError, 0, Key(VK_RETURN), true},
      {"error, escape", kMessageError, 0, Key(VK_ESCAPE), false},
      {"error, button", kMessageError, 0, Press(IDOK), true},
      {"confirm, enter", kMessageConfirm, 0, Key(VK_RETURN), true},
      {"confirm with no as default, enter", kMessageConfirm, kMessageDefaultNo, Key(VK_RETURN),
       false},
      {"confirm, no", kMessageConfirm, 0, Press(IDCANCEL), false},
      {"confirm, yes", kMessageConfirm, kMessageDefaultNo, Press(IDOK), true},
      {"confirm, space on the first button", kMessageConfirm, 0, Key(VK_SPACE), true},
      {"warning, close box", kMessageWarning, 0,
       [](HWND form) { PostMessageW(form, WM_CLOSE, 0, 0); }, false},
  };
  for (const AnswerCase& c : cases) {
    SCOPED_TRACE(c.name);
    cFormDriver driver({c.step});
    EXPECT_EQ(cMessageForm::Present(nullptr, u"Text", std::nullopt, 5, c.kind, c.option), c.answer);
  }
}

TEST_F(MessageFormTest, IsTitledByItsCaptionOrByTheCatalog) {
  cFormDriver driver({
      [](HWND form) {
        EXPECT_EQ(Utf8(TextOfWindow(form)), "Error");
        PressKey(VK_ESCAPE);
      },
      [](HWND form) {
        EXPECT_EQ(Utf8(TextOfWindow(form)), "Mine");
        PressKey(VK_ESCAPE);
      },
  });
  ShowError(nullptr, u"Text");
  cMessageForm::Present(nullptr, u"Text", u"Mine", 5, kMessageError, 0);
}

TEST_F(MessageFormTest, ShowsEachLineOfTheText) {
  cFormDriver driver({[](HWND form) {
    std::vector<std::string> shown;
    for (HWND child = GetWindow(form, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
      if (ClassOf(child) == "Static" && !TextOfWindow(child).empty()) {
        shown.push_back(Utf8(TextOfWindow(child)));
      }
    }
    EXPECT_EQ(shown, (std::vector<std::string>{"One", "Two & more", "Three"}));
    PressKey(VK_RETURN);
  }});
  ShowError(nullptr, u"One\nTwo & more\n\nThree\n");
}

TEST_F(MessageFormTest, StaysOnTheScreenWhateverTheText) {
  cFormDriver driver({[](HWND form) {
    RECT box{};
    GetWindowRect(form, &box);
    EXPECT_GE(box.left, 0);
    EXPECT_LE(box.right, GetSystemMetrics(SM_CXSCREEN));
    PressKey(VK_RETURN);
  }});
  ShowError(nullptr, u"C:\\" + std::u16string(600, u'x') + u" cannot be opened");
}

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
  cAboutPlgForm::Present(nullptr);  // shows nothing without a parent
  cAboutPlgForm::Present(GetDesktopWindow());
}

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
