// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Pages of one byte a character. Both directions return what they gave, 0 when it does not fit.

#include "base/text_output.h"
#include "base/text_tables.h"

namespace larkspur::text {

// The table of a page, null when it is no single-byte page.
const SingleByteTable* FindSingleByte(u32 codePage);

size_t DecodeSingleByte(const SingleByteTable& table, const u8* bytes, size_t count,
                        WideOutput out);
size_t EncodeSingleByte(const SingleByteTable& table, const char16_t* text, size_t count,
                        ByteOutput out);

}  // namespace larkspur::text
