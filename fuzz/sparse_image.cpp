// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Hostile bytes as a sparse image: opened, looked through, read, written, marked. The bytes are the
// file; where and how much is read and written comes from their end.

#include <algorithm>

#include <fmt/core.h>

#include "fakes/images.h"
#include "fuzz/targets.h"
#include "io/bit_map.h"

namespace larkspur::fuzz {
namespace {

constexpr u32 kMostSectors = 1100;
constexpr u64 kFileLimit = 4 << 20;
constexpr int kSteps = 6;
constexpr u64 kMostOperations = 20000;  // whatever the file promises

// Numbers from the end of the input, so that they do not move what the file says.
class Choices {
 public:
  explicit Choices(std::span<const u8> input) : m_left(input) {}

  u64 Next(int bytes) {
    u64 value = 0;
    for (; bytes > 0 && !m_left.empty(); --bytes) {
      value = value << 8 | m_left.back();
      m_left = m_left.first(m_left.size() - 1);
    }
    return value;
  }

 private:
  std::span<const u8> m_left;
};

std::string ExtentsOf(cKVRSparseIO* image) {
  std::string told;
  u64 end = 0;
  image->VisitExtents(0, ~u64{0}, [&](u64 start, u64 sectors, SectorStatus status) {
    Require(start == end && sectors > 0);
    end += sectors;
    told += fmt::format(" {}x{}", sectors, static_cast<int>(status));
    return true;
  });
  Require(end == image->GetSectorCount());
  return told;
}

void ReadSome(cKVRSparseIO* image, u64 first, u32 count, std::vector<u8>* buffer) {
  cBitMap presence(count);
  const u64 position = image->SetPosition(first);
  Require(position == std::min(first, image->GetSectorCount()));
  Require(image->Read(buffer->data(), count, &presence) <= count);
  Require(buffer->back() == 0xEE);
}

void UseImage(cKVRSparseIO* image, Choices choices) {
  static std::vector<u8> buffer((kMostSectors + 1) * kSectorBytes);  // made once
  std::fill(buffer.begin(), buffer.end(), u8{0xEE});
  for (int step = 0; step < kSteps; ++step) {
    const u64 first = choices.Next(step % 2 ? 8 : 2);
    const u32 count = static_cast<u32>(choices.Next(2) % kMostSectors) + 1;
    ReadSome(image, first, count, &buffer);
    Require(image->Write(first, buffer.data(), count) <= count);
    if (image->MarkSectorBad(first) && first < image->GetSectorCount()) {
      Require(fakes::Statuses(image, first, 1) == "u");
    }
  }
}

}  // namespace

std::string RunSparseImage(std::span<const u8> input) {
  std::string told;
  for (const bool readOnly : {true, false}) {
    const auto store = fakes::StoreOf({input.begin(), input.end()});
    store->limitBytes = kFileLimit;
    const auto image = fakes::OpenImage(store, readOnly);
    if (!image) return {};
    told += ExtentsOf(image.get());
    UseImage(image.get(), Choices(input));
    told += ExtentsOf(image.get());
    const Owned<cBaseIO> clone(image->Clone());
    Require(clone && clone->IsSameAs(image.get()));
    Require(store->bytes.size() <= std::max<size_t>(kFileLimit, input.size()));
    if (readOnly)
      Require(std::equal(store->bytes.begin(), store->bytes.end(), input.begin(), input.end()));
    Require(store->operations <= kMostOperations);
    told += fmt::format(" in {} bytes by {} operations\n", store->bytes.size(), store->operations);
  }
  return told;
}

}  // namespace larkspur::fuzz
