// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/progress_view.h"

#include <gtest/gtest.h>

#include "ui/custom_form.h"
#include "ui/windows/form_driver.h"

namespace larkspur {
namespace {

constexpr u32 kManyMilliseconds = 20'000;
constexpr u32 kStopId = 110;

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

// A form that is nothing but the view.
class cViewForm final : public cCustomForm {
 public:
  cViewForm(cJob& job, cProgressFeed& feed) : m_job(job), m_feed(feed) {}
  void Leave() { m_view.Leave(); }

 private:
  void OnCreate() override {
    m_view.Create(*this, 0, 0, kStopId);
    m_view.onEnd = [this](bool completed) { Close(completed ? 1 : 0); };
    m_view.onDetail = [] { return std::u16string(u"and more"); };
    if (!m_view.Watch(m_job, m_feed, u"Reading")) Close(0);
  }
  void OnCancel() override { m_view.RequestStop(); }

  cJob& m_job;
  cProgressFeed& m_feed;
  cProgressView m_view;
};

// True when the job has ended by itself.
bool Present(HWND parent, cJob& job, cProgressFeed& feed) {
  cViewForm form(job, feed);
  FormLook look;
  look.title = u"Reading";
  look.size = {400, cProgressView::kHeight};
  const bool completed = form.ShowModal(parent, look) != 0;
  form.Leave();
  return completed;
}

std::string LineOf(HWND form) {
  return Utf8(TextOfWindow(FindWindowExW(form, nullptr, L"Static", nullptr)));
}

using ProgressViewTest = FormTest;

TEST_F(ProgressViewTest, ClosesWhenTheWorkIsDone) {
  cProgressFeed feed;
  cWork work(200);
  cFormDriver driver({});
  EXPECT_TRUE(Present(nullptr, work, feed));
  EXPECT_FALSE(work.IsRunning());
}

TEST_F(ProgressViewTest, StopsTheWorkWhenTheUserSaysSo) {
  const FormStep ways[] = {Press(kStopId), Key(VK_ESCAPE), Key(VK_SPACE),
                           [](HWND form) { PostMessageW(form, WM_CLOSE, 0, 0); }};
  for (const FormStep& way : ways) {
    cProgressFeed feed;
    cWork work(kManyMilliseconds);
    cFormDriver driver({way});
    EXPECT_FALSE(Present(nullptr, work, feed));
    EXPECT_FALSE(work.IsRunning());
  }
}

TEST_F(ProgressViewTest, ShowsWhatTheFeedSays) {
  cProgressFeed feed;
  cWork work(kManyMilliseconds);
  const auto bar = [](HWND form) {
    const HWND shown = FindWindowExW(form, nullptr, PROGRESS_CLASSW, nullptr);
    return SendMessageW(shown, PBM_GETPOS, 0, 0);
  };
  const std::vector<FormStep> wait(20, [](HWND) {});  // the view looks ten times a second
  std::vector<FormStep> steps = {[&](HWND form) {
    EXPECT_EQ(Utf8(TextOfWindow(form)), "Reading");
    EXPECT_EQ(LineOf(form), "Starting...\nand more");
  }};
  steps.insert(steps.end(), wait.begin(), wait.end());
  steps.push_back([&](HWND form) {
    EXPECT_GT(bar(form), 0) << "it moves though the length is not known";
    feed.Report(0.5);
  });
  steps.insert(steps.end(), wait.begin(), wait.end());
  steps.push_back([&](HWND form) {
    EXPECT_EQ(LineOf(form).substr(0, 24), "Reading progress: 50.0%.");
    EXPECT_EQ(bar(form), 500);
    PressKey(VK_ESCAPE);
  });
  cFormDriver driver(std::move(steps));
  EXPECT_FALSE(Present(nullptr, work, feed));
}

TEST_F(ProgressViewTest, EndsTheWorkWhenItsParentGoes) {
  const HWND host = CreateWindowExW(0, L"STATIC", L"", WS_POPUP | WS_VISIBLE, 0, 0, 100, 100,
                                    nullptr, nullptr, nullptr, nullptr);
  cProgressFeed feed;
  cWork work(kManyMilliseconds);
  cFormDriver driver({[&](HWND) { DestroyWindow(host); }});
  EXPECT_FALSE(Present(host, work, feed));
  EXPECT_FALSE(work.IsRunning());
}

}  // namespace
}  // namespace larkspur
