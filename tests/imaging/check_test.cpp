// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// `check --repair` on caches that were cut and whose header was changed: whatever is judged,
// nothing that the cache held is lost by it.

#include "imaging/check.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "base/endian.h"
#include "fakes/images.h"
#include "fakes/temp_folder.h"

namespace larkspur {
namespace {

constexpr u64 kSectors = 128 * 300;  // an index of three sectors
constexpr u64 kRecordBytes = 129 * kSectorBytes;
constexpr u64 kSomeBytes = 20 * kSectorBytes + 7;
constexpr u64 kMapAlone = 200;  // bytes: the statuses of a block, and nothing of its data

// Some blocks from all over the disk, in no order; the data is the sectors' pattern, or zeros.
std::vector<u8> SomeCache(bool zeros) {
  const auto store = fakes::MakeStore();
  const auto image = fakes::CreateImage(store, kSectors);
  for (const u64 block : {7u, 8u, 290u, 0u, 130u, 131u, 299u}) {
    const std::vector<u8> data =
        zeros ? std::vector<u8>(100 * kSectorBytes) : fakes::Pattern(block * 128, 100);
    EXPECT_EQ(image->Write(block * 128, data.data(), 100), 100u);
    EXPECT_TRUE(image->MarkUnreadable(block * 128 + 110, 3));
  }
  return store->bytes;
}

struct Held {
  std::string statuses;
  std::vector<u8> data;  // of the present sectors, one after the other
};

Held ReadCache(const std::vector<u8>& bytes) {
  const auto image = fakes::OpenImage(fakes::StoreOf(bytes), true);
  EXPECT_TRUE(image);
  Held held{fakes::Statuses(image.get(), 0, kSectors), {}};
  u8 data[kSectorBytes];
  for (u64 sector = 0; sector < kSectors; ++sector) {
    if (held.statuses[sector] != 'p') continue;
    image->SetPosition(sector);
    if (image->Read(data, 1) != 1) {
      held.statuses[sector] = 'x';
      continue;
    }
    held.data.insert(held.data.end(), data, data + kSectorBytes);
  }
  return held;
}

class CheckRepair : public testing::Test {
 protected:
  // What is left of a cache with `bit` of its header changed when it was repaired, the bit back
  // again.
  Held Repaired(std::vector<u8> bytes, u32 bit) {
    bytes[bit / 8] = static_cast<u8>(bytes[bit / 8] ^ (1 << bit % 8));
    EXPECT_TRUE(fakes::WriteWholeFile(m_path, bytes));
    m_result = *CheckCache(m_path, true);
    std::vector<u8> after = fakes::ReadWholeFile(m_path);
    if (m_result.repairableCount == 0) {
      EXPECT_EQ(after, bytes) << "bit " << bit;
    }
    after[bit / 8] = static_cast<u8>(after[bit / 8] ^ (1 << bit % 8));
    return ReadCache(after);
  }

  const fakes::TempFolder m_folder;
  const std::u16string m_path = m_folder.File(u"disk.kvrsp");
  CheckResult m_result;
};

TEST_F(CheckRepair, LosesNothingByAChangedHeader) {
  for (const bool zeros : {false, true}) {
    const std::vector<u8> whole = SomeCache(zeros);
    for (const u64 cut : {u64{0}, u64{1}, kSomeBytes, kRecordBytes, 2 * kRecordBytes}) {
      const std::vector<u8> bytes(whole.begin(), whole.end() - static_cast<i64>(cut));
      const Held before = ReadCache(bytes);
      for (u32 bit = 8 * 8; bit < 20 * 8; ++bit) {
        const Held after = Repaired(bytes, bit);
        for (u64 sector = 0; sector < kSectors; ++sector) {
          if (before.statuses[sector] != 'p' && before.statuses[sector] != 'u') continue;
          ASSERT_EQ(after.statuses[sector], before.statuses[sector])
              << "bit " << bit << ", cut by " << cut << ", sector " << sector;
        }
        ASSERT_EQ(after.data, before.data) << "bit " << bit << ", cut by " << cut;
      }
    }
  }
}

TEST_F(CheckRepair, MakesACutCacheWholeAgain) {
  const std::vector<u8> whole = SomeCache(false);
  for (const u64 cut :
       {u64{1}, kSomeBytes, kRecordBytes - kMapAlone, kRecordBytes, kRecordBytes + 5000}) {
    const std::vector<u8> bytes(whole.begin(), whole.end() - static_cast<i64>(cut));
    const Held before = ReadCache(bytes);
    ASSERT_TRUE(fakes::WriteWholeFile(m_path, bytes));
    EXPECT_GT(CheckCache(m_path, false)->repairableCount, 0u) << cut;
    EXPECT_EQ(fakes::ReadWholeFile(m_path), bytes) << "a look changes nothing";
    const CheckResult repaired = *CheckCache(m_path, true);
    EXPECT_EQ(repaired.problemCount, repaired.repairedCount) << cut;
    EXPECT_EQ(CheckCache(m_path, false)->problemCount, 0u) << cut;
    const Held after = ReadCache(fakes::ReadWholeFile(m_path));
    EXPECT_EQ(after.data, before.data) << cut;
    EXPECT_EQ(std::count(after.statuses.begin(), after.statuses.end(), 'u'),
              std::count(before.statuses.begin(), before.statuses.end(), 'u'))
        << cut;
  }
}

TEST_F(CheckRepair, LeavesWhatItDoesNotUnderstand) {
  const struct {
    const char* name;
    u64 at;
    u8 value;
    ProblemKind kind;
  } cases[] = {
      {"two blocks with one record", 512 + 4 * 7, 1, ProblemKind::kSharedRecord},
      {"a status without meaning", 4 * 512 + 5, 77, ProblemKind::kStatus},
      {"an entry after the last block's", 512 + 4 * 300, 0, ProblemKind::kHeader},
      {"a record far past the end", 512 + 4 * 8 + 2, 1, ProblemKind::kRecordBeyond},
      {"something past a status map", 4 * 512 + 200, 1, ProblemKind::kRecordCut},
  };
  for (const auto& c : cases) {
    std::vector<u8> bytes = SomeCache(false);
    bytes.resize(bytes.size() - 700);  // which could be repaired by itself
    bytes[c.at] = c.value;
    ASSERT_TRUE(fakes::WriteWholeFile(m_path, bytes));
    const CheckResult result = *CheckCache(m_path, true);
    EXPECT_EQ(result.repairableCount + result.repairedCount, 0u) << c.name;
    EXPECT_TRUE(std::any_of(result.problems.begin(), result.problems.end(),
                            [&c](const Problem& problem) { return problem.kind == c.kind; }))
        << c.name;
    EXPECT_EQ(fakes::ReadWholeFile(m_path), bytes) << c.name;
  }
}

TEST_F(CheckRepair, BelievesNoHeaderThatMostRecordsAreTooManyFor) {
  for (const u64 records : {u64{300}, 2 * 300 + u64{4200}}) {
    ASSERT_TRUE(fakes::WriteWholeFile(m_path, SomeCache(false)));
    std::filesystem::resize_file(m_path, 4 * kSectorBytes + records * kRecordBytes + 700);
    const CheckResult result = *CheckCache(m_path, false);
    EXPECT_EQ(result.repairableCount, records == 300 ? 1u : 0u);
    EXPECT_EQ(result.unusedRecords, records - 7);
  }
}

}  // namespace
}  // namespace larkspur
