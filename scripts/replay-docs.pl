#!/usr/bin/perl
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: replay-docs.pl [--write] GPONFLOW FILE.md...
#
# Every block of a document that is marked ```console is a session: "$ COMMAND" and what it prints.
# All sessions of a document are run, in order, by one shell in a scratch folder with the scenarios,
# captures and docs of the tree and GPONFLOW as gponflow, and must print what stands there; only
# blanks at the end of a line do not count. --write puts what they print now into the document.
#
# A session that cannot be run here is marked ```console unplayed, and the line of text before it
# says "*Not replayed: WHY.*". A command outside of a session is an error, so none goes stale, and
# so is a link to a file that is not there. A list of subcommands, with words behind each, is none.
use strict;
use warnings;
use Cwd qw(abs_path getcwd);
use File::Basename qw(dirname);
use File::Temp qw(tempdir);

# A document that mostly cannot be replayed is no longer a tested one.
my $most_unplayed = 4;
my $write = @ARGV && $ARGV[0] eq '--write' && shift @ARGV;
die "usage: replay-docs.pl [--write] GPONFLOW FILE.md...\n" if @ARGV < 2;
my ($tool, @files) = @ARGV;
$tool = abs_path($tool) // die "there is no tool to replay with\n";
my $root = getcwd();
my $faults = 0;

sub complain {
    print "$_[0]:$_[1]: $_[2]\n";
    ++$faults;
}

# A session's lines to [line number, command, expected output].
sub commands_of {
    my ($file, $start, @lines) = @_;
    my @commands;
    while (@lines) {
        my $at = $start + 1;
        my $text = shift @lines;
        ++$start;
        if ($text !~ s/^\$ //) {
            complain($file, $at, 'a session begins with "$ COMMAND"') if !@commands;
            $commands[-1][2] .= "$text\n" if @commands;
            next;
        }
        my ($end) = $text =~ /<<-?\s*['"]?(\w+)/;
        while (@lines && ($text =~ /\\$/ || (defined $end && $text !~ /\n\Q$end\E$/))) {
            $text .= "\n" . shift @lines;
            ++$start;
        }
        push @commands, [$at, $text, ''];
    }
    return @commands;
}

# The document as pieces: text, or a session to be run.
sub pieces_of {
    my ($file) = @_;
    open my $in, '<', $file or die "$file: $!\n";
    my (@pieces, $fence, $start, @block);
    my ($before, $unplayed) = ('', 0);
    while (my $line = <$in>) {
        chomp $line;
        if (defined $fence) {
            if ($line ne '```') { push @block, $line; next }
            push @pieces, $fence eq 'console'
                ? { session => [commands_of($file, $start, @block)] }
                : { text => join('', map { "$_\n" } @block) };
            push @pieces, { text => "$line\n" };
            undef $fence;
            next;
        }
        push @pieces, { text => "$line\n" };
        if ($line =~ /^```(.*)$/) {
            ($fence, $start, @block) = ($1, $.);
            if ($fence eq 'console unplayed') {
                ++$unplayed;
                complain($file, $., 'say before it: *Not replayed: WHY.*')
                    if $before !~ /^\*Not replayed: .+\.\*$/;
            } elsif ($fence !~ /^(console|transcript|text|c)$/) {
                complain($file, $., "a block of the unknown kind '$fence'");
            }
        } elsif ($line =~ m{^(?: {4}|\t)(?:\$ |printf |echo |\./run \S+(?: \S+)*$|scripts/\S|(?:build/bin/)?gponflow )}) {
            complain($file, $., 'a command outside of a session');
        }
        complain($file, $., "a link to nothing: $_")
            for grep { !-e dirname($file) . "/$_" } $line =~ /\]\(([^)#:]+)/g;
        $before = $line if $line =~ /\S/;
    }
    complain($file, $start, 'a block without an end') if defined $fence;
    complain($file, 1, "$unplayed sessions are not replayed") if $unplayed > $most_unplayed;
    return @pieces;
}

# A tree that commands may write into.
sub scratch_folder {
    my $folder = tempdir(CLEANUP => 1);
    system('cp', '-a', map({ "$root/$_" } qw(scenarios captures docs)), "$folder/") == 0
        or die "the scratch folder cannot be filled\n";
    mkdir "$folder/build";
    mkdir "$folder/build/bin";
    symlink $tool, "$folder/build/bin/gponflow" or die "no link to the tool: $!\n";
    return $folder;
}

# What each command prints, standard error among it.
sub outputs_of {
    my (@commands) = @_;
    my $folder = scratch_folder();
    my $mark = "\036";
    my $script = "exec 2>&1\nstatus=0\n";
    # A session may ask for the status of the command before.
    $script .= "printf '\\036'\n(exit \$status)\n$_->[1]\nstatus=\$?\n" for @commands;
    open my $out, '>', "$folder/.session" or die "no session: $!\n";
    print $out $script;
    close $out;
    local $ENV{PATH} = "$folder/build/bin:$ENV{PATH}";
    @ENV{qw(LC_ALL NO_COLOR COLUMNS TZ)} = qw(C.UTF-8 1 100 UTC);
    my $told = `cd '$folder' && timeout 120 bash .session </dev/null`;
    my (undef, @parts) = split /$mark/, $told, -1;
    for my $part (@parts) {
        $part =~ s/\Q$folder\E/./g;
        $part .= "\n" if $part ne '' && $part !~ /\n$/;
        $part =~ s/[ \t]+$//mg;
    }
    return @parts;
}

sub replay {
    my ($file, @pieces) = @_;
    my @commands = map { @{ $_->{session} // [] } } @pieces;
    my @outputs = @commands ? outputs_of(@commands) : ();
    for my $i (0 .. $#commands) {
        my ($at, $command, $expected) = @{ $commands[$i] };
        my $printed = $outputs[$i] // "the session ended before this\n";
        if (!$write && $printed ne $expected) {
            complain($file, $at, "\$ $command\n--- the document says\n$expected--- it prints\n$printed---");
        }
        $commands[$i][2] = $printed;
    }
    return scalar @commands;
}

sub write_back {
    my ($file, @pieces) = @_;
    open my $out, '>', $file or die "$file: $!\n";
    for my $piece (@pieces) {
        print $out $piece->{text} // join '', map { "\$ $_->[1]\n$_->[2]" } @{ $piece->{session} };
    }
    close $out or die "$file: $!\n";
}

my $replayed = 0;
for my $file (@files) {
    my @pieces = pieces_of($file);
    $replayed += replay($file, @pieces);
    write_back($file, @pieces) if $write && !$faults;
}
print "$replayed commands replayed\n" if !$faults;
exit($faults ? 1 : 0);
