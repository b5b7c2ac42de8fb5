// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/type_names.h"

#include <algorithm>
#include <iterator>

namespace larkspur {
namespace {

struct TypeName {
  u16 type;
  std::u16string_view name;
};

// Sorted by type.
constexpr TypeName kTypeNames[] = {
    {0, u"Empty"},
    {1, u"FAT12"},
    {4, u"FAT16"},
    {5, u"Extended"},
    {6, u"BigDOS FAT16"},
    {7, u"NTFS"},
    {10, u"OS/2 BootManager"},
    {11, u"FAT32"},
    {12, u"FAT32 LBA"},
    {14, u"FAT16 LBA"},
    {15, u"Extended LBA"},
    {17, u"FAT12 (hidden)"},
    {18, u"EISA"},
    {20, u"FAT16 (hidden)"},
    {22, u"BigDOS FAT16 (hidden)"},
    {23, u"NTFS (hidden)"},
    {27, u"FAT32 (hidden)"},
    {30, u"BigDOS FAT16 LBA (hidden)"},
    {53, u"OS/2 LVM"},
    {66, u"NT LDM link"},
    {69, u"OS/2 LVM (hidden)"},
    {101, u"NetWare storage"},
    {105, u"Novell Storage Services"},
    {130, u"Linux swap"},
    {131, u"Linux native (unclassified)"},
    {132, u"PowerMan hibernation"},
    {133, u"Extended (Linux)"},
    {134, u"NT LVM1 (multidisk FAT16)"},
    {135, u"NT LVM2 (multidisk NTFS 4)"},
    {142, u"Linux LVM"},
    {160, u"Laptop hibernation"},
    {165, u"386BSD Slice"},
    {166, u"OpenBSD"},
    {175, u"MacOS X"},
    {191, u"Solaris"},
    {222, u"Dell OEM"},
    {238, u"GPT OEM"},
    {239, u"EFI OEM"},
    {253, u"Linux RAID"},
    {254, u"IBM OEM"},
    {255, u"MasterBootRecord"},
    {257, u"Unix SWAP"},
    {258, u"Unix V6"},
    {259, u"Unix V7"},
    {260, u"System V"},
    {261, u"Unix V7 (1k)"},
    {262, u"Unix V8"},
    {263, u"UFS (FFS)"},
    {264, u"UFS VFAT"},
    {265, u"BSD LFS"},
    {266, u"Other/Unknown"},
    {267, u"UFS NTFS/HPFS"},
    {268, u"UFS ISO"},
    {269, u"UFS BootFS"},
    {270, u"UFS Vinum"},
    {271, u"UFS RAID"},
    {277, u"UFS JFS2"},
    {288, u"Apple Partitions Map"},
    {289, u"Apple Device Driver"},
    {290, u"Apple SCSI Device Driver"},
    {291, u"Apple Macintosh File System"},
    {292, u"Apple HFS"},
    {293, u"Apple - Unix"},
    {294, u"Apple - ProDOS"},
    {295, u"Apple - unused"},
    {296, u"Apple - empty"},
    {297, u"Apple HFSX"},
    {24449, u"BSD SWAP on GPT"},
    {24450, u"GPT MS reserved"},
    {24451, u"GPT Basic"},
    {24452, u"NT LDM metadata on GPT"},
    {24480, u"LVM Physical volume"},
    {24576, u"Ext2/Ext3 Linux"},
    {24577, u"ReiserFS"},
    {24578, u"SGI XFS"},
    {24579, u"SnapOS UFS"},
    {24580, u"SnapOS Slice"},
    {24832, u"ISO9660"},
    {24833, u"UDF"},
    {24848, u"Solaris boot block"},
    {24849, u"Solaris ZFS"},
    {25088, u"Novell NWFS"},
    {25089, u"Novell Volume Descriptor"},
    {32765, u"Kestrel Virtual"},
    {32766, u"Scan Result Extended"},
};

static_assert(std::is_sorted(std::begin(kTypeNames), std::end(kTypeNames),
                             [](const TypeName& a, const TypeName& b) { return a.type < b.type; }));

}  // namespace

std::u16string_view GetTypeName(u16 type) {
  const auto* row =
      std::lower_bound(std::begin(kTypeNames), std::end(kTypeNames), type,
                       [](const TypeName& entry, u16 wanted) { return entry.type < wanted; });
  return row != std::end(kTypeNames) && row->type == type ? row->name : u"[unknown]";
}

bool IsContainerType(u16 type) {
  return type == kTypeExtended || type == kTypeExtendedLba || type == kTypeExtendedLinux ||
         type == kTypeAppleMap || type == kTypeScanExtended;
}

namespace {

struct TypeRow {
  std::string_view guid;
  std::string_view words;
  GptPromise promise = {};
};

// Sorted by GUID.
constexpr TypeRow kTypes[] = {
    {"024dee41-33e7-11d3-9d69-0008c781f39f", "MBR partition scheme"},
    {"0657fd6d-a4ab-43c4-84e5-0933c84b4f4f", "Linux swap", {"swap", "swsuspend"}},
    {"09845860-705f-4bb5-b16c-8a8a099caf52", "ChromeOS MiniOS"},
    {"0fc63daf-8483-4772-8e79-3d69d8477de4", "Linux filesystem"},
    {"21686148-6449-6e6f-744e-656564454649", "BIOS boot"},
    {"2568845d-2332-4675-bc39-8fa5a4748d15", "Android bootloader"},
    {"2c7357ed-ebd2-46d9-aec1-23d437ec2bf5", "Linux root verity (x86-64)"},
    {"2e0a753d-9e48-43b0-8337-b15192cb1b5e", "ChromeOS reserved"},
    {"37affc90-ef7d-4e96-91c3-2d7ae055b174", "IBM GPFS"},
    {"381cfccc-7288-11e0-92ee-000c2911d0b2", "VMware Virtual SAN"},
    {"3b8f8425-20e0-4f3b-907f-1a25a76f98e8", "Linux server data"},
    {"3cb8e202-3b7e-47dd-8a3c-7ff2a13cfcec", "ChromeOS root"},
    {"42465331-3ba3-10f1-802a-4861696b7521", "Haiku BFS", {"befs", ""}},
    {"44479540-f297-41b2-9af7-d131d5f0458a", "Linux root (x86)"},
    {"48465300-0000-11aa-aa11-00306543ecac", "Apple HFS+", {"hfsplus", "hfs"}},
    {"49f48d32-b10e-11dc-b99b-0019d1879648", "NetBSD swap"},
    {"49f48d5a-b10e-11dc-b99b-0019d1879648", "NetBSD FFS", {"ufs", ""}},
    {"49f48d82-b10e-11dc-b99b-0019d1879648", "NetBSD LFS"},
    {"49f48daa-b10e-11dc-b99b-0019d1879648", "NetBSD RAID"},
    {"4d21b016-b534-45c2-a9fb-5c16e091fd2d", "Linux variable data"},
    {"4f68bce3-e8cd-4db1-96e7-fbcaf984b709", "Linux root (x86-64)"},
    {"516e7cb4-6ecf-11d6-8ff8-00022d09712b", "FreeBSD data"},
    {"516e7cb5-6ecf-11d6-8ff8-00022d09712b", "FreeBSD swap"},
    {"516e7cb6-6ecf-11d6-8ff8-00022d09712b", "FreeBSD UFS", {"ufs", ""}},
    {"516e7cb8-6ecf-11d6-8ff8-00022d09712b", "FreeBSD Vinum"},
    {"516e7cba-6ecf-11d6-8ff8-00022d09712b", "FreeBSD ZFS", {"zfs_member", ""}},
    {"52414944-0000-11aa-aa11-00306543ecac", "Apple RAID"},
    {"52414944-5f4f-11aa-aa11-00306543ecac", "Apple RAID, offline"},
    {"5265636f-7665-11aa-aa11-00306543ecac", "Apple TV recovery"},
    {"53746f72-6167-11aa-aa11-00306543ecac", "Apple Core Storage"},
    {"55465300-0000-11aa-aa11-00306543ecac", "Apple UFS", {"ufs", ""}},
    {"558d43c5-a1ac-43c0-aac8-d1472b2923d1", "Microsoft storage replica"},
    {"5808c8aa-7e8f-42e0-85d2-e1e90434cfb3", "Microsoft LDM metadata"},
    {"5dfbf5f4-2848-4bac-aa5e-0d9a20b745a6", "Linux user data"},
    {"69dad710-2ce4-4e3c-b16c-21a1d49abed3", "Linux root (ARM)"},
    {"6a82cb45-1dd2-11b2-99a6-080020736631", "Solaris boot"},
    {"6a85cf4d-1dd2-11b2-99a6-080020736631", "Solaris root"},
    {"6a87c46f-1dd2-11b2-99a6-080020736631", "Solaris swap"},
    {"6a898cc3-1dd2-11b2-99a6-080020736631", "Solaris /usr or Apple ZFS", {"zfs_member", ""}},
    {"6a945a3b-1dd2-11b2-99a6-080020736631", "Solaris reserved"},
    {"72ec70a6-cf74-40e6-bd49-4bda08e8f224", "Linux root (RISC-V, 64 bits)"},
    {"7412f7d5-a156-4b13-81dc-867174929325", "ONIE boot"},
    {"773f91ef-66d4-49b5-bd83-d683bf40ad16", "Linux user's home"},
    {"77ff5f63-e7b6-4633-acf4-1565b864c0e6", "Linux /usr verity (x86-64)"},
    {"7c3457ef-0000-11aa-aa11-00306543ecac", "Apple APFS", {"apfs", ""}},
    {"7ec6f557-3bc5-4aca-b293-16ef5df639d1", "Linux temporary data"},
    {"7f4a666a-16f3-47a2-8445-152ef4d03f6c", "Ceph encrypted OSD"},
    {"824cc7a0-36a8-11e3-890a-952519ad3f61", "OpenBSD data"},
    {"83bd6b9d-7f41-11dc-be0b-001560b84f0f", "FreeBSD boot"},
    {"8484680c-9521-48c6-9c11-b0720656f69e", "Linux /usr (x86-64)"},
    {"8da63339-0007-60c0-c436-083ac8230908", "Linux reserved"},
    {"933ac7e1-2eb4-4f13-b844-0e14e2aef915", "Linux home"},
    {"993d8d3d-f80e-4225-855a-9daf8ed7ea97", "Linux root (Itanium)"},
    {"9d275380-40ad-11db-bf97-000c2911d1b8", "VMware diagnostics"},
    {"9e1a2d38-c612-4316-aa26-8b49521e5a8b", "PowerPC PReP boot"},
    {"a19d880f-05fc-4d3b-a006-743f0f84911e", "Linux RAID", {"linux_raid_member", ""}},
    {"aa31e02a-400f-11db-9590-000c2911d1b8", "VMware VMFS", {"VMFS_volume_member", "VMFS"}},
    {"af9b60a0-1431-4f62-bc68-3311714a69ad", "Microsoft LDM data"},
    {"b921b045-1df0-41c3-af44-4c6f280d3fae", "Linux root (ARM, 64 bits)"},
    {"bc13c2ff-59e6-4262-a352-b275fd6f7172", "Linux extended boot"},
    {"bfbfafe7-a34f-448a-9a5b-6213eb736c22", "Lenovo boot"},
    {"c12a7328-f81f-11d2-ba4b-00a0c93ec93b", "EFI system", {"vfat", ""}},
    {"ca7d7ccb-63ed-4c53-861c-1742536059cc", "Linux LUKS", {"crypto_LUKS", ""}},
    {"cab6e88e-abf3-4102-a07a-d4bb9be3c1d3", "ChromeOS firmware"},
    {"d3bfe2de-3daf-11df-ba40-e3a556d89593", "Intel fast flash"},
    {"de94bba4-06d1-4d40-a16a-bfd50179d6ac", "Windows recovery", {"ntfs", ""}},
    {"e3c9e316-0b5c-4db8-817d-f92df00215ae", "Microsoft reserved"},
    {"e6d6d379-f507-44c2-a23c-238f2a3df928", "Linux LVM", {"LVM2_member", ""}},
    {"e75caf8f-f680-4cee-afa3-b001e56efc2d",
     "Microsoft Storage Spaces",
     {"Storage_Spaces_member", ""}},
    {"ebd0a0a2-b9e5-4433-87c0-68b6b72699c7", "Microsoft basic data"},
    {"f4019732-066e-4e12-8273-346c5641494f", "Sony boot"},
    {"fe3a2a5d-4f32-41a7-b725-accc3285a309", "ChromeOS kernel"},
};

const TypeRow* Find(std::string_view guid) {
  const auto* row = std::lower_bound(
      std::begin(kTypes), std::end(kTypes), guid,
      [](const TypeRow& entry, std::string_view wanted) { return entry.guid < wanted; });
  return row != std::end(kTypes) && row->guid == guid ? row : nullptr;
}

static_assert(std::is_sorted(std::begin(kTypes), std::end(kTypes),
                             [](const TypeRow& a, const TypeRow& b) { return a.guid < b.guid; }));

}  // namespace

std::string_view GptTypeWords(std::string_view guid) {
  const TypeRow* row = Find(guid);
  return row ? row->words : std::string_view();
}

GptPromise PromiseOfGptType(std::string_view guid) {
  const TypeRow* row = Find(guid);
  return row ? row->promise : GptPromise();
}

}  // namespace larkspur
