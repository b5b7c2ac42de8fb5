// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// cFileIO: a file of the operating system. The position is kept here and each transfer names it, so
// moving it costs no system call. One thread at a time per object.

#include "base/wide_string.h"
#include "io/file_io_target.h"
#include "platform/file.h"

namespace larkspur {

class cFileIO final : public cFileIOTarget {
 public:
  static constexpr u32 kModeRead = platform::kOpenRead;
  static constexpr u32 kModeReadWrite = platform::kOpenRead | platform::kOpenWrite;
  static constexpr u32 kUnchangedTime = 0xFFFFFFFF;

  cFileIO() = default;
  cFileIO(const cFileIO&) = delete;
  cFileIO& operator=(const cFileIO&) = delete;
  ~cFileIO() { Close(); }

  // Closes what is open and opens an existing file in one of the modes above.
  bool Reopen(const char16_t* path, u32 mode);
  // Closes what is open and makes an empty file, readable and writable; an existing one is emptied.
  bool CreateEmpty(const char16_t* path);

  // platform::ReserveRoom and IdentityOf for the open file.
  bool ReserveRoom(u64 offset, u64 bytes);
  std::optional<platform::FileIdentity> Identity() const;

  // The path last opened or created.
  const cWideString& Path() const { return m_path; }

  u64 GetSize() override;
  u32 ReadSome(void* buffer, u32 lengthBytes) override;
  u32 WriteSome(const void* buffer, u32 lengthBytes) override;
  bool Seek(u64 offset) override;
  bool SeekFromEnd(u64 distance) override;
  bool SetSize(u64 sizeBytes) override;
  void Close() override;
  bool SetTimeStamp(u16 year, u16 month, u16 day, u16 hour, u16 minute, u16 second) override;
  bool IsOpen() override { return m_file != platform::kNoFile; }
  void* Destroy(u32 flags) override;
  u32 GetTargetKind() override { return 1; }
  bool SetUnixTimes(u32 write, u32 creation, u32 access) override;

 private:
  bool Hold(platform::FileHandle file, const char16_t* path);

  platform::FileHandle m_file = platform::kNoFile;
  cWideString m_path;
  u64 m_position = 0;
};

}  // namespace larkspur
