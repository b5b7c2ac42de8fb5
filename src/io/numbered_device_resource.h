// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include "io/base_io_resource.h"

namespace larkspur {

// A drive by its number, or an optical drive by its letter's character code.
class cNumberedDeviceResource final : public cBaseIoResource {
 public:
  explicit cNumberedDeviceResource(i32 number = 0) : m_number(number) {}

  i32 Number() const { return m_number; }

  u32 GetKind() const override { return kResourceNumberedDevice; }
  bool Assign(const cBaseIoResource& other) override;
  bool Equals(const cBaseIoResource* other) const override;
  void* Destroy(u32 flags) override;

 private:
  i32 m_number;
};

}  // namespace larkspur
