#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-only
"""Validate the JSON documents in the output of a guest.

usage: check-json.py LOG SCHEMA...

A test in the guest prints "@@ json-begin SCHEMA COMMAND", the output of the command behind
"@@ json ", and "@@ json-end". The output is one document, or one a line. Each SCHEMA must have
been printed.
"""

import json
import pathlib
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests/tool"))
import guest_log  # noqa: E402
import schemas as documents  # noqa: E402


def printed(log):
    """Yield the schema, the command and the text of each output."""
    schema = command = None
    texts = []
    with open(log, encoding="utf-8", errors="replace") as lines:
        for word, rest in guest_log.split_lines(lines):
            if word == "json-begin":
                schema, command = rest.split(" ", 1)
                texts = []
            elif word == "json" and command:
                texts.append(rest)
            elif word == "json-end" and command:
                yield schema, command, texts
                command = None


def texts_of(lines):
    """The whole output if it is a document, otherwise its lines."""
    whole = "\n".join(lines)
    try:
        json.loads(whole)
        return [whole]
    except ValueError:
        return lines or [""]


def main():
    known = documents.load(ROOT)
    missing = set(sys.argv[2:])
    faults = 0
    for schema, command, lines in printed(sys.argv[1]):
        for text in texts_of(lines):
            document, why = documents.validate(known, text)
            if why is None and document["schema"] != schema:
                why = f"a document of the schema {document['schema']}, not {schema}"
            if why is not None:
                print(f"  {command}: {why}")
                faults += 1
            else:
                missing.discard(schema)
    for schema in sorted(missing):
        print(f"  the guest printed no valid document of the schema {schema}")
    sys.exit(faults != 0 or bool(missing))


if __name__ == "__main__":
    main()
