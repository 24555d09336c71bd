#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-only
"""Compare the JSON output of the tool with the schemas.

usage: json_test.py GPONFLOW SOURCE_ROOT

Runs each command with --json on full, empty and invalid input. Standard output is one document,
or one a line; each line of standard error is a document. The member "schema" names the file in
docs/schemas. Each schema must be used, and each command must have the option.
"""

import json
import pathlib
import signal
import subprocess
import sys
import tempfile
import time

import schemas
from checker import Checker, title_of

FRAME = "frame=0200000000010200000001028100006508004500"


class SchemaChecker(Checker):
    def __init__(self, tool, root):
        super().__init__(tool)
        self.root = root
        self.used = set()
        self.schemas = schemas.load(root)
        self.tree = json.loads(self.call("completion", "--json", status=0).stdout)["command"]
        self.accepted = set()  # commands that printed a document
        self.refused = set()  # commands that printed an error alone

    def validate(self, title, text):
        """Validate one document; return the name of its schema."""
        document, why = schemas.validate(self.schemas, text)
        if document is None:
            self.complain(f"{title}: {why}")
            return None
        name = document["schema"]
        self.used.add(name)
        if name == "gponflow-line-1":
            for part in document["messages"] + [document["document"]]:
                if part is not None:
                    self.validate(title + ", a part of a line", json.dumps(part))
        return name

    def run(self, arguments, status, schema=None, stream=False, feed=None):
        """Run a command: its status, the schema of its output, or None for no output."""
        title = title_of(arguments)
        done = self.call(*arguments, status=status, input=feed)
        texts = done.stdout.splitlines() if stream else [done.stdout] if done.stdout else []
        if (schema is None) != (not texts):
            self.complain(f"{title}: prints {len(texts)} documents on standard output")
        for text in texts:
            found = self.validate(title, text)
            if found not in (None, schema):
                self.complain(f"{title}: a document of the schema {found}, not {schema}")
        messages = [self.validate(title + ", standard error", line)
                    for line in done.stderr.splitlines()]
        if any(name not in (None, "gponflow-message-1") for name in messages):
            self.complain(f"{title}: standard error has other documents than messages")
        if status in (2, 3) and not messages and not texts:
            self.complain(f"{title}: no message on standard error")
        (self.accepted if texts else self.refused).add(self.command_of(arguments))

    def leaves(self, node=None, path=""):
        """Yield the commands without subcommands, with their records."""
        for sub in (node or self.tree)["subcommands"]:
            name = f"{path} {sub['name']}".strip()
            if sub["subcommands"]:
                yield from self.leaves(sub, name)
            else:
                yield name, sub

    def command_of(self, arguments):
        """The longest command that the arguments begin with."""
        names = [name for name, _ in self.leaves()]
        words = [word for word in arguments if not word.startswith("-")]
        return next((" ".join(words[:count]) for count in (2, 1)
                     if " ".join(words[:count]) in names), None)

    def finish(self):
        for name, _ in self.leaves():
            if name not in self.accepted:
                self.complain(f"gponflow {name} --json: no test of its document")
            if name not in self.refused:
                self.complain(f"gponflow {name} --json: no test of its errors")
        for name in sorted(set(self.schemas) - self.used):
            self.complain(f"no document of the schema {name} was printed")
        self.exit()


def run_live_views(check, full, empty):
    for scenario in (full, empty):
        check.run(["show", "rules", "--json", scenario], 0, "gponflow-rules-1")
        check.run(["show", "me", "--json", scenario], 0, "gponflow-instances-1")
        check.run(["show", "status", "--json", scenario], 0, "gponflow-status-1")


def run_frames(check, full, line, empty):
    for scenario, status in ((full, 0), (empty, 1)):
        check.run(["account", "--json", scenario], status, "gponflow-account-1")
    capture = str(check.root / "captures/upstream-qinq.pcap")
    for question in (["--uni", "1", "--vlan", "100p5"], ["--uni", "2", "--vlan", "7"],
                     ["--gem", "1025", "--ethertype", "0x86dd"], ["kind=up_ani", FRAME],
                     ["--uni", "3", "--pcap", capture, "--frame", "2"]):
        check.run(["explain", "--json", line, *question], 0, "gponflow-explain-1")
    for question in ([], ["--uni", "9"], ["--uni", "x"], ["--uni", "99"], ["--vlan", "1"],
                     ["--gem", "7"], ["--uni", "1", "kind=up_ani"], ["--uni", "1", "--prio", "1"]):
        check.run(["explain", "--json", line, *question], 2)
    check.run(["explain", "--json", empty, "--uni", "1"], 2)


