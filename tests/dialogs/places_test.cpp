// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/model/places.h"

#include <map>

#include <gtest/gtest.h>

#include "base/path_text.h"
#include "dialogs/model/number_text.h"
#include "fakes/fake_volumes.h"

namespace larkspur {
namespace {

constexpr u64 kGigabyte = u64{1} << 30;

using Variables = std::map<std::u16string, std::u16string>;

AskEnvironment EnvironmentOf(const Variables& variables) {
  return [variables](const char16_t* name, size_t limit) -> std::optional<std::u16string> {
    const auto found = variables.find(name);
    if (found == variables.end() || found->second.size() > limit) return std::nullopt;
    return found->second;
  };
}

// A line for each place: text, path, and "offline" where it is.
std::string ListOf(const Variables& variables, fakes::FakeVolumes& volumes) {
  std::string list;
  VisitPlaces(EnvironmentOf(variables), volumes, [&](const FilePlace& place) {
    list += Utf8FromWide(place.text) + " -> " + Utf8FromWide(place.path);
    list += place.isOffline ? " offline\n" : "\n";
    return true;
  });
  return list;
}

TEST(GigabytesText, CutsAfterTwoDecimals) {
  const struct {
    u64 bytes;
    const char16_t* text;
  } cases[] = {{0, u"0.00GB"},
               {10737417, u"0.00GB"},
               {10737418, u"0.01GB"},
               {kGigabyte - 25, u"0.99GB"},
               {kGigabyte, u"1.00GB"},
               {1000204886016, u"931.51GB"},
               {~u64{0}, u"17179869568.00GB"}};
  for (const auto& c : cases) EXPECT_EQ(GigabytesText(c.bytes), c.text) << c.bytes;
}

TEST(HomeFolder, ComesFromTheEnvironment) {
  const struct {
    Variables variables;
    const char16_t* home;
  } cases[] = {
      {{{u"USERPROFILE", u"C:\\Users\\Ann"}}, u"C:\\Users\\Ann"},
      {{{u"USERPROFILE", u"\"C:\\Users\\Ann\"  "}}, u"C:\\Users\\Ann"},
      {{{u"USERPROFILE", u"C:\\Users\\Ann  \""}}, u"C:\\Users\\Ann"},
      {{{u"HOMEDRIVE", u"D:"}, {u"HOMEPATH", u"\\Ann"}}, u"D:\\Ann"},
      {{{u"USERPROFILE", u"C:\\A"}, {u"HOMEDRIVE", u"D:"}, {u"HOMEPATH", u"\\B"}}, u"C:\\A"},
      {{{u"USERPROFILE", std::u16string(261, u'x')}}, u""},
      {{{u"HOMEDRIVE", u"D:"}}, u""},
      {{{u"USERPROFILE", u"\""}}, u""},
      {{{u"USERPROFILE", u"  "}}, u""},
      {{}, u""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(HomeFolder(EnvironmentOf(c.variables)), c.home) << Utf8FromWide(c.home);
  }
}

TEST(Places, NameEachKindOfDrive) {
  fakes::FakeVolumes volumes;
  volumes.drives = {{u"A:\\", {platform::kDriveRemovable}},
                    {u"B:\\", {platform::kDriveUnknown}},
                    {u"C:\\", {platform::kDriveFixed, kGigabyte}},
                    {u"D:\\", {platform::kDriveFixed, 3 * kGigabyte, u"Data"}},
                    {u"E:\\", {platform::kDriveOptical, kGigabyte, u"unasked"}},
                    {u"F:\\", {platform::kDriveFixed}},
                    {u"N:\\", {platform::kDriveRemote, kGigabyte}},
                    {u"O:\\", {platform::kDriveRemote, kGigabyte, u"Pool"}},
                    {u"R:\\", {platform::kDriveRamDisk}},
                    {u"Z:\\", {42}}};
  EXPECT_EQ(ListOf({{u"USERPROFILE", u"C:\\Ann"}}, volumes),
            "Home folder -> C:\\Ann\n"
            "Disk A: -> A:\n"
            "Fixed disk C: (1.00GB) -> C:\n"
            "Data (D:, 3.00GB fixed drive) -> D:\n"
            "CD/DVD drive E: -> E:\n"
            "Fixed disk F: (0.00GB) -> F:\n"
            "Network disk N: (1.00GB) -> N:\n"
            "Pool (O:, 1.00GB network drive) -> O:\n"
            "RAM drive R: -> R:\n"
            "Disk Z: -> Z:\n");
}

TEST(Places, ShowNetworkConnectionsOnceAndLast) {
  fakes::FakeVolumes volumes;
  volumes.drives = {{u"C:\\", {platform::kDriveFixed, kGigabyte}},
                    {u"N:\\", {platform::kDriveRemote, 2 * kGigabyte, u"Team"}},
                    {u"O:\\", {platform::kDriveRemote}},
                    {u"\\\\nas\\open\\", {platform::kDriveRemote, kGigabyte}},
                    {u"P:\\", {platform::kDriveRemote, kGigabyte}}};
  volumes.connections = {{u"n:", u"\\\\nas\\team", true},  {u"O:", u"\\\\nas\\gone", true},
                         {u"", u"\\\\nas\\open", true},    {u"", u"\\\\old\\share\\", false},
                         {u"Q:", u"\\\\old\\data", false}, {u"", u"", true}};
  volumes.drives[u"n:\\"] = volumes.drives[u"N:\\"];
  EXPECT_EQ(ListOf({}, volumes),
            "Fixed disk C: (1.00GB) -> C:\n"
            "Network disk P: (1.00GB) -> P:\n"
            "Team (n:, 2.00GB on \\\\nas\\team) -> n:\n"
            "gone (O: on \\\\nas\\gone - Offline) -> O: offline\n"
            "open (1.00GB on \\\\nas\\open) -> \\\\nas\\open\n"
            "share (\\\\old\\share\\ - Offline) -> \\\\old\\share\\ offline\n"
            "data (Q: on \\\\old\\data - Offline) -> Q: offline\n");
}

TEST(Places, AreThereWithoutANetworkAndStopWhenAsked) {
  fakes::FakeVolumes volumes;
  volumes.drives = {{u"C:\\", {platform::kDriveFixed}}, {u"D:\\", {platform::kDriveOptical}}};
  volumes.connections = {{u"N:", u"\\\\nas\\team", true}};
  for (int wanted = 1; wanted <= 4; ++wanted) {
    int seen = 0;
    VisitPlaces(EnvironmentOf({{u"USERPROFILE", u"C:\\Ann"}}), volumes,
                [&](const FilePlace&) { return ++seen < wanted; });
    EXPECT_EQ(seen, wanted);
  }
}

}  // namespace
}  // namespace larkspur
