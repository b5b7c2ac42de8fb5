// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/device.h"

#include <windows.h>

#include <cfgmgr32.h>
#include <initguid.h>
#include <setupapi.h>
#include <winioctl.h>

#include "platform/device_requests.h"
#include "platform/file.h"
#include "platform/system_error.h"
#include "platform/windows/native_path.h"
#include "platform/windows/win32.h"

namespace larkspur::platform {
namespace {

constexpr DWORD kInstanceIdCharacters = 520;
constexpr ULONG kParentIdCharacters = 200;
constexpr u32 kDriveNumbers = 64;
constexpr u32 kNoSuchDevice = 433;  // ERROR_NO_SUCH_DEVICE, which not every header has

class WindowsDevice final : public Device {
 public:
  explicit WindowsDevice(HANDLE handle) : m_handle(handle) {}
  ~WindowsDevice() override { CloseHandle(m_handle); }

  u64 Seek(u64 offset) override {
    LARGE_INTEGER target, landed;
    target.QuadPart = static_cast<LONGLONG>(offset);
    if (!Succeeded(SetFilePointerEx(m_handle, target, &landed, FILE_BEGIN))) return kNowhere;
    return static_cast<u64>(landed.QuadPart);
  }

  u32 Read(void* buffer, u32 length) override {
    DWORD moved = 0;
    return Succeeded(ReadFile(m_handle, buffer, length, &moved, nullptr)) ? moved : 0;
  }

  u32 Write(const void* buffer, u32 length) override {
    DWORD moved = 0;
    return Succeeded(WriteFile(m_handle, buffer, length, &moved, nullptr)) ? moved : 0;
  }

  bool Control(u32 code, std::span<const u8> in, std::span<u8> out, u32* returned) override {
    DWORD bytes = 0;
    void* input = in.empty() ? nullptr : const_cast<u8*>(in.data());
    void* output = out.empty() ? nullptr : out.data();
    const bool done =
        Succeeded(DeviceIoControl(m_handle, code, input, static_cast<DWORD>(in.size()), output,
                                  static_cast<DWORD>(out.size()), &bytes, nullptr));
    *returned = bytes < out.size() ? bytes : static_cast<u32>(out.size());
    return done;
  }

  std::optional<bool> IsPowered() override {
    BOOL on = TRUE;
    if (!GetDevicePowerState(m_handle, &on)) return std::nullopt;
    return on != FALSE;
  }

  std::optional<u64> MediumNumber(bool /*asksDrive*/) override {
    DWORD changes = 0, bytes = 0;
    if (!DeviceIoControl(m_handle, IOCTL_STORAGE_CHECK_VERIFY2, nullptr, 0, &changes,
                         sizeof(changes), &bytes, nullptr)) {
      return std::nullopt;
    }
    return bytes == sizeof(changes) ? changes : u64{0};
  }

 private:
  HANDLE m_handle;
};

// A set of device information that ends with its owner.
class InfoSet {
 public:
  InfoSet()
      : m_set(SetupDiGetClassDevsW(&GUID_DEVINTERFACE_DISK, nullptr, nullptr,
                                   DIGCF_PRESENT | DIGCF_DEVICEINTERFACE)) {}
  InfoSet(const InfoSet&) = delete;
  InfoSet& operator=(const InfoSet&) = delete;
  ~InfoSet() {
    if (m_set != INVALID_HANDLE_VALUE) SetupDiDestroyDeviceInfoList(m_set);
  }

  // Entry `index`; false past the last one.
  bool Entry(DWORD index, DiskInterface* found) const;

 private:
  std::u16string InterfacePath(DWORD index) const;

  HDEVINFO m_set;
};

bool InfoSet::Entry(DWORD index, DiskInterface* found) const {
  SP_DEVINFO_DATA device{};
  device.cbSize = sizeof(device);
  wchar_t instanceId[kInstanceIdCharacters];
  if (m_set == INVALID_HANDLE_VALUE || !Succeeded(SetupDiEnumDeviceInfo(m_set, index, &device)) ||
      !Succeeded(SetupDiGetDeviceInstanceIdW(m_set, &device, instanceId, kInstanceIdCharacters,
                                             nullptr))) {
    return false;
  }
  found->path = InterfacePath(index);
  found->instance = device.DevInst;
  return true;
}

std::u16string InfoSet::InterfacePath(DWORD index) const {
  SP_DEVICE_INTERFACE_DATA face{};
  face.cbSize = sizeof(face);
  DWORD size = 0;
  if (!Succeeded(
          SetupDiEnumDeviceInterfaces(m_set, nullptr, &GUID_DEVINTERFACE_DISK, index, &face))) {
    return {};
  }
  SetupDiGetDeviceInterfaceDetailW(m_set, &face, nullptr, 0, &size, nullptr);
  if (size < sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_W)) return {};
  std::vector<u8> bytes(size);
  auto* detail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W*>(bytes.data());
  detail->cbSize = sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_W);
  if (!Succeeded(SetupDiGetDeviceInterfaceDetailW(m_set, &face, detail, size, nullptr, nullptr))) {
    return {};
  }
  return FromWide(detail->DevicePath);
}

