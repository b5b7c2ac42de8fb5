// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A drive, a volume or an optical drive as a failing source, through handles of its own: one for
// reading through the kernel, and one for reading by commands where that is wanted and possible.

#include <memory>

#include "devices/pass_through_reader.h"
#include "imaging/source_options.h"
#include "imaging/unit_reader.h"
#include "io/base_io.h"
#include "rescue/asked_source.h"

namespace larkspur {

class cAskedDevice final : public AskedSource {
 public:
  // `drive` is what OpenDrive made of `path`; what it said of itself is taken over, and the drive
  // is not asked again. Null when the device cannot be opened; platform::LastFailure() says why.
  static std::unique_ptr<cAskedDevice> Open(const std::u16string& path, cBaseIO* drive,
                                            const SourceOptions& options);

  AskOutcome Ask(u64 sector, void* buffer, u32 count) override;
  const SourceIdentity& Identity() const override { return m_identity; }
  bool Reconnect(double seconds) override;

 private:
  explicit cAskedDevice(const SourceOptions& options) : m_options(options) {}
  void TakeIdentity(cBaseIO* drive);
  bool OpenByPath();
  void OpenForCommands();
  bool IsOdd() const { return m_identity.logicalSectorBytes % kSectorBytes != 0; }
  AskOutcome AskThroughKernel(u64 sector, u8* buffer, u32 count);
  AskOutcome AskByCommand(u64 sector, u8* buffer, u32 count);
  // What a failure is called that the system, or the drive, called outcome.kind: whether the device
  // has gone the system's state of it says, unless the drive itself said that it has no medium.
  FailureKind Refined(const AskOutcome& outcome);
  bool HasOtherMedium(bool asksDrive);

  // Opens what is at `path` when it is the same drive as before. A drive that the system calls by
  // other names is not asked.
  bool ReconnectAt(const std::u16string& path);
  // A drive that is plugged in again may have another path; by its serial number it is found.
  bool ReconnectAnywhere();

  // What the system calls a device, without asking it.
  struct SystemNames {
    std::u16string vendor, model, serial;
    u32 partition = 0;
    bool operator==(const SystemNames&) const = default;
  };
  static SystemNames NamesOf(platform::Device& device);

  SourceOptions m_options;
  std::u16string m_path;
  SourceIdentity m_identity;
  SystemNames m_names;
  bool m_isOptical = false;
  bool m_isRemovable = false;
  std::unique_ptr<platform::Device> m_device;  // null: gone
  std::unique_ptr<cPassThroughReader> m_commands;
  bool m_takesCommands = true;  // as far as is known
  std::optional<u64> m_medium;
  UnitReader m_reader;
};

}  // namespace larkspur
