// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A file as a stream of bytes with a position. Failures are false, 0 or a short count.

#include "base/types.h"
#include "base/wide_string.h"
#include "platform/file.h"

namespace larkspur {

class cFileIOTarget {
 public:
  virtual u64 GetSize() = 0;  // slot 0
  // One transfer at the position, which advances: the bytes moved, possibly fewer than asked.
  virtual u32 ReadSome(void* buffer, u32 lengthBytes) = 0;         // slot 1
  virtual u32 WriteSome(const void* buffer, u32 lengthBytes) = 0;  // slot 2
  // True when one transfer moved exactly that much.
  virtual bool ReadExact(void* buffer, u32 lengthBytes);         // slot 3
  virtual bool WriteExact(const void* buffer, u32 lengthBytes);  // slot 4
  virtual bool Seek(u64 offset) = 0;                             // slot 5
  // Moves the position relative to the end. True only when the resulting absolute position equals
  // the distance given.
  virtual bool SeekFromEnd(u64 distance) = 0;  // slot 6
  // The position is at the new end afterwards.
  virtual bool SetSize(u64 sizeBytes) = 0;  // slot 7
  virtual void Close() = 0;                 // slot 8
  // Sets creation and last write, given in UTC.
  virtual bool SetTimeStamp(u16 year, u16 month, u16 day, u16 hour, u16 minute,
                            u16 second) = 0;  // slot 9
  virtual bool IsOpen() = 0;                  // slot 10
  virtual void* Destroy(u32 flags) = 0;       // slot 11
  virtual u32 GetTargetKind() = 0;            // slot 12
  // Local times in seconds since 1970; all-ones leaves one unchanged, three of them are refused.
  virtual bool SetUnixTimes(u32 write, u32 creation, u32 access) = 0;  // slot 13

 protected:
  ~cFileIOTarget() = default;
};

// A file of the operating system. The position is kept here and each transfer names it, so moving
// it costs no system call. One thread at a time per object.
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
