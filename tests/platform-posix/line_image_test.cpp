// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "files/tsk/line_image.h"

#include <algorithm>
#include <cstring>

#include <gtest/gtest.h>

#include "fakes/memory_disk.h"

namespace larkspur {
namespace {

// The other end of the line: it has all sectors but some.
class SectorLine final : public platform::HelperLine {
 public:
  explicit SectorLine(u32 missing) : m_missing(missing) {}

  bool Send(const void* bytes, size_t count) override {
    WalkRead asked{};
    EXPECT_EQ(count, sizeof(WalkHead) + sizeof asked) << "reads alone are told";
    std::memcpy(&asked, static_cast<const u8*>(bytes) + sizeof(WalkHead), sizeof asked);
    m_answer.assign(1, 1);
    for (u64 sector = asked.first; sector < asked.first + asked.count; ++sector) {
      const bool isMissing = m_missing >> sector & 1;
      const auto data = isMissing ? std::vector<u8>(kSectorBytes) : fakes::Pattern(sector, 1);
      m_answer.insert(m_answer.end(), data.begin(), data.end());
      if (isMissing) m_answer[0] = 0;
    }
    return true;
  }
  bool Receive(void* bytes, size_t count) override {
    std::copy_n(m_answer.begin(), count, static_cast<u8*>(bytes));
    m_answer.erase(m_answer.begin(), m_answer.begin() + static_cast<i64>(count));
    return true;
  }

 private:
  u32 m_missing;  // a bit for each sector
  std::vector<u8> m_answer;
};

// Whatever is asked for and whatever is missing: no more than what lies before that, all of it
// where nothing is missing, and a failure is counted.
TEST(LineImage, GivesNothingThatIsNotThere) {
  constexpr u64 kSectors = 5;
  const std::vector<u8> disk = fakes::Pattern(0, kSectors);
  const std::vector<char> asked(disk.begin(), disk.end());
  for (u32 missing = 0; missing < 1u << kSectors; ++missing) {
    for (const u64 offset : {0u, 1u, 511u, 512u, 700u, 1024u, 2000u}) {
      for (u64 count : {1u, 100u, 512u, 513u, 700u, 1024u, 1500u, 2048u, 4000u}) {
        SCOPED_TRACE(testing::Message() << offset << "+" << count << " without " << missing);
        SectorLine line(missing);
        LineImage image(line, kSectors);
        image.SetMode(ReadMode::kExact);
        std::vector<char> out(count, '#');
        const ssize_t got =
            image.Info()->read(image.Info(), static_cast<TSK_OFF_T>(offset), out.data(), count);
        const u64 end = std::min(offset + count, disk.size());
        u64 whole = offset;
        while (whole < end && !(missing >> (whole >> kSectorShift) & 1)) ++whole;
        EXPECT_TRUE(whole < end || got == static_cast<ssize_t>(end - offset)) << got;
        ASSERT_LE(got, static_cast<ssize_t>(whole - offset));
        EXPECT_NE(got, 0) << "which would be no failure";
        EXPECT_TRUE(got < 0 || std::equal(out.begin(), out.begin() + got,
                                          asked.begin() + static_cast<i64>(offset)));
        const bool isReadAhead = end == disk.size();  // what is wanted is then asked for by itself
        EXPECT_EQ(image.Failures(), whole < end && !(isReadAhead && offset % 512 == 0) ? 1u : 0u);
      }
    }
  }
}

}  // namespace
}  // namespace larkspur
