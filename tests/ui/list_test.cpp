// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// What stands behind lists and menus: rows in an order, and what can be done.

#include <string>

#include <gtest/gtest.h>

#include "ui/model/action.h"
#include "ui/model/sorted_rows.h"

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

TEST(SortedRows, KeepTheModelsOrderUntilSortedAndAmongEquals) {
  cSortedRows rows;
  EXPECT_EQ(rows.Count(), 0u);
  rows.Reset(5);
  EXPECT_EQ(Order(rows), (std::vector<u32>{0, 1, 2, 3, 4}));
  const ByText byText({"b", "a", "b", "c", "a"});
  rows.Sort(byText, false);
  EXPECT_EQ(Order(rows), (std::vector<u32>{1, 4, 0, 2, 3}));
  rows.Sort(byText, true);
  EXPECT_EQ(Order(rows), (std::vector<u32>{3, 0, 2, 1, 4}));
  for (u32 row = 0; row < 5; ++row) EXPECT_EQ(rows.RowAt(rows.PositionOf(row)), row);
  rows.Reset(3);
  EXPECT_EQ(Order(rows), (std::vector<u32>{0, 1, 2}));
  EXPECT_EQ(rows.PositionOf(2), 2u);
}

class ActionListTest : public ::testing::Test {
 protected:
  void SetUp() override {
    m_actions.Add({1, u"Save", 0, {'S', true, false, false}, [this] { m_ran.push_back(1); }});
    m_actions.Add({2, u"Next", 0, {}, [this] { m_ran.push_back(2); }});
    m_actions.Add({3, u"Nothing", 0, {'N', true, false, false}, {}});
  }

  cActionList m_actions;
  std::vector<int> m_ran;
};

TEST_F(ActionListTest, RunsByIdAndByShortcut) {
  EXPECT_TRUE(m_actions.Run(2));
  EXPECT_TRUE(m_actions.Run(Shortcut{'S', true, false, false}));
  EXPECT_EQ(m_ran, (std::vector<int>{2, 1}));
}

TEST_F(ActionListTest, RunsNothingElse) {
  EXPECT_FALSE(m_actions.Run(4));
  EXPECT_FALSE(m_actions.Run(3));
  EXPECT_FALSE(m_actions.Run(Shortcut{'S', false, false, false}));
  EXPECT_FALSE(m_actions.Run(Shortcut{'S', true, true, false}));
  // "No shortcut" is none that could be pressed.
  EXPECT_FALSE(m_actions.Run(Shortcut{}));
  EXPECT_TRUE(m_ran.empty());
}

TEST_F(ActionListTest, TellsOnlyOfChanges) {
  std::vector<u32> told;
  m_actions.onChange = [&](const Action& action) { told.push_back(action.id); };
  m_actions.SetEnabled(1, false);
  m_actions.SetEnabled(1, false);
  EXPECT_FALSE(m_actions.Run(1));
  EXPECT_FALSE(m_actions.Run(Shortcut{'S', true, false, false}));
  m_actions.SetEnabled(1, true);
  EXPECT_TRUE(m_actions.Run(1));
  EXPECT_EQ(told, (std::vector<u32>{1, 1}));
}

}  // namespace
}  // namespace larkspur
