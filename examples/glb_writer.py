"""Writes glTF 2.0 documents, as GLB containers or as a manifest with a binary file beside it.

After the Khronos Group's "glTF 2.0 Specification". Only what the example models need is here.
"""

import json
import struct

BYTE, UNSIGNED_BYTE, SHORT, UNSIGNED_SHORT, UNSIGNED_INT, FLOAT = 5120, 5121, 5122, 5123, 5125, 5126
POINTS, LINES, LINE_LOOP, LINE_STRIP, TRIANGLES, TRIANGLE_STRIP, TRIANGLE_FAN = range(7)
REPEAT, CLAMP_TO_EDGE, MIRRORED_REPEAT = 10497, 33071, 33648
NEAREST, LINEAR = 9728, 9729

FORMATS = {BYTE: "b", UNSIGNED_BYTE: "B", SHORT: "h", UNSIGNED_SHORT: "H", UNSIGNED_INT: "I", FLOAT: "f"}
FULL_SCALE = {BYTE: 127, UNSIGNED_BYTE: 255, SHORT: 32767, UNSIGNED_SHORT: 65535}
TYPES = {1: "SCALAR", 2: "VEC2", 3: "VEC3", 4: "VEC4", 16: "MAT4"}


def linear(color):
    """Linear light of an sRGB colour of values in 0..1."""
    return tuple(round(c / 12.92 if c <= 0.04045 else ((c + 0.055) / 1.055) ** 2.4, 6) for c in color)


def single(value):
    """The value as a 32-bit float has it, so that the bounds of an accessor are exact."""
    return struct.unpack("<f", struct.pack("<f", value))[0]


