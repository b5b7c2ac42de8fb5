// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/bit_map.h"

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/images.h"

namespace larkspur {
namespace {

// A bit at a time: what the maps are held against.
class NaiveMap {
 public:
  explicit NaiveMap(u64 bits) : m_bits(bits) {}

  bool Test(u64 bit) const { return bit < m_bits.size() && m_bits[bit]; }
  void SetRange(u64 start, u64 count, bool value) {
    for (u64 i = start; i < m_bits.size() && i - start < count; ++i) m_bits[i] = value;
  }
  bool AnySet(u64 start, u64 count) const {
    for (u64 i = start; i < m_bits.size() && i - start < count; ++i) {
      if (m_bits[i]) return true;
    }
    return false;
  }
  u64 CountRun(u64 start, bool value) const {
    u64 i = start;
    while (i < m_bits.size() && m_bits[i] == value) ++i;
    return i - start;
  }

 private:
  std::vector<bool> m_bits;
};

void ExpectEqual(cBitMap* map, const NaiveMap& model, u64 bits) {
  ASSERT_EQ(map->GetBitCount(), bits);
  for (u64 i = 0; i < bits + 2; ++i) {
    ASSERT_EQ(map->Test(i), model.Test(i)) << i;
    ASSERT_EQ(map->CountSetRun(i), model.CountRun(i, true)) << i;
    ASSERT_EQ(map->CountClearRun(i), i < bits ? model.CountRun(i, false) : 0) << i;
  }
}

constexpr u64 kSizes[] = {0,  1,  2,   31,  32,  33,  63,  64,  65,   70,   95,
                          96, 97, 127, 128, 129, 255, 256, 257, 1023, 1024, 1025};

// One random change of both, or a question to both.
void Step(fakes::RandomSource* random, cBitMap* map, NaiveMap* model, u64 bits) {
  const u64 start = random->Below(bits + 3);
  const u64 counts[] = {random->Below(bits + 40), random->Below(40), random->Below(40), ~u64{0}};
  const u64 count = counts[random->Below(4)];
  const bool value = random->Below(2) == 0;
  switch (random->Below(4)) {
    case 0:
      map->SetRange(start, count, value);
      model->SetRange(start, count, value);
      break;
    case 1:
      map->Set(start, value);
      model->SetRange(start, 1, value);
      break;
    case 2:
      if (random->Below(8) > 0) break;
      map->Fill(value);
      model->SetRange(0, bits, value);
      break;
    default:
      ASSERT_EQ(map->AnySet(start, count), model->AnySet(start, count)) << start << "+" << count;
  }
}

TEST(BitMap, AgreesWithANaiveModel) {
  fakes::RandomSource random;
  SCOPED_TRACE("LARKSPUR_SEED=" + std::to_string(random.seed));
  for (const u64 bits : kSizes) {
    cBitMap map(bits);
    NaiveMap model(bits);
    for (int i = 0; i < 60; ++i) Step(&random, &map, &model, bits);
    ExpectEqual(&map, model, bits);
  }
}

TEST(SubBitMap, AgreesWithANaiveModelAndTouchesNothingOutside) {
  fakes::RandomSource random;
  SCOPED_TRACE("LARKSPUR_SEED=" + std::to_string(random.seed));
  for (const u64 bits : kSizes) {
    const u64 first = random.Below(70), behind = random.Below(70);
    cBitMap parent(first + bits + behind);
    const bool outside = random.Below(2) == 0;
    parent.Fill(outside);
    cSubBitMap view(&parent, first, bits);
    view.Fill(false);
    NaiveMap model(bits);
    for (int i = 0; i < 60; ++i) Step(&random, &view, &model, bits);
    ExpectEqual(&view, model, bits);
    for (u64 i = 0; i < first; ++i) ASSERT_EQ(parent.Test(i), outside) << i;
    for (u64 i = 0; i < behind; ++i) ASSERT_EQ(parent.Test(first + bits + i), outside) << i;
    view.Fill(true);
    model.SetRange(0, bits, true);
    ExpectEqual(&view, model, bits);
  }
}

TEST(SubBitMap, IsARangeOfItsParentIfItHasOne) {
  cBitMap parent(40);
  cSubBitMap view(&parent, 10, 10), inner(&view, 3, 4);
  view.Set(3, true);
  EXPECT_TRUE(inner.Test(0)) << "a view of a view";
  EXPECT_EQ(view.CountClearRun(5), 5u) << "the parent's run continues";
  EXPECT_EQ(cSubBitMap(&parent, 30, cSubBitMap::kToTheEnd).GetBitCount(), 10u);
  EXPECT_EQ(cSubBitMap(&parent, 50, cSubBitMap::kToTheEnd).GetBitCount(), 0u);
  cSubBitMap none(nullptr, 0, 10);
  none.Fill(true);
  none.SetRange(0, 10, true);
  EXPECT_FALSE(none.Test(0) || none.AnySet(0, 10));
  EXPECT_EQ(none.CountSetRun(0) + none.CountClearRun(0), 0u);
}

}  // namespace
}  // namespace larkspur
