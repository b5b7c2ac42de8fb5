// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What a user can do in a form, apart from how: one action stands behind a button of a tool bar, a
// line of a menu and a shortcut alike.

#include <functional>
#include <string>
#include <vector>

#include "base/types.h"

namespace larkspur {

struct Shortcut {
  u32 key = 0;  // a virtual key code; 0 for none
  bool control = false;
  bool shift = false;
  bool alt = false;
  bool operator==(const Shortcut&) const = default;
};

struct Action {
  u32 id = 0;
  std::u16string text;
  u32 icon = 0;  // of the theme; 0 for none
  Shortcut shortcut;
  std::function<void()> run;
  bool enabled = true;
};

class cActionList {
 public:
  void Add(Action action) { m_actions.push_back(std::move(action)); }
  const std::vector<Action>& All() const { return m_actions; }
  const Action* Find(u32 id) const;

  // Who shows the actions asks to be told when one is enabled or disabled.
  void SetEnabled(u32 id, bool enabled);
  std::function<void(const Action&)> onChange;

  // Runs the action when there is one and it is enabled; false otherwise.
  bool Run(u32 id) const;
  bool Run(const Shortcut& shortcut) const;

 private:
  std::vector<Action> m_actions;
};

}  // namespace larkspur
