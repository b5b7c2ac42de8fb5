// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// What becomes of devices that are built on others, and what disks tell of themselves, by trees
// like those in /sys.

#include "platform/posix/block_state.h"

#include <filesystem>
#include <map>

#include <fmt/core.h>
#include <gtest/gtest.h>

#include "fakes/temp_folder.h"
#include "platform/posix/storage_descriptor.h"

namespace larkspur::platform {
namespace {

namespace fs = std::filesystem;

class BlockState : public testing::Test {
 protected:
  // A device "sda" with these files in its folder; without any it has been removed.
  void Make(const std::string& name, const std::map<std::string, std::string>& files) {
    fs::remove_all(m_root / name);
    for (const auto& [file, text] : files) {
      fs::create_directories((m_root / name / file).parent_path());
      const std::string line = text + "\n";
      ASSERT_TRUE(
          fakes::WriteWholeFile((m_root / name / file).u16string(), {line.begin(), line.end()}));
    }
  }
  void Build(const std::string& name, std::initializer_list<const char*> lower) {
    fs::create_directories(m_root / name / "slaves");
    for (const char* each : lower) {
      fs::create_symlink(m_root / each, m_root / name / "slaves" / fs::path(each).filename());
    }
  }
  FailureKind State(const std::string& name, u64 bytes = 0) {
    return StateOfBlock(SysBlock::InFolder(m_root / name), bytes);
  }

