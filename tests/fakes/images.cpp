// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "fakes/images.h"

#include <algorithm>
#include <cstdlib>

#include "io/bit_map.h"

namespace larkspur::fakes {

Owned<cKVRSparseIO> CreateImage(const std::shared_ptr<MemoryStore>& store, u64 sectors) {
  Owned<cKVRSparseIO> image(new cKVRSparseIO);
  const cNestedIOResource resource = ResourceOn(store);
  if (image->Create(&resource, sectors, true) != sectors) return nullptr;
  return image->GetSectorCount() == sectors ? std::move(image) : nullptr;
}

Owned<cKVRSparseIO> OpenImage(const std::shared_ptr<MemoryStore>& store, bool readOnly) {
  Owned<cKVRSparseIO> image(new cKVRSparseIO);
  const cNestedIOResource resource = ResourceOn(store, readOnly);
  return image->Open(&resource, readOnly) ? std::move(image) : nullptr;
}

std::shared_ptr<MemoryStore> StoreWithImage(u64 sectors, u32 blockSize, u32 stamp) {
  const SparseLayout layout{sectors, blockSize, kSparseVersion, stamp};
  auto store = MakeStore(layout.DataStart());
  const auto header = layout.Header();
  std::copy(header.begin(), header.end(), store->bytes.begin());
  std::fill(store->bytes.begin() + kSectorBytes, store->bytes.end(), u8{0xFF});
  return store;
}

std::string Extents(cKVRSparseIO* image) {
  static const char* const kNames[] = {"missing", "present", "unreadable", "unknown",
                                       "meaningless"};
  std::string text;
  image->VisitExtents(0, image->GetSectorCount(), [&](u64 start, u64 sectors, SectorStatus status) {
    if (!text.empty()) text += ", ";
    text += std::to_string(start) + "+" + std::to_string(sectors) + " " + kNames[status];
    return true;
  });
  return text;
}

std::string Statuses(cKVRSparseIO* image, u64 first, u64 count) {
  std::string text;
  image->VisitExtents(first, count, [&](u64, u64 sectors, SectorStatus status) {
    text.append(sectors, ".pu?x"[status]);
    return true;
  });
  return text;
}

u32 WritePattern(cBaseIO* image, u64 first, u32 count) {
  return image->Write(first, Pattern(first, count).data(), count);
}

std::string ChangesOf(MemoryStore* store, const std::function<void()>& work) {
  store->log.clear();
  store->keepLog = true;
  work();
  store->keepLog = false;
  std::erase_if(store->log, [](const auto& operation) { return operation.kind == 'R'; });
  return Describe(store->log);
}

std::string Presence(cKVRSparseIO* image, u64 first, u32 count) {
  std::vector<u8> buffer(u64{count} * kSectorBytes);
  cBitMap presence(count);
  image->SetPosition(first);
  const u32 read = image->Read(buffer.data(), count, &presence);
  std::string text;
  for (u32 i = 0; i < read; ++i) text += presence.Test(i) ? '1' : '0';
  return text;
}

RandomSource::RandomSource(std::optional<u64> usual) {
  const char* chosen = std::getenv("LARKSPUR_SEED");
  seed = chosen ? std::strtoull(chosen, nullptr, 10) : usual ? *usual : std::random_device{}();
  engine.seed(seed);
}

}  // namespace larkspur::fakes
