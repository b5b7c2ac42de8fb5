// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The dialog in which a user chooses a drive of this machine, or names another one by its path.

#include <windows.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "dialogs/model/drive_rows.h"
#include "ui/button_bar.h"
#include "ui/custom_form.h"
#include "ui/detached_work.h"
#include "ui/edit_child.h"
#include "ui/label_child.h"
#include "ui/list_view_child.h"

namespace larkspur {

class cDriveForm final : public cCustomForm, private cListModel {
 public:
  static constexpr u32 kListId = 120, kPathId = 102;
  using FindDrives = std::function<std::vector<DeviceFacts>()>;

  // The path that was chosen or typed, as it stands; nothing when the user cancelled. `find` is
  // called on a thread of its own, since a drive may take its time to answer.
  static std::optional<std::u16string> Ask(HWND parent, FindDrives find = FindDevices);

 private:
  explicit cDriveForm(FindDrives find) : m_find(std::move(find)) {}

  void OnCreate() override;
  void OnLayout(Size client) override;
  void OnScale() override { GrowTo({m_buttons.Width(), 0}); }
  void OnCommand(u32 id) override;
  MessageAnswer OnMessage(const WindowMessage& message) override;
  MessageAnswer OnFound(const WindowMessage& message);

  u32 RowCount() const override { return static_cast<u32>(m_rows.size()); }
  std::u16string CellText(u32 row, u32 column) const override;
  int RowIcon(u32) const override { return 0; }

  void CreateList();
  void ShowPath();

  FindDrives m_find;
  std::vector<DriveRow> m_rows;
  std::shared_ptr<cMailbox<std::vector<DriveRow>>> m_mail =
      std::make_shared<cMailbox<std::vector<DriveRow>>>();
  std::u16string m_path;

  cLabelChild m_drivesLabel;
  cListViewChild m_list;
  cIconList m_icons{{kIconDrive}};
  cLabelChild m_pathLabel;
  cEditChild m_edit;
  cButtonBar m_buttons;
};

}  // namespace larkspur
