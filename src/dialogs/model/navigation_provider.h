// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include <string>
#include <vector>

namespace larkspur {

// Where the file chooser is, what lies above, and where it came from. A folder counts once it has
// been read, so arriving is all that happens here.
class cNavigationProvider {
 public:
  // Empty before the first arrival.
  const std::u16string& Current() const { return m_current; }
  // Empty where there is nothing above.
  std::u16string Parent() const;
  // Empty before the second arrival.
  std::u16string Previous() const { return m_before.empty() ? std::u16string() : m_before.back(); }

  // Arriving where one came from takes the last step back.
  void Arrive(const std::u16string& folder);

 private:
  std::u16string m_current;
  std::vector<std::u16string> m_before;
};

}  // namespace larkspur
