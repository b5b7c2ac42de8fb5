// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "dialogs/model/chosen_path.h"

#include <algorithm>

#include "dialogs/model/folder_rows.h"

namespace larkspur {
namespace {

using platform::PathKind;

// Without the quotes around it and blanks on either side, and with backslashes only.
std::u16string Tidied(std::u16string_view typed) {
  constexpr std::u16string_view kAround = u" \t\"";
  const size_t first = typed.find_first_not_of(kAround);
  if (first == std::u16string_view::npos) return {};
  std::u16string text(typed.substr(first, typed.find_last_not_of(kAround) + 1 - first));
  std::replace(text.begin(), text.end(), u'/', u'\\');
  return text;
}

std::u16string WithoutEndSlashes(std::u16string_view path) {
  while (path.ends_with(u'\\')) path.remove_suffix(1);
  return std::u16string(path);
}

bool BeginsWithDrive(std::u16string_view text) {
  return text.find(u':') == 1;
}

bool IsDrive(std::u16string_view text) {
  return text.size() == 2 && BeginsWithDrive(text);
}

// A drive's own folder needs its backslash: "C:" would mean the current folder there.
std::u16string FolderPath(std::u16string_view path) {
  std::u16string folder = WithoutEndSlashes(path);
  return IsDrive(folder) ? folder + u"\\" : folder;
}

bool HasExtension(std::u16string_view path, std::u16string_view extension) {
  return FitsPattern(path, std::u16string(u"*.").append(extension));
}

ChosenPath DecideFile(std::u16string path, PathKind kind, FileUse use,
                      platform::cFolders& folders) {
  switch (kind) {
    case PathKind::kFile:
      return {use == FileUse::kReplace ? ChosenKind::kAskOverwrite : ChosenKind::kFile,
              std::move(path)};
    case PathKind::kFolder:
      return {ChosenKind::kAskFolder, FolderPath(path)};
    case PathKind::kAbsent: {
      const bool reachable =
          use != FileUse::kOpen && folders.KindOf(ParentFolder(path)) == PathKind::kFolder;
      return {reachable ? ChosenKind::kFile : ChosenKind::kMissing, std::move(path)};
    }
    case PathKind::kUnknown:
      return {ChosenKind::kMissing, std::move(path)};
    default:
      return {ChosenKind::kSpecial, std::move(path)};
  }
}

}  // namespace

std::u16string JoinPath(std::u16string_view folder, std::u16string_view name) {
  if (folder.empty() || BeginsWithDrive(name) || name.starts_with(u"\\\\"))
    return std::u16string(name);
  if (name.starts_with(u'\\')) {
    return std::u16string(folder.substr(0, BeginsWithDrive(folder) ? 2 : 0)).append(name);
  }
  std::u16string path(folder);
  if (!path.ends_with(u'\\')) path += u'\\';
  return path.append(name);
}

std::u16string ParentFolder(std::u16string_view path) {
  const std::u16string whole = WithoutEndSlashes(path);
  const size_t cut = whole.rfind(u'\\');
  if (cut == std::u16string::npos) return {};
  const std::u16string parent = WithoutEndSlashes(whole.substr(0, cut));
  // "\\server" is no folder.
  if (parent.starts_with(u"\\\\") && parent.find(u'\\', 2) == std::u16string::npos) return {};
  return FolderPath(parent);
}

ChosenPath DecideChosenPath(std::u16string_view typed, std::u16string_view current,
                            std::u16string_view extension, FileUse use,
                            platform::cFolders& folders) {
  const std::u16string text = Tidied(typed);
  if (text.empty()) return {};
  if (text.find_first_of(u"*?", text.starts_with(u"\\\\?\\") ? 4 : 0) != std::u16string::npos) {
    return {ChosenKind::kPattern, text};
  }
  std::u16string path = JoinPath(current, IsDrive(text) ? text + u"\\" : text);
  PathKind kind = folders.KindOf(path);
  if (kind == PathKind::kFolder) return {ChosenKind::kFolder, FolderPath(path)};
  if (path.ends_with(u'\\')) return {ChosenKind::kMissing, path};
  if (kind == PathKind::kAbsent && !extension.empty() && !HasExtension(path, extension)) {
    path.append(u".").append(extension);
    kind = folders.KindOf(path);
  }
  return DecideFile(std::move(path), kind, use, folders);
}

NewFolder MakeNewFolder(std::u16string_view name, std::u16string_view current,
                        platform::cFolders& folders) {
  const std::u16string text = WithoutEndSlashes(Tidied(name));
  if (text.empty()) return {};
  const std::u16string path = JoinPath(current, text);
  const auto answered = [&](NewFolderOutcome outcome) { return NewFolder{outcome, path}; };
  switch (folders.KindOf(path)) {
    case PathKind::kAbsent:
      return answered(folders.Make(path) ? NewFolderOutcome::kMade : NewFolderOutcome::kFailed);
    case PathKind::kFile:
      return answered(NewFolderOutcome::kNameOfFile);
    case PathKind::kFolder:
      return answered(NewFolderOutcome::kNameOfFolder);
    case PathKind::kUnknown:
      return answered(NewFolderOutcome::kFailed);
    default:
      return answered(NewFolderOutcome::kNameOfOther);
  }
}

std::u16string cNavigationProvider::Parent() const {
  return ParentFolder(m_current);
}

void cNavigationProvider::Arrive(const std::u16string& folder) {
  if (folder == m_current) return;
  if (folder == Previous()) {
    m_before.pop_back();
  } else if (!m_current.empty()) {
    m_before.push_back(m_current);
  }
  m_current = folder;
}

}  // namespace larkspur
