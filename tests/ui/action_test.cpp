// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/model/action.h"

#include <gtest/gtest.h>

namespace larkspur {
namespace {

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
