// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A storage of the host's own making, which counts what it is asked.

#include "larkspur_host.h"

#define DISK_SECTORS 4096
#define SECTOR_BYTES 512

typedef struct {
  uint64_t sectors;
  uint32_t type;  // what GetTypeId answers
  const wchar_t* name;
  const wchar_t* description;

  uint16_t asked[DISK_SECTORS];  // for each sector
  int alive;                     // objects on this disk
  int misused;                   // calls of slots that change or open something
  uint8_t first[SECTOR_BYTES];   // sector 0; the others follow from their numbers
} Disk;

// A disk of DISK_SECTORS sectors with an MBR that names one FAT32 partition, [64, 2064).
void MakeDisk(Disk* disk, const wchar_t* name);

// A storage on the disk; ended by its own slot 22.
Storage* OpenDisk(Disk* disk);

// What byte `offset` of a sector holds.
uint8_t DiskByte(const Disk* disk, uint64_t sector, uint32_t offset);

// The largest count in `asked`, and its sum.
uint32_t MostAsked(const Disk* disk);
uint32_t AskedInAll(const Disk* disk);
