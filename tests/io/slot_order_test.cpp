// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// The order of every table of operations that a host calls by slot, read from the compiler itself.

#include <array>
#include <bit>
#include <cstring>
#include <new>

#include <gtest/gtest.h>

#include "base/owned.h"
#include "devices/ata_transport.h"
#include "devices/named_win_hd_io.h"
#include "devices/win_cd_io.h"
#include "fakes/images.h"
#include "fakes/memory_disk.h"
#include "fakes/recording_source.h"
#include "io/bit_map.h"
#include "io/failing_io.h"
#include "io/file_io.h"
#include "io/flat_io.h"
#include "io/piecewise_io.h"
#include "io/read_once_io.h"
#include "io/resource.h"

namespace larkspur {
namespace {

// The slot of a virtual operation. A pointer to member is two words in the C++ ABI of both our
// compilers: the byte offset in the table plus one, and the adjustment of `this`.
template <typename Member>
int SlotOf(Member member) {
  static_assert(sizeof(member) == 2 * sizeof(std::intptr_t));
  const auto words = std::bit_cast<std::array<std::intptr_t, 2>>(member);
  if (words[0] % 2 == 0 || words[1] != 0) return -1;
  return static_cast<int>((words[0] - 1) / static_cast<std::intptr_t>(sizeof(void*)));
}

struct SlotCase {
  const char* name;
  int slot;
  int expected;
};

void Check(std::initializer_list<SlotCase> cases) {
  for (const SlotCase& c : cases) EXPECT_EQ(c.slot, c.expected) << c.name;
}

template <typename IO>
void CheckStorage() {
  Check({{"Clone", SlotOf(&IO::Clone), 0},
         {"IsSameAs", SlotOf(&IO::IsSameAs), 1},
         {"IsSparse", SlotOf(&IO::IsSparse), 2},
         {"QueryCapability", SlotOf(&IO::QueryCapability), 3},
         {"InitState", SlotOf(&IO::InitState), 4},
         {"Close", SlotOf(&IO::Close), 5},
         {"SetReadOnly", SlotOf(&IO::SetReadOnly), 6},
         {"Open", SlotOf(&IO::Open), 7},
         {"Create", SlotOf(&IO::Create), 8},
         {"SetPosition", SlotOf(&IO::SetPosition), 9},
         {"Read", SlotOf(&IO::Read), 10},
         {"WriteMasked", SlotOf(&IO::WriteMasked), 11},
         {"Write", SlotOf(&IO::Write), 12},
         {"ReadBytes", SlotOf(&IO::ReadBytes), 13},
         {"WriteBytes", SlotOf(&IO::WriteBytes), 14},
         {"SetSectorCount", SlotOf(&IO::SetSectorCount), 15},
         {"GetSectorCount", SlotOf(&IO::GetSectorCount), 16},
         {"GetFullSectorCount", SlotOf(&IO::GetFullSectorCount), 17},
         {"GetByteSize", SlotOf(&IO::GetByteSize), 18},
         {"GetName", SlotOf(&IO::GetName), 19},
         {"GetTypeId", SlotOf(&IO::GetTypeId), 20},
         {"GetResourceKind", SlotOf(&IO::GetResourceKind), 21},
         {"Destroy", SlotOf(&IO::Destroy), 22},
         {"GetGeometry", SlotOf(&IO::GetGeometry), 23},
         {"GetDescription", SlotOf(&IO::GetDescription), 24}});
}

TEST(SlotOrder, Storages) {
  CheckStorage<cBaseIO>();
  CheckStorage<cFlatIO>();
  CheckStorage<cSparseIO>();
  CheckStorage<cKVRSparseIO>();
  CheckStorage<cReadOnceIO>();
  CheckStorage<cFailingIO>();
  CheckStorage<cPiecewiseIO>();
  CheckStorage<cWinHDIO>();
  CheckStorage<cNamedWinHDIO>();
  CheckStorage<cWinCDIO>();
  EXPECT_EQ(SlotOf(&cSparseIO::AttachParent), 25);
  EXPECT_EQ(SlotOf(&cKVRSparseIO::AttachParent), 25);
  EXPECT_EQ(SlotOf(&cWinHDIO::OpenDevice), 25);
  EXPECT_EQ(SlotOf(&cNamedWinHDIO::OpenDevice), 25);
}

TEST(SlotOrder, Transports) {
  Check({{"GetTransportType", SlotOf(&cATATransport::GetTransportType), 0},
         {"Execute", SlotOf(&cATATransport::Execute), 1},
         {"Destroy", SlotOf(&cATATransport::Destroy), 2}});
}

template <typename Map>
void CheckBitMap() {
  Check({{"GetBitCount", SlotOf(&Map::GetBitCount), 0},
         {"Test", SlotOf(&Map::Test), 1},
         {"SetRange", SlotOf(&Map::SetRange), 2},
         {"Set", SlotOf(&Map::Set), 3},
         {"AnySet", SlotOf(&Map::AnySet), 4},
         {"CountSetRun", SlotOf(&Map::CountSetRun), 5},
         {"CountClearRun", SlotOf(&Map::CountClearRun), 6},
         {"Fill", SlotOf(&Map::Fill), 7},
         {"Destroy", SlotOf(&Map::Destroy), 8}});
}

TEST(SlotOrder, Bitmaps) {
  CheckBitMap<cBitMap>();
  CheckBitMap<cSubBitMap>();
}

template <typename Resource>
void CheckResource() {
  Check({{"GetKind", SlotOf(&Resource::GetKind), 0},
         {"Assign", SlotOf(&Resource::Assign), 1},
         {"Equals", SlotOf(&Resource::Equals), 2},
         {"Destroy", SlotOf(&Resource::Destroy), 3}});
}

TEST(SlotOrder, Resources) {
  CheckResource<cBaseIoResource>();
  CheckResource<cNamedFileResource>();
  CheckResource<cNumberedDeviceResource>();
  CheckResource<cNestedIOResource>();
}

template <typename File>
void CheckFile() {
  Check({{"GetSize", SlotOf(&File::GetSize), 0},
         {"ReadSome", SlotOf(&File::ReadSome), 1},
         {"WriteSome", SlotOf(&File::WriteSome), 2},
         {"ReadExact", SlotOf(&File::ReadExact), 3},
         {"WriteExact", SlotOf(&File::WriteExact), 4},
         {"Seek", SlotOf(&File::Seek), 5},
         {"SeekFromEnd", SlotOf(&File::SeekFromEnd), 6},
         {"SetSize", SlotOf(&File::SetSize), 7},
         {"Close", SlotOf(&File::Close), 8},
         {"SetTimeStamp", SlotOf(&File::SetTimeStamp), 9},
         {"IsOpen", SlotOf(&File::IsOpen), 10},
         {"Destroy", SlotOf(&File::Destroy), 11},
         {"GetTargetKind", SlotOf(&File::GetTargetKind), 12},
         {"SetUnixTimes", SlotOf(&File::SetUnixTimes), 13}});
}

TEST(SlotOrder, Files) {
  CheckFile<cFileIOTarget>();
  CheckFile<cFileIO>();
}

// An object's table as a foreign caller finds it: its first word.
template <typename Function>
Function InTable(void* object, int slot) {
  void** table = nullptr;
  std::memcpy(&table, object, sizeof(table));
  Function function;
  std::memcpy(&function, table + slot, sizeof(function));
  return function;
}

TEST(SlotOrder, AForeignCallerReachesTheOperations) {
  const auto store = fakes::MakeStore();
  const auto image = fakes::CreateImage(store, 1000);
  ASSERT_TRUE(image);
  void* object = image.get();
  EXPECT_EQ(InTable<bool (*)(void*)>(object, 2)(object), true);
  EXPECT_EQ(InTable<u64 (*)(void*, u64)>(object, 9)(object, 5000), 1000u);
  EXPECT_EQ(InTable<u64 (*)(void*)>(object, 18)(object), 512000u);
  EXPECT_EQ(InTable<u32 (*)(void*)>(object, 20)(object), 15u);
  EXPECT_EQ(InTable<bool (*)(void*, void*, bool)>(object, 25)(object, nullptr, true), true);
}

template <typename T, typename... Arguments>
void CheckDestroy(Arguments&&... arguments) {
  // Without bit 0 the object ends and its memory stays ours.
  alignas(T) unsigned char room[sizeof(T)];
  T* inPlace = new (room) T(arguments...);
  EXPECT_EQ(inPlace->Destroy(0), static_cast<void*>(room));
  T* onHeap = new T(arguments...);
  EXPECT_EQ(onHeap->Destroy(kFreeMemory), static_cast<void*>(onHeap));
}

TEST(Destroy, EndsObjectsAndFreesTheirMemoryWhenAsked) {
  CheckDestroy<cBitMap>(u64{100});
  cBitMap parent(10);
  CheckDestroy<cSubBitMap>(&parent, u64{1}, u64{3});
  CheckDestroy<cNamedFileResource>(u"a path");
  CheckDestroy<cNumberedDeviceResource>(3);
  CheckDestroy<cNestedIOResource>();
  CheckDestroy<cFileIO>();
  CheckDestroy<cFlatIO>();
  CheckDestroy<cKVRSparseIO>();
  CheckDestroy<cReadOnceIO>();
  CheckDestroy<cWinHDIO>();
  CheckDestroy<cNamedWinHDIO>();
  CheckDestroy<cWinCDIO>();
}

TEST(Destroy, ReleasesWhatAnObjectOwns) {
  // Leaks show in the sanitized build; here the shared store tells who still holds it.
  auto script = std::make_shared<fakes::SourceScript>(100);
  auto store = fakes::MakeStore();
  {
    const auto image = fakes::CreateImage(store, 100);
    ASSERT_TRUE(image->AttachParent(fakes::SourceOn(script).get(), true));
    Owned<cReadOnceIO> view(new cReadOnceIO);
    ASSERT_TRUE(view->Attach(image.get(), fakes::SourceOn(script).get()));
    const Owned<cBaseIO> clone(view->Clone());
    EXPECT_GT(store.use_count(), 1);
    EXPECT_GT(script.use_count(), 1);
  }
  EXPECT_EQ(store.use_count(), 1);
  EXPECT_EQ(script.use_count(), 1);
}

}  // namespace
}  // namespace larkspur
