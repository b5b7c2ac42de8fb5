// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Shows a job's progress in a form: a line of text, a bar and a button that stops it. The form goes
// on working meanwhile.

#include <functional>
#include <string>

#include "base/job.h"
#include "ui/button_child.h"
#include "ui/child.h"
#include "ui/model/progress.h"
#include "ui/progress_jobs.h"

namespace larkspur {

// How far something has come, as a bar.
class cProgressBarChild : public cChild {
 public:
  cProgressBarChild() : cChild(PROGRESS_CLASSW, PBS_SMOOTH) {}

  // 0 to 1.
  void SetShare(double share);

 private:
  void OnCreate() override;
};

// The line of text, which also takes the messages that say that there is something new.
class cProgressTextChild final : public cChild {
 public:
  static constexpr UINT kUpdate = WM_APP + 1;

  cProgressTextChild() : cChild(WC_STATICW, SS_LEFT | SS_NOPREFIX | SS_EDITCONTROL) {}

  std::function<void()> onUpdate;

 private:
  MessageAnswer OnMessage(const WindowMessage& message) override;
};

class cProgressView final : private cJobOwner {
 public:
  static constexpr i32 kHeight = 98;  // units

  // At height `y` of the form, over its whole width but for `margin`; `stopId` is the button's.
  void Create(cCustomForm& form, i32 y, i32 margin, u32 stopId);

  // Starts `job` and shows what `feed` says of it, under this name, until it has ended; then shows
  // nothing and calls onEnd from the form's thread. A job that cannot say how far it is may leave
  // the feed alone. False when there is no thread to be had. REQUIRES: job and feed outlive the
  // view or Leave.
  bool Watch(cJob& job, cProgressFeed& feed, std::u16string name);

  // Asks the job to stop; it is shown until it has.
  void RequestStop();
  // Stops the job, waits until it has ended, and shows it no longer; onEnd is not called.
  void Leave();
  bool IsWatching() const { return m_job != nullptr; }

  // More to say below the line; asked ten times a second while a job is shown. Empty: nothing.
  std::function<std::u16string()> onDetail;
  // `completed`: the job ended by itself and not because it was asked to.
  std::function<void(bool completed)> onEnd;

 private:
  u32 QueryJobOwner() override { return 1; }
  void Update();
  void Show();
  void End();

  cProgressTextChild m_text;
  cProgressBarChild m_bar;
  cButtonChild m_stop;
  cJob* m_job = nullptr;
  cProgressFeed* m_feed = nullptr;
  std::u16string m_name;
  double m_start = 0;
  cProgressViewUpdateJob m_update{this};
  Owned<cFakeNavigationProgressJob> m_fake;
};

}  // namespace larkspur
