// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/rescue_words.h"

#include <algorithm>
#include <vector>

#include <fmt/core.h>

#include "base/printable.h"
#include "base/size_text.h"

namespace larkspur {
namespace {

constexpr double kRateSeconds = 1;   // how often the rate is measured
constexpr double kRateWeight = 0.3;  // of the newest value
constexpr double kSilenceShown = 2;  // seconds without an answer that are worth telling
constexpr double kLongestShown = 99 * 24 * 3600.0;

constexpr size_t kBetween = 2;  // blanks

// A part of the line; those of little importance make room for the others.
struct Part {
  int importance;
  std::string text;
};

// In the order in which they are shown.
std::vector<Part> PartsOf(const ProgressFacts& text) {
  const bool hasPhase = !text.phase.empty();
  std::vector<Part> parts;
  if (hasPhase) parts.push_back({8, fmt::format("{:<6}", text.phase)});
  if (text.sectors > 0) parts.push_back({7, PercentText(text.done, text.sectors)});
  if (hasPhase) parts.push_back({1, "at " + SizeText(text.position << kSectorShift)});
  parts.push_back({2, "present " + SizeText((text.done - text.unreadable) << kSectorShift)});
  if (text.unreadable > 0) {
    parts.push_back({5, "unreadable " + CountText(text.unreadable, "sector")});
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

std::string FormatProgress(const ProgressFacts& text, size_t width) {
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

ProgressFacts FactsOf(const RescueProgress& progress, double sectorsPerSecond) {
  const StatusCounts& domain = progress.domain;
  // How much is fetched on demand is not known.
  return {.sectors = progress.phase == Phase::kFetch ? 0 : progress.domainSectors,
          .done = domain.present + domain.unreadable,
          .unreadable = domain.unreadable,
          .bytesPerSecond = sectorsPerSecond < 0 ? -1 : sectorsPerSecond * kSectorBytes,
          // From the first few requests nothing can be told.
          .secondsLeft = sectorsPerSecond < 0 ? -1 : progress.secondsLeft,
          .phase = PhaseName(progress.phase),
          .position = progress.position,
          .sinceSuccess = progress.secondsSinceSuccess};
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

namespace {

std::string SourceText(const SourceIdentity& source) {
  std::string text;
  const auto line = [&text](const char* name, const std::string& value) {
    if (!value.empty()) text += fmt::format("{:<9} {}\n", name, value);
  };
  line("device", Printable(source.path));
  line("model", Printable(source.model));
  line("serial", Printable(source.serial));
  line("firmware", Printable(source.firmware));
  line("size", fmt::format("{}, {}", CountText(source.sectors, "sector"),
                           SizeText(source.sectors << kSectorShift)));
  return text;
}

// "2026-11-21 19:00:00" of "2026-11-21T19:00:00.123Z"; what has another form stays as it is.
std::string TimeText(const std::string& logged) {
  constexpr size_t kDate = 10, kTime = 8, kAll = 24;
  if (logged.size() != kAll || logged[kDate] != 'T' || logged.back() != 'Z') {
    return Printable(logged);
  }
  return Printable(fmt::format("{} {}", logged.substr(0, kDate), logged.substr(kDate + 1, kTime)));
}

std::string RunsText(const std::vector<HistoryRun>& runs) {
  static constexpr char kLine[] = "{:<19}  {:<19}  {:<14} {:>12} {:>12} {:>11}\n";
  std::string text =
      "\n" + fmt::format(kLine, "run from (UTC)", "to", "ended", "read", "present", "unreadable");
  for (const HistoryRun& run : runs) {
    text += fmt::format(kLine, TimeText(run.start), TimeText(run.end),
                        run.how.empty() ? "no end logged" : Printable(run.how), run.asked,
                        run.present, run.unreadable);
  }
  return text;
}

}  // namespace

u64 CountOf(const RescueHistory& history, FailureKind kind) {
  return history.failures[static_cast<size_t>(kind)];
}

// A worn disk has millions of extents: counted without a copy.
u64 TriedSectors(const RescueHistory& history) {
  u64 sectors = history.triedTogether.Sectors() + history.triedAlone.Sectors();
  history.triedAlone.Visit([&](SectorRange alone) {
    history.triedTogether.Visit(alone, [&](SectorRange both) { sectors -= both.count; });
  });
  return sectors;
}

std::string WrongLinesText(const RescueHistory& history) {
  if (history.wrongLines == 1) {
    return fmt::format("line {} cannot be understood and is ignored", history.firstWrongLine);
  }
  return fmt::format("{} lines cannot be understood and are ignored; the first is line {}",
                     history.wrongLines, history.firstWrongLine);
}

std::string HistoryText(const RescueHistory& history) {
  std::string text = history.source ? SourceText(*history.source) : "";
  text += RunsText(history.runs) + "\nfailures";
  for (const FailureKind kind : kLoggedKinds) {
    text += fmt::format("  {} {}", FailureKindName(kind), CountOf(history, kind));
  }
  text += fmt::format("\n{} failed at least once\n", CountText(TriedSectors(history), "sector"));
  if (history.slowest.empty()) return text;
  text += fmt::format("\n{:>14} {:>8} {:>9}  slowest failures\n", "start", "sectors", "seconds");
  for (const SlowArea& area : history.slowest) {
    text += fmt::format("{:>14} {:>8} {:>9.1f}  {}\n", area.range.first, area.range.count,
                        area.seconds, FailureKindName(area.kind));
  }
  return text;
}

}  // namespace larkspur
