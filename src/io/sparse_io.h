// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The base of storages that keep only what was written to them. Where they hold nothing, they may
// read through to a parent storage.

#include "base/owned.h"
#include "io/base_io.h"

namespace larkspur {

class cSparseIO : public cBaseIO {
 public:
  bool IsSparse() override { return true; }

  // Attaches `io` as the parent, replacing and destroying an earlier one: a clone of it, or with
  // takeCopy false the object itself, then owned. Null detaches. False when cloning failed; the
  // earlier parent is gone then, too.
  virtual bool AttachParent(cBaseIO* io, bool takeCopy);  // slot 25

 protected:
  cSparseIO() = default;
  ~cSparseIO() = default;

  Owned<cBaseIO> m_parent;
};

}  // namespace larkspur
