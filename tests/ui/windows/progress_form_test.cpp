// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/progress_form.h"

#include <gtest/gtest.h>

#include "ui/windows/form_driver.h"

namespace larkspur {
namespace {

constexpr u32 kManyMilliseconds = 20'000;

// Works until it is told to end, or is stopped.
class cWork final : public cJob {
 public:
  explicit cWork(u32 milliseconds) : cJob(nullptr), m_milliseconds(milliseconds) {}
  ~cWork() { Stop(kPatienceMilliseconds); }

  u32 Run() override {
    for (u32 gone = 0; gone < m_milliseconds && !StopRequested(); gone += 10) Sleep(10);
    return 1;
  }
  void* Destroy(u32 flags) override { return DestroyAs(this, flags); }

 private:
  u32 m_milliseconds;
};

std::string LineOf(HWND form) {
  return Utf8(TextOfWindow(FindWindowExW(form, nullptr, L"Static", nullptr)));
}

using ProgressFormTest = FormTest;

TEST_F(ProgressFormTest, ClosesWhenTheWorkIsDone) {
  cProgressFeed feed;
  cWork work(200);
  cFormDriver driver({});
  EXPECT_TRUE(cProgressForm::Present(nullptr, work, feed, u"Reading"));
  EXPECT_FALSE(work.IsRunning());
}

TEST_F(ProgressFormTest, StopsTheWorkWhenTheUserSaysSo) {
  const FormStep ways[] = {Press(cProgressForm::kStopId), Key(VK_ESCAPE), Key(VK_SPACE),
                           [](HWND form) { PostMessageW(form, WM_CLOSE, 0, 0); }};
  for (const FormStep& way : ways) {
    cProgressFeed feed;
    cWork work(kManyMilliseconds);
    cFormDriver driver({way});
    EXPECT_FALSE(cProgressForm::Present(nullptr, work, feed, u"Reading"));
    EXPECT_FALSE(work.IsRunning());
  }
}

TEST_F(ProgressFormTest, ShowsWhatTheFeedSays) {
  cProgressFeed feed;
  cWork work(kManyMilliseconds);
  std::vector<FormStep> steps = {[&](HWND form) {
    EXPECT_EQ(Utf8(TextOfWindow(form)), "Reading");
    EXPECT_EQ(LineOf(form), "Starting...");
    feed.Report(0.5);
  }};
  // The view looks ten times a second.
  for (int i = 0; i < 15; ++i) steps.push_back([](HWND) {});
  steps.push_back([&](HWND form) {
    EXPECT_EQ(LineOf(form).substr(0, 24), "Reading progress: 50.0%.");
    const HWND bar = FindWindowExW(form, nullptr, PROGRESS_CLASSW, nullptr);
    EXPECT_EQ(SendMessageW(bar, PBM_GETPOS, 0, 0), 500);
    PressKey(VK_ESCAPE);
  });
  cFormDriver driver(std::move(steps));
  EXPECT_FALSE(cProgressForm::Present(nullptr, work, feed, u"Reading"));
}

TEST_F(ProgressFormTest, TheBarMovesThoughNobodyKnowsTheLength) {
  cProgressFeed feed;
  cWork work(kManyMilliseconds);
  std::vector<FormStep> steps;
  for (int i = 0; i < 20; ++i) steps.push_back([](HWND) {});
  steps.push_back([&](HWND form) {
    const HWND bar = FindWindowExW(form, nullptr, PROGRESS_CLASSW, nullptr);
    EXPECT_GT(SendMessageW(bar, PBM_GETPOS, 0, 0), 0);
    PressKey(VK_ESCAPE);
  });
  cFormDriver driver(std::move(steps));
  cProgressForm::Present(nullptr, work, feed, u"Reading");
}

TEST_F(ProgressFormTest, EndsTheWorkWhenItsParentGoes) {
  const HWND host = CreateWindowExW(0, L"STATIC", L"", WS_POPUP | WS_VISIBLE, 0, 0, 100, 100,
                                    nullptr, nullptr, nullptr, nullptr);
  cProgressFeed feed;
  cWork work(kManyMilliseconds);
  cFormDriver driver({[&](HWND) { DestroyWindow(host); }});
  EXPECT_FALSE(cProgressForm::Present(host, work, feed, u"Reading"));
  EXPECT_FALSE(work.IsRunning());
}

}  // namespace
}  // namespace larkspur
