// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/model/action.h"

#include <algorithm>

namespace larkspur {
namespace {

bool RunIfEnabled(const Action* action) {
  if (!action || !action->enabled || !action->run) return false;
  action->run();
  return true;
}

}  // namespace

const Action* cActionList::Find(u32 id) const {
  const auto found = std::find_if(m_actions.begin(), m_actions.end(),
                                  [id](const Action& action) { return action.id == id; });
  return found == m_actions.end() ? nullptr : &*found;
}

void cActionList::SetEnabled(u32 id, bool enabled) {
  for (Action& action : m_actions) {
    if (action.id != id || action.enabled == enabled) continue;
    action.enabled = enabled;
    if (onChange) onChange(action);
  }
}

bool cActionList::Run(u32 id) const {
  return RunIfEnabled(Find(id));
}

bool cActionList::Run(const Shortcut& shortcut) const {
  const auto found = std::find_if(m_actions.begin(), m_actions.end(), [&](const Action& action) {
    return action.shortcut.key != 0 && action.shortcut == shortcut;
  });
  return found != m_actions.end() && RunIfEnabled(&*found);
}

}  // namespace larkspur