class Document:
    """Collects the lists of one glTF document and the bytes of its only buffer."""

    def __init__(self):
        self.lists = {}
        self.binary = bytearray()
        self.extensions = set()
        self.required = set()
        self.top = []
        self.members = {}

    def add(self, list_name, record):
        records = self.lists.setdefault(list_name, [])
        records.append(record)
        return len(records) - 1

    def use(self, extension, is_required=False):
        self.extensions.add(extension)
        if is_required:
            self.required.add(extension)
        return extension

    # Bytes.

    def view(self, data, target=None, stride=None):
        self.binary += b"\x00" * (-len(self.binary) % 4)
        record = {"buffer": 0, "byteOffset": len(self.binary), "byteLength": len(data)}
        if stride is not None:
            record["byteStride"] = stride
        if target is not None:
            record["target"] = target
        self.binary += data
        return self.add("bufferViews", record)

    def accessor(self, values, component=FLOAT, normalized=False, bounds=False, target=34962):
        """`values` are tuples of equal length, or numbers; normalised ones are given in 0..1 or -1..1."""
        rows = [v if isinstance(v, tuple) else (v,) for v in values]
        if normalized:
            rows = [tuple(round(c * FULL_SCALE[component]) for c in row) for row in rows]
        elif component == FLOAT:
            rows = [tuple(single(c) for c in row) for row in rows]
        size = len(rows[0])
        packed = [struct.pack(f"<{size}{FORMATS[component]}", *row) for row in rows]
        stride = len(packed[0])
        # Elements of vertex data begin at multiples of four bytes.
        padded = stride + (-stride % 4) if target == 34962 else stride
        data = b"".join(row + b"\x00" * (padded - stride) for row in packed)
        record = {"bufferView": self.view(data, target, padded if padded != stride else None), "componentType": component,
                  "count": len(rows), "type": TYPES[size]}
        if normalized:
            record["normalized"] = True
        if bounds:
            record["min"] = [min(column) for column in zip(*rows)]
            record["max"] = [max(column) for column in zip(*rows)]
        return self.add("accessors", record)

    def indices(self, values):
        component = UNSIGNED_SHORT if max(values) < 65535 else UNSIGNED_INT
        return self.accessor(values, component, target=34963)

    # Textures and materials.

    def image(self, data=None, uri=None):
        if uri is not None:
            return self.add("images", {"uri": uri})
        return self.add("images", {"bufferView": self.view(data), "mimeType": "image/png"})

    def texture(self, image, wrap_s=REPEAT, wrap_t=REPEAT, **filters):
        """`filters` are `magFilter` and `minFilter`."""
        sampler = self.add("samplers", {"wrapS": wrap_s, "wrapT": wrap_t, **filters})
        return self.add("textures", {"source": image, "sampler": sampler})

    def pbr(self, name, color=(1, 1, 1, 1), metallic=0.0, roughness=0.6, **more):
        """A material; `color` is linear. `texture` and `data` are texture infos of colour and of roughness with metalness."""
        values = {"baseColorFactor": list(color), "metallicFactor": metallic, "roughnessFactor": roughness}
        if "texture" in more:
            values["baseColorTexture"] = more.pop("texture")
        if "data" in more:
            values["metallicRoughnessTexture"] = more.pop("data")
        record = {"name": name, "pbrMetallicRoughness": values, **more}
        for extension in record.get("extensions", {}):
            self.use(extension)
        return self.add("materials", record)

    # Meshes and nodes.

    def primitive(self, mesh, material=None, slot=None, texcoords=True, colors=None, extra=None):
        """A primitive of the polygons of `mesh` in `slot`, each corner as (position, normal, uv), shared where they agree.

        `colors` maps a position to four values; `extra` maps attribute names to (function of the corner, component type).
        """
        corners, seen, indices = [], {}, []
        for number, polygon in mesh.polygons:
            if slot is not None and number != slot:
                continue
            places = []
            for p, n, uv in polygon:
                key = (tuple(round(c, 5) + 0.0 for c in p), tuple(round(c, 4) + 0.0 for c in n),
                       tuple(round(c, 5) + 0.0 for c in uv) if texcoords else ())
                if key not in seen:
                    seen[key] = len(corners)
                    corners.append(key)
                places.append(seen[key])
            for k in range(1, len(places) - 1):
                indices += [places[0], places[k], places[k + 1]]
        attributes = {"POSITION": self.accessor([p for p, _, _ in corners], bounds=True)}
        self.use("KHR_mesh_quantization", is_required=True)
        attributes["NORMAL"] = self.accessor([n for _, n, _ in corners], BYTE, normalized=True)
        if texcoords:
            # The images' origin is at their top left here, and at the bottom left in the shapes.
            attributes["TEXCOORD_0"] = self.accessor([(u, 1 - v) for _, _, (u, v) in corners])
        if colors is not None:
            attributes["COLOR_0"] = self.accessor([colors(p) for p, _, _ in corners], UNSIGNED_BYTE, normalized=True)
        for name, (value, component, normalized) in (extra or {}).items():
            attributes[name] = self.accessor([value(p) for p, _, _ in corners], component, normalized)
        record = {"attributes": attributes, "indices": self.indices(indices)}
        if material is not None:
            record["material"] = material
        return record, [p for p, _, _ in corners]

    def mesh(self, name, primitives, **more):
        return self.add("meshes", {"name": name, "primitives": primitives, **more})

    def node(self, name, parent=None, translation=None, rotation=None, scale=None, **more):
        """A node; `rotation` is a quaternion, `parent` the index of a node."""
        record = {"name": name}
        for key, value in (("translation", translation), ("rotation", rotation), ("scale", scale)):
            if value is not None:
                record[key] = [float(c) for c in value]
        record.update(more)
        index = self.add("nodes", record)
        if parent is None:
            self.top.append(index)
        else:
            self.lists["nodes"][parent].setdefault("children", []).append(index)
        return index

    def animation(self, name, node, path, keys):
        """`keys`: (seconds, tuple); one channel with linear interpolation."""
        times = self.accessor([t for t, _ in keys], bounds=True, target=None)
        values = self.accessor([v for _, v in keys], target=None)
        channel = {"sampler": 0, "target": {"node": node, "path": path}}
        return self.add("animations", {"name": name, "channels": [channel], "samplers": [{"input": times, "output": values}]})

    # Files.

    def manifest(self, uri=None):
        buffer = {"byteLength": len(self.binary)}
        if uri is not None:
            buffer["uri"] = uri
        manifest = {"asset": {"version": "2.0", "generator": "examples/generate.py"}}
        if self.extensions:
            manifest["extensionsUsed"] = sorted(self.extensions)
        if self.required:
            manifest["extensionsRequired"] = sorted(self.required)
        manifest.update(self.members)
        manifest.update({"scene": 0, "scenes": [{"nodes": self.top}], **self.lists, "buffers": [buffer]})
        return manifest

    def glb(self):
        self.binary += b"\x00" * (-len(self.binary) % 4)
        text = json.dumps(self.manifest(), separators=(",", ":")).encode("ascii")
        text += b" " * (-len(text) % 4)
        size = 12 + 8 + len(text) + 8 + len(self.binary)
        return (struct.pack("<III", 0x46546C67, 2, size) + struct.pack("<II", len(text), 0x4E4F534A) + text
                + struct.pack("<II", len(self.binary), 0x004E4942) + bytes(self.binary))

    def gltf(self, binary_name):
        """The manifest and the binary file that it names."""
        self.binary += b"\x00" * (-len(self.binary) % 4)
        return json.dumps(self.manifest(binary_name), indent=2).encode("ascii") + b"\n", bytes(self.binary)
