// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/file_choose_work.h"

#include "platform/system_error.h"

namespace larkspur {
namespace {

// A drive goes by its letter and colon; its folder needs the backslash.
std::u16string FolderOf(const std::u16string& place) {
  return place.ends_with(u':') ? place + u"\\" : place;
}

FolderRead Read(u32 turn, const std::u16string& folder) {
  FolderRead read;
  read.turn = turn;
  read.folder = folder;
  platform::SetLastFailure(0);
  const bool complete =
      platform::SystemFolders().Visit(folder, [&](const platform::FolderEntry& entry) {
        read.entries.push_back(entry);
        return true;
      });
  if (!complete) read.systemError = platform::LastFailure();
  return read;
}

}  // namespace

bool FindPlaces(const ChooserMail& mail) {
  return RunDetached([mail] {
    VisitPlaces(platform::EnvironmentText, platform::SystemVolumes(),
                [&mail](const FilePlace& place) { return mail->Post(PlaceFound{place}); });
  });
}

bool ReadFolder(const ChooserMail& mail, u32 turn, const std::u16string& folder,
                const std::optional<platform::NetworkConnection>& offline) {
  return RunDetached([=, path = FolderOf(folder)] {
    if (offline) platform::SystemVolumes().Reconnect(*offline);
    mail->Post(Read(turn, path));
  });
}

bool DecideName(const ChooserMail& mail, u32 turn, const NameQuestion& question) {
  return RunDetached([=] {
    mail->Post(
        NameDecided{turn, DecideChosenPath(question.typed, question.current, question.extension,
                                           question.use, platform::SystemFolders())});
  });
}

bool MakeFolder(const ChooserMail& mail, u32 turn, const std::u16string& name,
                const std::u16string& current) {
  return RunDetached([=] {
    mail->Post(FolderMade{turn, MakeNewFolder(name, current, platform::SystemFolders())});
  });
}

}  // namespace larkspur
