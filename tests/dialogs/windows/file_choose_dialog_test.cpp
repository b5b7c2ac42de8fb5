// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/file_choose_dialog.h"

#include "catalog/message_catalog.h"
#include "fakes/temp_folder.h"
#include "platform/file.h"
#include "platform/folders.h"
#include "platform/windows/win32.h"
#include "ui/windows/form_driver.h"

namespace larkspur {
namespace {

class FileChooseDialogTest : public FormTest {
 protected:
  void SetUp() override {
    FormTest::SetUp();
    Messages().SelectLanguage(nullptr);
    ASSERT_TRUE(m_folder.Exists());
    // Without the prefix for long paths, as a user sees it.
    m_base = m_folder.Path().u16string().substr(4);
    for (const char16_t* name : {u"old.kvrsp", u"other.txt"}) {
      ASSERT_TRUE(fakes::WriteWholeFile(m_folder.File(name), {1}));
    }
  }

  // What was chosen; empty when nothing was.
  std::u16string Show(std::vector<FormStep> steps, FileUse use = FileUse::kContinue) {
    return ShowAt(m_base + u"\\begin", std::move(steps), use);
  }
  std::u16string ShowAt(const std::u16string& begin, std::vector<FormStep> steps,
                        FileUse use = FileUse::kContinue) {
    FileChoice choice;
    choice.title = u"Choose";
    choice.filters = {{u"Caches", u"*.kvrsp", u"kvrsp"}};
    choice.use = use;
    choice.path = begin;
    cFormDriver driver(std::move(steps));
    return ChooseFile(nullptr, choice) ? choice.path : std::u16string();
  }

  static FormStep TypeName(const std::u16string& name) {
    return [name](HWND form) {
      SetDlgItemTextW(form, cFileChooseDialog::kNameId, Wide(name));
      PostMessageW(form, WM_COMMAND, IDOK, 0);
    };
  }
  static LRESULT Rows(HWND form) {
    return SendDlgItemMessageW(form, cFileChooseDialog::kFolderId, LVM_GETITEMCOUNT, 0, 0);
  }

