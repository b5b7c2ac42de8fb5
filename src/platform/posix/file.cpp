// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/file.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include "base/path_text.h"
#include "platform/system_error.h"

namespace larkspur::platform {
namespace {

int Descriptor(FileHandle file) {
  return static_cast<int>(file);
}

void RememberErrno() {
  SetLastFailure(static_cast<u32>(errno));
}

bool Succeeded(int result) {
  if (result != 0) RememberErrno();
  return result == 0;
}

// The file unless it is a folder, which POSIX opens for reading like a file.
FileHandle RefuseFolder(int descriptor) {
  struct stat status;
  if (fstat(descriptor, &status) == 0 && !S_ISDIR(status.st_mode)) return descriptor;
  close(descriptor);
  SetLastFailure(EISDIR);
  return kNoFile;
}

FileHandle CreateFileWith(const char16_t* path, int flags) {
  const int descriptor =
      open(Utf8FromWide(path).c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK | flags, 0666);
  if (descriptor < 0) RememberErrno();
  return descriptor;
}

// With its last slash, so that nothing but a folder answers to it.
std::string FolderOf(const char16_t* path) {
  const std::string whole = Utf8FromWide(path);
  const size_t slash = whole.rfind('/');
  return slash == std::string::npos ? "./" : whole.substr(0, slash + 1);
}

timespec TimeOrKeep(const std::optional<i64>& seconds) {
  return seconds ? timespec{*seconds, 0} : timespec{0, UTIME_OMIT};
}

// What `call` answers once no signal interrupts it any more: until then it has done nothing.
template <typename Call>
auto Uninterrupted(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

}  // namespace

FileHandle OpenExistingFile(const char16_t* path, u32 mode) {
  const int access = !(mode & kOpenWrite) ? O_RDONLY : mode & kOpenRead ? O_RDWR : O_WRONLY;
  // Without O_NONBLOCK a pipe would hold the program until somebody writes to it.
  const int descriptor = open(Utf8FromWide(path).c_str(), access | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) {
    RememberErrno();
    return kNoFile;
  }
  const FileHandle file = RefuseFolder(descriptor);
  if (file == kNoFile || !(mode & kOpenExclusive)) return file;
  if (LockFileAlone(file) == LockOutcome::kLocked) return file;
  CloseFile(file);
  return kNoFile;
}

FileHandle CreateEmptyFile(const char16_t* path) {
  return CreateFileWith(path, O_TRUNC);
}

FileHandle CreateNewFile(const char16_t* path) {
  return CreateFileWith(path, O_EXCL | O_NOFOLLOW);
}

void CloseFile(FileHandle file) {
  close(Descriptor(file));
}

u32 ReadFileAt(FileHandle file, void* buffer, u32 length, u64 offset) {
  const ssize_t moved = Uninterrupted(
      [&] { return pread(Descriptor(file), buffer, length, static_cast<off_t>(offset)); });
  if (moved < 0) RememberErrno();
  return moved < 0 ? 0 : static_cast<u32>(moved);
}

u32 WriteFileAt(FileHandle file, const void* buffer, u32 length, u64 offset) {
  u32 moved = 0;
  while (moved < length) {
    // A file takes a part of a write when there is no room for all of it; why, it says at the next.
    const ssize_t part = Uninterrupted([&] {
      return pwrite(Descriptor(file), static_cast<const u8*>(buffer) + moved, length - moved,
                    static_cast<off_t>(offset + moved));
    });
    if (part < 0) RememberErrno();
    if (part <= 0) break;
    moved += static_cast<u32>(part);
  }
  return moved;
}

u64 FileSize(FileHandle file) {
  struct stat status;
  if (!Succeeded(fstat(Descriptor(file), &status))) return 0;
  if (!S_ISBLK(status.st_mode)) return static_cast<u64>(status.st_size);
  const off_t end = lseek(Descriptor(file), 0, SEEK_END);
  if (end < 0) RememberErrno();
  return end < 0 ? 0 : static_cast<u64>(end);
}

bool SetFileSize(FileHandle file, u64 bytes) {
  return Succeeded(
      Uninterrupted([&] { return ftruncate(Descriptor(file), static_cast<off_t>(bytes)); }));
}

bool ReserveRoom(FileHandle file, u64 offset, u64 bytes) {
  const int result = Uninterrupted([&] {
    return fallocate(Descriptor(file), FALLOC_FL_KEEP_SIZE, static_cast<off_t>(offset),
                     static_cast<off_t>(bytes));
  });
  if (result == 0) return true;
  RememberErrno();
  if (IsDiskFull(LastFailure()) || errno == EIO) return false;
  // A file system that does not know the call: the room is there when the file has no holes, or
  // should be when as much is free.
  struct stat status;
  struct statvfs room;
  if (fstat(Descriptor(file), &status) == 0 && status.st_blocks * 512 >= status.st_size)
    return true;
  // One that does not say how large it is says nothing of what is free, either.
  if (fstatvfs(Descriptor(file), &room) != 0 || room.f_blocks == 0) return true;
  if (static_cast<u64>(room.f_bavail) * room.f_frsize >= bytes) return true;
  SetLastFailure(ENOSPC);
  return false;
}

void MakeSparse(FileHandle) {}  // every POSIX file may have holes

std::optional<DataStretch> NextData(FileHandle file, u64 from) {
  const off_t start = lseek(Descriptor(file), static_cast<off_t>(from), SEEK_DATA);
  if (start < 0 && errno == ENXIO) return std::nullopt;
  const off_t end = start < 0 ? -1 : lseek(Descriptor(file), start, SEEK_HOLE);
  if (end > start) return DataStretch{static_cast<u64>(start), static_cast<u64>(end)};
  const u64 size = FileSize(file);
  return from < size ? std::optional(DataStretch{from, size}) : std::nullopt;
}

bool SyncFile(FileHandle file) {
  return Succeeded(Uninterrupted([&] { return fsync(Descriptor(file)); }));
}

void BeginFlush(FileHandle file) {
  // Without the flags that wait: those would take the news of a failed write away from fsync.
  sync_file_range(Descriptor(file), 0, 0, SYNC_FILE_RANGE_WRITE);
}

bool SetFileTimes(FileHandle file, const FileTimes& times) {
  const timespec both[2] = {TimeOrKeep(times.access), TimeOrKeep(times.write)};
  return Succeeded(futimens(Descriptor(file), both));
}

LockOutcome LockFileAlone(FileHandle file) {
  if (flock(Descriptor(file), LOCK_EX | LOCK_NB) == 0) return LockOutcome::kLocked;
  RememberErrno();
  return errno == EWOULDBLOCK ? LockOutcome::kLockedElsewhere : LockOutcome::kUnsupported;
}

std::optional<FileIdentity> IdentityOf(FileHandle file) {
  struct stat status;
  if (!Succeeded(fstat(Descriptor(file), &status))) return std::nullopt;
  return FileIdentity{status.st_dev, status.st_ino};
}

bool IsSameFile(FileHandle one, FileHandle other) {
  const auto identity = IdentityOf(one);
  return identity && identity == IdentityOf(other);
}

bool AreSameFile(const char16_t* one, const char16_t* other) {
  const OwnedFile a(OpenExistingFile(one, kOpenRead)), b(OpenExistingFile(other, kOpenRead));
  return a.IsOpen() && b.IsOpen() && IsSameFile(a.Handle(), b.Handle());
}

std::u16string FullPath(const char16_t* path) {
  std::error_code error;
  const std::filesystem::path full = std::filesystem::absolute(Utf8FromWide(path), error);
  return error ? std::u16string(path) : WideFromUtf8(full.lexically_normal().string());
}

PathKind KindOfPath(const char16_t* path) {
  struct stat status;
  const std::string name = Utf8FromWide(path);
  if (!Succeeded(stat(name.c_str(), &status))) {
    if (errno != ENOENT) return PathKind::kUnknown;
    return lstat(name.c_str(), &status) == 0 ? PathKind::kDeadLink : PathKind::kAbsent;
  }
  if (S_ISREG(status.st_mode)) return PathKind::kFile;
  if (S_ISDIR(status.st_mode)) return PathKind::kFolder;
  return S_ISBLK(status.st_mode) ? PathKind::kDevice : PathKind::kOther;
}

bool RenameToUnused(const char16_t* from, const char16_t* to) {
  const std::string source = Utf8FromWide(from), target = Utf8FromWide(to);
  if (renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0) {
    return true;
  }
  if (errno != EINVAL && errno != ENOSYS) return Succeeded(-1);
  // File systems that do not know the flag: a link refuses a taken name, too.
  if (link(source.c_str(), target.c_str()) == 0) return Succeeded(unlink(source.c_str()));
  if (errno == EEXIST || access(target.c_str(), F_OK) == 0) return Succeeded(-1);
  return Succeeded(rename(source.c_str(), target.c_str()));
}

bool RenameOver(const char16_t* from, const char16_t* to) {
  return Succeeded(rename(Utf8FromWide(from).c_str(), Utf8FromWide(to).c_str()));
}

bool RemoveFile(const char16_t* path) {
  return Succeeded(unlink(Utf8FromWide(path).c_str()));
}

bool HasFolder(const char16_t* path) {
  return Succeeded(access(FolderOf(path).c_str(), F_OK));
}

bool SyncFolderOf(const char16_t* path) {
  const OwnedFile opened(open(FolderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!opened.IsOpen()) return Succeeded(errno == EACCES ? 0 : -1);  // it may be written only
  if (fsync(Descriptor(opened.Handle())) == 0) return true;
  return Succeeded(errno == EINVAL || errno == ENOTSUP || errno == EROFS ? 0 : -1);
}

std::optional<u64> FreeBytes(const char16_t* path) {
  struct statvfs room;
  if (!Succeeded(statvfs(Utf8FromWide(path).c_str(), &room))) return std::nullopt;
  if (room.f_blocks == 0) return std::nullopt;  // it does not say how large it is
  return static_cast<u64>(room.f_bavail) * room.f_frsize;
}

void DropCachedPages(const char16_t* path) {
  const OwnedFile file(OpenExistingFile(path, kOpenRead));
  if (file.IsOpen()) posix_fadvise(static_cast<int>(file.Handle()), 0, 0, POSIX_FADV_DONTNEED);
}

std::u16string FollowLinks(const std::u16string& path) {
  constexpr int kMostLinks = 40;  // as many as Linux follows
  std::error_code error;
  std::filesystem::path at = Utf8FromWide(path);
  int followed = 0;
  for (; followed < kMostLinks && std::filesystem::is_symlink(at, error); ++followed) {
    const std::filesystem::path target = std::filesystem::read_symlink(at, error);
    if (error) return path;
    at = at.parent_path() / target;
  }
  return followed == 0 || followed == kMostLinks ? path : WideFromUtf8(at.string());
}

}  // namespace larkspur::platform
