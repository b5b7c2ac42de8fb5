// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The program's window: the open storages and the modules on the left, the views of the chosen
// storage on the right, and below them how far the reading of one is.

#include <memory>
#include <string>
#include <vector>

#include "host/lists.h"
#include "host/model/command_line.h"
#include "host/model/read_everything.h"
#include "host/model/settings.h"
#include "host/model/storages.h"
#include "host/module_library.h"
#include "host/pages.h"
#include "host/tab_child.h"
#include "ui/custom_form.h"
#include "ui/drop_down_list_child.h"
#include "ui/label_child.h"
#include "ui/list_view_child.h"
#include "ui/progress_view.h"
#include "ui/splitter_child.h"
#include "ui/status_bar_child.h"
#include "ui/tool_bar_child.h"

namespace larkspur::host {

// Shows the window until the user closes it; an exit status.
int ShowMainForm(const CommandLine& line);

class cMainForm final : public cCustomForm {
 public:
  // Commands and controls keep their numbers: scripts may drive the window by them.
  enum Command : u32 {
    kOpenFile = 1001,
    kOpenDrive = 1002,
    kMakeStorage = 1003,
    kReadEverything = 1004,
    kStopReading = 1005,
    kCloseStorage = 1006,
    kSaveMap = 1007,
    kCopyText = 1008,
    kAbout = 1009,
    kGoToSector = 1010,
    kPreviousSector = 1011,
    kNextSector = 1012,
    kShowSector = 1013,
    kFocusSector = 1014,
    kReadDirectly = 1015,
    kPartitions = 1021,
    kSectors = 1022,
    kMap = 1023,
    kLog = 1024,
  };
  enum ControlId : u32 {
    kStoragesId = 200,
    kModulesId = 201,
    kPagesId = 202,
    kLanguageId = 203,
    kStopId = 204,
    kStatusId = 205,
  };
  static constexpr UINT kOpenNamed = WM_APP + 21;

  explicit cMainForm(const CommandLine& line);
  ~cMainForm() override;

  int Present();

 private:
  void OnCreate() override;
  void OnLayout(Size client) override;
  void OnCommand(u32 id) override;
  void OnCancel() override;
  MessageAnswer OnMessage(const WindowMessage& message) override;
  MessageAnswer OnMapNews(const WindowMessage& message);
  MessageAnswer OnSectorNews(const WindowMessage& message);
  MessageAnswer OnLogNews(const WindowMessage& message);
  MessageAnswer OnOpenNamed(const WindowMessage& message);

  void AddActions();
  void CreateTools();
  void ShowButtonState(const Action& action);
  void CreateLists();
  void CreatePages();
  void FillLanguages();
  void LayoutLists(i32 top, i32 width, i32 bottom);

  Storage* Chosen();
  cModule* ChosenModule();
  // The storage list has changed: shows it, with this one chosen.
  void ShowStorages(size_t chosen);
  void ShowChosen();
  void ShowPage(u32 page);
  void KeepKeyboard();
  void ShowState();
  void Say(std::u16string_view text);
  void ShowMenu(const std::vector<u32>& ids, POINT where);

  void TakeLanguage();
  void OpenFile();
  void OpenDrive();
  void OpenPath(const std::u16string& path);
  void MakeStorage();
  void TakeMade(const MadeFrom& from);
  void CloseChosen();
  void ReadDirectly();
  void ShowSector(u64 sector);
  void StartReading();
  void EndReading();
  void SaveMap();
  void CopyText();
  void GoToTyped();
  void ShowRowsSector();

  const CommandLine m_line;
  cSettings m_settings;
  std::vector<ModuleFile> m_modules;
  cStorages m_storages;  // ends before the modules that made some of them
  cProgressFeed m_feed;
  cReadEverythingJob m_job{[this](double share, double atStart) { m_feed.Report(share, atStart); }};

  cStorageRows m_storageRows{m_storages};
  cModuleRows m_moduleRows{m_modules};
  cIconList m_icons = StorageIcons();

  cToolBarChild m_tools{cToolBarChild::Shows::IconsAndTexts};
  cLabelChild m_storagesLabel;
  cListViewChild m_storageList;
  cLabelChild m_modulesLabel;
  cListViewChild m_moduleList;
  cLabelChild m_languageLabel;
  cDropDownListChild m_language;
  std::vector<u32> m_languageIds;  // of each of its rows
  cSplitterChild m_splitter{cSplitterChild::Along::Horizontally};
  cTabChild m_tabs;
  cPartitionPage m_partitionPage;
  cSectorPage m_sectorPage{{kGoToSector, kPreviousSector, kNextSector}};
  cMapPage m_mapPage;
  cLogPage m_logPage;
  std::vector<cPage*> m_pages{&m_partitionPage, &m_sectorPage, &m_mapPage, &m_logPage};
  cProgressView m_progress;
  cStatusBarChild m_status;
};

}  // namespace larkspur::host
