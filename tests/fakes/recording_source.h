// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A source that counts how often each of its sectors was asked for: together with others, and
// alone. It fails by script, and like a drive delivers what comes before the first failing sector
// of a request. Sector s holds Pattern(s). Clones share one script.

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "base/owned.h"
#include "io/base_io.h"

namespace larkspur::fakes {

struct SourceScript {
  explicit SourceScript(u64 sectorCount)
      : sectors(sectorCount),
        liveSectors(sectorCount),
        askedTogether(sectorCount),
        askedAlone(sectorCount) {}

  u64 sectors;            // what GetSectorCount keeps answering
  u64 liveSectors;        // what is really there: less once the source has shrunk
  u32 sectorBytes = 512;  // that the source says it has
  std::set<u64> failing;
  bool deliversPrefix = true;  // false: a request with a failing sector delivers nothing
  // Called before each request is answered.
  std::function<void(u64 sector, u32 count)> onRequest;

  std::vector<u32> askedTogether;
  std::vector<u32> askedAlone;
  u64 requests = 0;
  u64 requestsPastEnd = 0;

  u32 Asked(u64 sector) const { return askedTogether[sector] + askedAlone[sector]; }
  u64 AskedInAll() const;
  // Sectors asked for more than `times`, as text; empty when there are none.
  std::string AskedMoreThan(u32 times) const;
  void Forget();  // sets all counts to zero
};

class cRecordingSource final : public cBaseIO {
 public:
  static constexpr u32 kTypeId = 0x7E02;

  explicit cRecordingSource(std::shared_ptr<SourceScript> script);
  ~cRecordingSource() = default;

  cBaseIO* Clone() override { return new cRecordingSource(m_script); }
  bool IsSameAs(cBaseIO* other) override;
  bool QueryCapability() override { return true; }
  u64 SetPosition(u64 sector) override;
  u32 Read(void* buffer, u32 count, cBitMap* presence = nullptr) override;
  u64 GetSectorCount() override { return m_script->sectors; }
  u64 GetByteSize() override { return m_script->liveSectors * kSectorBytes; }
  u32 GetTypeId() override { return kTypeId; }
  void* Destroy(u32 flags) override { return DestroyAs(this, flags); }
  bool GetGeometry(u32* three) override;
  bool GetDescription(char16_t* buffer, i32 capacity) override;

 private:
  void Record(u32 count);

  std::shared_ptr<SourceScript> m_script;
  u64 m_position = 0;
};

Owned<cRecordingSource> SourceOn(std::shared_ptr<SourceScript> script);

}  // namespace larkspur::fakes
