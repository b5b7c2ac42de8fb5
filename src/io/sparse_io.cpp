// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/sparse_io.h"

namespace larkspur {

bool cSparseIO::AttachParent(cBaseIO* io, bool takeCopy) {
  if (io && io == m_parent.get()) return true;
  m_parent.reset();
  if (!io) return true;
  m_parent.reset(takeCopy ? io->Clone() : io);
  return m_parent != nullptr;
}

}  // namespace larkspur