// The letter of "\\.\X:" in either kind of separator; 0 for another path.
char16_t LetterOf(std::u16string_view path) {
  const auto isSeparator = [](char16_t unit) { return unit == u'\\' || unit == u'/'; };
  const bool fits = path.size() == 6 && isSeparator(path[0]) && isSeparator(path[1]) &&
                    path[2] == u'.' && isSeparator(path[3]) && path[5] == u':';
  return fits ? path[4] : u'\0';
}

class WindowsDevices final : public DeviceSystem {
 public:
  bool IsDevice(const char16_t* path) override { return KindOfPath(path) == PathKind::kDevice; }

  std::unique_ptr<Device> Open(const char16_t* path, u32 access) override {
    const DWORD rights =
        (access & kAccessRead ? GENERIC_READ : 0) | (access & kAccessWrite ? GENERIC_WRITE : 0);
    const DWORD flags = access & kAccessUnbuffered ? FILE_FLAG_NO_BUFFERING : 0;
    const HANDLE handle =
        CreateFileW(NativePath(path).c_str(), rights, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                    OPEN_EXISTING, flags, nullptr);
    if (!Succeeded(handle != INVALID_HANDLE_VALUE)) return nullptr;
    return std::make_unique<WindowsDevice>(handle);
  }

  // A removed device's name is gone, or its opening fails; one without a medium has no geometry.
  FailureKind StateOf(const char16_t* path, u64 /*bytes*/) override {
    const auto device = Open(path, kAccessQuery);
    if (!device) return IsInUse(LastFailure()) ? FailureKind::kNone : FailureKind::kGone;
    u8 geometry[kGeometryBytes];
    u32 returned = 0;
    const bool answers = device->Control(kGetDriveGeometry, {}, geometry, &returned);
    const bool isGone = !answers && KindOfFailure(LastFailure()) == FailureKind::kGone;
    return isGone ? FailureKind::kGone : FailureKind::kNone;
  }

  bool IsOpticalDrive(const char16_t* drive) override {
    return GetDriveTypeW(Wide(drive)) == DRIVE_CDROM;
  }

  char16_t OpticalLetter(const char16_t* path) override {
    const char16_t letter = LetterOf(path);
    const char16_t drive[] = {letter, u':', u'\0'};
    return letter && IsOpticalDrive(drive) ? letter : u'\0';
  }

  std::vector<std::u16string> DiskPaths() override {
    std::vector<std::u16string> paths;
    for (u32 number = 0; number < kDriveNumbers; ++number) {
      const std::string digits = std::to_string(number);
      const std::u16string path =
          u"\\\\.\\PhysicalDrive" + std::u16string(digits.begin(), digits.end());
      if (Open(path.c_str(), kAccessQuery)) paths.push_back(path);
    }
    return paths;
  }

  std::vector<DiskInterface> DiskInterfaces() override {
    std::vector<DiskInterface> disks;
    const InfoSet set;
    DiskInterface disk;
    for (DWORD index = 0; set.Entry(index, &disk); ++index) disks.push_back(disk);
    return disks;
  }

  std::u16string ParentDeviceId(u32 instance) override {
    DEVINST parent = 0;
    wchar_t text[kParentIdCharacters];
    if (CM_Get_Parent(&parent, instance, 0) != CR_SUCCESS ||
        CM_Get_Device_IDW(parent, text, kParentIdCharacters, 0) != CR_SUCCESS) {
      return {};
    }
    return FromWide(text);
  }
};

}  // namespace

DeviceSystem& SystemDevices() {
  static WindowsDevices devices;
  return devices;
}

bool IsDeviceGone(u32 code) {
  switch (code) {
    case ERROR_BAD_UNIT:
    case ERROR_NOT_READY:
    case ERROR_DEV_NOT_EXIST:
    case kNoSuchDevice:
    case ERROR_NO_MEDIA_IN_DRIVE:
    case ERROR_DEVICE_NOT_CONNECTED:
    case ERROR_DEVICE_NOT_AVAILABLE:
    case ERROR_DEVICE_REMOVED:
      return true;
  }
  return false;
}

bool IsNotPermitted(u32 code) {
  return code == ERROR_ACCESS_DENIED || code == ERROR_PRIVILEGE_NOT_HELD;
}

bool IsInUse(u32 code) {
  return code == ERROR_SHARING_VIOLATION || code == ERROR_LOCK_VIOLATION || code == ERROR_BUSY;
}

}  // namespace larkspur::platform
