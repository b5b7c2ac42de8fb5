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

std::optional<DescriptorTexts> TextsOfDescriptor(Device& device) {
  const auto descriptor = StorageDescriptor::Query(device);
  if (!descriptor) return std::nullopt;
  DescriptorTexts texts;
  texts.line = descriptor->IsRemovable() ? u"Removable " : u"Fixed ";
  if (const auto vendor = descriptor->Text(kDescriptorVendorOffset)) {
    texts.vendor = SystemText(*vendor, kVendorCharacters);
    texts.line += texts.vendor + u" ";
  }
  texts.line += WideFromUtf8(BusName(descriptor->Bus())) + u" ";
  if (const auto product = descriptor->Text(kDescriptorProductOffset)) {
    texts.model = SystemText(*product, kProductCharacters);
    texts.line += texts.model;
  }
  const auto serial = descriptor->Text(kDescriptorSerialOffset);
  if (serial) texts.serial = DescriptorSerial(*serial);
  return texts;
}

}  // namespace larkspur
