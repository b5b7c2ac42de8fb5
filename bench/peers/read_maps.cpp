// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
// What looking at a cache costs at the least: reads its index and every status map once, and counts
// the bytes that are set. Usage: read-maps CACHE

#include <cstdio>
#include <vector>

#include "base/endian.h"
#include "base/path_text.h"
#include "io/sparse_layout.h"
#include "platform/file.h"

using namespace larkspur;

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const platform::OwnedFile file(
      platform::OpenExistingFile(WideFromUtf8(argv[1]).c_str(), platform::kOpenRead));
  std::array<u8, kSparseHeaderBytes> header{};
  platform::ReadFileAt(file.Handle(), header.data(), kSparseHeaderBytes, 0);
  const auto layout = SparseLayout::Parse(header);
  if (!layout) return 1;
  std::vector<u8> index(static_cast<size_t>(4 * layout->BlockCount()));
  for (size_t done = 0; done < index.size();) {
    const u32 part = static_cast<u32>(std::min<size_t>(index.size() - done, 1 << 20));
    done += platform::ReadFileAt(file.Handle(), &index[done], part, kSectorBytes + done);
  }
  u64 set = 0;
  std::vector<u8> map(layout->blockSize);
  for (size_t i = 0; i < index.size(); i += 4) {
    const u32 record = LoadLe32(&index[i]);
    if (record == kNoRecord) continue;
    platform::ReadFileAt(file.Handle(), map.data(), layout->blockSize,
                         layout->RecordSector(record) << kSectorShift);
    for (const u8 status : map) set += status != kMissing;
  }
  std::printf("%llu\n", static_cast<unsigned long long>(set));
  return 0;
}
