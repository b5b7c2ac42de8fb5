// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/content.h"

#include <algorithm>
#include <bit>

#include "base/printable.h"
#include "partitions/content_details.h"
#include "partitions/disk_text.h"
#include "partitions/field_text.h"
#include "partitions/type_names.h"

namespace larkspur {
namespace {

using namespace std::string_view_literals;

constexpr i64 KiB = 1024;
constexpr i64 MiB = 1024 * 1024;
// Structures at the end are counted from there, in sectors.
constexpr i64 FromEnd(i64 sectors) {
  return -sectors * static_cast<i64>(kSectorBytes);
}

enum class Form : u8 {
  kNone,
  kText,  // UTF-8 or ASCII
  kUtf16Le,
  kUuid,  // 16 bytes in their order
  kGuid,  // 16 bytes, three groups of them little-endian
  kHex,
  kSerial32,  // as DOS shows it: 0123-4567
  kSerial64,  // little-endian
  kBe64,
  kTwoWords,  // two u32, little-endian
};

struct Field {
  u32 offset = 0;  // from the structure
  u32 bytes = 0;
  Form form = Form::kNone;
};

using Guard = bool (*)(NodeBytes& bytes);

// Where a format is looked for: some are known only on whole disks, and some lie so far inside that
// only what is said to hold them is asked.
enum class Where : u8 { kAnywhere, kWholeDisk, kVmfs };

struct Row {
  std::string_view name;
  i64 place;  // of the structure, in bytes; below 0 from the end
  u32 magicAt;
  std::string_view magic;
  Guard guard = nullptr;
  Field label = {};
  Field uuid = {};
  std::string_view version = {};
  void (*describe)(NodeBytes& bytes, ContentNote* note) = nullptr;
  Where where = Where::kAnywhere;
};

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
  return IsPowerOfTwo(bytes.Be32(20) & ~u32{511}, 512, u64{1} << 31) ||
         (bytes.Be32(20) != 0 && bytes.Be32(20) % 512 == 0);
}

bool WrapsHfsPlus(NodeBytes& bytes) {
  return bytes.Be16(124) == 0x482B;  // "H+"
}

bool IsHfsPlus(NodeBytes& bytes) {
  return IsPowerOfTwo(bytes.Be32(40), 512, u64{1} << 31);
}

bool IsUfs(NodeBytes& bytes) {
  return bytes.Le32(48) != 0 && IsPowerOfTwo(bytes.Le32(48), 4096, 65536);
}

bool IsPrimaryVolume(NodeBytes& bytes) {
  return bytes.U8(0) == 1;
}

// Somewhere after the first descriptor the one that names the standard.
bool IsUdf(NodeBytes& bytes) {
  for (u64 at = 0; at < u64{16} * 2048; at += 2048) {
    const auto name = bytes.Bytes(at + 1, 5);
    if (StartsWith(name, "NSR02") || StartsWith(name, "NSR03")) return true;
    if (!StartsWith(name, "BEA01") && !StartsWith(name, "CD001") && !StartsWith(name, "BOOT2")) {
      return false;
    }
  }
  return false;
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

constexpr Field kSwapLabel{1052, 16, Form::kText};
constexpr Field kSwapUuid{1036, 16, Form::kUuid};
constexpr Field kMdName{32, 32, Form::kText};
constexpr Field kMdSet{16, 16, Form::kUuid};
constexpr Field kLuksUuid{168, 40, Form::kText};
constexpr Field kUfsName{680, 32, Form::kText};
constexpr Field kUfsId{144, 8, Form::kTwoWords};
constexpr Field kDrbdId{40, 8, Form::kBe64};

// The first row that fits counts. Members come before what they hold, and the strict before the
// lax. Rows of one place stand together, so that each sector is looked at once.
constexpr Row kRows[] = {
    // At the front.
    {"crypto_LUKS", 0, 0, "LUKS\xBA\xBE"sv, IsLuks1, {}, kLuksUuid, "1"},
    {"crypto_LUKS", 0, 0, "LUKS\xBA\xBE"sv, IsLuks2, {24, 48, Form::kText}, kLuksUuid, "2"},
    {"Storage_Spaces_member", 0, 0, "SPACEDB "sv, nullptr, {}, {32, 16, Form::kGuid}},
    {"BitLocker", 0, 3, "-FVE-FS-"sv},
    {"BitLocker", 0, 424, kBitLockerToGo},
    {"ReFS", 0, 0, "\0\0\0ReFS\0"sv},
    {"xfs", 0, 0, "XFSB"sv, IsXfs, {108, 12, Form::kText}, {32, 16, Form::kUuid}},
    {"apfs", 0, 32, "NXSB"sv, IsApfs, {}, {72, 16, Form::kUuid}},
    {"squashfs", 0, 0, "hsqs"sv, IsSquashfs4, {}, {}, "4.0"},
    {"squashfs3", 0, 0, "hsqs"sv, IsOldSquashfs},
    {"squashfs3", 0, 0, "sqsh"sv},
    {"exfat", 0, 3, "EXFAT   "sv, IsExfat, {}, {100, 4, Form::kSerial32}, "1.0", DescribeExfat},
    {"ntfs", 0, 3, "NTFS    "sv, IsNtfs, {}, {72, 8, Form::kSerial64}, {}, DescribeNtfs},
    {"vfat", 0, 82, "FAT32"sv, IsFat, {}, {67, 4, Form::kSerial32}, "FAT32", DescribeFat},
    {"vfat", 0, 54, "FAT16"sv, IsFat, {}, {39, 4, Form::kSerial32}, "FAT16", DescribeFat},
    {"vfat", 0, 54, "FAT12"sv, IsFat, {}, {39, 4, Form::kSerial32}, "FAT12", DescribeFat},
    {"linux_raid_member", 0, 0, kMdMagic, IsMdFromItsPlace, kMdName, kMdSet, "1.1"},
    {"LVM2_member", 0, 24, "LVM2 001"sv, nullptr, {}, {}, "LVM2 001", DescribeLvm2},
    {"LVM2_member", 512, 24, "LVM2 001"sv, nullptr, {}, {}, "LVM2 001", DescribeLvm2},
    {"LVM2_member", 1024, 24, "LVM2 001"sv, nullptr, {}, {}, "LVM2 001", DescribeLvm2},
    {"LVM2_member", 1536, 24, "LVM2 001"sv, nullptr, {}, {}, "LVM2 001", DescribeLvm2},
    {"f2fs",
     KiB,
     0,
     "\x10\x20\xF5\xF2"sv,
     nullptr,
     {124, 1024, Form::kUtf16Le},
     {108, 16, Form::kUuid},
     {},
     DescribeF2fs},
    {"erofs", KiB, 0, "\xE2\xE1\xF5\xE0"sv, nullptr, {64, 16, Form::kText}, {48, 16, Form::kUuid}},
    {"nilfs2", KiB, 6, "\x34\x34"sv, IsNilfs, {168, 80, Form::kText}, {152, 16, Form::kUuid}, "2"},
    {"hfsplus", KiB, 0, "BD"sv, WrapsHfsPlus},
    {"hfs", KiB, 0, "BD"sv, IsHfs, {}, {}, {}, DescribeHfs},
    {"hfsplus", KiB, 0, "H+"sv, IsHfsPlus, {}, {}, {}, DescribeHfsPlus},
    {"hfsplus", KiB, 0, "HX"sv, IsHfsPlus, {}, {}, {}, DescribeHfsPlus},
    {"ext",
     KiB,
     56,
     "\x53\xEF"sv,
     IsExt,
     {120, 16, Form::kText},
     {104, 16, Form::kUuid},
     {},
     DescribeExt},
    {"linux_raid_member", 4 * KiB, 0, kMdMagic, IsMdFromItsPlace, kMdName, kMdSet, "1.2"},
    {"bcache", 4 * KiB, 24, kBcacheMagic, IsInSectorEight, {}, {40, 16, Form::kUuid}},
    {"bcachefs",
     4 * KiB,
     24,
     kBcachefsMagic,
     nullptr,
     {72, 32, Form::kText},
     {56, 16, Form::kUuid}},
    {"swap", 0, 4096 - 10, "SWAPSPACE2"sv, nullptr, kSwapLabel, kSwapUuid, "1"},
    {"swap", 0, 4096 - 10, "SWAP-SPACE"sv, nullptr, {}, {}, "0"},
    {"swsuspend", 0, 4096 - 10, "S1SUSPEND"sv, nullptr, kSwapLabel, kSwapUuid},
    {"swsuspend", 0, 4096 - 10, "S2SUSPEND"sv, nullptr, kSwapLabel, kSwapUuid},
    {"swsuspend", 0, 4096 - 10, "ULSUSPEND"sv, nullptr, kSwapLabel, kSwapUuid},
    {"hpt37x_raid_member",
     9 * 512,
     32,
     "\xF0\x16\x78\x5A"sv,
     nullptr,
     {},
     {},
     {},
     nullptr,
     Where::kWholeDisk},
    {"hpt37x_raid_member",
     9 * 512,
     32,
     "\xFD\x16\x78\x5A"sv,
     nullptr,
     {},
     {},
     {},
     nullptr,
     Where::kWholeDisk},
    {"swap", 0, 8192 - 10, "SWAPSPACE2"sv, nullptr, kSwapLabel, kSwapUuid, "1"},
    {"reiserfs", 8 * KiB, 52, "ReIsErFs"sv, nullptr, {}, {}, "3.5"},
    {"ufs", 8 * KiB, 1372, "\x54\x19\x01\x00"sv, IsUfs, {}, kUfsId, "1"},
    // After it.
    {"swap", 0, 16384 - 10, "SWAPSPACE2"sv, nullptr, kSwapLabel, kSwapUuid, "1"},
    {"zfs_member", 16 * KiB, 0, "\1\1\0\0\0\0\0\0\0\0\0\1"sv, IsZfs, {}, {}, {}, DescribeZfs},
    {"zfs_member", 16 * KiB, 0, "\1\0\0\0\0\0\0\0\0\0\0\1"sv, IsZfs, {}, {}, {}, DescribeZfs},
    {"swap", 0, 32768 - 10, "SWAPSPACE2"sv, nullptr, kSwapLabel, kSwapUuid, "1"},
    {"jfs", 32 * KiB, 0, "JFS1"sv, IsJfs, {152, 16, Form::kText}, {136, 16, Form::kUuid}},
    {"udf", 32 * KiB, 1, "BEA01"sv, IsUdf, {}, {}, {}, DescribeUdf},
    {"udf", 32 * KiB, 1, "CD001"sv, IsUdf, {}, {}, {}, DescribeUdf},
    {"iso9660",
     32 * KiB,
     1,
     "CD001"sv,
     IsPrimaryVolume,
     {40, 32, Form::kText},
     {},
     {},
     DescribeIso9660},
    {"swap", 0, 65536 - 10, "SWAPSPACE2"sv, nullptr, kSwapLabel, kSwapUuid, "1"},
    {"btrfs", 64 * KiB, 64, "_BHRfS_M"sv, IsBtrfs, {299, 256, Form::kText}, {32, 16, Form::kUuid}},
    {"reiserfs", 64 * KiB, 52, "ReIsErFs"sv, nullptr, {}, {}, "3.5"},
    {"reiserfs",
     64 * KiB,
     52,
     "ReIsEr2Fs"sv,
     nullptr,
     {100, 16, Form::kText},
     {84, 16, Form::kUuid},
     "3.6"},
    {"reiserfs",
     64 * KiB,
     52,
     "ReIsEr3Fs"sv,
     nullptr,
     {100, 16, Form::kText},
     {84, 16, Form::kUuid},
     "JR"},
    {"ufs", 64 * KiB, 1372, "\x19\x01\x54\x19"sv, IsUfs, kUfsName, kUfsId, "2"},
    // At the end. DRBD's stands where Apple RAID's is looked for.
    {"drbd", FromEnd(8), 60, "\x83\x74\x02\x6B"sv, nullptr, {}, kDrbdId, "v08"},
    {"drbd", FromEnd(8), 60, "\x83\x74\x02\x6C"sv, nullptr, {}, kDrbdId, "v08"},
    {"drbd", FromEnd(8), 60, "\x83\x74\x02\x6D"sv, nullptr, {}, kDrbdId, "v09"},
    // Of whole disks.
    {"ddf_raid_member",
     FromEnd(1),
     0,
     "\xDE\x11\xDE\x11"sv,
     nullptr,
     {},
     {8, 24, Form::kHex},
     {},
     nullptr,
     Where::kWholeDisk},
    {"ddf_raid_member",
     FromEnd(1),
     0,
     "\x11\xDE\x11\xDE"sv,
     nullptr,
     {},
     {8, 24, Form::kHex},
     {},
     nullptr,
     Where::kWholeDisk},
    {"lsi_mega_raid_member",
     FromEnd(1),
     0,
     "$XIDE$"sv,
     nullptr,
     {},
     {},
     {},
     nullptr,
     Where::kWholeDisk},
    {"adaptec_raid_member",
     FromEnd(1),
     0,
     "\x37\xFC\x4D\x1E"sv,
     IsAdaptec,
     {},
     {},
     {},
     nullptr,
     Where::kWholeDisk},
    {"isw_raid_member",
     FromEnd(2),
     0,
     "Intel Raid ISM Cfg Sig. "sv,
     nullptr,
     {},
     {},
     {},
     nullptr,
     Where::kWholeDisk},
    {"nvidia_raid_member",
     FromEnd(2),
     0,
     "NVIDIA"sv,
     nullptr,
     {},
     {},
     {},
     nullptr,
     Where::kWholeDisk},
    {"hpt45x_raid_member",
     FromEnd(11),
     0,
     "\xF3\x16\x78\x5A"sv,
     nullptr,
     {},
     {},
     {},
     nullptr,
     Where::kWholeDisk},
    {"hpt45x_raid_member",
     FromEnd(11),
     0,
     "\xFD\x16\x78\x5A"sv,
     nullptr,
     {},
     {},
     {},
     nullptr,
     Where::kWholeDisk},
    {"promise_fasttrack_raid_member",
     FromEnd(63),
     0,
     "Promise Technology, Inc."sv,
     nullptr,
     {},
     {},
     {},
     nullptr,
     Where::kWholeDisk},
    {"VMFS_volume_member",
     MiB,
     0,
     "\x0D\xD0\x01\xC0"sv,
     HasVmfsVersion,
     {},
     {532, 35, Form::kText},
     {},
     nullptr,
     Where::kVmfs},
    {"VMFS",
     2 * MiB,
     0,
     "\x5E\xF1\xAB\x2F"sv,
     HasVmfsVersion,
     {29, 128, Form::kText},
     {9, 16, Form::kHex},
     {},
     nullptr,
     Where::kVmfs},
};

std::string Serial(std::span<const u8> field, size_t dashAt) {
  std::string text;
  for (size_t i = field.size(); i > 0; --i) text += HexText(field.subspan(i - 1, 1));
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'a' ? static_cast<char>(c - 'a' + 'A') : c; });
  if (dashAt > 0 && text.size() > dashAt) text.insert(dashAt, 1, '-');
  return text;
}

