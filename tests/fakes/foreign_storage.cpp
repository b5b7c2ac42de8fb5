// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "fakes/foreign_storage.h"

#include <algorithm>
#include <cstring>

namespace larkspur::fakes {

struct ForeignStorage::Object {
  const Table* table;
  ForeignStorage* owner;
  u64 position;
};

struct ForeignStorage::Table {
  Object* (*clone)(Object*);
  bool (*isSameAs)(Object*, Object*);
  void* unused2To8[7];
  u64 (*setPosition)(Object*, u64);
  u32 (*read)(Object*, u8*, u32, void*);
  void* unused11To15[5];
  u64 (*getSectorCount)(Object*);
  void* unused17;
  u64 (*getByteSize)(Object*);
  const char16_t* (*getName)(Object*);
  u32 (*getTypeId)(Object*);
  void* unused21;
  void* (*destroy)(Object*, u32);
  void* unused23;
  bool (*getDescription)(Object*, char16_t*, i32);
};

const ForeignStorage::Table ForeignStorage::kTable = [] {
  using Unused = u64 (*)(Object*);
  const Unused count = [](Object* self) -> u64 { return ++self->owner->m_unexpected, 0; };
  void* unused = nullptr;
  std::memcpy(&unused, &count, sizeof unused);
  Table table{};
  std::fill(std::begin(table.unused2To8), std::end(table.unused2To8), unused);
  std::fill(std::begin(table.unused11To15), std::end(table.unused11To15), unused);
  table.unused17 = table.unused21 = table.unused23 = unused;
  table.clone = [](Object* self) -> Object* {
    if (!self->owner->clones) return nullptr;
    ++self->owner->m_alive;
    return new Object{self->table, self->owner, 0};
  };
  table.isSameAs = [](Object* self, Object* other) { return self->owner == other->owner; };
  table.setPosition = [](Object* self, u64 sector) {
    return self->position = std::min(sector, self->owner->m_sectors);
  };
  table.read = [](Object* self, u8* buffer, u32 wanted, void*) {
    const u32 given =
        static_cast<u32>(std::min<u64>(wanted, self->owner->m_sectors - self->position));
    for (u32 i = 0; i < given; ++i) {
      std::memset(buffer + u64{i} * kSectorBytes, static_cast<u8>(self->position + i),
                  kSectorBytes);
    }
    self->position += given;
    return given;
  };
  table.getSectorCount = [](Object* self) { return self->owner->m_sectors; };
  table.getByteSize = [](Object* self) { return self->owner->m_sectors * kSectorBytes; };
  table.getName = [](Object* self) { return self->owner->name; };
  table.getTypeId = [](Object* self) { return self->owner->typeId; };
  table.destroy = [](Object* self, u32 flags) -> void* {
    --self->owner->m_alive;
    if (flags & 1) delete self;
    return self;
  };
  table.getDescription = [](Object* self, char16_t* buffer, i32 capacity) {
    if (!self->owner->describes || capacity < 1) return false;
    const std::u16string& text = self->owner->description;
    const size_t length = std::min(text.size(), static_cast<size_t>(capacity));
    std::copy_n(text.begin(), length, buffer);  // a text too long ends nowhere
    if (length < static_cast<size_t>(capacity)) buffer[length] = u'\0';
    return true;
  };
  return table;
}();

ForeignStorage::ForeignStorage(u64 sectors)
    : m_sectors(sectors), m_alive(1), m_object(new Object{&kTable, this, 0}) {}

ForeignStorage::~ForeignStorage() {
  delete m_object;
}

cBaseIO* ForeignStorage::IO() const {
  return reinterpret_cast<cBaseIO*>(m_object);
}
int ForeignStorage::Alive() const {
  return m_alive;
}
int ForeignStorage::Unexpected() const {
  return m_unexpected;
}

}  // namespace larkspur::fakes
