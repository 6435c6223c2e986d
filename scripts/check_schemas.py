#!/usr/bin/env python3
"""Checks that the JSON Schemas of docs/schemas hold for what the program writes and reads.

Usage: scripts/check_schemas.py <program>

Every inventory and pose-series index that the program makes of the example models must fit its schema, and so must the
JSON examples of docs/contracts.md. Broken documents must fit none: a schema that takes everything says nothing.
Needs Debian's python3-jsonschema."""

import copy
import json
import os
import re
import subprocess
import sys
import tempfile

import jsonschema

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..")
EXAMPLES = os.path.join(ROOT, "examples")
SCHEMA_FILES = {
    "ornolabs.ornolith-render.poses": "poses.schema.json",
    "ornolith-camera-preset": "camera-preset.schema.json",
    "ornolabs.ornolith-render.parts": "parts.schema.json",
    "ornolabs.ornolith-render.contact-sheet": "contact-sheet.schema.json",
}

REMOVED = object()

# Changes that break a document: where, and the value put there.
BREAKAGES = {
    "ornolabs.ornolith-render.poses": [
        (["version"], 2),
        (["model_sha256"], "A" * 64),
        (["poses"], []),
        (["poses", 0, "id"], " "),
        (["poses", 0, "id"], REMOVED),
        (["poses", 0, "rotations"], REMOVED),
        (["poses", 0, "rotations"], [{"selector": "", "local_degrees": {"x": 1}}]),
        (["poses", 0, "rotations"], [{"selector": "arm", "local_degrees": {}}]),
        (["poses", 0, "rotations"], [{"selector": "arm", "local_degrees": {"x": "1"}}]),
        (["poses", 0, "rotations"], [{"selector": "arm", "local_degrees": {"x": 1}}] * 257),
    ],
    "ornolith-camera-preset": [
        (["schema"], "other"),
        (["name"], "  "),
        (["coordinateSpace"], "world"),
        (["camera", "fieldOfView"], 180),
        (["camera", "fieldOfView"], 0),
        (["camera", "target", "z"], REMOVED),
        (["camera", "eulerAngles"], REMOVED),
    ],
    "ornolabs.ornolith-render.parts": [
        (["format"], "obj"),
        (["model_sha256"], REMOVED),
        (["extra"], 1),
        (["parts", 0, "selector"], "name:Desk"),
        (["parts", 0, "parent"], None),
        (["parts", 0, "source_id"], "fbx:x"),
        (["parts", 0, "rotation_block_reason"], "because"),
        (["parts", 0, "local_transform", "column_major_matrix"], [0] * 15),
        (["parts", 0, "local_transform", "column_major_matrix"], REMOVED),
        (["parts", 0, "local_transform", "scale"], REMOVED),
        (["parts", 0, "local_transform", "rotation", "w"], REMOVED),
        (["parts", 0, "rotatable"], False),
    ],
    "ornolabs.ornolith-render.contact-sheet": [
        (["layout"], "contact4"),
        (["arrangement"], REMOVED),
        (["tile_width"], 0),
        (["pages"], []),
        (["poses", 0, "label"], None),
        (["poses", 0, "rotations"], [{"selector": "arm", "requested_local_degrees": {"x": 1}, "normalized_local_degrees": {"x": 1}}]),
        (["poses", 0, "rotations"], [{"selector": "name:arm", "requested_local_degrees": {"x": 360}, "normalized_local_degrees": {"x": 360}}]),
        (["pages", 0, "file"], "page-1.png"),
        (["pages", 0, "width"], 8193),
        (["pages", 0, "cells", 0, "view"], "Front"),
        (["pages", 0, "cells", 0, "frame", "x"], -1),
        (["pages", 0, "cells", 0, "frame", "x"], 0.5),
    ],
}


