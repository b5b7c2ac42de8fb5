// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/log_words.h"

#include <fmt/core.h>

#include "base/printable.h"
#include "base/size_text.h"

namespace larkspur {
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
