// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/text_file.h"

#include <algorithm>

#include "platform/owned_file.h"

namespace larkspur {
namespace {

constexpr size_t kTransferBytes = 1 << 20;

}  // namespace

std::optional<std::string> ReadWholeFile(const std::u16string& path, u64 limitBytes) {
  const platform::OwnedFile file(platform::OpenExistingFile(path.c_str(), platform::kOpenRead));
  if (!file.IsOpen()) return std::nullopt;
  const u64 size = platform::FileSize(file.Handle());
  if (size > limitBytes) return std::nullopt;
  std::string bytes(static_cast<size_t>(size), '\0');
  size_t done = 0;
  while (done < bytes.size()) {
    const u32 wanted = static_cast<u32>(std::min(bytes.size() - done, kTransferBytes));
    const u32 got = platform::ReadFileAt(file.Handle(), bytes.data() + done, wanted, done);
    if (got == 0) return std::nullopt;
    done += got;
  }
  return bytes;
}

}  // namespace larkspur