// Without the zeros before it.
std::string Number(std::string text) {
  return text.substr(std::min(text.find_first_not_of('0'), text.size() - 1));
}

std::string TextOf(NodeBytes& bytes, const Field& field) {
  const auto found = bytes.Bytes(field.offset, field.bytes);
  if (found.empty()) return {};
  switch (field.form) {
    case Form::kText:
      return FieldUtf8(found);
    case Form::kUtf16Le:
      return FieldUtf16(found, false);
    case Form::kUuid:
      return FieldUuid(found);
    case Form::kGuid:
      return FieldGuid(found);
    case Form::kHex:
      return HexText(found);
    case Form::kSerial32:
      return Serial(found, 4);
    case Form::kSerial64:
      return Serial(found, 0);
    case Form::kBe64:
      return Number(HexText(found));
    case Form::kTwoWords: {
      const std::string first = Serial(found.first(4), 0) + Serial(found.last(4), 0);
      std::string lower = first;
      std::transform(lower.begin(), lower.end(), lower.begin(),
                     [](char c) { return c >= 'A' ? static_cast<char>(c - 'A' + 'a') : c; });
      return lower;
    }
    case Form::kNone:
      break;
  }
  return {};
}

// Where a row's structure lies, in bytes from the node's start.
std::optional<u64> PlaceOf(const Row& row, u64 size) {
  if (row.place >= 0) return static_cast<u64>(row.place);
  // What counts from the end counts in pieces of its own size.
  const u64 back = static_cast<u64>(-row.place);
  return size >= back ? std::optional<u64>(size - back) : std::nullopt;
}

