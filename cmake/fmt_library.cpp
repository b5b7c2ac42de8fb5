// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
//
// The parts of fmt that do not depend on what is formatted, for all of the program.
#include <fmt/format-inl.h>

FMT_BEGIN_NAMESPACE
namespace detail {

template FMT_API dragonbox::decimal_fp<float> dragonbox::to_decimal(float x) noexcept;
template FMT_API dragonbox::decimal_fp<double> dragonbox::to_decimal(double x) noexcept;
template FMT_API thousands_sep_result<char> thousands_sep_impl(locale_ref);
template FMT_API char decimal_point_impl(locale_ref);
template FMT_API void buffer<char>::append(const char*, const char*);
template FMT_API void vformat_to(buffer<char>&, string_view,
                                 basic_format_args<buffer_context<char>>, locale_ref);

}  // namespace detail
FMT_END_NAMESPACE