  fakes::TempFolder m_folder;
  fs::path m_root = m_folder.Path();
};

constexpr FailureKind kThere = FailureKind::kNone, kAway = FailureKind::kTransport,
                      kGone = FailureKind::kGone;

TEST_F(BlockState, ADiskByItsSizeAndState) {
  const struct {
    const char* size;
    const char* state;
    FailureKind expected;
  } cases[] = {{"4000", "running", kThere},  {"4000", "live", kThere},
               {"4001", "running", kThere},  {"3999", "running", kGone},
               {"0", "running", kGone},      {"", "running", kGone},
               {"4000", "offline", kGone},   {"4000", "transport-offline", kGone},
               {"4000", "dead", kGone},      {"4000", "deleting (no IO)", kGone},
               {"4000", "blocked", kAway},   {"4000", "resetting", kAway},
               {"4000", "connecting", kAway}};
  for (const auto& c : cases) {
    Make("sda", {{"size", c.size}, {"device/state", c.state}});
    EXPECT_EQ(State("sda", 4000 * 512), c.expected) << c.size << " " << c.state;
    Make("sda/sda1", {{"size", "2000"}, {"partition", "1"}});
    const bool isSmallerOnly = std::string(c.size) == "3999";
    EXPECT_EQ(State("sda/sda1"), isSmallerOnly ? kThere : c.expected) << "a partition goes with it";
  }
  EXPECT_EQ(State("sdb"), kGone);
}

TEST_F(BlockState, WhatIsBuiltOnOthers) {
  const struct {
    const char* file;  // that tells what it is
    const char* text;
    int mayBeGone;  // of three
  } cases[] = {{"dm/uuid", "LVM-abc", 0}, {"dm/uuid", "mpath-abc", 2}, {"md/level", "raid0", 0},
               {"md/level", "linear", 0}, {"md/level", "raid1", 2},    {"md/level", "raid4", 1},
               {"md/level", "raid5", 1},  {"md/level", "raid6", 2},    {"md/level", "raid10", 2}};
  for (const auto& c : cases) {
    for (const char* name : {"sda", "sdb", "sdc"}) Make(name, {{"size", "4000"}});
    Make("dm-0", {{"size", "4000"}, {c.file, c.text}});
    Build("dm-0", {"sda", "sdb", "sdc"});
    Make("dm-1", {{"size", "4000"}});
    Build("dm-1", {"dm-0"});
    int gone = 0;
    for (const char* name : {"", "sda", "sdb", "sdc"}) {
      if (*name) {
        Make(name, {});
        ++gone;
      }
      EXPECT_EQ(State("dm-0"), gone > c.mayBeGone ? kGone : kThere) << c.text << " " << gone;
      EXPECT_EQ(State("dm-1"), gone > c.mayBeGone ? kGone : kThere) << c.text << " " << gone;
    }
    Make("sda", {{"size", "4000"}, {"device/state", "resetting"}});
    Make("sdb", {{"size", "4000"}});
    Make("sdc", {{"size", "4000"}});
    EXPECT_EQ(State("dm-1"), kAway) << c.text;
  }
}

TEST_F(BlockState, APartitionBelow) {
  Make("sda", {{"size", "4000"}});
  Make("sda/sda1", {{"size", "2000"}, {"partition", "1"}});
  Make("dm-0", {{"size", "2000"}});
  Build("dm-0", {"sda/sda1"});
  EXPECT_EQ(State("dm-0"), kThere);
  Make("sda", {{"size", "4000"}, {"device/state", "offline"}});
  Make("sda/sda1", {{"size", "2000"}, {"partition", "1"}});
  EXPECT_EQ(State("dm-0"), kGone);
}

TEST_F(BlockState, TheFileOfALoopDevice) {
  const std::string file = m_root / "image";
  Make("loop0", {{"size", "100"}, {"loop/backing_file", file}, {"loop/offset", "512"}});
  const auto stateWith = [&](u64 bytes) {
    EXPECT_TRUE(fakes::WriteWholeFile(m_folder.File(u"image"), std::vector<u8>(bytes)));
    return State("loop0");
  };
  EXPECT_EQ(stateWith(101 * 512), kThere);
  EXPECT_EQ(stateWith(101 * 512 - 1), kGone);
  fs::remove(file);
  EXPECT_EQ(State("loop0"), kThere) << "a path of elsewhere tells nothing";
  Make("loop0", {{"size", "100"}, {"loop/backing_file", file + " (deleted)"}});
  EXPECT_EQ(State("loop0"), kGone);
}

using DiskFacts = BlockState;

TEST_F(DiskFacts, ComeFromWhereEachBusKeepsThem) {
  const struct {
    const char* folder;
    std::map<std::string, std::string> files;
    const char* facts;
  } cases[] = {
      {"ata1/sda",
       {{"removable", "0"},
        {"device/vendor", "ATA"},
        {"device/model", "WD10"},
        {"device/rev", "1A01"},
        {"device/vpd_pg80", "head  WD-7 "},
        {"device/serial", "other"}},
       "0 |ATA|WD10|1A01|WD-7| 11"},
      {"usb1/1-1/sdb",
       {{"removable", "1"},
        {"device/vendor", "Kingston"},
        {"device/model", "Stick"},
        {"device/vpd_pg80", "head"},
        {"../idVendor", "0951"},
        {"../idProduct", "1666"},
        {"../serial", " \tE0D5 "}},
       "1 |Kingston|Stick||E0D5|USB\\VID_0951&PID_1666 7"},
      {"nvme0/nvme0n1",
       {{"device/vendor", "0x144d"},
        {"device/model", "970"},
        {"device/firmware_rev", "2B"},
        {"device/serial", "  "},
        {"serial", "not this"}},
       "0 ||970|2B|| 17"},
      {"mmc_host/mmcblk0",
       {{"device/type", "SD"}, {"device/name", "SL16G"}, {"device/vendor", "7"}, {"serial", "9"}},
       "0 |7|SL16G||9| 12"},
      {"mmc_host/mmcblk1", {{"device/type", "MMC"}, {"device/vendor", "7"}}, "0 ||||| 13"},
  };
  for (const auto& c : cases) {
    Make(c.folder, c.files);
    const SysBlock block = SysBlock::InFolder(m_root / c.folder);
    const DescriptorFacts facts = FactsOf(block);
    EXPECT_EQ(fmt::format("{} |{}|{}|{}|{}|{} {}", facts.isRemovable ? 1 : 0, facts.vendor,
                          facts.product, facts.revision, facts.serial, UsbIdOf(block), facts.bus),
              c.facts);
  }
}

// Nothing follows a circle for ever.
TEST_F(BlockState, ACircle) {
  Make("dm-0", {{"size", "1"}});
  Make("dm-1", {{"size", "1"}});
  Build("dm-0", {"dm-1"});
  Build("dm-1", {"dm-0"});
  EXPECT_EQ(State("dm-0"), kThere);
}

}  // namespace
}  // namespace larkspur::platform
