// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "files/walk.h"

#include <cstring>
#include <utility>

#include "files/walker.h"
#include "platform/helper_process.h"

namespace larkspur {
namespace {

// Enough for file systems of many millions of files, little enough not to trouble the machine.
constexpr u64 kHelperMemory = u64{2} << 30;
constexpr u32 kHelperCpuSeconds = 3600;
constexpr u32 kHelperSilence = 120;
constexpr size_t kMaxAreasOfFile = 16 << 20;

class Walk {
 public:
  Walk(WalkedStorage* storage, u64 first, u64 count, const WalkEvents& events)
      : m_storage(storage), m_first(first), m_count(count), m_events(events) {}

  // Answers the helper until it has told everything; kFailed when the line breaks.
  WalkEnd Serve(platform::HelperLine& line) {
    for (;;) {
      WalkHead head{};
      if (!line.Receive(&head, sizeof head) || head.length > kMaxWalkMessage) {
        return WalkEnd::kFailed;
      }
      std::string body(head.length, '\0');
      if (!line.Receive(body.data(), body.size())) return WalkEnd::kFailed;
      if (head.kind == WalkMessage::kEnd) return Finish();
      const bool taken =
          head.kind == WalkMessage::kRead ? AnswerRead(line, body) : TakeNews(head.kind, body);
      if (!taken) return WalkEnd::kFailed;
    }
  }

 private:
  WalkEnd Finish() {
    if (!m_lackedByAll.IsEmpty()) m_events.damaged({"", std::move(m_lackedByAll)});
    return m_found ? WalkEnd::kDone : WalkEnd::kNoFileSystem;
  }

  bool AnswerRead(platform::HelperLine& line, const std::string& body) {
    WalkRead read{};
    if (body.size() != sizeof read) return false;
    std::memcpy(&read, body.data(), sizeof read);
    if (read.count > kMaxWalkRead || !Contains(read.first, read.count)) return false;
    const bool ahead = read.care == WalkCare::kNone;
    const bool whole = m_storage->Read(m_first + read.first, read.count, m_buffer, ahead);
    const SectorRange range{m_first + read.first, read.count};
    if (!whole && read.care == WalkCare::kNext) m_lacking.Add(range);
    if (!whole && read.care == WalkCare::kFileSystem) m_lackedByAll.Add(range);
    const u8 answer = whole;
    return line.Send(&answer, 1) && line.Send(m_buffer, u64{read.count} << kSectorShift);
  }

  bool TakeNews(WalkMessage kind, const std::string& body) {
    switch (kind) {
      case WalkMessage::kOpened:
        return TakeOpened(body);
      case WalkMessage::kAreas:
        return TakeAreas(body);
      case WalkMessage::kUsed:
        return m_events.used && TakeRanges(body, m_events.used);
      case WalkMessage::kFile:
        return TakeFile(body);
      case WalkMessage::kFolder:
        if (!IsPath(body)) return false;
        if (!m_lacking.IsEmpty()) m_events.damaged({body, std::exchange(m_lacking, {})});
        return true;
      default:
        return kind == WalkMessage::kNothing;
    }
  }

  bool TakeOpened(const std::string& body) {
    const size_t cut = body.find('\0');
    if (m_found || cut == std::string::npos) return false;
    m_found = true;
    m_events.opened(body.substr(0, cut), body.substr(cut + 1));
    return true;
  }

  bool TakeAreas(const std::string& body) {
    if (m_file.areas.size() + body.size() / sizeof(SectorRange) > kMaxAreasOfFile) return false;
    return TakeRanges(body, [this](SectorRange area) { m_file.areas.push_back(area); });
  }

  bool TakeRanges(const std::string& body, const std::function<void(SectorRange)>& take) {
    if (body.size() % sizeof(SectorRange) != 0) return false;
    for (size_t at = 0; at < body.size(); at += sizeof(SectorRange)) {
      SectorRange range{};
      std::memcpy(&range, body.data() + at, sizeof range);
      if (!Contains(range.first, range.count)) return false;
      take({m_first + range.first, range.count});
    }
    return true;
  }

  bool TakeFile(const std::string& body) {
    WalkFileHead head{};
    if (!m_found || body.size() <= sizeof head) return false;
    std::memcpy(&head, body.data(), sizeof head);
    m_file.path = body.substr(sizeof head);
    m_file.size = head.size;
    m_file.deleted = head.deleted != 0;
    m_file.known = head.known != 0;
    m_file.lacking = std::exchange(m_lacking, {});
    if (!IsPath(m_file.path)) return false;
    m_events.file(m_file);
    m_file = {};
    return true;
  }

  static bool IsPath(const std::string& path) {
    return path.starts_with('/') && path.find('\0') == std::string::npos;
  }

  bool Contains(u64 first, u64 count) const { return first <= m_count && count <= m_count - first; }

  WalkedStorage* m_storage;
  const u64 m_first;
  const u64 m_count;
  const WalkEvents& m_events;
  bool m_found = false;
  FoundFile m_file;
  ExtentSet m_lacking;
  ExtentSet m_lackedByAll;
  u8 m_buffer[kMaxWalkRead * kSectorBytes];
};

}  // namespace

WalkEnd ServeWalk(platform::HelperLine& line, WalkedStorage* storage, u64 first, u64 count,
                  const WalkEvents& events) {
  return std::make_unique<Walk>(storage, first, count, events)->Serve(line);
}

WalkEnd WalkFiles(WalkedStorage* storage, u64 first, u64 count, const WalkEvents& events,
                  const std::atomic<bool>& stop) {
  const WalkTask task = events.used ? WalkTask::kFilesAndUsed : WalkTask::kFiles;
  const auto work = [=](platform::HelperLine& line) { RunWalker(line, count, task); };
  const auto helper = platform::HelperProcess::Start(
      work, {kHelperMemory, kHelperCpuSeconds, kHelperSilence, &stop});
  if (!helper) return WalkEnd::kUnavailable;
  const WalkEnd end = ServeWalk(helper->Line(), storage, first, count, events);
  return end == WalkEnd::kFailed && stop ? WalkEnd::kStopped : end;
}

WalkEnd AddUsed(WalkedStorage* storage, SectorRange volume, const std::atomic<bool>& stop,
                ExtentSet* used) {
  WalkEvents events;
  events.used = [used](SectorRange area) { used->Add(area); };
  // Where the map of free blocks is wrong, files may be in what it calls free.
  events.file = [used](const FoundFile& file) {
    if (file.deleted) return;
    for (const SectorRange& area : file.areas) used->Add(area);
  };
  const WalkEnd end = WalkFiles(storage, volume.first, volume.count, events, stop);
  if (end == WalkEnd::kNoFileSystem || end == WalkEnd::kFailed) used->Add(volume);
  return end;
}

}  // namespace larkspur
