// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The pass-through requests of platform/device_requests.h, sent by Linux's SG_IO.

#include <functional>
#include <span>

#include <scsi/sg.h>

#include "base/types.h"

namespace larkspur::platform {

// Sends a filled header: 0, or an error number.
using SendScsi = std::function<int(sg_io_hdr_t*)>;

// Answers the SCSI and ATA pass-through codes; the IDE one is refused, as is a request whose parts
// lie outside it. A failure leaves its error in LastFailure().
bool PassThrough(u32 code, std::span<const u8> in, std::span<u8> out, u32* returned,
                 const SendScsi& send);

}  // namespace larkspur::platform
