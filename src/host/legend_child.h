// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What the colours of a map mean, in as many lines as that takes.

#include <vector>

#include "host/model/map_words.h"
#include "ui/child.h"

namespace larkspur::host {

class cLegendChild final : public cChild {
 public:
  cLegendChild() : cChild(WC_STATICW, SS_NOPREFIX) {}

  bool Create(cCustomForm& form, std::vector<LegendEntry> entries);

 private:
  MessageAnswer OnMessage(const WindowMessage& message) override;
  void Draw(HDC dc);

  std::vector<LegendEntry> m_entries;
};

}  // namespace larkspur::host
