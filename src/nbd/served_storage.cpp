// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "nbd/served_storage.h"

#include "base/path_text.h"
#include "cli/output.h"
#include "cli/partition.h"
#include "cli/rescue.h"
#include "cli/storages.h"
#include "nbd/rescued_blocks.h"
#include "rescue/rescue_io.h"

namespace larkspur {
namespace {

// A rescue as the command line makes one, with its words for what may happen.
class RescueRuns final : public EngineRuns {
 public:
  explicit RescueRuns(cli::StorageOptions options) : m_options(std::move(options)) {}

  void StopBy(const std::atomic<bool>* stop) { m_stop = stop; }

  Engine* Begin(EngineOptions engine) override {
    if (m_rescue) return m_rescue->Reopen(std::move(engine)) ? &m_rescue->engine() : nullptr;
    auto rescue = std::make_unique<cli::Rescue>(m_stop);
    if (rescue->Open(m_options, std::move(engine)) != kExitDone) return nullptr;
    m_rescue = std::move(rescue);
    return &m_rescue->engine();
  }

  void End() override { m_rescue->Finish(); }

 private:
  const cli::StorageOptions m_options;
  const std::atomic<bool>* m_stop = nullptr;
  std::unique_ptr<cli::Rescue> m_rescue;
};

// The blocks with the runs that they use.
class RescuedStorage final : public BlockSource {
 public:
  explicit RescuedStorage(const ServedOptions& options)
      : m_runs(options), m_blocks(&m_runs, {options.zerosForUnreadable, options.isClientGone}) {
    m_runs.StopBy(m_blocks.StopFlag());
  }

  RescuedBlocks& Blocks() { return m_blocks; }

  u64 Sectors() const override { return m_blocks.Sectors(); }
  bool Fetch(u64 first, u32 count, u8* out, SectorStatus* statuses) override {
    return m_blocks.Fetch(first, count, out, statuses);
  }
  void ClientCame() override { m_blocks.ClientCame(); }

 private:
  RescueRuns m_runs;
  RescuedBlocks m_blocks;
};

// False when the partition is not there; the user has been told.
bool FindRange(const ServedOptions& options, cBaseIO* storage, SectorRange* range,
               const Engine* engine = nullptr) {
  *range = {0, storage->GetSectorCount()};
  const std::string& name = options.source.empty() ? options.cache : options.source;
  return options.partition.empty() ||
         cli::FindPartition(storage, name, options.partition, range, engine) == kExitDone;
}

ServedStorage OpenCacheAlone(const ServedOptions& options) {
  ServedStorage served;
  const auto cache = cli::OpenCacheToLook(options.cache);
  if (!cache || !FindRange(options, cache->image.get(), &served.range)) return {};
  served.blocks = OpenCachedBlocks(WideFromUtf8(options.cache));
  return served;
}

ServedStorage OpenWithSource(const ServedOptions& options) {
  ServedStorage served;
  auto storage = std::make_unique<RescuedStorage>(options);
  Engine* const engine = storage->Blocks().Begin();
  if (!engine || !engine->Want({})) return {};
  cRescueIO rescued(engine);
  if (!FindRange(options, &rescued, &served.range, engine)) return {};
  auto cached = OpenCachedBlocks(WideFromUtf8(options.cache));
  if (!cached) return {};
  storage->Blocks().Start(std::move(cached), options.fill ? served.range : SectorRange{});
  served.blocks = std::move(storage);
  return served;
}

}  // namespace

ServedStorage OpenServedStorage(const ServedOptions& options) {
  return options.source.empty() ? OpenCacheAlone(options) : OpenWithSource(options);
}

}  // namespace larkspur
