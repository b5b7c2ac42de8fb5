// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Type codes of nodes and their display names: 0 to 255 are the partition-type bytes of a master
// boot record, the rest our own numbering. And what the
// types of GUID tables are known as.

#include <string_view>

#include "base/types.h"

namespace larkspur {

enum TypeCode : u16 {
  kTypeFat12 = 1,
  kTypeFat16 = 4,
  kTypeExtended = 5,
  kTypeNtfs = 7,
  kTypeFat32 = 11,
  kTypeExtendedLba = 15,
  kTypeLdmLink = 66,
  kTypeNetWare = 101,
  kTypeLinuxSwap = 130,
  kTypeLinuxNative = 131,
  kTypeExtendedLinux = 133,
  kTypeLinuxLvm = 142,
  kTypeSolaris = 191,
  kTypeGptProtective = 238,
  kTypeVmfs = 251,
  kTypeLinuxRaid = 253,
  kTypeBsdFirst = 256,  // plus the file-system type of a BSD label's entry
  kTypeUfs = 263,
  kTypeAppleMap = 288,
  kTypeAppleDriver = 289,
  kTypeAppleScsiDriver = 290,
  kTypeAppleMfs = 291,
  kTypeAppleHfs = 292,
  kTypeAppleUnix = 293,
  kTypeAppleProDos = 294,
  kTypeAppleUnused = 295,
  kTypeAppleEmpty = 296,
  kTypeAppleHfsx = 297,
  kTypeLdmMetadata = 322,
  kTypeGptBsdSwap = 24449,
  kTypeGptMsReserved = 24450,
  kTypeGptBasic = 24451,
  kTypeGptLdmMetadata = 24452,
  kTypeSnapUfs = 24579,
  kTypeSnapSlice = 24580,
  kTypeSolarisBoot = 24848,
  kTypeNwfs = 25088,
  kTypeWholeDevice = 32764,
  kTypeScanExtended = 32766,
  kTypeUnknown = 32767,
};

// The name of a type; "[unknown]" for codes that have none.
std::u16string_view GetTypeName(u16 type);

// Whether a chain of boot records lies in a partition of that type.
bool IsContainerType(u16 type);

// What the type of a GUID table's entry is known as, by the GUID's text in lower case; empty for
// types without a name here.
std::string_view GptTypeWords(std::string_view guid);

// What is expected to lie in a partition of that type, in blkid's word, or one of two; empty where
// nothing in particular is.
struct GptPromise {
  std::string_view first;
  std::string_view second;
};
GptPromise PromiseOfGptType(std::string_view guid);

}  // namespace larkspur
