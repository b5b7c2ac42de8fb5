// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/named_file_resource.h"

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

}  // namespace larkspur
