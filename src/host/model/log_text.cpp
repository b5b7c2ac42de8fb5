// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/model/log_text.h"

#include "host/model/words.h"
#include "imaging/rescue_words.h"
#include "platform/system_error.h"
#include "rescue/rescue_log.h"

namespace larkspur::host {
namespace {

std::u16string WithWideLineEnds(std::string_view text) {
  std::string lines;
  for (const char each : text) {
    if (each == '\n') lines += '\r';
    lines += each;
  }
  return WideFromUtf8(lines);
}

}  // namespace

Result<std::u16string, std::u16string> ReadLogText(const LogPlace& place) {
  const std::u16string path = LogPathOf(place.cachePath);
  const RescueHistory history = ReadHistory(path, place.sectors);
  if (history.systemError != 0) {
    return Failed(Words("{}\r\nThe log cannot be read: {}", Utf8(path),
                        platform::FailureText(history.systemError)));
  }
  if (history.lines == 0) {
    return Failed(
        Words("{}\r\nNothing is known of earlier runs: {}.\r\n\r\nThe command 'larkspur image' "
              "logs which "
              "disk it read, its runs and what failed. \"Read everything\" logs nothing.",
              Utf8(path), kNoLogWords));
  }
  const std::string wrong =
      history.wrongLines > 0 ? WrongLinesText(history) + "\n\n" : std::string();
  return WithWideLineEnds(wrong + HistoryText(history));
}

}  // namespace larkspur::host
