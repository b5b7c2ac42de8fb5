// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Hostile bytes as a cache file that is verified and repaired: nothing that it held is lost by
// that, what cannot be repaired is not touched, and what was repaired is found whole.

#include <algorithm>

#include "fakes/images.h"
#include "fakes/temp_folder.h"
#include "fuzz/targets.h"
#include "imaging/check.h"

namespace larkspur::fuzz {
namespace {

constexpr u64 kMostSectors = 2000;

// What is present or unreadable among the first sectors, with its data.
std::string HeldBy(const std::vector<u8>& bytes) {
  const auto image = fakes::OpenImage(fakes::StoreOf(bytes), true);
  if (!image) return {};
  const u64 sectors = std::min(image->GetSectorCount(), kMostSectors);
  const std::string statuses = fakes::Statuses(image.get(), 0, sectors);
  std::string held;
  u8 sector[kSectorBytes];
  for (u64 i = 0; i < sectors; ++i) {
    image->SetPosition(i);
    const bool isData = statuses[i] == 'p' && image->Read(sector, 1) == 1;
    if (statuses[i] == 'u') held += std::to_string(i) + "u";
    if (isData) held.append(std::to_string(i)).append(sector, sector + kSectorBytes);
  }
  return held;
}

}  // namespace

std::string RunCheckRepair(std::span<const u8> input) {
  static const fakes::TempFolder folder;
  static const std::u16string path = folder.File(u"disk.kvrsp");
  const std::vector<u8> before(input.begin(), input.end());
  Require(fakes::WriteWholeFile(path, before));
  const auto opened = CheckCache(path, false);
  Require(opened && fakes::ReadWholeFile(path) == before);
  const CheckResult& found = *opened;
  const CheckResult repaired = *CheckCache(path, true);
  const std::vector<u8> after = fakes::ReadWholeFile(path);
  Require(repaired.problemCount == found.problemCount);
  if (found.repairableCount == 0) {
    Require(after == before && repaired.repairedCount == 0);
    return {};
  }
  Require(HeldBy(after) == HeldBy(before));
  if (repaired.repairedCount == repaired.problemCount) {
    Require(CheckCache(path, false)->problemCount == 0);
  }
  return {};
}

}  // namespace larkspur::fuzz
