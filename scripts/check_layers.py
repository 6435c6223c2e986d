#!/usr/bin/env python3
"""Checks that every room of src/ includes only rooms below it. Usage: scripts/check_layers.py"""

import os
import re
import sys

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..")

# Each room with the rooms whose headers it may include, beside its own. "import/formats" and "scenegraph/device" are
# rooms of their own inside their folders, since lower rooms share them.
BELOW = {
    "foundation": [],
    "imaging": ["foundation"],
    "scenegraph/device": ["imaging", "foundation"],
    "raster": ["scenegraph/device", "imaging", "foundation"],
    "scenegraph": ["scenegraph/device", "imaging", "foundation"],
    "import/formats": ["foundation"],
    "contracts": ["import/formats", "foundation"],
    "loaders/fbx": ["loaders/mesh", "scenegraph", "scenegraph/device", "import/formats", "imaging", "foundation"],
    "loaders/mesh": ["scenegraph", "scenegraph/device", "import/formats", "imaging", "foundation"],
    "loaders/gltf": ["loaders/mesh", "scenegraph", "scenegraph/device", "import/formats", "imaging", "foundation"],
    "loaders/obj": ["loaders/mesh", "scenegraph", "scenegraph/device", "import/formats", "imaging", "foundation"],
    "loaders": ["loaders/fbx", "loaders/mesh", "loaders/gltf", "loaders/obj", "scenegraph", "scenegraph/device", "import/formats", "imaging", "foundation"],
    "parts": ["contracts", "scenegraph", "import/formats", "foundation"],
    "import": ["parts", "contracts", "import/formats", "foundation"],
    "viewport": ["parts", "contracts", "scenegraph", "import/formats", "imaging", "foundation"],
    "scene": ["viewport", "parts", "contracts", "loaders", "loaders/fbx", "loaders/gltf", "import", "scenegraph", "import/formats", "imaging", "foundation"],
    "render": ["scene", "viewport", "parts", "contracts", "loaders", "loaders/fbx", "loaders/gltf", "import", "scenegraph", "import/formats", "imaging", "foundation"],
    "cli": ["render", "scene", "viewport", "parts", "contracts", "loaders", "import", "scenegraph", "import/formats", "imaging", "foundation"],
}

# The one file that knows which render device this machine has.
EXCEPTIONS = {("scenegraph/RenderDeviceFactory.cpp", "raster")}

INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"')


def room_of(path):
    parts = path.split("/")
    nested = "/".join(parts[:2])
    return nested if len(parts) > 2 and nested in BELOW else parts[0]


def main():
    faults, files = [], 0
    source = os.path.join(ROOT, "src")
    for folder, _, names in os.walk(source):
        for name in sorted(names):
            if not name.endswith((".h", ".cpp", ".c", ".inc")):
                continue
            files += 1
            relative = os.path.relpath(os.path.join(folder, name), source)
            room = room_of(relative)
            with open(os.path.join(folder, name), encoding="utf-8") as lines:
                for number, line in enumerate(lines, 1):
                    match = INCLUDE.match(line)
                    if not match or "/" not in match.group(1):
                        continue
                    target = room_of(match.group(1))
                    if target not in BELOW or target == room or target in BELOW[room]:
                        continue
                    if (relative, target) not in EXCEPTIONS:
                        faults.append(f"src/{relative}:{number}: {room} may not include {match.group(1)}")
    for fault in faults:
        print(fault)
    print(f"check-layers: {files} files, {len(faults)} forbidden includes")
    return 1 if faults or files == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
