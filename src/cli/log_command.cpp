// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/path_text.h"
#include "cli/commands.h"
#include "cli/output.h"
#include "cli/storages.h"
#include "imaging/rescue_words.h"
#include "rescue/rescue_log.h"

namespace larkspur::cli {
namespace {

void PrintLogJson(const std::string& path, const RescueHistory& history) {
  Json runs = Json::Array();
  for (const HistoryRun& run : history.runs) {
    runs.Add({{"start", run.start},
              {"end", run.end.empty() ? Json(nullptr) : Json(run.end)},
              {"how", run.how.empty() ? Json(nullptr) : Json(run.how)},
              {"asked", run.asked},
              {"present", run.present},
              {"unreadable", run.unreadable}});
  }
  Json failures = Json::Object();
  for (const FailureKind kind : kLoggedKinds) {
    failures[FailureKindName(kind)] = CountOf(history, kind);
  }
  Json slowest = Json::Array();
  for (const SlowArea& area : history.slowest) {
    slowest.Add({{"start", area.range.first},
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
             {"tried", TriedSectors(history)},
             {"wrongLines", history.wrongLines}});
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
    Tell(logPath + ": " + kNoLogWords);
    if (!json) return kExitDone;
  }
  if (history.wrongLines > 0) {
    Tell(logPath + ": " + WrongLinesText(history));
  }
  json ? PrintLogJson(path, history) : Print(HistoryText(history));
  return kExitDone;
}

}  // namespace larkspur::cli
