// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/resource.h"

#include "base/owned.h"

namespace larkspur {

bool cNamedFileResource::Assign(const cBaseIoResource& other) {
  if (other.GetKind() != kResourceNamedFile) return false;
  m_path = static_cast<const cNamedFileResource&>(other).m_path;
  return true;
}

bool cNamedFileResource::Equals(const cBaseIoResource* other) const {
  if (!other || other->GetKind() != kResourceNamedFile) return false;
  const cWideString& theirs = static_cast<const cNamedFileResource*>(other)->m_path;
  if (theirs.IsEmpty()) return true;
  return m_path.View() == theirs.View();
}

void* cNamedFileResource::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

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

bool cNestedIOResource::Assign(const cBaseIoResource& other) {
  if (other.GetKind() != kResourceNestedIO) return false;
  cBaseIO* theirs = static_cast<const cNestedIOResource&>(other).IO();
  if (!theirs) return false;
  m_io.reset(theirs->Clone());
  return true;
}

bool cNestedIOResource::Equals(const cBaseIoResource* other) const {
  if (!other || other->GetKind() != kResourceNestedIO) return false;
  cBaseIO* theirs = static_cast<const cNestedIOResource*>(other)->IO();
  if (!theirs) return true;
  return m_io && theirs->IsSameAs(m_io.get());
}

void* cNestedIOResource::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

}  // namespace larkspur
