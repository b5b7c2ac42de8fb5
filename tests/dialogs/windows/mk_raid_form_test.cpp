// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/mk_raid_form.h"

#include "catalog/message_catalog.h"
#include "dialogs/model/define_storage.h"
#include "fakes/recording_source.h"
#include "fakes/temp_folder.h"
#include "platform/file.h"
#include "platform/windows/win32.h"
#include "ui/windows/form_driver.h"

namespace larkspur {
namespace {

constexpr u64 kSectors = 1000;

class MkRAIDFormTest : public FormTest {
 protected:
  void SetUp() override {
    FormTest::SetUp();
    Messages().SelectLanguage(nullptr);
    ASSERT_TRUE(m_folder.Exists());
    m_path = m_folder.File(u"disk.kvrsp");
  }

  Owned<cReadOnceIO> Show(std::vector<FormStep> steps) {
    cFormDriver driver(std::move(steps));
    return AskForReadOnceStorage(nullptr, *Messages().Find("raid::mkspan"), {m_source.get()});
  }
  FormStep TypePath() {
    return [this](HWND form) { SetDlgItemTextW(form, cMkRAIDForm::kPathId, Wide(m_path)); };
  }

  fakes::TempFolder m_folder;
  std::u16string m_path;
  Owned<fakes::cRecordingSource> m_source =
      fakes::SourceOn(std::make_shared<fakes::SourceScript>(kSectors));
};

// As a user does by the keyboard: the second row, Tab to the path, Enter.
TEST_F(MkRAIDFormTest, DefinesAStorageByKeyboardAlone) {
  const Owned<cReadOnceIO> made = Show({
      [](HWND) { EXPECT_EQ(FocusedId(), static_cast<int>(cMkRAIDForm::kSourceId)); },
      Key(VK_DOWN),
      [](HWND form) { EXPECT_TRUE(IsWindowEnabled(GetDlgItem(form, cMkRAIDForm::kChooseFileId))); },
      TypePath(),
      Key(VK_RETURN),
  });
  ASSERT_TRUE(made);
  EXPECT_EQ(made->GetSectorCount(), kSectors);
  EXPECT_EQ(platform::KindOfPath(m_path.c_str()), platform::PathKind::kFile);
}

TEST_F(MkRAIDFormTest, MovesTheFocusToWhatIsMissing) {
  EXPECT_FALSE(Show({
      Key(VK_TAB),
      Press(IDOK),
      [](HWND) { EXPECT_EQ(FocusedId(), static_cast<int>(cMkRAIDForm::kSourceId)); },
      Key(VK_DOWN),
      Press(IDOK),
      [](HWND form) {
        EXPECT_EQ(FocusedId(), static_cast<int>(cMkRAIDForm::kPathId));
        EXPECT_EQ(TabOrder(form), (std::vector<int>{100, 101, 102, 103, 1, 2}));
      },
      Key(VK_ESCAPE),
  }));
  EXPECT_EQ(platform::KindOfPath(m_path.c_str()), platform::PathKind::kAbsent);
}

// Another process works on the cache; a handle of its own is as good as one here.
TEST_F(MkRAIDFormTest, SaysWhyACacheCannotBeUsed) {
  ASSERT_TRUE(DefineStorage(m_source.get(), m_path));
  const platform::OwnedFile held(
      platform::OpenExistingFile(m_path.c_str(), platform::kOpenRead | platform::kOpenWrite));
  ASSERT_EQ(platform::LockFileAlone(held.Handle()), platform::LockOutcome::kLocked);
  EXPECT_FALSE(Show({
      Key(VK_DOWN),
      TypePath(),
      Press(IDOK),
      [](HWND message) {
        std::u16string said;
        for (HWND child = GetWindow(message, GW_CHILD); child;
             child = GetWindow(child, GW_HWNDNEXT)) {
          if (ClassOf(child) == "Static") said += TextOfWindow(child);
        }
        EXPECT_NE(Utf8(said).find("in use by another program"), std::string::npos) << Utf8(said);
        PressKey(VK_RETURN);
      },
      [](HWND) { EXPECT_EQ(FocusedId(), static_cast<int>(cMkRAIDForm::kPathId)); },
      Key(VK_ESCAPE),
  }));
}

TEST_F(MkRAIDFormTest, TakesTheChoosersPathAndOffersDefine) {
  const Owned<cReadOnceIO> made = Show({
      Key(VK_DOWN),
      TypePath(),
      Press(cMkRAIDForm::kChooseFileId),
      [](HWND chooser) { EXPECT_EQ(Utf8(TextOfWindow(chooser)), "Choose a file"); },
      Key(VK_RETURN),  // the name is there already
      [this](HWND form) {
        EXPECT_EQ(Utf8(TextOfWindow(GetDlgItem(form, cMkRAIDForm::kPathId))), Utf8(m_path));
        EXPECT_EQ(FocusedId(), IDOK);
      },
      Key(VK_RETURN),
  });
  EXPECT_TRUE(made);
}

}  // namespace
}  // namespace larkspur
