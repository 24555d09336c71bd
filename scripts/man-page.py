#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-only
"""Write the manual pages of gponflow.

usage: man-page.py GPONFLOW FOLDER

Writes gponflow.1, and gponflow-NAME.1 for each subcommand, with DESCRIPTION, OPTIONS, EXAMPLES and
EXIT STATUS. They are made from the output of --help of the tool and of each subcommand, so that
they list every option. Sections that no help has are in this file.
"""

import os
import re
import subprocess
import sys
import time

# The text of an option starts in this column, or on the next line after a long name.
TEXT_COLUMN = 30
CONTINUED = re.compile(rf" {{{TEXT_COLUMN}}}\S")

# The value behind the names of an option: "FILE", "host|device", "FILE ...".
VALUE = re.compile(r"(?P<value>[A-Z]+|[\w-]+(?:\|[\w-]+)*)?(?P<many> ?\.\.\.)?")

DESCRIPTION = r""".SH DESCRIPTION
.B gponflow
shows how a GPON ONU forwards the frames of a subscriber.
The OLT configures the ONU through OMCI managed entities (ITU\-T G.988). The tool runs the engine
that classifies frames by these entities, in its own process or in the running kernel.
.PP
Most commands read a
.IR scenario ,
a text file with the configuration of a line.
.B gponflow omci
converts a capture of OMCI messages to a scenario.
.B gponflow explain
then shows the path of a frame and why it is dropped,
.B gponflow account
counts the frames of a capture by destination and by reason of drop,
.B gponflow check
finds mistakes,
.B gponflow graph
and
.B gponflow report
draw the line.
.B gponflow show
and
.B gponflow trace
read the module of the running kernel.
"""

TRAILER = r""".SH ENVIRONMENT
.TP
.B NO_COLOR
If it is set and not empty, no colours are printed, not even on a terminal.
.TP
.B GPON_FLOW_MODULE
The path of the module file that the command
.B load
of a scenario loads with
.BR \-\-backend=device .
.SH FILES
.TP
.I /proc/gpon_flow/debug
Accepts an operator's commands for the running module. The output is in the kernel log.
.TP
.I /dev/gpon_flow
Accepts managed entities. Character device, major number 184.
.TP
.I /dev/kmsg
The kernel log, from which
.B explain
and
.B trace
read the lines of the running module about a frame.
.TP
.I /usr/share/doc/gponflow
The scenario language, a cookbook, and scenarios and captures to try.
.TP
.I /usr/share/gponflow/schemas
JSON Schema files of the output of
.BR \-\-json .
"""

