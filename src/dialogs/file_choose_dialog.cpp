// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/file_choose_dialog.h"

#include <algorithm>

#include "base/path_text.h"
#include "base/text.h"
#include "catalog/message_catalog.h"
#include "dialogs/file_choose_texts.h"
#include "dialogs/message_form.h"
#include "dialogs/new_folder_name_req_form.h"
#include "platform/system_error.h"

namespace larkspur {
namespace {

constexpr UINT kLetters = WM_APP + 1;

constexpr Size kFormSize = {760, 470}, kLeastSize = {480, 300};
constexpr AnchoredBox kBackPlace = {5, 5, 26, 24}, kUpPlace = {34, 5, 26, 24},
                      kHomePlace = {63, 5, 26, 24}, kNewFolderPlace = {92, 5, 26, 24},
                      kFolderLabelPlace = {128, 5, -133, 24};
constexpr i32 kListsTop = 35, kListsBottom = 108, kMargin = 5;
constexpr i32 kLeastPlaces = 80, kUsualPlaces = 190, kLeastFolder = 260;
constexpr i32 kNameY = -100, kFilterY = -72, kButtonsY = -40, kFieldHeight = 22;
constexpr i32 kGap = 8;

// A label's text from one that was meant for a column or a list: "filter" becomes "Filter:".
std::u16string AsLabel(std::u16string text) {
  if (text.empty()) return text;
  text[0] = UpperCase(text[0]);
  if (!text.ends_with(u':')) text += u':';
  return text;
}

std::u16string FilterText(const FileFilter& filter) {
  return filter.description + u" (" + filter.pattern + u")";
}

std::u16string NamePart(const std::u16string& path) {
  return path.substr(path.rfind(u'\\') + 1);
}

}  // namespace

bool ChooseFile(HWND parent, FileChoice& choice) {
  cFileChooseDialog dialog(choice);
  FormLook look;
  look.title = choice.title;
  look.size = kFormSize;
  look.least = kLeastSize;
  if (dialog.ShowModal(parent, look) == 0) return false;
  choice = dialog.Choice();
  return true;
}

cFileChooseDialog::cFileChooseDialog(const FileChoice& choice)
    : m_choice(choice), m_filters(choice.filters) {
  m_filters.push_back({TextOf(FileChooseText::kAllFiles), u"*", u""});
  m_ownFilter = m_filters.size();
}

cFileChooseDialog::~cFileChooseDialog() {
  m_mail->Close();
}

// ---- Making the form ----

void cFileChooseDialog::OnCreate() {
  CreateTop();
  CreateLists();
  CreateBottom();
  AddActions();
  m_mail->Open(Handle(), kLetters);
  Layout();  // an edit without a width would scroll its text away
  Begin();
}

void cFileChooseDialog::CreateTop() {
  m_back.Create(*this, kBackPlace, kBackId, u"", kIconPrevious, kIconSize);
  m_up.Create(*this, kUpPlace, kUpId, u"", kIconUp, kIconSize);
  m_home.Create(*this, kHomePlace, kHomeId, TextOf(FileChooseText::kHome), kIconHome, kIconSize);
  m_newFolder.Create(*this, kNewFolderPlace, kNewFolderId, TextOf(FileChooseText::kNewFolder),
                     kIconNewFolder, kIconSize);
  m_folderLabel.Create(*this, kFolderLabelPlace, u"");
  for (cIconButtonChild* button : {&m_back, &m_up, &m_newFolder}) button->Enable(false);
}

void cFileChooseDialog::CreateLists() {
  m_places.Create(*this, kPlacedByForm, kPlacesId);
  m_places.SetUp();
  m_places.onChange = [this] { GoToPlace(m_places.Value()); };
  m_places.onActivate = [this](u32 row) { GoToPlace(row); };
  m_splitter.Create(*this, TextOf(FileChooseText::kPlaces));
  m_splitter.SetValue(Theme().Pixels(kUsualPlaces));
  m_splitter.onChange = [this] { m_fitsPlaces = false; };
  m_folder.Create(*this, kPlacedByForm, kFolderId);
  m_folder.SetUp();
  m_folder.onChange = [this] { ShowName(m_folder.Value()); };
  m_folder.onActivate = [this](u32 row) { ActivateEntry(row); };
}

void cFileChooseDialog::CreateBottom() {
  m_nameLabel.Create(*this, kPlacedByForm, AsLabel(TextOf(FileChooseText::kFileName)));
  m_name.Create(*this, kPlacedByForm, kNameId);
  m_filterLabel.Create(*this, kPlacedByForm, AsLabel(TextOf(FileChooseText::kFilter)));
  m_filter.Create(*this, {0, 0, 0, kFieldHeight}, kFilterId);
  m_filter.onChange = [this] { OnFilterChanged(); };
  FillFilters();
  const FileChooseText accept = m_choice.isNew ? FileChooseText::kSave : FileChooseText::kOpen;
  m_buttons.Create(*this, kButtonsY,
                   {{kAccept, TextOf(accept), kIconAccept},
                    {kCancel, TextOf(FileChooseText::kCancel), kIconCancel}});
}

// Keys that every chooser of files knows; the buttons give the same commands.
void cFileChooseDialog::AddActions() {
  const auto add = [this](u32 id, Shortcut shortcut) {
    Action action;
    action.id = id;
    action.shortcut = shortcut;
    action.run = [this, id] { OnCommand(id); };
    Actions().Add(std::move(action));
  };
  add(kBackId, {VK_LEFT, false, false, true});
  add(kUpId, {VK_UP, false, false, true});
  add(kHomeId, {VK_HOME, false, false, true});
  add(kNewFolderId, {'N', true, true, false});
}

void cFileChooseDialog::FillFilters() {
  for (const FileFilter& filter : m_filters) m_filter.Add(FilterText(filter));
  const bool known = m_choice.filterIndex >= 0 &&
                     static_cast<size_t>(m_choice.filterIndex) < m_choice.filters.size();
  m_filter.SetValue(known ? m_choice.filterIndex : static_cast<int>(m_choice.filters.size()));
  OnFilterChanged();
}

void cFileChooseDialog::Begin() {
  FindPlaces(m_mail);
  std::u16string folder = ParentFolder(m_choice.path);
  if (!folder.empty()) m_name.SetValue(NamePart(m_choice.path));
  if (folder.empty()) folder = HomeFolder(platform::EnvironmentText);
  if (!folder.empty()) GoTo(folder);
  m_name.Focus();
}

void cFileChooseDialog::OnLayout(Size client) {
  const auto pixels = [this](i32 units) { return Theme().Pixels(units); };
  const i32 margin = pixels(kMargin), top = pixels(kListsTop);
  const i32 height = std::max(client.height - top - pixels(kListsBottom), 0);
  const i32 bar = pixels(cSplitterChild::kThickness), width = client.width - 2 * margin;
  m_splitter.SetRange({width, bar, pixels(kLeastPlaces), pixels(kLeastFolder)});
  const i32 left = m_splitter.Value();
  m_places.MoveTo({margin, top, left, height});
  m_splitter.MoveTo({margin + left, top, bar, height});
  m_folder.MoveTo({margin + left + bar, top, std::max(width - left - bar, 0), height});

  const i32 label = std::max(TextSize(Theme().Font(), m_nameLabel.Text()).width,
                             TextSize(Theme().Font(), m_filterLabel.Text()).width) +
                    pixels(kGap);
  const auto placeRow = [&](cChild& name, cChild& field, i32 y) {
    const i32 from = client.height + pixels(y), rowHeight = pixels(kFieldHeight);
    name.MoveTo({margin, from, label, rowHeight});
    field.MoveTo({margin + label, from, std::max(width - label, 0), rowHeight});
  };
  placeRow(m_nameLabel, m_name, kNameY);
  placeRow(m_filterLabel, m_filter, kFilterY);
  m_buttons.Layout(client);
}

// ---- What the user does ----

void cFileChooseDialog::OnCommand(u32 id) {
  switch (id) {
    case kAccept:
      DecideName(m_mail, ++m_turn,
                 {m_name.Value(), m_navigation.Current(), Filter().extension, m_choice.isNew});
      return;
    case kBackId:
      return GoTo(m_navigation.Previous());
    case kUpId:
      return GoTo(m_navigation.Parent());
    case kHomeId:
      return GoTo(HomeFolder(platform::EnvironmentText));
    case kNewFolderId:
      return AskForNewFolder();
    default:
      cCustomForm::OnCommand(id);
  }
}

void cFileChooseDialog::GoTo(const std::u16string& folder,
                             const std::optional<platform::NetworkConnection>& offline) {
  if (!folder.empty()) ReadFolder(m_mail, ++m_turn, folder, offline);
}

void cFileChooseDialog::GoToPlace(u32 row) {
  if (row == cListViewChild::kNoRow) return;
  const FilePlace& place = m_places.At(row);
  if (place.isOffline) {
    GoTo(place.path, place.connection);
  } else {
    GoTo(place.path);
  }
}

void cFileChooseDialog::ActivateEntry(u32 row) {
  const platform::FolderEntry& entry = m_folder.Entry(row);
  if (entry.isFolder) return GoTo(JoinPath(m_navigation.Current(), entry.name));
  m_name.SetValue(entry.name);
  OnCommand(kAccept);
}

void cFileChooseDialog::ShowName(u32 row) {
  if (row == cListViewChild::kNoRow || m_folder.Entry(row).isFolder) return;
  m_name.SetValue(m_folder.Entry(row).name);
}

const FileFilter& cFileChooseDialog::Filter() const {
  const int row = m_filter.Value();
  return m_filters[std::min(static_cast<size_t>(std::max(row, 0)), m_filters.size() - 1)];
}

void cFileChooseDialog::OnFilterChanged() {
  m_folder.SetPatterns(Filter().pattern);
}

void cFileChooseDialog::UseCustomFilter(const std::u16string& patterns) {
  m_filters.resize(m_ownFilter);
  m_filters.push_back({TextOf(FileChooseText::kCustom), patterns, u""});
  m_filter.Clear();
  for (const FileFilter& filter : m_filters) m_filter.Add(FilterText(filter));
  m_filter.SetValue(static_cast<int>(m_ownFilter));
  OnFilterChanged();
  m_name.SetValue(u"");
}

void cFileChooseDialog::AskForNewFolder() {
  const MessageTexts* const texts = Messages().Find(kFileChooseKey);
  if (!texts || m_navigation.Current().empty()) return;
  const std::optional<std::u16string> name = cNewFolderNameReqForm::Ask(Handle(), *texts);
  if (name) MakeFolder(m_mail, ++m_turn, *name, m_navigation.Current());
}

void cFileChooseDialog::Accept(const std::u16string& path) {
  m_choice.path = path;
  m_choice.filterIndex = m_filter.Value();
  Close(1);
}

// ---- What the drives and servers answer ----

MessageAnswer cFileChooseDialog::OnMessage(const WindowMessage& message) {
  static constexpr MessageRow<cFileChooseDialog> kMessages[] = {
      {kLetters, &cFileChooseDialog::OnLetters}};
  if (const MessageAnswer answer = HandledBy(*this, kMessages, message)) return answer;
  return cCustomForm::OnMessage(message);
}

MessageAnswer cFileChooseDialog::OnLetters(const WindowMessage&) {
  for (const ChooserLetter& letter : m_mail->Take()) {
    std::visit([this](const auto& kind) { Take(kind); }, letter);
  }
  return 0;
}

void cFileChooseDialog::Take(const PlaceFound& letter) {
  m_places.Add(letter.place);
  // Names of drives are seen whole, until the user says how wide the list is.
  const i32 wanted = m_places.WantedWidth();
  if (!m_fitsPlaces || wanted <= m_splitter.Value()) return;
  m_splitter.SetValue(wanted);
  Layout();
}

void cFileChooseDialog::Take(const FolderRead& letter) {
  if (letter.turn != m_turn) return;
  if (letter.systemError != 0 && letter.entries.empty()) {
    return ShowError(Handle(), WideFromUtf8(platform::FailureText(letter.systemError)));
  }
  m_navigation.Arrive(letter.folder);
  m_folder.SetEntries(letter.entries);
  m_folderLabel.SetText(letter.folder);
  m_up.SetHint(m_navigation.Parent());
  m_up.Enable(!m_navigation.Parent().empty());
  m_back.SetHint(m_navigation.Previous());
  m_back.Enable(!m_navigation.Previous().empty());
  m_newFolder.Enable(true);
}

void cFileChooseDialog::Take(const NameDecided& letter) {
  if (letter.turn != m_turn) return;
  const std::u16string& path = letter.chosen.path;
  switch (letter.chosen.kind) {
    case ChosenKind::kNothing:
      return m_name.Focus();
    case ChosenKind::kPattern:
      return UseCustomFilter(path);
    case ChosenKind::kFolder:
      m_name.SetValue(u"");
      return GoTo(path);
    case ChosenKind::kFile:
      return Accept(path);
    case ChosenKind::kAskOverwrite:
      if (AskToConfirm(Handle(), TextOf(FileChooseText::kFileExists))) Accept(path);
      return;
    case ChosenKind::kAskFolder:
      if (AskToConfirm(Handle(), TextOf(FileChooseText::kFolderExists))) GoTo(path);
      return;
    case ChosenKind::kMissing:
      ShowError(Handle(), WideFromUtf8(platform::FailureText(ERROR_PATH_NOT_FOUND)));
      return m_name.Focus();
    case ChosenKind::kSpecial:
      ShowError(Handle(), TextOf(FileChooseText::kSpecialExists));
      return m_name.Focus();
  }
}

void cFileChooseDialog::Take(const FolderMade& letter) {
  if (letter.turn != m_turn) return;
  switch (letter.made.answer) {
    case NewFolderAnswer::kNothing:
      return;
    case NewFolderAnswer::kMade:
      return GoTo(letter.made.path);
    case NewFolderAnswer::kNameOfFile:
      return ShowError(Handle(), TextOf(FileChooseText::kFileExists));
    case NewFolderAnswer::kNameOfFolder:
      if (AskToConfirm(Handle(), TextOf(FileChooseText::kFolderExists))) GoTo(letter.made.path);
      return;
    case NewFolderAnswer::kNameOfOther:
      return ShowError(Handle(), TextOf(FileChooseText::kSpecialExists));
    case NewFolderAnswer::kFailed:
      return ShowError(Handle(), TextOf(FileChooseText::kFolderNotMade));
  }
}

}  // namespace larkspur
