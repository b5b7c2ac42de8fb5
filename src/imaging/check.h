// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Verifying a cache file: its header, its index, its records and their status maps.

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/result.h"
#include "base/types.h"

namespace larkspur {

enum class ProblemKind {
  kHeader,         // the first 28 bytes are no cache header, or do not fit the file
  kShortIndex,     // the file ends before its index does
  kRecordBeyond,   // a block's record lies past the end of the file
  kRecordCut,      // the file ends within a block's record
  kSharedRecord,   // two blocks name one record: the data of one of them is lost
  kStatus,         // a status byte that has no meaning
  kUnreadableMap,  // the file cannot be read there
  kTrailingBytes,  // the file does not end where a record does
  kNotFlushed,     // what was stored last may never have reached the disk: zeros are in doubt
  kLog,            // the rescue log cannot be read
};

struct Problem {
  ProblemKind kind;
  std::optional<u64> block;
  std::string detail;
  bool repaired = false;
};

struct CheckResult {
  std::vector<Problem> problems;  // the first kMaxListedProblems of them
  u64 problemCount = 0;
  u64 repairedCount = 0;
  u64 repairableCount = 0;  // of them, that `repair` repairs or would repair
  u64 unusedRecords = 0;    // harmless: a crash came between making room and naming it
};

constexpr size_t kMaxListedProblems = 1000;

// The word for a kind in lists and in JSON.
const char* ProblemKindName(ProblemKind kind);

// Verifies the file at `path`; may be done beside a run that works on it. With `repair` it is
// opened writable, and what can be repaired without losing a sector is: records past the end are
// given up (they hold nothing), one that is cut is made whole with its lost sectors missing again,
// and trailing bytes are filled up to a record's. But first the header is judged by the whole file:
// when they disagree, or part of the file cannot be read, nothing can be repaired and nothing is
// changed. What was repaired is for the caller to flush to disk. A file that cannot be opened fails
// with the system's error.
Result<CheckResult, u32> CheckCache(const std::u16string& path, bool repair);

}  // namespace larkspur