SEE_ALSO = r""".SH SEE ALSO
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
            if entries and CONTINUED.match(line):
                name, text = entries[-1]
                entries[-1] = (name, (text + " " + line.strip()).strip())
            elif match := re.fullmatch(r"  (\S.*?)(?: {2,}(\S.*))?", line):
                name, text = match[1], match[2] or ""
                # One blank may separate the text from a name that just fits before its column.
                fits = line[TEXT_COLUMN - 1:TEXT_COLUMN] == " " and len(line) > TEXT_COLUMN
                if not text and fits and not (lines and CONTINUED.match(lines[0])):
                    name, text = line[2:TEXT_COLUMN - 1], line[TEXT_COLUMN:]
                entries.append((name, text))
            else:
                sys.exit(f"{self.tool}: cannot parse this line of a help: {line}")
        return entries

    def options(self):
        return [entry for title, entries in self.groups if title != "Subcommands"
                for entry in entries]

    def subcommands(self):
        return [name for title, entries in self.groups if title == "Subcommands"
                for name, _ in entries]


class Pages:
    def __init__(self, tool, folder):
        self.tool = tool
        self.folder = folder
        self.main = self.help_of()
        split = split_rest(self.main.rest)
        self.examples = split["examples"]
        self.status = split["status"]
        if not self.status:
            sys.exit(f"{tool}: --help does not list the exit status")

    def output_of(self, *arguments):
        run = subprocess.run([self.tool, *arguments], stdout=subprocess.PIPE, text=True,
                             check=False)
        if run.returncode != 0:
            sys.exit(f"{self.tool} {' '.join(arguments)}: exit status {run.returncode}")
        return run.stdout

    def help_of(self, *path):
        return Help(self.tool, self.output_of(*path, "--help"))

    def write(self):
        names = self.main.subcommands()
        self.write_main(names)
        for name in names:
            self.write_command(name)

    def page(self, name):
        path = os.path.join(self.folder, f"{name}.1")
        return open(path, "w", encoding="utf-8")

    def print_head(self, page, name, about):
        version = self.output_of("--version").rstrip("\n")
        # A package's build sets the time, so that the same source gives the same page.
        epoch = os.environ.get("SOURCE_DATE_EPOCH")
        date = time.strftime("%Y-%m-%d", time.gmtime(int(epoch))) if epoch else ""
        about = about.removesuffix(".")
        about = about[:1].lower() + about[1:]
        print('.\\" SPDX-License-Identifier: GPL-2.0-only', file=page)
        print(f'.TH {name.upper()} 1 "{date}" "{version}" "User Commands"', file=page)
        print(f".SH NAME\n{escaped(name)} \\- {escaped(about)}", file=page)

    def write_main(self, names):
        with self.page("gponflow") as page:
            self.print_head(page, "gponflow", self.main.about)
            print(f".SH SYNOPSIS\n{escaped(self.main.usage)}", file=page)
            print(DESCRIPTION, end="", file=page)
            print(".SH OPTIONS", file=page)
            print_entries(self.main.options(), page)
            print(".SH COMMANDS", file=page)
            for name in names:
                about = self.help_of(name).about
                print(f".TP\n.BR gponflow\\-{escaped(name)} (1)\n{escaped(about)}.", file=page)
            self.print_status(page)
            print(TRAILER, end="", file=page)
            self.print_examples(self.examples, page)
            print(SEE_ALSO, end="", file=page)

    def write_command(self, name):
        text = self.help_of(name)
        with self.page(f"gponflow-{name}") as page:
            self.print_head(page, f"gponflow-{name}", text.about)
            print(f".SH SYNOPSIS\n{escaped(text.usage)}", file=page)
            print(f".SH DESCRIPTION\n{escaped(text.about)}.", file=page)
            parts = split_rest(text.rest)
            if parts["prose"]:
                print(".PP", file=page)
                print_rest(parts["prose"], page)
            print(".SH OPTIONS", file=page)
            print_entries(shown_options(text), page)
            examples = parts["examples"]
            if text.subcommands():
                print(".SH COMMANDS", file=page)
            for sub in text.subcommands():
                examples = examples + self.print_nested(page, name, sub)
            self.print_examples(examples, page)
            self.print_status(page)
            print(".SH SEE ALSO\n.BR gponflow (1)", file=page)

    def print_nested(self, page, *path):
        """Print a section of the page; return its examples."""
        text = self.help_of(*path)
        parts = split_rest(text.rest)
        print(f".SS {escaped(text.usage)}\n{escaped(text.about)}.", file=page)
        print_rest(parts["prose"], page)
        print_entries(shown_options(text), page)
        return parts["examples"]

    def print_status(self, page):
        print(".SH EXIT STATUS", file=page)
        print_rest(self.status, page)

    @staticmethod
    def print_examples(lines, page):
        print(".SH EXAMPLES", file=page)
        print_rest(lines, page)


def shown_options(text):
    return [entry for entry in text.options() if entry[0] != "-h,--help"]


def split_rest(lines):
    """Split the text behind the options of a help into prose, examples and exit status."""
    parts = {"prose": [], "examples": [], "status": []}
    part = "prose"
    for line in lines:
        if line in ("Example:", "Examples:"):
            part = "examples"
        elif re.search(r"Exit status(?: of all of them)?:$", line):
            part = "status"
        elif part == "examples" and line and not line.startswith(" "):
            part = "prose"
            parts[part].append(line)
        else:
            parts[part].append(line)
    return {name: trimmed(part) for name, part in parts.items()}


def trimmed(lines):
    while lines and not lines[0]:
        lines = lines[1:]
    while lines and not lines[-1]:
        lines = lines[:-1]
    return lines


def value_of(text):
    """Return the value of an option: a name in italics, or its words in bold."""
    if text.isupper():
        return f" \\fI{text}\\fR"
    return " " + "|".join(f"\\fB{escaped(word)}\\fR" for word in text.split("|"))


def print_entries(entries, page):
    for entry, text in entries:
        names, _, rest = entry.partition(" ")
        value = VALUE.fullmatch(rest)
        if not value:
            sys.exit(f"man-page: cannot parse the value of an option: {entry}")
        font = "B" if names.startswith("-") else "I"
        title = ", ".join(f"\\f{font}{escaped(name)}\\fR" for name in names.split(","))
        title += value_of(value["value"]) if value["value"] else ""
        title += " ..." if value["many"] else ""
        print(f".TP\n{title}\n{escaped(text)}", file=page)


def print_rest(lines, page):
    """Print examples as they are; all other text is filled."""
    typed = False
    for line in lines:
        indented = line.startswith(" ")
        if not line and typed:
            continue
        if indented != typed:
            print(".PP\n.RS 4\n.nf" if indented else ".fi\n.RE\n.PP", file=page)
        typed = indented
        print(escaped(line.removeprefix("  ")) or ".PP", file=page)
    if typed:
        print(".fi\n.RE", file=page)


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit("usage: man-page.py GPONFLOW FOLDER")
    Pages(sys.argv[1], sys.argv[2]).write()
