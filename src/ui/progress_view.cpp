// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/progress_view.h"

#include <algorithm>

#include "platform/clock.h"
#include "ui/custom_form.h"
#include "ui/model/progress.h"
#include "ui/texts.h"

namespace larkspur {
namespace {

constexpr const char* kTextKey = "ciom::progress";
constexpr size_t kStopItem = 0, kStartingItem = 1, kKnownItem = 2, kOperationItem = 3,
                 kUnknownItem = 4;

// Units.
constexpr i32 kTextHeight = 58;  // four lines
constexpr i32 kBarHeight = 16;
constexpr i32 kGap = 6;
constexpr i32 kStopWidth = 110;
constexpr i32 kStopHeight = 24;

}  // namespace

MessageAnswer cProgressTextChild::OnMessage(const WindowMessage& message) {
  if (message.id != kUpdate) return cChild::OnMessage(message);
  if (onUpdate) onUpdate();
  return 0;
}

void cProgressView::Create(cCustomForm& form, i32 y, i32 margin, u32 stopId) {
  const i32 below = y + kTextHeight + kGap;
  m_text.Create(form, {margin, y, -2 * margin, kTextHeight});
  m_text.onUpdate = [this] { Update(); };
  m_bar.Create(form, {margin, below + 4, -(2 * margin + kStopWidth + kGap), kBarHeight});
  m_stop.Create(form, {-(margin + kStopWidth), below, kStopWidth, kStopHeight}, stopId,
                TextOf(kTextKey, kStopItem), kIconStop);
  m_stop.onClick = [this] { RequestStop(); };
  m_stop.Enable(false);
}

bool cProgressView::Watch(cJob& job, cProgressFeed& feed, std::u16string name) {
  Leave();
  feed.Reset();
  if (!job.Start()) return false;
  m_job = &job;
  m_feed = &feed;
  m_name = std::move(name);
  m_start = platform::MonotonicSeconds();
  m_fake.reset(new cFakeNavigationProgressJob(this, feed));
  m_fake->Start();
  m_update.SetTarget(m_text.Handle(), cProgressTextChild::kUpdate);
  m_update.Start();
  m_stop.Enable(true);
  Show();
  return true;
}

void cProgressView::RequestStop() {
  if (!m_job) return;
  m_job->RequestStop();
  m_stop.Enable(false);
}

void cProgressView::Leave() {
  if (!m_job) return;
  m_job->Stop(cJob::kPatienceMilliseconds);
  End();
}

void cProgressView::End() {
  m_update.Stop(cJob::kPatienceMilliseconds);
  m_fake.reset();
  m_job = nullptr;
  m_stop.Enable(false);
  m_text.SetText({});
  m_bar.SetShare(0);
}

void cProgressView::Update() {
  m_update.Taken();
  if (!m_job) return;
  // A known share needs no supposed one.
  if (m_fake && m_feed->Share() >= 0) m_fake.reset();
  Show();
  if (m_job->IsRunning()) return;
  const bool completed = !m_job->StopRequested();
  End();
  if (onEnd) onEnd(completed);
}

void cProgressView::Show() {
  const std::u16string starting = TextOf(kTextKey, kStartingItem);
  const std::u16string known = TextOf(kTextKey, kKnownItem);
  const std::u16string unknown = TextOf(kTextKey, kUnknownItem);
  const std::u16string operation = TextOf(kTextKey, kOperationItem);
  const ProgressState state{m_feed->Share(), platform::MonotonicSeconds() - m_start,
                            m_feed->ShareAtStart()};
  std::u16string line = ProgressText({starting, known, unknown, operation}, m_name, state);
  const std::u16string detail = onDetail ? onDetail() : std::u16string();
  if (!detail.empty()) line += u"\n" + detail;
  // The same text again would only flicker.
  if (line != m_text.Text()) m_text.SetText(line);
  m_bar.SetShare(m_feed->Bar());
}

namespace {

constexpr i32 kSteps = 1000;

}  // namespace

void cProgressBarChild::OnCreate() {
  Send(PBM_SETRANGE32, 0, kSteps);
}

void cProgressBarChild::SetShare(double share) {
  Send(PBM_SETPOS, static_cast<WPARAM>(std::clamp(share, 0.0, 1.0) * kSteps));
}

}  // namespace larkspur
