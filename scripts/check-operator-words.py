#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-only
"""Compare the operator's commands in a document with the tables of the interpreter.

usage: check-operator-words.py INTERPRETER DOCUMENT

The first column of a table of the document has each command of the interpreter, and no other one
that begins with a word of its first table.
"""
import re
import sys
from pathlib import Path

TABLE = re.compile(r"gpon_dbg_cmd (\w+)\[\] = \{(.*?)\n +\{\}\};", re.S)
ROW = re.compile(r'\{"(\w+)",\s*(?:descend<(\w+)>|\w+),')


def commands_of(tables, name):
    """The commands of a table without "help": lists of words."""
    for word, below in ROW.findall(tables[name]):
        if below:
            yield from ([word, *rest] for rest in commands_of(tables, below))
        elif word != "help":
            yield [word]


def written_in(text):
    """The words of each command in a first column."""
    for line in text.splitlines():
        if line.startswith("| `"):
            yield from (code.split() for code in re.findall(r"`([^`]+)`", line.split("|")[1]))


def main(interpreter, document):
    tables = dict(TABLE.findall(Path(interpreter).read_text(encoding="utf-8")))
    commands = list(commands_of(tables, "gpon_dbg_cmd_table"))
    first_words = {command[0] for command in commands}
    written = [words for words in written_in(Path(document).read_text(encoding="utf-8"))
               if words and words[0] in first_words]
    wrong = [f"{document} has no row for: {' '.join(command)}" for command in commands
             if not any(words[:len(command)] == command for words in written)]
    wrong += [f"{interpreter} has no command: {' '.join(words)}" for words in written
              if not any(words[:len(command)] == command for command in commands)]
    print("\n".join(wrong), end="\n" if wrong else "")
    return 1 if wrong or not commands else 0


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit("usage: check-operator-words.py INTERPRETER DOCUMENT")
    try:
        sys.exit(main(*sys.argv[1:]))
    except (OSError, KeyError) as error:
        sys.exit(f"check-operator-words: {error}")
