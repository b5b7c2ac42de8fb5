// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "devices/device_list.h"

#include "devices/device_kind.h"
#include "devices/device_system.h"
#include "devices/identity_text.h"

namespace larkspur {

std::vector<DeviceFacts> FindDevices() {
  std::vector<DeviceFacts> found;
  for (platform::ListedDevice& listed : platform::ListDevices()) {
    DeviceFacts facts;
    static_cast<platform::ListedDevice&>(facts) = std::move(listed);
    if (const auto device = Devices().Open(facts.path.c_str(), platform::kAccessQuery)) {
      const DescriptorTexts texts = TextsOfDescriptor(*device).value_or(DescriptorTexts());
      facts.model = ModelText(texts.vendor, texts.model);
      facts.serial = texts.serial;
      facts.kind = ClassifyKind(*device);
      const auto descriptor = StorageDescriptor::Query(*device);
      if (descriptor) facts.bus = descriptor->Bus();
      facts.isRemovable = descriptor && descriptor->IsRemovable();
    }
    found.push_back(std::move(facts));
  }
  return found;
}

}  // namespace larkspur
