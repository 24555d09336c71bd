#!/usr/bin/perl
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: man-page.pl GPONFLOW > gponflow.1
#
# The manual page, made from what --help of the tool and of each subcommand prints, so that it
# knows every option there is. What no help says stands at the end of this file.
use strict;
use warnings;
use POSIX qw(strftime);

die "usage: man-page.pl GPONFLOW\n" if @ARGV != 1;
my ($tool) = @ARGV;

# Option lines have their text from this column on, or on the next line if they are too long.
my $text_column = 30;

# The output of the tool with these arguments; without it there is no page.
sub told {
    my @command = ($tool, @_);
    open my $out, '-|', @command or die "$tool: $!\n";
    local $/;
    my $text = <$out> // '';
    close $out or die "@command: status " . ($? >> 8) . "\n";
    return $text;
}

# Text for roff, whose hyphens are no minus signs and whose commands begin with a dot or quote.
sub escaped {
    my ($text) = @_;
    $text =~ s/\\/\\e/g;
    $text =~ s/-/\\-/g;
    $text =~ s/^([.'])/\\&$1/mg;
    return $text;
}

# A help as { about, usage, groups => [[title, [name, text]...]...], rest => [line...] }.
sub parsed {
    my ($about, $usage, @lines) = split /\n/, $_[0];
    die "$tool: a help begins with what it is about and the usage\n"
        if !defined $usage || $usage !~ s/^Usage: //;
    my %help = (about => $about, usage => $usage, groups => [], rest => []);
    while (@lines) {
        my $line = shift @lines;
        next if $line eq '' && !@{ $help{rest} };
        my ($title) = $line =~ /^([A-Z][\w ]*|\[Option Group: .*\]):$/;
        my $is_group = defined $title && $title !~ /^Examples?$/ && ($lines[0] // '') =~ /^  \S/;
        if ($is_group && !@{ $help{rest} }) {
            push @{ $help{groups} }, [$title, entries_from(\@lines)];
        } else {
            push @{ $help{rest} }, $line =~ /^(Example:) (.*)/ ? ($1, "  $2", '') : $line;
        }
    }
    return \%help;
}

# Takes the lines of one group away.
sub entries_from {
    my ($lines) = @_;
    my @entries;
    while (@$lines && $lines->[0] =~ /^ /) {
        my $line = shift @$lines;
        if ($line =~ /^ {$text_column}(\S.*)$/) {
            $entries[-1][1] = join ' ', grep { $_ ne '' } $entries[-1][1], $1;
        } elsif ($line =~ /^  (\S.*?)(?: {2,}(\S.*))?$/) {
            push @entries, [$1, $2 // ''];
        } else {
            die "$tool: a line of a help that is not understood: $line\n";
        }
    }
    return @entries;
}

sub print_entries {
    for (@_) {
        my ($name, $text) = @$_;
        $name =~ s/,-/, -/g;
        printf ".TP\n.B %s\n%s\n", map { escaped($_) } $name, $text;
    }
}

# Examples stand as they were typed; everything else is filled.
sub print_rest {
    my $typed = 0;
    for my $line (@_) {
        my $indented = $line =~ /^ /;
        next if $line eq '' && $typed;
        print $indented ? ".PP\n.RS 4\n.nf\n" : ".fi\n.RE\n.PP\n" if $indented != $typed;
        $typed = $indented;
        $line =~ s/^  //;
        print $line eq '' ? '.PP' : escaped($line), "\n";
    }
    print ".fi\n.RE\n" if $typed;
}

# The subcommands of a help that are there for themselves.
sub subcommands_of {
    my ($help) = @_;
    my @groups = grep { $_->[0] eq 'Subcommands' } @{ $help->{groups} };
    return map { $_->[0] } map { @$_[1 .. $#$_] } @groups;
}

sub print_command {
    my @path = @_;
    my $help = parsed(told(@path, '--help'));
    printf ".SS %s\n%s.\n", escaped($help->{usage}), escaped($help->{about});
    for (@{ $help->{groups} }) {
        my ($title, @entries) = @$_;
        print_entries(grep { $_->[0] ne '-h,--help' } @entries) if $title ne 'Subcommands';
    }
    print ".PP\n";
    print_rest(@{ $help->{rest} });
    print_command(@path, $_) for subcommands_of($help);
}

my $main = parsed(told('--help'));
chomp(my $version = told('--version'));
# A package's build sets the time, so that the same source gives the same page.
my $epoch = $ENV{SOURCE_DATE_EPOCH};
my $date = defined $epoch ? strftime('%Y-%m-%d', gmtime $epoch) : '';
my $name = lcfirst $main->{about} =~ s/\.$//r;
print ".\\\" SPDX-License-Identifier: GPL-2.0-only\n";
printf ".TH GPONFLOW 1 \"%s\" \"%s\" \"User Commands\"\n", $date, $version;
printf ".SH NAME\ngponflow \\- %s\n", escaped($name);
printf ".SH SYNOPSIS\n%s\n.SH OPTIONS\n", escaped($main->{usage});
for (@{ $main->{groups} }) {
    my ($title, @entries) = @$_;
    print_entries(@entries) if $title ne 'Subcommands';
}
print ".SH COMMANDS\n";
print_command($_) for subcommands_of($main);
my @rest = grep { !/^Examples?:$/ } @{ $main->{rest} };
my ($status) = grep { $rest[$_] =~ /Exit status/ } 0 .. $#rest;
die "$tool: --help does not tell the exit status\n" if !defined $status;
print ".SH EXIT STATUS\n";
print_rest(splice @rest, $status);
print ".SH EXAMPLES\n";
print_rest(@rest);
print while <DATA>;

__DATA__
.SH ENVIRONMENT
.TP
.B NO_COLOR
Set and not empty: no colours, not even on a terminal.
.TP
.B GPON_FLOW_MODULE
The file of the module that the command
.B load
of a scenario loads with
.BR \-\-backend=device .
.SH FILES
.TP
.I /proc/gpon_flow/debug
Where the running module takes an operator's commands and prints its state.
.TP
.I /dev/gpon_flow
Where it takes managed entities. Character device, major number 184.
.TP
.I /dev/kmsg
Where
.B explain
and
.B trace
find what the running module says of a frame.
.TP
.I /usr/share/doc/gponflow
The scenario language, a cookbook, and scenarios and captures to try.
.SH SEE ALSO
.BR dot (1),
.BR tcpdump (1),
.BR bash (1)
