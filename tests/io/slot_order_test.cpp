// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// The order of every table of operations that a host calls by slot, read from the compiler itself.

#include <array>
#include <bit>
#include <new>

#include <gtest/gtest.h>

#include "base/owned.h"
#include "devices/ata_transport.h"
#include "devices/named_win_hd_io.h"
#include "io/bit_map.h"
#include "io/file_io.h"
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

// The operations in the order of their slots. What a derived class overrides stays in its slot.
template <typename... Members>
void ExpectOrder(const char* name, Members... members) {
  int expected = 0;
  for (const int slot : {SlotOf(members)...}) EXPECT_EQ(slot, expected++) << name;
}

TEST(SlotOrder, OfEveryTableThatAHostCalls) {
  using IO = cBaseIO;
  ExpectOrder("storage", &IO::Clone, &IO::IsSameAs, &IO::IsSparse, &IO::QueryCapability,
              &IO::InitState, &IO::Close, &IO::SetReadOnly, &IO::Open, &IO::Create,
              &IO::SetPosition, &IO::Read, &IO::WriteMasked, &IO::Write, &IO::ReadBytes,
              &IO::WriteBytes, &IO::SetSectorCount, &IO::GetSectorCount, &IO::GetFullSectorCount,
              &IO::GetByteSize, &IO::GetName, &IO::GetTypeId, &IO::GetResourceKind, &IO::Destroy,
              &IO::GetGeometry, &IO::GetDescription);
  EXPECT_EQ(SlotOf(&cSparseIO::AttachParent), 25);
  EXPECT_EQ(SlotOf(&cWinHDIO::OpenDevice), 25);
  using Transport = cATATransport;
  ExpectOrder("transport", &Transport::GetTransportType, &Transport::Execute, &Transport::Destroy);
  using Map = cBitMap;
  ExpectOrder("bitmap", &Map::GetBitCount, &Map::Test, &Map::SetRange, &Map::Set, &Map::AnySet,
              &Map::CountSetRun, &Map::CountClearRun, &Map::Fill, &Map::Destroy);
  using Resource = cBaseIoResource;
  ExpectOrder("resource", &Resource::GetKind, &Resource::Assign, &Resource::Equals,
              &Resource::Destroy);
  using File = cFileIOTarget;
  ExpectOrder("file", &File::GetSize, &File::ReadSome, &File::WriteSome, &File::ReadExact,
              &File::WriteExact, &File::Seek, &File::SeekFromEnd, &File::SetSize, &File::Close,
              &File::SetTimeStamp, &File::IsOpen, &File::Destroy, &File::GetTargetKind,
              &File::SetUnixTimes);
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
  CheckDestroy<cFileIO>();
  CheckDestroy<cKVRSparseIO>();
  CheckDestroy<cReadOnceIO>();
  CheckDestroy<cNamedWinHDIO>();
}

}  // namespace
}  // namespace larkspur
