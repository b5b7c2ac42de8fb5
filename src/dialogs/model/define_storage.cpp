// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/model/define_storage.h"

#include <algorithm>
#include <array>
#include <new>

#include "imaging/cache.h"
#include "platform/disk_use.h"
#include "platform/file.h"

namespace larkspur {
namespace {

DefineFault FaultOf(CacheFaultKind kind) {
  switch (kind) {
    case CacheFaultKind::kOtherSize:
      return DefineFault::kWrongSize;
    case CacheFaultKind::kLockedElsewhere:
      return DefineFault::kLockedElsewhere;
    default:
      return DefineFault::kCacheFailed;
  }
}

// Null when the source gives no clone of itself.
Owned<cReadOnceIO> Attach(const Cache& cache, cBaseIO* source) {
  Owned<cReadOnceIO> storage(new (std::nothrow) cReadOnceIO);
  if (!storage || !storage->Attach(cache.image.get(), source)) return nullptr;
  storage->KeepLock(cache.lock);
  return storage;
}

constexpr size_t kDescriptionCharacters = 256;
constexpr std::u16string_view kDevices = u"\\\\.\\", kDrive = u"Drive", kNameEnd = u": ";

bool IsNumber(std::u16string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(),
                                      [](char16_t unit) { return unit >= u'0' && unit <= u'9'; });
}

}  // namespace

Result<Owned<cReadOnceIO>, DefineFault> DefineStorage(cBaseIO* source,
                                                      const std::u16string& cachePath) {
  if (!source) return Failed(DefineFault::kSourceMissing);
  if (cachePath.empty()) return Failed(DefineFault::kPathMissing);
  // In full, because the host may change its current folder and the storage reopens the file.
  const std::u16string path = platform::FullPath(cachePath.c_str());
  auto cache = OpenOrCreateCache(path, {}, source->GetSectorCount());
  if (!cache) return Failed(FaultOf(cache.error().kind));
  Owned<cReadOnceIO> storage = Attach(*cache, source);
  if (storage) return storage;
  if (cache->created) {
    *cache = Cache();  // closed before it is removed
    platform::RemoveFile(path.c_str());
  }
  return Failed(DefineFault::kNotAttached);
}

std::u16string DeviceOfDescription(std::u16string_view description) {
  const size_t end = description.find(kNameEnd);
  if (end == 0 || end == description.npos) return {};
  std::u16string_view name = description.substr(0, end);
  if (name.starts_with(u"\\\\")) return std::u16string(name);
  std::u16string device(kDevices);
  if (!name.starts_with(kDrive)) return device.append(name);
  name.remove_prefix(kDrive.size());
  if (IsNumber(name)) return device.append(u"PhysicalDrive").append(name);
  if (name.size() == 2 && name[0] == u' ') return device.append(name.substr(1)).append(u":");
  return {};
}

bool IsOnDiskOf(cBaseIO* source, const std::u16string& cachePath) {
  std::array<char16_t, kDescriptionCharacters> text{};
  if (!source || cachePath.empty()) return false;
  if (!source->GetDescription(text.data(), static_cast<i32>(text.size()) - 1)) return false;
  const std::u16string device = DeviceOfDescription(text.data());
  return !device.empty() && platform::IsFileOnDisk(cachePath.c_str(), device.c_str());
}

}  // namespace larkspur
