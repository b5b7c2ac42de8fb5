// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/system_error.h"

#include <windows.h>

#include "base/path_text.h"

namespace larkspur::platform {
namespace {

thread_local u32 t_lastFailure = 0;

}  // namespace

u32 LastFailure() {
  return t_lastFailure;
}
void SetLastFailure(u32 code) {
  t_lastFailure = code;
}

std::string FailureText(u32 code) {
  wchar_t text[512];
  DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                code, 0, text, 512, nullptr);
  while (length > 0 && text[length - 1] <= L' ') --length;
  if (length == 0) return "system error " + std::to_string(code);
  return Utf8FromWide({reinterpret_cast<const char16_t*>(text), length});
}

bool IsDiskFull(u32 code) {
  return code == ERROR_DISK_FULL || code == ERROR_HANDLE_DISK_FULL;
}

namespace {

constexpr u32 kNoSuchDevice = 433;  // ERROR_NO_SUCH_DEVICE, which not every header has

}  // namespace

FailureKind KindOfFailure(u32 code) {
  switch (code) {
    case ERROR_CRC:
    case ERROR_SECTOR_NOT_FOUND:
    case ERROR_DISK_CORRUPT:
    case ERROR_UNRECOGNIZED_MEDIA:
      return FailureKind::kMedium;
    case ERROR_SEM_TIMEOUT:
    case ERROR_TIMEOUT:
    case ERROR_BUS_RESET:
    case ERROR_ADAP_HDW_ERR:
    case ERROR_OPERATION_ABORTED:
    case ERROR_NETNAME_DELETED:
    case ERROR_UNEXP_NET_ERR:
    case ERROR_NETWORK_UNREACHABLE:
    case ERROR_HOST_UNREACHABLE:
      return FailureKind::kTransport;
    case ERROR_BAD_UNIT:
    case ERROR_NOT_READY:
    case kNoSuchDevice:
    case ERROR_DEVICE_NOT_AVAILABLE:
    case ERROR_FILE_INVALID:
    case ERROR_BAD_NETPATH:
    case ERROR_DEVICE_NOT_CONNECTED:
    case ERROR_DEV_NOT_EXIST:
    case ERROR_DEVICE_REMOVED:
    case ERROR_NO_MEDIA_IN_DRIVE:
    case ERROR_MEDIA_CHANGED:
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_HANDLE:
    case ERROR_WRONG_DISK:
      return FailureKind::kGone;
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
    case ERROR_NO_SYSTEM_RESOURCES:
    case ERROR_TOO_MANY_OPEN_FILES:
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_BUSY:
    case ERROR_INVALID_PARAMETER:
    case ERROR_PRIVILEGE_NOT_HELD:
      return FailureKind::kSystem;
  }
  return FailureKind::kUnclear;
}

bool IsInterrupted(u32) {
  return false;
}

bool IsFormRefused(u32 code) {
  switch (code) {
    case ERROR_INVALID_PARAMETER:
    case ERROR_INVALID_FUNCTION:
    case ERROR_NOT_SUPPORTED:
    case ERROR_CALL_NOT_IMPLEMENTED:
    case ERROR_BAD_LENGTH:
    case ERROR_INVALID_USER_BUFFER:
    case ERROR_ACCESS_DENIED:
    case ERROR_PRIVILEGE_NOT_HELD:
      return true;
  }
  return false;
}

}  // namespace larkspur::platform
