// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/source.h"

#include <sstream>

#include "devices/device_system.h"
#include "devices/open_drive.h"
#include "imaging/text_file.h"
#include "io/flat_io.h"
#include "io/sparse_layout.h"
#include "platform/system_error.h"

namespace larkspur {
namespace {

constexpr u64 kMaxMapfileBytes = u64{256} << 20;

Source Failed(SourceAnswer answer) {
  Source source;
  source.answer = answer;
  source.systemError = platform::LastFailure();
  return source;
}

Source WrongMapfile(MapfileFault fault) {
  Source source;
  source.answer = SourceAnswer::kMapfileWrong;
  source.mapfileFault = std::move(fault);
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

}  // namespace

Source OpenSource(const std::u16string& path, const std::u16string& testMapfile) {
  const bool isDevice = Devices().IsDevice(path.c_str());
  platform::SetLastFailure(0);
  Owned<cBaseIO> storage = OpenStorage(path, isDevice);
  if (!storage) return Failed(SourceAnswer::kCannotOpen);
  if (!testMapfile.empty()) {
    const auto text = ReadWholeFile(testMapfile, kMaxMapfileBytes);
    if (!text) return Failed(SourceAnswer::kMapfileUnreadable);
    std::istringstream in(*text);
    std::vector<MapfileBlock> blocks;
    MapfileFault fault;
    if (!ParseMapfile(in, &blocks, &fault)) return WrongMapfile(std::move(fault));
    auto readable = std::make_shared<std::vector<SectorRange>>(FinishedSectors(blocks));
    storage.reset(new cFailingIO(std::move(storage), std::move(readable)));
  }
  Source source;
  source.sectors = storage->GetSectorCount();
  source.looseBytes = static_cast<u32>(storage->GetByteSize() % kSectorBytes);
  source.systemError = platform::LastFailure();
  source.answer = source.sectors >= kMaxSparseSectors ? SourceAnswer::kTooLarge
                  : source.sectors > 0                ? SourceAnswer::kOpened
                  : source.systemError != 0           ? SourceAnswer::kCannotOpen
                                                      : SourceAnswer::kEmpty;
  source.traffic = std::make_shared<SourceTraffic>();
  if (isDevice) {
    const u64 bytes = source.sectors << kSectorShift;
    source.traffic->hasGone = [path, bytes] { return HasDriveGone(path, bytes); };
  }
  source.io.reset(new cPiecewiseIO(std::move(storage), source.traffic));
  return source;
}

}  // namespace larkspur
