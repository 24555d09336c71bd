#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-only
"""Check the PromQL queries in documents.

usage: check-queries.py COUNTERS_DEF DOCUMENT...

A query is a text in back quotes in a table with a metric gpon_flow_... in it. Each metric has to be
a counter of COUNTERS_DEF with the suffix _total, or a gauge of gponflow stat. rate() needs one
metric with a name and a range: it drops the names, so several metrics of a pattern would have the
same labels. A document without a query is an error too.
"""

import re
import sys

GAUGES = {"gpon_flow_rules", "gpon_flow_rule_buckets", "gpon_flow_engine_enabled"}
RATE = re.compile(r"rate\(([^()]*)\)")


def metrics_of(counters):
    with open(counters, encoding="utf-8") as file:
        names = re.findall(r"^GPON_COUNTER(?:_SUM)?\((\w+),", file.read(), re.M)
    return GAUGES | {f"gpon_flow_{name}_total" for name in names}


def queries_of(path):
    """Yield the line numbers and texts of the queries of a document, not of lists of names."""
    with open(path, encoding="utf-8") as file:
        for number, line in enumerate(file, 1):
            for text in re.findall(r"`([^`]*)`", line):
                if line.startswith("|") and "gpon_flow_" in text:
                    yield number, text


def faults_of(query, metrics):
    if "__name__" in query:
        yield "a pattern of names"
    for name in re.findall(r"\bgpon_flow_\w+", query):
        if name not in metrics:
            yield f"no metric {name}"
    for argument in RATE.findall(query):
        if not re.fullmatch(r"gpon_flow_\w+_total\[\w+\]", argument):
            yield f"not a counter with a range: {argument}"
    if query.count("(") != query.count(")"):
        yield "open parentheses"
    for name in re.findall(r"gpon_flow_\w+_total\b(?!\[)", query):
        yield f"a counter without rate(): {name}"


def main(counters, *documents):
    metrics = metrics_of(counters)
    failed = False
    for path in documents:
        queries = list(queries_of(path))
        faults = [f"{path}:{number}: {fault}" for number, query in queries
                  for fault in faults_of(query, metrics)]
        if not queries:
            faults = [f"{path}: no query"]
        for fault in faults:
            print(fault)
        failed = failed or bool(faults)
    return 1 if failed else 0


if __name__ == "__main__":
    if len(sys.argv) < 3:
        sys.exit("usage: check-queries.py COUNTERS_DEF DOCUMENT...")
    try:
        sys.exit(main(*sys.argv[1:]))
    except OSError as error:
        sys.exit(f"check-queries: {error}")
