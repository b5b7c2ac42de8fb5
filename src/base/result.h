// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What an operation gives that may fail: the value when it worked, else the fault, which says why;
// never half of each. A fault is an enum of what can go wrong, or a struct of such a `kind` with
// what the words for it need, such as the system's error, taken at the failing call (0: none).
// Where there is nothing to tell apart it is that error alone, or a text for the user.
//
// A Result is asked by `if (result)`, and then by `*`, `->` or `error()`; value() would throw.

#include <utility>

#include <tl/expected.hpp>

namespace larkspur {

template <class T, class Fault>
using Result = tl::expected<T, Fault>;

// What becomes a Result that failed.
template <class Fault>
tl::unexpected<Fault> Failed(Fault fault) {
  return tl::unexpected<Fault>(std::move(fault));
}

}  // namespace larkspur
