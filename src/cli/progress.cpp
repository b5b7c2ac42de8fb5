// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "cli/progress.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include <fmt/core.h>

#include "base/size_text.h"
#include "cli/output.h"
#include "platform/clock.h"
#include "platform/terminal.h"

namespace larkspur::cli {
namespace {

constexpr double kTerminalSeconds = 0.2;
constexpr double kLogSeconds = 10;
constexpr double kRateSeconds = 1;   // how often the rate is measured
constexpr double kRateWeight = 0.3;  // of the newest value
constexpr double kJsonSeconds = 1;
constexpr double kSilenceShown = 2;  // seconds without an answer that are worth telling
constexpr double kLongestShown = 99 * 24 * 3600.0;

constexpr size_t kBetween = 2;  // blanks

// A part of the line; those of little importance make room for the others.
struct Part {
  int importance;
  std::string text;
};

// In the order in which they are shown.
std::vector<Part> PartsOf(const ProgressText& text) {
  const bool hasPhase = !text.phase.empty();
  std::vector<Part> parts;
  if (hasPhase) parts.push_back({8, fmt::format("{:<6}", text.phase)});
  if (text.sectors > 0) parts.push_back({7, PercentText(text.done, text.sectors)});
  if (hasPhase) parts.push_back({1, "at " + SizeText(text.position << kSectorShift)});
  parts.push_back({2, "present " + SizeText((text.done - text.unreadable) << kSectorShift)});
  if (text.unreadable > 0) {
    parts.push_back({5, fmt::format("unreadable {} sectors", text.unreadable)});
  }
  if (text.bytesPerSecond >= 0) {
    parts.push_back({3, SizeText(static_cast<u64>(text.bytesPerSecond)) + "/s"});
  }
  if (hasPhase && text.sinceSuccess >= kSilenceShown) {
    parts.push_back({6, "no answer for " + FormatDuration(text.sinceSuccess)});
  }
  if (text.secondsLeft >= 0) parts.push_back({4, FormatDuration(text.secondsLeft) + " left"});
  return parts;
}

size_t WidthOf(const std::vector<Part>& parts) {
  size_t width = 0;
  for (const Part& part : parts) width += part.text.size() + (width > 0 ? kBetween : 0);
  return width;
}

}  // namespace

std::string FormatDuration(double seconds) {
  const u64 all = static_cast<u64>(std::clamp(seconds, 0.0, kLongestShown));
  if (all < 3600) return fmt::format("{}:{:02}", all / 60, all % 60);
  return fmt::format("{}:{:02}:{:02}", all / 3600, all / 60 % 60, all % 60);
}

std::string FormatProgress(const ProgressText& text, size_t width) {
  std::vector<Part> parts = PartsOf(text);
  while (WidthOf(parts) > width) {
    parts.erase(std::max_element(parts.begin(), parts.end(), [](const Part& a, const Part& b) {
      return a.importance > b.importance;
    }));
  }
  std::string line;
  for (const Part& part : parts) line += std::string(line.empty() ? 0 : kBetween, ' ') + part.text;
  return line;
}

double SmoothRate::Add(u64 done, double now) {
  if (m_time < 0) {
    m_time = now;
    m_done = done;
  }
  const double elapsed = now - m_time;
  if (elapsed >= kRateSeconds) {
    const double rate = static_cast<double>(done - std::min(done, m_done)) / elapsed;
    m_rate = m_rate < 0 ? rate : m_rate + kRateWeight * (rate - m_rate);
    m_time = now;
    m_done = done;
  }
  return m_rate;
}

ProgressLine::ProgressLine()
    : m_terminal(platform::IsErrorOutputATerminal()),
      m_started(platform::MonotonicSeconds()),
      m_lastShown(m_started) {}

double ProgressLine::Seconds() const {
  return platform::MonotonicSeconds() - m_started;
}

bool ProgressLine::IsDue() const {
  const double pause = m_terminal ? kTerminalSeconds : kLogSeconds;
  return platform::MonotonicSeconds() - m_lastShown >= pause;
}

void ProgressLine::Show(const ProgressText& progress, u64 fresh, u64 left) {
  if (!IsDue()) return;
  const double rate = m_rate.Add(fresh, platform::MonotonicSeconds());
  ProgressText text = progress;
  if (rate >= 0) text.bytesPerSecond = rate * kSectorBytes;
  if (rate > 0) text.secondsLeft = static_cast<double>(left) / rate;
  ShowNow(text);
}

void ProgressLine::ShowNow(const ProgressText& text) {
  m_lastShown = platform::MonotonicSeconds();
  if (!m_terminal) {
    std::fprintf(stderr, "%s\n", FormatProgress(text).c_str());
    return;
  }
  const u32 width = platform::TerminalColumns() - 1;
  ShowProgress(FormatProgress(text, width), width);
}

void RescueProgressLine::Show(const RescueProgress& progress) {
  if (progress.domainSectors == 0) return;  // what is wanted is still being found out
  const double now = platform::MonotonicSeconds();
  const StatusTotals& domain = progress.domain;
  const double rate = m_rate.Add(domain.present, now);
  // From the first few requests nothing can be told.
  const double secondsLeft = rate < 0 ? -1 : progress.secondsLeft;
  if (m_json) {
    if (now - m_lastJson < kJsonSeconds) return;
    m_lastJson = now;
    return PrintJsonLine(progress, rate, secondsLeft);
  }
  if (!m_line.IsDue()) return;
  // How much is fetched on demand is not known.
  m_line.ShowNow({.sectors = progress.phase == Phase::kFetch ? 0 : progress.domainSectors,
                  .done = domain.present + domain.unreadable,
                  .unreadable = domain.unreadable,
                  .bytesPerSecond = rate < 0 ? -1 : rate * kSectorBytes,
                  .secondsLeft = secondsLeft,
                  .phase = PhaseName(progress.phase),
                  .position = progress.position,
                  .sinceSuccess = progress.secondsSinceSuccess});
}

void RescueProgressLine::PrintJsonLine(const RescueProgress& progress, double rate,
                                       double secondsLeft) {
  const StatusTotals& domain = progress.domain;
  const double done = static_cast<double>(domain.present + domain.unreadable);
  const double all = static_cast<double>(progress.domainSectors);
  const auto orNull = [](double value) {
    return value < 0 ? "null" : fmt::format("{:.1f}", value);
  };
  std::fprintf(
      stderr, "%s\n",
      fmt::format(R"({{"phase":"{}","percent":{:.2f},"present":{},"unreadable":{},"left":{},)"
                  R"("bytesPerSecond":{},"secondsLeft":{},"sinceSuccess":{:.1f}}})",
                  PhaseName(progress.phase), all > 0 ? done * 100 / all : 100.0, domain.present,
                  domain.unreadable, domain.missing, orNull(rate < 0 ? rate : rate * kSectorBytes),
                  orNull(secondsLeft), progress.secondsSinceSuccess)
          .c_str());
}

}  // namespace larkspur::cli
