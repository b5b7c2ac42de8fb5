// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The dialog in which a user defines a read-once storage: a source, one of the host's storages or a
// device by its path, and the file of its cache.

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

#include "base/owned.h"
#include "catalog/language_pack.h"
#include "io/read_once_io.h"
#include "ui/button_bar.h"
#include "ui/button_child.h"
#include "ui/custom_form.h"
#include "ui/drop_down_list_child.h"
#include "ui/edit_child.h"
#include "ui/label_child.h"
#include "ui/property_area_child.h"

namespace larkspur {

class cMkRAIDForm final : public cCustomForm {
 public:
  static constexpr u32 kSourceId = 100, kAddDeviceId = 101, kPathId = 102, kChooseFileId = 103;

  // `texts` are those of "raid::mkspan" and outlive the form; so do the storages, which stay the
  // host's. A storage that is defined goes to `result`.
  cMkRAIDForm(const MessageTexts& texts, std::vector<cBaseIO*> storages,
              Owned<cReadOnceIO>* result);

  // The text of that number; empty when there is none.
  std::u16string Item(size_t item) const;

 private:
  // A device that the user added here; closed with the dialog.
  struct cDevListItem {
    Owned<cBaseIO> device;
  };

  void OnCreate() override;
  void OnLayout(Size client) override;
  void OnScale() override { GrowToTexts(); }
  void OnCommand(u32 id) override;

  void CreateSource();
  void CreateCache();
  void FillSources();
  void AddSource(std::u16string_view text, cBaseIO* storage);
  void GrowToTexts();

  void OnSourceChanged();
  void AddNamedDevice();
  void ChooseCacheFile();
  void Define();
  void RefuseCache(std::u16string_view why);
  cBaseIO* ChosenSource() const;

  const MessageTexts& m_texts;
  Owned<cReadOnceIO>* m_result;
  std::vector<cBaseIO*> m_storages;

  cLabelChild m_sourceLabel;
  cDropDownListChild m_source;
  std::vector<cBaseIO*> m_rows;  // the storage of each row of m_source; none for the first
  cIconButtonChild m_addDevice;
  cLabelChild m_cacheLabel;
  cEditChild m_path;
  cIconButtonChild m_chooseFile;
  cPropertyAreaChild m_warning;
  cButtonBar m_buttons;

  std::vector<cDevListItem> m_devices;
};

// Shows the dialog over `parent`; null when the user cancelled it.
Owned<cReadOnceIO> AskForReadOnceStorage(HWND parent, const MessageTexts& texts,
                                         std::vector<cBaseIO*> storages);

}  // namespace larkspur
