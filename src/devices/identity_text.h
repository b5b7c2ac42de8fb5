// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The names that drives give themselves, from raw bytes to text. Any bytes may stand there; the
// text never holds a zero.

#include <optional>
#include <span>
#include <string>

#include "base/types.h"
#include "platform/device.h"

namespace larkspur {

enum class ByteOrder { kAsIs, kSwappedPairs };  // ATA swaps the two bytes of each word

// A field of identify or inquiry data without the white space around it, read as UTF-8.
std::u16string IdentityField(std::span<const u8> field, ByteOrder order);

// The serial number of a storage descriptor: some drivers give it as hexadecimal digits of the
// swapped bytes, others as it is. Empty when there is none.
std::u16string DescriptorSerial(std::span<const u8> text);

// Text in the system's code page, at most `limit` characters, without trailing control characters
// and blanks.
std::u16string SystemText(std::span<const u8> text, size_t limit);

// "vendor product", or the one that is not empty.
std::u16string ModelText(const std::u16string& vendor, const std::u16string& product);

// The description of a drive that does not say itself what it is: from the system's descriptor.
struct DescriptorTexts {
  std::u16string line;  // "Fixed ACME SATA Disk 9000"
  std::u16string serial;
  std::u16string vendor;
  std::u16string model;
};

// None where the system has no descriptor.
std::optional<DescriptorTexts> TextsOfDescriptor(platform::Device& device);

}  // namespace larkspur
