// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A part of this program that works in a process of its own, with limits: what crashes there, or
// never ends, costs its caller a message and nothing else.

#include <atomic>
#include <functional>
#include <memory>

#include "base/types.h"

namespace larkspur::platform {

// Both ends of the line between a program and its helper: whole messages' bytes, in order.
class HelperLine {
 public:
  virtual ~HelperLine() = default;
  // All of [bytes, bytes+count), or false: the other end is gone, or was silent for too long.
  virtual bool Send(const void* bytes, size_t count) = 0;
  virtual bool Receive(void* bytes, size_t count) = 0;
};

struct HelperLimits {
  u64 memoryBytes = 0;    // beyond what the program has when it starts the helper
  u32 cpuSeconds = 0;     // the system ends a helper that computes for longer
  u32 silentSeconds = 0;  // Send and Receive of the caller give up after this time
  const std::atomic<bool>* stop = nullptr;  // and when this is set
};

// Whether this system has them.
bool HasHelpers();

class HelperProcess {
 public:
  // Runs work(line) in a process that has no file of this program open but the line; null when the
  // system refuses or has no such processes. The helper ends with `work`, or with this program.
  static std::unique_ptr<HelperProcess> Start(const std::function<void(HelperLine&)>& work,
                                              const HelperLimits& limits);
  // Ends the helper if it still runs.
  virtual ~HelperProcess() = default;

  virtual HelperLine& Line() = 0;
};

}  // namespace larkspur::platform
