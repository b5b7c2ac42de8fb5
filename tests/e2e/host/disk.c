// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "disk.h"

#include <stdlib.h>
#include <string.h>
#include <wchar.h>

typedef struct {
  Storage base;
  Disk* disk;
  uint64_t position;
} DiskStorage;

static Disk* DiskOf(Storage* self) {
  return ((DiskStorage*)self)->disk;
}

static Storage* Clone(Storage* self) {
  return OpenDisk(DiskOf(self));
}

static bool IsSameAs(Storage* self, Storage* other) {
  return other && other->table == self->table && DiskOf(self) == DiskOf(other);
}

static uint64_t SetPosition(Storage* self, uint64_t sector) {
  const uint64_t end = DiskOf(self)->sectors;
  return ((DiskStorage*)self)->position = sector < end ? sector : end;
}

static uint32_t Read(Storage* self, void* buffer, uint32_t count, void* presence) {
  (void)presence;
  DiskStorage* storage = (DiskStorage*)self;
  uint32_t given = 0;
  for (; given < count && storage->position < storage->disk->sectors; ++given) {
    const uint64_t sector = storage->position;
    ++storage->disk->asked[sector];
    uint8_t* out = (uint8_t*)buffer + (size_t)given * SECTOR_BYTES;
    for (uint32_t i = 0; i < SECTOR_BYTES; ++i) out[i] = DiskByte(storage->disk, sector, i);
    ++storage->position;
  }
  return given;
}

static bool ReadBytes(Storage* self, void* buffer, uint64_t offset, uint32_t bytes) {
  (void)buffer, (void)offset, (void)bytes;
  ++DiskOf(self)->misused;
  return false;
}

// The module has no reason to open, close, change or resize a storage of the host's.
static bool Misuse(Storage* self) {
  ++DiskOf(self)->misused;
  return false;
}
static void MisuseState(Storage* self) {
  Misuse(self);
}
static bool MisuseMode(Storage* self, bool readOnly) {
  (void)readOnly;
  return Misuse(self);
}
static bool MisuseOpen(Storage* self, const void* resource, bool readOnly) {
  (void)resource, (void)readOnly;
  return Misuse(self);
}
static uint64_t MisuseCreate(Storage* self, const void* resource, uint64_t sectors, bool open) {
  (void)resource, (void)sectors, (void)open;
  return Misuse(self);
}
static uint32_t MisuseMasked(Storage* self, uint64_t sector, const void* buffer, uint32_t count,
                             void* mask) {
  (void)sector, (void)buffer, (void)count, (void)mask;
  return Misuse(self);
}
static uint32_t MisuseWrite(Storage* self, uint64_t sector, const void* buffer, uint32_t count) {
  (void)sector, (void)buffer, (void)count;
  return Misuse(self);
}
static bool MisuseBytes(Storage* self, const void* buffer, uint64_t offset, uint32_t bytes) {
  (void)buffer, (void)offset, (void)bytes;
  return Misuse(self);
}
static bool MisuseSize(Storage* self, uint64_t sectors) {
  (void)sectors;
  return Misuse(self);
}

static bool AnswersNo(Storage* self) {
  (void)self;
  return false;
}
static bool AnswersYes(Storage* self) {
  (void)self;
  return true;
}
static uint64_t GetSectorCount(Storage* self) {
  return DiskOf(self)->sectors;
}
static uint64_t GetByteSize(Storage* self) {
  return DiskOf(self)->sectors * SECTOR_BYTES;
}
static const Unit* GetName(Storage* self) {
  return (const Unit*)DiskOf(self)->name;
}
static uint32_t GetTypeId(Storage* self) {
  return DiskOf(self)->type;
}
static uint32_t GetResourceKind(Storage* self) {
  (void)self;
  return 0;
}

static void* Destroy(Storage* self, uint32_t flags) {
  --DiskOf(self)->alive;
  if (flags & 1) free(self);
  return self;
}

static bool GetGeometry(Storage* self, uint32_t* three) {
  (void)self;
  three[0] = SECTOR_BYTES, three[1] = 63, three[2] = 255;
  return true;
}

static bool GetDescription(Storage* self, Unit* buffer, int32_t capacity) {
  const wchar_t* text = DiskOf(self)->description;
  if (!text || capacity < 1) return false;
  wcsncpy((wchar_t*)buffer, text, (size_t)capacity);
  buffer[capacity - 1] = 0;
  return true;
}

static const StorageTable kTable = {
    Clone,       IsSameAs,        AnswersNo,      AnswersYes,   MisuseState,
    MisuseState, MisuseMode,      MisuseOpen,     MisuseCreate, SetPosition,
    Read,        MisuseMasked,    MisuseWrite,    ReadBytes,    MisuseBytes,
    MisuseSize,  GetSectorCount,  GetSectorCount, GetByteSize,  GetName,
    GetTypeId,   GetResourceKind, Destroy,        GetGeometry,  GetDescription};

void MakeDisk(Disk* disk, const wchar_t* name) {
  static const uint8_t kPartition[16] = {0, 1, 1, 0, 0x0C, 254, 63, 0, 64, 0, 0, 0, 0xD0, 7, 0, 0};
  memset(disk, 0, sizeof *disk);
  disk->sectors = DISK_SECTORS;
  disk->type = 2;
  disk->name = name;
  disk->description = L"Drive of the host";
  memcpy(disk->first + 446, kPartition, sizeof kPartition);
  disk->first[510] = 0x55;
  disk->first[511] = 0xAA;
}

Storage* OpenDisk(Disk* disk) {
  DiskStorage* storage = malloc(sizeof *storage);
  if (!storage) return NULL;
  *storage = (DiskStorage){{&kTable}, disk, 0};
  ++disk->alive;
  return &storage->base;
}

uint8_t DiskByte(const Disk* disk, uint64_t sector, uint32_t offset) {
  return sector == 0 ? disk->first[offset] : (uint8_t)(sector * 7 + offset + 1);
}

uint32_t MostAsked(const Disk* disk) {
  uint32_t most = 0;
  for (size_t i = 0; i < DISK_SECTORS; ++i) {
    if (disk->asked[i] > most) most = disk->asked[i];
  }
  return most;
}

uint32_t AskedInAll(const Disk* disk) {
  uint32_t sum = 0;
  for (size_t i = 0; i < DISK_SECTORS; ++i) sum += disk->asked[i];
  return sum;
}
