// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/page_cache.h"

#include <fcntl.h>

#include "platform/owned_file.h"

namespace larkspur::platform {

void DropCachedPages(const char16_t* path) {
  const OwnedFile file(OpenExistingFile(path, kOpenRead));
  if (file.IsOpen()) posix_fadvise(static_cast<int>(file.Handle()), 0, 0, POSIX_FADV_DONTNEED);
}

}  // namespace larkspur::platform
