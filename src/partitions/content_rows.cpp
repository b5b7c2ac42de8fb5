// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/content_rows.h"

#include <bit>

#include "partitions/content_details.h"
#include "partitions/field_text.h"

namespace larkspur {
namespace {

using namespace std::string_view_literals;
using Form = ContentField::Form;

constexpr i64 KiB = 1024;
constexpr i64 MiB = 1024 * 1024;
// Structures at the end are counted from there, in sectors.
constexpr i64 FromEnd(i64 sectors) {
  return -sectors * static_cast<i64>(kSectorBytes);
}

constexpr ContentField Text(u32 offset, u32 bytes) {
  return {offset, bytes, Form::kText};
}
constexpr ContentField Uuid(u32 offset) {
  return {offset, 16, Form::kUuid};
}
constexpr ContentField Serial32(u32 offset) {
  return {offset, 4, Form::kSerial32};
}

constexpr ContentRow OnWholeDisk(ContentRow row) {
  row.where = ContentRow::Where::kWholeDisk;
  return row;
}
constexpr ContentRow OfVmfs(ContentRow row) {
  row.where = ContentRow::Where::kVmfs;
  return row;
}
constexpr ContentRow RoundedDown(u64 multiple, ContentRow row) {
  row.multiple = multiple;
  return row;
}

bool IsPowerOfTwo(u64 value, u64 least, u64 most) {
  return std::has_single_bit(value) && value >= least && value <= most;
}

// The fields that every FAT has. Without them, "FAT16" may stand in any boot record.
bool IsFat(NodeBytes& bytes) {
  const u8 media = bytes.U8(21);
  return IsPowerOfTwo(bytes.Le16(11), 512, 4096) && IsPowerOfTwo(bytes.U8(13), 1, 128) &&
         bytes.Le16(14) != 0 && bytes.U8(16) != 0 && (media == 0xF0 || media >= 0xF8);
}

bool IsExfat(NodeBytes& bytes) {
  const u8 sectorShift = bytes.U8(108);
  return sectorShift >= 9 && sectorShift <= 12 && sectorShift + bytes.U8(109) <= 25 &&
         bytes.Le32(96) >= 2;
}

bool IsNtfs(NodeBytes& bytes) {
  return IsPowerOfTwo(bytes.Le16(11), 256, 4096) && bytes.U8(13) != 0 && bytes.Le16(14) == 0 &&
         bytes.Le64(48) != 0;
}

bool IsExt(NodeBytes& bytes) {
  return bytes.Le32(24) <= 6 && bytes.Le32(32) != 0;
}

bool IsXfs(NodeBytes& bytes) {
  return IsPowerOfTwo(bytes.Be32(4), 512, 65536) && IsPowerOfTwo(bytes.Be16(102), 512, 32768);
}

bool IsBtrfs(NodeBytes& bytes) {
  return bytes.Le64(48) == 64 * KiB;  // where the superblock says that it is
}

bool IsJfs(NodeBytes& bytes) {
  return IsPowerOfTwo(bytes.Le32(16), 512, 65536) && bytes.Le16(20) < 32 &&
         bytes.Le32(16) == u32{1} << bytes.Le16(20);
}

bool IsNilfs(NodeBytes& bytes) {
  return bytes.Le32(0) == 2 && bytes.Le16(8) >= 256 && bytes.Le16(8) <= 1024;
}

bool IsInSectorEight(NodeBytes& bytes) {
  return bytes.Le64(8) == 8;
}

bool IsApfs(NodeBytes& bytes) {
  return (bytes.Le32(24) & 0xFFFF) == 1 && IsPowerOfTwo(bytes.Le32(36), 4096, 65536);
}

bool IsHfs(NodeBytes& bytes) {
  return bytes.Be32(20) != 0 && bytes.Be32(20) % 512 == 0;
}

bool WrapsHfsPlus(NodeBytes& bytes) {
  const auto magic = bytes.Bytes(124, 2);
  return StartsWith(magic, "H+") || StartsWith(magic, "HX");
}

bool IsHfsPlus(NodeBytes& bytes) {
  return IsPowerOfTwo(bytes.Be32(40), 512, u64{1} << 31);
}

// Formats of the file system and of what its nodes share.
bool IsGfs2(NodeBytes& bytes) {
  return bytes.Be32(24) / 100 == 18 && bytes.Be32(28) / 100 == 19;
}

bool IsGfs(NodeBytes& bytes) {
  return bytes.Be32(24) == 1309 && bytes.Be32(28) == 1401;
}

// The magic bytes are two, and stray ones are many: the maps must have room for what they map.
bool MinixMapsFit(u64 inodes, u64 inodeBlocks, u64 zones, u64 zoneBlocks, u64 blockBytes) {
  const u64 bits = blockBytes * 8;
  return inodes != 0 && inodes < inodeBlocks * bits && zones != 0 && zones < zoneBlocks * bits;
}

// Versions 1 and 2. Of all their magic numbers the upper byte is the smaller one.
bool IsMinix(NodeBytes& bytes) {
  const bool isBig = bytes.U8(16) < bytes.U8(17);
  const auto word = [&bytes, isBig](u64 at) { return isBig ? bytes.Be16(at) : bytes.Le16(at); };
  const bool isFirst = word(16) >> 8 == 0x13;
  const u64 zones = isFirst ? word(2) : isBig ? bytes.Be32(20) : bytes.Le32(20);
  const u64 firstZone = word(8);
  constexpr u16 kStates = 3;  // clean, with errors
  return zones > firstZone && word(10) == 0 && word(18) <= kStates &&
         MinixMapsFit(word(0), word(4), zones - firstZone, word(6), KiB);
}

bool IsMinix3(NodeBytes& bytes) {
  const u64 zones = bytes.Le32(20);
  const u64 firstZone = bytes.Le16(10);
  const u64 blockBytes = bytes.Le16(28);
  return zones > firstZone && bytes.Le16(12) == 0 && IsPowerOfTwo(blockBytes, KiB, 32 * KiB) &&
         MinixMapsFit(bytes.Le32(0), bytes.Le16(6), zones - firstZone, bytes.Le16(8), blockBytes);
}

bool IsUfs(NodeBytes& bytes) {
  return IsPowerOfTwo(bytes.Le32(48), 4096, 65536);
}

bool IsBigUfs(NodeBytes& bytes) {
  return IsPowerOfTwo(bytes.Be32(48), 4096, 65536);
}

bool IsBefs(NodeBytes& bytes) {
  return bytes.Le32(68) == 0xDD121031 && bytes.Le32(112) == 0x15B6830E;
}

bool IsPrimaryVolume(NodeBytes& bytes) {
  return bytes.U8(0) == 1;
}

// Somewhere after the first descriptor the one that names the standard. They stand in blocks of
// their own.
bool NamesUdf(NodeBytes& bytes, u64 blockBytes) {
  for (u64 block = 0; block < 16; ++block) {
    const auto name = bytes.Bytes(block * blockBytes + 1, 5);
    if (StartsWith(name, "NSR02") || StartsWith(name, "NSR03")) return true;
    if (!StartsWith(name, "BEA01") && !StartsWith(name, "CD001") && !StartsWith(name, "BOOT2")) {
      return false;
    }
  }
  return false;
}

bool IsUdf(NodeBytes& bytes) {
  return NamesUdf(bytes, 2048) || NamesUdf(bytes, 4096);
}

bool IsSquashfs4(NodeBytes& bytes) {
  return bytes.Le16(28) == 4;
}

bool IsOldSquashfs(NodeBytes& bytes) {
  return bytes.Le16(28) < 4;
}

bool IsLuks1(NodeBytes& bytes) {
  return bytes.Be16(6) == 1;
}

bool IsLuks2(NodeBytes& bytes) {
  return bytes.Be16(6) == 2;
}

bool IsMdFromItsPlace(NodeBytes& bytes) {
  return bytes.Le32(4) == 1 && bytes.Le64(144) << kSectorShift == bytes.Base();
}

bool IsMd0(NodeBytes& bytes) {
  return bytes.Le32(4) == 0 || bytes.Be32(4) == 0;
}

// Three marks must stand in the list of a pool's label.
bool IsZfs(NodeBytes& bytes) {
  const auto list = bytes.Bytes(0, 4096);
  const std::string_view text(reinterpret_cast<const char*>(list.data()), list.size());
  return text.find("pool_guid") != text.npos && text.find("txg") != text.npos;
}

bool HasVmfsVersion(NodeBytes& bytes) {
  return bytes.Le32(4) > 0 && bytes.Le32(4) < 100;
}

bool IsAdaptec(NodeBytes& bytes) {
  return StartsWith(bytes.Bytes(268, 4), "DPTM");
}

constexpr std::string_view kBcacheMagic =
    "\xc6\x85\x73\xf6\x4e\x1a\x45\xca\x82\x65\xf5\x7f\x48\xba\x6d\x81"sv;
constexpr std::string_view kBcachefsMagic =
    "\xc6\x85\x73\xf6\x66\xce\x90\xa9\xd9\x6a\x60\xcf\x80\x3d\xf7\xef"sv;
constexpr std::string_view kMdMagic = "\xfc\x4e\x2b\xa9"sv;
constexpr std::string_view kBigMdMagic = "\xa9\x2b\x4e\xfc"sv;
constexpr std::string_view kBitLockerToGo =
    "\x3b\xd6\x67\x49\x29\x2e\xd8\x4a\x83\x99\xf6\xa3\x39\xe3\xd0\x01"sv;

constexpr ContentField kSwapLabel = Text(1052, 16);
constexpr ContentField kSwapUuid = Uuid(1036);
constexpr ContentField kMdName = Text(32, 32);
constexpr ContentField kMdSet = Uuid(16);
constexpr ContentField kLuksUuid = Text(168, 40);
constexpr ContentField kF2fsLabel{124, 1024, Form::kUtf16Le};
constexpr ContentField kReiserLabel = Text(100, 16);
constexpr ContentField kReiserUuid = Uuid(84);
constexpr ContentField kUfsName = Text(680, 32);
constexpr ContentField kUfsId{144, 8, Form::kTwoWords};
constexpr ContentField kBigUfsId{144, 8, Form::kHex};
constexpr ContentField kGfsTable = Text(160, 64);
constexpr ContentField kOcfs2Label = Text(272, 64);
constexpr ContentField kOcfs2Uuid = Uuid(336);
constexpr ContentField kDrbdId{40, 8, Form::kBe64};
constexpr ContentField kDdfId{8, 24, Form::kHex};
constexpr ContentField kVmfsLabel = Text(29, 128);
constexpr ContentField kVmfsId{9, 16, Form::kVmfs};

// Members come before what they hold, so what is told from the end comes first, and the strict
// before the lax. Rows of one place stand together, so that each sector is looked at once.
constexpr ContentRow kRows[] = {
    // At the end. DRBD's stands where Apple RAID's is looked for.
    {"drbd", FromEnd(8), 60, "\x83\x74\x02\x6B"sv, nullptr, {}, kDrbdId, "v08"},
    {"drbd", FromEnd(8), 60, "\x83\x74\x02\x6C"sv, nullptr, {}, kDrbdId, "v08"},
    {"drbd", FromEnd(8), 60, "\x83\x74\x02\x6D"sv, nullptr, {}, kDrbdId, "v09"},
    // Superblocks of 1.0 and 0.90, whose places hang on the node's length.
    RoundedDown(4 * KiB, {"linux_raid_member", FromEnd(16), 0, kMdMagic, IsMdFromItsPlace, kMdName,
                          kMdSet, "1.0"}),
    RoundedDown(
        64 * KiB,
        {"linux_raid_member", FromEnd(128), 0, kMdMagic, IsMd0, {}, {}, "0.90.0", DescribeMd0}),
    RoundedDown(
        64 * KiB,
        {"linux_raid_member", FromEnd(128), 0, kBigMdMagic, IsMd0, {}, {}, "0.90.0", DescribeMd0}),
    // Of whole disks.
    OnWholeDisk({"ddf_raid_member", FromEnd(1), 0, "\xDE\x11\xDE\x11"sv, nullptr, {}, kDdfId}),
    OnWholeDisk({"ddf_raid_member", FromEnd(1), 0, "\x11\xDE\x11\xDE"sv, nullptr, {}, kDdfId}),
    OnWholeDisk({"lsi_mega_raid_member", FromEnd(1), 0, "$XIDE$"sv}),
    OnWholeDisk({"adaptec_raid_member", FromEnd(1), 0, "\x37\xFC\x4D\x1E"sv, IsAdaptec}),
    OnWholeDisk({"isw_raid_member", FromEnd(2), 0, "Intel Raid ISM Cfg Sig. "sv}),
    OnWholeDisk({"nvidia_raid_member", FromEnd(2), 0, "NVIDIA"sv}),
    OnWholeDisk({"hpt45x_raid_member", FromEnd(11), 0, "\xF3\x16\x78\x5A"sv}),
    OnWholeDisk({"hpt45x_raid_member", FromEnd(11), 0, "\xFD\x16\x78\x5A"sv}),
    OnWholeDisk({"promise_fasttrack_raid_member", FromEnd(63), 0, "Promise Technology, Inc."sv}),
    // At the front.
    {"crypto_LUKS", 0, 0, "LUKS\xBA\xBE"sv, IsLuks1, {}, kLuksUuid, "1"},
    {"crypto_LUKS", 0, 0, "LUKS\xBA\xBE"sv, IsLuks2, Text(24, 48), kLuksUuid, "2"},
    {"Storage_Spaces_member", 0, 0, "SPACEDB "sv, nullptr, {}, {32, 16, Form::kGuid}},
    {"BitLocker", 0, 3, "-FVE-FS-"sv},
    {"BitLocker", 0, 424, kBitLockerToGo},
    {"ReFS", 0, 0, "\0\0\0ReFS\0"sv},
    {"xfs", 0, 0, "XFSB"sv, IsXfs, Text(108, 12), Uuid(32)},
    {"apfs", 0, 32, "NXSB"sv, IsApfs, {}, Uuid(72)},
    {"squashfs", 0, 0, "hsqs"sv, IsSquashfs4, {}, {}, "4.0"},
    {"squashfs3", 0, 0, "hsqs"sv, IsOldSquashfs},
    {"squashfs3", 0, 0, "sqsh"sv},
    {"exfat", 0, 3, "EXFAT   "sv, IsExfat, {}, Serial32(100), "1.0", DescribeExfat},
    {"ntfs", 0, 3, "NTFS    "sv, IsNtfs, {}, {72, 8, Form::kSerial64}, {}, DescribeNtfs},
    {"vfat", 0, 82, "FAT32"sv, IsFat, {}, Serial32(67), "FAT32", DescribeFat},
    {"vfat", 0, 54, "FAT16"sv, IsFat, {}, Serial32(39), "FAT16", DescribeFat},
    {"vfat", 0, 54, "FAT12"sv, IsFat, {}, Serial32(39), "FAT12", DescribeFat},
    {"linux_raid_member", 0, 0, kMdMagic, IsMdFromItsPlace, kMdName, kMdSet, "1.1"},
    {"LVM2_member", 0, 24, "LVM2 001"sv, nullptr, {}, {}, "LVM2 001", DescribeLvm2},
    {"LVM2_member", 512, 24, "LVM2 001"sv, nullptr, {}, {}, "LVM2 001", DescribeLvm2},
    {"LVM2_member", 1024, 24, "LVM2 001"sv, nullptr, {}, {}, "LVM2 001", DescribeLvm2},
    {"LVM2_member", 1536, 24, "LVM2 001"sv, nullptr, {}, {}, "LVM2 001", DescribeLvm2},
    {"befs", 512, 32, "1SFB"sv, IsBefs, Text(0, 32), {}, "little-endian"},
    {"f2fs", KiB, 0, "\x10\x20\xF5\xF2"sv, nullptr, kF2fsLabel, Uuid(108), {}, DescribeF2fs},
    {"erofs", KiB, 0, "\xE2\xE1\xF5\xE0"sv, nullptr, Text(64, 16), Uuid(48)},
    {"nilfs2", KiB, 6, "\x34\x34"sv, IsNilfs, Text(168, 80), Uuid(152), "2"},
    {"ext", KiB, 56, "\x53\xEF"sv, IsExt, Text(120, 16), Uuid(104), {}, DescribeExt},
    {"ocfs2", KiB, 0, "OCFSV2"sv, nullptr, kOcfs2Label, kOcfs2Uuid, {}, DescribeOcfs2},
    {"ocfs2", 2 * KiB, 0, "OCFSV2"sv, nullptr, kOcfs2Label, kOcfs2Uuid, {}, DescribeOcfs2},
    {"ocfs2", 4 * KiB, 0, "OCFSV2"sv, nullptr, kOcfs2Label, kOcfs2Uuid, {}, DescribeOcfs2},
    {"linux_raid_member", 4 * KiB, 0, kMdMagic, IsMdFromItsPlace, kMdName, kMdSet, "1.2"},
    {"bcache", 4 * KiB, 24, kBcacheMagic, IsInSectorEight, {}, Uuid(40)},
    {"bcachefs", 4 * KiB, 24, kBcachefsMagic, nullptr, Text(72, 32), Uuid(56)},
    {"swap", 0, 4096 - 10, "SWAPSPACE2"sv, nullptr, kSwapLabel, kSwapUuid, "1"},
    {"swap", 0, 4096 - 10, "SWAP-SPACE"sv, nullptr, {}, {}, "0"},
    {"swsuspend", 0, 4096 - 10, "S1SUSPEND"sv, nullptr, kSwapLabel, kSwapUuid},
    {"swsuspend", 0, 4096 - 10, "S2SUSPEND"sv, nullptr, kSwapLabel, kSwapUuid},
    {"swsuspend", 0, 4096 - 10, "ULSUSPEND"sv, nullptr, kSwapLabel, kSwapUuid},
    OnWholeDisk({"hpt37x_raid_member", 9 * 512, 32, "\xF0\x16\x78\x5A"sv}),
    OnWholeDisk({"hpt37x_raid_member", 9 * 512, 32, "\xFD\x16\x78\x5A"sv}),
    {"swap", 0, 8192 - 10, "SWAPSPACE2"sv, nullptr, kSwapLabel, kSwapUuid, "1"},
    {"ocfs2", 8 * KiB, 0, "OCFSV2"sv, nullptr, kOcfs2Label, kOcfs2Uuid, {}, DescribeOcfs2},
    {"reiserfs", 8 * KiB, 52, "ReIsErFs"sv, nullptr, {}, {}, "3.5"},
    {"ufs", 8 * KiB, 1372, "\x54\x19\x01\x00"sv, IsUfs, {}, kUfsId, "1"},
    {"ufs", 8 * KiB, 1372, "\x19\x01\x54\x19"sv, IsUfs, kUfsName, kUfsId, "2"},
    {"ufs", 8 * KiB, 1372, "\x00\x01\x19\x54"sv, IsBigUfs, {}, kBigUfsId, "1"},
    {"ufs", 8 * KiB, 1372, "\x19\x54\x01\x19"sv, IsBigUfs, kUfsName, kBigUfsId, "2"},
    // After it.
    {"swap", 0, 16384 - 10, "SWAPSPACE2"sv, nullptr, kSwapLabel, kSwapUuid, "1"},
    {"zfs_member", 16 * KiB, 0, "\1\1\0\0\0\0\0\0\0\0\0\1"sv, IsZfs, {}, {}, {}, DescribeZfs},
    {"zfs_member", 16 * KiB, 0, "\1\0\0\0\0\0\0\0\0\0\0\1"sv, IsZfs, {}, {}, {}, DescribeZfs},
    {"swap", 0, 32768 - 10, "SWAPSPACE2"sv, nullptr, kSwapLabel, kSwapUuid, "1"},
    {"jfs", 32 * KiB, 0, "JFS1"sv, IsJfs, Text(152, 16), Uuid(136)},
    {"udf", 32 * KiB, 1, "BEA01"sv, IsUdf, {}, {}, {}, DescribeUdf},
    {"udf", 32 * KiB, 1, "CD001"sv, IsUdf, {}, {}, {}, DescribeUdf},
    {"iso9660", 32 * KiB, 1, "CD001"sv, IsPrimaryVolume, Text(40, 32), {}, {}, DescribeIso9660},
    // A disc for Macs, too, is known by what every system reads.
    {"hfsplus", KiB, 0, "BD"sv, WrapsHfsPlus, {}, {}, {}, DescribeWrappedHfsPlus},
    {"hfs", KiB, 0, "BD"sv, IsHfs, {}, {}, {}, DescribeHfs},
    {"hfsplus", KiB, 0, "H+"sv, IsHfsPlus, {}, {}, {}, DescribeHfsPlus},
    {"hfsplus", KiB, 0, "HX"sv, IsHfsPlus, {}, {}, {}, DescribeHfsPlus},
    {"swap", 0, 65536 - 10, "SWAPSPACE2"sv, nullptr, kSwapLabel, kSwapUuid, "1"},
    {"btrfs", 64 * KiB, 64, "_BHRfS_M"sv, IsBtrfs, Text(299, 256), Uuid(32)},
    {"gfs2", 64 * KiB, 0, "\x01\x16\x19\x70"sv, IsGfs2, kGfsTable, Uuid(256), "1"},
    {"gfs", 64 * KiB, 0, "\x01\x16\x19\x70"sv, IsGfs, kGfsTable, Uuid(256)},
    {"reiserfs", 64 * KiB, 52, "ReIsErFs"sv, nullptr, {}, {}, "3.5"},
    {"reiserfs", 64 * KiB, 52, "ReIsEr2Fs"sv, nullptr, kReiserLabel, kReiserUuid, "3.6"},
    {"reiserfs", 64 * KiB, 52, "ReIsEr3Fs"sv, nullptr, kReiserLabel, kReiserUuid, "JR"},
    {"ufs", 64 * KiB, 1372, "\x19\x01\x54\x19"sv, IsUfs, kUfsName, kUfsId, "2"},
    {"ufs", 64 * KiB, 1372, "\x19\x54\x01\x19"sv, IsBigUfs, kUfsName, kBigUfsId, "2"},
    // The weakest marks: names of 14 and of 30 characters, in either byte order.
    {"minix", KiB, 16, "\x7F\x13"sv, IsMinix, {}, {}, "1"},
    {"minix", KiB, 16, "\x8F\x13"sv, IsMinix, {}, {}, "1"},
    {"minix", KiB, 16, "\x13\x7F"sv, IsMinix, {}, {}, "1"},
    {"minix", KiB, 16, "\x13\x8F"sv, IsMinix, {}, {}, "1"},
    {"minix", KiB, 16, "\x68\x24"sv, IsMinix, {}, {}, "2"},
    {"minix", KiB, 16, "\x78\x24"sv, IsMinix, {}, {}, "2"},
    {"minix", KiB, 16, "\x24\x68"sv, IsMinix, {}, {}, "2"},
    {"minix", KiB, 16, "\x24\x78"sv, IsMinix, {}, {}, "2"},
    {"minix", KiB, 24, "\x5A\x4D"sv, IsMinix3, {}, {}, "3"},
    // Megabytes inside.
    OfVmfs({"VMFS_volume_member", MiB, 0, "\x0D\xD0\x01\xC0"sv, HasVmfsVersion, {}, Text(532, 35)}),
    OfVmfs({"VMFS", 2 * MiB, 0, "\x5E\xF1\xAB\x2F"sv, HasVmfsVersion, kVmfsLabel, kVmfsId}),
};

}  // namespace

std::span<const ContentRow> ContentRows() {
  return kRows;
}

}  // namespace larkspur
