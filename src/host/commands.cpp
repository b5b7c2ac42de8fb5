// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/commands.h"

#include <windows.h>

#include <cstring>

#include "base/path_text.h"
#include "base/size_text.h"
#include "host/dialog_driver.h"
#include "host/dialog_watch.h"
#include "host/model/read_everything.h"
#include "host/model/settings.h"
#include "host/model/storages.h"
#include "host/model/words.h"
#include "host/module_library.h"
#include "platform/clock.h"
#include "platform/terminal.h"
#include "platform/windows/win32.h"

namespace larkspur::host {
namespace {

constexpr u32 kNapMilliseconds = 20;
constexpr double kLineSeconds = 10;  // from one line of progress to the next

// Of a cache alone.
constexpr char kHowToResume[] =
    "there is no source to read what is missing from: make a storage of the source with this cache "
    "(--make SOURCE CACHE --read)";

// The modules of a command, in the language that was asked for, and the storages that it opens.
// The storages end first.
struct Session {
  explicit Session(const CommandLine& line) {
    settings.SetLanguage(line.language);
    files = LoadModulesBesideProgram();
    for (ModuleFile& file : files) {
      if (file.module) (*file.module)->Configure(settings);
    }
  }

  cModule* FirstModule() const {
    for (const ModuleFile& file : files) {
      if (file.module) return file.module->get();
    }
    return nullptr;
  }

  cSettings settings;
  std::vector<ModuleFile> files;
  cStorages storages;
};

// An invisible owner for dialogs.
class cHiddenWindow {
 public:
  cHiddenWindow()
      : m_window(CreateWindowExW(0, L"Static", L"larkspur-host", WS_POPUP, 0, 0, 0, 0, nullptr,
                                 nullptr, nullptr, nullptr)) {}
  cHiddenWindow(const cHiddenWindow&) = delete;
  cHiddenWindow& operator=(const cHiddenWindow&) = delete;
  ~cHiddenWindow() { DestroyWindow(m_window); }
  HWND Handle() const { return m_window; }

 private:
  HWND m_window;
};

ExitStatus Fail(const std::string& message) {
  Tell(message);
  return kExitFailed;
}

// A message of several lines as one: sentences follow each other, and a path has a colon.
std::string OneLine(const std::u16string& text) {
  std::string line = Utf8(text);
  for (size_t at; (at = line.find('\n')) != std::string::npos;) {
    const bool isEnded = at > 0 && std::strchr(".?:", line[at - 1]);
    line.replace(at, 1, isEnded ? " " : ": ");
  }
  return line;
}

// Opens what the command names; kExitFailed when that did not go well, and the user was told.
ExitStatus OpenOrTell(const CommandLine& line, cStorages* storages) {
  const std::string& name = line.names[0];
  auto opened = OpenStorage(WideFromUtf8(name), WideFromUtf8(line.testMapfile));
  if (!opened) return Fail(OneLine(opened.error()));
  if (!opened->notice.empty()) Tell(name + ": " + Utf8(opened->notice));
  if (!storages->Add(std::move(*opened))) return Fail(name + ": there is not enough memory");
  return kExitDone;
}

ExitStatus ReadAll(const Storage& storage) {
  const std::atomic<bool>& interrupted = platform::InterruptFlag();
  cReadEverythingJob job({});
  if (!job.Prepare(storage)) return Fail(OneLine(NoCloneWords(storage)));
  if (!job.Start()) return Fail("no thread can be started");
  double told = platform::MonotonicSeconds();
  while (job.IsRunning()) {
    if (interrupted) job.RequestStop();
    if (platform::MonotonicSeconds() - told >= kLineSeconds) {
      told += kLineSeconds;
      Tell(OneLine(job.Progress()));
    }
    platform::SleepMilliseconds(kNapMilliseconds);
  }
  const ReadingReport& ended = job.Ended();
  Tell(OneLine(EndWords(ended)));
  if (ended.missing > 0 && storage.kind == StorageKind::kCache) Tell(kHowToResume);
  if (ended.end == ReadingEnd::kStopped) return kExitInterrupted;
  if (ended.end != ReadingEnd::kDone) return kExitFailed;
  return ended.unreadable + ended.missing > 0 ? kExitSomeUnreadable : kExitDone;
}

ExitStatus DoAsAsked(const CommandLine& line, const Storage& storage) {
  if (line.dumpTree) Print(TreeText(storage.tree));
  return line.readAll ? ReadAll(storage) : kExitDone;
}

}  // namespace

ExitStatus RunList(const CommandLine& line) {
  const Session session(line);
  for (const ModuleFile& file : session.files) {
    if (!file.module) {
      Tell(Utf8(file.fileName) + " " + Utf8(file.module.error()));
      continue;
    }
    const cModule& module = **file.module;
    Print(fmt::format("{}  {:016x}  {} ({})\n", Utf8(file.fileName), module.Identity(),
                      Utf8(module.Name()), Utf8(module.Description())));
  }
  return session.FirstModule() ? kExitDone : Fail("there is no module beside the program");
}

ExitStatus RunOpen(const CommandLine& line) {
  cStorages storages;
  if (OpenOrTell(line, &storages) != kExitDone) return kExitFailed;
  storages.LetRead(0);  // a drive as well: that is what the user asks for
  return DoAsAsked(line, storages.At(0));
}

ExitStatus RunMake(const CommandLine& line) {
  Session session(line);
  cModule* const module = session.FirstModule();
  if (!module) return Fail("there is no module beside the program");
  cStorages& storages = session.storages;
  if (OpenOrTell(line, &storages) != kExitDone) return kExitFailed;
  const cHiddenWindow owner;
  const cDialogWatch watch(storages);
  const cDialogDriver driver(1, WideFromUtf8(line.names[1]));
  if (!module->Make(storages, owner.Handle())) {
    return Fail(
        line.names[1] + ": " +
        (driver.Complaint().empty() ? "the module made no storage" : Utf8(driver.Complaint())));
  }
  const auto [index, isNew] = storages.TakeMade(watch.Seen());
  if (!isNew) return Fail("the module made what is open already");
  const Storage& made = storages.At(index);
  Print(fmt::format("{}: {}\n", Utf8(made.title), CountText(made.sectors, "sector")));
  return DoAsAsked(line, made);
}

namespace {

bool IsUsable(HANDLE handle) {
  return handle && handle != INVALID_HANDLE_VALUE;
}

// A program with windows is given no console, but may join that of its parent.
HANDLE Stream(DWORD number) {
  if (const HANDLE inherited = GetStdHandle(number); IsUsable(inherited)) return inherited;
  static const bool joined = AttachConsole(ATTACH_PARENT_PROCESS) != FALSE;
  return joined ? GetStdHandle(number) : nullptr;
}

void Write(HANDLE stream, const std::string& text) {
  DWORD mode = 0, written = 0;
  if (!IsUsable(stream)) return;
  if (GetConsoleMode(stream, &mode)) {
    const std::u16string wide = WideFromUtf8(text);
    WriteConsoleW(stream, wide.c_str(), static_cast<DWORD>(wide.size()), &written, nullptr);
  } else {
    WriteFile(stream, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
  }
}

}  // namespace

void Print(const std::string& text) {
  Write(Stream(STD_OUTPUT_HANDLE), text);
}

void Tell(const std::string& message) {
  Write(Stream(STD_ERROR_HANDLE), "larkspur-host: " + message + "\n");
}

}  // namespace larkspur::host
