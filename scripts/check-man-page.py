#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-only
"""Check that the manual page is complete.

usage: check-man-page.py GPONFLOW PAGE

Every subcommand has a section of its own in the manual page, and every option of it is in that
section. The list of both comes from the completion of the tool, which does not use the help texts.
"""

import re
import subprocess
import sys


def completed_levels(tool):
    """Return the completed words of each subcommand: {"gponflow run": ["--mask-lines", ...]}."""
    script = subprocess.run([tool, "completion"], stdout=subprocess.PIPE, text=True, check=True)
    found = re.findall(r"^ *'(gponflow[^']*)'\) words='([^']*)' ;;$", script.stdout, re.MULTILINE)
    return {path: words.split() for path, words in found}


def sections_of(page):
    """Return the text of each subcommand's section, and of the main options as "gponflow"."""
    with open(page, encoding="utf-8") as file:
        text = file.read().replace("\\-", "-").replace("\\&", "")
    sections, level = {}, None
    for line in text.splitlines():
        if line.startswith(".SS "):
            level = re.match(r"[a-z][a-z-]*(?: [a-z][a-z-]*(?= |$))*", line[4:])[0]
        elif line.startswith(".SH "):
            level = "gponflow" if line == ".SH OPTIONS" else None
        if level:
            sections[level] = sections.get(level, "") + "\n" + line + " "
    return sections


def faults_of(levels, sections):
    for path, words in levels.items():
        if path not in sections:
            yield f"no section for {path}"
            continue
        for option in words:
            if not option.startswith("--") or option == "--help" and path != "gponflow":
                continue
            if not re.search(rf"\n\.B ([^\n]*, )?{re.escape(option)}[ :=]", sections[path]):
                yield f"{path} has {option}"


def main(tool, page):
    levels = completed_levels(tool)
    if len(levels) < 2:
        sys.exit(f"check-man-page: {tool} completes no subcommand")
    faults = list(faults_of(levels, sections_of(page)))
    for fault in faults:
        print(f"check-man-page: {fault}")
    return 1 if faults else 0


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit("usage: check-man-page.py GPONFLOW PAGE")
    sys.exit(main(*sys.argv[1:]))
