#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-only
"""Replay the console sessions of documents.

usage: replay-docs.py [--write] GPONFLOW FILE.md...

Every block of a document that is marked ```console is a session: "$ COMMAND" and its output. One
shell runs all sessions of a document, in order, in a scratch folder with the scenarios, captures
and docs of the tree and GPONFLOW as gponflow. The output must be that of the document; only blanks
at the end of a line do not count. --write puts the output of this run into the document.

A session that cannot run here is marked ```console untested, and the line of text before it is
"*Not run by the tests: WHY.*". A command outside of a session is an error, so that none goes stale,
and so is a link to a missing file. A list of subcommands, with words behind each, is no command.
"""

import os
import re
import shutil
import subprocess
import sys
import tempfile

# A document that mostly cannot be replayed is no longer a tested one.
MOST_UNTESTED = 4
KINDS = {"console", "console untested", "transcript", "text", "c"}
COMMAND = re.compile(r"(?: {4}|\t)(?:\$ |printf |echo |\./run \S+(?: \S+)*$|scripts/\S|"
                     r"(?:build/bin/)?gponflow )")
REASON = re.compile(r"\*Not run by the tests: .+\.\*")
LINK = re.compile(r"\]\(([^)#:]+)")
MARK = "\036"


class Command:
    def __init__(self, line_number, text):
        self.line_number = line_number
        self.text = text
        self.output = ""

    def is_open(self):
        """Whether the next line still belongs to the command."""
        if self.text.endswith("\\"):
            return True
        here = re.search(r"<<-?\s*['\"]?(\w+)", self.text)
        return bool(here) and not self.text.endswith("\n" + here[1])


class Document:
    def __init__(self, path):
        self.path = path
        self.faults = 0
        self.pieces = []  # texts, and lists of commands
        with open(path, encoding="utf-8") as file:
            self.read(file.read().splitlines())

    def complain(self, line_number, text):
        print(f"{self.path}:{line_number}: {text}")
        self.faults += 1

    def commands(self):
        return [command for piece in self.pieces if isinstance(piece, list) for command in piece]

    def read(self, lines):
        fence, start, block = None, 0, []
        before, untested = "", 0
        for number, line in enumerate(lines, 1):
            if fence is not None:
                if line != "```":
                    block.append(line)
                    continue
                self.add_block(fence, start, block)
                fence, block = None, []
            elif line.startswith("```"):
                fence, start = line[3:], number
                untested += fence == "console untested"
                self.check_fence(fence, number, before)
            elif COMMAND.match(line):
                self.complain(number, "a command outside of a session")
            self.pieces.append(line + "\n")
            if fence is None:
                self.check_links(number, line)
            if line.strip():
                before = line
        if fence is not None:
            self.complain(start, "a block without an end")
        if untested > MOST_UNTESTED:
            self.complain(1, f"{untested} sessions are not tested")

    def check_fence(self, fence, number, before):
        if fence not in KINDS:
            self.complain(number, f"a block of the unknown kind '{fence}'")
        if fence == "console untested" and not REASON.fullmatch(before):
            self.complain(number, "the line before it must be: *Not run by the tests: WHY.*")

    def check_links(self, number, line):
        for link in LINK.findall(line):
            if not os.path.exists(os.path.join(os.path.dirname(self.path), link)):
                self.complain(number, f"a link to nothing: {link}")

    def add_block(self, fence, start, block):
        if fence == "console":
            self.pieces.append(self.parse_session(start, block))
        else:
            self.pieces.append("".join(line + "\n" for line in block))

    def parse_session(self, start, lines):
        commands = []
        for number, line in enumerate(lines, start + 1):
            if commands and not commands[-1].output and commands[-1].is_open():
                commands[-1].text += "\n" + line
            elif line.startswith("$ "):
                commands.append(Command(number, line[2:]))
            elif commands:
                commands[-1].output += line + "\n"
            else:
                self.complain(number, 'a session begins with "$ COMMAND"')
        return commands

    def compare(self, outputs):
        for command, printed in zip(self.commands(), outputs):
            if printed != command.output:
                self.complain(command.line_number,
                              f"$ {command.text}\n--- the document has\n{command.output}"
                              f"--- the command prints\n{printed}---")

    def write(self, outputs):
        for command, printed in zip(self.commands(), outputs):
            command.output = printed
        with open(self.path, "w", encoding="utf-8") as file:
            for piece in self.pieces:
                if isinstance(piece, list):
                    file.writelines(f"$ {one.text}\n{one.output}" for one in piece)
                else:
                    file.write(piece)


def fill_scratch_folder(folder, tool):
    """Make a tree that commands may write into."""
    for name in ("scenarios", "captures", "docs"):
        shutil.copytree(name, os.path.join(folder, name), symlinks=True)
    os.makedirs(os.path.join(folder, "build/bin"))
    os.symlink(tool, os.path.join(folder, "build/bin/gponflow"))


def outputs_of(commands, tool):
    """Return the output of each command, standard error among it."""
    script = "exec 2>&1\nstatus=0\n"
    for command in commands:
        # A session may print the status of the command before.
        script += f"printf '\\036'\n(exit $status)\n{command.text}\nstatus=$?\n"
    with tempfile.TemporaryDirectory() as folder:
        fill_scratch_folder(folder, tool)
        session = os.path.join(folder, ".session")
        with open(session, "w", encoding="utf-8") as file:
            file.write(script)
        environment = dict(os.environ, LC_ALL="C.UTF-8", NO_COLOR="1", COLUMNS="100", TZ="UTC",
                           PATH=os.path.join(folder, "build/bin") + ":" + os.environ["PATH"])
        run = subprocess.run(["timeout", "120", "bash", ".session"], cwd=folder, env=environment,
                             stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, check=False)
        printed = run.stdout.decode("utf-8", "surrogateescape").replace(folder, ".")
    outputs = [cleaned(part) for part in printed.split(MARK)[1:]]
    missing = len(commands) - len(outputs)
    return outputs + ["the session ended before this\n"] * missing


def cleaned(text):
    if text and not text.endswith("\n"):
        text += "\n"
    return re.sub(r"[ \t]+$", "", text, flags=re.MULTILINE)


def main(arguments):
    write = arguments[:1] == ["--write"]
    if write:
        arguments = arguments[1:]
    if len(arguments) < 2:
        sys.exit("usage: replay-docs.py [--write] GPONFLOW FILE.md...")
    tool, *paths = arguments
    tool = os.path.realpath(tool)
    replayed = faults = 0
    for path in paths:
        document = Document(path)
        commands = document.commands()
        outputs = outputs_of(commands, tool) if commands else []
        if not write:
            document.compare(outputs)
        elif not document.faults:
            document.write(outputs)
        replayed += len(commands)
        faults += document.faults
    if faults:
        return 1
    print(f"{replayed} commands replayed")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
