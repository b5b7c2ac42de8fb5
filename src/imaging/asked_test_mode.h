// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A source that fails on demand: like a drive, it delivers what comes before the first failing
// sector of a request, and says that its medium cannot be read.

#include <memory>
#include <vector>

#include "io/failing_io.h"
#include "rescue/asked_source.h"

namespace larkspur {

class cAskedTestMode final : public AskedSource {
 public:
  cAskedTestMode(std::unique_ptr<AskedSource> inner,
                 std::shared_ptr<const std::vector<SectorRange>> readable)
      : m_inner(std::move(inner)), m_readable(std::move(readable)) {}

  AskOutcome Ask(u64 sector, void* buffer, u32 count) override {
    const u32 readable = ReadablePrefix(*m_readable, sector, count);
    if (readable == 0) return {0, FailureKind::kMedium};
    AskOutcome outcome = m_inner->Ask(sector, buffer, readable);
    if (outcome.delivered == readable && readable < count) outcome.kind = FailureKind::kMedium;
    return outcome;
  }
  const SourceIdentity& Identity() const override { return m_inner->Identity(); }
  bool Reconnect(double seconds) override { return m_inner->Reconnect(seconds); }

 private:
  std::unique_ptr<AskedSource> m_inner;
  std::shared_ptr<const std::vector<SectorRange>> m_readable;
};

}  // namespace larkspur
