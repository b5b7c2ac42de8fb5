// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "cli/json.h"

#include <gtest/gtest.h>

#include "base/types.h"

namespace larkspur::cli {
namespace {

TEST(Json, WritesEveryKindOfValue) {
  const std::string text = "a \"b\"";
  const Json json = {{"null", nullptr},
                     {"no", false},
                     {"most", ~u64{0}},
                     {"below", -1},
                     {"byte", u8{65}},
                     {"number", 12.5},
                     {"text", text},
                     {"view", std::string_view("v")},
                     {"array", Json::Array({1, "two"})},
                     {"object", {{"name", 1}}}};
  EXPECT_EQ(json.Compact(),
            R"({"null":null,"no":false,"most":18446744073709551615,"below":-1,"byte":65,)"
            R"("number":12.5,"text":"a \"b\"","view":"v","array":[1,"two"],"object":{"name":1}})");
}

TEST(Json, KeepsTheOrderInWhichMembersCame) {
  Json json;
  EXPECT_EQ(json.Compact(), "null");
  json["b"] = 1;
  json["a"].Add(2);
  json["a"].Add({{"c", 3}});
  json["b"] = 4;
  EXPECT_EQ(json.Compact(), R"({"b":4,"a":[2,{"c":3}]})");
}

TEST(Json, HasALineForEachValue) {
  EXPECT_EQ(Json::Array().Pretty(), "[]");
  EXPECT_EQ(Json::Object().Pretty(), "{}");
  const Json json = {{"list", Json::Array({1, 2})}, {"none", Json::Array()}, {"in", {{"a", 1}}}};
  EXPECT_EQ(json.Pretty(), R"({
  "list": [
    1,
    2
  ],
  "none": [],
  "in": {
    "a": 1
  }
})");
}

}  // namespace
}  // namespace larkspur::cli
