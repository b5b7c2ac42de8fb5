// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What the lists beside the views show.

#include "host/model/storages.h"
#include "host/module_library.h"
#include "ui/list_view_child.h"

namespace larkspur::host {

class cStorageRows final : public cListModel {
 public:
  explicit cStorageRows(const cStorages& storages) : m_storages(storages) {}

  u32 RowCount() const override { return static_cast<u32>(m_storages.Count()); }
  std::u16string CellText(u32 row, u32 column) const override;
  int RowIcon(u32 row) const override;

 private:
  const cStorages& m_storages;
};

// The icons that RowIcon counts.
cIconList StorageIcons();

class cModuleRows final : public cListModel {
 public:
  explicit cModuleRows(const std::vector<ModuleFile>& files) : m_files(files) {}

  u32 RowCount() const override { return static_cast<u32>(m_files.size()); }
  std::u16string CellText(u32 row, u32 column) const override;

 private:
  const std::vector<ModuleFile>& m_files;
};

}  // namespace larkspur::host
