// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "devices/identity_text.h"

#include <algorithm>
#include <optional>

#include "base/path_text.h"
#include "base/text.h"
#include "devices/device_kind.h"

namespace larkspur {
namespace {

constexpr u32 kSystemCodePage = 0;

std::u16string Decode(std::string_view bytes, u32 codePage) {
  const std::u16string text =
      WideText({reinterpret_cast<const u8*>(bytes.data()), bytes.size()}, codePage);
  return text.substr(0, text.find(u'\0'));
}

std::string_view Trimmed(std::string_view text, std::string_view blanks) {
  const size_t first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

void SwapPairs(std::string* bytes) {
  for (size_t i = 0; i + 1 < bytes->size(); i += 2) std::swap((*bytes)[i], (*bytes)[i + 1]);
}

std::string AsString(std::span<const u8> bytes) {
  return {bytes.begin(), bytes.end()};
}

int HexDigit(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  return -1;
}

// The bytes that hexadecimal digits stand for, when all of them are ASCII from the blank on.
std::optional<std::string> DecodeHex(std::string_view digits) {
  if (digits.size() % 2 != 0) return std::nullopt;
  std::string bytes;
  for (size_t i = 0; i < digits.size(); i += 2) {
    const int high = HexDigit(digits[i]), low = HexDigit(digits[i + 1]);
    const int value = high * 16 + low;
    if (high < 0 || low < 0 || value < 32 || value > 127) return std::nullopt;
    bytes += static_cast<char>(value);
  }
  return bytes;
}

}  // namespace

std::u16string IdentityField(std::span<const u8> field, ByteOrder order) {
  std::string bytes = AsString(field);
  if (order == ByteOrder::kSwappedPairs) SwapPairs(&bytes);
  return Decode(Trimmed(bytes, "\t\n\r "), kUtf8CodePage);
}

std::u16string DescriptorSerial(std::span<const u8> text) {
  const std::string bytes = AsString(text);
  const std::string_view plain = Trimmed(bytes, " ");
  if (const auto decoded = DecodeHex(plain)) {
    std::string serial(Trimmed(*decoded, " "));
    SwapPairs(&serial);
    if (!serial.empty()) return Decode(serial, kSystemCodePage);
  }
  return Decode(plain, kSystemCodePage);
}

std::u16string SystemText(std::span<const u8> text, size_t limit) {
  const std::string bytes = AsString(text);
  std::u16string wide = Decode(bytes, kSystemCodePage).substr(0, limit);
  while (!wide.empty() && wide.back() <= u' ') wide.pop_back();
  return wide;
}

std::u16string ModelText(const std::u16string& vendor, const std::u16string& product) {
  if (vendor.empty()) return product;
  return product.empty() ? vendor : vendor + u" " + product;
}

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
