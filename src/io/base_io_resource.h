// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A resource names the target that an I/O object is opened on. Each I/O class takes one kind; an
// open object keeps a copy of its resource to clone itself and to compare its target.

#include "base/types.h"

namespace larkspur {

enum ResourceKind : u32 {
  kResourceNone = 0,
  kResourceNamedFile = 2,
  kResourceNumberedDevice = 3,
  kResourceNestedIO = 4,
};

class cBaseIoResource {
 public:
  virtual u32 GetKind() const { return kResourceNone; }  // slot 0
  // Becomes a copy of a resource of the same kind; false otherwise.
  virtual bool Assign(const cBaseIoResource& /*other*/) { return false; }  // slot 1
  // Whether both name the same target. A filled resource equals an empty one of its kind, but not
  // the reverse: `other` without a target is taken as "any".
  virtual bool Equals(const cBaseIoResource* other) const = 0;  // slot 2
  virtual void* Destroy(u32 flags) = 0;                         // slot 3

 protected:
  ~cBaseIoResource() = default;
};

}  // namespace larkspur
