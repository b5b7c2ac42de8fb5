// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/drive_form.h"

#include <algorithm>

#include "dialogs/file_choose_texts.h"
#include "platform/disk_use.h"
#include "platform/folders.h"
#include "ui/texts.h"

namespace larkspur {
namespace {

constexpr UINT kFound = WM_APP + 1;

enum class DriveText : size_t {
  kTitle = 0,
  kDrives = 1,
  kPath = 2,
  kModel = 3,
  kSerial = 4,
  kNotes = 5,
  kOther = 6,
  kRemovable = 7,
  kOptical = 8,
  kReadOnly = 9,
  kSystem = 10,
  kMounted = 11,
  kLooking = 12,
  kNone = 13,
};
std::u16string TextOf(DriveText item) {
  return larkspur::TextOf("ciom::drives", static_cast<size_t>(item));
}

enum Columns : u32 { kPathColumn, kModelColumn, kSerialColumn, kSizeColumn, kNotesColumn };

constexpr Size kFormSize = {700, 330}, kLeastSize = {420, 230};
constexpr AnchoredBox kDrivesPlace = {5, 5, -10, 18};
constexpr AnchoredBox kListPlace = {5, 25, -10, -102};
constexpr i32 kMargin = 5, kGap = 8, kPathY = -72, kFieldHeight = 22, kButtonsY = -40;

constexpr size_t kLongestFolder = 260;

// Whether Windows runs from the drive.
bool IsSystemDrive(const std::u16string& drive) {
  const auto folder = platform::EnvironmentText(u"SystemRoot", kLongestFolder);
  return folder && platform::IsFileOnDisk(folder->c_str(), drive.c_str());
}

}  // namespace

std::optional<std::u16string> cDriveForm::Ask(HWND parent, FindDrives find) {
  cDriveForm form(std::move(find));
  FormLook look;
  look.title = TextOf(DriveText::kTitle);
  look.size = kFormSize;
  look.least = kLeastSize;
  const bool isChosen = form.ShowModal(parent, look) != 0;
  form.m_mail->Close();
  return isChosen ? std::optional(form.m_path) : std::nullopt;
}

void cDriveForm::OnCreate() {
  CreateList();
  m_pathLabel.Create(*this, kPlacedByForm, TextOf(DriveText::kOther));
  m_edit.Create(*this, kPlacedByForm, kPathId);
  m_edit.SetHint(u"\\\\.\\PhysicalDrive1, E:");
  m_buttons.Create(*this, kButtonsY,
                   {{kAccept, larkspur::TextOf(FileChooseText::kOpen), kIconAccept},
                    {kCancel, larkspur::TextOf(FileChooseText::kCancel), kIconCancel}});
  GrowTo({m_buttons.Width(), 0});
  m_list.Focus();
  m_mail->Open(Handle(), kFound);
  const DriveWords words{TextOf(DriveText::kRemovable), TextOf(DriveText::kOptical),
                         TextOf(DriveText::kReadOnly), TextOf(DriveText::kSystem),
                         TextOf(DriveText::kMounted)};
  RunDetached([mail = m_mail, find = m_find, words] {
    mail->Post(DriveRows(find(), words, IsSystemDrive));
  });
}

void cDriveForm::CreateList() {
  m_drivesLabel.Create(*this, kDrivesPlace, TextOf(DriveText::kLooking));
  m_list.Create(*this, kListPlace, kListId);
  m_list.SetText(TextOf(DriveText::kDrives));
  m_list.SetColumns({{TextOf(DriveText::kPath)},
                     {TextOf(DriveText::kModel)},
                     {TextOf(DriveText::kSerial)},
                     {larkspur::TextOf(FileChooseText::kSize), true},
                     {TextOf(DriveText::kNotes), false, true}});
  m_list.SetIcons(&m_icons);
  m_list.SetModel(this);
  m_list.KeepChoice();
  m_list.onChange = [this] { ShowPath(); };
  m_list.onActivate = [this](u32) {
    ShowPath();
    OnCommand(kAccept);
  };
}

void cDriveForm::OnLayout(Size client) {
  const auto pixels = [this](i32 units) { return Theme().Pixels(units); };
  const i32 margin = pixels(kMargin), y = client.height + pixels(kPathY);
  const i32 label = TextSize(Theme().Font(), m_pathLabel.Text()).width + pixels(kGap);
  const i32 height = pixels(kFieldHeight);
  m_pathLabel.MoveTo({margin, y, label, height});
  m_edit.MoveTo({margin + label, y, std::max(client.width - 2 * margin - label, 0), height});
  m_buttons.Layout(client);
}

MessageAnswer cDriveForm::OnMessage(const WindowMessage& message) {
  static constexpr MessageRow<cDriveForm> kMessages[] = {{kFound, &cDriveForm::OnFound}};
  if (const MessageAnswer answer = HandledBy(*this, kMessages, message)) return answer;
  return cCustomForm::OnMessage(message);
}

MessageAnswer cDriveForm::OnFound(const WindowMessage&) {
  for (std::vector<DriveRow>& rows : m_mail->Take()) m_rows = std::move(rows);
  m_drivesLabel.SetText(TextOf(m_rows.empty() ? DriveText::kNone : DriveText::kDrives));
  m_list.Reload();
  if (m_rows.empty()) {
    m_edit.Focus();
  } else if (m_edit.Value().empty()) {
    m_list.SetValue(RowToOffer(m_rows));
    ShowPath();
  }
  return 0;
}

void cDriveForm::ShowPath() {
  const u32 row = m_list.Value();
  if (row < m_rows.size()) m_edit.SetValue(m_rows[row].path);
}

std::u16string cDriveForm::CellText(u32 row, u32 column) const {
  const DriveRow& drive = m_rows[row];
  switch (column) {
    case kPathColumn:
      return drive.path;
    case kModelColumn:
      return drive.model;
    case kSerialColumn:
      return drive.serial;
    case kSizeColumn:
      return drive.size;
    default:
      return drive.notes;
  }
}

void cDriveForm::OnCommand(u32 id) {
  if (id != kAccept) return cCustomForm::OnCommand(id);
  m_path = m_edit.Value();
  if (m_path.empty()) return m_edit.Focus();
  Close(1);
}

}  // namespace larkspur
