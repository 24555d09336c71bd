#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# check-docs.sh TRANSCRIPT FILE...: every block of a document that is marked ```transcript must stand,
# line for line, in the transcript; a document without any such block is an error too.
set -eu
transcript=$1
shift
exec perl -e '
    use strict;
    my ($transcript, @files) = @ARGV;
    sub lines { open my $in, "<", $_[0] or die "$_[0]: $!\n"; map { s/\s+$//r } <$in> }
    my $told = join "\n", "", lines($transcript), "";
    my $faults = 0;
    for my $file (@files) {
        my ($at, $start, $blocks, @block) = (0, 0, 0);
        for my $line (lines($file)) {
            ++$at;
            if (!$start) { $start = $at if $line eq "```transcript"; next }
            if ($line ne "```") { push @block, $line; next }
            ++$blocks;
            if (!@block || index($told, join("\n", "", @block, "")) < 0) {
                print "$file:$start: this block is not in $transcript\n";
                ++$faults;
            }
            ($start, @block) = (0);
        }
        if ($start || !$blocks) { print "$file: no block, or one without an end\n"; ++$faults }
    }
    exit($faults ? 1 : 0);
' "$transcript" "$@"
