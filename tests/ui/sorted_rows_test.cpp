// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/model/sorted_rows.h"

#include <string>

#include <gtest/gtest.h>

namespace larkspur {
namespace {

class ByText final : public cSortProvider {
 public:
  explicit ByText(std::vector<std::string> texts) : m_texts(std::move(texts)) {}
  int Compare(u32 a, u32 b) const override { return m_texts[a].compare(m_texts[b]); }

 private:
  std::vector<std::string> m_texts;
};

std::vector<u32> Order(const cSortedRows& rows) {
  std::vector<u32> order;
  for (u32 i = 0; i < rows.Count(); ++i) order.push_back(rows.RowAt(i));
  return order;
}

TEST(SortedRows, AreInTheModelsOrderUntilSorted) {
  cSortedRows rows;
  EXPECT_EQ(rows.Count(), 0u);
  rows.Reset(3);
  EXPECT_EQ(Order(rows), (std::vector<u32>{0, 1, 2}));
  EXPECT_EQ(rows.PositionOf(2), 2u);
}

TEST(SortedRows, KeepTheModelsOrderAmongEquals) {
  cSortedRows rows;
  rows.Reset(5);
  const ByText byText({"b", "a", "b", "c", "a"});
  rows.Sort(byText, false);
  EXPECT_EQ(Order(rows), (std::vector<u32>{1, 4, 0, 2, 3}));
  rows.Sort(byText, true);
  EXPECT_EQ(Order(rows), (std::vector<u32>{3, 0, 2, 1, 4}));
}

TEST(SortedRows, FindARowWhereItIsShown) {
  cSortedRows rows;
  rows.Reset(4);
  rows.Sort(ByText({"d", "c", "b", "a"}), false);
  for (u32 row = 0; row < 4; ++row) EXPECT_EQ(rows.RowAt(rows.PositionOf(row)), row);
}

TEST(SortedRows, ForgetTheirOrderWhenReset) {
  cSortedRows rows;
  rows.Reset(2);
  rows.Sort(ByText({"b", "a"}), false);
  rows.Reset(3);
  EXPECT_EQ(Order(rows), (std::vector<u32>{0, 1, 2}));
}

}  // namespace
}  // namespace larkspur
