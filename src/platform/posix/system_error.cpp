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

// Source of the numbers: the kernel's table of block-layer statuses (block/blk-core.c) and open(2).
FailureKind KindOfFailure(u32 code) {
  switch (code) {
    case ENODATA:  // since Linux 4.13 what a drive calls a medium error
    case EILSEQ:   // protection information or checksum of the medium
      return FailureKind::kMedium;
    case ETIMEDOUT:
    case ENOLINK:
    case EREMOTEIO:
    case ECOMM:
    case EBADE:
    case ETIME:
    case EPROTO:
    case ECONNRESET:
    case ECONNABORTED:
    case EHOSTDOWN:
    case EHOSTUNREACH:
    case ENETDOWN:
    case ENETUNREACH:
      return FailureKind::kTransport;
    case ENODEV:
    case ENXIO:
    case ENOMEDIUM:
    case ENOENT:
    case ENOTBLK:
    case ESTALE:
    case ESHUTDOWN:
    case ENOTCONN:
      return FailureKind::kGone;
    case EINTR:
    case EAGAIN:
    case ENOMEM:
    case EMFILE:
    case ENFILE:
    case EACCES:
    case EPERM:
    case EBUSY:
    case EINVAL:
      return FailureKind::kSystem;
  }
  return FailureKind::kUnclear;
}

bool IsInterrupted(u32 code) {
  return code == EINTR;
}

bool IsFormRefused(u32 code) {
  switch (code) {
    case EINVAL:
    case ENOTTY:
    case ENOSYS:
    case EOPNOTSUPP:
    case EMSGSIZE:
    case EACCES:
    case EPERM:
      return true;
  }
  return false;
}

}  // namespace larkspur::platform
