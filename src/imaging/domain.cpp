// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/domain.h"

#include <sstream>

#include "imaging/text_file.h"
#include "platform/system_error.h"

namespace larkspur {

MapfileDomain ReadDomain(const std::u16string& mapfile) {
  MapfileDomain domain;
  platform::SetLastFailure(0);
  const auto text = ReadWholeFile(mapfile, kMaxMapfileBytes);
  domain.systemError = platform::LastFailure();
  if (!text) return domain;
  std::istringstream in(*text);
  std::vector<MapfileBlock> blocks;
  if (!ParseMapfile(in, &blocks, &domain.fault)) {
    domain.answer = DomainAnswer::kWrong;
    return domain;
  }
  for (const MapfileBlock& block : blocks) {
    if (block.status != '+' || block.size == 0) continue;
    const u64 first = block.position / kSectorBytes;
    domain.extents.Add({first, (block.position + block.size - 1) / kSectorBytes + 1 - first});
  }
  domain.answer = DomainAnswer::kRead;
  return domain;
}

}  // namespace larkspur
