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

  Engine* Begin(EngineOptions engine, const std::atomic<bool>* stop) override {
    if (m_rescue) return m_rescue->Reopen(std::move(engine)) ? &m_rescue->engine() : nullptr;
    auto rescue = std::make_unique<cli::Rescue>(stop);
    if (rescue->Open(m_options, std::move(engine)) != kExitDone) return nullptr;
    m_rescue = std::move(rescue);
    return &m_rescue->engine();
  }

  void End() override { m_rescue->Finish(); }

 private:
  const cli::StorageOptions m_options;
  std::unique_ptr<cli::Rescue> m_rescue;
};

// What is served. Where that fails, the user has been told.
Result<SectorRange, ExitStatus> FindRange(const ServedOptions& options, cBaseIO* storage,
                                          cKVRSparseIO* cache, const Engine* engine = nullptr) {
  if (options.partition.empty()) return SectorRange{0, storage->GetSectorCount()};
  const std::string& name = options.source.empty() ? options.cache : options.source;
  return cli::FindPartition(storage, cache, name, options.partition, engine);
}

// Whether clients would get other sectors than they ask for. What is lacking they get errors for.
bool MisleadsClients(const CacheFault& damage) {
  return damage.kind == CacheFaultKind::kSharedRecord ||
         damage.kind == CacheFaultKind::kOtherHeader;
}

ServedStorage OpenCacheAlone(const ServedOptions& options) {
  const auto cache = cli::OpenCacheToLook(options.cache);
  if (!cache) return {};
  if (cache->damage) cli::TellDamage(options.cache, *cache, 0, kExitFailed);
  if (cache->damage && MisleadsClients(*cache->damage)) return {};
  const auto range = FindRange(options, cache->image.get(), cache->image.get());
  if (!range) return {};
  return {OpenCachedBlocks(WideFromUtf8(options.cache)), *range};
}

ServedStorage OpenWithSource(const ServedOptions& options) {
  auto blocks = std::make_unique<RescuedBlocks>(
      std::make_unique<RescueRuns>(options),
      RescuedBlocks::Options{options.zerosForUnreadable, options.isClientGone});
  Engine* const engine = blocks->Begin();
  if (!engine || !engine->Want({})) return {};
  cRescueIO rescued(engine);
  const auto range = FindRange(options, &rescued, nullptr, engine);
  if (!range) return {};
  auto cached = OpenCachedBlocks(WideFromUtf8(options.cache));
  if (!cached) return {};
  blocks->Start(std::move(cached), options.fill ? *range : SectorRange{});
  return {std::move(blocks), *range};
}

}  // namespace

ServedStorage OpenServedStorage(const ServedOptions& options) {
  return options.source.empty() ? OpenCacheAlone(options) : OpenWithSource(options);
}

}  // namespace larkspur
