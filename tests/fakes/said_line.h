// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A helper that has said all it says, which stays while the line lives; what it is told is thrown
// away.

#include <string_view>

#include "platform/helper_process.h"

namespace larkspur::fakes {

class SaidLine final : public platform::HelperLine {
 public:
  explicit SaidLine(std::string_view said) : m_said(said) {}

  bool Send(const void*, size_t) override { return true; }
  bool Receive(void* bytes, size_t count) override {
    if (m_said.size() < count) return false;
    m_said.copy(static_cast<char*>(bytes), count);
    m_said.remove_prefix(count);
    return true;
  }

 private:
  std::string_view m_said;
};

}  // namespace larkspur::fakes
