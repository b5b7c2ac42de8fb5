// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "files/glob.h"

#include <string>

#include <gtest/gtest.h>

namespace larkspur {
namespace {

TEST(Glob, FitsPaths) {
  const struct {
    const char* glob;
    const char* path;
    bool fits;
  } cases[] = {
      {"/a", "/a", true},          {"/a", "/a/b", false},
      {"/a", "/b/a", false},       {"a", "/b/a", true},
      {"a", "/a", true},           {"a", "/ba", false},
      {"b/a", "/c/b/a", true},     {"/*", "/a", true},
      {"/*", "/a/b", false},       {"/*", "/", true},
      {"/**", "/a/b", true},       {"/a/**", "/a", false},
      {"/a/**", "/ab/c", false},   {"/**/c", "/c", true},
      {"/**/c", "/a/b/c", true},   {"/**/c", "/a/bc", false},
      {"/a/**/c", "/a/c", true},   {"/a/**/c", "/a/x/y/c", true},
      {"*.jpg", "/p/q.jpg", true}, {"*.jpg", "/p.jpg/q", false},
      {"/?", "/a", true},          {"/?", "//", false},
      {"/a**c", "/ab/xc", true},   {"/a*c", "/ab/xc", false},
      {"/a***c", "/ab/xc", true},  {"", "/a/", true},
      {"/[a]", "/a", false},       {"/\xff*", "/\xff\xfe", true},
  };
  for (const auto& c : cases)
    EXPECT_EQ(Glob(c.glob).Fits(c.path), c.fits) << c.glob << " " << c.path;
}

TEST(Glob, TakesNoLongerForMoreStars) {
  const std::string path = "/" + std::string(5000, 'a');
  std::string glob = "/";
  for (int i = 0; i < 200; ++i) glob += "*a";
  EXPECT_TRUE(Glob(glob).Fits(path));
  EXPECT_FALSE(Glob(glob + "b").Fits(path));
  const std::string stars(100000, '*');
  for (const std::string& many : {stars, "/" + stars + "a", "/x" + stars + "/**/" + stars}) {
    EXPECT_EQ(Glob(many).Fits(path), many.find('x') == std::string::npos);
  }
}

}  // namespace
}  // namespace larkspur
