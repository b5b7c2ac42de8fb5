// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
// Reads a block device in order through cNamedWinHDIO, 64 KiB at a time, to nowhere. Not a peer but
// what is measured: the class alone, without a cache behind it. Usage: read-device DEVICE

#include "base/path_text.h"
#include "devices/named_win_hd_io.h"

using namespace larkspur;

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  constexpr u32 kPiece = cWinHDIO::kTransferBytes / kSectorBytes;
  cNamedWinHDIO device;
  const cNamedFileResource path(WideFromUtf8(argv[1]));
  if (!device.Open(&path, true)) return 1;
  const platform::OwnedPages buffer(cWinHDIO::kTransferBytes);
  u64 total = 0;
  while (const u32 got = device.Read(buffer.Data(), kPiece)) total += got;
  return total == device.GetSectorCount() ? 0 : 1;
}
