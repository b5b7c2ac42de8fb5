// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// The block I/O stack, in bytes per second: a complete cache against a raw file, and its parts.
// Files lie in LARKSPUR_BENCH_FOLDER, or /dev/shm where there is one, or the temporary folder.

#include <cstdlib>
#include <filesystem>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>

#include "io/bit_map.h"
#include "io/flat_io.h"
#include "io/read_once_io.h"

namespace larkspur {
namespace {

namespace fs = std::filesystem;

constexpr u64 kSectors = u64{256} << 11;  // 256 MiB
constexpr u32 kRequest = 2048;            // 1 MiB
constexpr u32 kSmallRequest = 8;          // 4 KiB

fs::path BenchFolder() {
  if (const char* chosen = std::getenv("LARKSPUR_BENCH_FOLDER")) return chosen;
  return fs::is_directory("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path();
}

// A file that is gone when the program ends.
class BenchFile {
 public:
  explicit BenchFile(const std::string& name)
      : m_path(BenchFolder() / ("larkspur-bench-" + std::to_string(std::random_device{}()) + name)),
        m_resource(m_path.u16string()) {}
  BenchFile(const BenchFile&) = delete;
  BenchFile& operator=(const BenchFile&) = delete;
  ~BenchFile() {
    std::error_code error;
    fs::remove(m_path, error);
  }

  Owned<cFlatIO> CreateAnew(u64 sectors) const {
    Owned<cFlatIO> io(new cFlatIO);
    io->Create(&m_resource, sectors, true);
    return io;
  }

 private:
  fs::path m_path;
  cNamedFileResource m_resource;
};

// A source that gives the same bytes everywhere and costs nearly nothing.
class cConstantIO final : public cBaseIO {
 public:
  cBaseIO* Clone() override { return new cConstantIO; }
  bool IsSameAs(cBaseIO*) override { return true; }
  u64 SetPosition(u64 sector) override { return sector; }
  u32 Read(void* buffer, u32 count, cBitMap*) override {
    std::fill_n(static_cast<u8*>(buffer), u64{count} * kSectorBytes, u8{0x5A});
    return count;
  }
  u64 GetSectorCount() override { return kSectors; }
  void* Destroy(u32 flags) override { return DestroyAs(this, flags); }
};

// A raw file and a complete cache of the same content, made once for all benchmarks.
struct Pair {
  BenchFile rawFile{".raw"}, cacheFile{".kvrsp"};
  Owned<cFlatIO> raw;
  Owned<cReadOnceIO> cached;

  Pair() : raw(rawFile.CreateAnew(kSectors)), cached(new cReadOnceIO) {
    const cNestedIOResource resource{cacheFile.CreateAnew(0)};
    cKVRSparseIO image;
    image.Create(&resource, kSectors, true);
    cConstantIO source;
    cached->Attach(&image, &source);
    std::vector<u8> buffer(u64{kRequest} * kSectorBytes);
    for (u64 sector = 0; sector < kSectors; sector += kRequest) {
      cached->SetPosition(sector);
      cached->Read(buffer.data(), kRequest);
      raw->Write(sector, buffer.data(), kRequest);
    }
    // As readers open them: the raw file for reading, the cache ready to resume.
    raw->SetReadOnly(true);
    cached.reset(static_cast<cReadOnceIO*>(cached->Clone()));
  }
};

Pair& ThePair() {
  static Pair pair;
  return pair;
}

void ReadInOrder(benchmark::State& state, cBaseIO* io) {
  std::vector<u8> buffer(u64{kRequest} * kSectorBytes);
  u64 sector = 0;
  for (auto _ : state) {
    io->SetPosition(sector);
    if (io->Read(buffer.data(), kRequest) != kRequest) state.SkipWithError("short read");
    sector = (sector + kRequest) % kSectors;
  }
  state.SetBytesProcessed(state.iterations() * i64{kRequest} * kSectorBytes);
}

void ReadAtRandom(benchmark::State& state, cBaseIO* io) {
  std::vector<u8> buffer(u64{kSmallRequest} * kSectorBytes);
  std::mt19937_64 random(1);
  for (auto _ : state) {
    io->SetPosition(random() % (kSectors / kSmallRequest) * kSmallRequest);
    if (io->Read(buffer.data(), kSmallRequest) != kSmallRequest) state.SkipWithError("short read");
  }
  state.SetBytesProcessed(state.iterations() * i64{kSmallRequest} * kSectorBytes);
}

void BM_RawFileInOrder1MiB(benchmark::State& state) {
  ReadInOrder(state, ThePair().raw.get());
}
BENCHMARK(BM_RawFileInOrder1MiB);

void BM_CompleteCacheInOrder1MiB(benchmark::State& state) {
  ReadInOrder(state, ThePair().cached.get());
}
BENCHMARK(BM_CompleteCacheInOrder1MiB);

void BM_RawFileAtRandom4KiB(benchmark::State& state) {
  ReadAtRandom(state, ThePair().raw.get());
}
BENCHMARK(BM_RawFileAtRandom4KiB);

void BM_CompleteCacheAtRandom4KiB(benchmark::State& state) {
  ReadAtRandom(state, ThePair().cached.get());
}
BENCHMARK(BM_CompleteCacheAtRandom4KiB);

// Bytes are those of the map.
void BM_BitMapScanRuns(benchmark::State& state) {
  constexpr u64 kBits = 1 << 20;
  const u64 run = static_cast<u64>(state.range(0));
  cBitMap map(kBits);
  for (u64 i = 0; i < kBits; i += 2 * run) map.SetRange(i, run, true);
  for (auto _ : state) {
    u64 runs = 0;
    for (u64 i = 0; i < kBits; ++runs) i += map.Test(i) ? map.CountSetRun(i) : map.CountClearRun(i);
    benchmark::DoNotOptimize(runs);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<i64>(kBits / 8));
}
BENCHMARK(BM_BitMapScanRuns)->Arg(1)->Arg(100)->Arg(100000);

// Bytes are those of the image. A new file each time, whose making is not counted.
void BM_SparseWriteInOrder(benchmark::State& state) {
  constexpr u64 kWritten = u64{64} << 11;
  const u32 request = static_cast<u32>(state.range(0));
  const BenchFile file(".write");
  const std::vector<u8> buffer(u64{request} * kSectorBytes, 0x5A);
  for (auto _ : state) {
    state.PauseTiming();
    const cNestedIOResource resource{file.CreateAnew(0)};
    cKVRSparseIO image;
    image.Create(&resource, kWritten, true);
    state.ResumeTiming();
    for (u64 sector = 0; sector < kWritten; sector += request) {
      if (image.Write(sector, buffer.data(), request) != request) state.SkipWithError("short");
    }
  }
  state.SetBytesProcessed(state.iterations() * static_cast<i64>(kWritten * kSectorBytes));
}
BENCHMARK(BM_SparseWriteInOrder)->Arg(8)->Arg(128)->Arg(2048)->Unit(benchmark::kMillisecond);

// Bytes are those of the index and the maps.
void BM_VisitExtents(benchmark::State& state) {
  cKVRSparseIO* image = ThePair().cached->Image();
  const u64 blocks = image->Layout().BlockCount();
  for (auto _ : state) {
    u64 sectors = 0;
    image->VisitExtents(0, kSectors, [&sectors](u64, u64 count, SectorStatus) {
      sectors += count;
      return true;
    });
    benchmark::DoNotOptimize(sectors);
  }
  state.SetBytesProcessed(state.iterations() *
                          static_cast<i64>(blocks * (4 + image->Layout().blockSize)));
}
BENCHMARK(BM_VisitExtents)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace larkspur
