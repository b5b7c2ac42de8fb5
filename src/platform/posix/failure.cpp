// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Source of the numbers: the kernel's table of block-layer statuses (block/blk-core.c) and open(2).

#include "platform/failure.h"

#include <cerrno>

namespace larkspur::platform {

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
