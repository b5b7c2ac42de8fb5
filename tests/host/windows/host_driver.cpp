// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/windows/host_driver.h"

#include <commctrl.h>

#include "platform/windows/win32.h"

namespace larkspur::host {
namespace {

constexpr DWORD kNapMilliseconds = 20;
constexpr UINT kAnswerMilliseconds = 5000;
constexpr u32 kCopyCommand = 1008;
constexpr u32 kCopyNaps = 25;

struct FormSearch {
  DWORD processId;
  HWND found;
};

bool IsFormOf(DWORD processId, HWND window) {
  DWORD owner = 0;
  GetWindowThreadProcessId(window, &owner);
  wchar_t name[16] = {};
  GetClassNameW(window, name, 16);
  return owner == processId && lstrcmpW(name, L"#32770") == 0 && IsWindowVisible(window);
}

BOOL CALLBACK FindForm(HWND window, LPARAM parameter) {
  auto& search = *reinterpret_cast<FormSearch*>(parameter);
  if (!IsFormOf(search.processId, window) || !IsWindowEnabled(window)) return TRUE;
  search.found = window;
  return FALSE;
}

// The first window of a program; a form of its that is open already has that one for its owner.
BOOL CALLBACK FindMain(HWND window, LPARAM parameter) {
  auto& search = *reinterpret_cast<FormSearch*>(parameter);
  if (!IsFormOf(search.processId, window) || GetWindow(window, GW_OWNER)) return TRUE;
  search.found = window;
  return FALSE;
}

std::u16string Quoted(const std::u16string& word) {
  return u" \"" + word + u"\"";
}

std::u16string ClipboardText() {
  std::u16string text;
  if (!OpenClipboard(nullptr)) return text;
  if (const HANDLE memory = GetClipboardData(CF_UNICODETEXT)) {
    if (const void* letters = GlobalLock(memory)) text = static_cast<const char16_t*>(letters);
    GlobalUnlock(memory);
  }
  CloseClipboard();
  return text;
}

INPUT KeyInput(WORD key, WORD letter, DWORD flags) {
  INPUT input{};
  input.type = INPUT_KEYBOARD;
  input.ki.wVk = key;
  input.ki.wScan = letter;
  input.ki.dwFlags = flags;
  return input;
}

HANDLE NewFile(const std::u16string& path) {
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  return CreateFileW(Wide(path), GENERIC_WRITE, FILE_SHARE_READ, &inherited, CREATE_ALWAYS, 0,
                     nullptr);
}

void Send(std::vector<INPUT> inputs) {
  SendInput(static_cast<UINT>(inputs.size()), inputs.data(), sizeof(INPUT));
}

}  // namespace

DWORD RunToFiles(std::u16string line, const std::u16string& out, const std::u16string& err) {
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = NewFile(out);
  startup.hStdError = NewFile(err);
  PROCESS_INFORMATION made{};
  DWORD status = ~DWORD{0};
  if (CreateProcessW(nullptr, WideBuffer(line), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                     &startup, &made)) {
    WaitForSingleObject(made.hProcess, cHostDriver::kPatienceMilliseconds);
    GetExitCodeProcess(made.hProcess, &status);
    CloseHandle(made.hThread);
    CloseHandle(made.hProcess);
  }
  CloseHandle(startup.hStdOutput);
  CloseHandle(startup.hStdError);
  return status;
}

std::u16string ProgramFolder() {
  std::u16string path(32768, u'\0');
  path.resize(GetModuleFileNameW(nullptr, WideBuffer(path), 32768));
  return path.substr(0, path.find_last_of(u"\\/") + 1);
}

cHostDriver::cHostDriver(const std::vector<std::u16string>& words, const std::u16string& program) {
  std::u16string line =
      Quoted(program.empty() ? ProgramFolder() + u"larkspur-host.exe" : program).substr(1);
  for (const std::u16string& word : words) line += Quoted(word);
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION made{};
  if (!CreateProcessW(nullptr, WideBuffer(line), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                      &startup, &made)) {
    return;
  }
  CloseHandle(made.hThread);
  m_process = made.hProcess;
  m_processId = made.dwProcessId;
  FormSearch search{m_processId, nullptr};
  Wait([&search] {
    EnumWindows(FindMain, reinterpret_cast<LPARAM>(&search));
    return search.found != nullptr;
  });
  m_window = search.found;
  WaitForInputIdle(m_process, kPatienceMilliseconds);
}

cHostDriver::~cHostDriver() {
  if (!m_process) return;
  if (WaitForSingleObject(m_process, 0) != WAIT_OBJECT_0) {
    TerminateProcess(m_process, 99);
    WaitForSingleObject(m_process, kPatienceMilliseconds);
  }
  CloseHandle(m_process);
}

bool cHostDriver::Wait(const std::function<bool()>& condition) {
  const ULONGLONG end = GetTickCount64() + kPatienceMilliseconds;
  while (!condition()) {
    if (GetTickCount64() > end) return false;
    Sleep(kNapMilliseconds);
  }
  return true;
}

HWND cHostDriver::Top() const {
  FormSearch search{m_processId, nullptr};
  EnumWindows(FindForm, reinterpret_cast<LPARAM>(&search));
  return search.found;
}

HWND cHostDriver::WaitForForm() {
  HWND form = nullptr;
  Wait([&] {
    form = Top();
    return form && form != m_window;
  });
  return form == m_window ? nullptr : form;
}

bool cHostDriver::WaitForNoForm() {
  return Wait([this] { return Top() == m_window; });
}

DWORD cHostDriver::Close() {
  PostMessageW(m_window, WM_CLOSE, 0, 0);
  if (WaitForSingleObject(m_process, kPatienceMilliseconds) != WAIT_OBJECT_0) return ~DWORD{0};
  DWORD status = ~DWORD{0};
  GetExitCodeProcess(m_process, &status);
  return status;
}

std::u16string cHostDriver::Text(u32 id) const {
  return TextOfControl(GetDlgItem(m_window, static_cast<int>(id)));
}

std::u16string cHostDriver::Status() const {
  return TextOfControl(FindWindowExW(m_window, nullptr, STATUSCLASSNAMEW, nullptr));
}

std::u16string cHostDriver::Copied() {
  if (OpenClipboard(nullptr)) {
    EmptyClipboard();
    CloseClipboard();
  }
  Command(kCopyCommand);
  // Not at all while no storage is chosen.
  for (u32 naps = 0; naps < kCopyNaps; ++naps) {
    if (std::u16string text = ClipboardText(); !text.empty()) return text;
    Sleep(kNapMilliseconds);
  }
  return {};
}

std::u16string TextOfControl(HWND control) {
  std::u16string text(16384, u'\0');
  DWORD_PTR length = 0;
  SendMessageTimeoutW(control, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()),
                      SMTO_NORMAL, kAnswerMilliseconds, &length);
  text.resize(length);
  return text;
}

void PressKeys(std::initializer_list<WORD> keys) {
  std::vector<INPUT> inputs;
  for (const WORD key : keys) inputs.push_back(KeyInput(key, 0, 0));
  for (auto key = std::rbegin(keys); key != std::rend(keys); ++key) {
    inputs.push_back(KeyInput(*key, 0, KEYEVENTF_KEYUP));
  }
  Send(std::move(inputs));
}

void TypeText(const std::u16string& text) {
  for (const char16_t letter : text) {
    const WORD unit = letter;
    Send({KeyInput(0, unit, KEYEVENTF_UNICODE),
          KeyInput(0, unit, KEYEVENTF_UNICODE | KEYEVENTF_KEYUP)});
  }
}

}  // namespace larkspur::host
