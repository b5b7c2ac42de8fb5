// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/model/log_text.h"

#include <gtest/gtest.h>

#include "base/path_text.h"
#include "fakes/temp_folder.h"
#include "imaging/log_words.h"

namespace larkspur::host {
namespace {

TEST(LogTextTest, ALogIsToldAsTheCommandLineDoesAndItsAbsenceSaysWhatToDo) {
  const fakes::TempFolder folder;
  const std::u16string cache = folder.File(u"disk.kvrsp"), path = cache + u".log";
  const auto said = [&] {
    const auto log = ReadLogText({cache, 8192});
    return (log ? "" : "no log: ") + Utf8FromWide(log ? *log : log.error());
  };
  const std::string name = Utf8FromWide(path);
  EXPECT_TRUE(said().starts_with("no log: " + name + "\r\nNothing is known")) << said();

  const std::string lines =
      R"({"t":"2026-11-21T19:00:00.123Z","event":"open","source":{"model":"ACME","sectors":8192}})"
      "\n{\"event\":\n"
      R"({"t":"2026-11-21T19:01:00.000Z","event":"end","how":"done","present":8190,"unreadable":2})"
      "\n";
  ASSERT_TRUE(fakes::WriteWholeFile(path, {lines.begin(), lines.end()}));
  std::string wanted = "line 2 cannot be understood and is ignored\n\n";
  wanted += HistoryText(ReadHistory(path, 8192));
  EXPECT_NE(wanted.find("model     ACME\n"), std::string::npos) << wanted;
  EXPECT_NE(wanted.find("2026-11-21 19:00:00  2026-11-21 19:01:00  done "), std::string::npos)
      << wanted;
  for (size_t at = 0; (at = wanted.find('\n', at)) != std::string::npos; at += 2) {
    wanted.insert(at, 1, '\r');
  }
  EXPECT_EQ(said(), wanted);
}

}  // namespace
}  // namespace larkspur::host
