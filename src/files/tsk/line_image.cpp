// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "files/tsk/line_image.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace larkspur {
namespace {

// Little, so that what was told is worked on at the other end while more is found at this one: a
// read is answered only after all that was told before it.
constexpr size_t kToldAtOnce = 4 << 10;

}  // namespace

LineImage::LineImage(platform::HelperLine& line, u64 sectors) : m_line(line), m_image(new Image{}) {
  TSK_IMG_INFO& info = m_image->info;
  m_image->owner = this;
  info.tag = TSK_IMG_INFO_TAG;
  info.itype = TSK_IMG_TYPE_EXTERNAL;
  info.size = static_cast<TSK_OFF_T>(sectors << kSectorShift);
  info.sector_size = kSectorBytes;
  info.read = [](TSK_IMG_INFO* image, TSK_OFF_T offset, char* buffer, size_t count) {
    return reinterpret_cast<Image*>(image)->owner->Read(static_cast<u64>(offset), buffer, count);
  };
  info.close = [](TSK_IMG_INFO*) {};
  info.imgstat = [](TSK_IMG_INFO*, FILE*) {};
}

void LineImage::Tell(WalkMessage kind, std::initializer_list<std::string_view> parts) {
  WalkHead head{kind, 0};
  for (const std::string_view part : parts) head.length += static_cast<u32>(part.size());
  if (head.length > kMaxWalkMessage) return;  // a path of 64 KiB is nonsense
  m_told.append(reinterpret_cast<const char*>(&head), sizeof head);
  for (const std::string_view part : parts) m_told.append(part);
  if (m_told.size() >= kToldAtOnce) Flush();
}

void LineImage::Flush() {
  if (!m_line.Send(m_told.data(), m_told.size())) std::_Exit(1);
  m_told.clear();
}

// libtsk fills a cache of its own by reading ahead. Nothing made up may get into it, so a
// read-ahead over something that is not there is refused; what was really wanted is then asked for
// by itself.
bool LineImage::IsReadAhead(u64 offset, size_t count) const {
  // What lies before it wraps to more than that.
  if (m_refused != kNowhere && offset - m_refused < TSK_IMG_INFO_CACHE_LEN) return false;
  const u64 left = static_cast<u64>(m_image->info.size) - offset;
  return count == std::min<u64>(TSK_IMG_INFO_CACHE_LEN, left);
}

WalkCare LineImage::CareOfMode() const {
  return m_mode == ReadMode::kAside ? WalkCare::kFileSystem : WalkCare::kNext;
}

ssize_t LineImage::Read(u64 offset, char* buffer, size_t count) {
  const u64 size = static_cast<u64>(m_image->info.size);
  if (offset >= size) return -1;
  count = static_cast<size_t>(std::min<u64>(count, size - offset));
  if (offset % kSectorBytes != 0 || count % kSectorBytes != 0) {
    return ReadUnaligned(offset, buffer, count);
  }
  const bool isReadAhead = IsReadAhead(offset, count);
  m_refused = kNowhere;
  const WalkCare care = isReadAhead ? WalkCare::kNone : CareOfMode();
  const bool whole = Ask(offset >> kSectorShift, count >> kSectorShift, care, buffer);
  if (!whole && isReadAhead) {
    m_refused = offset;
    return -1;
  }
  return whole || m_mode != ReadMode::kExact ? static_cast<ssize_t>(count) : Failed();
}

ssize_t LineImage::Failed() {
  ++m_failures;
  return -1;
}

// libtsk rounds such a length up to whole sectors: it is not known whether the last sector is
// wanted. Mostly it is not, since structures do not cross sectors, and a short answer tells when it
// is.
ssize_t LineImage::ReadUnaligned(u64 offset, char* buffer, size_t count) {
  const u64 first = offset >> kSectorShift;
  const u64 last = (offset + count - 1) >> kSectorShift;
  const u64 skipped = offset % kSectorBytes;
  std::string sectors((last - first + 1) << kSectorShift, '\0');
  char* tail = sectors.data() + ((last - first) << kSectorShift);
  const bool hasHead = last == first || Ask(first, last - first, CareOfMode(), sectors.data());
  const bool hasTail = Ask(last, 1, last == first ? CareOfMode() : WalkCare::kNone, tail);
  std::memcpy(buffer, sectors.data() + skipped, count);
  m_refused = kNowhere;
  if (m_mode != ReadMode::kExact || (hasHead && hasTail)) return static_cast<ssize_t>(count);
  if (!hasHead || last == first) return Failed();
  ++m_failures;
  return tail - sectors.data() - static_cast<ssize_t>(skipped);
}

bool LineImage::Ask(u64 first, u64 sectors, WalkCare care, char* buffer) {
  bool whole = true;
  for (u64 done = 0; done < sectors;) {
    const u32 count = static_cast<u32>(std::min<u64>(sectors - done, kMaxWalkRead));
    const WalkRead request{first + done, count, care};
    Tell(WalkMessage::kRead, {{reinterpret_cast<const char*>(&request), sizeof request}});
    Flush();
    u8 answer = 0;
    if (!m_line.Receive(&answer, 1) ||
        !m_line.Receive(buffer + (done << kSectorShift), u64{count} << kSectorShift)) {
      std::_Exit(1);
    }
    whole = whole && answer == 1;
    done += count;
  }
  return whole;
}

}  // namespace larkspur
