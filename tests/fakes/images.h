// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Sparse images on memory stores, in one line each, and what they hold as short text.

#include <functional>
#include <random>
#include <string>

#include "fakes/memory_disk.h"
#include "io/kvr_sparse_io.h"

namespace larkspur::fakes {

// A new image of `sectors` sectors, laid on the store and opened; null when that fails.
Owned<cKVRSparseIO> CreateImage(const std::shared_ptr<MemoryStore>& store, u64 sectors);
Owned<cKVRSparseIO> OpenImage(const std::shared_ptr<MemoryStore>& store, bool readOnly = false);

// An empty image with any block size, as other programs may have made it.
std::shared_ptr<MemoryStore> StoreWithImage(u64 sectors, u32 blockSize, u32 stamp = 0x11223344);

// Every extent of the image: "0+3 present, 3+5 missing".
std::string Extents(cKVRSparseIO* image);

// The statuses of [first, first+count), a letter each: '.' missing, 'p' present, 'u' unreadable,
// '?' unknown, 'x' without meaning.
std::string Statuses(cKVRSparseIO* image, u64 first, u64 count);

// The presence of [first, first+count) as Read reports it: '1' and '0'.
std::string Presence(cKVRSparseIO* image, u64 first, u32 count);

// Writes the pattern to [first, first+count); how much of it was taken.
u32 WritePattern(cBaseIO* image, u64 first, u32 count);

// What some work does to the store, but for its reads, as text (Describe).
std::string ChangesOf(MemoryStore* store, const std::function<void()>& work);

// A generator for a random test, whose seed the test prints when it fails: LARKSPUR_SEED, else
// `usual`, else one that differs from run to run.
struct RandomSource {
  explicit RandomSource(std::optional<u64> usual = std::nullopt);
  u64 Below(u64 limit) { return std::uniform_int_distribution<u64>(0, limit - 1)(engine); }

  u64 seed;
  std::mt19937_64 engine;
};

}  // namespace larkspur::fakes
