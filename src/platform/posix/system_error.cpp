// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/system_error.h"

#include <cerrno>
#include <system_error>

namespace larkspur::platform {
namespace {

thread_local u32 t_lastFailure = 0;

}  // namespace

u32 LastFailure() {
  return t_lastFailure;
}
void SetLastFailure(u32 code) {
  t_lastFailure = code;
}

std::string FailureText(u32 code) {
  return std::generic_category().message(static_cast<int>(code));
}

bool IsDiskFull(u32 code) {
  return code == ENOSPC || code == EDQUOT || code == EFBIG;
}

}  // namespace larkspur::platform
