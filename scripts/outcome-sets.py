#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-only
"""Print how many of N outcomes with random keys the outcome table keeps, for two layouts.

A place is never reused in a generation, so a set keeps the first outcomes that select it.
"""

import random

TABLES = 200


def kept(sets, places, outcomes, keys):
    """The number of outcomes in one table after it was empty."""
    used = [0] * sets
    for _ in range(outcomes):
        chosen = keys.randrange(sets)
        if used[chosen] < places:
            used[chosen] += 1
    return sum(used)


def average(sets, places, outcomes):
    keys = random.Random(1)
    return sum(kept(sets, places, outcomes, keys) for _ in range(TABLES)) / TABLES


print("| outcomes | 512 sets of two keep | 256 sets of four keep |")
print("|--:|--:|--:|")
for number in (64, 256, 512, 1024):
    print(f"| {number} | {average(512, 2, number):.1f} | {average(256, 4, number):.1f} |")
