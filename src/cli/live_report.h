// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The page of `image --report`: written again every ten seconds while a rescue is at work, so that
// it can be watched from another room.

#include "cli/commands.h"
#include "imaging/report.h"

namespace larkspur::cli {

class LiveReport {
 public:
  explicit LiveReport(const ImageOptions& options) : m_options(options) {}

  // Before the disk is touched: whether the page may be written where it is wanted. On any answer
  // but kExitDone, here and below, the user has been told.
  ExitStatus Judge() const;
  // Makes the file, or takes the page of an earlier run. Does nothing, as what follows, where no
  // page is wanted.
  ExitStatus Open();
  // Writes the page when it is time to.
  void Update(cKVRSparseIO* image);
  // Writes the last page, which has the files, too. Answers `status`, or kExitFailed instead of
  // kExitDone when that fails.
  ExitStatus Finish(cKVRSparseIO* image, ExitStatus status);

 private:
  // The command that resumes a rescue replaces its own page.
  bool MayReplace() const;
  std::vector<std::u16string> Inputs() const;
  bool Write(cKVRSparseIO* image, const ReportFacts& facts);

  const ImageOptions& m_options;
  double m_next = 0;
  bool m_hasFailed = false;
};

}  // namespace larkspur::cli
