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
  auto blocks = std::make_unique<RescuedBlocks>(
      std::make_unique<RescueRuns>(options),
      RescuedBlocks::Options{options.zerosForUnreadable, options.isClientGone});
  Engine* const engine = blocks->Begin();
  if (!engine || !engine->Want({})) return {};
  cRescueIO rescued(engine);
  if (!FindRange(options, &rescued, &served.range, engine)) return {};
  auto cached = OpenCachedBlocks(WideFromUtf8(options.cache));
  if (!cached) return {};
  blocks->Start(std::move(cached), options.fill ? served.range : SectorRange{});
  served.blocks = std::move(blocks);
  return served;
}

}  // namespace

ServedStorage OpenServedStorage(const ServedOptions& options) {
  return options.source.empty() ? OpenCacheAlone(options) : OpenWithSource(options);
}

}  // namespace larkspur
