// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A drive, a volume or an optical drive as a failing source, through a handle of its own.

#include <memory>

#include "devices/device_system.h"
#include "io/base_io.h"
#include "platform/pages.h"
#include "rescue/asked_source.h"

namespace larkspur {

class cAskedDevice final : public AskedSource {
 public:
  // `drive` is what OpenDrive made of `path`; what it said of itself is taken over, and the drive
  // is not asked again. Null when the device cannot be opened; platform::LastFailure() says why.
  static std::unique_ptr<cAskedDevice> Open(const std::u16string& path, cBaseIO* drive);

  AskAnswer Ask(u64 sector, void* buffer, u32 count) override;
  const SourceIdentity& Identity() const override { return m_identity; }
  bool Reconnect(double seconds) override;

 private:
  cAskedDevice() = default;
  bool OpenByPath();
  // One transfer of whole sectors of the drive's around the request: the sectors that came of it.
  u32 ReadThroughKernel(u64 sector, u8* buffer, u32 count);
  FailureKind Judge(u32 code);

  std::u16string m_path;
  SourceIdentity m_identity;
  bool m_isOptical = false;
  std::unique_ptr<platform::Device> m_device;
  platform::OwnedPages m_around;  // for requests that are no whole sectors of the drive's
};

// What `drive`, opened by OpenDrive from `path`, said of itself.
SourceIdentity IdentityOfDrive(const std::u16string& path, cBaseIO* drive);

}  // namespace larkspur
