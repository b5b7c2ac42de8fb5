// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <sstream>

#include "cli/commands.h"
#include "cli/files_output.h"
#include "cli/output.h"
#include "cli/partition.h"
#include "cli/progress.h"
#include "cli/storages.h"
#include "cli/walked_storages.h"
#include "files/glob.h"
#include "files/volumes.h"
#include "imaging/mapfile.h"
#include "platform/helper_process.h"
#include "platform/system_error.h"
#include "platform/terminal.h"
#include "rescue/rescue_io.h"

namespace larkspur::cli {
namespace {

// Goes through the volumes and gives what fits the options to the output.
class FilesRun {
 public:
  FilesRun(const FilesOptions& options, StatusMap& map, FilesOutput* output)
      : m_options(options), m_map(map), m_output(output) {
    for (const std::string& glob : options.paths) m_globs.emplace_back(glob);
  }

  ExitStatus Walk(WalkedStorage* storage, const PlacedVolume& volume) {
    WalkEvents events;
    events.opened = [&](const std::string& kind, const std::string& label) {
      m_output->BeginVolume({volume, kind, label});
      ++m_volumes;
    };
    events.file = [&](const FoundFile& file) { Meet(volume, file); };
    events.damaged = [&](const DamagedPart& part) {
      const FileState state = StateOf(part.lacking, m_map);
      if (state.condition == FileCondition::kComplete) return;
      AddLacking(part.lacking, m_map, &m_needed);
      m_output->Damaged(volume, part.path, state);
    };
    const WalkEnd end = WalkFiles(storage, volume.sectors.first, volume.sectors.count, events,
                                  platform::InterruptFlag());
    return TellEnd(volume, end);
  }

  u32 Volumes() const { return m_volumes; }
  // Whether file systems can be read at all, as far as is known.
  bool CanWalk() const { return m_canWalk; }
  u64 Matched() const { return m_matched; }

  // A domain: '+' where something that fits the globs lacks its data.
  std::string Mapfile() const {
    std::ostringstream out;
    MapfileWriter writer(out, false);
    u64 end = 0;
    const auto rest = [&](u64 sector) {
      if (sector > end) writer.Add(end, sector - end, '?');
    };
    m_needed.Visit([&](SectorRange range) {
      rest(range.first);
      writer.Add(range.first, range.count, '+');
      end = range.End();
    });
    rest(m_map.Sectors());
    return out.str();
  }

 private:
  void Meet(const PlacedVolume& volume, const FoundFile& file) {
    const auto fits = [&file](const Glob& glob) { return glob.Fits(file.path); };
    if (!m_globs.empty() && std::none_of(m_globs.begin(), m_globs.end(), fits)) return;
    ++m_matched;
    const FileState state = StateOf(file, m_map);
    m_output->Count(state.condition);
    if (state.condition == FileCondition::kComplete && m_options.damaged) return;
    if (!m_options.mapfile.empty()) {
      AddLacking(NeedsOf(file), m_map, &m_needed);
    }
    m_output->File(volume, file, state);
  }

  // With a source, what was looked for is there.
  bool LacksStart(const PlacedVolume& volume) {
    constexpr u64 kStart = 1024;  // where file systems describe themselves
    return m_options.source.empty() &&
           m_map.Count(volume.sectors.first, std::min(volume.sectors.count, kStart)).missing > 0;
  }

  ExitStatus TellEnd(const PlacedVolume& volume, WalkEnd end) {
    const std::string name = VolumeName(m_options.cache, volume);
    switch (end) {
      case WalkEnd::kDone:
        return kExitDone;
      case WalkEnd::kNoFileSystem:
        Tell(name + ": no file system is recognised" +
             (LacksStart(volume) ? "; its first sectors are not all in the cache yet" : ""));
        return kExitDone;
      case WalkEnd::kStopped:
        return kExitInterrupted;
      case WalkEnd::kFailed:
        return Fail(name +
                    ": the file system is too damaged to be read to its end; what was found up to "
                    "there is listed");
      case WalkEnd::kUnavailable:
        m_canWalk = false;
        return Fail(CannotWalkWords(name));
    }
    return kExitFailed;
  }

