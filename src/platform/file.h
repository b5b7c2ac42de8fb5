// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Files of the operating system by 64-bit positions. Every failure leaves the system's error in
// platform::LastFailure(). Paths are UTF-16, zero-terminated; on Windows long ones and those with
// any letters work as they are, on POSIX they are the bytes that base/path_text.h makes of them.

#include <compare>
#include <optional>
#include <string>

#include "base/types.h"

namespace larkspur::platform {

// The system's file handle or descriptor, owned by the caller that opened it.
using FileHandle = std::intptr_t;
constexpr FileHandle kNoFile = -1;

enum OpenMode : u32 {
  kOpenRead = 1,
  kOpenWrite = 2,
  kOpenExclusive = 4,  // no one else may have it open (POSIX: no one who asks the same)
};

// Opens an existing file or block device; kNoFile on failure, and for a folder.
FileHandle OpenExistingFile(const char16_t* path, u32 mode);

// Makes a file for reading and writing; an existing one is emptied. kNoFile on failure.
FileHandle CreateEmptyFile(const char16_t* path);

// The same under a name that nothing has yet; kNoFile where anything has it, be it a link.
FileHandle CreateNewFile(const char16_t* path);

void CloseFile(FileHandle file);

// One transfer of `length` bytes at byte `offset`: the bytes moved, 0 at the end or on failure.
u32 ReadFileAt(FileHandle file, void* buffer, u32 length, u64 offset);
u32 WriteFileAt(FileHandle file, const void* buffer, u32 length, u64 offset);

// Bytes in the file or block device; 0 on failure.
u64 FileSize(FileHandle file);
bool SetFileSize(FileHandle file, u64 bytes);

// Has the file system set room aside for [offset, offset+bytes), which lies inside the file, so
// that writing there does not fail for lack of it; where it cannot, asks whether there is as much
// free. False when there is not: the last failure is then one that IsDiskFull knows.
bool ReserveRoom(FileHandle file, u64 offset, u64 bytes);

// Makes holes of a new file cost no room where the file system offers that.
void MakeSparse(FileHandle file);

// The first stretch at or after byte `from` that may hold anything but zeros; none when there is
// only a hole left. Where the file system does not tell, everything up to the end may.
struct DataStretch {
  u64 start;
  u64 end;
};
std::optional<DataStretch> NextData(FileHandle file, u64 from);

// Waits until all that was written to the file, through any handle, is flushed to disk.
bool SyncFile(FileHandle file);
// Lets the system begin to flush what was written to the file, and waits for none of it: what goes
// wrong is told by the next SyncFile. Does nothing where a system has no such request.
void BeginFlush(FileHandle file);

// Sets times given in UTC seconds since 1970; absent ones stay. POSIX has no creation time to set.
struct FileTimes {
  std::optional<i64> creation;
  std::optional<i64> access;
  std::optional<i64> write;
};
bool SetFileTimes(FileHandle file, const FileTimes& times);

// Takes the advisory lock that keeps a second run from the file; it ends with the handle.
enum class LockOutcome { kLocked, kLockedElsewhere, kUnsupported };
LockOutcome LockFileAlone(FileHandle file);

// Tells a file from all others of this machine, whatever name it was opened by.
struct FileIdentity {
  u64 volume;
  u64 file;
  auto operator<=>(const FileIdentity&) const = default;
};
std::optional<FileIdentity> IdentityOf(FileHandle file);
bool IsSameFile(FileHandle one, FileHandle other);

// The same of two paths; false when either cannot be opened for reading.
bool AreSameFile(const char16_t* one, const char16_t* other);

// The path from the file system's root, "." and ".." resolved; on Windows also the device that a
// reserved name such as "NUL" stands for. The path as it is when that fails.
std::u16string FullPath(const char16_t* path);

// kDeadLink: a link to what is not there.
enum class PathKind { kAbsent, kFile, kFolder, kDevice, kOther, kDeadLink, kUnknown };
PathKind KindOfPath(const char16_t* path);

// Whether the folder that a path names a file in is there; the last failure says why not.
bool HasFolder(const char16_t* path);

// Gives a file another name, in the same folder; false when that name is taken.
bool RenameToUnused(const char16_t* from, const char16_t* to);
// The same, in place of the file that has the name, if any: who opens it sees one or the other.
bool RenameOver(const char16_t* from, const char16_t* to);
bool RemoveFile(const char16_t* path);

// Flushes to disk which names the folder of `path` has. True as well where folders cannot be asked.
bool SyncFolderOf(const char16_t* path);

// Bytes that the caller may still write on the file system of an existing file or folder; none
// where that does not say.
std::optional<u64> FreeBytes(const char16_t* path);

// Makes the system forget what it holds of the file in memory, so that reads come from the disk.
// REQUIRES: everything that was written has been flushed. Does nothing where the system does not
// offer that.
void DropCachedPages(const char16_t* path);

// Where the symbolic link at `path` leads in the end, whether or not anything is there; the path as
// it is when there is no link, or it cannot be followed.
std::u16string FollowLinks(const std::u16string& path);

// A file handle that is closed with its owner; kNoFile owns nothing.
class OwnedFile {
 public:
  OwnedFile() = default;
  explicit OwnedFile(FileHandle file) : m_file(file) {}
  OwnedFile(OwnedFile&& other) noexcept : m_file(other.Release()) {}
  OwnedFile& operator=(OwnedFile&& other) noexcept {
    Close();
    m_file = other.Release();
    return *this;
  }
  ~OwnedFile() { Close(); }

  FileHandle Handle() const { return m_file; }
  bool IsOpen() const { return m_file != kNoFile; }
  void Close() {
    if (IsOpen()) CloseFile(m_file);
    m_file = kNoFile;
  }

 private:
  FileHandle Release() {
    const FileHandle file = m_file;
    m_file = kNoFile;
    return file;
  }

  FileHandle m_file = kNoFile;
};

}  // namespace larkspur::platform
