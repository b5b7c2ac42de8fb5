// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/report_plots.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <fmt/format.h>

#include "base/size_text.h"

namespace larkspur {
namespace {

constexpr double kWidth = 1072, kHeight = 260;
constexpr double kLeft = 84, kRight = 16, kTop = 12, kBottom = 34;
constexpr double kPlotWidth = kWidth - kLeft - kRight, kPlotHeight = kHeight - kTop - kBottom;
constexpr int kTicks = 4;  // steps of each scale
constexpr size_t kMaxPoints = 1000;
constexpr size_t kBars = 240;

constexpr double kMostInSeconds = 600, kMostInMinutes = 4 * 3600.0;

// The end of a scale of time up to `seconds`, each step of which is a whole number of its unit.
double ScaleEnd(double seconds) {
  const double unit = seconds <= kMostInSeconds ? 1 : seconds <= kMostInMinutes ? 60 : 900;
  return std::max(1.0, std::ceil(seconds / kTicks / unit)) * kTicks * unit;
}

// A step of the scale that ends at `end`.
std::string DurationText(double seconds, double end) {
  const u64 whole = static_cast<u64>(std::llround(seconds));
  if (end <= kMostInSeconds) return fmt::format("{} s", whole);
  if (end <= kMostInMinutes) return fmt::format("{} min", whole / 60);
  return fmt::format("{}:{:02} h", whole / 3600, whole % 3600 / 60);
}

// Frame and scales; `across` and `up` give the words of each step, from 0 to kTicks.
template <typename Across, typename Up>
std::string Frame(Across across, Up up) {
  std::string svg = fmt::format(
      "<svg viewBox=\"0 0 {0} {1}\" width=\"{0}\" height=\"{1}\" font-family=\"sans-serif\" "
      "font-size=\"13\" fill=\"#5d6470\">\n",
      kWidth, kHeight);
  for (int step = 0; step <= kTicks; ++step) {
    const double share = static_cast<double>(step) / kTicks;
    const double x = kLeft + share * kPlotWidth, y = kTop + (1 - share) * kPlotHeight;
    const char* anchor = step == 0 ? "start" : step == kTicks ? "end" : "middle";
    svg += fmt::format("<path d=\"M{} {:.1f}h{}\" stroke=\"#e3e4e8\"/>\n", kLeft, y, kPlotWidth);
    svg += fmt::format("<text x=\"{}\" y=\"{:.1f}\" text-anchor=\"end\">{}</text>\n", kLeft - 8,
                       y + 4, up(share));
    svg += fmt::format("<text x=\"{:.1f}\" y=\"{}\" text-anchor=\"{}\">{}</text>\n", x,
                       kHeight - 10, anchor, across(share));
  }
  return svg;
}

}  // namespace

std::string PlotGoodData(const std::vector<ReportPoint>& points, u64 sectors) {
  const double time = ScaleEnd(points.back().seconds);
  const double most = static_cast<double>(sectors);
  std::string svg =
      Frame([&](double share) { return DurationText(share * time, time); },
            [&](double share) { return SizeText(static_cast<u64>(share * most) << kSectorShift); });
  svg += "<polyline fill=\"none\" stroke=\"#2b6cb0\" stroke-width=\"2\" points=\"";
  const size_t step = points.size() / kMaxPoints + 1;
  const auto add = [&](const ReportPoint& point) {
    const double x = std::clamp(point.seconds / time, 0.0, 1.0);
    const double y = std::min(static_cast<double>(point.present) / most, 1.0);
    svg += fmt::format("{:.1f},{:.1f} ", kLeft + x * kPlotWidth, kTop + (1 - y) * kPlotHeight);
  };
  for (size_t i = 0; i < points.size(); i += step) add(points[i]);
  add(points.back());
  return svg + "\"/>\n</svg>\n";
}

std::string PlotFailures(const std::vector<SectorRange>& failures, u64 sectors) {
  std::array<u64, kBars> counts{};
  for (const SectorRange& failure : failures) {
    const double share = static_cast<double>(failure.first) / static_cast<double>(sectors);
    ++counts[std::min(kBars - 1, static_cast<size_t>(share * kBars))];
  }
  // So that each step is a whole number.
  const u64 most = (*std::max_element(counts.begin(), counts.end()) + kTicks - 1) / kTicks * kTicks;
  std::string svg = Frame(
      [&](double share) {
        return SizeText(static_cast<u64>(share * static_cast<double>(sectors)) << kSectorShift);
      },
      [&](double share) { return fmt::format("{:.0f}", share * static_cast<double>(most)); });
  constexpr double kBarWidth = kPlotWidth / kBars;
  for (size_t i = 0; i < kBars; ++i) {
    if (counts[i] == 0) continue;
    const double height = kPlotHeight * static_cast<double>(counts[i]) / static_cast<double>(most);
    svg += fmt::format(
        "<rect x=\"{:.1f}\" y=\"{:.1f}\" width=\"{:.1f}\" height=\"{:.1f}\" fill=\"#d02018\"/>\n",
        kLeft + static_cast<double>(i) * kBarWidth, kTop + kPlotHeight - height, kBarWidth, height);
  }
  return svg + "</svg>\n";
}

}  // namespace larkspur
