// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/folders.h"

#include <cstdlib>
#include <ctime>
#include <memory>

#include <dirent.h>
#include <sys/stat.h>

#include "base/path_text.h"

namespace larkspur::platform {
namespace {

CalendarTime LocalTimeOf(time_t seconds) {
  tm local{};
  if (!localtime_r(&seconds, &local)) return {};
  const auto number = [](int value) { return static_cast<u16>(value); };
  return {number(local.tm_year + 1900), number(local.tm_mon + 1), number(local.tm_mday),
          number(local.tm_hour),        number(local.tm_min),     number(local.tm_sec)};
}

FolderEntry EntryOf(const char* name, const struct stat& status) {
  FolderEntry entry;
  entry.name = WideFromUtf8(name);
  entry.isFolder = S_ISDIR(status.st_mode);
  entry.sizeBytes = entry.isFolder ? 0 : static_cast<u64>(status.st_size);
  entry.writtenAt = static_cast<u64>(status.st_mtim.tv_sec) * 1'000'000'000 +
                    static_cast<u64>(status.st_mtim.tv_nsec);
  entry.written = LocalTimeOf(status.st_mtim.tv_sec);
  return entry;
}

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};

class cPosixFolders final : public cFolders {
 public:
  PathKind KindOf(const std::u16string& path) override {
    return KindOfPath(FullPath(path.c_str()).c_str());
  }

  bool Visit(const std::u16string& folder,
             const std::function<bool(const FolderEntry&)>& visit) override {
    const std::unique_ptr<DIR, CloseFolder> open(opendir(Utf8FromWide(folder).c_str()));
    if (!open) return false;
    while (const dirent* const found = readdir(open.get())) {
      const std::string name = found->d_name;
      struct stat status;
      if (name == "." || name == ".." || fstatat(dirfd(open.get()), name.c_str(), &status, 0)) {
        continue;
      }
      if (!visit(EntryOf(name.c_str(), status))) return false;
    }
    return true;
  }

  bool Make(const std::u16string& folder) override {
    constexpr mode_t kEverybody = 0777;  // less what the user's mask takes away
    return mkdir(Utf8FromWide(folder).c_str(), kEverybody) == 0;
  }
};

}  // namespace

cFolders& SystemFolders() {
  static cPosixFolders folders;
  return folders;
}

std::optional<std::u16string> EnvironmentText(const char16_t* name, size_t limit) {
  const char* const text = std::getenv(Utf8FromWide(name).c_str());
  if (!text) return std::nullopt;
  std::u16string wide = WideFromUtf8(text);
  if (wide.size() > limit) return std::nullopt;
  return wide;
}

}  // namespace larkspur::platform
