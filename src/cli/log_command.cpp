// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <nlohmann/json.hpp>

#include "base/path_text.h"
#include "base/printable.h"
#include "base/size_text.h"
#include "cli/commands.h"
#include "cli/output.h"
#include "cli/storages.h"
#include "rescue/rescue_history.h"
#include "rescue/rescue_log.h"

namespace larkspur::cli {
namespace {

constexpr FailureKind kKinds[] = {FailureKind::kMedium, FailureKind::kUnclear,
                                  FailureKind::kTransport, FailureKind::kGone,
                                  FailureKind::kSystem};

u64 Count(const RescueHistory& history, FailureKind kind) {
  return history.failures[static_cast<size_t>(kind)];
}

// Sectors that failed, together with others or alone. A worn disk has millions of extents: counted
// without a copy.
u64 Tried(const RescueHistory& history) {
  u64 sectors = history.triedTogether.Sectors() + history.triedAlone.Sectors();
  history.triedAlone.Visit([&](SectorRange alone) {
    history.triedTogether.Visit(alone, [&](SectorRange both) { sectors -= both.count; });
  });
  return sectors;
}

void PrintLogJson(const std::string& path, const RescueHistory& history) {
  Json runs = Json::array();
  for (const HistoryRun& run : history.runs) {
    runs.push_back({{"start", run.start},
                    {"end", run.end.empty() ? Json(nullptr) : Json(run.end)},
                    {"how", run.how.empty() ? Json(nullptr) : Json(run.how)},
                    {"asked", run.asked},
                    {"present", run.present},
                    {"unreadable", run.unreadable}});
  }
  Json failures = Json::object();
  for (const FailureKind kind : kKinds) {
    failures[std::string(FailureKindName(kind))] = Count(history, kind);
  }
  Json slowest = Json::array();
  for (const SlowArea& area : history.slowest) {
    slowest.push_back({{"start", area.range.first},
                       {"sectors", area.range.count},
                       {"seconds", area.seconds},
                       {"kind", FailureKindName(area.kind)}});
  }
  const SourceIdentity source = history.source.value_or(SourceIdentity());
  PrintJson({{"path", path},
             {"source",
              {{"path", source.path},
               {"model", source.model},
               {"serial", source.serial},
               {"firmware", source.firmware},
               {"sectors", source.sectors},
               {"logicalSectorSize", source.logicalSectorBytes},
               {"physicalSectorSize", source.physicalSectorBytes}}},
             {"runs", runs},
             {"failures", failures},
             {"slowest", slowest},
             {"tried", Tried(history)},
             {"wrongLines", history.wrongLines}});
}

void PrintLog(const RescueHistory& history) {
  const auto line = [](const char* name, const std::string& text) {
    if (!text.empty()) Print(fmt::format("{:<9} {}\n", name, text));
  };
  if (const auto& source = history.source) {
    line("device", Printable(source->path));
    line("model", Printable(source->model));
    line("serial", Printable(source->serial));
    line("firmware", Printable(source->firmware));
    line("size",
         fmt::format("{} sectors, {}", source->sectors, SizeText(source->sectors << kSectorShift)));
  }
  Print(fmt::format("\n{:<24}  {:<24}  {:<14} {:>12} {:>12} {:>11}\n", "run from", "to", "ended",
                    "read", "present", "unreadable"));
  for (const HistoryRun& run : history.runs) {
    Print(fmt::format("{:<24}  {:<24}  {:<14} {:>12} {:>12} {:>11}\n", Printable(run.start),
                      Printable(run.end), run.how.empty() ? "no end logged" : Printable(run.how),
                      run.asked, run.present, run.unreadable));
  }
  Print("\nfailures");
  for (const FailureKind kind : kKinds) {
    Print(fmt::format("  {} {}", FailureKindName(kind), Count(history, kind)));
  }
  Print(fmt::format("\n{} sectors failed at least once\n", Tried(history)));
  if (history.slowest.empty()) return;
  Print(fmt::format("\n{:>14} {:>8} {:>9}  slowest failures\n", "start", "sectors", "seconds"));
  for (const SlowArea& area : history.slowest) {
    Print(fmt::format("{:>14} {:>8} {:>9.1f}  {}\n", area.range.first, area.range.count,
                      area.seconds, FailureKindName(area.kind)));
  }
}

}  // namespace

ExitStatus RunLog(const std::string& path, bool json) {
  auto cache = OpenCacheToLook(path);
  if (!cache) return cache.error();
  const std::string logPath = path + ".log";
  const RescueHistory history =
      ReadHistory(LogPathOf(WideFromUtf8(path)), cache->image->GetSectorCount());
  if (history.systemError != 0) {
    return Fail(Failure(logPath, "the log cannot be read", history.systemError));
  }
  if (history.lines == 0) {
    Tell(logPath + ": there is no log, or it is empty");
    if (!json) return kExitDone;
  }
  if (history.wrongLines > 0) {
    Tell(fmt::format("{}: {} lines cannot be understood and are ignored; the first is line {}",
                     logPath, history.wrongLines, history.firstWrongLine));
  }
  json ? PrintLogJson(path, history) : PrintLog(history);
  return kExitDone;
}

}  // namespace larkspur::cli
