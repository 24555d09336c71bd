#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-only
"""Print the manual page of gponflow.

usage: man-page.py GPONFLOW > gponflow.1

The page is made from the output of --help of the tool and of each subcommand, so that it lists
every option. Sections that no help has are at the end of this file.
"""

import os
import re
import subprocess
import sys
import time

# The text of an option starts in this column, or on the next line after a long name.
TEXT_COLUMN = 30

TRAILER = r""".SH ENVIRONMENT
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
find the log lines of the running module about a frame.
.TP
.I /usr/share/doc/gponflow
The scenario language, a cookbook, and scenarios and captures to try.
.SH SEE ALSO
.BR dot (1),
.BR tcpdump (1),
.BR bash (1)
"""


def escaped(text):
    """Return text for roff: no hyphen is a minus sign, no line starts with a command."""
    text = text.replace("\\", "\\e").replace("-", "\\-")
    return re.sub(r"^([.'])", r"\\&\1", text, flags=re.MULTILINE)


class Help:
    """The parts of one help text: about, usage, groups of (name, text), further lines."""

    def __init__(self, tool, text):
        self.tool = tool
        self.groups = []
        self.rest = []
        lines = text.splitlines()
        if len(lines) < 2 or not lines[1].startswith("Usage: "):
            sys.exit(f"{tool}: a help begins with a description and the usage")
        self.about = lines[0]
        self.usage = lines[1].removeprefix("Usage: ")
        self.read(lines[2:])

    def read(self, lines):
        while lines:
            line = lines.pop(0)
            if not line and not self.rest:
                continue
            if not self.rest and lines and self.is_title(line) and re.match(r"  \S", lines[0]):
                self.groups.append((line[:-1], self.take_entries(lines)))
            elif match := re.match(r"(Example:) (.*)", line):
                self.rest += [match[1], "  " + match[2], ""]
            else:
                self.rest.append(line)

    @staticmethod
    def is_title(line):
        return (re.fullmatch(r"([A-Z][\w ]*|\[Option Group: .*\]):", line)
                and line not in ("Example:", "Examples:"))

    def take_entries(self, lines):
        entries = []
        while lines and lines[0].startswith(" "):
            line = lines.pop(0)
            if entries and re.match(rf" {{{TEXT_COLUMN}}}\S", line):
                name, text = entries[-1]
                entries[-1] = (name, (text + " " + line.strip()).strip())
            elif match := re.fullmatch(r"  (\S.*?)(?: {2,}(\S.*))?", line):
                entries.append((match[1], match[2] or ""))
            else:
                sys.exit(f"{self.tool}: cannot parse this line of a help: {line}")
        return entries

    def options(self):
        return [entry for title, entries in self.groups if title != "Subcommands"
                for entry in entries]

    def subcommands(self):
        return [name for title, entries in self.groups if title == "Subcommands"
                for name, _ in entries]


class Page:
    def __init__(self, tool):
        self.tool = tool

    def output_of(self, *arguments):
        run = subprocess.run([self.tool, *arguments], stdout=subprocess.PIPE, text=True,
                             check=False)
        if run.returncode != 0:
            sys.exit(f"{self.tool} {' '.join(arguments)}: exit status {run.returncode}")
        return run.stdout

    def help_of(self, *path):
        return Help(self.tool, self.output_of(*path, "--help"))

    def print(self):
        main = self.help_of()
        self.print_head(main)
        print_entries(main.options())
        print(".SH COMMANDS")
        for name in main.subcommands():
            self.print_command(name)
        rest = [line for line in main.rest if line not in ("Example:", "Examples:")]
        status = next((i for i, line in enumerate(rest) if "Exit status" in line), None)
        if status is None:
            sys.exit(f"{self.tool}: --help does not list the exit status")
        print(".SH EXIT STATUS")
        print_rest(rest[status:])
        print(".SH EXAMPLES")
        print_rest(rest[:status])
        print(TRAILER, end="")

    def print_head(self, main):
        version = self.output_of("--version").rstrip("\n")
        # A package's build sets the time, so that the same source gives the same page.
        epoch = os.environ.get("SOURCE_DATE_EPOCH")
        date = time.strftime("%Y-%m-%d", time.gmtime(int(epoch))) if epoch else ""
        name = main.about.removesuffix(".")
        name = name[:1].lower() + name[1:]
        print('.\\" SPDX-License-Identifier: GPL-2.0-only')
        print(f'.TH GPONFLOW 1 "{date}" "{version}" "User Commands"')
        print(f".SH NAME\ngponflow \\- {escaped(name)}")
        print(f".SH SYNOPSIS\n{escaped(main.usage)}\n.SH OPTIONS")

    def print_command(self, *path):
        text = self.help_of(*path)
        print(f".SS {escaped(text.usage)}\n{escaped(text.about)}.")
        print_entries([entry for entry in text.options() if entry[0] != "-h,--help"])
        print(".PP")
        print_rest(text.rest)
        for name in text.subcommands():
            self.print_command(*path, name)


def print_entries(entries):
    for name, text in entries:
        print(f".TP\n.B {escaped(name.replace(',-', ', -'))}\n{escaped(text)}")


def print_rest(lines):
    """Print examples as they are; all other text is filled."""
    typed = False
    for line in lines:
        indented = line.startswith(" ")
        if not line and typed:
            continue
        if indented != typed:
            print(".PP\n.RS 4\n.nf" if indented else ".fi\n.RE\n.PP")
        typed = indented
        print(escaped(line.removeprefix("  ")) or ".PP")
    if typed:
        print(".fi\n.RE")


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit("usage: man-page.py GPONFLOW")
    Page(sys.argv[1]).print()
