// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/numbered_device_resource.h"

#include "base/owned.h"

namespace larkspur {

bool cNumberedDeviceResource::Assign(const cBaseIoResource& other) {
  if (other.GetKind() != kResourceNumberedDevice) return false;
  m_number = static_cast<const cNumberedDeviceResource&>(other).m_number;
  return true;
}

bool cNumberedDeviceResource::Equals(const cBaseIoResource* other) const {
  return other && other->GetKind() == kResourceNumberedDevice &&
         m_number == static_cast<const cNumberedDeviceResource*>(other)->m_number;
}

void* cNumberedDeviceResource::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

}  // namespace larkspur
