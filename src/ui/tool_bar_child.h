// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A tool bar that shows some of its form's actions. Their texts are the buttons' names and hints;
// pressing one is a command of the action's id, which the form's OnCommand gets.

#include <string>
#include <vector>

#include "ui/child.h"
#include "ui/icon_list.h"
#include "ui/model/action.h"

namespace larkspur {

class cToolBarChild : public cChild {
 public:
  enum class Shows { Icons, IconsAndTexts };
  static constexpr u32 kGap = 0;  // stands between action ids for a gap

  explicit cToolBarChild(Shows shows = Shows::Icons);

  // The actions with these ids, in this order. They have been added to the form's before.
  bool Create(cCustomForm& form, const AnchoredBox& place, const std::vector<u32>& actionIds);

  // An action was enabled or disabled; the form's Actions().onChange calls it.
  void ShowState(const Action& action);

 private:
  void OnScale() override;
  MessageAnswer OnNotify(NMHDR& header) override;
  void AddButtons(const std::vector<u32>& actionIds);

  Shows m_shows;
  cIconList m_icons;
};

}  // namespace larkspur
