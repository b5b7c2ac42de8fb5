// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/windows/process_resources.h"

#include <vector>

namespace larkspur {
namespace {

// Numbers of what the two calls below are asked for.
constexpr ULONG kBasicInformation = 0, kAllHandles = 64;
constexpr LONG kTooShort = static_cast<LONG>(0xC0000004);

// The table of all handles: a count and a spare number, then rows of 40 bytes whose second 8 bytes
// are the process.
constexpr size_t kHandleHead = 16, kHandleRow = 40, kHandleProcess = 8;

// A process's block points to its table of drawing objects at 0xF8; byte 14 of a row of 24 bytes is
// the object's kind, 0 when the row is free.
constexpr size_t kBlockAddress = 8;  // in the basic information
constexpr size_t kTable = 0xF8, kTableRows = 0x4000, kTableRow = 24, kTableKind = 14;

template <typename Function>
Function* SystemCall(const char* name) {
  const FARPROC found = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), name);
  return reinterpret_cast<Function*>(reinterpret_cast<void*>(found));
}

u64 NumberAt(const std::vector<u8>& bytes, size_t place) {
  u64 number = 0;
  for (size_t i = 8; i-- > 0;) number = number << 8 | bytes[place + i];
  return number;
}

u32 CountHandles(HANDLE process) {
  DWORD told = 0;
  GetProcessHandleCount(process, &told);
  if (told > 0) return told;
  using Query = LONG WINAPI(ULONG, void*, ULONG, ULONG*);
  auto* const query = SystemCall<Query>("NtQuerySystemInformation");
  std::vector<u8> table(1 << 16);
  LONG answer;
  while ((answer = query(kAllHandles, table.data(), static_cast<ULONG>(table.size()), nullptr)) ==
         kTooShort) {
    table.resize(table.size() * 2);
  }
  if (answer != 0) return 0;
  const u64 id = GetProcessId(process), rows = NumberAt(table, 0);
  u32 count = 0;
  for (u64 row = 0; row < rows; ++row) {
    count += NumberAt(table, kHandleHead + row * kHandleRow + kHandleProcess) == id;
  }
  return count;
}

u32 CountDrawingObjects(HANDLE process) {
  if (const DWORD told = GetGuiResources(process, GR_GDIOBJECTS)) return told;
  using Query = LONG WINAPI(HANDLE, ULONG, void*, ULONG, ULONG*);
  auto* const query = SystemCall<Query>("NtQueryInformationProcess");
  std::vector<u8> basic(48), pointer(8), table(kTableRows * kTableRow);
  if (query(process, kBasicInformation, basic.data(), 48, nullptr) != 0) return 0;
  const auto read = [process](u64 address, std::vector<u8>* bytes) {
    return ReadProcessMemory(process, reinterpret_cast<const void*>(address), bytes->data(),
                             bytes->size(), nullptr);
  };
  if (!read(NumberAt(basic, kBlockAddress) + kTable, &pointer)) return 0;
  if (!read(NumberAt(pointer, 0), &table)) return 0;
  u32 used = 0;
  for (size_t row = 0; row < kTableRows; ++row) used += table[row * kTableRow + kTableKind] != 0;
  return used;
}

struct WindowCount {
  DWORD processId;
  u32 windows;
};

BOOL CALLBACK CountWindow(HWND window, LPARAM parameter) {
  auto& count = *reinterpret_cast<WindowCount*>(parameter);
  DWORD processId = 0;
  GetWindowThreadProcessId(window, &processId);
  count.windows += processId == count.processId;
  return TRUE;
}

BOOL CALLBACK CountWithChildren(HWND window, LPARAM parameter) {
  EnumChildWindows(window, CountWindow, parameter);
  return CountWindow(window, parameter);
}

// What heaps and stacks have taken: private memory that is not only reserved.
u64 CountPrivateBytes(HANDLE process) {
  u64 bytes = 0;
  const u8* at = nullptr;
  MEMORY_BASIC_INFORMATION area{};
  while (VirtualQueryEx(process, at, &area, sizeof area)) {
    if (area.State == MEM_COMMIT && area.Type == MEM_PRIVATE) bytes += area.RegionSize;
    at = static_cast<const u8*>(area.BaseAddress) + area.RegionSize;
  }
  return bytes;
}

}  // namespace

ProcessResources ResourcesOf(HANDLE process) {
  ProcessResources resources;
  resources.handles = CountHandles(process);
  resources.drawingObjects = CountDrawingObjects(process);
  WindowCount count{GetProcessId(process), 0};
  EnumWindows(CountWithChildren, reinterpret_cast<LPARAM>(&count));
  resources.windows = count.windows;
  resources.privateBytes = CountPrivateBytes(process);
  return resources;
}

ProcessResources ResourcesAtRest(HANDLE process) {
  constexpr int kEqualSamples = 5, kMostSamples = 100;
  constexpr DWORD kBetweenMilliseconds = 50;
  ProcessResources resources = ResourcesOf(process);
  for (int equal = 1, taken = 1; equal < kEqualSamples && taken < kMostSamples; ++taken) {
    Sleep(kBetweenMilliseconds);
    const ProcessResources now = ResourcesOf(process);
    equal = now == resources ? equal + 1 : 1;
    resources = now;
  }
  return resources;
}

}  // namespace larkspur
