// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/unit_reader.h"

#include <algorithm>
#include <cstring>

#include <gtest/gtest.h>

#include "fakes/memory_disk.h"
#include "platform/pages.h"
#include "platform/system_error.h"

namespace larkspur {
namespace {

// What comes short is asked for further, what fails is not.
TEST(UnitReader, ShortReadsAreNoFailures) {
  const std::vector<u8> disk = fakes::Pattern(0, 300);
  const struct {
    u32 unit, most;  // bytes at a time
    u64 failing;     // the byte from which on the disk fails; 0: none
    u64 offset;
    u32 length, delivered, transfers;
  } cases[] = {
      {1, 65536, 0, 512, 65536, 65536, 1},      {1, 30000, 0, 512, 65536, 65536, 3},
      {512, 4096, 0, 512, 9216, 9216, 3},       {4096, 4096, 0, 512, 9216, 9216, 3},
      {4096, 65536, 0, 512, 9216, 9216, 1},     {1, 65536, 0, 149504, 8192, 4096, 2},
      {4096, 65536, 0, 149504, 8192, 4096, 2},  {512, 4096, 8192, 512, 65536, 7680, 2},
      {4096, 65536, 8192, 512, 65536, 7680, 1}, {512, 100, 0, 0, 512, 100, 2},
  };
  UnitReader reader;
  ASSERT_TRUE(reader.Allocate(65536, 4096));
  platform::OwnedPages buffer(65536);
  for (const auto& c : cases) {
    u32 transfers = 0;
    const auto transfer = [&](u8* into, u32 length, u64 offset) {
      ++transfers;
      EXPECT_TRUE(offset % c.unit == 0 && length % c.unit == 0);
      const u64 end = std::min({offset + length, offset + c.most, u64{disk.size()},
                                c.failing ? c.failing : u64{disk.size()}});
      if (end == c.failing) platform::SetLastFailure(5);
      std::copy(disk.begin() + static_cast<i64>(std::min(offset, end)),
                disk.begin() + static_cast<i64>(end), into);
      return static_cast<u32>(end - std::min(offset, end));
    };
    const u32 delivered = reader.Read(c.offset, buffer.Data(), c.length, c.unit, transfer);
    EXPECT_EQ(delivered, c.delivered) << c.unit << " " << c.most;
    EXPECT_EQ(std::memcmp(buffer.Data(), disk.data() + c.offset, delivered), 0);
    EXPECT_EQ(transfers, c.transfers) << c.unit << " " << c.most;
    EXPECT_EQ(platform::LastFailure(), c.failing ? 5u : 0u);
  }
}

}  // namespace
}  // namespace larkspur
