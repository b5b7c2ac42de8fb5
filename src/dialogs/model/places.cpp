// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/model/places.h"

#include <algorithm>
#include <vector>

#include "base/text.h"
#include "base/types.h"
#include "dialogs/model/number_text.h"

namespace larkspur {
namespace {

using platform::cVolumes;
using platform::NetworkConnection;

constexpr size_t kEnvironmentCharacters = 260;

std::u16string DriveOf(char16_t letter) {
  return {letter, u':'};
}

// The words for a drive with a file system: with a label "Data (D:, 1.00GB fixed drive)".
struct SizedDriveWords {
  const char16_t* withoutLabel;
  const char16_t* kind;
};
constexpr SizedDriveWords kFixedWords = {u"Fixed disk ", u" fixed drive)"};
constexpr SizedDriveWords kNetworkWords = {u"Network disk ", u" network drive)"};

std::u16string SizedDriveText(char16_t letter, const SizedDriveWords& words, cVolumes& volumes) {
  const std::u16string root = DriveOf(letter) + u"\\";
  const std::u16string size = GigabytesText(volumes.TotalBytes(root.c_str()).value_or(0));
  const std::u16string label = volumes.LabelOf(root.c_str());
  if (label.empty()) return words.withoutLabel + DriveOf(letter) + u" (" + size + u")";
  return label + u" (" + DriveOf(letter) + u", " + size + words.kind;
}

std::u16string DriveText(char16_t letter, u32 type, cVolumes& volumes) {
  switch (type) {
    case platform::kDriveFixed:
      return SizedDriveText(letter, kFixedWords, volumes);
    case platform::kDriveRemote:
      return SizedDriveText(letter, kNetworkWords, volumes);
    case platform::kDriveOptical:
      return u"CD/DVD drive " + DriveOf(letter);
    case platform::kDriveRamDisk:
      return u"RAM drive " + DriveOf(letter);
    default:
      return u"Disk " + DriveOf(letter);
  }
}

PlaceKind KindOf(u32 type) {
  if (type == platform::kDriveOptical) return PlaceKind::kDisc;
  return type == platform::kDriveRemote ? PlaceKind::kNetwork : PlaceKind::kDrive;
}

// "share" of "\\server\share".
std::u16string ShareName(const std::u16string& remoteName) {
  const size_t end = remoteName.find_last_not_of(u'\\');
  if (end == std::u16string::npos) return remoteName;
  const size_t cut = remoteName.rfind(u'\\', end);
  const size_t first = cut == std::u16string::npos ? 0 : cut + 1;
  return remoteName.substr(first, end + 1 - first);
}

FilePlace OfflinePlace(const NetworkConnection& connection) {
  FilePlace place;
  place.text = ShareName(connection.remoteName) + u" (";
  if (!connection.localName.empty()) place.text += connection.localName + u" on ";
  place.text += connection.remoteName + u" - Offline)";
  place.isOffline = true;
  return place;
}

FilePlace NetworkPlace(const NetworkConnection& connection, cVolumes& volumes) {
  const bool hasLetter = !connection.localName.empty();
  const std::u16string& path = hasLetter ? connection.localName : connection.remoteName;
  const std::u16string root = path + u"\\";
  // The size is the proof that the server answers.
  const std::optional<u64> bytes =
      connection.isConnected ? volumes.TotalBytes(root.c_str()) : std::nullopt;
  FilePlace place;
  if (!bytes) {
    place = OfflinePlace(connection);
  } else {
    const std::u16string label = volumes.LabelOf(root.c_str());
    place.text = (label.empty() ? ShareName(connection.remoteName) : label) + u" (";
    if (hasLetter) place.text += connection.localName + u", ";
    place.text += GigabytesText(*bytes) + u" on " + connection.remoteName + u")";
  }
  place.kind = PlaceKind::kNetwork;
  place.path = path;
  place.connection = connection;
  return place;
}

std::vector<NetworkConnection> ConnectionsOf(cVolumes& volumes) {
  std::vector<NetworkConnection> connections;
  volumes.VisitConnections([&](const NetworkConnection& connection) {
    const bool named = !connection.localName.empty() || !connection.remoteName.empty();
    if (named) connections.push_back(connection);
  });
  return connections;
}

bool IsConnection(char16_t letter, const std::vector<NetworkConnection>& connections) {
  return std::any_of(connections.begin(), connections.end(), [&](const NetworkConnection& one) {
    return one.localName.size() == 2 && UpperCase(one.localName[0]) == letter &&
           one.localName[1] == u':';
  });
}

}  // namespace

std::u16string HomeFolder(const AskEnvironment& environment) {
  std::u16string home;
  if (const auto profile = environment(u"USERPROFILE", kEnvironmentCharacters)) {
    home = *profile;
  } else {
    const auto drive = environment(u"HOMEDRIVE", kEnvironmentCharacters);
    const auto path = environment(u"HOMEPATH", kEnvironmentCharacters);
    if (drive && path) home = *drive + *path;
  }
  const size_t first = home.find_first_not_of(u'"');
  const size_t last = home.find_last_not_of(u"\" ");
  if (first == std::u16string::npos || last == std::u16string::npos || first > last) return {};
  return home.substr(first, last + 1 - first);
}

void VisitPlaces(const AskEnvironment& environment, cVolumes& volumes,
                 const std::function<bool(const FilePlace&)>& visit) {
  const FilePlace home{PlaceKind::kHome, u"Home folder", HomeFolder(environment), false, {}};
  if (!home.path.empty() && !visit(home)) return;
  std::optional<std::vector<NetworkConnection>> connections;
  const auto known = [&]() -> const std::vector<NetworkConnection>& {
    if (!connections) connections = ConnectionsOf(volumes);
    return *connections;
  };
  for (char16_t letter = u'A'; letter <= u'Z'; ++letter) {
    const u32 type = volumes.TypeOf((DriveOf(letter) + u"\\").c_str());
    if (type == platform::kDriveUnknown || type == platform::kDriveNoRoot) continue;
    if (type == platform::kDriveRemote && IsConnection(letter, known())) continue;
    const FilePlace place{
        KindOf(type), DriveText(letter, type, volumes), DriveOf(letter), false, {}};
    if (!visit(place)) return;
  }
  for (const NetworkConnection& connection : known()) {
    if (!visit(NetworkPlace(connection, volumes))) return;
  }
}

}  // namespace larkspur
