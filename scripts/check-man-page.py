#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-only
"""Check that the manual pages are complete.

usage: check-man-page.py GPONFLOW FOLDER

Every subcommand has a page, those below it have a section in that page, and every option is in its
page or section with a text, without the notation of the option library. Every page has the sections
that a reader looks for. The list of subcommands and options comes from the completion of the tool,
which does not use the help texts.
"""

import os
import re
import subprocess
import sys


TITLES = ("NAME", "SYNOPSIS", "DESCRIPTION", "OPTIONS", "EXAMPLES", "EXIT STATUS")


def completed_levels(tool):
    """Return the completed words of each subcommand: {"gponflow run": ["--mask-lines", ...]}."""
    script = subprocess.run([tool, "completion"], stdout=subprocess.PIPE, text=True, check=True)
    found = re.findall(r"^ *'(gponflow[^']*)'\) words='([^']*)' ;;$", script.stdout, re.MULTILINE)
    return {path: words.split() for path, words in found}


def text_of(folder, name):
    """Return a page as plain text, or None without the page."""
    try:
        with open(os.path.join(folder, name + ".1"), encoding="utf-8") as file:
            return re.sub(r"\\(-|&|f[BIR])", lambda mark: "-" if mark[1] == "-" else "",
                          file.read())
    except FileNotFoundError:
        return None


def sections_of(folder, levels):
    """Return the text of each level's section, and the faults of the pages."""
    sections, faults = {}, []
    for path in (path for path in levels if path.count(" ") < 2):
        name = path.replace(" ", "-")
        text = text_of(folder, name)
        if text is None:
            faults.append(f"no page {name}.1")
            continue
        faults += [f"{name}.1 has no {title}" for title in TITLES
                   if not re.search(rf"^\.SH {title}\n[^.\n]*\S|^\.SH {title}\n\.[BP]", text,
                                    re.MULTILINE)]
        level = path
        for line in text.splitlines():
            if line.startswith(".SS "):
                level = re.match(r"[a-z][a-z-]*(?: [a-z][a-z-]*(?= |$))*", line[4:])[0]
            elif line.startswith(".SH "):
                level = path
            sections[level] = sections.get(level, "") + "\n" + line + " "
    return sections, faults


# How the library of the options writes the type of a value, in its help.
NOTATION = re.compile(r":\{|\b(TEXT|UINT|INT|FLOAT|BOOLEAN|REQUIRED)\b|(Needs|Excludes):|[A-Z]=\S")


def notation_in(folder, levels):
    """Return the lines of the options that a reader cannot know how to read."""
    for path in (path for path in levels if path.count(" ") < 2):
        name = path.replace(" ", "-")
        lines = (text_of(folder, name) or "").splitlines()
        for tag, title in zip(lines, lines[1:]):
            if tag == ".TP" and NOTATION.search(title):
                yield f"{name}.1 has the notation of the library: {title}"


def faults_of(levels, sections):
    for path, words in levels.items():
        if path not in sections:
            yield f"no section for {path}"
            continue
        for option in words:
            if not option.startswith("--") or option == "--help" and path != "gponflow":
                continue
            if not re.search(rf"\n([^\n]*, )?{re.escape(option)} [^\n]*\n\w", sections[path]):
                yield f"{path} has {option}"


def main(tool, folder):
    levels = completed_levels(tool)
    if len(levels) < 2:
        sys.exit(f"check-man-page: {tool} completes no subcommand")
    sections, faults = sections_of(folder, levels)
    faults += faults_of(levels, sections)
    faults += notation_in(folder, levels)
    for fault in faults:
        print(f"check-man-page: {fault}")
    return 1 if faults else 0


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit("usage: check-man-page.py GPONFLOW FOLDER")
    sys.exit(main(*sys.argv[1:]))