bool IsInFront(const Row& row) {
  constexpr i64 kFrontBytes = 16 * static_cast<i64>(kSectorBytes);
  return row.place >= 0 &&
         row.place + static_cast<i64>(row.magicAt + row.magic.size()) <= kFrontBytes;
}

bool Fits(const Row& row, NodeBytes& bytes) {
  const auto place = PlaceOf(row, bytes.Size());
  if (!place) return false;
  bytes.Reset(*place);
  const auto found = bytes.Bytes(row.magicAt, row.magic.size());
  if (!StartsWith(found, row.magic)) return false;
  return !row.guard || (row.guard(bytes) && !bytes.Failed());
}

ContentNote Describe(const Row& row, NodeBytes& bytes) {
  ContentNote note{row.name, {}, {}, std::string(row.version)};
  const u64 base = bytes.Base();
  if (row.label.form != Form::kNone) note.label = TextOf(bytes, row.label);
  bytes.Reset(base);
  if (row.uuid.form != Form::kNone) note.uuid = TextOf(bytes, row.uuid);
  bytes.Reset(base);
  if (row.describe) row.describe(bytes, &note);
  return note;
}

// A superblock of version 1.0 or 0.90, whose places hang on the node's length.
std::optional<ContentNote> FindMdAtEnd(NodeBytes& bytes) {
  const u64 sectors = bytes.Size() >> kSectorShift;
  if (sectors >= 16) {
    const Row row{"linux_raid_member",
                  static_cast<i64>(((sectors - 16) & ~u64{7}) << kSectorShift),
                  0,
                  kMdMagic,
                  IsMdFromItsPlace,
                  kMdName,
                  kMdSet,
                  "1.0"};
    if (Fits(row, bytes)) return Describe(row, bytes);
  }
  if (sectors < 128) return std::nullopt;
  for (const std::string_view magic : {kMdMagic, kBigMdMagic}) {
    const Row row{"linux_raid_member",
                  static_cast<i64>(((sectors & ~u64{127}) - 128) << kSectorShift),
                  0,
                  magic,
                  IsMd0,
                  {},
                  {},
                  "0.90.0",
                  DescribeMd0};
    if (Fits(row, bytes)) return Describe(row, bytes);
  }
  return std::nullopt;
}

