// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/header_child.h"

namespace larkspur {

void cHeaderChild::ShowSorted(u32 column, bool descending) {
  for (u32 i = 0; i < Count(); ++i) {
    HDITEMW item{};
    item.mask = HDI_FORMAT;
    Send(HDM_GETITEMW, i, reinterpret_cast<LPARAM>(&item));
    item.fmt &= ~(HDF_SORTUP | HDF_SORTDOWN);
    if (i == column) item.fmt |= descending ? HDF_SORTDOWN : HDF_SORTUP;
    Send(HDM_SETITEMW, i, reinterpret_cast<LPARAM>(&item));
  }
}

}  // namespace larkspur
