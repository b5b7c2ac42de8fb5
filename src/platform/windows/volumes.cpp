// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/volumes.h"

#include <windows.h>

#include <memory>
#include <set>
#include <vector>

#include <winnetwk.h>

#include "platform/windows/system_library.h"
#include "platform/windows/win32.h"

namespace larkspur::platform {
namespace {

constexpr DWORD kVolumeNameCharacters = 256;
constexpr DWORD kLabelCharacters = 260;
constexpr size_t kEnumBytes = 16 * 1024;
constexpr u32 kMaxConnections = 1000;  // a provider that never comes to its end is left here

// The network library, loaded only when somebody asks: few do.
class NetworkLibrary {
 public:
  NetworkLibrary() : m_library(LoadSystemLibrary(L"mpr.dll")) {
    if (!m_library) return;
    Find("WNetOpenEnumW", &openEnum);
    Find("WNetEnumResourceW", &enumResource);
    Find("WNetCloseEnum", &closeEnum);
    Find("WNetAddConnection2W", &addConnection);
    Find("WNetGetConnectionW", &getConnection);
  }
  NetworkLibrary(const NetworkLibrary&) = delete;
  NetworkLibrary& operator=(const NetworkLibrary&) = delete;
  ~NetworkLibrary() {
    if (m_library) FreeLibrary(m_library);
  }

  bool IsComplete() const {
    return openEnum && enumResource && closeEnum && addConnection && getConnection;
  }

  decltype(&WNetOpenEnumW) openEnum = nullptr;
  decltype(&WNetEnumResourceW) enumResource = nullptr;
  decltype(&WNetCloseEnum) closeEnum = nullptr;
  decltype(&WNetAddConnection2W) addConnection = nullptr;
  decltype(&WNetGetConnectionW) getConnection = nullptr;

 private:
  template <typename Function>
  void Find(const char* name, Function* function) {
    *function =
        reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(m_library, name)));
  }

  HMODULE m_library;
};

using VisitResource = std::function<void(const NETRESOURCEW&)>;

void VisitScope(const NetworkLibrary& network, DWORD scope, const VisitResource& visit) {
  HANDLE list = nullptr;
  if (network.openEnum(scope, RESOURCETYPE_DISK, 0, nullptr, &list) != NO_ERROR) return;
  const auto room = std::make_unique<u64[]>(kEnumBytes / sizeof(u64));
  for (u32 seen = 0; seen < kMaxConnections; ++seen) {
    DWORD count = 1, bytes = kEnumBytes;
    if (network.enumResource(list, &count, room.get(), &bytes) != NO_ERROR || count == 0) break;
    visit(*reinterpret_cast<const NETRESOURCEW*>(room.get()));
  }
  network.closeEnum(list);
}

bool IsUp(const NetworkLibrary& network, const std::u16string& localName) {
  wchar_t remote[MAX_PATH];
  DWORD characters = MAX_PATH;
  const DWORD answer = network.getConnection(Wide(localName.c_str()), remote, &characters);
  return answer != ERROR_CONNECTION_UNAVAIL && answer != ERROR_NOT_CONNECTED;
}

class cWindowsVolumes final : public cVolumes {
 public:
  u32 TypeOf(const char16_t* root) override { return GetDriveTypeW(Wide(root)); }

  std::u16string MountedAt(const char16_t* mountPoint) override {
    const QuietDrives quiet;
    wchar_t name[kVolumeNameCharacters];
    if (!GetVolumeNameForVolumeMountPointW(Wide(mountPoint), name, kVolumeNameCharacters)) {
      return {};
    }
    return FromWide(name);
  }

  std::optional<u64> TotalBytes(const char16_t* root) override {
    const QuietDrives quiet;
    ULARGE_INTEGER total;
    if (!GetDiskFreeSpaceExW(Wide(root), nullptr, &total, nullptr)) return std::nullopt;
    return total.QuadPart;
  }

  std::u16string LabelOf(const char16_t* root) override {
    const QuietDrives quiet;
    wchar_t label[kLabelCharacters];
    const BOOL known = GetVolumeInformationW(Wide(root), label, kLabelCharacters, nullptr, nullptr,
                                             nullptr, nullptr, 0);
    return known ? FromWide(label) : std::u16string();
  }

  void VisitConnections(const std::function<void(const NetworkConnection&)>& visit) override {
    const NetworkLibrary network;
    if (!network.IsComplete()) return;
    std::set<std::pair<std::u16string, std::u16string>> seen;
    const auto visitOnce = [&](const NETRESOURCEW& resource, bool isConnected) {
      NetworkConnection connection{FromWide(resource.lpLocalName), FromWide(resource.lpRemoteName),
                                   isConnected};
      if (!connection.localName.empty() && !IsUp(network, connection.localName)) {
        connection.isConnected = false;
      }
      if (seen.insert({connection.localName, connection.remoteName}).second) visit(connection);
    };
    VisitScope(network, RESOURCE_CONNECTED,
               [&](const NETRESOURCEW& resource) { visitOnce(resource, true); });
    VisitScope(network, RESOURCE_REMEMBERED,
               [&](const NETRESOURCEW& resource) { visitOnce(resource, false); });
  }

  bool Reconnect(const NetworkConnection& connection) override {
    const NetworkLibrary network;
    if (!network.IsComplete()) return false;
    std::u16string local = connection.localName, remote = connection.remoteName;
    NETRESOURCEW resource{};
    resource.dwType = RESOURCETYPE_DISK;
    resource.lpLocalName = local.empty() ? nullptr : WideBuffer(local);
    resource.lpRemoteName = WideBuffer(remote);
    return network.addConnection(&resource, nullptr, nullptr, 0) == NO_ERROR;
  }
};

}  // namespace

cVolumes& SystemVolumes() {
  static cWindowsVolumes volumes;
  return volumes;
}

}  // namespace larkspur::platform
