#!/usr/bin/env python3
"""Makes the example models of this folder: `examples/generate.py` rewrites them all in place.

Nothing here is random, so a second run gives the same bytes. Lengths are centimetres, y is up.
"""

import math
import os
import struct
import sys
import zlib

import gltf_models
from fbx_writer import Array, Long, Name, Node, ascii_document, binary_document
from shapes import Mesh, box, cylinder, helix, lathe, sphere

FOLDER = os.path.dirname(os.path.abspath(__file__))
TICKS_PER_SECOND = 46186158000


# Textures.


def png(width, height, pixel):
    """An 8-bit PNG; `pixel(x, y)` gives three 0..255 values, or four with an alpha."""
    kind = 6 if len(pixel(0, 0)) == 4 else 2
    rows = b"".join(b"\x00" + bytes(c for x in range(width) for c in pixel(x, y)) for y in range(height))

    def chunk(name, data):
        return struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))

    header = struct.pack(">IIBBBBB", width, height, 8, kind, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b"")


def hash01(*values):
    """A repeatable value in 0..1 from whole numbers."""
    h = 2166136261
    for v in values:
        h = ((h ^ (v & 0xFFFFFFFF)) * 16777619) & 0xFFFFFFFF
        h ^= h >> 15
    return (h & 0xFFFFFF) / 0xFFFFFF


def noise(x, y, seed):
    """Smooth value noise."""
    xi, yi = math.floor(x), math.floor(y)
    fx, fy = x - xi, y - yi
    fx, fy = fx * fx * (3 - 2 * fx), fy * fy * (3 - 2 * fy)
    a, b = hash01(xi, yi, seed), hash01(xi + 1, yi, seed)
    c, d = hash01(xi, yi + 1, seed), hash01(xi + 1, yi + 1, seed)
    return (a * (1 - fx) + b * fx) * (1 - fy) + (c * (1 - fx) + d * fx) * fy


def oak(size):
    """Five planks with grain, running along x."""

    def pixel(x, y):
        plank = y * 5 // size
        inside = (y * 5 / size) % 1.0
        shift = hash01(plank, 7) * 90
        grain = noise((x + shift) / 38, y / 2.6 + plank * 17, 3) * 0.6 + noise((x + shift) / 90, y / 1.1, 5) * 0.4
        ring = 0.5 + 0.5 * math.sin((y / 5.5 + 4.0 * noise((x + shift) / 60, plank + 0.5, 9)) * 2.2)
        tone = 0.74 + 0.10 * hash01(plank, 11) + 0.14 * (grain - 0.5) + 0.06 * (ring - 0.5)
        if inside < 0.03 or inside > 0.97:
            tone *= 0.72
        return tuple(max(0, min(255, round(c * tone))) for c in (228, 176, 118))

    return png(size, size, pixel)


def crate(size):
    """A wooden crate's side: a frame, boards and a diagonal."""

    def pixel(x, y):
        u, v = (x + 0.5) / size, (y + 0.5) / size
        edge = min(u, v, 1 - u, 1 - v)
        grain = noise(x / 3.0, y / 22.0, 21) if edge >= 0.12 else noise(x / 14.0, y / 14.0, 23)
        tone = 0.80 + 0.22 * (grain - 0.5)
        if edge < 0.12:
            base = (196, 140, 78)
            if edge > 0.105:
                tone *= 0.55
        elif abs(u - v) < 0.075:
            base = (204, 150, 86)
            if abs(u - v) > 0.062:
                tone *= 0.55
        else:
            base = (164, 110, 60)
            if (u * 6) % 1.0 < 0.07:
                tone *= 0.5
        for cx in (0.06, 0.94):
            for cy in (0.06, 0.94):
                if math.hypot(u - cx, v - cy) < 0.022:
                    base, tone = (90, 92, 96), 1.0
        return tuple(max(0, min(255, round(c * tone))) for c in base)

    return png(size, size, pixel)


