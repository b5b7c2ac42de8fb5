// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/model/cache_place.h"

#include <algorithm>
#include <array>

#include "platform/disk_use.h"

namespace larkspur {
namespace {

constexpr size_t kDescriptionCharacters = 256;
constexpr std::u16string_view kDevices = u"\\\\.\\", kDrive = u"Drive", kNameEnd = u": ";

bool IsNumber(std::u16string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(),
                                      [](char16_t unit) { return unit >= u'0' && unit <= u'9'; });
}

}  // namespace

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
