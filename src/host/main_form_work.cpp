// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
// What the window's commands do.

#include "dialogs/drive_form.h"
#include "dialogs/file_choose_dialog.h"
#include "dialogs/message_form.h"
#include "dialogs/model/device_path.h"
#include "host/clipboard.h"
#include "host/dialog_watch.h"
#include "host/main_form.h"
#include "host/model/words.h"
#include "host/texts.h"
#include "imaging/output_file.h"
#include "platform/system_error.h"
#include "platform/windows/win32.h"
#include "ui/handles.h"

namespace larkspur::host {
namespace {

void ShowNotice(HWND parent, std::u16string_view text) {
  constexpr u32 kInformationItem = 3;
  cMessageForm::Present(parent, text, std::nullopt, kInformationItem, kMessageInformation,
                        kMessageUsual);
}

// "Ctrl+Shift+C", for menus.
std::u16string ShortcutText(const Shortcut& shortcut) {
  if (shortcut.key == 0) return {};
  std::string text = shortcut.control ? "Ctrl+" : "";
  if (shortcut.shift) text += "Shift+";
  if (shortcut.key >= VK_F1 && shortcut.key <= VK_F12) {
    text += fmt::format("F{}", shortcut.key - VK_F1 + 1);
  } else {
    text += static_cast<char>(shortcut.key);
  }
  return WideFromUtf8(text);
}

// The path of a device as the user typed it; as it stands when it is no device that is known.
std::u16string PathOfDevice(const std::u16string& typed) {
  const DevicePath device = DecideDevicePath(typed, platform::SystemVolumes());
  switch (device.choice) {
    case DeviceChoice::kOptical:
      return std::u16string(u"\\\\.\\") + device.letter + u":";
    case DeviceChoice::kNamed:
      return device.path;
    case DeviceChoice::kRefused:
      break;
  }
  return typed;
}

std::string WhyNotSaved(const OutputFault& fault) {
  switch (fault.kind) {
    case OutputFaultKind::kInput:
    case OutputFaultKind::kInUse:
      return ": the file belongs to a storage that is open here, or another program is using it.";
    case OutputFaultKind::kOnSourceDisk:
      return ": writing there destroys what can still be saved of a disk that is open here.";
    default:
      return fault.systemError ? ":\n" + platform::FailureText(fault.systemError) : ".";
  }
}

std::u16string NotSavedWords(const std::u16string& path, const OutputFault& fault) {
  return Words("{}\nThe picture cannot be written{}\nSave it to another place.", Utf8(path),
               WhyNotSaved(fault));
}

}  // namespace

void cMainForm::AddActions() {
  constexpr bool kControl = true, kShift = true;
  const Shortcut none;
  const auto page = [this](u32 number) { return [this, number] { ShowPage(number); }; };
  const std::vector<Action> actions = {
      {kOpenFile, texts::kOpenFile, kIconFile, {'O', kControl}, [this] { OpenFile(); }},
      {kOpenDrive, texts::kOpenDrive, kIconDrive, {'D', kControl}, [this] { OpenDrive(); }},
      {kMakeStorage, texts::kMakeStorage, kIconAdd, {'N', kControl}, [this] { MakeStorage(); }},
      {kReadEverything, texts::kReadEverything, kIconStart, {VK_F5}, [this] { StartReading(); }},
      {kStopReading, texts::kStopReading, kIconStop, {VK_F6}, [this] { m_progress.RequestStop(); }},
      {kCloseStorage,
       texts::kCloseStorage,
       kIconCancel,
       {'W', kControl},
       [this] { CloseChosen(); }},
      {kReadDirectly, texts::kReadDirectly, 0, none, [this] { ReadDirectly(); }},
      {kSaveMap, texts::kSaveMap, kIconSave, {'S', kControl}, [this] { SaveMap(); }},
      {kCopyText, texts::kCopyText, 0, {'C', kControl, kShift}, [this] { CopyText(); }},
      {kAbout, texts::kAbout, 0, none,
       [this] {
         if (cModule* module = ChosenModule()) module->ShowAbout(Handle());
       }},
      {kGoToSector, texts::kGoToSector, kIconAccept, none, [this] { GoToTyped(); }},
      {kPreviousSector,
       texts::kPreviousSector,
       kIconPrevious,
       {VK_F7},
       [this] { m_sectorPage.GoToPrevious(); }},
      {kNextSector, texts::kNextSector, kIconNext, {VK_F8}, [this] { m_sectorPage.GoToNext(); }},
      {kShowSector, texts::kShowSector, 0, none, [this] { ShowRowsSector(); }},
      {kFocusSector,
       texts::kGoToSector,
       0,
       {'G', kControl},
       [this] {
         ShowPage(1);
         if (m_sectorPage.HasSectors()) m_sectorPage.FocusNumber();
       }},
      {kPartitions, texts::kPartitions, 0, {'1', kControl}, page(0)},
      {kSectors, texts::kSectors, 0, {'2', kControl}, page(1)},
      {kMap, texts::kMap, 0, {'3', kControl}, page(2)},
      {kLog, texts::kLog, 0, {'4', kControl}, page(3)},
  };
  for (const Action& action : actions) Actions().Add(action);
}

void cMainForm::ShowMenu(const std::vector<u32>& ids, POINT where) {
  const HMENU menu = CreatePopupMenu();
  for (const u32 id : ids) {
    const Action* action = Actions().Find(id);
    const std::u16string text = action->text + u"\t" + ShortcutText(action->shortcut);
    AppendMenuW(menu, action->enabled ? MF_STRING : MF_STRING | MF_GRAYED, id, Wide(text));
  }
  const BOOL chosen =
      TrackPopupMenu(menu, TPM_RETURNCMD | TPM_RIGHTBUTTON, where.x, where.y, 0, Handle(), nullptr);
  DestroyMenu(menu);
  if (chosen > 0) OnCommand(static_cast<u32>(chosen));
}

void cMainForm::OpenFile() {
  FileChoice choice;
  choice.title = texts::kOpenTitle;
  choice.filterIndex = -1;
  if (ChooseFile(Handle(), choice)) OpenPath(choice.path);
}

void cMainForm::OpenDrive() {
  if (const auto path = cDriveForm::Ask(Handle())) OpenPath(PathOfDevice(*path));
}

void cMainForm::OpenPath(const std::u16string& path) {
  std::optional<cStorages::Taken> added;
  std::u16string notice;
  {
    const cWaitCursor wait;
    auto opened = OpenStorage(path, WideFromUtf8(m_line.testMapfile));
    if (!opened) return ShowError(Handle(), opened.error());
    notice = opened->notice;
    added = m_storages.Add(std::move(*opened));
  }
  if (!added) return ShowError(Handle(), path + u"\n" + texts::kNoMemory);
  ShowStorages(added->index);
  m_storageList.Focus();
  if (!added->isNew) ShowNotice(Handle(), texts::kOpenAlready);
  if (!notice.empty()) Say(notice);
}

void cMainForm::MakeStorage() {
  cModule* const module = ChosenModule();
  if (!module) return ShowError(Handle(), texts::kNoModule);
  const size_t before = m_storages.Count();
  const cDialogWatch watch(m_storages);
  module->Make(m_storages, Handle());
  // The list, and not the answer, says what there is to show and to end.
  if (m_storages.Count() == before) return Say(texts::kNothingMade);
  TakeMade(watch.Seen());
}

void cMainForm::TakeMade(const MadeFrom& from) {
  const auto [index, isNew] = m_storages.TakeMade(from);
  ShowStorages(index);
  m_storageList.Focus();
  if (!isNew) ShowNotice(Handle(), texts::kMadeAlready);
}

void cMainForm::CloseChosen() {
  Storage* const storage = Chosen();
  if (!storage) return;
  if (m_progress.IsWatching() && m_job.Original() == storage->IO()) {
    m_progress.Leave();
    m_job.Release();
  }
  for (cPage* page : m_pages) page->ShowStorage(nullptr);
  const u32 row = m_storageList.Value();
  m_storages.Close(row);
  ShowStorages(row > 0 ? row - 1 : 0);
}

void cMainForm::ReadDirectly() {
  const Storage* const storage = Chosen();
  if (!storage || storage->mayBeRead) return;
  if (!AskToConfirm(Handle(), texts::kReadWithoutCache, kMessageDefaultNo)) return;
  const u32 row = m_storageList.Value();
  {
    const cWaitCursor wait;
    m_storages.LetRead(row);
  }
  ShowChosen();
}

void cMainForm::StartReading() {
  Storage* const storage = Chosen();
  if (!storage || !storage->CanBeReadWhole() || m_progress.IsWatching()) return;
  if (!m_job.Prepare(*storage)) return ShowError(Handle(), NoCloneWords(*storage));
  if (!m_progress.Watch(m_job, m_feed, storage->title)) {
    return ShowError(Handle(), texts::kNoMemory);
  }
  Say({});
  ShowState();
}

void cMainForm::EndReading() {
  m_job.Release();
  ShowState();
  const ReadingEnd end = m_job.Ended().end;
  const std::u16string words = EndWords(m_job.Ended());
  Say(words.substr(0, words.find(u'\n')));
  if (end != ReadingEnd::kDone && end != ReadingEnd::kStopped) ShowError(Handle(), words);
}

void cMainForm::SaveMap() {
  if (!m_mapPage.HasMap()) return;
  FileChoice choice;
  choice.title = texts::kSaveMapTitle;
  choice.use = FileUse::kReplace;
  choice.filters = {{texts::kPictures, u"*.png", u"png"}};
  choice.path = Chosen()->path + u".png";  // beside the cache
  if (!ChooseFile(Handle(), choice)) return;
  const cWaitCursor wait;
  platform::SetLastFailure(0);
  const std::string picture = m_mapPage.Picture();
  auto file = OpenOutputFile(choice.path, true, m_storages.Files());
  if (!file) return ShowError(Handle(), NotSavedWords(choice.path, file.error()));
  if (picture.empty() || !WriteOutput(file->File(), picture)) {
    file->Discard();
    const OutputFault fault{OutputFaultKind::kCannotMake, platform::LastFailure()};
    return ShowError(Handle(), NotSavedWords(choice.path, fault));
  }
  Say(texts::kMapSaved + choice.path);
}

void cMainForm::CopyText() {
  const std::u16string text = m_pages[m_tabs.Value()]->Text();
  const Storage* const storage = Chosen();
  if (!storage) return;
  const bool isCopied = CopyToClipboard(Handle(), storage->title + u"\r\n" + text);
  Say(isCopied ? texts::kCopied : texts::kNotCopied);
}

void cMainForm::GoToTyped() {
  if (m_tabs.Value() == 1) m_sectorPage.GoToTyped();
}

void cMainForm::ShowRowsSector() {
  const TreeRow* const row = m_partitionPage.Chosen();
  if (!row) return;
  ShowSector(row->start);
}

void cMainForm::ShowSector(u64 sector) {
  ShowPage(1);
  m_sectorPage.GoTo(sector);
}

}  // namespace larkspur::host
