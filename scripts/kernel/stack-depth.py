#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-only
"""Compute the deepest stack of the module below its packet entry.

usage: stack-depth.py [--verbose] LIMIT FILE.ci...

The call graphs and frame sizes come from the compiler (-fcallgraph-info=su). The walk is recursive:
it makes nine steps and refuses a tenth, so its step function is on the stack ten times at most. A
rule table that grows adds its rules again, once. The sum leaves out the functions of the kernel.
Any other recursion is an error, and so is a call through a pointer that may reach no known
function. Prints the bytes, and the path with --verbose or on a failure.
"""

import re
import sys

ENTRY = "gpon_flow_api_dispatch"
# How often each recursive function may be active.
ACTIVATIONS = {"gpon_pkt_general_forward": 10, "gpon_hash_place_rule": 2}
STEP = "gpon_pkt_general_forward"
# Calls through pointers: the step of the walk runs the forward function of a class, a filter one of
# its actions, a netlink message the function that fills it, and a few callers reach functions of
# the platform. Any other caller has a table in its own file, of functions that nobody calls by
# name.
CLASS_FUNCTION = re.compile(r"_forward$")
NO_CLASS_FUNCTION = re.compile(r"^gpon_pkt_|^_Z")
CALLER_OF_CLASS_FUNCTION = re.compile(r"walk_step|^gpon_pkt_general_forward$")
CALLER_OF_PLATFORM = re.compile(
    r"^gpon_flow_api_dispatch$|map_gem_port_only|choose_known_queue|"
    r"^gpon_pkt_handle_after_fwd_done$|^gpon_pkt_quick_forward$|replay_step")
NAMED_FUNCTIONS = (
    (re.compile(r"vtfd_(filter_)?handle"), re.compile(r"^vtfd_action_")),
    (re.compile(r"^dump_record|^gpon_glue_new_message"),
     re.compile(r"^(gpon_glue_)?put_(counter|rule|instance|state|event)$")),
)
LOG_FUNCTION = re.compile(r"printk|gpon_log|pr_cont")
INDIRECT = "__indirect_call"


def plain(name):
    return name.rsplit(":", 1)[-1]


def file_of(name):
    """The source file of a function with internal linkage, else nothing."""
    return name.rpartition(":")[0]


def quoted(line, word):
    match = re.search(rf'{word}: "[*]?([^"]*)"', line)
    return match[1] if match else ""


def is_trace_call(line):
    """Whether the call is the one of gcc's -pg, which has no place in the source."""
    return quoted(line, "targetname") == INDIRECT and "label:" not in line


class CallGraph:
    def __init__(self, paths):
        self.frame = {}  # bytes of each function
        self.source = {}
        self.callees = {}
        self.called = set()
        self.faults = []
        self.depth = {}
        self.next = {}  # the deepest callee of each state
        self.active = set()
        for path in paths:
            with open(path, encoding="utf-8") as file:
                self.read(file)

    def read(self, lines):
        source = ""
        for line in lines:
            if line.startswith("graph:"):
                source = quoted(line, "title")
            elif line.startswith("node:"):
                if match := re.search(r"(\d+) bytes \(", line):
                    name = quoted(line, "title")
                    self.frame[name] = int(match[1])
                    self.source[name] = source
            elif line.startswith("edge:") and not is_trace_call(line):
                callees = self.callees.setdefault(quoted(line, "sourcename"), [])
                callee = quoted(line, "targetname")
                if callee not in callees:
                    callees.append(callee)
                self.called.add(callee)

    def complain(self, text):
        if text not in self.faults:
            self.faults.append(text)

    def candidates(self, caller):
        """Return the functions that a call through a pointer may reach."""
        name = plain(caller)
        if CALLER_OF_PLATFORM.search(name):
            return []
        for callers, functions in NAMED_FUNCTIONS:
            if callers.search(name):
                return [one for one in self.frame if functions.search(plain(one))]
        if CALLER_OF_CLASS_FUNCTION.search(name):
            found = [one for one in self.frame if CLASS_FUNCTION.search(plain(one))
                     and not NO_CLASS_FUNCTION.search(plain(one))]
        else:
            found = [one for one in self.frame
                     if one not in self.called and file_of(one) == self.source[caller]]
        if not found:
            self.complain(f"call through a pointer in {name}")
        return found

    def calls(self, name):
        for callee in self.callees.get(name, []):
            if callee == INDIRECT:
                yield from self.candidates(name)
            else:
                yield callee

    def deepest(self, name, active=()):
        """Return the bytes from this frame on, below these activations of recursive functions."""
        state = self.enter(name, active)
        if state is None:
            return 0
        if state in self.depth:
            return self.depth[state]
        if state in self.active:
            self.complain(f"recursion through {plain(name)}")
            return 0
        self.active.add(state)
        best = 0
        for callee in self.calls(name):
            # The last activation of the step function refuses, and calls only the log.
            if (name == STEP and state[1].count(STEP) == ACTIVATIONS[STEP]
                    and not LOG_FUNCTION.search(callee)):
                continue
            below = self.deepest(callee, state[1])
            if below > best:
                best = below
                self.next[state] = callee
        self.active.remove(state)
        self.depth[state] = self.frame[name] + best
        return self.depth[state]

    def enter(self, name, active):
        """Return the state of a call, None if the function is unknown or refuses."""
        if name not in self.frame:
            return None
        if name in ACTIVATIONS:
            active = tuple(sorted((*active, name)))
            if active.count(name) > ACTIVATIONS[name]:
                return None
        return name, active

    def print_path(self, name, active=()):
        while state := self.enter(name, active):
            print(f"{self.frame[name]:6} {plain(name)}")
            active = state[1]
            if state not in self.next:
                return
            name = self.next[state]


def main(arguments):
    verbose = arguments[:1] == ["--verbose"]
    limit, *paths = arguments[verbose:]
    graph = CallGraph(paths)
    for name in (ENTRY, STEP):
        if name not in graph.frame:
            sys.exit(f"stack-depth: there is no {name} in the call graphs")
    sys.setrecursionlimit(10000)
    deepest = graph.deepest(ENTRY)
    print(f"{deepest} bytes of stack at most below {ENTRY}")
    if deepest > int(limit):
        graph.complain(f"{deepest} bytes of stack are more than {limit}")
    for fault in graph.faults:
        print(f"stack-depth: {fault}", file=sys.stderr)
    if graph.faults or verbose:
        graph.print_path(ENTRY)
    return 1 if graph.faults else 0


if __name__ == "__main__":
    if len(sys.argv) < 3:
        sys.exit("usage: stack-depth.py [--verbose] LIMIT FILE.ci...")
    sys.exit(main(sys.argv[1:]))