  const FilesOptions& m_options;
  StatusMap& m_map;
  FilesOutput* m_output;
  std::vector<Glob> m_globs;
  ExtentSet m_needed;
  u32 m_volumes = 0;
  bool m_canWalk = true;
  u64 m_matched = 0;
};

// `engine` as FindPartition has it.
Result<std::vector<PlacedVolume>, ExitStatus> FindVolumes(const FilesOptions& options,
                                                          cBaseIO* storage, cKVRSparseIO* cache,
                                                          const Engine* engine = nullptr) {
  if (options.partition.empty()) {
    VolumeLayout layout = LayoutOf(storage, cache);
    TellObstacles(options.cache, true, layout.met);
    return std::move(layout.volumes);
  }
  const auto range = FindPartition(storage, cache, options.cache, options.partition, engine);
  if (!range) return Failed(range.error());
  return std::vector<PlacedVolume>{{options.partition, *range}};
}

std::vector<std::u16string> InputsOf(const FilesOptions& options) {
  return FilesOf(options.cache, {options.source, options.testMode});
}

ExitStatus Finish(const FilesOptions& options, FilesRun* run, ExitStatus status) {
  if (status == kExitInterrupted) return status;
  if (run->Volumes() == 0 && status == kExitDone) return kExitFailed;  // each was told of
  if (!options.paths.empty() && run->Matched() == 0) {
    return Fail(options.cache + ": no file matches " + options.paths.front() +
                (options.paths.size() > 1 ? " or the other globs" : ""));
  }
  if (options.mapfile.empty()) return status;
  const ExitStatus written = WriteFileOrTell(options.mapfile, options.force, InputsOf(options),
                                             [run] { return run->Mapfile(); });
  return written == kExitDone ? status : written;
}

// Walks through everything once, so that the metadata gets into the cache.
ExitStatus FetchMetadata(const FilesOptions& options) {
  Rescue rescue;
  if (const ExitStatus status = rescue.Open(options); status != kExitDone) return status;
  RescueProgressLine line(false);
  rescue.engine().OnProgress([&line](const RescueProgress& progress) { line.Show(progress); });
  cRescueIO io(&rescue.engine());
  const auto volumes = FindVolumes(options, &io, rescue.Image(), &rescue.engine());
  RescuedStorage storage(&rescue);
  for (const PlacedVolume& volume : volumes.value_or(std::vector<PlacedVolume>())) {
    if (rescue.engine().Reason() != StopReason::kNone) break;
    WalkFiles(&storage, volume.sectors.first, volume.sectors.count, {}, platform::InterruptFlag());
  }
  return rescue.Finish(volumes ? kExitDone : volumes.error());
}

}  // namespace

ExitStatus RunFiles(const FilesOptions& options) {
  platform::InterruptFlag();
  if (!platform::HasHelpers()) {
    return Fail(options.cache +
                ": this build of larkspur cannot read file systems; copy the cache to a Linux "
                "machine, and list its files there");
  }
  if (!options.mapfile.empty()) {
    const ExitStatus judged = JudgeOutputOrTell(options.mapfile, options.force, InputsOf(options));
    if (judged != kExitDone) return judged;
  }
  if (!options.source.empty()) {
    const ExitStatus fetched = FetchMetadata(options);
    if (fetched != kExitDone) return fetched;
  }
  auto cache = OpenCacheToLook(options.cache);
  if (!cache) return cache.error();
  StatusMap map(cache->image.get());
  const auto volumes = FindVolumes(options, cache->image.get(), cache->image.get());
  if (!volumes) return volumes.error();
  if (volumes->empty()) Tell(options.cache + ": there is no partition that may hold files");
  CacheStorage storage(cache->image.get(), map);
  const auto output = MakeFilesOutput(options.cache, options.json);
  FilesRun run(options, map, output.get());
  ExitStatus status = kExitDone;
  for (const PlacedVolume& volume : *volumes) {
    const ExitStatus walked = run.Walk(&storage, volume);
    status = std::max(status, walked);
    if (walked == kExitInterrupted || !run.CanWalk()) break;
  }
  output->End();
  return TellDamage(options.cache, *cache, storage.Unknown(), Finish(options, &run, status));
}

}  // namespace larkspur::cli
