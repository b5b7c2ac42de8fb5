// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "base/job.h"

#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "base/owned.h"
#include "platform/clock.h"

namespace larkspur {
namespace {

struct Trace {
  cCriticalSection section;
  std::string text;
  std::atomic<int> starts{0};
  void Add(const std::string& event) {
    cSafeCriticalSectionAccess access(&section);
    text += event + " ";
  }
};

void WaitForStart(const Trace& trace, int starts) {
  while (trace.starts < starts) platform::SleepMilliseconds(1);
}

class cScriptedJob final : public cJob {
 public:
  cScriptedJob(Trace* trace, std::function<u32(cScriptedJob*)> script)
      : cJob(nullptr), m_trace(trace), m_script(std::move(script)) {}
  ~cScriptedJob() { Stop(50); }

  u32 Run() override { return m_script(this); }
  void OnStart() override {
    m_trace->Add("start");
    ++m_trace->starts;
  }
  void OnStopRequested() override { m_trace->Add("asked"); }
  void OnFinished(u32 code) override { m_trace->Add("finished:" + std::to_string(code)); }
  void OnAborted() override { m_trace->Add("aborted"); }
  void* Destroy(u32 flags) override { return DestroyAs(this, flags); }

 private:
  Trace* m_trace;
  std::function<u32(cScriptedJob*)> m_script;
};

void WaitForEnd(cJob* job) {
  while (job->IsRunning()) platform::SleepMilliseconds(1);
}

u32 PollUntilAsked(cScriptedJob* job) {
  while (!job->StopRequested()) platform::SleepMilliseconds(1);
  return 5;
}

u32 IgnoreRequests(cScriptedJob*) {
  for (;;) platform::SleepMilliseconds(1);
}

TEST(Job, ReportsItsExitCode) {
  const struct {
    u32 returned;
    const char* events;
  } cases[] = {{7, "start finished:7 "}, {259, "start finished:1 "}};
  for (const auto& c : cases) {
    Trace trace;
    cScriptedJob job(&trace, [&c](cScriptedJob*) { return c.returned; });
    ASSERT_TRUE(job.Start());
    WaitForEnd(&job);
    EXPECT_EQ(trace.text, c.events);
  }
}

TEST(Job, StopsWhenItPollsTheFlag) {
  Trace trace;
  cScriptedJob job(&trace, PollUntilAsked);
  ASSERT_TRUE(job.Start());
  WaitForStart(trace, 1);
  EXPECT_TRUE(job.Stop(4000));
  EXPECT_FALSE(job.IsRunning());
  EXPECT_EQ(trace.text.find("aborted"), std::string::npos);
  EXPECT_NE(trace.text.find("asked finished:5"), std::string::npos);
}

TEST(Job, IsForcedToStopWhenItDoesNot) {
  if (LARKSPUR_SANITIZED) GTEST_SKIP() << "the sanitizers do not follow a thread's cancellation";
  Trace trace;
  cScriptedJob job(&trace, IgnoreRequests);
  ASSERT_TRUE(job.Start());
  WaitForStart(trace, 1);
  EXPECT_TRUE(job.Stop(30));
  EXPECT_EQ(trace.text, "start asked aborted finished:0 ");
}

TEST(Job, ReportsAnExceptionAsAborted) {
  Trace trace;
  cScriptedJob job(&trace, [](cScriptedJob*) -> u32 { throw 1; });
  ASSERT_TRUE(job.Start());
  WaitForEnd(&job);
  EXPECT_EQ(trace.text, "start aborted finished:0 ");
}

TEST(Job, IsStoppedByItsDestructionAndByANewStart) {
  Trace trace;
  {
    cScriptedJob job(&trace, PollUntilAsked);
    EXPECT_TRUE(job.Stop(4000)) << "never started";
    for (int round = 1; round <= 2; ++round) {
      ASSERT_TRUE(job.Start());
      WaitForStart(trace, round);
    }
  }
  EXPECT_EQ(trace.text, "start asked finished:5 start asked finished:5 ");
}

}  // namespace
}  // namespace larkspur
