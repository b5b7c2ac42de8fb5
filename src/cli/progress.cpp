// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "cli/progress.h"

#include <algorithm>
#include <cstdio>

#include <fmt/format.h>

#include "imaging/size_text.h"
#include "platform/clock.h"
#include "platform/terminal.h"

namespace larkspur::cli {
namespace {

constexpr double kTerminalSeconds = 0.2;
constexpr double kLogSeconds = 10;
constexpr double kRateSeconds = 1;   // how often the rate is taken anew
constexpr double kRateWeight = 0.3;  // of the newest value
constexpr double kLongestShown = 99 * 24 * 3600.0;

}  // namespace

std::string FormatDuration(double seconds) {
  const u64 all = static_cast<u64>(std::clamp(seconds, 0.0, kLongestShown));
  if (all < 3600) return fmt::format("{}:{:02}", all / 60, all % 60);
  return fmt::format("{}:{:02}:{:02}", all / 3600, all / 60 % 60, all % 60);
}

std::string FormatProgress(const ProgressText& text) {
  std::string line = fmt::format("{}  present {}", PercentText(text.done, text.sectors),
                                 SizeText((text.done - text.unreadable) << kSectorShift));
  if (text.unreadable > 0) line += fmt::format("  unreadable {} sectors", text.unreadable);
  if (text.bytesPerSecond >= 0) {
    line += fmt::format("  {}/s", SizeText(static_cast<u64>(text.bytesPerSecond)));
  }
  if (text.secondsLeft >= 0) line += fmt::format("  {} left", FormatDuration(text.secondsLeft));
  return line;
}

ProgressLine::ProgressLine()
    : m_terminal(platform::IsErrorOutputATerminal()),
      m_started(platform::MonotonicSeconds()),
      m_lastShown(m_started),
      m_rateTime(m_started) {}

double ProgressLine::Seconds() const {
  return platform::MonotonicSeconds() - m_started;
}

double ProgressLine::RecentRate(u64 fresh, double now) {
  const double elapsed = now - m_rateTime;
  if (elapsed >= kRateSeconds) {
    const double rate = static_cast<double>(fresh - m_rateFresh) / elapsed;
    m_rate = m_rate < 0 ? rate : m_rate + kRateWeight * (rate - m_rate);
    m_rateTime = now;
    m_rateFresh = fresh;
  }
  return m_rate;
}

void ProgressLine::Show(const ProgressText& progress, u64 fresh, u64 left) {
  const double now = platform::MonotonicSeconds();
  if (now - m_lastShown < (m_terminal ? kTerminalSeconds : kLogSeconds)) return;
  m_lastShown = now;
  const double rate = RecentRate(fresh, now);
  ProgressText text = progress;
  if (rate >= 0) text.bytesPerSecond = rate * kSectorBytes;
  if (rate > 0) text.secondsLeft = static_cast<double>(left) / rate;
  const std::string line = FormatProgress(text);
  if (!m_terminal) {
    std::fprintf(stderr, "%s\n", line.c_str());
    return;
  }
  const int columns = static_cast<int>(platform::TerminalColumns()) - 1;
  std::fprintf(stderr, "\r%-*.*s", columns, columns, line.c_str());
  std::fflush(stderr);
  m_lineOpen = true;
}

void ProgressLine::Finish() {
  if (m_lineOpen) std::fputc('\n', stderr);
  m_lineOpen = false;
}

}  // namespace larkspur::cli
