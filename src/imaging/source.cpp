// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/source.h"

#include "devices/device_system.h"
#include "devices/open_drive.h"
#include "imaging/asked_device.h"
#include "imaging/asked_file.h"
#include "imaging/asked_test_mode.h"
#include "io/flat_io.h"
#include "io/sparse_layout.h"
#include "platform/system_error.h"

namespace larkspur {
namespace {

// The file or device at `path`; null on failure.
Owned<cBaseIO> OpenStorage(const std::u16string& path, bool isDevice) {
  if (isDevice) {
    Owned<cBaseIO> drive = OpenDrive(path);
    // What a drive could not answer when it was asked who it is does not matter any more.
    if (drive) platform::SetLastFailure(0);
    return drive;
  }
  Owned<cFlatIO> file(new cFlatIO);
  return Owned<cBaseIO>(file->OpenPath(path, true) ? file.release() : nullptr);
}

std::unique_ptr<AskedSource> OpenAsked(const std::u16string& path, cBaseIO* storage, bool isDevice,
                                       const SourceOptions& options) {
  if (isDevice) return cAskedDevice::Open(path, storage, options);
  return cAskedFile::Open(path);
}

tl::unexpected<SourceFault> CannotOpen(u32 systemError) {
  return Failed(SourceFault{SourceFaultKind::kCannotOpen, systemError});
}

}  // namespace

Owned<cBaseIO> Source::TakeStorage() {
  return io ? io->ReleaseSource() : nullptr;
}

Result<Source, SourceFault> OpenSource(const std::u16string& path, const SourceOptions& options) {
  const bool isDevice = Devices().IsDevice(path.c_str());
  platform::SetLastFailure(0);
  Source source;
  Owned<cBaseIO> storage = OpenStorage(path, isDevice);
  if (!storage) return CannotOpen(platform::LastFailure());
  source.trailingBytes = static_cast<u32>(storage->GetByteSize() % kSectorBytes);
  const u32 systemError = platform::LastFailure();
  source.asked = OpenAsked(path, storage.get(), isDevice, options);
  if (!source.asked) return CannotOpen(platform::LastFailure());
  source.sectors = source.asked->Identity().sectors;
  if (!options.testMapfile.empty()) {
    const auto blocks = ReadMapfile(options.testMapfile);
    if (!blocks) {
      return Failed(SourceFault{.kind = SourceFaultKind::kMapfile, .mapfile = blocks.error()});
    }
    auto readable = std::make_shared<std::vector<SectorRange>>(FinishedSectors(*blocks));
    storage.reset(new cFailingIO(std::move(storage), readable));
    source.asked = std::make_unique<cAskedTestMode>(std::move(source.asked), std::move(readable));
  }
  if (source.sectors >= kMaxSparseSectors) {
    return Failed(SourceFault{.kind = SourceFaultKind::kTooLarge, .sectors = source.sectors});
  }
  if (source.sectors == 0 && systemError != 0) return CannotOpen(systemError);
  if (source.sectors == 0) return Failed(SourceFault{SourceFaultKind::kEmpty});
  source.traffic = std::make_shared<SourceTraffic>();
  if (isDevice) {
    const u64 bytes = source.sectors << kSectorShift;
    source.traffic->hasGone = [path, bytes] { return HasDriveGone(path, bytes); };
  }
  source.io.reset(new cPiecewiseIO(std::move(storage), source.traffic));
  return source;
}

}  // namespace larkspur
