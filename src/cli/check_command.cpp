// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <algorithm>

#include "base/path_text.h"
#include "base/size_text.h"
#include "cli/commands.h"
#include "cli/output.h"
#include "cli/storages.h"
#include "imaging/check.h"
#include "platform/system_error.h"

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
  Json problems = Json::Array();
  for (const Problem& problem : result.problems) {
    problems.Add({{"kind", ProblemKindName(problem.kind)},
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

bool Has(const CheckResult& result, ProblemKind kind) {
  return std::any_of(result.problems.begin(), result.problems.end(),
                     [kind](const Problem& problem) { return problem.kind == kind; });
}

const char* WhatToDo(const CheckResult& result, bool repair) {
  if (!repair && result.repairableCount > 0) {
    return "found; 'larkspur check --repair' repairs what can be repaired";
  }
  if (Has(result, ProblemKind::kUnreadableMap)) {
    return "left: part of the file cannot be read. Copy it to a healthy disk with a tool that "
           "skips bad sectors, and check the copy";
  }
  if (Has(result, ProblemKind::kNotFlushed)) {
    return "left: resume with 'larkspur image', which reads again what is in doubt";
  }
  if (Has(result, ProblemKind::kLog)) {
    return "left: make the log readable, or remove it if it is lost";
  }
  if (Has(result, ProblemKind::kHeader) || Has(result, ProblemKind::kShortIndex)) {
    return "left: the header does not match the file, so nothing is changed. Restore the file from "
           "a copy, or start a new cache and keep this file";
  }
  return "left that cannot be repaired. 'larkspur export' writes what the cache holds; to read "
         "more, start a new cache and keep this file";
}

}  // namespace

ExitStatus RunCheck(const std::string& path, bool repair, bool json) {
  const std::u16string file = WideFromUtf8(path);
  std::shared_ptr<CacheLock> lock;
  if (repair) {
    auto locked = LockCache(file);
    if (!locked) return Fail(CacheFailure(path, locked.error()));
    lock = std::move(*locked);
  }
  const auto checked = CheckCache(file, repair);
  if (!checked) return Fail(Failure(path, "the cache cannot be opened", checked.error()));
  const CheckResult& result = *checked;
  json ? PrintProblemsJson(path, result) : PrintProblems(path, result);
  if (lock && !lock->Sync()) {
    return Fail(Failure(path, "the repair could not be flushed to disk", platform::LastFailure()));
  }
  const u64 left = result.problemCount - result.repairedCount;
  if (left == 0) return kExitDone;
  return Fail(fmt::format("{}: {} {}", path, CountText(left, "problem"), WhatToDo(result, repair)));
}

}  // namespace larkspur::cli