def run_tagged(check, folder):
    """Downstream, the frame is rewritten after the hook call, for each UNI."""
    tagged = str(folder / "tagged.scn")
    line = (check.root / "docs/cookbook/n-to-1.scn").read_text(encoding="utf-8")
    pathlib.Path(tagged).write_text(
        line + "me create VLAN_TAG_EXTEND_OPERATE 1\n"
        "tagging VLAN_TAG_EXTEND_OPERATE 1 association=2 associated=0x0101 rows=default\n"
        "tagging VLAN_TAG_EXTEND_OPERATE 1 row=f8000000f8000000000f000000000324\n",
        encoding="utf-8")
    question = ["explain", "--json", tagged, "--gem", "1025", "--vlan", "100"]
    check.run(question, 0, "gponflow-explain-1")
    leaving = json.loads(check.call(*question).stdout)["halves"][0]["leaving"]
    after = {one["uni"]["instance"]: [step["after"] for step in one["tagging"]["steps"]]
             for one in leaving}
    if after != {0x0101: ["untagged"], 0x0102: []}:
        check.complain(f"explain --gem: the frame leaves as {after}")


def run_omci(check, line, empty):
    bring_up = str(check.root / "docs/cookbook/bring-up.pcap")
    check.run(["omci", "--json", bring_up], 0, "gponflow-omci-1")
    with open(bring_up, "rb") as file:
        start = file.read(2000)
    cut = str(pathlib.Path(empty).parent / "cut.pcap")
    pathlib.Path(cut).write_bytes(start)
    check.run(["omci", "--json", cut], 1, "gponflow-omci-1")
    check.run(["omci", "--json", "--diff", bring_up, line], 1, "gponflow-diff-1")
    check.run(["omci", "--json", "--diff", line, line], 0, "gponflow-diff-1")
    check.run(["omci", "--json", "--diff", line, "missing.pcap"], 2)
    check.run(["omci", "--json", str(check.root / "captures/upstream-uni1.pcap")], 2)


def run_lines(check, line, empty):
    """Several inputs: a line for each, in their order."""
    capture = str(check.root / "docs/cookbook/bring-up.pcap")
    traffic = str(check.root / "captures/upstream-uni1.pcap")
    inputs = [capture, line, "missing.scn", traffic]
    for command, status in (("check", 2), ("omci", 2), ("account", 2)):
        check.run([command, *inputs], status, "gponflow-line-1", stream=True)
    check.run(["account", line, capture, "--jobs", "1", "--uni", "1", "--pcap", traffic], 0,
              "gponflow-line-1", stream=True)
    check.run(["account", line, capture, "--jobs", "1", "--pcap", traffic], 2,
              "gponflow-line-1", stream=True)
    for command in ("account", "report"):
        check.run([command, "--json", line, "--uni", "1", "--pcap", traffic], 0,
                  f"gponflow-{command}-1")
        check.run([command, "--json", line, "--pcap", traffic], 2)
    check.run(["check", "--json", "--files", "-"], 0, "gponflow-line-1", stream=True, feed=line)
    check.run(["check", "--json", "--files", empty + ".missing"], 2)
    check.run(["check", "--json", "--sarif", line, line], 2)


def run_rest(check, full, line, empty):
    for scenario in (full, empty):
        check.run(["run", "--json", scenario], 0, "gponflow-run-1")
        check.run(["graph", "--json", scenario], 0, "gponflow-graph-1")
        check.run(["report", "--json", scenario], 0, "gponflow-report-1")
        check.run(["report", "--live", "--json", scenario], 0, "gponflow-report-1")
    check.run(["report", "--json"], 2)
    check.run(["report", "--live", "--json", full, "--pcap", line], 2)
    check.run(["graph", "--json", line, "--highlight", "kind=up_ani," + FRAME], 0,
              "gponflow-graph-1")
    for scenario, status in ((full, 0), (empty, 0)):
        check.run(["watch", "--once", "--json", scenario], status, "gponflow-watch-1", stream=True)
    tour = str(check.root / "scenarios/tour.scn")
    for scenario in (full, tour, empty):
        check.run(["stat", "--json", scenario], 0, "gponflow-counters-1")
    for scenario in (full, tour):
        check.run(["monitor", "--json", scenario], 0, "gponflow-change-1", stream=True)
    check.run(["stat", "--json", "--all", tour], 2)
    check.run(["trace", "outer_vlan=101p0", tour, "--json"], 0, "gponflow-trace-1", stream=True)
    check.run(["trace", "outer_vlan=101", "missing.scn", "--json"], 2)
    check.run(["set", "enable", "on", "--dry-run", "--json"], 0, "gponflow-commands-1")
    check.run(["clean", "rules", "--dry-run", "--json"], 0, "gponflow-commands-1")
    check.run(["clean", "rules", "--index", "1", "--json"], 2)
    check.run(["completion", "--json"], 0, "gponflow-completion-1")
    for words in (["set", "debug-level", "errors"], ["set", "trace", "off"],
                  ["clean", "me", "--all"]):
        check.run([*words, "--dry-run", "--json"], 0, "gponflow-commands-1")


