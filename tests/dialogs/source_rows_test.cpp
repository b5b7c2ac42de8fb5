// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/model/source_rows.h"

#include <gtest/gtest.h>

#include "base/path_text.h"
#include "fakes/foreign_storage.h"

namespace larkspur {
namespace {

TEST(SourceRows, SayTheDescriptionAndTheNameWhereItAdds) {
  if (LARKSPUR_SANITIZED) GTEST_SKIP() << "the sanitizers know only their own compiler's objects";
  static const std::u16string kLong(1000, u'x');
  const struct {
    const char16_t* description;  // null: there is none
    const char16_t* name;
    std::u16string expected;
  } cases[] = {
      {u"Drive0: Fixed ACME", u"S123", u"Drive0: Fixed ACME [S123]"},
      {u"Drive0: Fixed ACME", u"[n/a]", u"Drive0: Fixed ACME"},
      {u"Drive0: Fixed ACME", u"ACME", u"Drive0: Fixed ACME"},
      {u"Drive0", u"", u"Drive0"},
      {u"Drive0", nullptr, u"Drive0"},
      {u"", u"S123", u"S123"},
      {nullptr, u"S123", u"S123"},
      {nullptr, nullptr, u"#7 (0.01GB)"},
      {u" two\r\nlines\t", u"a\nname ", u"two lines [a name]"},
      {kLong.c_str(), nullptr, std::u16string(255, u'x')},
      {nullptr, kLong.c_str(), std::u16string(256, u'x')},
  };
  for (const auto& c : cases) {
    fakes::ForeignStorage storage(30000);
    storage.describes = c.description;
    if (c.description) storage.description = c.description;
    storage.name = c.name;
    EXPECT_EQ(StorageText(storage.IO(), 7), c.expected) << Utf8FromWide(c.expected);
    EXPECT_EQ(storage.Unexpected(), 0);
  }
}

TEST(SourceRows, LeaveOutNullAndReadOnceStorages) {
  if (LARKSPUR_SANITIZED) GTEST_SKIP() << "the sanitizers know only their own compiler's objects";
  fakes::ForeignStorage first(1), readOnce(1), second(1);
  first.name = u"first";
  second.name = u"second";
  readOnce.typeId = kTypeReadOnce;
  cBaseIO* const storages[] = {nullptr, first.IO(), readOnce.IO(), nullptr, second.IO()};
  const std::vector<SourceRow> rows = SourceRows(storages);
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[0].storage, first.IO());
  EXPECT_EQ(rows[0].text, u"Foreign [first]");
  EXPECT_EQ(rows[1].storage, second.IO());
  EXPECT_TRUE(SourceRows({}).empty());
}

}  // namespace
}  // namespace larkspur
