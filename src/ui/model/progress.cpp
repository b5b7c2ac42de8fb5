// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/model/progress.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "base/size_text.h"
#include "ui/model/text_template.h"

namespace larkspur {
namespace {

// More than anyone waits, and small enough for the arithmetic.
constexpr double kMostSeconds = 999 * 3600.0;

void AppendTime(std::vector<TemplateArgument>& arguments, double seconds) {
  const i64 whole = static_cast<i64>(std::clamp(seconds, 0.0, kMostSeconds));
  arguments.insert(arguments.end(), {whole / 3600, whole / 60 % 60, whole % 60});
}

}  // namespace

double SecondsLeft(const ProgressState& state) {
  const double done = state.share - state.shareAtStart;
  if (done <= 0) return -1;
  return state.elapsedSeconds * (1 - std::min(state.share, 1.0)) / done;
}

std::u16string ProgressText(const ProgressTexts& texts, std::u16string_view name,
                            const ProgressState& state) {
  if (state.elapsedSeconds < 1 && state.share <= 0) return std::u16string(texts.starting);
  std::vector<TemplateArgument> arguments = {name.empty() ? texts.operation : name};
  // Without a rate the time left would be a guess: the text without it is shown.
  const double left = SecondsLeft(state);
  if (left < 0) {
    AppendTime(arguments, state.elapsedSeconds);
    return FilledIn(texts.unknown, arguments);
  }
  arguments.push_back(ShownPercent(state.share));
  AppendTime(arguments, state.elapsedSeconds);
  AppendTime(arguments, left);
  return FilledIn(texts.known, arguments);
}

double SupposedShare(double elapsedSeconds, double halfSeconds) {
  return 1 - std::exp2(-std::max(0.0, elapsedSeconds) / halfSeconds);
}

}  // namespace larkspur
