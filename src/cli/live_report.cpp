// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "cli/live_report.h"

#include <algorithm>

#include "base/path_text.h"
#include "cli/output.h"
#include "cli/report_facts.h"
#include "cli/storages.h"
#include "platform/clock.h"
#include "platform/system_error.h"

namespace larkspur::cli {
namespace {

constexpr double kSeconds = 10;
constexpr double kShareOfTime = 0.05;  // at most, of a large disk's pages

bool IsReport(const std::u16string& path) {
  if (platform::KindOfPath(path.c_str()) != platform::PathKind::kFile) return false;
  const platform::OwnedFile file(platform::OpenExistingFile(path.c_str(), platform::kOpenRead));
  std::string start(kReportMark.size(), '\0');
  const u32 length = static_cast<u32>(start.size());
  return file.IsOpen() && platform::ReadFileAt(file.Handle(), start.data(), length, 0) == length &&
         start == kReportMark;
}

}  // namespace

bool LiveReport::MayReplace() const {
  return m_options.force || IsReport(WideFromUtf8(m_options.report));
}

std::vector<std::u16string> LiveReport::Inputs() const {
  return FilesOf(m_options.cache, {m_options.source, m_options.testMode, m_options.domain});
}

ExitStatus LiveReport::Judge() const {
  if (m_options.report.empty()) return kExitDone;
  return JudgeOutputOrTell(m_options.report, MayReplace(), Inputs());
}

ExitStatus LiveReport::Open() {
  if (m_options.report.empty()) return kExitDone;
  const auto file = OpenOutputFile(WideFromUtf8(m_options.report), MayReplace(), Inputs());
  return file ? kExitDone : Fail(OutputWords(m_options.report, file.error()));
}

void LiveReport::Update(cKVRSparseIO* image) {
  if (m_options.report.empty() || platform::MonotonicSeconds() < m_next) return;
  const double started = platform::MonotonicSeconds();
  ReportFacts facts = GatherFacts(m_options.cache, image);
  facts.refreshSeconds = static_cast<u32>(kSeconds);
  if (!Write(image, facts) && !m_hasFailed) {
    m_hasFailed = true;
    Tell(Failure(m_options.report, "the report cannot be written; the rescue continues",
                 platform::LastFailure()));
  }
  const double now = platform::MonotonicSeconds();
  m_next = now + std::max(kSeconds, (now - started) / kShareOfTime);
}

ExitStatus LiveReport::Finish(cKVRSparseIO* image, ExitStatus status) {
  if (m_options.report.empty()) return status;
  ReportFacts facts = GatherFacts(m_options.cache, image);
  facts.files = GatherFiles(image).files;
  if (Write(image, facts)) return status;
  const u32 error = platform::LastFailure();
  // The empty file that Open made is in the way of the next run.
  if (!IsReport(WideFromUtf8(m_options.report))) {
    platform::RemoveFile(WideFromUtf8(m_options.report).c_str());
  }
  const ExitStatus failed = Fail(Failure(m_options.report, "the report cannot be written", error));
  return status == kExitDone ? failed : status;
}

bool LiveReport::Write(cKVRSparseIO* image, const ReportFacts& facts) {
  return ReplaceOutput(WideFromUtf8(m_options.report), WriteReport(image, facts));
}

}  // namespace larkspur::cli
