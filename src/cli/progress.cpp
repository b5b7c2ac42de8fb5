// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "cli/progress.h"

#include <cstdio>
#include <vector>

#include <fmt/core.h>

#include "cli/output.h"
#include "platform/terminal.h"

namespace larkspur::cli {
namespace {

constexpr double kTerminalSeconds = 0.2;
constexpr double kLogSeconds = 10;
constexpr double kJsonSeconds = 1;

std::string JsonLine(const RescueProgress& progress, const ProgressFacts& facts) {
  const StatusCounts& domain = progress.domain;
  const double done = static_cast<double>(domain.present + domain.unreadable);
  const double all = static_cast<double>(progress.domainSectors);
  const auto orNull = [](double value) {
    return value < 0 ? "null" : fmt::format("{:.1f}", value);
  };
  return fmt::format(R"({{"phase":"{}","percent":{:.2f},"present":{},"unreadable":{},"left":{},)"
                     R"("bytesPerSecond":{},"secondsLeft":{},"sinceSuccess":{:.1f}}})",
                     PhaseName(progress.phase), done * 100 / all, domain.present, domain.unreadable,
                     domain.missing, orNull(facts.bytesPerSecond), orNull(facts.secondsLeft),
                     progress.secondsSinceSuccess);
}

}  // namespace

ProgressLine::ProgressLine(RescueClock* clock)
    : m_clock(clock ? clock : &m_systemClock),
      m_terminal(platform::IsErrorOutputATerminal()),
      m_started(m_clock->Seconds()),
      m_lastShown(m_started) {}

bool ProgressLine::IsDue() {
  return m_clock->Seconds() - m_lastShown >= (m_terminal ? kTerminalSeconds : kLogSeconds);
}

void ProgressLine::Show(const ProgressFacts& progress, u64 fresh, u64 left) {
  if (!IsDue()) return;
  const double rate = m_rate.Add(fresh, m_clock->Seconds());
  ProgressFacts text = progress;
  if (rate >= 0) text.bytesPerSecond = rate * kSectorBytes;
  if (rate > 0) text.secondsLeft = static_cast<double>(left) / rate;
  ShowNow(text);
}

void ProgressLine::ShowNow(const ProgressFacts& text) {
  m_lastShown = m_clock->Seconds();
  if (!m_terminal) {
    std::fprintf(stderr, "%s\n", FormatProgress(text).c_str());
    return;
  }
  const u32 width = platform::TerminalColumns() - 1;
  ShowProgress(FormatProgress(text, width), width);
}

void RescueProgressLine::Show(const RescueProgress& progress) {
  if (progress.domainSectors == 0) return;  // what is wanted is still being found out
  const double now = Seconds();
  const ProgressFacts facts = FactsOf(progress, m_rate.Add(progress.domain.present, now));
  if (m_json) {
    if (m_lastJson >= 0 && now - m_lastJson < kJsonSeconds) return;
    m_lastJson = now;
    std::fprintf(stderr, "%s\n", JsonLine(progress, facts).c_str());
  } else if (m_line.IsDue()) {
    m_line.ShowNow(facts);
  }
}

}  // namespace larkspur::cli
