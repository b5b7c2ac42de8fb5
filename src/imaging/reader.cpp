// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/reader.h"

#include "platform/system_error.h"

namespace larkspur {

cReader::cReader(Cache* cache, Source* source, const std::atomic<bool>* stop)
    : m_traffic(source->traffic),
      m_stop(stop),
      m_ready(m_storage.Attach(cache->image.get(), source->io.get())) {
  m_storage.SetGuard(this);
  m_traffic->stop = stop;
}

u32 cReader::Read(u64 sector, void* buffer, u32 count) {
  if (*m_stop) EndWith(ReadEnd::kStopped);
  if (m_end != ReadEnd::kNotEnded) return 0;
  platform::SetLastFailure(0);
  m_hasLeft = false;
  m_storage.SetPosition(sector);
  const u32 settled = m_storage.Read(buffer, count, nullptr);
  if (settled < count && !m_hasLeft)
    EndWith(m_traffic->gone ? ReadEnd::kSourceGone : ReadEnd::kCacheFailed);
  return settled;
}

bool cReader::ConfirmUnreadable(u64 /*sector*/) {
  if (m_onRefusal) m_onRefusal();
  if (m_traffic->refusedBySource) {
    ++m_refused;
    return true;
  }
  if (m_traffic->gone) {
    EndWith(ReadEnd::kSourceGone);
  } else if (*m_stop || !m_traffic->leavesRest) {
    EndWith(ReadEnd::kStopped);
  } else {
    m_hasLeft = true;
  }
  return false;
}

bool cReader::GoOnUnstored(u64 /*sector*/, u32 /*count*/) {
  EndWith(ReadEnd::kStoreFailed);
  return false;
}

void cReader::EndWith(ReadEnd end) {
  if (m_end != ReadEnd::kNotEnded) return;
  m_end = end;
  m_systemError = platform::LastFailure();
}

}  // namespace larkspur