struct Promise {
  u16 type;
  std::string_view names;  // blkid's words, each between blanks; the first is the promise
};
constexpr Promise kPromises[] = {
    {1, " vfat "},
    {4, " vfat "},
    {6, " vfat "},
    {7, " ntfs "},
    {11, " vfat "},
    {12, " vfat "},
    {14, " vfat "},
    {17, " vfat "},
    {20, " vfat "},
    {22, " vfat "},
    {23, " ntfs "},
    {27, " vfat ntfs "},
    {30, " vfat "},
    {kTypeLinuxSwap, " swap swsuspend "},
    {kTypeLinuxLvm, " LVM2_member "},
    {239, " vfat "},
    {kTypeLinuxRaid, " linux_raid_member "},
};

const Promise* PromiseOf(u16 type) {
  const auto* found = std::find_if(std::begin(kPromises), std::end(kPromises),
                                   [type](const Promise& row) { return row.type == type; });
  return found == std::end(kPromises) ? nullptr : found;
}

}  // namespace

std::optional<ContentNote> FindContent(Scan& scan, const cPartTreeItem& node, ContentReach reach) {
  NodeBytes bytes(scan, node);
  const bool isWholeDisk = !node.Parent();
  for (const Row& row : kRows) {
    if (row.where == Where::kWholeDisk && !isWholeDisk) continue;
    if (row.where == Where::kVmfs && !isWholeDisk && reach != ContentReach::kFar) continue;
    if (reach == ContentReach::kFront && !IsInFront(row)) continue;
    if (Fits(row, bytes)) return Describe(row, bytes);
  }
  return reach == ContentReach::kFront ? std::nullopt : FindMdAtEnd(bytes);
}

std::string_view ExpectedContent(u16 type) {
  const Promise* promise = PromiseOf(type);
  return promise ? promise->names.substr(1, promise->names.find(' ', 1) - 1) : std::string_view();
}

bool KeepsPromise(u16 type, std::string_view name) {
  const Promise* promise = PromiseOf(type);
  return promise && promise->names.find(' ' + std::string(name) + ' ') != promise->names.npos;
}

}  // namespace larkspur
