// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Hostile bytes as a sparse image: opened, looked through, read, written, marked. The bytes are the
// file; where and how much is read and written comes from their end.

#include <algorithm>
#include <cstdlib>

#include "fakes/images.h"
#include "io/bit_map.h"

namespace larkspur {
namespace {

constexpr u32 kMostSectors = 1100;
constexpr u64 kFileLimit = 4 << 20;
constexpr int kSteps = 6;

void Require(bool condition) {
  if (!condition) std::abort();
}

// Numbers from the end of the input, so that they do not move what the file says.
class Choices {
 public:
  Choices(const u8* data, size_t size) : m_data(data), m_left(size) {}

  u64 Next(int bytes) {
    u64 value = 0;
    for (; bytes > 0 && m_left > 0; --bytes) value = value << 8 | m_data[--m_left];
    return value;
  }

 private:
  const u8* m_data;
  size_t m_left;
};

void VisitAll(cKVRSparseIO* image) {
  u64 told = 0;
  image->VisitExtents(0, ~u64{0}, [&told](u64 start, u64 sectors, SectorStatus) {
    Require(start == told && sectors > 0);
    told += sectors;
    return true;
  });
  Require(told == image->GetSectorCount());
}

void ReadSome(cKVRSparseIO* image, u64 first, u32 count, std::vector<u8>* buffer) {
  cBitMap presence(count);
  const u64 position = image->SetPosition(first);
  Require(position == std::min(first, image->GetSectorCount()));
  Require(image->Read(buffer->data(), count, &presence) <= count);
  Require(buffer->back() == 0xEE);
}

void UseImage(cKVRSparseIO* image, Choices choices) {
  std::vector<u8> buffer((kMostSectors + 1) * kSectorBytes, 0xEE);
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
}  // namespace larkspur

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace larkspur;
  for (const bool readOnly : {true, false}) {
    const auto store = fakes::StoreOf({data, data + size});
    store->limitBytes = kFileLimit;
    const auto image = fakes::OpenImage(store, readOnly);
    if (!image) return 0;
    VisitAll(image.get());
    UseImage(image.get(), Choices(data, size));
    VisitAll(image.get());
    const Owned<cBaseIO> clone(image->Clone());
    Require(clone && clone->IsSameAs(image.get()));
    Require(store->bytes.size() <= std::max<size_t>(kFileLimit, size));
    if (readOnly) Require(std::equal(store->bytes.begin(), store->bytes.end(), data, data + size));
  }
  return 0;
}
