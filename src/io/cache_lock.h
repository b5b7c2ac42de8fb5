// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Keeps other runs away from a cache file while it lives, and flushes the file to disk. Shared by
// all who work on the cache in this process; any thread may call.

#include <atomic>
#include <memory>
#include <string>

#include "platform/file.h"

namespace larkspur {

class CacheLock : public std::enable_shared_from_this<CacheLock> {
 public:
  static constexpr double kSyncSeconds = 30;

  // A handle that is open for writing, and locked where the file system has locks. `path` is where
  // the file was found, from the root.
  CacheLock(platform::OwnedFile file, std::u16string path);
  CacheLock(const CacheLock&) = delete;
  CacheLock& operator=(const CacheLock&) = delete;
  ~CacheLock();

  // The lock that this process has of the file behind `handle`; null when it has none. Storages of
  // one process may share a cache, since their images share what they must (io/shared_file.h).
  static std::shared_ptr<CacheLock> FindInProcess(platform::FileHandle handle);

  platform::FileHandle Handle() const { return m_file.Handle(); }
  bool Sync() { return platform::SyncFile(m_file.Handle()); }
  // False once the file was deleted or renamed, or another one has its name: what is stored from
  // then on is lost, or where no one looks for it.
  bool HasItsName() const;
  void BeginFlush() { platform::BeginFlush(m_file.Handle()); }

  // For those who store as they are asked, without a run that has an end: NoteStored flushes when
  // the last time was kSyncSeconds ago. SyncNoted flushes if anything was noted and not flushed
  // since, and answers whether there was.
  void NoteStored();
  bool SyncNoted();

 private:
  const platform::OwnedFile m_file;
  const std::u16string m_path;
  std::atomic<bool> m_noted{false};
  std::atomic<double> m_lastSync;
  CacheLock* m_next;  // of this process
};

}  // namespace larkspur
