// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/module_library.h"

#include <algorithm>

#include "host/model/words.h"
#include "platform/folders.h"
#include "platform/system_error.h"
#include "platform/windows/win32.h"

namespace larkspur::host {

struct cModule::Exports {
  bool (*typeofmod)(void* sixBytes);
  u64 (*appuidof)();
  bool (*names)(HostString* name, HostString* description);
  bool (*about)(HostElement* parent);
  bool (*configure)(HostSettings* settings);
  u64 (*init)(u64 value);
  cBaseIO* (*makeinstance)(HostStorageList* list, HostElement* parent);
  void (*destroy)();
};

namespace {

constexpr std::string_view kStorageModule = "QMCIIO";
constexpr const char* kNeeded[] = {"typeofmod", "appuidof", "names", "configure", "makeinstance"};

class cText final : public HostString {
 public:
  void Assign(const char16_t* text) override { m_text = text ? text : u""; }
  std::u16string m_text;
};

class cElement final : public HostElement {
 public:
  explicit cElement(HWND window) : m_window(window) {}
  void* GetWindowHandle() override { return m_window; }

 private:
  HWND m_window;
};

struct FreeModule {
  void operator()(HMODULE library) const { FreeLibrary(library); }
};
using OwnedLibrary = std::unique_ptr<std::remove_pointer_t<HMODULE>, FreeModule>;

// The system's own message boxes about libraries would hold up a script, and a user for nothing.
OwnedLibrary Load(const std::u16string& path, DWORD flags) {
  DWORD before = 0;
  SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &before);
  const HMODULE library = LoadLibraryExW(Wide(path), nullptr, flags);
  const DWORD error = GetLastError();
  SetThreadErrorMode(before, nullptr);
  platform::SetLastFailure(library ? 0 : error);
  return OwnedLibrary(library);
}

template <typename Function>
void Find(const OwnedLibrary& library, const char* name, Function** function) {
  const FARPROC found = GetProcAddress(library.get(), name);
  *function = reinterpret_cast<Function*>(reinterpret_cast<void*>(found));
}

std::u16string LoadingFault() {
  return Words("cannot be loaded: {}", platform::FailureText(platform::LastFailure()));
}

// Whether it looks like a module. Maps the library without running anything of it.
Result<void, std::u16string> LookInto(const std::u16string& path) {
  const OwnedLibrary library = Load(path, DONT_RESOLVE_DLL_REFERENCES);
  if (!library) return Failed(LoadingFault());
  for (const char* name : kNeeded) {
    if (!GetProcAddress(library.get(), name)) {
      return Failed(Words("is not a module: it does not export {}", name));
    }
  }
  return {};
}

// The type's letters, if it gives any.
std::string TypeOf(bool (*typeofmod)(void*)) {
  char letters[8] = {};  // two more than it may write, so that a careless one does no harm
  if (!typeofmod(letters)) return "none";
  return std::string(letters, kStorageModule.size());
}

}  // namespace

cModule::cModule(HMODULE library, const Exports& exports, std::u16string fileName)
    : m_library(library),
      m_exports(std::make_unique<Exports>(exports)),
      m_fileName(std::move(fileName)),
      m_identity(exports.appuidof()) {
  if (m_exports->init) m_exports->init(0);
}

cModule::~cModule() {
  if (m_exports->destroy) m_exports->destroy();
  FreeLibrary(m_library);
}

std::u16string cModule::Name() const {
  cText name, description;
  const bool named = m_exports->names(&name, &description);
  return named && !name.m_text.empty() ? name.m_text : m_fileName;
}

std::u16string cModule::Description() const {
  cText name, description;
  return m_exports->names(&name, &description) ? description.m_text : std::u16string();
}

void cModule::Configure(HostSettings& settings) {
  m_exports->configure(&settings);
}

void cModule::ShowAbout(HWND parent) {
  cElement element(parent);
  if (m_exports->about) m_exports->about(&element);
}

cBaseIO* cModule::Make(HostStorageList& list, HWND parent) {
  cElement element(parent);
  return m_exports->makeinstance(&list, &element);
}

LoadedModule LoadModule(const std::u16string& path) {
  if (const auto looked = LookInto(path); !looked) return Failed(looked.error());
  OwnedLibrary library = Load(path, 0);
  if (!library) return Failed(LoadingFault());
  cModule::Exports exports{};
  Find(library, "typeofmod", &exports.typeofmod);
  Find(library, "appuidof", &exports.appuidof);
  Find(library, "names", &exports.names);
  Find(library, "about", &exports.about);
  Find(library, "configure", &exports.configure);
  Find(library, "init", &exports.init);
  Find(library, "makeinstance", &exports.makeinstance);
  Find(library, "destroy", &exports.destroy);
  if (const std::string type = TypeOf(exports.typeofmod); type != kStorageModule) {
    return Failed(Words("is a module of another kind: {}", type));
  }
  const std::u16string fileName = path.substr(path.find_last_of(u"\\/") + 1);
  return std::unique_ptr<cModule>(new cModule(library.release(), exports, fileName));
}

std::vector<ModuleFile> LoadModulesBesideProgram() {
  std::u16string program(32768, u'\0');
  program.resize(GetModuleFileNameW(nullptr, WideBuffer(program), 32768));
  const std::u16string folder = program.substr(0, program.find_last_of(u"\\/"));
  std::vector<std::u16string> names;
  platform::SystemFolders().Visit(folder, [&names](const platform::FolderEntry& entry) {
    const size_t dot = entry.name.find_last_of(u'.');
    const bool isLibrary =
        dot != std::u16string::npos && lstrcmpiW(Wide(entry.name.substr(dot)), L".dll") == 0;
    if (isLibrary && !entry.isFolder) names.push_back(entry.name);
    return true;
  });
  std::sort(names.begin(), names.end());
  std::vector<ModuleFile> files;
  for (const std::u16string& name : names) {
    files.push_back({name, LoadModule(folder + u"\\" + name)});
  }
  return files;
}

}  // namespace larkspur::host
