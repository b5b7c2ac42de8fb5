// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/property_list.h"

#include <gtest/gtest.h>

namespace larkspur {
namespace {

std::span<const u8> BytesOf(std::string_view text) {
  return {reinterpret_cast<const u8*>(text.data()), text.size()};
}

// What a dictionary of that inside says of "x".
std::string MeaningOfX(const std::string& inside) {
  const std::string text = "<dict ID=\"0\">" + inside + "</dict>";
  const PropertyList list(BytesOf(text));
  if (list.IsEmpty()) return "fault";
  if (const auto words = list.Text("x")) return "text " + *words;
  if (const auto number = list.Number("x")) return "number " + std::to_string(*number);
  const auto texts = list.Texts("x");
  if (!texts) return "nothing";
  std::string meaning = "array";
  for (const std::string& item : *texts) meaning += ' ' + item;
  return meaning;
}

TEST(PropertyList, ReadsValues) {
  const struct {
    const char* inside;
    const char* meaning;
  } kCases[] = {
      {"", "nothing"},
      {"<key>x</key><string ID=\"1\">a b</string>", "text a b"},
      {"<key>x</key><string></string>", "text "},
      {"<key>x</key><string/>", "text "},
      {"<key>x</key><string>&lt;&amp;&gt;&quot;&apos;&#65;</string>", "text <&>\"'A"},
      {"<key>x</key><string>&other;</string>", "text &other;"},
      {"<key>x</key><integer size=\"32\" ID=\"1\">0x8000</integer>", "number 32768"},
      {"<key>x</key><integer>12</integer>", "number 12"},
      {"<key>x</key><integer>0xffffffffffffffff</integer>", "number 18446744073709551615"},
      {"<key>x</key><integer>0x1ffffffffffffffff</integer>", "nothing"},
      {"<key>x</key><integer>-1</integer>", "nothing"},
      {"<key>x</key><integer>1z</integer>", "nothing"},
      {"<key>x</key><integer></integer>", "nothing"},
      {"<key>x</key><true/>", "nothing"},
      {"<key>x</key>", "nothing"},
      {"<key>y</key><string>x</string>", "nothing"},
      {"<key>x</key><array><string>a</string><integer>1</integer><string>b</string></array>",
       "array a b"},
      {"<key>x</key><array/>", "array"},
      {"<key>y</key><dict><key>x</key><string>a</string></dict>", "nothing"},
      {" \n <key>x</key>\n<string>a</string> <!", "fault"},
      {"\n<key>x</key>\n<string>a</string>\n", "text a"},
  };
  for (const auto& test : kCases) EXPECT_EQ(MeaningOfX(test.inside), test.meaning) << test.inside;
}

TEST(PropertyList, FollowsReferencesOnce) {
  const struct {
    const char* inside;
    const char* meaning;
  } kCases[] = {
      {"<key>y</key><string ID=\"1\">a</string><key>x</key><reference IDREF=\"1\"/>", "text a"},
      {"<key>x</key><reference IDREF=\"1\"/><key>y</key><string ID=\"1\">a</string>", "text a"},
      {"<key>x</key><array><string ID=\"1\">a</string><reference IDREF=\"1\"/></array>",
       "array a a"},
      {"<key>x</key><reference IDREF=\"9\"/>", "nothing"},
      {"<key>x</key><reference/>", "nothing"},
      {"<key>x</key><reference ID=\"1\" IDREF=\"1\"/>", "nothing"},
      {"<key>x</key><reference ID=\"1\" IDREF=\"2\"/><key>y</key><reference ID=\"2\" IDREF=\"1\"/>",
       "nothing"},
      {"<key>x</key><array ID=\"1\"><reference IDREF=\"1\"/></array>", "array"},
      {"<key>x</key><reference IDREF=\"0\"/>", "nothing"},
  };
  for (const auto& test : kCases) EXPECT_EQ(MeaningOfX(test.inside), test.meaning) << test.inside;
}

TEST(PropertyList, RefusesWhatNoKernelWrites) {
  const char* const kTexts[] = {"",
                                "dict",
                                "<dict>",
                                "<dict><key>x</dict>",
                                "<dict></array>",
                                "<array></array>",
                                "<plist><dict/></plist>",
                                "<dict><!-- a --></dict>",
                                "<dict><![CDATA[a]]></dict>",
                                "<dict a></dict>",
                                "<dict a=\"></dict>",
                                "<",
                                "<dict",
                                "<dict/",
                                "<dict><?",
                                "<?xml"};
  for (const char* text : kTexts) EXPECT_TRUE(PropertyList(BytesOf(text)).IsEmpty()) << text;
  EXPECT_TRUE(PropertyList(BytesOf("<!DOCTYPE a [<!ENTITY b \"c\">]><dict/>")).IsEmpty());
  EXPECT_FALSE(PropertyList(BytesOf("<dict/>")).IsEmpty());
  EXPECT_FALSE(PropertyList(BytesOf({"<dict/>\0<", 9})).IsEmpty());
}

std::string Repeated(const char* text, size_t times) {
  std::string all;
  for (size_t i = 0; i < times; ++i) all += text;
  return all;
}

TEST(PropertyList, BoundsTheNestingByTheElements) {
  constexpr size_t kMost = PropertyList::kMaxElements - 1;
  const auto nested = [](size_t depth) {
    return "<dict>" + Repeated("<a>", depth) + Repeated("</a>", depth) + "</dict>";
  };
  EXPECT_FALSE(PropertyList(BytesOf(nested(kMost))).IsEmpty());
  EXPECT_TRUE(PropertyList(BytesOf(nested(kMost + 1))).IsEmpty());
  // What stands in an attribute opens nothing, and is counted all the same.
  const std::string hidden = "<dict>" + Repeated("<a b='</a>'>", kMost + 1);
  EXPECT_TRUE(PropertyList(BytesOf(hidden)).IsEmpty());
  EXPECT_TRUE(PropertyList(BytesOf(std::string(PropertyList::kMaxBytes + 1, ' '))).IsEmpty());
}

}  // namespace
}  // namespace larkspur
