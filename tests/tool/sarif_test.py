#!/usr/bin/python3
# SPDX-License-Identifier: GPL-2.0-only
"""Compare the SARIF output of check with what SARIF 2.1.0 requires.

usage: sarif_test.py GPONFLOW SOURCE_ROOT [--published]

--published compares with the published schema, which ./run test fetches; the status is 77 without
it. Otherwise the schema below applies: it has the properties that the standard (OASIS SARIF 2.1.0)
requires of the objects that check prints, and the types of the others.
"""

import json
import pathlib
import subprocess
import sys
import tempfile

import jsonschema

TEXT = {"type": "object", "required": ["text"], "properties": {"text": {"type": "string",
                                                                        "minLength": 1}}}
LEVEL = {"enum": ["none", "note", "warning", "error"]}
RULE = {
    "type": "object",
    "required": ["id"],
    "properties": {
        "id": {"type": "string"},
        "shortDescription": TEXT,
        "fullDescription": TEXT,
        "defaultConfiguration": {
            "type": "object",
            "properties": {"enabled": {"type": "boolean"}, "level": LEVEL},
            "additionalProperties": False,
        },
        "properties": {"type": "object"},
    },
    "additionalProperties": False,
}
LOCATION = {
    "type": "object",
    "properties": {
        "physicalLocation": {
            "type": "object",
            "required": ["artifactLocation"],
            "properties": {
                "artifactLocation": {
                    "type": "object",
                    "required": ["uri"],
                    "properties": {"uri": {"type": "string",
                                           "pattern": "^([-A-Za-z0-9._~/]|%[0-9A-F]{2})+$"}},
                    "additionalProperties": False,
                },
                "region": {
                    "type": "object",
                    "required": ["startLine"],
                    "properties": {"startLine": {"type": "integer", "minimum": 1}},
                    "additionalProperties": False,
                },
            },
            "additionalProperties": False,
        },
        "logicalLocations": {"type": "array", "items": {
            "type": "object",
            "properties": {"fullyQualifiedName": {"type": "string"}, "kind": {"type": "string"}},
            "additionalProperties": False,
        }},
    },
    "additionalProperties": False,
}
RESULT = {
    "type": "object",
    "required": ["message"],
    "properties": {
        "ruleId": {"type": "string"},
        "ruleIndex": {"type": "integer", "minimum": 0},
        "level": LEVEL,
        "message": TEXT,
        "locations": {"type": "array", "items": LOCATION},
    },
    "additionalProperties": False,
}
DRIVER = {
    "type": "object",
    "required": ["name"],
    "properties": {"name": {"const": "gponflow"}, "version": {"type": "string"},
                   "rules": {"type": "array", "items": RULE, "uniqueItems": True}},
    "additionalProperties": False,
}
LOG = {
    "type": "object",
    "required": ["version", "runs"],
    "properties": {
        "$schema": {"type": "string"},
        "version": {"const": "2.1.0"},
        "runs": {"type": "array", "minItems": 1, "maxItems": 1, "items": {
            "type": "object",
            "required": ["tool", "results"],
            "properties": {
                "tool": {"type": "object", "required": ["driver"],
                         "properties": {"driver": DRIVER}, "additionalProperties": False},
                "results": {"type": "array", "items": RESULT},
            },
            "additionalProperties": False,
        }},
    },
    "additionalProperties": False,
}


def published_schema(root):
    done = subprocess.run([root / "scripts/npm-file.sh", "sarif"], capture_output=True, text=True,
                          check=False)
    if done.returncode != 0:
        print("skipped:", done.stderr)
        sys.exit(77)
    return json.loads(pathlib.Path(done.stdout.strip()).read_text(encoding="utf-8"))


def validator(root, published):
    if not published:
        return jsonschema.Draft202012Validator(LOG)
    schema = published_schema(root)
    assert "2.1.0" in schema["title"], schema["title"]
    jsonschema.Draft4Validator.check_schema(schema)
    found = jsonschema.Draft4Validator(schema)
    assert not found.is_valid({"version": "2.1.0"}), "the schema accepts a log without runs"
    return found


def read_log(schema, tool, scenario, status):
    done = subprocess.run([tool, "check", "--sarif", "--all", scenario], capture_output=True,
                          text=True, check=False, timeout=60)
    if done.returncode != status:
        sys.exit(f"{scenario}: exit status {done.returncode}, not {status}: {done.stderr}")
    log = json.loads(done.stdout)
    schema.validate(log)
    return log["runs"][0]


def main():
    tool, root = sys.argv[1], pathlib.Path(sys.argv[2])
    schema = validator(root, sys.argv[3:] == ["--published"])
    with tempfile.TemporaryDirectory() as folder:
        broken = pathlib.Path(folder) / "a line\u00e9.scn"
        broken.write_text("load\nme create GEM_INTERWORK_TP 0x11 gemCTPInstID=7\n",
                          encoding="utf-8")
        run = read_log(schema, tool, str(broken), 1)
    found = {result["ruleId"]: result for result in run["results"]}
    assert set(found) == {"missing-instance", "unreachable"}, found
    assert found["missing-instance"]["level"] == "error", found
    assert found["unreachable"]["level"] == "warning", found
    place = found["missing-instance"]["locations"][0]["physicalLocation"]
    assert place["region"]["startLine"] == 2, place
    assert place["artifactLocation"]["uri"].endswith("/a%20line%C3%A9.scn"), place
    rules = run["tool"]["driver"]["rules"]
    for result in run["results"]:
        assert rules[result["ruleIndex"]]["id"] == result["ruleId"], result
    notes = read_log(schema, tool, str(root / "scenarios/demo.scn"), 0)["results"]
    assert {(result["ruleId"], result["level"]) for result in notes} == {("capacity", "note")}


if __name__ == "__main__":
    main()
