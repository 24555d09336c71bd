#!/usr/bin/perl
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: check-headers.pl ROOT OBJECT...
#
# A source of the core has a header of its own or none: each function and member
# function that src/ROOM/NAME.h declares is defined in src/ROOM/NAME.cpp. A declaration
# that is marked with GPON_DEFINED_IN(ROOM) is defined in that room. The definitions come from the
# objects, which are named after their sources (.../src/ROOM/FILE.cpp.o), through nm (NM).
#
# The headers are read without a preprocessor: a declaration that a macro makes is not seen.
use strict;
use warnings;

die "usage: check-headers.pl ROOT OBJECT...\n" if @ARGV < 2;
my ($root, @objects) = @ARGV;
my $faults = 0;

sub complain {
    print STDERR "check-headers: $_[0]\n";
    $faults = 1;
}

# Name of each strong symbol, without parameters, to the sources that define it.
sub definitions {
    my %sources;
    open(my $nm, '-|', $ENV{NM} // 'nm', qw(-A -C -P -g --defined-only), @objects) or die "nm: $!\n";
    while (<$nm>) {
        my ($object, $symbol) = /^(.*?): (.*) [TDBRGS] [0-9a-f]+/ or next;
        my ($source) = $object =~ m{.*/(src/.*)\.o$} or die "$object is named after no source\n";
        $symbol =~ s/\(.*//;
        $sources{$symbol}{$source} = 1;
    }
    close($nm) or die "nm failed\n";
    return %sources;
}

# The text of a header without comments, texts and preprocessor lines.
sub bare_text {
    my ($path) = @_;
    open(my $file, '<', $path) or die "$path: $!\n";
    local $/;
    my $text = <$file>;
    $text =~ s{/\*.*?\*/|//[^\n]*|("(?:\\.|[^"\\])*")|('(?:\\.|[^'\\])*')}
              {defined $1 ? '""' : defined $2 ? '0' : ' '}gse;
    $text =~ s/^[ \t]*#(?:[^\n]*\\\n)*[^\n]*//gm;
    return $text;
}

# What an opening brace begins: an enclosing scope with its name ('' for one that adds no name),
# or nothing, when its inside declares nothing to the outside.
sub scope_of {
    my ($head) = @_;
    return '' if $head =~ /extern\s*""\s*$/;
    return $1 if $head =~ /\bnamespace\s*([\w:]*)\s*$/;
    $head =~ s/\balignas\s*\([^()]*(?:\([^()]*\))?[^()]*\)|\[\[.*?\]\]|\bGPON_\w+\s*\(\s*""\s*\)//g;
    $head =~ s/^\s*template\s*<[^<>]*>//;
    return if $head =~ /\benum\b|\(/;
    return $1 if $head =~ /\b(?:struct|class|union)\s+(?:[A-Z_]+\s+)*(\w+)/;
    return;
}

# The names that one statement declares and does not define, each with the room of its mark.
sub declared {
    my ($statement) = @_;
    $statement =~ s/\s+/ /g;
    $statement =~ s/^(?: |(?:public|protected|private) ?:)+//;
    my $mark = $statement =~ s/^GPON_DEFINED_IN\((\w+)\) // ? $1 : '';
    return if $statement =~ /^(?:using|typedef|friend|enum|template|static_assert)\b/;
    return if $statement =~ /= ?(?:default|delete)\b|\b(?:constexpr|consteval|constinit)\b/;
    $statement =~ s/\[\[.*?\]\]|\b(?:alignas|decltype|__attribute__|__asm__) ?\((?:[^()]|\([^()]*\))*\)//g;
    $statement =~ s/^extern "" /extern /;
    # Not a pointer to a function: its first parenthesis is followed by the asterisk.
    if ($statement =~ /^[^=(]*?(~?\w+|operator[^(]+) ?\((?! ?\*)/ && $1 !~ /^GPON_[A-Z_]+$/) {
        return [$1, $mark];
    }
    return;
}

# Calls found(name with its scopes, name, mark) for each declaration of a header.
sub each_declaration {
    my ($path, $found) = @_;
    my ($statement, @scopes) = ('');
    my $skipped = 0;
    for my $token (bare_text($path) =~ /[{};]|[^{};]+/g) {
        if ($skipped) {
            $skipped += $token eq '{' ? 1 : $token eq '}' ? -1 : 0;
        } elsif ($token eq '{') {
            my $scope = scope_of($statement);
            if (defined $scope) {
                push @scopes, $scope;
                $statement = '';
            } else {
                $skipped = 1;
                # A function that is defined here; the statement of any other brace goes on.
                $statement = '' if $statement =~ /\(/ && $statement !~ /=\s*$/;
            }
        } elsif ($token eq '}') {
            pop @scopes;
            $statement = '';
        } elsif ($token eq ';') {
            my $names = join '::', grep { $_ ne '' } @scopes;
            for (declared($statement)) {
                my ($name, $mark) = @$_;
                $found->($names eq '' ? $name : "${names}::$name", $name, $mark);
            }
            $statement = '';
        } else {
            $statement .= $token;
        }
    }
    die "$path: the braces do not match\n" if @scopes || $skipped;
}

my %sources = definitions();
my $declarations = 0;
for my $path (sort glob "$root/src/*/*.h") {
    my ($header) = $path =~ m{(src/[^/]+/[^/]+)$};
    (my $own = $header) =~ s/h$/cpp/;
    each_declaration($path, sub {
        my ($qualified, $name, $mark) = @_;
        $declarations++;
        # A function with C linkage has its bare name, whatever namespace declares it.
        my @definers = sort keys %{ $sources{$qualified} // $sources{$name} // {} };
        if (!@definers) {
            complain "$header declares $qualified, which no source defines";
        } elsif ($mark ne '') {
            complain "$header marks $name, which $_ defines" for grep { !m{^src/$mark/} } @definers;
        } else {
            complain "$header declares $qualified, which $_ defines" for grep { $_ ne $own } @definers;
        }
    });
}
complain "no declaration found below $root/src" if !$declarations;
print "$declarations declarations\n";
exit $faults;
