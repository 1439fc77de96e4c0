# SPDX-License-Identifier: Apache-2.0
"""Validates every JSON document that the tests of kvn have got, against the installed schemas.

    schema_test.py SCHEMAS DOCUMENTS PROGRAM

A document that is older than the program is of an earlier build, and is removed. What a schema does not name is a
mistake here, although readers must ignore it.
"""
import json
import pathlib
import sys

import jsonschema


def closed(schema):
    """The schema, by which objects have no other members than those it names."""
    if isinstance(schema, list):
        return [closed(part) for part in schema]
    if not isinstance(schema, dict):
        return schema
    strict = {name: closed(part) for name, part in schema.items()}
    if "properties" in strict and strict.get("type") == "object":
        strict["additionalProperties"] = False
    return strict


def read_schemas(folder):
    schemas = {}
    for file in sorted(folder.glob("*.schema.json")):
        schema = json.loads(file.read_text(encoding="utf-8"))
        jsonschema.Draft202012Validator.check_schema(schema)
        schemas[file.name] = closed(schema)
    return schemas


def mistakes(document, schemas):
    kind = document.get("kvn") if isinstance(document, dict) else None
    schema = schemas.get(f"{kind}.schema.json")
    if schema is None:
        return [f"no schema describes a document of the kind {kind}"]
    resolver = jsonschema.RefResolver(schema["$id"], schema, store=schemas)
    validator = jsonschema.Draft202012Validator(schema, resolver=resolver)
    return [f"{list(error.absolute_path)}: {error.message[:300]}" for error in validator.iter_errors(document)]


def main(schema_folder, document_folder, program):
    schemas = read_schemas(pathlib.Path(schema_folder))
    built = pathlib.Path(program).stat().st_mtime
    seen = set()
    bad = 0
    for file in sorted(pathlib.Path(document_folder).glob("*.json")):
        if file.stat().st_mtime < built:
            file.unlink()
            continue
        document = json.loads(file.read_text(encoding="utf-8"))
        for mistake in mistakes(document, schemas):
            print(f"{file.name}: {mistake}")
            bad += 1
        if isinstance(document, dict):
            seen.add(f"{document.get('kvn')}.schema.json")
    for name in sorted(set(schemas) - seen - {"common.schema.json"}):
        print(f"{name}: no test has got such a document")
        bad += 1
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
