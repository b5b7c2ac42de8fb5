// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "fakes/recording_source.h"

#include <algorithm>
#include <numeric>

#include "fakes/memory_disk.h"

namespace larkspur::fakes {

u64 SourceScript::AskedInAll() const {
  return std::accumulate(askedTogether.begin(), askedTogether.end(), u64{0}) +
         std::accumulate(askedAlone.begin(), askedAlone.end(), u64{0});
}

std::string SourceScript::AskedMoreThan(u32 times) const {
  std::string text;
  for (u64 sector = 0; sector < sectors; ++sector) {
    if (Asked(sector) <= times) continue;
    text += std::to_string(sector) + ":" + std::to_string(askedTogether[sector]) + "+" +
            std::to_string(askedAlone[sector]) + " ";
  }
  return text;
}

void SourceScript::Forget() {
  std::fill(askedTogether.begin(), askedTogether.end(), 0);
  std::fill(askedAlone.begin(), askedAlone.end(), 0);
  requests = 0;
  requestsPastEnd = 0;
}

cRecordingSource::cRecordingSource(std::shared_ptr<SourceScript> script)
    : m_script(std::move(script)) {
  m_name.Assign(u"recording source");
  m_path.Assign(u"memory:source");
}

bool cRecordingSource::IsSameAs(cBaseIO* other) {
  return other && other->GetTypeId() == kTypeId &&
         static_cast<cRecordingSource*>(other)->m_script == m_script;
}

u64 cRecordingSource::SetPosition(u64 sector) {
  m_position = std::min(sector, m_script->sectors);
  return m_position;
}

void cRecordingSource::Record(u32 count) {
  ++m_script->requests;
  if (m_position + count > m_script->sectors) ++m_script->requestsPastEnd;
  std::vector<u32>& counts = count == 1 ? m_script->askedAlone : m_script->askedTogether;
  const u64 end = std::min(m_position + count, m_script->sectors);
  for (u64 sector = m_position; sector < end; ++sector) ++counts[sector];
}

u32 cRecordingSource::Read(void* buffer, u32 count, cBitMap* /*presence*/) {
  if (m_script->onRequest) m_script->onRequest(m_position, count);
  Record(count);
  const u64 end = std::max(std::min(m_position + count, m_script->liveSectors), m_position);
  const auto failing = m_script->failing.lower_bound(m_position);
  const u64 stop = failing == m_script->failing.end() ? end : std::min(end, *failing);
  if (stop < m_position + count && !m_script->deliversPrefix) return 0;
  const u32 delivered = static_cast<u32>(stop - m_position);
  FillPattern(m_position, static_cast<u8*>(buffer), delivered);
  m_position = stop;
  return delivered;
}

bool cRecordingSource::GetGeometry(u32* three) {
  const bool isKnown = cBaseIO::GetGeometry(three);
  three[0] = m_script->sectorBytes;
  return isKnown;
}

bool cRecordingSource::GetDescription(char16_t* buffer, i32 capacity) {
  return CopyText(u"Recorder", buffer, capacity);
}

Owned<cRecordingSource> SourceOn(std::shared_ptr<SourceScript> script) {
  return Owned<cRecordingSource>(new cRecordingSource(std::move(script)));
}

}  // namespace larkspur::fakes
