// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/path_text.h"
#include "cli/commands.h"
#include "cli/output.h"
#include "cli/storages.h"
#include "imaging/check.h"

namespace larkspur::cli {
namespace {

void PrintProblems(const std::string& path, const CheckResult& result) {
  for (const Problem& problem : result.problems) {
    const std::string place = problem.block ? fmt::format("block {}: ", *problem.block) : "";
    Print(fmt::format("{}: {}{}{}\n", ProblemKindName(problem.kind), place, problem.detail,
                      problem.repaired ? " (repaired)" : ""));
  }
  if (result.problemCount > result.problems.size()) {
    Print(fmt::format("and {} more\n", result.problemCount - result.problems.size()));
  }
  if (result.problemCount == 0) Print(path + ": no problems\n");
}

void PrintProblemsJson(const std::string& path, const CheckResult& result) {
  Json problems = Json::array();
  for (const Problem& problem : result.problems) {
    problems.push_back({{"kind", ProblemKindName(problem.kind)},
                        {"block", problem.block ? Json(*problem.block) : Json(nullptr)},
                        {"detail", problem.detail},
                        {"repaired", problem.repaired}});
  }
  PrintJson({{"path", path},
             {"problems", problems},
             {"problemCount", result.problemCount},
             {"repaired", result.repairedCount},
             {"unusedRecords", result.unusedRecords}});
}

}  // namespace

ExitStatus RunCheck(const std::string& path, bool repair, bool json) {
  const std::u16string file = WideFromUtf8(path);
  Cache hold;
  if (repair) {
    hold = HoldCache(file);
    if (hold.answer != CacheAnswer::kOpened) {
      TellCacheAnswer(path, hold, 0);
      return kExitFailed;
    }
  }
  const CheckResult result = CheckCache(file, repair);
  if (!result.opened) {
    return Fail(Failure(path, "the cache cannot be opened", result.systemError));
  }
  json ? PrintProblemsJson(path, result) : PrintProblems(path, result);
  if (hold.hold && !hold.hold->Sync()) return Fail(path + ": the repair could not be kept");
  const u64 left = result.problemCount - result.repairedCount;
  if (left == 0) return kExitDone;
  return Fail(fmt::format("{}: {} problem{} {}", path, left, left == 1 ? "" : "s",
                          repair ? "cannot be mended without losing sectors"
                                 : "found; 'larkspur check --repair' mends what can be"));
}

}  // namespace larkspur::cli
