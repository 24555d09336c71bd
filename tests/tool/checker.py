# SPDX-License-Identifier: GPL-2.0-only
"""Runs of the tool whose faults a test counts."""

import subprocess
import sys


def title_of(words):
    return "gponflow " + " ".join(str(word) for word in words)


class Checker:
    def __init__(self, tool):
        self.tool = tool
        self.faults = 0

    def complain(self, text):
        print(text)
        self.faults += 1

    def expect(self, title, found, expected):
        if found != expected:
            self.complain(f"{title}: {found}\n  expected: {expected}")

    def call(self, *words, status=None, **options):
        """Run the tool; return the finished process, whose status is compared if one is given."""
        done = subprocess.run([self.tool, *words], capture_output=True, text=True, check=False,
                              timeout=120, **options)
        if status not in (None, done.returncode):
            self.complain(f"{title_of(words)}: exit status {done.returncode}, not {status}: "
                          f"{done.stderr}")
        return done

    def exit(self):
        sys.exit(self.faults != 0)
