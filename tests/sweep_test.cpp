// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// The fuzzers' seeds, changed in every byte and cut everywhere: nothing breaks, and what comes of
// them stays what it is, told by a number for all of it. A change that is meant to change it brings
// new numbers; LARKSPUR_SWEEP=FOLDER writes down what comes of each input, to be compared with what
// came before the change.

#include <algorithm>
#include <cstdlib>
#include <fstream>

#include <fmt/core.h>
#include <gtest/gtest.h>

#include "base/endian.h"
#include "fakes/listed_sectors.h"
#include "fakes/temp_folder.h"
#include "fuzz/targets.h"

namespace larkspur {
namespace {

constexpr size_t kUsualText = 6000, kLargestText = 500000;

class SweptTexts {
 public:
  explicit SweptTexts(const std::string& name) {
    if (const char* folder = std::getenv("LARKSPUR_SWEEP")) {
      m_file.open(std::string(folder) + "/" + name);
    }
  }
  void Add(const std::string& text) {
    EXPECT_LT(text.size(), kLargestText);
    for (const char byte : text) m_hash = (m_hash ^ static_cast<u8>(byte)) * 0x100000001B3;
    m_hash = (m_hash ^ 0xFF) * 0x100000001B3;
    if (m_file.is_open()) m_file << text << "----\n";
  }
  u64 Hash() const { return m_hash; }

 private:
  u64 m_hash = 0xCBF29CE484222325;  // FNV-1a
  std::ofstream m_file;
};

void SweepBytes(fuzz::Target* run, const std::vector<u8>& whole, SweptTexts* texts) {
  std::vector<u8> bytes = whole;
  for (size_t at = 0; at < bytes.size(); ++at) {
    if (bytes[at] == 0 && at % 16 != 0) continue;
    for (const u8 mask : {u8{0x01}, u8{0x80}, u8{0xFF}}) {
      if (LARKSPUR_SANITIZED && mask != 0xFF) continue;  // the fuzzers try more
      bytes[at] = static_cast<u8>(whole[at] ^ mask);
      texts->Add(run(bytes));
    }
    bytes[at] = whole[at];
  }
}

// A disk with listed sectors ends before and after each of these.
void SweepDiskEnds(fuzz::Target* run, const std::vector<u8>& whole, SweptTexts* texts) {
  constexpr size_t kItem = 2 + kSectorBytes, kHeader = fakes::cListedSectors::kHeaderBytes;
  std::vector<u8> bytes = whole;
  for (size_t at = kHeader; at + kItem <= bytes.size(); at += kItem) {
    for (u64 count : {u64{LoadLe16(&whole[at])}, u64{LoadLe16(&whole[at])} + 1}) {
      for (size_t i = 1; i < 4; ++i, count >>= 8) bytes[i] = static_cast<u8>(count);
      texts->Add(run(bytes));
    }
  }
}

void SweepCuts(fuzz::Target* run, const std::vector<u8>& whole, SweptTexts* texts) {
  const size_t step = 1 + whole.size() / 512;
  for (size_t size = 0; size < whole.size(); size += step) {
    texts->Add(run(std::span(whole).first(size)));
  }
}

struct Sweep {
  const char* name;  // of the folder in fuzz/seeds
  fuzz::Target* run;
  u64 hash;
};

class SweepTest : public testing::TestWithParam<Sweep> {};

TEST_P(SweepTest, NothingBreaksAndAllStaysAsItIs) {
  const auto [name, run, hash] = GetParam();
  const bool isDisk = run == fuzz::RunPartitionTree;
  std::vector<std::filesystem::path> seeds;
  for (const auto& seed :
       std::filesystem::directory_iterator(std::string(LARKSPUR_SEEDS "/") + name)) {
    seeds.push_back(seed.path());
  }
  std::sort(seeds.begin(), seeds.end());
  SweptTexts texts(name);
  for (const auto& seed : seeds) {
    SCOPED_TRACE(seed.filename().string());
    const std::vector<u8> whole = fakes::ReadWholeFile(seed.u16string());
    if (run(whole).size() > kUsualText) continue;
    texts.Add(run(whole));
    SweepBytes(run, whole, &texts);
    isDisk ? SweepDiskEnds(run, whole, &texts) : SweepCuts(run, whole, &texts);
  }
  EXPECT_TRUE(LARKSPUR_SANITIZED || texts.Hash() == hash) << fmt::format("0x{:016X}", texts.Hash());
}

INSTANTIATE_TEST_SUITE_P(
    Seeds, SweepTest,
    testing::Values(Sweep{"device", fuzz::RunDevice, 0x0651FEDA6AE77994},
                    Sweep{"ldm", fuzz::RunLdm, 0xCD626DC91B690952},
                    Sweep{"lvm2_text", fuzz::RunLvm2Text, 0xA79FDDEF05E4C2EA},
                    Sweep{"mapfile", fuzz::RunMapfile, 0xEBC90C9349A669A1},
                    Sweep{"pack", fuzz::RunPack, 0x16BE4BCB6C6EFC84},
                    Sweep{"partition_tree", fuzz::RunPartitionTree, 0x6A898780E522EE26},
                    Sweep{"property_list", fuzz::RunPropertyList, 0xEECE5FCD0D920D53},
                    Sweep{"rescue_log", fuzz::RunRescueLog, 0x2E479F66E56FBA30},
                    Sweep{"sparse_image", fuzz::RunSparseImage, 0xBF2CCDDF66DE33E3},
                    Sweep{"text", fuzz::RunText, 0xF4111A1330FD443A},
                    Sweep{"walk_line", fuzz::RunWalkLine, 0xB0D1B3F18B7973B6}),
    [](const auto& tested) { return std::string(tested.param.name); });

}  // namespace
}  // namespace larkspur
