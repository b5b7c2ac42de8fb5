// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The places from which a person goes looking for a file: the home folder, the drives, and what is
// connected over the network.

#include <functional>
#include <optional>
#include <string>

#include "platform/volumes.h"

namespace larkspur {

enum class PlaceKind { kHome, kDrive, kDisc, kNetwork };

struct FilePlace {
  PlaceKind kind = PlaceKind::kDrive;
  std::u16string text;
  std::u16string path;  // of a drive: its letter and colon
  bool isOffline = false;
  // How to connect it again, of an offline place.
  platform::NetworkConnection connection;
};

// Asks for an environment variable of at most so many characters.
using AskEnvironment = std::function<std::optional<std::u16string>(const char16_t*, size_t)>;

// The user's own folder; empty when the environment names none.
std::u16string HomeFolder(const AskEnvironment& environment);

// Calls `visit` for each place in the order of the list, as soon as it is known, until it answers
// false. Takes as long as the drives and servers take to answer.
void VisitPlaces(const AskEnvironment& environment, platform::cVolumes& volumes,
                 const std::function<bool(const FilePlace&)>& visit);

}  // namespace larkspur
