"""Writes FBX 7.4 documents, ASCII and binary, from one tree of nodes.

The layout follows the description of the binary format that the Blender developers published ("FBX binary file format
specification", 2013) and the ASCII form of the same tree. Only what the example models need is here.
"""

import base64
import struct
import zlib
from dataclasses import dataclass, field

VERSION = 7400


@dataclass
class Long:
    """A 64-bit integer property (object ids, times)."""

    value: int


@dataclass
class Name:
    """An object's name with its class: "Model::Arm" in ASCII, "Arm\\0\\1Model" in binary."""

    name: str
    kind: str


@dataclass
class Array:
    """A typed array property: 'd' doubles, 'f' floats, 'i' 32-bit integers, 'l' 64-bit integers."""

    kind: str
    values: list


@dataclass
class Node:
    """One record: a name, properties (bool, int, float, str, bytes, Long, Name, Array) and nested records."""

    name: str
    properties: list = field(default_factory=list)
    children: list = field(default_factory=list)

    def add(self, name, *properties):
        child = Node(name, list(properties))
        self.children.append(child)
        return child


def number_text(value):
    text = repr(float(value))
    return text[:-2] if text.endswith(".0") else text


# ASCII.


def ascii_property(value):
    if isinstance(value, bool):
        return "1" if value else "0"
    if isinstance(value, int):
        return str(value)
    if isinstance(value, float):
        return number_text(value)
    if isinstance(value, Long):
        return str(value.value)
    if isinstance(value, Name):
        return f'"{value.kind}::{value.name}"'
    if isinstance(value, bytes):
        return '"' + base64.b64encode(value).decode("ascii") + '"'
    return '"' + value.replace('"', "&quot;") + '"'


def ascii_lines(node, depth):
    indent = "\t" * depth
    if len(node.properties) == 1 and isinstance(node.properties[0], Array):
        array = node.properties[0]
        yield f"{indent}{node.name}: *{len(array.values)} {{"
        texts = [number_text(v) if array.kind in "df" else str(v) for v in array.values]
        rows = [",".join(texts[i : i + 24]) for i in range(0, len(texts), 24)]
        yield f"{indent}\ta: " + ",\n".join(rows)
        yield f"{indent}}}"
        return
    head = f"{indent}{node.name}: " + ", ".join(ascii_property(p) for p in node.properties)
    if not node.children and node.properties:
        yield head
        return
    yield head + " {"
    for child in node.children:
        yield from ascii_lines(child, depth + 1)
    yield f"{indent}}}"


def ascii_document(top_level):
    lines = ["; FBX 7.4.0 project file", "; ----------------------------------------------------", ""]
    for node in top_level:
        lines.extend(ascii_lines(node, 0))
        lines.append("")
    return "\n".join(lines).encode("utf-8")


# Binary.


def binary_property(value):
    if isinstance(value, bool):
        return b"C" + struct.pack("<?", value)
    if isinstance(value, int):
        return b"I" + struct.pack("<i", value)
    if isinstance(value, float):
        return b"D" + struct.pack("<d", value)
    if isinstance(value, Long):
        return b"L" + struct.pack("<q", value.value)
    if isinstance(value, Name):
        text = value.name.encode("utf-8") + b"\x00\x01" + value.kind.encode("ascii")
        return b"S" + struct.pack("<I", len(text)) + text
    if isinstance(value, bytes):
        return b"R" + struct.pack("<I", len(value)) + value
    if isinstance(value, Array):
        raw = struct.pack(f"<{len(value.values)}{ {'d': 'd', 'f': 'f', 'i': 'i', 'l': 'q'}[value.kind] }", *value.values)
        packed = zlib.compress(raw, 9)
        if len(packed) < len(raw):
            return value.kind.encode("ascii") + struct.pack("<III", len(value.values), 1, len(packed)) + packed
        return value.kind.encode("ascii") + struct.pack("<III", len(value.values), 0, len(raw)) + raw
    text = value.encode("utf-8")
    return b"S" + struct.pack("<I", len(text)) + text


def binary_record(node, offset):
    name = node.name.encode("ascii")
    properties = b"".join(binary_property(p) for p in node.properties)
    header_size = 13 + len(name)
    body = b""
    position = offset + header_size + len(properties)
    for child in node.children:
        record = binary_record(child, position)
        body += record
        position += len(record)
    if node.children or not node.properties:
        body += b"\x00" * 13
        position += 13
    header = struct.pack("<IIIB", position, len(node.properties), len(properties), len(name)) + name
    return header + properties + body


def binary_document(top_level):
    out = bytearray(b"Kaydara FBX Binary  \x00\x1a\x00" + struct.pack("<I", VERSION))
    for node in top_level:
        out += binary_record(node, len(out))
    out += b"\x00" * 13
    # The footer: a fixed mark, padding to 16 bytes, the version and a fixed end mark.
    out += bytes.fromhex("fabcab09d0c8d466b176fb83 1cf72678".replace(" ", ""))
    out += b"\x00" * 4
    out += b"\x00" * (-len(out) % 16)
    out += struct.pack("<I", VERSION) + b"\x00" * 120
    out += bytes.fromhex("f85a8c6adef5d97eece90ce3758f297b"[:32])
    return bytes(out)