def checker(size, cells):
    def pixel(x, y):
        dark = (x * cells // size + y * cells // size) % 2
        return (52, 78, 128) if dark else (236, 232, 220)

    return png(size, size, pixel)


def leaf(size):
    """A leaf with holes on a transparent ground, soft at its edge."""

    def pixel(x, y):
        u, v = (x + 0.5) / size * 2 - 1, (y + 0.5) / size * 2 - 1
        inside = 0.78 * math.sqrt(max(0.0, 1 - v * v)) * (1 - 0.35 * v) - abs(u)
        for hole_u, hole_v, radius in ((0.25, 0.3, 0.14), (-0.3, -0.1, 0.11), (0.2, -0.45, 0.08)):
            inside = min(inside, math.hypot(u - hole_u, v - hole_v) - radius)
        alpha = max(0.0, min(1.0, inside / 0.16))
        vein = min(abs(u), abs((u * 1.3 + v * 4 + (0.5 if u > 0 else 0)) % 1.0 - 0.5) + abs(u) * 0.1) < 0.06
        tone = 0.75 + 0.25 * noise(x / 9.0, y / 9.0, 31)
        base = (176, 206, 96) if vein else (70, 140, 52)
        return tuple(round(c * tone) for c in base) + (round(255 * alpha),)

    return png(size, size, pixel)


def stud_slope(u, v):
    """The slopes along u and v of a round stud in the middle of a tile, and whether the place is on it."""
    du, dv = u - 0.5, v - 0.5
    radius = math.hypot(du, dv)
    if radius >= 0.36 or radius < 1e-9:
        return 0.0, 0.0, radius < 0.36
    steep = -1.1 * math.sin(math.pi * min(radius / 0.36, 1.0))
    return steep * du / radius, steep * dv / radius, True


def stud_normals(size):
    """A map of normals, green upwards in the image."""

    def pixel(x, y):
        along, down, _ = stud_slope((x + 0.5) / size, (y + 0.5) / size)
        length = math.sqrt(along * along + down * down + 1)
        return tuple(round(127.5 + 127.5 * c / length) for c in (-along, down, 1.0))

    return png(size, size, pixel)


def stud_surface(size):
    """Occlusion in red, roughness in green, metalness in blue: shiny metal studs on a dull ground."""

    def pixel(x, y):
        u, v = (x + 0.5) / size, (y + 0.5) / size
        on_stud = stud_slope(u, v)[2]
        edge = abs(math.hypot(u - 0.5, v - 0.5) - 0.38)
        return (round(255 * min(1.0, 0.35 + edge * 9)), 80 if on_stud else 215, 255 if on_stud else 0)

    return png(size, size, pixel)


def marks(size):
    """A picture without any symmetry: an arrow to the top, a red corner at the top left, a blue one at the right."""

    def pixel(x, y):
        u, v = (x + 0.5) / size, (y + 0.5) / size
        if min(u, v, 1 - u, 1 - v) < 0.05:
            return (60, 60, 60)
        if u < 0.3 and v < 0.3:
            return (205, 60, 45)
        if u > 0.75 and v < 0.25:
            return (50, 80, 190)
        head = 0.18 < v < 0.5 and abs(u - 0.5) < (v - 0.18) * 0.75
        if head or (0.5 <= v < 0.85 and abs(u - 0.5) < 0.08):
            return (35, 120, 70)
        return (228, 222, 205)

    return png(size, size, pixel)


# FBX scenes.


class Scene:
    """Collects objects and connections and writes them as one FBX document."""

    def __init__(self):
        self.objects = []
        self.connections = []
        self.next_id = 1000000
        self.counts = {}

    def new_id(self):
        self.next_id += 1
        return Long(self.next_id)

    def object(self, record, name, kind, subtype):
        identifier = self.new_id()
        node = Node(record, [identifier, Name(name, kind), subtype])
        self.objects.append(node)
        self.counts[record] = self.counts.get(record, 0) + 1
        return identifier, node

    def connect(self, child, parent, prop=None):
        if prop is None:
            self.connections.append(Node("C", ["OO", child, parent]))
        else:
            self.connections.append(Node("C", ["OP", child, parent, prop]))

    def model(self, name, parent=None, subtype="Null", translation=None, rotation=None, scaling=None, visible=True):
        """A node; translation in units, rotation in degrees (x, then y, then z), `parent` an id or None for the root."""
        identifier, node = self.object("Model", name, "Model", subtype)
        node.add("Version", 232)
        p = node.add("Properties70")
        for key, kind, value in (("Lcl Translation", "Lcl Translation", translation), ("Lcl Rotation", "Lcl Rotation", rotation),
                                 ("Lcl Scaling", "Lcl Scaling", scaling)):
            if value is not None:
                p.add("P", key, kind, "", "A", *(float(c) for c in value))
        if not visible:
            p.add("P", "Visibility", "Visibility", "", "A", 0.0)
        node.add("Shading", True)
        node.add("Culling", "CullingOff")
        self.connect(identifier, parent if parent is not None else Long(0))
        return identifier

    def material(self, name, diffuse, specular=(0.2, 0.2, 0.2), shininess=20.0, emissive=None):
        identifier, node = self.object("Material", name, "Material", "")
        node.add("Version", 102)
        node.add("ShadingModel", "phong")
        node.add("MultiLayer", 0)
        p = node.add("Properties70")
        p.add("P", "DiffuseColor", "Color", "", "A", *diffuse)
        p.add("P", "SpecularColor", "Color", "", "A", *specular)
        p.add("P", "Shininess", "double", "Number", "", shininess)
        p.add("P", "ShininessExponent", "double", "Number", "", shininess)
        p.add("P", "TransparencyFactor", "double", "Number", "", 1.0)
        p.add("P", "TransparentColor", "Color", "", "A", 0.0, 0.0, 0.0)
        if emissive is not None:
            p.add("P", "EmissiveColor", "Color", "", "A", *emissive)
            p.add("P", "EmissiveFactor", "double", "Number", "", 1.0)
        return identifier

    def texture(self, name, material, file_name, relative, content=None, prop="DiffuseColor"):
        video, node = self.object("Video", name, "Video", "Clip")
        node.add("Type", "Clip")
        node.add("FileName", file_name)
        node.add("RelativeFilename", relative)
        if content is not None:
            node.add("Content", content)
        identifier, node = self.object("Texture", name, "Texture", "")
        node.add("Type", "TextureVideoClip")
        node.add("Version", 202)
        node.add("TextureName", Name(name, "Texture"))
        node.add("Media", Name(name, "Video"))
        node.add("FileName", file_name)
        node.add("RelativeFilename", relative)
        self.connect(video, identifier)
        self.connect(identifier, material, prop)

    def geometry(self, name, model, mesh, materials=(), colors=None):
        """`colors`, where given, maps a corner's position to four values."""
        identifier, node = self.object("Geometry", name, "Geometry", "Mesh")
        positions, position_index = unique([p for _, corners in mesh.polygons for p, _, _ in corners], 5)
        normals, normal_index = unique([n for _, corners in mesh.polygons for _, n, _ in corners], 5)
        uvs, uv_index = unique([uv for _, corners in mesh.polygons for _, _, uv in corners], 6)
        polygon_vertices, corner = [], 0
        for _, corners in mesh.polygons:
            indices = position_index[corner : corner + len(corners)]
            indices[-1] = -indices[-1] - 1
            polygon_vertices.extend(indices)
            corner += len(corners)
        node.add("GeometryVersion", 124)
        node.add("Vertices", Array("d", [c for p in positions for c in p]))
        node.add("PolygonVertexIndex", Array("i", polygon_vertices))
        layers = [("LayerElementNormal", "Normals", "NormalsIndex", normals, normal_index, 101),
                  ("LayerElementUV", "UV", "UVIndex", uvs, uv_index, 101)]
        if colors is not None:
            values, index = unique([colors(p) for _, corners in mesh.polygons for p, _, _ in corners], 5)
            layers.append(("LayerElementColor", "Colors", "ColorIndex", values, index, 101))
        for record, key, index_key, values, index, version in layers:
            layer = node.add(record, 0)
            layer.add("Version", version)
            layer.add("Name", "")
            layer.add("MappingInformationType", "ByPolygonVertex")
            layer.add("ReferenceInformationType", "IndexToDirect")
            layer.add(key, Array("d", [c for v in values for c in v]))
            layer.add(index_key, Array("i", index))
        layer = node.add("LayerElementMaterial", 0)
        layer.add("Version", 101)
        layer.add("Name", "")
        layer.add("MappingInformationType", "ByPolygon")
        layer.add("ReferenceInformationType", "IndexToDirect")
        layer.add("Materials", Array("i", [slot for slot, _ in mesh.polygons]))
        layer = node.add("Layer", 0)
        layer.add("Version", 100)
        kinds = [record for record, *_ in layers] + ["LayerElementMaterial"]
        for kind in kinds:
            element = layer.add("LayerElement")
            element.add("Type", kind)
            element.add("TypedIndex", 0)
        self.connect(identifier, model)
        for material in materials:
            self.connect(material, model)
        return identifier, positions

    def attribute(self, name, kind, model, properties=()):
        identifier, node = self.object("NodeAttribute", name, "NodeAttribute", kind)
        p = node.add("Properties70")
        for row in properties:
            p.add("P", *row)
        node.add("TypeFlags", kind)
        self.connect(identifier, model)

    def skin(self, name, geometry, clusters):
        """`clusters`: (bone model, [(vertex, weight)], bind matrix of the bone as 16 numbers, translation last)."""
        skin, node = self.object("Deformer", name, "Deformer", "Skin")
        node.add("Version", 101)
        node.add("Link_DeformAcuracy", 50.0)
        self.connect(skin, geometry)
        for bone, weights, bind in clusters:
            cluster, node = self.object("Deformer", name, "SubDeformer", "Cluster")
            node.add("Version", 100)
            node.add("UserData", "", "")
            node.add("Indexes", Array("i", [v for v, _ in weights]))
            node.add("Weights", Array("d", [w for _, w in weights]))
            node.add("Transform", Array("d", inverse_translation(bind)))
            node.add("TransformLink", Array("d", bind))
            self.connect(cluster, skin)
            self.connect(bone, cluster)

    def animation(self, name, model, prop, kind, keys):
        """`keys`: (seconds, (x, y, z)); one stack, one layer, one curve an axis with linear interpolation."""
        stack, node = self.object("AnimationStack", name, "AnimStack", "")
        p = node.add("Properties70")
        # Readers take a start and a stop together or not at all.
        for edge, seconds in (("Start", keys[0][0]), ("Stop", keys[-1][0])):
            for span in ("Local", "Reference"):
                p.add("P", span + edge, "KTime", "Time", "", Long(round(seconds * TICKS_PER_SECOND)))
        layer, _ = self.object("AnimationLayer", "Base", "AnimLayer", "")
        self.connect(layer, stack)
        curve_node, node = self.object("AnimationCurveNode", kind, "AnimCurveNode", "")
        p = node.add("Properties70")
        for axis, value in zip("XYZ", keys[0][1]):
            p.add("P", f"d|{axis}", "Number", "", "A", float(value))
        self.connect(curve_node, layer)
        self.connect(curve_node, model, prop)
        for index, axis in enumerate("XYZ"):
            curve, node = self.object("AnimationCurve", "", "AnimCurve", "")
            node.add("Default", float(keys[0][1][index]))
            node.add("KeyVer", 4008)
            node.add("KeyTime", Array("l", [round(t * TICKS_PER_SECOND) for t, _ in keys]))
            node.add("KeyValueFloat", Array("f", [float(v[index]) for _, v in keys]))
            node.add("KeyAttrFlags", Array("i", [0x4]))
            node.add("KeyAttrDataFloat", Array("f", [0.0, 0.0, 0.0, 0.0]))
            node.add("KeyAttrRefCount", Array("i", [len(keys)]))
            self.connect(curve, curve_node, f"d|{axis}")

    def document(self):
        header = Node("FBXHeaderExtension")
        header.add("FBXHeaderVersion", 1003)
        header.add("FBXVersion", 7400)
        header.add("Creator", "examples/generate.py")
        settings = Node("GlobalSettings")
        settings.add("Version", 1000)
        p = settings.add("Properties70")
        for key, value in (("UpAxis", 1), ("UpAxisSign", 1), ("FrontAxis", 2), ("FrontAxisSign", 1), ("CoordAxis", 0), ("CoordAxisSign", 1)):
            p.add("P", key, "int", "Integer", "", value)
        p.add("P", "UnitScaleFactor", "double", "Number", "", 1.0)
        p.add("P", "TimeMode", "enum", "", "", 11)
        definitions = Node("Definitions")
        definitions.add("Version", 100)
        definitions.add("Count", sum(self.counts.values()))
        for kind in sorted(self.counts):
            definitions.add("ObjectType", kind).add("Count", self.counts[kind])
        return [header, settings, definitions, Node("Objects", [], self.objects), Node("Connections", [], self.connections)]


def unique(values, digits):
    """The distinct values in order of first use, rounded, and each value's index."""
    seen, out, index = {}, [], []
    for value in values:
        key = tuple(round(float(c), digits) + 0.0 for c in value)
        if key not in seen:
            seen[key] = len(out)
            out.append(key)
        index.append(seen[key])
    return out, index


def inverse_translation(matrix):
    """The inverse of a matrix that only translates."""
    result = list(matrix)
    for k in (12, 13, 14):
        result[k] = 0.0 - matrix[k]
    return result


def translation_matrix(x, y, z):
    return [1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0, float(x), float(y), float(z), 1.0]


# The models.


def desk_lamp(s, embedded_oak=None):
    """A rigid hierarchy: desk > base > lower arm > upper arm > head > bulb, with a camera, a light and a hidden spare bulb.

    `s` takes it, an FBX or a glTF scene.
    """
    oak_material = s.material("Oak", (0.8, 0.8, 0.8), (0.08, 0.08, 0.08), 12.0)
    s.texture("Oak Planks", oak_material, "C:\\models\\lamp\\textures\\oak.png", "textures\\oak.png", embedded_oak)
    lacquer = s.material("Red Lacquer", (0.62, 0.045, 0.03), (0.5, 0.5, 0.5), 60.0)
    steel = s.material("Brushed Steel", (0.50, 0.52, 0.55), (0.6, 0.6, 0.6), 40.0)
    rubber = s.material("Rubber", (0.03, 0.03, 0.035), (0.05, 0.05, 0.05), 6.0)
    enamel = s.material("White Enamel", (0.86, 0.84, 0.78), (0.3, 0.3, 0.3), 30.0)
    glow = s.material("Bulb Glass", (0.9, 0.85, 0.7), (0.2, 0.2, 0.2), 30.0, emissive=(1.0, 0.80, 0.45))

    desk = s.model("Desk", None, "Mesh", (0, -2, 0))
    s.geometry("Desk", desk, box(62, 2, 36, bevel=0.3), [oak_material])

    base = s.model("Base", desk, "Mesh", (-12, 2, 0))
    body = lathe([(0, 0.4), (8.6, 0.4), (9.4, 0.9), (9.6, 1.6), (9.2, 2.3), (8.0, 2.8), (2.6, 3.6), (1.9, 4.2), (1.6, 5.2), (0, 5.2)], 48, 0)
    body.extend(lathe([(0, 0), (8.8, 0), (8.8, 0.45), (0, 0.45)], 48, 1))
    body.extend(cylinder(1.5, 3.6, 24, 2, bevel=0.2).moved((0, 6.0, -1.8), rotate_x=90))
    s.geometry("Base", base, body, [lacquer, rubber, steel])

    def arm(length, spring):
        mesh = Mesh()
        for z in (-1.15, 1.15):
            mesh.extend(cylinder(0.42, length, 16, 0).moved((0, 0, z)))
        mesh.extend(cylinder(1.15, 3.2, 24, 1, bevel=0.15).moved((0, length, -1.6), rotate_x=90))
        mesh.extend(helix(0.55, 0.13, spring, 14, material=0).moved((0.0, 2.0, 0)))
        mesh.extend(cylinder(0.28, length - 2.0, 12, 0).moved((0, 1.0, 0)))
        return mesh

    lower = s.model("Lower Arm", base, "Mesh", (0, 6.0, 0), (0, 0, 24))
    s.geometry("Lower Arm", lower, arm(21, 9), [steel, lacquer])
    upper = s.model("Upper Arm", lower, "Mesh", (0, 21, 0), (0, 0, -84))
    s.geometry("Upper Arm", upper, arm(20, 8), [steel, lacquer])

    head = s.model("Head", upper, "Mesh", (0, 20, 0), (0, 0, -92))
    outer = [(0, -2.6), (1.7, -2.6), (2.1, -2.2), (2.2, 0.6), (2.7, 1.6), (4.3, 3.6), (6.4, 7.4), (7.2, 10.2)]
    inner = [(7.2, 10.2), (6.95, 10.2)]
    shade = lathe(outer, 40, 0).extend(lathe(inner, 40, 0))
    shade.extend(lathe([(6.95, 10.2), (6.15, 7.4), (4.05, 3.8), (2.2, 2.0), (0, 2.0)], 40, 1))
    shade.extend(cylinder(0.8, 2.6, 20, 2, bevel=0.1).moved((0, 0.0, -1.3), rotate_x=90))
    s.geometry("Head", head, shade, [lacquer, enamel, steel])

    bulb = s.model("Bulb", head, "Mesh", (0, 5.4, 0))
    glass = lathe([(0, -3.4), (1.15, -3.4), (1.15, -2.2), (1.5, -1.6), (2.1, -0.6), (2.3, 0.5), (2.0, 1.6), (1.3, 2.35), (0.6, 2.65), (0, 2.7)], 28, 0, crease_degrees=60)
    s.geometry("Bulb", bulb, glass, [glow])

    spare = s.model("Spare Bulb", desk, "Mesh", (20, 4.2, 9), (0, 0, 80), visible=False)
    s.geometry("Spare Bulb", spare, glass, [glow])

    camera = s.model("Camera", None, "Camera", (0, 40, 120), (0, 90, 0))
    s.attribute("Camera", "Camera", camera, [("FieldOfView", "FieldOfView", "", "A", 40.0)])
    light = s.model("Ceiling Light", None, "Light", (0, 140, 40))
    s.attribute("Ceiling Light", "Light", light, [("Color", "Color", "", "A", 1.0, 1.0, 1.0), ("Intensity", "Number", "", "A", 100.0)])
    return s


def textured_box():
    """One box with a texture of a file beside it, named by its author's absolute path as real exporters do."""
    s = Scene()
    material = s.material("Crate", (0.8, 0.8, 0.8), (0.1, 0.1, 0.1), 10.0)
    s.texture("Crate Side", material, "D:\\work\\crate\\textures\\crate.png", "textures\\crate.png")
    model = s.model("Crate", None, "Mesh", None, (0, 30, 0))
    s.geometry("Crate", model, box(40, 40, 40), [material])
    return s


def embedded_texture():
    """A vase whose texture travels inside the file."""
    s = Scene()
    material = s.material("Glaze", (0.8, 0.8, 0.8), (0.5, 0.5, 0.5), 50.0)
    s.texture("Checks", material, "checks.png", "checks.png", checker(64, 8))
    model = s.model("Vase", None, "Mesh")
    profile = [(0, 0), (5, 0), (6.2, 0.8), (8.6, 6), (9.2, 10), (8.2, 15), (5.2, 20), (3.9, 24), (4.4, 27), (5.4, 28.4), (5.0, 28.6), (4.0, 27), (3.5, 24), (4.7, 20), (7.6, 15), (8.6, 10), (8.0, 6), (5.6, 1.4), (0, 1.2)]
    s.geometry("Vase", model, lathe(profile, 40), [material])
    return s


def mirrored():
    """Two halves of one shape: the right one is the left one's mesh under a node that scales x by -1."""
    s = Scene()
    left_material = s.material("Ochre", (0.75, 0.45, 0.08), (0.3, 0.3, 0.3), 30.0)
    right_material = s.material("Teal", (0.05, 0.42, 0.45), (0.3, 0.3, 0.3), 30.0)
    shape = box(8, 24, 8, bevel=0.8)
    shape.extend(cylinder(3.2, 14, 32, bevel=0.4).moved((0, 18, 0), rotate_z=-60))
    shape.extend(sphere(3.4).moved((14, 26.5, 0)))
    left = s.model("Left", None, "Mesh", (2.5, 0, 0))
    s.geometry("Left", left, shape, [left_material])
    mirror = s.model("Mirror", None, "Null", None, None, (-1, 1, 1))
    right = s.model("Right", mirror, "Mesh", (2.5, 0, 0))
    s.geometry("Right", right, shape, [right_material])
    return s


def sheared():
    """Rotations under a node that scales its axes differently: the boxes come out sheared."""
    s = Scene()
    colors = [(0.70, 0.16, 0.12), (0.80, 0.52, 0.10), (0.22, 0.50, 0.20), (0.13, 0.33, 0.62)]
    stretch = s.model("Stretch", None, "Null", None, None, (1.8, 1.1, 1))
    parent, height = stretch, 0
    for k, color in enumerate(colors):
        material = s.material(f"Colour {k + 1}", color, (0.2, 0.2, 0.2), 25.0)
        model = s.model(f"Block {k + 1}", parent, "Mesh", (0, height, 0), (0, 0, 11))
        s.geometry(f"Block {k + 1}", model, box(12 - 2 * k, 9, 12 - 2 * k, bevel=0.4), [material])
        parent, height = model, 9
    return s


def vertex_colors():
    """A ball without a material: its vertex colours are all that it has."""
    s = Scene()
    model = s.model("Ball", None, "Mesh")

    def color(position):
        x, y, z = (c / 10.0 for c in position)
        return (0.5 + 0.5 * x, 0.5 + 0.5 * y, 0.5 + 0.5 * z, 1.0)

    s.geometry("Ball", model, sphere(10, 24, 40), [], color)
    return s


def skinned():
    """A tube on three bones, of which the upper two are bent away from the bind pose."""
    s = Scene()
    material = s.material("Rubber Tube", (0.12, 0.45, 0.40), (0.3, 0.3, 0.3), 30.0)
    height, radius, rings = 36, 3.0, 36
    profile = [(0, 0)] + [(radius, height * k / rings) for k in range(rings + 1)] + [(0, height)]
    model = s.model("Tube", None, "Mesh")
    geometry, positions = s.geometry("Tube", model, lathe(profile, 28), [material])
    bones, parent = [], None
    for k in range(3):
        bone = s.model(f"Bone {k + 1}", parent, "LimbNode", (0, 12 if k else 0, 0), (0, 0, 0 if k == 0 else -38))
        s.attribute(f"Bone {k + 1}", "LimbNode", bone)
        bones.append(bone)
        parent = bone
    clusters = []
    for k, bone in enumerate(bones):
        weights = []
        for index, (_, y, _) in enumerate(positions):
            weight = max(0.0, 1.0 - abs(y - (12 * k + 6)) / 12.0)
            if (k == 0 and y < 6) or (k == 2 and y > 30):
                weight = 1.0
            if weight > 0.0:
                weights.append((index, round(weight, 6)))
        clusters.append((bone, weights, translation_matrix(0, 12 * k, 0)))
    s.skin("Tube Skin", geometry, clusters)
    return s


def animated():
    """A fan whose rotor turns once in two seconds."""
    s = Scene()
    body = s.material("Body", (0.80, 0.78, 0.72), (0.3, 0.3, 0.3), 30.0)
    blade = s.material("Blades", (0.10, 0.30, 0.52), (0.3, 0.3, 0.3), 30.0)
    stand = s.model("Stand", None, "Mesh")
    mesh = lathe([(0, 0), (8, 0), (8.4, 0.6), (8, 1.4), (1.6, 2.6), (1.2, 4), (1.2, 20), (0, 20)], 36)
    mesh.extend(cylinder(2.6, 6, 28, bevel=0.5).moved((0, 22, -3.2), rotate_x=90))
    s.geometry("Stand", stand, mesh, [body])
    rotor = s.model("Rotor", None, "Mesh", (0, 22, 3.6))
    mesh = sphere(1.8, 12, 20, 1)
    for k in range(3):
        mesh.extend(box(4.2, 8.5, 0.35, bevel=0.1).moved((0, 1.2, 0)).moved((0, 0, 0), rotate_z=120 * k))
    s.geometry("Rotor", rotor, mesh, [blade, body])
    s.animation("Spin", rotor, "Lcl Rotation", "R", [(0.0, (0, 0, 0)), (1.0, (0, 0, 180)), (2.0, (0, 0, 360))])
    return s


# Plain meshes.


def obj_document(name, parts, library):
    """`parts`: (object name, group name, mesh, material name by slot). Corners refer to positions, coordinates and normals."""
    lines, counts = [f"# {name}", f"mtllib {library}"], [0, 0, 0]
    for object_name, group, mesh, materials in parts:
        lines += [f"o {object_name}", f"g {group}"]
        corners = [corner for _, polygon in mesh.polygons for corner in polygon]
        columns = [unique([corner[k] for corner in corners], 5) for k in range(3)]
        for key, (values, _) in zip(("v", "vn", "vt"), columns):
            lines += [key + " " + " ".join(f"{c:.10g}" for c in value) for value in values]
        place, slot = 0, None
        for material, polygon in mesh.polygons:
            if material != slot:
                lines.append(f"usemtl {materials[material]}")
                slot = material
            face = []
            for k in range(place, place + len(polygon)):
                p, n, t = (columns[c][1][k] + counts[c] + 1 for c in range(3))
                face.append(f"{p}/{t}/{n}")
            lines.append("f " + " ".join(face))
            place += len(polygon)
        counts = [count + len(column[0]) for count, column in zip(counts, columns)]
    return ("\n".join(lines) + "\n").encode("ascii")


def mtl_document(materials):
    """`materials`: (name, diffuse colour, specular exponent, file of the colour's texture or None)."""
    lines = []
    for name, color, exponent, texture in materials:
        lines += [f"newmtl {name}", "Kd " + " ".join(f"{c:g}" for c in color), "Ks 0.2 0.2 0.2", f"Ns {exponent:g}", "illum 2"]
        if texture:
            lines.append(f"map_Kd {texture}")
        lines.append("")
    return "\n".join(lines).encode("ascii")


def toy_chest():
    """A crate with a ball on it: two objects, three materials."""
    ball = sphere(11, 12, 24).moved((0, 50, 0))
    stripes = Mesh([(1 if abs(corners[0][0][1] - 50) < 3 else 0, corners) for _, corners in ball.polygons])
    return [("Crate", "Body", box(40, 40, 40), ["Planks"]), ("Ball", "Toy", stripes, ["Red", "Ivory"])]


def triangles(mesh):
    for _, corners in mesh.polygons:
        for k in range(1, len(corners) - 1):
            yield corners[0], corners[k], corners[k + 1]


def binary_stl(mesh):
    """Facet normals are left for the reader to compute, as many exporters leave them."""
    facets = list(triangles(mesh))
    data = b"Made by examples/generate.py".ljust(80) + struct.pack("<I", len(facets))
    for facet in facets:
        data += struct.pack("<3f", 0, 0, 0) + b"".join(struct.pack("<3f", *p) for p, _, _ in facet) + b"\0\0"
    return data


def ascii_ply(mesh, color):
    positions, index = unique([p for _, corners in mesh.polygons for p, _, _ in corners], 4)
    lines = ["ply", "format ascii 1.0", "comment made by examples/generate.py", f"element vertex {len(positions)}"]
    lines += [f"property float {axis}" for axis in "xyz"] + [f"property uchar {c}" for c in ("red", "green", "blue")]
    lines += [f"element face {len(mesh.polygons)}", "property list uchar int vertex_indices", "end_header"]
    lines += [" ".join([f"{c:.10g}" for c in p] + [str(round(255 * c)) for c in color(p)]) for p in positions]
    place = 0
    for _, corners in mesh.polygons:
        lines.append(" ".join(str(k) for k in [len(corners), *index[place : place + len(corners)]]))
        place += len(corners)
    return ("\n".join(lines) + "\n").encode("ascii")


def knob():
    return lathe([(0, 0), (9, 0), (9.6, 0.6), (9.6, 3), (6, 5), (4, 9), (4.6, 12), (7.4, 15), (8, 18), (6.4, 21), (3, 22.6), (0, 23)], 28)


def write(name, data):
    path = os.path.join(FOLDER, name)
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as file:
        file.write(data)
    print(f"{len(data):8d}  {name}", file=sys.stderr)


def main():
    write("textures/oak.png", oak(192))
    write("textures/crate.png", crate(128))
    lamp = Scene()
    desk_lamp(lamp)
    write("desk-lamp.fbx", binary_document(lamp.document()))
    write("textured-box.fbx", ascii_document(textured_box().document()))
    write("embedded-texture.fbx", binary_document(embedded_texture().document()))
    write("mirrored.fbx", ascii_document(mirrored().document()))
    write("sheared.fbx", ascii_document(sheared().document()))
    write("vertex-colors.fbx", binary_document(vertex_colors().document()))
    write("skinned.fbx", binary_document(skinned().document()))
    write("animated.fbx", binary_document(animated().document()))

    lamp = gltf_models.Scene()
    desk_lamp(lamp, oak(192))
    write("desk-lamp.glb", lamp.document.glb())
    manifest, binary = gltf_models.textured_box("textures/crate.png").gltf("textured-box.bin")
    write("textured-box.gltf", manifest)
    write("textured-box.bin", binary)
    write("normal-map.glb", gltf_models.normal_map(stud_normals(64), stud_surface(64)).glb())
    write("vertex-colors.glb", gltf_models.vertex_colors().glb())
    write("skinned.glb", gltf_models.skinned().glb())
    write("morph.glb", gltf_models.morph().glb())
    write("animated.glb", gltf_models.animated().glb())
    write("alpha-modes.glb", gltf_models.alpha_modes(leaf(96)).glb())
    write("texture-transforms.glb", gltf_models.texture_transforms(marks(64)).glb())
    write("sparse.glb", gltf_models.sparse().glb())
    write("variants.glb", gltf_models.variants().glb())
    write("materials.glb", gltf_models.materials(checker(64, 8)).glb())
    write("primitives.glb", gltf_models.primitives().glb())

    write("toy-chest.obj", obj_document("A crate with a ball on it", toy_chest(), "toy-chest.mtl"))
    write("toy-chest.mtl", mtl_document([("Planks", (1, 1, 1), 10, "textures/crate.png"), ("Red", (0.75, 0.12, 0.08), 60, None),
                                         ("Ivory", (0.92, 0.88, 0.78), 60, None)]))
    write("knob.stl", binary_stl(knob()))
    write("vertex-colors.ply", ascii_ply(sphere(10, 16, 24), lambda p: tuple(0.5 + c / 20.0 for c in p)))


if __name__ == "__main__":
    main()
