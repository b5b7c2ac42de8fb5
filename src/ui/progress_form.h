// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A modal form that shows a job's progress until it has ended.

#include <windows.h>

#include <string>

#include "ui/custom_form.h"
#include "ui/progress_view.h"

namespace larkspur {

class cProgressForm final : public cCustomForm {
 public:
  static constexpr u32 kStopId = 110;

  // Runs `job` and shows what `feed` says of it over `parent`; `name` is the title and stands in
  // the text. True when the job has ended by itself; false when it was stopped, by the button, by
  // Escape or because the form was closed, or could not be started. The job has ended in any case.
  static bool Present(HWND parent, cJob& job, cProgressFeed& feed, std::u16string name);

 private:
  cProgressForm(cJob& job, cProgressFeed& feed, std::u16string name)
      : m_job(job), m_feed(feed), m_name(std::move(name)) {}

  void OnCreate() override;
  void OnCancel() override { m_view.RequestStop(); }

  cJob& m_job;
  cProgressFeed& m_feed;
  std::u16string m_name;
  cProgressView m_view;
};

}  // namespace larkspur
