// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "cli/report_facts.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>

#include "base/path_text.h"
#include "cli/output.h"
#include "cli/storages.h"
#include "cli/walked_storages.h"
#include "files/file_state.h"
#include "files/volumes.h"
#include "imaging/cache_history.h"
#include "partitions/detection.h"
#include "partitions/notes.h"
#include "partitions/place.h"
#include "platform/terminal.h"
#include "rescue/rescue_history.h"
#include "rescue/rescue_log.h"

namespace larkspur::cli {
namespace {

// The log's "2026-11-21T19:00:00.123Z" as seconds; 0 for nonsense.
double SecondsOf(const std::string& time) {
  int year = 0;
  unsigned month = 0, day = 0, hour = 0, minute = 0;
  double second = 0;
  if (std::sscanf(time.c_str(), "%d-%u-%uT%u:%u:%lf", &year, &month, &day, &hour, &minute,
                  &second) != 6) {
    return 0;
  }
  using namespace std::chrono;
  const sys_days date = std::chrono::year(year) / std::chrono::month(month) / std::chrono::day(day);
  return static_cast<double>(date.time_since_epoch().count()) * 86400 + hour * 3600.0 +
         minute * 60.0 + second;
}

// "2026-11-21 19:00 UTC" of the log's time.
std::string Readable(const std::string& time) {
  constexpr size_t kMinutes = 16;
  if (time.size() < kMinutes || time[10] != 'T') return time;
  return time.substr(0, 10) + " " + time.substr(11, kMinutes - 11) + " UTC";
}

constexpr std::pair<FailureKind, const char*> kFailureWords[] = {
    {FailureKind::kMedium, "the disk said that it cannot read there"},
    {FailureKind::kUnclear, "reading failed, and the system did not say why"},
    {FailureKind::kTransport, "cable, adapter or a time-out"},
    {FailureKind::kGone, "the disk was not there"},
    {FailureKind::kSystem, "the computer could not reach the disk"},
};

// How a run ended, by the log's words; others stay as they are.
std::string EndWords(const std::string& how) {
  static constexpr std::pair<const char*, const char*> kWords[] = {
      {"done", "finished"},
      {"stopped", "stopped by the user"},
      {"gone", "the disk was no longer there"},
      {"not-answering", "the disk no longer answered"},
      {"full", "there was no room left for the copy"},
      {"failed", "the computer had a problem"},
  };
  const auto* const words = std::find_if(std::begin(kWords), std::end(kWords),
                                         [&how](const auto& row) { return how == row.first; });
  return words == std::end(kWords) ? how : words->second;
}

// Time counts while a run was at work: what lies between two runs is left out.
std::vector<ReportPoint> GoodData(const RescueHistory& history) {
  std::vector<ReportPoint> good;
  double worked = 0;
  std::string last;
  size_t run = 0;
  for (const HistoryPoint& point : history.points) {
    while (run < history.runs.size() && history.runs[run].start <= point.time) {
      last = history.runs[run++].start;
    }
    if (!last.empty()) worked += std::max(0.0, SecondsOf(point.time) - SecondsOf(last));
    last = point.time;
    good.push_back({worked, point.present});
  }
  // All that was there came from the first run: it began with nothing.
  if (!good.empty() && !history.runs.empty() && history.runs[0].asked >= good[0].present) {
    good.insert(good.begin(), ReportPoint{});
  }
  return good;
}

// What the rescue log beside the cache tells.
ReportHistory ToldBy(const std::string& cache, const SparseLayout& layout) {
  // That it cannot be read is told of as damage.
  const RescueHistory history = HistoryOf(WideFromUtf8(cache), layout).value_or(RescueHistory());
  ReportHistory told;
  if (history.source) {
    const SourceIdentity& source = *history.source;
    told.disk = ReportDisk{source.path, source.model, source.serial, source.firmware};
  }
  for (const HistoryRun& run : history.runs) {
    told.runs.push_back({Readable(run.start), Readable(run.end), EndWords(run.how), run.asked});
  }
  told.good = GoodData(history);
  ExtentSet refused = history.triedTogether;
  refused.Add(history.triedAlone);
  refused.Visit([&told](SectorRange range) { told.failures.push_back(range); });
  for (const auto& [kind, words] : kFailureWords) {
    const u64 count = history.failures[static_cast<size_t>(kind)];
    if (count > 0) told.failureKinds.emplace_back(words, count);
  }
  return told;
}

std::string Now() {
  const std::time_t now = std::time(nullptr);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%d %H:%M UTC", std::gmtime(&now));
  return text;
}

void AddFile(const PlacedVolume& volume, const FoundFile& file, StatusMap& map,
             ReportFiles* files) {
  if (file.deleted) return;
  const FileState state = StateOf(file, map);
  const bool isDamaged = state.condition == FileCondition::kDamaged;
  if (state.condition == FileCondition::kComplete) {
    ++files->complete;
    return;
  }
  ++(isDamaged ? files->damaged : files->incomplete);
  if (files->listed.size() == ReportFiles::kMaxListed) return;
  files->listed.push_back(
      {volume.place, file.path, file.size, isDamaged, state.unreadable, state.missing});
}

std::string VolumeWords(const PlacedVolume& volume) {
  return volume.place.empty() ? "The disk" : "Partition " + volume.place;
}

// What lies in a node, in words.
std::string KindOf(const cPartTreeItem& node, const TreeNotes& notes) {
  for (const Note& note : notes.Of(node)) {
    const auto* content = std::get_if<ContentNote>(&note);
    if (!content || content->name.empty()) continue;
    const std::string name(content->name);
    return content->label.empty() ? name : fmt::format("{} \"{}\"", name, content->label);
  }
  if (!node.Parent()) return "";
  const std::string name = Utf8FromWide(node.m_name.View());
  return name == "[unknown]" ? "not recognised" : name;
}

std::vector<ReportPartition> PartitionsOf(cKVRSparseIO* image) {
  PartitionTree tree;
  TreeNotes notes;
  BuildPartitionTree(tree.Head(), image, {.notes = &notes, .forPeople = true, .cache = image});
  std::vector<ReportPartition> partitions;
  if (!tree.Root()) return partitions;
  for (const PlacedVolume& volume : VolumesOf(*tree.Root(), notes)) {
    const cPartTreeItem* node = FindNode(*tree.Root(), volume.place);
    partitions.push_back({volume.place.empty() ? "whole disk" : volume.place,
                          node ? KindOf(*node, notes) : "", volume.sectors.first,
                          volume.sectors.count});
  }
  return partitions;
}

void WalkVolume(const PlacedVolume& volume, WalkedStorage* storage, StatusMap& map,
                ReportFiles* files) {
  WalkEvents events;
  events.file = [&](const FoundFile& file) { AddFile(volume, file, map, files); };
  events.damaged = [&](const DamagedPart& part) {
    const FileState state = StateOf(part.lacking, map);
    if (state.condition == FileCondition::kComplete || part.path.empty()) return;
    files->AddObstacle(VolumeWords(volume) + ": the folder " + part.path +
                       " is not all there; files in it may not be listed.");
  };
  const WalkEnd end = WalkFiles(storage, volume.sectors.first, volume.sectors.count, events,
                                platform::InterruptFlag());
  if (end == WalkEnd::kDone || end == WalkEnd::kNoFileSystem) return;
  files->AddObstacle(end == WalkEnd::kUnavailable
                         ? CannotWalkWords(VolumeWords(volume)) + "."
                         : VolumeWords(volume) + ": its files could not all be listed.");
}

}  // namespace

ReportFacts GatherFacts(const std::string& cache, cKVRSparseIO* image) {
  ReportFacts facts;
  facts.cache = cache;
  facts.made = Now();
  facts.history = ToldBy(cache, image->Layout());
  facts.partitions = PartitionsOf(image);
  return facts;
}

GatheredFiles GatherFiles(cKVRSparseIO* image) {
  GatheredFiles gathered;
  StatusMap map(image);
  CacheStorage storage(image, map);
  const VolumeLayout layout = LayoutOf(image, image);
  if (!layout.met.unread.empty()) {
    gathered.files.AddObstacle(
        "Sectors that tell where partitions lie are missing or unreadable: there may be files that "
        "are not listed.");
  }
  for (const PlacedVolume& volume : layout.volumes) {
    WalkVolume(volume, &storage, map, &gathered.files);
  }
  gathered.unknown = storage.Unknown();
  return gathered;
}

}  // namespace larkspur::cli
