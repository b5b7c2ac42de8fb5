// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/nested_io_resource.h"

namespace larkspur {

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
