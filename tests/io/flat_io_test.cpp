// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/flat_io.h"

#include <gtest/gtest.h>

#include "fakes/memory_disk.h"
#include "fakes/temp_folder.h"
#include "io/bit_map.h"
#include "io/resource.h"

namespace larkspur {
namespace {

using fakes::Pattern;

class FlatIO : public testing::Test {
 protected:
  void SetUp() override {
    if (!m_folder.Exists()) GTEST_SKIP() << "no folder for temporary files";
  }
  std::u16string Path() const { return m_folder.File(u"disk.bin"); }
  void MakeFile(std::vector<u8> bytes, size_t size) {
    bytes.resize(size);
    ASSERT_TRUE(fakes::WriteWholeFile(Path(), bytes));
  }

  fakes::TempFolder m_folder;
  cFlatIO m_io;
};

TEST_F(FlatIO, CountsWholeSectors) {
  MakeFile(Pattern(0, 2), 1000);
  ASSERT_TRUE(m_io.OpenPath(Path(), true));
  EXPECT_EQ(m_io.GetSectorCount(), 1u);
  EXPECT_EQ(m_io.GetByteSize(), 1000u);
  std::vector<u8> buffer(1024);
  EXPECT_EQ(m_io.SetPosition(0), 0u);
  cBitMap presence(4);
  EXPECT_EQ(m_io.Read(buffer.data(), 2, &presence), 1u);
  EXPECT_EQ(presence.CountSetRun(0), 4u) << "every sector is present";
  EXPECT_TRUE(fakes::IsPattern(0, buffer.data()));
  EXPECT_EQ(m_io.SetPosition(5), 1u) << "clamped";
  EXPECT_EQ(m_io.GetTypeId(), 7u);
  EXPECT_EQ(m_io.GetResourceKind(), 2u);
  EXPECT_FALSE(m_io.IsSparse());
  u32 geometry[3];
  EXPECT_TRUE(m_io.GetGeometry(geometry));
  EXPECT_EQ(geometry[1], 63u);
}

TEST_F(FlatIO, WritesUpToItsEndOnly) {
  MakeFile({}, 10 * 512);
  ASSERT_TRUE(m_io.OpenPath(Path(), false));
  const std::vector<u8> data = Pattern(50, 4);
  EXPECT_EQ(m_io.Write(9, data.data(), 4), 1u);
  EXPECT_EQ(m_io.Write(10, data.data(), 1), 0u);
  EXPECT_EQ(m_io.Write(2, data.data(), 4), 4u);
  EXPECT_EQ(m_io.GetByteSize(), 5120u);
  EXPECT_TRUE(m_io.WriteBytes(data.data(), 5119, 10)) << "cut at the end";
  EXPECT_FALSE(m_io.WriteBytes(data.data(), 5120, 1));
  EXPECT_EQ(m_io.GetByteSize(), 5120u);
  EXPECT_TRUE(m_io.SetSectorCount(20));
  EXPECT_EQ(m_io.GetSectorCount(), 20u);
  std::vector<u8> buffer(4 * 512);
  EXPECT_TRUE(m_io.ReadBytes(buffer.data(), 2 * 512 + 3, 100));
  EXPECT_TRUE(std::equal(buffer.begin(), buffer.begin() + 100, data.begin() + 3));
  EXPECT_FALSE(m_io.ReadBytes(buffer.data(), 20 * 512 - 1, 2));
}

TEST_F(FlatIO, AReadOnlyObjectRefusesChanges) {
  MakeFile({}, 2048);
  ASSERT_TRUE(m_io.OpenPath(Path(), true));
  const std::vector<u8> data = Pattern(0, 1);
  EXPECT_EQ(m_io.Write(0, data.data(), 1), 0u);
  EXPECT_FALSE(m_io.WriteBytes(data.data(), 0, 1));
  EXPECT_FALSE(m_io.SetSectorCount(9));
  EXPECT_EQ(fakes::ReadWholeFile(Path()), std::vector<u8>(2048));
}

TEST_F(FlatIO, ASizeIsLiveWhenWritableAndKeptWhenNot) {
  MakeFile({}, 2048);
  cFlatIO writer;
  ASSERT_TRUE(m_io.OpenPath(Path(), true));
  ASSERT_TRUE(writer.OpenPath(Path(), false));
  const Owned<cBaseIO> second(writer.Clone());
  ASSERT_TRUE(second);
  EXPECT_TRUE(writer.SetSectorCount(8));
  EXPECT_EQ(m_io.GetSectorCount(), 4u);
  EXPECT_EQ(m_io.GetByteSize(), 4096u);
  EXPECT_EQ(second->GetSectorCount(), 8u);
  std::vector<u8> buffer(8 * 512);
  EXPECT_EQ(m_io.SetPosition(2), 2u);
  EXPECT_EQ(m_io.Read(buffer.data(), 6), 6u) << "reads are not clamped";
}

TEST_F(FlatIO, ChangesItsMode) {
  EXPECT_TRUE(m_io.SetReadOnly(true)) << "unchanged";
  EXPECT_FALSE(m_io.SetReadOnly(false)) << "no path yet";
  MakeFile({}, 1024);
  ASSERT_TRUE(m_io.OpenPath(Path(), true));
  EXPECT_TRUE(m_io.SetReadOnly(false));
  EXPECT_FALSE(m_io.IsReadOnly());
  const std::vector<u8> data = Pattern(0, 1);
  EXPECT_EQ(m_io.Write(0, data.data(), 1), 1u);
  EXPECT_TRUE(m_io.SetReadOnly(true));
  EXPECT_EQ(m_io.GetSectorCount(), 2u);
  EXPECT_EQ(m_io.Write(0, data.data(), 1), 0u);
  ASSERT_TRUE(m_io.SetReadOnly(false));
  ASSERT_TRUE(m_io.SetReadOnly(true));
}

TEST_F(FlatIO, CreateNamesItByTheWholePathAndOpenByItsLastPart) {
  const cNamedFileResource resource(Path());
  EXPECT_EQ(m_io.Create(&resource, 5, true), 5u);
  EXPECT_EQ(m_io.GetName(), Path());
  EXPECT_EQ(m_io.Path().View(), Path());
  EXPECT_EQ(m_io.GetSectorCount(), 5u);
  EXPECT_FALSE(m_io.IsReadOnly());
  EXPECT_TRUE(m_io.Open(&resource, false));
  EXPECT_EQ(std::u16string(m_io.GetName()), u"disk.bin");
  char16_t text[1000];
  EXPECT_TRUE(m_io.GetDescription(text, 1000));
  EXPECT_EQ(text, Path());

  const std::vector<u8> data = Pattern(0, 1);
  EXPECT_EQ(m_io.Write(0, data.data(), 1), 1u);
  cFlatIO other;
  EXPECT_EQ(other.Create(&resource, 3, false), 3u);
  EXPECT_EQ(other.GetSectorCount(), 0u) << "left closed";
  EXPECT_EQ(fakes::ReadWholeFile(Path()), std::vector<u8>(3 * 512)) << "created again";
}

TEST_F(FlatIO, NamesAreTheLastPartOfThePath) {
  const struct {
    const char16_t* path;
    const char16_t* name;
  } cases[] = {
      {u"C:\\images\\disk.kvrsp", u"disk.kvrsp"},
      {u"C:\\images\\/\\disk", u"disk"},
      {u"/images/disk", u"disk"},
      {u"a\\b/c", u"b/c"},
      {u"disk", u"disk"},
      {u"images\\", u""},
      {u"", u""},
  };
  for (const auto& c : cases) {
    // The name is taken before the file is looked for.
    m_io.OpenPath(c.path, true);
    EXPECT_EQ(std::u16string(m_io.GetName()), c.name);
  }
}

TEST_F(FlatIO, OpensNamedFilesOnly) {
  const cNumberedDeviceResource number(3);
  EXPECT_FALSE(m_io.Open(nullptr, true));
  EXPECT_FALSE(m_io.Open(&number, true));
  EXPECT_EQ(m_io.Create(nullptr, 3, true), 0u);
  EXPECT_EQ(m_io.Create(&number, 3, true), 0u);
  EXPECT_FALSE(m_io.OpenPath(Path(), true)) << "not there";
  const cNamedFileResource nowhere(m_folder.File(u"no/such/folder"));
  EXPECT_EQ(m_io.Create(&nowhere, 3, true), 0u);
}

TEST_F(FlatIO, ClonesAndComparesByItsPath) {
  EXPECT_FALSE(Owned<cBaseIO>(m_io.Clone())) << "nothing open";
  MakeFile(Pattern(0, 2), 1024);
  ASSERT_TRUE(m_io.OpenPath(Path(), false));
  const Owned<cBaseIO> clone(m_io.Clone());
  ASSERT_TRUE(clone);
  EXPECT_FALSE(clone->IsReadOnly());
  EXPECT_TRUE(m_io.IsSameAs(clone.get()));
  EXPECT_FALSE(m_io.IsSameAs(nullptr));
  cFlatIO unopened;
  EXPECT_FALSE(m_io.IsSameAs(&unopened)) << "the other's empty resource equals only empty ones";
  EXPECT_TRUE(unopened.IsSameAs(&m_io));
  const auto memory = fakes::DiskOn(fakes::MakeStore(1));
  EXPECT_FALSE(m_io.IsSameAs(memory.get()));
}

TEST_F(FlatIO, ClosesToItsFirstState) {
  MakeFile({}, 1024);
  for (const bool byInit : {false, true}) {
    ASSERT_TRUE(m_io.OpenPath(Path(), false));
    byInit ? m_io.InitState() : m_io.Close();
    EXPECT_TRUE(m_io.IsReadOnly());
    EXPECT_EQ(m_io.GetSectorCount(), 0u);
    EXPECT_EQ(m_io.GetByteSize(), 0u);
    u8 sector[512];
    EXPECT_EQ(m_io.Read(sector, 1), 0u);
    EXPECT_EQ(m_io.SetPosition(0), kNowhere);
  }
}

}  // namespace
}  // namespace larkspur
