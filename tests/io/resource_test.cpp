// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/resource.h"

#include <gtest/gtest.h>

#include "fakes/memory_disk.h"

namespace larkspur {
namespace {

class cPlainResource final : public cBaseIoResource {
 public:
  bool Equals(const cBaseIoResource*) const override { return false; }
  void* Destroy(u32 flags) override { return DestroyAs(this, flags); }
};

// Refuses to be cloned.
class cUncloneableIO final : public cBaseIO {
 public:
  cBaseIO* Clone() override { return nullptr; }
  bool IsSameAs(cBaseIO*) override { return true; }
  void* Destroy(u32 flags) override { return DestroyAs(this, flags); }
};

TEST(Resource, KindsOfWhichTheBaseNamesNothing) {
  cPlainResource plain;
  EXPECT_FALSE(plain.Assign(cPlainResource{}));
  EXPECT_EQ(plain.GetKind(), 0u);
  EXPECT_EQ(cNamedFileResource{}.GetKind(), 2u);
  EXPECT_EQ(cNumberedDeviceResource{}.GetKind(), 3u);
  EXPECT_EQ(cNestedIOResource{}.GetKind(), 4u);
}

TEST(Resource, Equality) {
  const auto store = fakes::MakeStore(1), foreign = fakes::MakeStore(1);
  const cNamedFileResource noPath, lower(u"disk"), lowerToo(u"disk"), upper(u"DISK");
  const cNumberedDeviceResource zero(0), three(3), threeToo(3), minus(-3);
  const cNestedIOResource noIO, disk = fakes::ResourceOn(store), same = fakes::ResourceOn(store),
                                other = fakes::ResourceOn(foreign);
  const struct {
    const char* name;
    const cBaseIoResource& one;
    const cBaseIoResource* two;
    bool equal;
  } cases[] = {
      {"same path", lower, &lowerToo, true},
      {"letter case counts", lower, &upper, false},
      {"no path and none", noPath, &noPath, true},
      {"a path equals none", lower, &noPath, true},
      {"but not the reverse", noPath, &lower, false},
      {"path and nothing", lower, nullptr, false},
      {"same number", three, &threeToo, true},
      {"other number", three, &zero, false},
      {"sign", three, &minus, false},
      {"number and nothing", three, nullptr, false},
      {"same disk", disk, &same, true},
      {"other disk", disk, &other, false},
      {"no disk and none", noIO, &noIO, true},
      {"a disk equals none", disk, &noIO, true},
      {"but not the reverse, either", noIO, &disk, false},
      {"disk and nothing", disk, nullptr, false},
      {"number and path", zero, &noPath, false},
      {"path and number", noPath, &zero, false},
      {"path and disk", noPath, &noIO, false},
      {"disk and path", noIO, &noPath, false},
  };
  for (const auto& c : cases) EXPECT_EQ(c.one.Equals(c.two), c.equal) << c.name;
}

TEST(Resource, AssignsOnlyItsOwnKind) {
  cNamedFileResource path(u"disk");
  cNumberedDeviceResource number(7);
  const auto store = fakes::MakeStore(1);
  cNestedIOResource nested = fakes::ResourceOn(store);
  EXPECT_FALSE(path.Assign(number));
  EXPECT_FALSE(number.Assign(path));
  EXPECT_FALSE(nested.Assign(path));
  EXPECT_EQ(path.Path().View(), u"disk");
  EXPECT_EQ(number.Number(), 7);
  EXPECT_TRUE(nested.IO());

  cNamedFileResource pathCopy;
  cNumberedDeviceResource numberCopy;
  cNestedIOResource nestedCopy;
  EXPECT_TRUE(pathCopy.Assign(path));
  EXPECT_TRUE(numberCopy.Assign(number));
  EXPECT_TRUE(nestedCopy.Assign(nested));
  EXPECT_EQ(pathCopy.Path().View(), u"disk");
  EXPECT_EQ(numberCopy.Number(), 7);
  ASSERT_TRUE(nestedCopy.IO());
  EXPECT_NE(nestedCopy.IO(), nested.IO()) << "a clone, not the object";
  EXPECT_TRUE(nestedCopy.IO()->IsSameAs(nested.IO()));
  EXPECT_TRUE(path.Assign(path));
  EXPECT_TRUE(nested.Assign(nested));
  EXPECT_EQ(path.Path().View(), u"disk");
  EXPECT_TRUE(nested.IO());
}

TEST(Resource, AssigningAnEmptyNestOfAnIOFailsAndChangesNothing) {
  const auto store = fakes::MakeStore(1);
  cNestedIOResource nested = fakes::ResourceOn(store);
  const cBaseIO* held = nested.IO();
  EXPECT_FALSE(nested.Assign(cNestedIOResource{}));
  EXPECT_EQ(nested.IO(), held);

  const cNestedIOResource uncloneable{Owned<cBaseIO>(new cUncloneableIO)};
  EXPECT_TRUE(nested.Assign(uncloneable));
  EXPECT_FALSE(nested.IO()) << "the old object is gone although cloning the new one failed";
}

}  // namespace
}  // namespace larkspur
