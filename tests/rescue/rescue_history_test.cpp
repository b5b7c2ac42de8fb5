// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "rescue/rescue_history.h"

#include <gtest/gtest.h>

#include "fakes/temp_folder.h"
#include "rescue/rescue_log.h"

namespace larkspur {
namespace {

SourceIdentity Disk(const std::string& serial) {
  return {.path = "/dev/sdb",
          .model = "A \"quoted\" \x01 model",
          .serial = serial,
          .firmware = "1.0",
          .sectors = 10000,
          .logicalSectorBytes = 512,
          .physicalSectorBytes = 4096};
}

LogEvent Failed(SectorRange range, bool alone, FailureKind kind) {
  LogEvent event("failed");
  event.Add(range).Add("alone", alone).Add("kind", FailureKindName(kind)).Add("code", u64{5});
  return event.Add("ms", u64{1500});
}

std::string TextOf(const std::vector<LogEvent>& events) {
  std::string text;
  for (const LogEvent& event : events) text += event.Line() + "\n";
  return text;
}

RescueHistory Read(const std::string& text, size_t piece = 7, const std::string& boot = "b1") {
  HistoryReader reader(10000, boot);
  for (size_t at = 0; at < text.size(); at += piece) {
    reader.Feed(std::string_view(text).substr(at, piece));
  }
  return reader.Finish();
}

std::vector<LogEvent> WholeRun() {
  return {
      LogEvent("open").Add("source", Disk("S1")).Add("stamp", u64{7}).Add("boot", "b1"),
      LogEvent("phase").Add("name", "copy"),
      LogEvent("storing").Add(SectorRange{0, 10000}),
      Failed({128, 128}, false, FailureKind::kUnclear),
      Failed({700, 1}, true, FailureKind::kMedium),
      Failed({900, 4}, false, FailureKind::kTransport),
      LogEvent("marked").Add(SectorRange{700, 1}),
      LogEvent("synced").Add(StatusCounts{9000, 1, 999}),
      LogEvent("end").Add("how", "done").Add(StatusCounts{9001, 1, 998}).Add("asked", u64{9500})};
}

TEST(RescueHistoryTest, TellsWhatWasWritten) {
  for (const size_t piece : {1u, 7u, 100000u}) {
    const RescueHistory history = Read(TextOf(WholeRun()), piece);
    ASSERT_TRUE(history.source);
    EXPECT_EQ(history.source->serial, "S1");
    EXPECT_EQ(history.source->model, Disk("").model);
    EXPECT_EQ(history.source->physicalSectorBytes, 4096u);
    EXPECT_EQ(history.stamp, 7u);
    EXPECT_EQ(history.boot, "b1");
    EXPECT_TRUE(history.ended);
    EXPECT_TRUE(history.storing.IsEmpty());
    EXPECT_EQ(history.triedTogether.Sectors(), 128u) << "a cable's failure does not count";
    EXPECT_EQ(history.triedAlone.Sectors(), 1u);
    EXPECT_EQ(history.failures[static_cast<size_t>(FailureKind::kTransport)], 1u);
    ASSERT_EQ(history.runs.size(), 1u);
    EXPECT_EQ(history.runs[0].how, "done");
    EXPECT_EQ(history.runs[0].asked, 9500u);
    EXPECT_EQ(history.points.size(), 2u);
    ASSERT_EQ(history.slowest.size(), 3u);
    EXPECT_EQ(history.slowest[0].seconds, 1.5);
    EXPECT_EQ(history.wrongLines, 0u);
  }
}

TEST(RescueHistoryTest, WhatADeadDiskRefusedDoesNotCount) {
  std::vector<LogEvent> events = WholeRun();
  events.pop_back();
  events.push_back(Failed({2000, 128}, false, FailureKind::kUnclear));
  events.push_back(Failed({3000, 128}, false, FailureKind::kUnclear));
  const auto with = [&](LogEvent end) {
    std::vector<LogEvent> all = events;
    all.push_back(end);
    return Read(TextOf(all)).triedTogether.Sectors();
  };
  EXPECT_EQ(with(LogEvent("end").Add("how", "not-answering").Add("unproved", u64{1})), 256u);
  EXPECT_EQ(with(LogEvent("end").Add("how", "not-answering").Add("unproved", u64{99})), 128u);
  EXPECT_EQ(with(LogEvent("end").Add("how", "not-answering")), 128u);
  EXPECT_EQ(with(LogEvent("end").Add("how", "stopped")), 384u);
  // A run that was killed counts; where the machine was switched off, the disk may have hung.
  events.push_back(Failed({4100, 1}, true, FailureKind::kUnclear));
  events.push_back(Failed({4200, 1}, true, FailureKind::kMedium));
  const std::string killed = TextOf(events);
  for (const auto& [boot, together, alone] : {std::tuple{"b1", 384u, 3u}, {"b2", 385u, 2u}}) {
    const LogEvent open = LogEvent("open").Add("source", Disk("S1")).Add("stamp", u64{7});
    for (const std::string& next : {std::string(), TextOf({LogEvent(open).Add("boot", boot)})}) {
      const RescueHistory history = Read(killed + next, 7, boot);
      EXPECT_EQ(history.triedTogether.Sectors(), together) << boot << next;
      EXPECT_EQ(history.triedAlone.Sectors(), alone) << boot << next;
    }
  }
  // One that was woken.
  const std::string woken = TextOf({LogEvent("unproved").Add("count", u64{3})});
  EXPECT_EQ(Read(killed + woken).triedTogether.Sectors(), 256u);
  EXPECT_EQ(Read(killed + woken).triedAlone.Sectors(), 1u);
  // One that was killed while the disk was silent; then after it had answered again.
  const std::string silent =
      TextOf({LogEvent("unproved").Add("count", u64{1}).Add("untilEnd", true),
              Failed({4300, 1}, true, FailureKind::kUnclear)});
  const std::string answered = TextOf(
      {LogEvent("unproved").Add("count", u64{2}), Failed({4400, 1}, true, FailureKind::kUnclear)});
  EXPECT_EQ(Read(killed + silent).triedAlone.Sectors(), 2u);
  EXPECT_EQ(Read(killed + silent + answered).triedAlone.Sectors(), 3u);
  // What began it for the first time is told.
  for (const bool began : {false, true}) {
    const RescueHistory history =
        Read(killed + TextOf({LogEvent("unproved").Add("count", u64{1}).Add("began", began)}));
    EXPECT_EQ(history.beganSilence.Contains(4200), began);
  }
  EXPECT_FALSE(Read(killed).wasSilent);
  EXPECT_TRUE(Read(killed + silent).wasSilent);
  EXPECT_FALSE(Read(killed + silent).cameBack);
  EXPECT_TRUE(Read(killed + silent + answered).cameBack);
}

TEST(RescueHistoryTest, AWeeksCurveIsThinnedEvenly) {
  std::string text;
  for (u64 i = 0; i < 20000; ++i) {
    text += TextOf({LogEvent("synced").Add(StatusCounts{i, 0, 20000 - i})});
  }
  const auto points = Read(text, 1 << 16).points;
  EXPECT_LT(points.size(), RescueHistory::kMaxPoints);
  EXPECT_GE(points.size(), RescueHistory::kMaxPoints / 2);
  for (size_t i = 0; i < points.size(); ++i) EXPECT_EQ(points[i].present, 8 * i);
}

TEST(RescueHistoryTest, AnotherDiskOrCacheForgetsWhatWasTried) {
  for (const auto& [serial, stamp, tried] :
       {std::tuple{"S1", 7u, 129u}, {"", 7u, 129u}, {"S2", 7u, 0u}, {"S1", 8u, 0u}}) {
    std::vector<LogEvent> events = WholeRun();
    events.push_back(LogEvent("open").Add("source", Disk(serial)).Add("stamp", u64{stamp}));
    const RescueHistory history = Read(TextOf(events));
    EXPECT_EQ(history.triedTogether.Sectors() + history.triedAlone.Sectors(), tried);
    EXPECT_FALSE(history.ended);
  }
}

TEST(RescueHistoryTest, ALogCutAnywhereSaysNoMoreThanTheWholeOne) {
  const std::string text = TextOf(WholeRun());
  for (size_t length = 0; length <= text.size(); ++length) {
    const RescueHistory history = Read(text.substr(0, length), 1000);
    EXPECT_EQ(history.wrongLines, 0u) << "a cut last line is passed over in silence";
    EXPECT_LE(history.triedTogether.Sectors(), 128u);
  }
}

TEST(RescueHistoryTest, NonsenseIsCountedAndPassedOver) {
  for (const std::string line :
       {"", "{", "{}", "[]", "nonsense", "{\"event\":7}", "{\"event\":\"failed\"}",
        "{\"event\":\"failed\",\"start\":9999,\"sectors\":2,\"kind\":\"medium\"}",
        "{\"event\":\"failed\",\"start\":0,\"sectors\":18446744073709551615,\"kind\":\"medium\"}",
        "{\"event\":\"failed\",\"start\":-1,\"sectors\":1,\"kind\":\"medium\"}",
        "{\"event\":\"failed\",\"start\":1,\"sectors\":1,\"kind\":\"unheard of\"}",
        "{\"event\":\"storing\",\"start\":1}", "{\"a\":{\"b\":{\"c\":1}}}"}) {
    const RescueHistory history = Read(TextOf(WholeRun()) + line + "\n");
    EXPECT_EQ(history.wrongLines, 1u) << line;
    EXPECT_EQ(history.firstWrongLine, 10u) << line;
    EXPECT_EQ(history.triedTogether.Sectors(), 128u) << line;
  }
  EXPECT_EQ(Read(std::string(300000, 'x') + "\n" + TextOf(WholeRun())).wrongLines, 1u);
  EXPECT_EQ(Read("{\"event\":\"later version\",\"new\":[1,2]}\n").wrongLines, 1u);
  EXPECT_EQ(Read("{\"event\":\"later version\",\"new\":1}\n").wrongLines, 0u);
  EXPECT_EQ(Read(" {\t\"event\" : \"storing\" , \"start\": 1, \"sectors\" : 2 } \n").wrongLines,
            0u);
}

TEST(RescueLogTest, IsAppendedToAndSurvivesACutLine) {
  fakes::TempFolder folder;
  const std::u16string path = folder.File(u"disk.kvrsp.log");
  EXPECT_EQ(ReadHistory(path, 10000).lines, 0u);
  EXPECT_EQ(ReadHistory(path, 10000).systemError, 0u);
  for (u64 run = 1; run <= 3; ++run) {
    const auto opened = FileLog::Open(path, {});
    ASSERT_TRUE(opened);
    FileLog& log = **opened;
    for (const LogEvent& event : WholeRun()) log.Write(event);
    log.Sync();
    EXPECT_EQ(log.Failure(), 0u);
    EXPECT_EQ(ReadHistory(path, 10000).runs.size(), run);
    const platform::OwnedFile file(
        platform::OpenExistingFile(path.c_str(), platform::kOpenRead | platform::kOpenWrite));
    ASSERT_TRUE(platform::SetFileSize(file.Handle(), platform::FileSize(file.Handle()) - 4));
  }
  EXPECT_EQ(ReadHistory(path, 10000).wrongLines, 2u);
}

TEST(RescueLogTest, NoOtherFileIsAppendedTo) {
  const fakes::TempFolder folder;
  const std::u16string path = folder.File(u"disk.kvrsp.log");
  const std::string event = R"({"t":"2026-11-22T13:42:36.302Z","event":"phase"})";
  const struct {
    std::string text;
    bool isLog;
  } cases[] = {
      {"", true},
      {event + "\n", true},
      {event, true},
      {event.substr(0, 3), true},
      {event.substr(7) + "\n" + event, true},
      {std::string(512, '\0'), true},
      {std::string(512, '\0') + event.substr(9) + "\n" + event, true},
      {std::string(512, '\0') + event, true},
      {"0 +\n0 512 +\n", false},
      {"\n", false},
      {"{\n  \"t\": 1\n}\n", false},
      {std::string(100000, '\0'), false},
      {std::string(100000, '\0') + event + "\n", false},
      {std::string(512, '\0') + "KVRSparF", false},
  };
  for (const auto& c : cases) {
    ASSERT_TRUE(fakes::WriteWholeFile(path, {c.text.begin(), c.text.end()}));
    const auto fault = FaultOfLog(path, {});
    EXPECT_EQ(fault, c.isLog ? std::nullopt : std::optional(LogFault::kForeign)) << c.text;
    EXPECT_EQ(FaultOfLog(path, {path}), LogFault::kUsed);
    EXPECT_EQ(FileLog::Open(path, {}).has_value(), c.isLog);
  }
  EXPECT_EQ(FaultOfLog(folder.File(u""), {}), LogFault::kFolder);
  EXPECT_EQ(FaultOfLog(folder.File(u"none"), {path, u""}), std::nullopt);
}

}  // namespace
}  // namespace larkspur
