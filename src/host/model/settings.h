// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The host's settings as modules ask for them.

#include <cstring>

#include "catalog/message_catalog.h"

namespace larkspur::host {

class cSettings final : public HostSettings {
 public:
  static constexpr u32 kLanguageSetting = 16;

  // A language id, as the catalog numbers them.
  void SetLanguage(u32 language) { m_language = language; }
  u32 Language() const { return m_language; }

  bool QuerySetting(u32 number, void* buffer, u32 capacity, u32* size) override {
    if (number != kLanguageSetting || !size) return false;
    *size = sizeof m_language;
    if (buffer) std::memcpy(buffer, &m_language, capacity < *size ? capacity : *size);
    return true;
  }

 private:
  u32 m_language = 0;
};

}  // namespace larkspur::host