class Checker:
    def __init__(self):
        self.validators = {}
        self.faults = []
        self.checked = {name: 0 for name in SCHEMA_FILES}
        for name, file in SCHEMA_FILES.items():
            with open(os.path.join(ROOT, "docs", "schemas", file), encoding="utf-8") as source:
                schema = json.load(source)
            jsonschema.Draft202012Validator.check_schema(schema)
            self.validators[name] = jsonschema.Draft202012Validator(schema)

    def expect_valid(self, document, origin):
        name = document.get("schema")
        if name not in self.validators:
            self.faults.append(f"{origin}: no schema for {name!r}")
            return
        self.checked[name] += 1
        for error in self.validators[name].iter_errors(document):
            place = "/".join(str(step) for step in error.absolute_path)
            self.faults.append(f"{origin}: {place}: {error.message}")

    def expect_invalid(self, document, origin):
        name = document["schema"]
        for path, value in BREAKAGES[name]:
            broken = copy.deepcopy(document)
            place = broken
            for step in path[:-1]:
                place = place[step]
            if value is REMOVED:
                del place[path[-1]]
            else:
                place[path[-1]] = value
            if self.validators[name].is_valid(broken):
                change = "removed" if value is REMOVED else json.dumps(value)[:60]
                self.faults.append(f"{origin}: accepted with {'/'.join(map(str, path))}: {change}")


def run(program, *arguments):
    result = subprocess.run([program, *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)
    if result.returncode != 0:
        raise SystemExit(f"{program} {' '.join(arguments)}: status {result.returncode}\n{result.stderr.decode()}")
    return result.stdout


def check_documentation(checker):
    with open(os.path.join(ROOT, "docs", "contracts.md"), encoding="utf-8") as page:
        blocks = re.findall(r"^```json\n(.*?)^```$", page.read(), re.MULTILINE | re.DOTALL)
    found = set()
    for number, block in enumerate(blocks, 1):
        document = json.loads(block)
        checker.expect_valid(document, f"docs/contracts.md, example {number}")
        checker.expect_invalid(document, f"docs/contracts.md, example {number}")
        found.add(document.get("schema"))
    for name in SCHEMA_FILES.keys() - found:
        checker.faults.append(f"docs/contracts.md: no example of {name}")


def pose_document(parts):
    """A pose at rest, and one that turns every part, by path or by identity, past a full turn and back."""
    rotations = [
        {"selector": part["selector"] if number % 2 else "id:" + part["source_id"], "local_degrees": {"x": -90, "z": 725.5}}
        for number, part in enumerate(parts)
    ]
    poses = [{"id": "rest", "rotations": []}, {"id": "turned", "label": "", "rotations": rotations}]
    return {"schema": "ornolabs.ornolith-render.poses", "version": 1, "poses": poses}


def check_program(checker, program, folder):
    posed = 0
    for file in sorted(os.listdir(EXAMPLES)):
        if not file.endswith((".fbx", ".glb")):
            continue
        model = os.path.join(EXAMPLES, file)
        inventory = json.loads(run(program, model, "--list-parts"))
        checker.expect_valid(inventory, f"inventory of {file}")
        if not inventory["parts"] or not all(part["rotatable"] for part in inventory["parts"]):
            continue
        posed += 1
        document = pose_document(inventory["parts"])
        checker.expect_valid(document, f"poses for {file}")
        poses = os.path.join(folder, file + ".json")
        with open(poses, "w", encoding="utf-8") as target:
            json.dump(document, target)
        for layout, arrangement in [("single", "grid"), ("contact-4", "strip"), ("contact-6", "grid")]:
            series = os.path.join(folder, f"{file}-{layout}")
            run(program, model, "--pose-file", poses, "--output-directory", series, "--layout", layout,
                "--contact-arrangement", arrangement, "--tile-width", "16", "--tile-height", "16")
            with open(os.path.join(series, "contact-sheet.json"), encoding="utf-8") as source:
                index = json.load(source)
            checker.expect_valid(index, f"index of {file}, {layout}")
            checker.expect_invalid(index, f"index of {file}, {layout}")
    if posed == 0:
        checker.faults.append("no example model can be posed")


def main():
    if len(sys.argv) != 2:
        raise SystemExit(__doc__)
    checker = Checker()
    check_documentation(checker)
    with tempfile.TemporaryDirectory(prefix="ornolith-schemas-") as folder:
        check_program(checker, os.path.abspath(sys.argv[1]), folder)
    for fault in checker.faults:
        print(fault, file=sys.stderr)
    print(", ".join(f"{count} of {name}" for name, count in checker.checked.items()))
    return 1 if checker.faults else 0


if __name__ == "__main__":
    sys.exit(main())