def run_streams(check, empty):
    """Commands that print a document a line print none, and no part of one, if nothing happens."""
    for words in (["monitor", "--json"], ["trace", "outer_vlan=101p0", "--json"]):
        title = title_of(words)
        done = check.call(*words, empty, status=0)
        check_stream(check, title, done.stdout, done.stderr)
        # Standard input stays open, so that only the signal ends the command.
        with subprocess.Popen([check.tool, *words, "-"], stdin=subprocess.PIPE, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE) as waiting:
            time.sleep(0.2)
            waiting.send_signal(signal.SIGINT)
            check_stream(check, title + ", stopped", waiting.stdout.read(), waiting.stderr.read())


def check_stream(check, title, output, messages):
    for text in output.splitlines():
        check.validate(title, text)
    for text in messages.splitlines():
        if check.validate(title, text) not in (None, "gponflow-message-1"):
            check.complain(f"{title}: standard error has other documents than messages")


def run_each(check, line, empty):
    """Each command: an unknown option, a missing file and an empty line; each value it lists."""
    words = {"explain": ["--uni", "1"], "trace": ["outer_vlan=1p0"]}
    for name, record in check.leaves():
        options = {one["name"]: one for one in record["options"]}
        if not any("--json" in one.split(",") for one in options):
            check.complain(f"gponflow {name} has no --json")
        path = name.split()
        check.run([*path, "--json", "--no-such-option"], 2)
        if "FILE" not in options or name == "omci":
            continue
        before = [word for word in words.get(name, []) if not word.startswith("-") and "=" in word]
        behind = [word for word in words.get(name, []) if word not in before]
        check.run([*path, *before, "missing.scn", *behind, "--json"], 2)
        run_values(check, name, record, line)
    refused = check.call("explain", "--json", empty, "--uni", "1", status=2)
    if "UNI 1 does not exist" not in refused.stderr:
        check.complain("explain of an empty line does not say that the UNI is missing")


def run_values(check, name, record, line):
    """A word that the completion offers is accepted."""
    for option in record["options"]:
        flag = next((one for one in option["name"].split(",") if one.startswith("--")), None)
        for value in option["values"].split() if flag else []:
            done = check.call(*name.split(), flag, value, line)
            if f"'{value}'" in done.stderr or "not one of" in done.stderr:
                check.complain(f"gponflow {name} {flag} {value}: {done.stderr}")


def run_all(check, folder):
    full = str(check.root / "scenarios/demo.scn")
    line = str(check.root / "scenarios/subscriber-line.scn")
    empty = str(folder / "empty.scn")
    pathlib.Path(empty).write_text("load\n", encoding="utf-8")
    faulty = str(folder / "faulty.scn")
    pathlib.Path(faulty).write_text("laod\n", encoding="utf-8")
    check.run(["check", "--json", line], 0, "gponflow-check-1")
    check.run(["check", "--json", empty], 0, "gponflow-check-1")
    check.run(["check", "--json", "--all", full], 0, "gponflow-check-1")
    check.run(["check", "--json", "--silence", "unknown", line], 2)
    run_live_views(check, full, empty)
    run_frames(check, full, line, empty)
    run_tagged(check, folder)
    run_omci(check, line, empty)
    run_lines(check, line, empty)
    run_rest(check, full, line, empty)
    run_streams(check, empty)
    run_each(check, line, empty)
    for words in (["check", faulty], ["check", "missing.scn"], ["check"], ["fly", line],
                  ["show", "rules", "--table", line], ["show", "me", "--class", "x", line]):
        check.run([*words, "--json"], 2)


def main():
    check = SchemaChecker(sys.argv[1], pathlib.Path(sys.argv[2]))
    with tempfile.TemporaryDirectory() as folder:
        run_all(check, pathlib.Path(folder))
    check.finish()


if __name__ == "__main__":
    main()
