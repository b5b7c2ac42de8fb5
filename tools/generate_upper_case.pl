#!/usr/bin/env perl
# SPDX-License-Identifier: MIT
# Copyright (c) 2026 The Larkspur authors
#
# Writes src/base/text_upper_case_generated.cpp from the Unicode data that comes with Perl (5.36
# has Unicode 14): letters of the 16-bit range with a simple upper-case form there, whose simple
# lower-case form is the letter again, as of Unicode 5.1 by the characters' ages.
#
# Neighbouring letters of one rule are one row: the letters first, first + step, ... last turn into
# letter + delta (modulo 2^16).

use strict;
use warnings;
use feature "unicode_strings";
use File::Basename qw(dirname);
use Unicode::UCD qw(charprop);

my $output = dirname(__FILE__) . "/../src/base/text_upper_case_generated.cpp";

sub simple {
    my ($unit, $property) = @_;
    return ord charprop($unit, $property);
}

sub is_old {
    my ($major, $minor) = charprop($_[0], "Age") =~ /^V(\d+)_(\d+)$/;
    return defined $major && ($major < 5 || ($major == 5 && $minor <= 1));
}

my @letters;
for my $unit (0 .. 0xD7FF, 0xE000 .. 0xFFFF) {
    next if uc(chr $unit) eq chr $unit;
    my $upper = simple($unit, "Simple_Uppercase_Mapping");
    next if $upper == $unit || $upper > 0xFFFF || !is_old($unit) || !is_old($upper);
    next if simple($upper, "Simple_Lowercase_Mapping") != $unit;
    push @letters, [$unit, ($upper - $unit) & 0xFFFF];
}

my @rows;
for my $letter (@letters) {
    my ($unit, $delta) = @$letter;
    my $row = $rows[-1];
    my $gap = $row ? $unit - $row->{last} : 0;
    if ($row && $row->{delta} == $delta && $gap <= 2 && (!$row->{step} || $row->{step} == $gap)) {
        $row->{last} = $unit;
        $row->{step} = $gap;
    } else {
        push @rows, {first => $unit, last => $unit, step => 0, delta => $delta};
    }
}

open my $file, ">", $output or die "$output: $!";
print $file <<"END";
// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Made by tools/generate_upper_case.pl, which tells the source; not edited by hand.
// clang-format off
#include "base/text_upper_case.h"

namespace larkspur::text {

extern const UpperCaseRow kUpperCaseRows[] = {
END
for my $row (@rows) {
    my $step = $row->{step} || 1;
    printf $file "    {0x%04X, 0x%04X, %d, 0x%04X},\n", @$row{qw(first last)}, $step, $row->{delta};
}
printf $file "};\nextern const size_t kUpperCaseRowCount = %d;\n\n}  // namespace larkspur::text\n",
    scalar @rows;
close $file;
printf "%d letters in %d rows\n", scalar @letters, scalar @rows;
