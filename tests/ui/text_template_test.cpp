// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/model/text_template.h"

#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "base/path_text.h"

namespace larkspur {
namespace {

struct TemplateCase {
  std::u16string_view text;
  std::vector<TemplateArgument> arguments;
  const char* shown;
};

TEST(FilledIn, ReplacesDirectivesInTheirOrder) {
  const TemplateCase cases[] = {
      {u"", {}, ""},
      {u"plain", {}, "plain"},
      {u"%s (%c:, %.02fGB fixed drive)",
       {u"Data", i64{u'D'}, 1.5},
       "Data (D:, 1.50GB fixed drive)"},
      {u"%02d.%02d.%04d", {i64{1}, i64{12}, i64{987}}, "01.12.0987"},
      {u"%lld KB", {i64{9'000'000'000}}, "9000000000 KB"},
      {u"%d%%", {i64{-3}}, "-3%"},
      {u"%5d|%05d", {i64{42}, i64{42}}, "   42|00042"},
      {u"%.01f%%", {99.95}, "100.0%"},
      {u"%s", {u"Диск %s"}, "Диск %s"},
  };
  for (const TemplateCase& c : cases)
    EXPECT_EQ(Utf8FromWide(FilledIn(c.text, c.arguments)), c.shown);
}

TEST(FilledIn, ShowsNothingForWhatDoesNotFit) {
  const TemplateCase cases[] = {
      {u"[%s]", {}, "[]"},    {u"[%s]", {i64{5}}, "[]"}, {u"[%d]", {u"text"}, "[]"},
      {u"[%d]", {2.5}, "[]"}, {u"[%f]", {i64{5}}, "[]"}, {u"[%d]", {i64{1}, i64{2}}, "[1]"},
      {u"100%", {}, "100%"},  {u"%", {}, "%"},           {u"%q %n", {i64{1}}, "%q %n"},
      {u"%%%", {}, "%%"},
  };
  for (const TemplateCase& c : cases)
    EXPECT_EQ(Utf8FromWide(FilledIn(c.text, c.arguments)), c.shown);
}

TEST(FilledIn, NeverMakesMoreOfAWidthThanItShould) {
  const std::vector<TemplateArgument> largest = {std::numeric_limits<double>::max()};
  EXPECT_LT(FilledIn(u"%999999999.999999999f", largest).size(), 400u);
  const std::vector<TemplateArgument> one = {i64{1}};
  EXPECT_LT(FilledIn(u"%0999999999999d", one).size(), 64u);
}

}  // namespace
}  // namespace larkspur
