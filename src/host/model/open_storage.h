// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Opening what a user names as a storage of the host: a cache to look at, a raw image or a drive to
// read. Nothing is ever opened for writing.

#include <memory>
#include <string>

#include "base/owned.h"
#include "base/result.h"
#include "io/base_io.h"
#include "io/piecewise_io.h"

namespace larkspur::host {

enum class StorageKind {
  kImage,     // a file, sector by sector
  kCache,     // a cache alone, without its source
  kDrive,     // a device
  kReadOnce,  // what a module made
};

struct OpenedStorage {
  Owned<cBaseIO> io;
  StorageKind kind = StorageKind::kImage;
  std::u16string path;                     // in full
  std::shared_ptr<SourceTraffic> traffic;  // of images and drives
  std::u16string notice;                   // what the user should know
};

// What fails says why in a sentence for the user. With `testMapfile` not empty, every sector of an
// image or drive fails that this ddrescue mapfile does not mark as finished.
Result<OpenedStorage, std::u16string> OpenStorage(const std::u16string& path,
                                                  const std::u16string& testMapfile);

}  // namespace larkspur::host
