// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "devices/descriptor_text.h"

#include "base/path_text.h"
#include "devices/device_kind.h"
#include "devices/identity_text.h"

namespace larkspur {
namespace {

using namespace platform;

constexpr size_t kVendorCharacters = 98;
constexpr size_t kProductCharacters = 100;

}  // namespace

std::u16string DescriptorText(Device& device, DescriptorTexts* texts) {
  const auto descriptor = StorageDescriptor::Query(device);
  if (!descriptor) return {};
  std::u16string text = descriptor->IsRemovable() ? u"Removable " : u"Fixed ";
  if (const auto vendor = descriptor->Text(kDescriptorVendorOffset)) {
    texts->vendor = SystemText(*vendor, kVendorCharacters);
    text += texts->vendor + u" ";
  }
  text += WideFromUtf8(BusName(descriptor->Bus())) + u" ";
  if (const auto product = descriptor->Text(kDescriptorProductOffset)) {
    texts->model = SystemText(*product, kProductCharacters);
    text += texts->model;
  }
  const auto serial = descriptor->Text(kDescriptorSerialOffset);
  texts->serial = serial ? DescriptorSerial(*serial) : std::u16string();
  return text;
}

}  // namespace larkspur
