// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A regular file as a failing source.
//
// It is read through the system's cache while all is well, which is faster, and past it from the
// first failure on: the cache fails whole pages and asks the disk below for more than was wanted.

#include <memory>

#include "imaging/unit_reader.h"
#include "platform/file.h"
#include "rescue/asked_source.h"

namespace larkspur {

class cAskedFile final : public AskedSource {
 public:
  // Null on failure; platform::LastFailure() says why.
  static std::unique_ptr<cAskedFile> Open(const std::u16string& path);

  AskOutcome Ask(u64 sector, void* buffer, u32 count) override;
  const SourceIdentity& Identity() const override { return m_identity; }
  bool Reconnect(double seconds) override;

 private:
  cAskedFile() = default;
  bool OpenByPath();
  // Past the cache once it has been left, as far as the system takes such requests; otherwise
  // through it after all. The sectors that came.
  u32 Read(u64 sector, u8* buffer, u32 count);
  void LeaveCache();

  std::u16string m_path;
  SourceIdentity m_identity;
  platform::OwnedFile m_file;
  platform::OwnedFile m_direct;  // open from the first failure on, where the system offers it
  u32 m_unitBytes = 0;           // what requests past the cache are made of
  bool m_hasFailed = false;
  UnitReader m_reader;
};

}  // namespace larkspur
