// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/main_form.h"

#include <algorithm>

#include "base/exit_status.h"
#include "base/path_text.h"
#include "catalog/message_catalog.h"
#include "host/texts.h"
#include "platform/windows/win32.h"
#include "ui/handles.h"
#include "ui/texts.h"

namespace larkspur::host {
namespace {

// Units.
constexpr Size kFormSize = {960, 720}, kLeastSize = {640, 420};
constexpr i32 kToolHeight = 32, kMargin = 6, kLabel = 18, kModulesHeight = 80, kListsWidth = 340;
constexpr i32 kChoiceHeight = 22, kLanguageLabelWidth = 150;
constexpr i32 kLeastLists = 240, kLeastPages = 320, kPagesWidth = 545;
constexpr i32 kStatusHeight = 24;
constexpr i32 kBelow = cProgressView::kHeight + kStatusHeight;

// The window's size where the screen has room for it, and else what the screen has.
Size FittingSize() {
  constexpr i32 kFrame = 40;  // units around the client area, at most
  const i32 dpi = GetDeviceCaps(cScreenDc(), LOGPIXELSX);
  RECT room{};
  SystemParametersInfoW(SPI_GETWORKAREA, 0, &room, 0);
  const auto units = [dpi](LONG pixels) { return MulDiv(pixels, kUnitDpi, dpi) - kFrame; };
  return {std::min<i32>(kFormSize.width, units(room.right - room.left)),
          std::min<i32>(kFormSize.height, units(room.bottom - room.top))};
}

}  // namespace

int ShowMainForm(const CommandLine& line) {
  return std::make_unique<cMainForm>(line)->Present();
}

cMainForm::cMainForm(const CommandLine& line)
    : m_line(line), m_modules(LoadModulesBesideProgram()) {
  m_settings.SetLanguage(line.language);
  Messages().SelectLanguage(&m_settings);
}

cMainForm::~cMainForm() {
  m_job.Stop(cJob::kPatienceMilliseconds);
  m_job.Release();
}

int cMainForm::Present() {
  FormLook look;
  look.title = texts::kTitle;
  look.size = FittingSize();
  look.least = kLeastSize;
  look.inTaskBar = true;
  if (!Open(nullptr, look)) return kExitFailed;
  PostMessageW(Handle(), kOpenNamed, 0, 0);
  RunUntilClosed();
  return kExitDone;
}

void cMainForm::OnCreate() {
  AddActions();
  CreateLists();
  CreatePages();
  m_progress.Create(*this, -kBelow, kMargin, kStopId);
  m_progress.onDetail = [this] { return m_job.Progress(); };
  m_progress.onEnd = [this](bool) { EndReading(); };
  m_status.Create(*this, {});
  CreateTools();  // Tab begins with the lists
  TakeLanguage();
  ShowPage(0);
  SetDefaultCommand(kGoToSector);
  ShowChosen();
}

void cMainForm::CreateTools() {
  m_tools.Create(*this, {0, 0, -1, kToolHeight},
                 {kOpenFile, kOpenDrive, kMakeStorage, cToolBarChild::kGap, kReadEverything,
                  cToolBarChild::kGap, kCloseStorage});
  Actions().onChange = [this](const Action& action) {
    m_tools.ShowState(action);
    ShowButtonState(action);
  };
}

// A page's button of that command. The keyboard leaves it first: a disabled window would keep it.
void cMainForm::ShowButtonState(const Action& action) {
  const HWND button = GetDlgItem(Handle(), static_cast<int>(action.id));
  if (!button) return;
  if (!action.enabled && GetFocus() == button) Send(WM_NEXTDLGCTL, 0, FALSE);
  EnableWindow(button, action.enabled);
}

// Every language of the catalog, by its own name.
void cMainForm::FillLanguages() {
  for (const CatalogLanguage& language : CatalogLanguages()) {
    const int row = m_language.Add(language.name);
    if (row == cDropDownListChild::kNoRow) continue;
    m_languageIds.push_back(language.id);
    if (language.id == m_settings.Language()) m_language.SetValue(row);
  }
}

void cMainForm::CreateLists() {
  m_storagesLabel.Create(*this, kPlacedByForm, texts::kStorages);
  m_storageList.Create(*this, kPlacedByForm, kStoragesId);
  m_storageList.SetColumns({{texts::kName, false, true}, {texts::kKind}, {texts::kSize, true}});
  m_storageList.SetIcons(&m_icons);
  m_storageList.SetModel(&m_storageRows);
  m_storageList.KeepChoice();
  m_storageList.onChange = [this] { ShowChosen(); };
  m_storageList.onContextMenu = [this](u32, POINT where) {
    ShowMenu({kReadEverything, kStopReading, kReadDirectly, kSaveMap, kCopyText, kCloseStorage},
             where);
  };
  m_modulesLabel.Create(*this, kPlacedByForm, texts::kModules);
  m_moduleList.Create(*this, kPlacedByForm, kModulesId);
  m_moduleList.SetColumns({{texts::kName, false, true}, {texts::kFile}, {texts::kIdentity}});
  m_moduleList.SetModel(&m_moduleRows);
  m_moduleList.onContextMenu = [this](u32, POINT where) {
    ShowMenu({kMakeStorage, kAbout}, where);
  };
  m_languageLabel.Create(*this, kPlacedByForm, texts::kLanguage);
  m_language.Create(*this, kPlacedByForm, kLanguageId);
  m_language.onChange = [this] { TakeLanguage(); };
  FillLanguages();
}

void cMainForm::CreatePages() {
  m_splitter.Create(*this, texts::kSplitter);
  // On a small screen the views have more use of the room.
  const i32 rest = ClientSize().width - Theme().Pixels(kPagesWidth);
  m_splitter.SetValue(std::clamp(rest, Theme().Pixels(kLeastLists), Theme().Pixels(kListsWidth)));
  m_tabs.Create(*this, kPagesId, texts::kPages,
                {texts::kPartitions, texts::kSectors, texts::kMap, texts::kLog});
  m_tabs.onChange = [this] { ShowPage(m_tabs.Value()); };
  for (cPage* page : m_pages) page->Create(*this);
  m_partitionPage.onContextMenu = [this](POINT where) {
    ShowMenu({kShowSector, kCopyText}, where);
  };
  m_partitionPage.onActivate = [this] { ShowRowsSector(); };
  m_sectorPage.onContextMenu = [this](POINT where) {
    ShowMenu({kPreviousSector, kNextSector, kCopyText}, where);
  };
  m_mapPage.onContextMenu = [this](POINT where) { ShowMenu({kSaveMap, kCopyText}, where); };
  m_logPage.onContextMenu = [this](POINT where) { ShowMenu({kCopyText}, where); };
  m_mapPage.onGoTo = [this](u64 sector) { ShowSector(sector); };
  m_partitionPage.onChange = [this] { ShowState(); };
  m_sectorPage.onMove = [this] { ShowState(); };
}

void cMainForm::OnLayout(Size client) {
  const i32 margin = Theme().Pixels(kMargin), bar = Theme().Pixels(cSplitterChild::kThickness);
  const i32 top = Theme().Pixels(kToolHeight);
  m_status.Layout();
  const i32 bottom = std::max(top, client.height - Theme().Pixels(kBelow) - margin);
  m_splitter.SetRange(
      {client.width, bar, Theme().Pixels(kLeastLists), Theme().Pixels(kLeastPages)});
  const i32 lists = m_splitter.Value();
  LayoutLists(top, lists, bottom);
  m_splitter.MoveTo({lists, top, bar, bottom - top});
  const i32 x = lists + bar, width = std::max(0, client.width - x - margin);
  const i32 tabs = Theme().Pixels(cTabChild::kHeight);
  m_tabs.MoveTo({x, top, width, tabs});
  const Box page{x, top + tabs + margin, width, std::max(0, bottom - top - tabs - margin)};
  for (cPage* each : m_pages) each->Layout(page);
}

void cMainForm::LayoutLists(i32 top, i32 width, i32 bottom) {
  const i32 margin = Theme().Pixels(kMargin), label = Theme().Pixels(kLabel);
  const i32 choice = Theme().Pixels(kChoiceHeight), name = Theme().Pixels(kLanguageLabelWidth);
  const i32 inner = std::max(0, width - margin);
  const i32 modules = bottom - choice - margin - Theme().Pixels(kModulesHeight);
  m_storagesLabel.MoveTo({margin, top, inner, label});
  m_storageList.MoveTo(
      {margin, top + label, inner, std::max(0, modules - label - margin - top - label)});
  m_modulesLabel.MoveTo({margin, modules - label, inner, label});
  m_moduleList.MoveTo({margin, modules, inner, Theme().Pixels(kModulesHeight)});
  m_languageLabel.MoveTo({margin, bottom - choice + margin / 2, name, label});
  m_language.MoveTo({margin + name, bottom - choice, std::max(0, inner - name), choice});
}

// Escape is no wish to end the program; its window's close button is.
void cMainForm::OnCommand(u32 id) {
  if (id != kCancel) cCustomForm::OnCommand(id);
}

void cMainForm::OnCancel() {
  m_progress.Leave();
  for (cPage* page : m_pages) page->ShowStorage(nullptr);
  Close(0);
}

MessageAnswer cMainForm::OnMessage(const WindowMessage& message) {
  static constexpr MessageRow<cMainForm> kMessages[] = {
      {cMapPage::kNews, &cMainForm::OnMapNews},
      {cSectorPage::kNews, &cMainForm::OnSectorNews},
      {cLogPage::kNews, &cMainForm::OnLogNews},
      {kOpenNamed, &cMainForm::OnOpenNamed},
  };
  if (const MessageAnswer answer = HandledBy(*this, kMessages, message)) return answer;
  return cCustomForm::OnMessage(message);
}

MessageAnswer cMainForm::OnMapNews(const WindowMessage&) {
  m_mapPage.OnNews();
  return 0;
}

MessageAnswer cMainForm::OnSectorNews(const WindowMessage&) {
  m_sectorPage.OnNews();
  return 0;
}

MessageAnswer cMainForm::OnLogNews(const WindowMessage&) {
  m_logPage.OnNews();
  return 0;
}

MessageAnswer cMainForm::OnOpenNamed(const WindowMessage&) {
  for (const std::string& name : m_line.names) OpenPath(WideFromUtf8(name));
  return 0;
}

// ---- What is chosen ----

Storage* cMainForm::Chosen() {
  const u32 row = m_storageList.Value();
  return row < m_storages.Count() ? &m_storages.At(row) : nullptr;
}

cModule* cMainForm::ChosenModule() {
  const u32 row = m_moduleList.Value();
  if (row < m_modules.size() && m_modules[row].module) return m_modules[row].module->get();
  for (const ModuleFile& file : m_modules) {
    if (file.module) return file.module->get();
  }
  return nullptr;
}

void cMainForm::ShowStorages(size_t chosen) {
  m_storageList.Reload();
  m_storageList.SetValue(static_cast<u32>(chosen));
  ShowChosen();
}

void cMainForm::ShowChosen() {
  const Storage* const chosen = Chosen();
  for (cPage* page : m_pages) page->ShowStorage(chosen);
  ShowState();
  const bool isCache = chosen && chosen->kind == StorageKind::kCache;
  Say(!chosen ? texts::kReady : isCache ? texts::kCacheAlone : u"");
  KeepKeyboard();
}

void cMainForm::ShowPage(u32 page) {
  m_tabs.SetValue(page);
  for (size_t i = 0; i < m_pages.size(); ++i) m_pages[i]->Show(i == page);
  KeepKeyboard();
}

// A control that is no longer seen, or is disabled, would keep the keyboard or leave it to the
// form.
void cMainForm::KeepKeyboard() {
  const HWND focus = GetFocus();
  const bool isLost = IsChild(Handle(), focus) ? !IsWindowVisible(focus) || !IsWindowEnabled(focus)
                                               : focus == Handle();
  if (focus && isLost) m_tabs.Focus();
}

void cMainForm::ShowState() {
  const Storage* const chosen = Chosen();
  const bool isReading = m_progress.IsWatching(), mayBeRead = chosen && chosen->mayBeRead;
  cActionList& actions = Actions();
  actions.SetEnabled(kCloseStorage, chosen);
  actions.SetEnabled(kCopyText, mayBeRead);
  actions.SetEnabled(kReadDirectly, chosen && !mayBeRead);
  actions.SetEnabled(kReadEverything, chosen && chosen->CanBeReadWhole() && !isReading);
  actions.SetEnabled(kStopReading, isReading);
  actions.SetEnabled(kSaveMap, m_mapPage.HasMap());
  actions.SetEnabled(kShowSector, mayBeRead && m_partitionPage.Chosen());
  actions.SetEnabled(kGoToSector, m_sectorPage.HasSectors());
  actions.SetEnabled(kPreviousSector, m_sectorPage.HasPrevious());
  actions.SetEnabled(kNextSector, m_sectorPage.HasNext());
  actions.SetEnabled(kMakeStorage, ChosenModule());
  actions.SetEnabled(kAbout, ChosenModule());
}

void cMainForm::Say(std::u16string_view text) {
  m_status.SetPart(0, text);
}

void cMainForm::TakeLanguage() {
  const int row = m_language.Value();
  if (row == cDropDownListChild::kNoRow) return;
  m_settings.SetLanguage(m_languageIds[static_cast<size_t>(row)]);
  Messages().SelectLanguage(&m_settings);
  for (const ModuleFile& file : m_modules) {
    if (file.module) (*file.module)->Configure(m_settings);
  }
  m_moduleList.Refresh();
  // The one text of the catalog in this window.
  SetDlgItemTextW(Handle(), kStopId, Wide(TextOf("ciom::progress", 0)));
}

}  // namespace larkspur::host
