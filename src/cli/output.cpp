// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "cli/output.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <system_error>

#include "base/printable.h"
#include "base/size_text.h"
#include "platform/system_error.h"
#include "platform/terminal.h"

namespace larkspur::cli {
namespace {

// The first error of standard output; 0: none.
int g_outputError = 0;
// The terminal's cursor stands in a line of progress.
bool g_isProgressOpen = false;

void NoteOutputError() {
  if (g_outputError == 0) g_outputError = errno ? errno : EIO;
  if (g_outputError == EINTR) platform::DropOutput();
}

void EndProgress() {
  if (g_isProgressOpen) std::fputc('\n', stderr);
  g_isProgressOpen = false;
}

}  // namespace

void Print(const std::string& text) {
  EndProgress();
  const std::string shown = Printable(text, "\n\t");
  errno = 0;
  if (std::fwrite(shown.data(), 1, shown.size(), stdout) != shown.size()) NoteOutputError();
}

bool PrintBytes(const void* bytes, size_t count) {
  if (!FlushOutput()) return false;
  if (platform::WriteOutput(bytes, count)) return true;
  NoteOutputError();
  return false;
}

bool FlushOutput() {
  errno = 0;
  if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return true;
  NoteOutputError();
  return false;
}

ExitStatus FinishOutput(ExitStatus status) {
  EndProgress();
  FlushOutput();
  if (g_outputError == 0) return status;
  if (g_outputError == EINTR) {
    Tell("standard output: stopped; the results are not complete");
    return kExitInterrupted;
  }
  Tell("standard output: the results could not be written: " +
       std::generic_category().message(g_outputError));
  return status == kExitDone || status == kExitSomeUnreadable ? kExitFailed : status;
}

void PrintJson(const Json& document) {
  Print(document.Pretty() + "\n");
}

void PrintCounts(const StatusCounts& counts, u64 sectors) {
  const std::pair<const char*, u64> rows[] = {
      {"present", counts.present}, {"unreadable", counts.unreadable}, {"missing", counts.missing}};
  for (const auto& [name, count] : rows) {
    Print(fmt::format("{:<11} {:>14} {:<7}  {:>10}  {:>7}\n", name, count,
                      count == 1 ? "sector" : "sectors", SizeText(count << kSectorShift),
                      PercentText(count, sectors)));
  }
}

void AppendRight(std::string* row, std::string_view text, size_t width) {
  row->append(width - std::min(width, text.size()), ' ').append(text);
}

void ShowProgress(const std::string& line, size_t width) {
  std::fprintf(stderr, "\r%-*s", static_cast<int>(width), line.c_str());
  std::fflush(stderr);
  g_isProgressOpen = true;
}

void Tell(const std::string& message) {
  FlushOutput();
  EndProgress();
  std::fprintf(stderr, "larkspur: %s\n", Printable(message).c_str());
}

ExitStatus Fail(const std::string& message) {
  Tell(message);
  return kExitFailed;
}

std::string Failure(const std::string& name, const std::string& message, unsigned systemError) {
  const std::string text = name + ": " + message;
  return systemError ? text + ": " + platform::FailureText(systemError) : text;
}

}  // namespace larkspur::cli
