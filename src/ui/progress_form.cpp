// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "ui/progress_form.h"

namespace larkspur {
namespace {

constexpr i32 kMargin = 10;
constexpr Size kFormSize{400, cProgressView::kHeight + 2 * kMargin};

}  // namespace

bool cProgressForm::Present(HWND parent, cJob& job, cProgressFeed& feed, std::u16string name) {
  cProgressForm form(job, feed, std::move(name));
  FormLook look;
  look.title = form.m_name;
  look.size = kFormSize;
  const bool completed = form.ShowModal(parent, look) != 0;
  // The form may be gone for other reasons than the job's end.
  form.m_view.Leave();
  return completed;
}

void cProgressForm::OnCreate() {
  m_view.Create(*this, kMargin, kMargin, kStopId);
  m_view.onEnd = [this](bool completed) { Close(completed ? 1 : 0); };
  if (!m_view.Watch(m_job, m_feed, m_name)) Close(0);
}

}  // namespace larkspur
