# SPDX-License-Identifier: Apache-2.0
"""Writes the page of the JSON documents from their schemas."""
import json


def merged(schema, document, schemas):
    """A schema with what it refers to in place; the keywords beside a reference are kept."""
    while "$ref" in schema:
        file, _, pointer = schema["$ref"].partition("#")
        document = schemas[file] if file else document
        goal = document
        for step in pointer.strip("/").split("/"):
            if step:
                goal = goal[step]
        schema = {**goal, **{key: value for key, value in schema.items() if key != "$ref"}}
    return schema, document


def kind_of(schema, document, schemas):
    """What a value may be, in words."""
    schema, document = merged(schema, document, schemas)
    if "const" in schema:
        return f"`{json.dumps(schema['const'])}`"
    if "enum" in schema:
        return ", ".join("null" if value is None else f"`{json.dumps(value)}`" for value in schema["enum"])
    for key in ("anyOf", "oneOf"):
        if key in schema:
            return " or ".join(dict.fromkeys(kind_of(part, document, schemas) for part in schema[key]))
    kinds = schema.get("type", "any value")
    kinds = [kinds] if isinstance(kinds, str) else kinds
    words = " or ".join(kinds)
    if "array" in kinds and "items" in schema:
        words += f" of {kind_of(schema['items'], document, schemas)}"
    return words


def members(schema, document, schemas, prefix="", depth=0):
    """Name and kind of each member, also of the objects within."""
    schema, document = merged(schema, document, schemas)
    for part in [schema] + schema.get("anyOf", []) + schema.get("oneOf", []):
        part, place = merged(part, document, schemas)
        for name, value in part.get("properties", {}).items():
            yield prefix + name, kind_of(value, place, schemas)
            if depth < 3:
                yield from members(value, place, schemas, f"{prefix}{name}.", depth + 1)
                inner, inner_place = merged(value, place, schemas)
                if isinstance(inner.get("items"), dict):
                    yield from members(inner["items"], inner_place, schemas, f"{prefix}{name}[].", depth + 1)


def page(folder):
    """The page of the schemas in a folder."""
    schemas = {path.name: json.loads(path.read_text(encoding="utf-8")) for path in sorted(folder.glob("*.json"))}
    lines = ["# JSON documents\n",
             "What `--json` prints. [The page of kvn](kvn/index.md#json) says which command prints which document, and",
             "what holds for all of them. `share/kvn_fpga/schema` of an installation has the schemas.\n"]
    for name, schema in schemas.items():
        rows = list(dict.fromkeys(members(schema, schema, schemas)))
        if not rows:
            continue
        lines += [f"## {name.removesuffix('.schema.json')}\n", f"{schema['title']}: [{name}](schema/{name}).\n",
                  "| Member | Value |", "|---|---|"]
        lines += [f"| `{member}` | {kind} |" for member, kind in rows]
        lines.append("")
    return "\n".join(lines)
