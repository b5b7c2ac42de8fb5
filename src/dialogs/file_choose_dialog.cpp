// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/file_choose_dialog.h"

#include <algorithm>

#include "base/text.h"
#include "catalog/message_catalog.h"
#include "dialogs/message_form.h"
#include "dialogs/new_folder_name_req_form.h"
#include "ui/model/text_template.h"

namespace larkspur {
namespace {

constexpr UINT kLetters = WM_APP + 1;

// Where the last file was chosen in this run; null before the first.
std::u16string* g_lastFolder = nullptr;

void RememberFolder(const std::u16string& folder) {
  if (!g_lastFolder) g_lastFolder = new std::u16string;
  *g_lastFolder = folder;
}

constexpr Size kFormSize = {760, 470}, kLeastSize = {480, 300};
constexpr AnchoredBox kBackPlace = {5, 5, 26, 24}, kUpPlace = {34, 5, 26, 24},
                      kHomePlace = {63, 5, 26, 24}, kNewFolderPlace = {92, 5, 26, 24},
                      kFolderLabelPlace = {128, 5, -133, 24};
constexpr i32 kListsTop = 35, kListsBottom = 108, kMargin = 5;
constexpr i32 kLeastPlaces = 80, kUsualPlaces = 190, kLeastFolder = 260;
constexpr i32 kNameY = -100, kFilterY = -72, kButtonsY = -40, kFieldHeight = 22;
constexpr i32 kGap = 8;

// A label's text from one that was meant for a list: "filter" becomes "Filter:", or ends in
// whatever else the language has labels end in, as `label` does.
std::u16string AsLabel(std::u16string text, const std::u16string& label) {
  if (text.empty()) return text;
  text[0] = UpperCase(text[0]);
  const size_t end = label.find_last_not_of(u"\u00a0 :\uff1a");
  return end == label.npos ? text : text + label.substr(end + 1);
}

FileChooseText AcceptText(FileUse use) {
  switch (use) {
    case FileUse::kOpen:
      return FileChooseText::kOpen;
    case FileUse::kReplace:
      return FileChooseText::kSave;
    case FileUse::kContinue:
      break;
  }
  return FileChooseText::kAccept;
}

// Why a folder cannot be shown, in the dialog's language.
std::u16string FolderFault(u32 systemError) {
  static constexpr struct {
    u32 code;
    FileNote note;
  } kKnown[] = {
      {ERROR_FILE_NOT_FOUND, FileNote::kNoFolder},  {ERROR_PATH_NOT_FOUND, FileNote::kNoFolder},
      {ERROR_BAD_NETPATH, FileNote::kNoFolder},     {ERROR_BAD_NET_NAME, FileNote::kNoFolder},
      {ERROR_ACCESS_DENIED, FileNote::kNotAllowed}, {ERROR_NOT_READY, FileNote::kNotReady}};
  for (const auto& known : kKnown) {
    if (known.code == systemError) return TextOf(known.note);
  }
  const TemplateArgument number = i64{systemError};
  return FilledIn(TextOf(FileNote::kUnreadable), {&number, 1});
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
  RememberFolder(ParentFolder(choice.path));
  return true;
}

void ForgetChosenFolder() {
  delete g_lastFolder;
  g_lastFolder = nullptr;
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
  const std::u16string nameLabel = TextOf(FileChooseText::kFileName);
  m_nameLabel.Create(*this, kPlacedByForm, nameLabel);
  m_name.Create(*this, kPlacedByForm, kNameId);
  m_filterLabel.Create(*this, kPlacedByForm, AsLabel(TextOf(FileChooseText::kFilter), nameLabel));
  m_filter.Create(*this, {0, 0, 0, kFieldHeight}, kFilterId);
  m_filter.onChange = [this] { OnFilterChanged(); };
  FillFilters();
  const FileChooseText accept = AcceptText(m_choice.use);
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
  m_name.SetValue(NamePart(m_choice.path));
  if (folder.empty() && g_lastFolder) folder = *g_lastFolder;
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
                 {m_name.Value(), m_navigation.Current(), Filter().extension, m_choice.use});
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

void cFileChooseDialog::Complain(std::u16string_view text, const std::u16string& path) {
  ShowError(Handle(), std::u16string(text) + u"\n" + path);
}

// The question of a file that would be lost is asked in full.
bool cFileChooseDialog::AskAbout(FileChooseText text, const std::u16string& path) {
  std::u16string question = TextOf(text) + u"\n" + path;
  if (text == FileChooseText::kFileExists) question += u"\n" + TextOf(FileNote::kReplaceIt);
  return AskToConfirm(Handle(), question, kMessageDefaultNo);
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
    const std::u16string home = HomeFolder(platform::EnvironmentText);
    const bool beginsElsewhere = m_navigation.Current().empty() && letter.folder != home;
    const bool isOnlyRemembered = ParentFolder(m_choice.path).empty();
    if (!beginsElsewhere || !isOnlyRemembered) {
      Complain(FolderFault(letter.systemError), letter.folder);
    }
    if (beginsElsewhere) GoTo(home);
    return;
  }
  // Going up leads to the folder that one came from.
  const bool goesUp = letter.folder == m_navigation.Parent();
  const std::u16string from = NamePart(m_navigation.Current());
  m_navigation.Arrive(letter.folder);
  m_folder.SetEntries(letter.entries);
  if (goesUp) m_folder.SelectName(from);
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
      if (AskAbout(FileChooseText::kFileExists, path)) Accept(path);
      return;
    case ChosenKind::kAskFolder:
      if (AskAbout(FileChooseText::kFolderExists, path)) GoTo(path);
      return;
    case ChosenKind::kMissing:
      Complain(TextOf(FileNote::kNotThere), path);
      return m_name.Focus();
    case ChosenKind::kSpecial:
      Complain(TextOf(FileChooseText::kSpecialExists), path);
      return m_name.Focus();
  }
}

void cFileChooseDialog::Take(const FolderMade& letter) {
  if (letter.turn != m_turn) return;
  switch (letter.made.outcome) {
    case NewFolderOutcome::kNothing:
      return;
    case NewFolderOutcome::kMade:
      return GoTo(letter.made.path);
    case NewFolderOutcome::kNameOfFile:
      return Complain(TextOf(FileChooseText::kFileExists), letter.made.path);
    case NewFolderOutcome::kNameOfFolder:
      if (AskAbout(FileChooseText::kFolderExists, letter.made.path)) GoTo(letter.made.path);
      return;
    case NewFolderOutcome::kNameOfOther:
      return Complain(TextOf(FileChooseText::kSpecialExists), letter.made.path);
    case NewFolderOutcome::kFailed:
      return Complain(TextOf(FileChooseText::kFolderNotMade), letter.made.path);
  }
}

}  // namespace larkspur
