// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The dialog in which a user names a file: places on the left, the entries of a folder on the
// right, a name and a filter below.

#include <windows.h>

#include <string>
#include <vector>

#include "dialogs/file_choose_lists.h"
#include "dialogs/file_choose_texts.h"
#include "dialogs/file_choose_work.h"
#include "dialogs/model/chosen_path.h"
#include "ui/button_bar.h"
#include "ui/button_child.h"
#include "ui/custom_form.h"
#include "ui/drop_down_list_child.h"
#include "ui/edit_child.h"
#include "ui/label_child.h"
#include "ui/splitter_child.h"

namespace larkspur {

struct FileFilter {
  std::u16string description;
  std::u16string pattern;    // "*.kvrsp", or several with ";" between them
  std::u16string extension;  // what a name without one gets; may be empty
};

struct FileChoice {
  std::u16string title;
  std::vector<FileFilter> filters;
  i32 filterIndex = 0;  // below 0: all files
  FileUse use = FileUse::kOpen;
  // Where to begin, then what was chosen. Without a folder it begins in the one that the last file
  // was chosen in, and at home before the first.
  std::u16string path;
};

// Shows the dialog over `parent`. False when the user cancelled it; `choice` is then as it was.
bool ChooseFile(HWND parent, FileChoice& choice);
// Forgets the last folder, for a module that leaves its host.
void ForgetChosenFolder();

class cFileChooseDialog final : public cCustomForm {
 public:
  static constexpr u32 kBackId = 104, kUpId = 105, kHomeId = 106, kNewFolderId = 107,
                       kPlacesId = 110, kFolderId = 111, kNameId = 102, kFilterId = 112;

  explicit cFileChooseDialog(const FileChoice& choice);
  ~cFileChooseDialog() override;

  const FileChoice& Choice() const { return m_choice; }

 private:
  void OnCreate() override;
  void OnLayout(Size client) override;
  void OnCommand(u32 id) override;
  MessageAnswer OnMessage(const WindowMessage& message) override;
  MessageAnswer OnLetters(const WindowMessage& message);

  void CreateTop();
  void CreateLists();
  void CreateBottom();
  void AddActions();
  void FillFilters();
  void Begin();

  void GoTo(const std::u16string& folder,
            const std::optional<platform::NetworkConnection>& offline = std::nullopt);
  void GoToPlace(u32 row);
  void ActivateEntry(u32 row);
  void ShowName(u32 row);
  void OnFilterChanged();
  void UseCustomFilter(const std::u16string& patterns);
  void AskForNewFolder();
  bool AskAbout(FileChooseText text, const std::u16string& path);
  void Complain(std::u16string_view text, const std::u16string& path);
  void Accept(const std::u16string& path);

  void Take(const PlaceFound& letter);
  void Take(const FolderRead& letter);
  void Take(const NameDecided& letter);
  void Take(const FolderMade& letter);

  const FileFilter& Filter() const;

  FileChoice m_choice;
  std::vector<FileFilter> m_filters;  // the caller's, all files, and one of the user's own
  size_t m_ownFilter = 0;             // where that one is
  cNavigationProvider m_navigation;
  ChooserMail m_mail = std::make_shared<cMailbox<ChooserLetter>>();
  u32 m_turn = 0;
  bool m_fitsPlaces = true;

  cIconButtonChild m_back, m_up, m_home, m_newFolder;
  cLabelChild m_folderLabel;
  cFileChooseListPlaces m_places;
  cSplitterChild m_splitter{cSplitterChild::Along::Horizontally};
  cFileChooseListFolder m_folder;
  cLabelChild m_nameLabel;
  cEditChild m_name;
  cLabelChild m_filterLabel;
  cDropDownListChild m_filter;
  cButtonBar m_buttons;
};

}  // namespace larkspur
