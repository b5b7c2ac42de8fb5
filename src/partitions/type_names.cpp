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

}  // namespace larkspur
