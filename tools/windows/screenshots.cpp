// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
//
// Shows forms, one after the other, and saves what the screen then shows as PNG files.
//
//   larkspur-screenshots [FORM LANGUAGE FILE]...
//
// FORM is a name of the table below, LANGUAGE a language's number. Without arguments it lists the
// forms.

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "base/path_text.h"
#include "catalog/message_catalog.h"
#include "dialogs/about_plg_form.h"
#include "dialogs/drive_form.h"
#include "dialogs/file_choose_dialog.h"
#include "dialogs/message_form.h"
#include "dialogs/mk_raid_form.h"
#include "dialogs/new_folder_name_req_form.h"
#include "ui/drop_down_list_child.h"
#include "ui/label_child.h"
#include "ui/list_view_child.h"
#include "ui/progress_view.h"
#include "ui/property_area_child.h"
#include "ui/status_bar_child.h"
#include "ui/texts.h"
#include "ui/tool_bar_child.h"
#include "windows/screen_picture.h"

namespace larkspur {
namespace {

constexpr UINT kSettledMilliseconds = 500;
std::u16string g_file;
bool g_saved = false;

// Saves the form on top and closes it.
void CALLBACK SaveAndClose(HWND, UINT, UINT_PTR timer, DWORD) {
  KillTimer(nullptr, timer);
  const HWND form = GetForegroundWindow();
  g_saved = SavePicture(form, g_file);
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

void OpenDrive() {
  cDriveForm::Ask(nullptr, [] {
    std::vector<DeviceFacts> drives(3);
    for (u32 i = 0; i < drives.size(); ++i) {
      drives[i].path = u"\\\\.\\PhysicalDrive" + std::u16string(1, static_cast<char16_t>(u'0' + i));
      drives[i].model = u"ACME Barracuda";
      drives[i].serial = u"Z1E0" + std::u16string(4, static_cast<char16_t>(u'A' + i));
      drives[i].bytes = u64{2000} << (30 - 4 * i);
      drives[i].kind = i < 2 ? 1 : 5;
      drives[i].isRemovable = i == 2;
      drives[i].isMounted = i != 1;
    }
    return drives;
  });
}

void About() {
  cAboutPlgForm::Present(GetDesktopWindow());
}

// A form with one of each element, as a program's main window has them.
class cGallery final : public cCustomForm {
 public:
  void Present() {
    FormLook look;
    look.title = TextOf("raid::mkspan", 0);
    look.size = {420, 400};
    look.least = {300, 300};
    ShowModal(nullptr, look);
  }

 private:
  void OnCreate() override {
    Actions().Add({1001, TextOf("ciom::filechoose", 6), kIconNewFolder, {}, {}});
    Actions().Add({1002, TextOf("ciom::filechoose", 14), kIconFolder, {}, {}});
    Actions().Add({1003, TextOf("ciom::filechoose", 13), kIconSave, {}, {}, false});
    m_tools.Create(*this, {0, 0, -1, 30}, {1001, 1002, cToolBarChild::kGap, 1003});
    m_label.Create(*this, {5, 32, -10, 18}, TextOf("raid::mkspan", 3));
    m_list.Create(*this, {5, 52, -30, 22}, 100);
    m_list.SetValue(m_list.Add(TextOf("raid::mkspan", 4)));
    m_add.Create(*this, {-25, 52, 20, 22}, 101, TextOf("raid::mkspan", 11), kIconAdd);
    m_edit.Create(*this, {5, 82, -30, 22}, 102);
    m_edit.SetValue(u"C:\\Cache\\Диск.kvrsp");
    m_choose.Create(*this, {-25, 82, 20, 22}, 103, TextOf("raid::mkspan", 6), kIconChoose);
    m_choose.Enable(false);
    m_rows.Create(*this, {5, 112, -10, 90}, 104);
    m_rows.SetColumns({{TextOf("ciom::filechoose", 7), false, true, &m_sort},
                       {TextOf("ciom::filechoose", 9)},
                       {TextOf("ciom::filechoose", 10), true}});
    m_rows.SetIcons(&m_icons);
    m_rows.SetModel(&m_model);
    m_rows.SortBy(0, false);
    m_rows.SetValue(1);
    m_warning.Create(*this, {5, 206, -10, -274});
    m_warning.Add(TextOf("raid::mkspan", 7), TextOf("raid::mkspan", 8), kLabelColour,
                  cPropertyAreaChild::Folding::ByUser);
    m_bar.Create(*this, {5, -64, -10, 12});
    m_bar.SetShare(0.4);
    m_buttons.Create(
        *this, -46,
        {{1, TextOf("raid::mkspan", 1), kIconAccept}, {2, TextOf("raid::mkspan", 2), kIconCancel}});
    m_status.Create(*this, {120});
    m_status.SetPart(0, TextOf("raid::main", 1));
    m_status.SetPart(1, TextOf("raid::main", 0));
  }
  void OnLayout(Size client) override {
    m_buttons.Layout(client);
    m_status.Layout();
  }

  struct Model final : cListModel {
    u32 RowCount() const override { return 4; }
    std::u16string CellText(u32 row, u32 column) const override {
      if (column == 1) return TextOf("ciom::filechoose", row < 2 ? 16 : 17);
      return column == 0 ? TextOf("ciom::filechoose", 4 + row) : u"1024 KB";
    }
    int RowIcon(u32 row) const override { return static_cast<int>(row); }
  };
  struct ByName final : cListViewChild::cListViewSortProvider {
    int Compare(u32 a, u32 b) const override { return a < b ? -1 : a > b; }
  };
  Model m_model;
  ByName m_sort;
  cIconList m_icons{{kIconFolder, kIconHome, kIconFile, kIconDrive}};
  cToolBarChild m_tools{cToolBarChild::Shows::IconsAndTexts};
  cLabelChild m_label;
  cDropDownListChild m_list;
  cIconButtonChild m_add, m_choose;
  cEditChild m_edit;
  cListViewChild m_rows;
  cPropertyAreaChild m_warning;
  cProgressBarChild m_bar;
  cButtonBar m_buttons;
  cStatusBarChild m_status;
};
void Gallery() {
  cGallery().Present();
}

// Every icon of the theme at two sizes.
class cIcons final : public cCustomForm {
 public:
  void Present() {
    FormLook look;
    look.size = {490, 130};
    ShowModal(nullptr, look);
  }

 private:
  void OnCreate() override {
    for (u32 number = kFirstIcon; number <= kLastIcon; ++number) {
      const i32 at = static_cast<i32>(number - kFirstIcon);
      const i32 x = 10 + at % 12 * 40, y = 10 + at / 12 * 60;
      m_icons[2 * at].Create(*this, {x, y, 32, 32}, number, 32);
      m_icons[2 * at + 1].Create(*this, {x + 8, y + 36, 16, 16}, number, 16);
    }
  }
  cIconChild m_icons[2 * (kLastIcon - kFirstIcon + 1)];
};
void Icons() {
  cIcons().Present();
}

// A drive that has nothing but a description.
class cShownDrive final : public cBaseIO {
 public:
  cBaseIO* Clone() override { return nullptr; }
  bool IsSameAs(cBaseIO* other) override { return other == this; }
  void* Destroy(u32) override { return this; }
  bool GetDescription(char16_t* buffer, i32 capacity) override {
    return CopyText(u"Drive1: Fixed ACME Barracuda 2000GB (SAT)", buffer, capacity);
  }
};

void DefineStorage() {
  cShownDrive drive;
  AskForReadOnceStorage(nullptr, *Messages().Find("raid::mkspan"), {&drive});
}
void ChooseCache() {
  FileChoice choice;
  choice.title = TextOf("raid::mkspan", 6);
  choice.filters = {{TextOf("raid::mkspan", 14), u"*.kvrsp", u"kvrsp"}};
  choice.use = FileUse::kContinue;
  choice.path = u"C:\\windows\\disk.kvrsp";
  ChooseFile(nullptr, choice);
}

struct Scene {
  const char* name;
  void (*show)();
};
constexpr Scene kScenes[] = {
    {"define", DefineStorage},
    {"choose-file", ChooseCache},
    {"error", Error},
    {"long-error", LongError},
    {"question", Question},
    {"new-folder", NewFolder},
    {"device-path", DevicePath},
    {"open-drive", OpenDrive},
    {"about", About},
    {"gallery", Gallery},
    {"icons", Icons},
};

}  // namespace
}  // namespace larkspur

int main(int count, char** words) {
  using namespace larkspur;
  if (count == 1) {
    for (const Scene& scene : kScenes) std::puts(scene.name);
  }
  int failures = 0;
  for (int i = 1; i + 2 < count; i += 3) {
    cLanguage language(static_cast<u32>(std::atoi(words[i + 1])));
    Messages().SelectLanguage(&language);
    g_file = WideFromUtf8(words[i + 2]);
    g_saved = false;
    for (const Scene& scene : kScenes) {
      if (std::string(scene.name) != words[i]) continue;
      SetTimer(nullptr, 0, kSettledMilliseconds, SaveAndClose);
      scene.show();
    }
    if (!g_saved) ++failures;
  }
  return failures;
}
