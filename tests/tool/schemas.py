# SPDX-License-Identifier: GPL-2.0-only
"""The schemas of the tool's JSON documents, for tests."""

import json

import jsonschema


def strict(schema):
    """Refuse members that a schema does not describe. The published schemas permit new ones."""
    if isinstance(schema, list):
        return [strict(item) for item in schema]
    if not isinstance(schema, dict):
        return schema
    result = {name: strict(value) for name, value in schema.items()}
    if "properties" in schema:
        result["additionalProperties"] = False
    return result


def load(root):
    """Return the strict schemas of docs/schemas by their names."""
    schemas = {}
    for path in sorted((root / "docs/schemas").glob("*.schema.json")):
        schema = json.loads(path.read_text(encoding="utf-8"))
        jsonschema.Draft202012Validator.check_schema(schema)
        schemas[path.name.removesuffix(".schema.json")] = strict(schema)
    return schemas


def validate(schemas, text):
    """Return the document and the error, one of which is None."""
    try:
        document = json.loads(text)
        jsonschema.validate(document, schemas[document["schema"]],
                            jsonschema.Draft202012Validator)
    except (ValueError, KeyError, TypeError, jsonschema.ValidationError) as why:
        return None, f"{type(why).__name__}: {why}\n{text[:400]}"
    return document, None
