// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/source.h"

#include <sstream>

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

}  // namespace

Source OpenSource(const std::u16string& path, const std::u16string& testMapfile) {
  platform::SetLastFailure(0);
  Owned<cFlatIO> file(new cFlatIO);
  if (!file->OpenPath(path, true)) return Failed(SourceAnswer::kCannotOpen);
  Owned<cBaseIO> storage(file.release());
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
  source.io.reset(new cPiecewiseIO(std::move(storage), source.traffic));
  return source;
}

}  // namespace larkspur
