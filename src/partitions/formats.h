// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The formats that detection knows. Each has a source of its own, at whose head stands what lies
// where on the disk.

#include "partitions/format.h"

namespace larkspur {

struct GptTable;

extern const Format kAixLvmFormat;
extern const Format kAppleMapFormat;
extern const Format kAppleRaidFormat;
extern const Format kBsdLabelFormat;
extern const Format kGptFormat;
extern const Format kIntelMatrixFormat;
extern const Format kLdmFormat;
extern const Format kLdmTypeFormat;
extern const Format kLuksFormat;
extern const Format kLvm2Format;
extern const Format kMbrFormat;
extern const Format kMdRaidFormat;
extern const Format kNetWareFormat;
extern const Format kNetWareNssFormat;
extern const Format kSnapFormat;
extern const Format kSolarisFormat;
extern const Format kXUnixFormat;

// Gives a storage with members of Intel Matrix RAID their volumes as children, beside what its own
// sectors say. That format is in no table: its place is before them all.
void AddIntelMatrixVolumes(Scan& scan, cPartTreeItem& root);

// Makes the children of a GUID table that was read.
void AddGptPartitions(Scan& scan, cPartTreeItem& node, GptTable table);

// Whether the storage is a dynamic disk with a master boot record whose regions lie in the node.
// The disk of another kind, GPT, is known by the type of its metadata partition alone.
bool IsDynamicDisk(Scan& scan, const cPartTreeItem& node);

}  // namespace larkspur
