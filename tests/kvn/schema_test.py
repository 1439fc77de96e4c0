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


def kind_of(document):
    return document.get("kvn") if isinstance(document, dict) else None


def mistakes(document, kind, schemas):
    schema = schemas.get(f"{kind}.schema.json")
    if schema is None:
        return [f"no schema describes a document of the kind {kind}"]
    resolver = jsonschema.RefResolver(schema["$id"], schema, store=schemas)
    validator = jsonschema.Draft202012Validator(schema, resolver=resolver)
    return [f"{list(error.absolute_path)}: {error.message[:300]}" for error in validator.iter_errors(document)]


def mistakes_of_lines(lines, kind, schemas):
    """Those of JSON Lines, of which the first states the kind, and of the records in them."""
    for line in lines:
        yield from mistakes(line, kind, schemas)
        if "record" in line:
            record = {"kvn": "record", "version": "1.0", "error": None, **line["record"]}
            yield from mistakes(record, "record", schemas)


def main(schema_folder, document_folder, program):
    schemas = read_schemas(pathlib.Path(schema_folder))
    built = pathlib.Path(program).stat().st_mtime
    seen = set()
    bad = 0
    for file in sorted(pathlib.Path(document_folder).glob("*.json*")):
        if file.stat().st_mtime < built:
            file.unlink()
            continue
        text = file.read_text(encoding="utf-8")
        if file.suffix == ".jsonl":
            lines = [json.loads(line) for line in text.splitlines()]
            kind = kind_of(lines[0])
            found = list(mistakes_of_lines(lines, kind, schemas))
        else:
            document = json.loads(text)
            kind = kind_of(document)
            found = mistakes(document, kind, schemas)
        for mistake in found:
            print(f"{file.name}: {mistake}")
            bad += 1
        seen.add(f"{kind}.schema.json")
    for name in sorted(set(schemas) - seen - {"common.schema.json"}):
        print(f"{name}: no test has got such a document")
        bad += 1
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