  fakes::TempFolder m_folder;
  std::u16string m_base;
};

TEST_F(FileChooseDialogTest, AcceptsANewNameAndCompletesIt) {
  EXPECT_EQ(Utf8(Show({TypeName(u" \"new one\" ")})), Utf8(m_base + u"\\new one.kvrsp"));
}

TEST_F(FileChooseDialogTest, ShowsPlacesAndWhatFitsTheFilter) {
  EXPECT_EQ(
      Show({
          [](HWND form) {
            EXPECT_EQ(Rows(form), 1);
            EXPECT_GE(
                SendDlgItemMessageW(form, cFileChooseDialog::kPlacesId, LVM_GETITEMCOUNT, 0, 0), 2);
          },
          TypeName(u"*.t?t"),
          [](HWND form) {
            EXPECT_EQ(Rows(form), 1);
            EXPECT_EQ(Utf8(TextOfWindow(GetDlgItem(form, cFileChooseDialog::kFilterId))),
                      "Custom (*.t?t)");
          },
          TypeName(u"*"),
          [](HWND form) { EXPECT_EQ(Rows(form), 2); },
          Key(VK_ESCAPE),
      }),
      u"");
}

TEST_F(FileChooseDialogTest, AsksBeforeAFileThatIsThereIsReplacedAndNotElse) {
  // Enter answers as Cancel does.
  for (const FormStep& no : {Press(IDCANCEL), Key(VK_RETURN)}) {
    EXPECT_EQ(Show({TypeName(u"old"), no, Key(VK_ESCAPE)}, FileUse::kReplace), u"");
  }
  EXPECT_EQ(Utf8(Show({TypeName(u"old"),
                       [](HWND form) {
                         EXPECT_EQ(Utf8(TextOfWindow(form)), "Confirm");
                         Press(IDOK)(form);
                       }},
                      FileUse::kReplace)),
            Utf8(m_base + u"\\old.kvrsp"));
  EXPECT_EQ(Utf8(Show({TypeName(u"old")})), Utf8(m_base + u"\\old.kvrsp"));
  EXPECT_EQ(Utf8(Show({TypeName(u"old")}, FileUse::kOpen)), Utf8(m_base + u"\\old.kvrsp"));
}

TEST_F(FileChooseDialogTest, MakesANewFolderAndGoesThere) {
  EXPECT_EQ(Utf8(Show({
                Press(cFileChooseDialog::kNewFolderId),
                TypeName(u"\u0416 box"),
                [](HWND form) { EXPECT_EQ(Rows(form), 0); },
                TypeName(u"deep"),
            })),
            Utf8(m_base + u"\\\u0416 box\\deep.kvrsp"));
}

// The text of the row that is selected in the folder list.
std::string SelectedRow(HWND form) {
  const HWND list = GetDlgItem(form, cFileChooseDialog::kFolderId);
  const LRESULT row =
      SendMessageW(list, LVM_GETNEXTITEM, static_cast<WPARAM>(-1), LVNI_SELECTED | LVNI_FOCUSED);
  wchar_t text[MAX_PATH] = {};
  LVITEMW item{};
  item.pszText = text;
  item.cchTextMax = MAX_PATH;
  SendMessageW(list, LVM_GETITEMTEXTW, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
  return Utf8(reinterpret_cast<const char16_t*>(text));
}

TEST_F(FileChooseDialogTest, WalksUpAndBack) {
  const std::u16string parent = m_base.substr(0, m_base.rfind(u'\\'));
  EXPECT_EQ(Utf8(Show({
                Press(cFileChooseDialog::kUpId),
                [&](HWND form) {
                  EXPECT_EQ(Utf8(TextOfWindow(GetDlgItem(form, cFileChooseDialog::kBackId))),
                            Utf8(m_base));
                  EXPECT_EQ(SelectedRow(form), Utf8(m_base.substr(parent.size() + 1)));
                },
                TypeName(u"above"),
            })),
            Utf8(parent + u"\\above.kvrsp"));
  EXPECT_EQ(Utf8(Show({
                Press(cFileChooseDialog::kUpId),
                Press(cFileChooseDialog::kBackId),
                TypeName(u"here"),
            })),
            Utf8(m_base + u"\\here.kvrsp"));
}

TEST_F(FileChooseDialogTest, BeginsWhereTheLastFileWasChosen) {
  EXPECT_EQ(Utf8(Show({TypeName(u"first")})), Utf8(m_base + u"\\first.kvrsp"));
  EXPECT_EQ(Utf8(ShowAt(u"", {TypeName(u"second")})), Utf8(m_base + u"\\second.kvrsp"));
  // Home takes the place of a folder that is gone; of one that was named, that is said.
  const FormStep leave = [](HWND form) {
    EXPECT_NE(Rows(form), 0);
    PressKey(VK_ESCAPE);
  };
  EXPECT_EQ(ShowAt(m_base + u"\\gone\\file", {Key(VK_RETURN), leave}), u"");
  const std::u16string gone = m_base + u"\\soon gone";
  ASSERT_TRUE(platform::SystemFolders().Make(gone));
  EXPECT_NE(ShowAt(gone + u"\\x", {TypeName(u"third")}), u"");
  ASSERT_TRUE(RemoveDirectoryW(Wide(gone)));
  EXPECT_EQ(ShowAt(u"", {leave}), u"");
}

TEST_F(FileChooseDialogTest, SaysWhenThereIsNoSuchFolder) {
  EXPECT_EQ(Show({TypeName(u"none\\name"),
                  [this](HWND form) {
                    EXPECT_EQ(Utf8(TextOfWindow(form)), "Error");
                    const std::u16string path = m_base + u"\\none\\name.kvrsp";
                    EXPECT_TRUE(FindWindowExW(form, nullptr, nullptr, Wide(path)));
                    PressKey(VK_RETURN);
                  },
                  [](HWND form) {
                    EXPECT_EQ(FocusedId(), static_cast<int>(cFileChooseDialog::kNameId));
                    PressKey(VK_ESCAPE);
                    (void)form;
                  }}),
            u"");
}

}  // namespace
}  // namespace larkspur
