// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/mk_raid_form.h"

#include <algorithm>
#include <utility>

#include "catalog/message_catalog.h"
#include "dialogs/file_choose_dialog.h"
#include "dialogs/message_form.h"
#include "dialogs/model/define_storage.h"
#include "dialogs/model/device_path.h"
#include "dialogs/model/source_rows.h"
#include "dialogs/new_folder_name_req_form.h"
#include "ui/handles.h"
#include "ui/texts.h"

namespace larkspur {
namespace {

enum Items : size_t {
  kTitle = 0,
  kDefine = 1,
  kCancel = 2,
  kSourceLabel = 3,
  kSelectOne = 4,
  kCacheLabel = 5,
  kChooseFile = 6,
  kWarning = 7,
  kWarningText = 8,
  kOtherSize = 10,
  kAddDevice = 11,  // and what is said of every cache that cannot be used
  kCannotOpen = 12,
  kCacheFilter = 14,
};

constexpr Size kFormSize = {350, 360}, kLeastSize = {300, 300};
constexpr AnchoredBox kSourceLabelPlace = {5, 0, -10, 18};
constexpr AnchoredBox kSourcePlace = {5, 25, -30, 22};
constexpr AnchoredBox kAddDevicePlace = {-25, 25, 20, 22};
constexpr AnchoredBox kCacheLabelPlace = {5, 60, -10, 18};
constexpr AnchoredBox kPathPlace = {5, 85, -30, 22};
constexpr AnchoredBox kChooseFilePlace = {-25, 85, 20, 22};
constexpr AnchoredBox kWarningPlace = {5, 120, -10, -165};  // down to the buttons
constexpr i32 kButtonsY = -40;
constexpr i32 kBesideSource = 35, kMostForSources = 520;

constexpr char kDevicePathKey[] = "raid::devopen";
constexpr char kCacheNotesKey[] = "raid::cachenotes";
constexpr size_t kInUseNote = 0, kOnSourceDiskNote = 1;

}  // namespace

cMkRAIDForm::cMkRAIDForm(const MessageTexts& texts, std::vector<cBaseIO*> storages,
                         Owned<cReadOnceIO>* result)
    : m_texts(texts), m_result(result), m_storages(std::move(storages)) {}

std::u16string cMkRAIDForm::Item(size_t item) const {
  return item < m_texts.size() ? std::u16string(m_texts[item].View()) : std::u16string();
}

void cMkRAIDForm::OnCreate() {
  CreateSource();
  CreateCache();
  m_warning.Create(*this, kWarningPlace);
  m_warning.Add(Item(kWarning), Item(kWarningText));
  m_buttons.Create(*this, kButtonsY,
                   {{cCustomForm::kAccept, Item(kDefine), kIconAccept},
                    {cCustomForm::kCancel, Item(Items::kCancel), kIconCancel}});
  FillSources();
  GrowToTexts();
}

void cMkRAIDForm::CreateSource() {
  m_sourceLabel.Create(*this, kSourceLabelPlace, Item(kSourceLabel));
  m_source.Create(*this, kSourcePlace, kSourceId);
  m_source.onChange = [this] { OnSourceChanged(); };
  m_addDevice.Create(*this, kAddDevicePlace, kAddDeviceId, Item(kAddDevice), kIconAdd);
  m_addDevice.onClick = [this] { AddNamedDevice(); };
}

void cMkRAIDForm::CreateCache() {
  m_cacheLabel.Create(*this, kCacheLabelPlace, Item(kCacheLabel));
  m_path.Create(*this, kPathPlace, kPathId);
  m_chooseFile.Create(*this, kChooseFilePlace, kChooseFileId, Item(kChooseFile), kIconChoose);
  m_chooseFile.onClick = [this] { ChooseCacheFile(); };
}

void cMkRAIDForm::FillSources() {
  AddSource(Item(kSelectOne), nullptr);
  for (const SourceRow& row : SourceRows(m_storages)) AddSource(row.text, row.storage);
  m_source.SetValue(0);
  OnSourceChanged();
}

void cMkRAIDForm::AddSource(std::u16string_view text, cBaseIO* storage) {
  if (m_source.Add(text) != cDropDownListChild::kNoRow) m_rows.push_back(storage);
}

void cMkRAIDForm::OnLayout(Size client) {
  m_buttons.Layout(client);
}

// The whole warning is to be seen without scrolling, in every language, and the sources where they
// are not too long.
void cMkRAIDForm::GrowToTexts() {
  const i32 sources = m_source.WantedWidth() + Theme().Pixels(kBesideSource);
  GrowTo({std::max(m_buttons.Width(), std::min(sources, Theme().Pixels(kMostForSources))), 0});
  Layout();
  const i32 missing = m_warning.ContentHeight() - m_warning.ClientSize().height;
  GrowTo({0, ClientSize().height + std::max(missing, 0)});
}

void cMkRAIDForm::OnCommand(u32 id) {
  if (id == cCustomForm::kAccept) {
    Define();
  } else {
    cCustomForm::OnCommand(id);
  }
}

void cMkRAIDForm::OnSourceChanged() {
  m_chooseFile.Enable(m_source.Value() >= 1);
}

cBaseIO* cMkRAIDForm::ChosenSource() const {
  const int row = m_source.Value();
  return row == cDropDownListChild::kNoRow ? nullptr : m_rows[static_cast<size_t>(row)];
}

void cMkRAIDForm::AddNamedDevice() {
  const MessageTexts* const texts = Messages().Find(kDevicePathKey);
  if (!texts) return;
  const std::optional<std::u16string> typed = cNewFolderNameReqForm::Ask(Handle(), *texts);
  if (!typed) return;
  Owned<cBaseIO> device;
  {
    const cWaitCursor wait;
    device = OpenDevice(DecideDevicePath(*typed, platform::SystemVolumes()));
  }
  if (!device) return ShowError(Handle(), Item(kCannotOpen));
  AddSource(StorageText(device.get(), m_rows.size()), device.get());
  m_devices.push_back({std::move(device)});
  m_source.SetValue(m_source.Count() - 1);
  OnSourceChanged();
}

void cMkRAIDForm::ChooseCacheFile() {
  FileChoice choice;
  choice.title = Item(kChooseFile);
  choice.use = FileUse::kContinue;
  choice.path = m_path.Value();
  choice.filters = {{Item(kCacheFilter), u"*.kvrsp", u"kvrsp"}};
  if (!ChooseFile(Handle(), choice)) return;
  m_path.SetValue(choice.path);
  m_buttons.SetCurrent(cCustomForm::kAccept, true);
}

void cMkRAIDForm::Define() {
  if (IsOnDiskOf(ChosenSource(), m_path.Value())) {
    return RefuseCache(TextOf(kCacheNotesKey, kOnSourceDiskNote));
  }
  auto defined = [this] {
    const cWaitCursor wait;
    return DefineStorage(ChosenSource(), m_path.Value());
  }();
  if (defined) {
    *m_result = std::move(*defined);
    return Close(1);
  }
  switch (defined.error()) {
    case DefineFault::kSourceMissing:
      return m_source.Focus();
    case DefineFault::kPathMissing:
      return m_path.Focus();
    case DefineFault::kWrongSize:
      return RefuseCache(Item(kOtherSize));
    case DefineFault::kLockedElsewhere:
      return RefuseCache(TextOf(kCacheNotesKey, kInUseNote));
    case DefineFault::kCacheFailed:
      return RefuseCache(Item(kAddDevice));
    case DefineFault::kNotAttached:
      return;  // there is no text for it
  }
}

void cMkRAIDForm::RefuseCache(std::u16string_view why) {
  ShowError(Handle(), why);
  m_path.Focus();
}

Owned<cReadOnceIO> AskForReadOnceStorage(HWND parent, const MessageTexts& texts,
                                         std::vector<cBaseIO*> storages) {
  Owned<cReadOnceIO> result;
  cMkRAIDForm form(texts, std::move(storages), &result);
  FormLook look;
  look.title = form.Item(kTitle);
  look.size = kFormSize;
  look.least = kLeastSize;
  form.ShowModal(parent, look);
  return result;
}

}  // namespace larkspur
