// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A module: a dynamic library that says who it is and makes storages, all by exported functions.

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

#include "base/result.h"
#include "module/host_contract.h"

namespace larkspur::host {

class cModule;

// A module, or why a library cannot be one.
using LoadedModule = Result<std::unique_ptr<cModule>, std::u16string>;

class cModule {
 public:
  ~cModule();
  cModule(const cModule&) = delete;
  cModule& operator=(const cModule&) = delete;

  u64 Identity() const { return m_identity; }
  // In the language that it was configured with last; the name is the file's when it says none.
  std::u16string Name() const;
  std::u16string Description() const;

  // `settings` is kept by the module and outlives it.
  void Configure(HostSettings& settings);
  void ShowAbout(HWND parent);
  // Lets the user make a storage, which the module appends to `list`; null when it made none.
  cBaseIO* Make(HostStorageList& list, HWND parent);

 private:
  friend LoadedModule LoadModule(const std::u16string& path);
  struct Exports;

  cModule(HMODULE library, const Exports& exports, std::u16string fileName);

  HMODULE m_library;
  std::unique_ptr<Exports> m_exports;
  std::u16string m_fileName;
  u64 m_identity;
};

// A library beside the program, and what became of loading it.
struct ModuleFile {
  std::u16string fileName;
  LoadedModule module;
};

// Loads one library. What has not the exports of a module is not run at all.
LoadedModule LoadModule(const std::u16string& path);

// The libraries in the program's own folder, in the order of their names.
std::vector<ModuleFile> LoadModulesBesideProgram();

}  // namespace larkspur::host
