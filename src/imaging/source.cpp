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

Source Failed(SourceAnswer answer) {
  Source source;
  source.answer = answer;
  source.systemError = platform::LastFailure();
  return source;
}

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

SourceAnswer AnswerFor(const Source& source) {
  if (source.sectors >= kMaxSparseSectors) return SourceAnswer::kTooLarge;
  if (source.sectors > 0) return SourceAnswer::kOpened;
  return source.systemError != 0 ? SourceAnswer::kCannotOpen : SourceAnswer::kEmpty;
}

}  // namespace

Owned<cBaseIO> Source::TakeStorage() {
  return io ? io->ReleaseSource() : nullptr;
}

Source OpenSource(const std::u16string& path, const SourceOptions& options) {
  const bool isDevice = Devices().IsDevice(path.c_str());
  platform::SetLastFailure(0);
  Source source;
  Owned<cBaseIO> storage = OpenStorage(path, isDevice);
  if (!storage) return Failed(SourceAnswer::kCannotOpen);
  source.trailingBytes = static_cast<u32>(storage->GetByteSize() % kSectorBytes);
  source.systemError = platform::LastFailure();
  source.asked = OpenAsked(path, storage.get(), isDevice, options);
  if (!source.asked) return Failed(SourceAnswer::kCannotOpen);
  source.sectors = source.asked->Identity().sectors;
  source.answer = AnswerFor(source);
  if (!options.testMapfile.empty()) {
    const auto blocks = ReadMapfile(options.testMapfile);
    if (!blocks) {
      source.answer = SourceAnswer::kMapfile;
      source.mapfileFault = blocks.error();
      return source;
    }
    auto readable = std::make_shared<std::vector<SectorRange>>(FinishedSectors(*blocks));
    storage.reset(new cFailingIO(std::move(storage), readable));
    source.asked.reset(new cAskedTestMode(std::move(source.asked), std::move(readable)));
  }
  source.traffic = std::make_shared<SourceTraffic>();
  if (isDevice) {
    const u64 bytes = source.sectors << kSectorShift;
    source.traffic->hasGone = [path, bytes] { return HasDriveGone(path, bytes); };
  }
  source.io.reset(new cPiecewiseIO(std::move(storage), source.traffic));
  return source;
}

}  // namespace larkspur
