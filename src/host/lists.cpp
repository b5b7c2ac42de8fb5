// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/lists.h"

#include "base/size_text.h"
#include "host/model/words.h"
#include "host/texts.h"

namespace larkspur::host {
namespace {

const char16_t* KindName(StorageKind kind) {
  switch (kind) {
    case StorageKind::kImage:
      return texts::kImage;
    case StorageKind::kCache:
      return texts::kCache;
    case StorageKind::kDrive:
      return texts::kDrive;
    case StorageKind::kReadOnce:
      return texts::kReadOnce;
  }
  return u"";
}

}  // namespace

std::u16string cStorageRows::CellText(u32 row, u32 column) const {
  const Storage& storage = m_storages.At(row);
  switch (column) {
    case 0:
      return storage.title;
    case 1:
      return KindName(storage.kind);
    default:
      return Words("{}", SizeText(storage.sectors << kSectorShift));
  }
}

int cStorageRows::RowIcon(u32 row) const {
  return static_cast<int>(m_storages.At(row).kind);
}

cIconList StorageIcons() {
  return cIconList({kIconFile, kIconSave, kIconDrive, kIconStorage});
}

std::u16string cModuleRows::CellText(u32 row, u32 column) const {
  const ModuleFile& file = m_files[row];
  if (column == 1) return file.fileName;
  if (!file.module) {
    return column == 0 ? file.fileName + u" " + file.module.error() : std::u16string();
  }
  const cModule& module = **file.module;
  return column == 0 ? module.Name() : Words("{:016x}", module.Identity());
}

}  // namespace larkspur::host
