// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// UTF-8 for text.h. Each operation returns the units or bytes given, 0 when they do not fit.

#include "base/text_output.h"

namespace larkspur::text {

size_t DecodeUtf8(const u8* bytes, size_t count, WideOutput out);
size_t MeasureUtf8(const u8* bytes, size_t count);
size_t EncodeUtf8(const char16_t* text, size_t count, ByteOutput out);

}  // namespace larkspur::text
