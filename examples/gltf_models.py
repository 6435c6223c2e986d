"""The example models that are glTF documents."""

import math
import struct

from glb_writer import (CLAMP_TO_EDGE, FLOAT, LINE_LOOP, LINE_STRIP, LINEAR, LINES, MIRRORED_REPEAT, NEAREST, POINTS,
                        TRIANGLE_FAN, TRIANGLE_STRIP, UNSIGNED_BYTE, UNSIGNED_SHORT, Document, linear)
from shapes import Mesh, box, cylinder, lathe, sphere


def turn(axis, degrees):
    """A quaternion that turns about one axis."""
    half = math.radians(degrees) / 2
    values = [0.0, 0.0, 0.0, round(math.cos(half), 7)]
    values["xyz".index(axis)] = round(math.sin(half), 7)
    return tuple(values)


def turn_xyz(degrees):
    """A quaternion of turns about x, then y, then z; no more than one of them here."""
    axis = max(range(3), key=lambda k: abs(degrees[k]))
    return turn("xyz"[axis], degrees[axis])


class Scene:
    """Takes the calls that make an FBX scene and makes a glTF document of them."""

    def __init__(self):
        self.document = Document()

    def model(self, name, parent=None, subtype="Null", translation=None, rotation=None, scaling=None, visible=True):
        more = {}
        if not visible:
            more["extensions"] = {self.document.use("KHR_node_visibility"): {"visible": False}}
        return self.document.node(name, parent, translation, turn_xyz(rotation) if rotation else None, scaling, **more)

    def material(self, name, diffuse, specular=(0.2, 0.2, 0.2), shininess=20.0, emissive=None):
        more = {"emissiveFactor": list(linear(emissive))} if emissive else {}
        metallic = 1.0 if "Steel" in name else 0.0
        return self.document.pbr(name, (*linear(diffuse), 1), metallic, round(1 - min(shininess, 80.0) / 100, 3), **more)

    def texture(self, name, material, file_name, relative, content):
        index = self.document.texture(self.document.image(content))
        values = self.document.lists["materials"][material]["pbrMetallicRoughness"]
        values["baseColorTexture"] = {"index": index}
        values["baseColorFactor"] = [1, 1, 1, 1]  # In an FBX file a texture replaces the colour.

    def geometry(self, name, model, mesh, materials=()):
        primitives = []
        for slot, material in enumerate(materials):
            is_textured = "baseColorTexture" in self.document.lists["materials"][material]["pbrMetallicRoughness"]
            primitives.append(self.document.primitive(mesh, material, slot, is_textured)[0])
        self.document.lists["nodes"][model]["mesh"] = self.document.mesh(name, primitives)

    def attribute(self, name, kind, model, properties=()):
        node = self.document.lists["nodes"][model]
        if kind == "Camera":
            camera = {"type": "perspective", "perspective": {"yfov": 0.7, "znear": 0.1}}
            node["camera"] = self.document.add("cameras", camera)
        else:
            extension = self.document.use("KHR_lights_punctual")
            self.document.members["extensions"] = {extension: {"lights": [{"name": name, "type": "point"}]}}
            node["extensions"] = {extension: {"light": 0}}


def quad(width, height, u=1.0, v=1.0):
    """A rectangle that faces z, standing on y = 0, which shows `u` by `v` images."""
    mesh = Mesh()
    corners = [(-width / 2, 0, 0), (width / 2, 0, 0), (width / 2, height, 0), (-width / 2, height, 0)]
    mesh.add([(p, (0.0, 0.0, 1.0), uv) for p, uv in zip(corners, ((0, 0), (u, 0), (u, v), (0, v)))])
    return mesh


def textured_box(crate_uri):
    """A crate whose vertices lie in a file beside the manifest, and its texture in another."""
    d = Document()
    material = d.pbr("Crate", roughness=0.8, texture={"index": d.texture(d.image(uri=crate_uri))})
    primitive, _ = d.primitive(box(40, 40, 40), material)
    d.node("Crate", rotation=turn("y", 30), mesh=d.mesh("Crate", [primitive]))
    return d


def normal_map(normals, data):
    """A tile and a ball under one map of normals, without tangents, and one map of occlusion, roughness and metalness."""
    d = Document()
    bumps, surface = d.texture(d.image(normals)), d.texture(d.image(data))
    material = d.pbr("Studs", (*linear((0.80, 0.72, 0.55)), 1), 1.0, 1.0, data={"index": surface},
                     normalTexture={"index": bumps, "scale": 0.8}, occlusionTexture={"index": surface, "strength": 0.7})
    tile, _ = d.primitive(quad(20, 20, 2, 2), material)
    ball, _ = d.primitive(Mesh([(m, [(p, n, (u * 6, v * 3)) for p, n, (u, v) in corners])
                                for m, corners in sphere(8, 16, 28).polygons]), material)
    d.node("Tile", mesh=d.mesh("Tile", [tile]))
    d.node("Ball", translation=(20, 10, 0), mesh=d.mesh("Ball", [ball]))
    return d


def vertex_colors():
    """A ball without a material and a disc of points, which have colours alone."""
    d = Document()

    def color(position):
        return linear(min(max(0.5 + c / 20.0, 0.0), 1.0) for c in position) + (1.0,)

    primitive, _ = d.primitive(sphere(10, 16, 28), texcoords=False, colors=color)
    d.node("Ball", mesh=d.mesh("Ball", [primitive]))
    points = []
    for k in range(400):
        angle, radius = 2.399963 * k, 14 + 6 * math.sqrt(k / 400)
        points.append((radius * math.cos(angle), radius * math.sin(angle), 0.0))
    attributes = {"POSITION": d.accessor(points, bounds=True),
                  "COLOR_0": d.accessor([(k / 399, 0.5, 1 - k / 399) for k in range(400)], UNSIGNED_SHORT, normalized=True)}
    d.node("Ring", mesh=d.mesh("Ring", [{"attributes": attributes, "mode": POINTS}]))
    return d


def skinned():
    """A tube on three bones, of which the upper two are bent away from the bind pose."""
    d = Document()
    height, radius, rings = 36, 3.0, 24
    tube = lathe([(0, 0)] + [(radius, height * k / rings) for k in range(rings + 1)] + [(0, height)], 20)

    def weights(position):
        values = [max(0.0, 1.0 - abs(position[1] - (12 * k + 6)) / 12.0) for k in range(3)]
        if position[1] < 6 or position[1] > 30:
            values = [1.0, 0.0, 0.0] if position[1] < 6 else [0.0, 0.0, 1.0]
        share = sum(values)
        return tuple(v / share for v in values) + (0.0,)

    material = d.pbr("Rubber Tube", (*linear((0.12, 0.45, 0.40)), 1), 0, 0.5)
    extra = {"JOINTS_0": (lambda position: (0, 1, 2, 0), UNSIGNED_BYTE, False), "WEIGHTS_0": (weights, FLOAT, False)}
    primitive, _ = d.primitive(tube, material, texcoords=False, extra=extra)
    bones, parent = [], None
    for k in range(3):
        parent = d.node(f"Bone {k + 1}", parent, (0, 12 if k else 0, 0), turn("z", -38) if k else None)
        bones.append(parent)
    binds = d.accessor([(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, -12.0 * k, 0, 1) for k in range(3)], target=None)
    skin = d.add("skins", {"name": "Tube", "joints": bones, "inverseBindMatrices": binds, "skeleton": bones[0]})
    d.node("Tube", mesh=d.mesh("Tube", [primitive]), skin=skin)
    return d


def morph():
    """A ball with two shapes besides its own, one of them half shown at rest."""
    d = Document()
    material = d.pbr("Clay", (*linear((0.75, 0.42, 0.28)), 1), 0, 0.9)
    primitive, positions = d.primitive(sphere(10, 16, 24), material, texcoords=False)
    squashed = [(0.35 * x, -0.5 * y, 0.35 * z) for x, y, z in positions]
    pulled = [(0.0, 0.06 * max(y, 0.0) ** 2, 0.0) for _, y, _ in positions]
    primitive["targets"] = [{"POSITION": d.accessor(offsets, bounds=True)} for offsets in (squashed, pulled)]
    d.node("Ball", mesh=d.mesh("Ball", [primitive], weights=[0.0, 0.5], extras={"targetNames": ["Squashed", "Pulled"]}))
    return d


def animated():
    """A fan whose rotor turns once in two seconds."""
    d = Document()
    body = d.pbr("Body", (*linear((0.80, 0.78, 0.72)), 1), 0, 0.5)
    blade = d.pbr("Blades", (*linear((0.10, 0.30, 0.52)), 1), 0, 0.4)
    mesh = lathe([(0, 0), (8, 0), (8.4, 0.6), (8, 1.4), (1.6, 2.6), (1.2, 4), (1.2, 20), (0, 20)], 24)
    mesh.extend(cylinder(2.6, 6, 20, bevel=0.5).moved((0, 22, -3.2), rotate_x=90))
    d.node("Stand", mesh=d.mesh("Stand", [d.primitive(mesh, body, texcoords=False)[0]]))
    mesh = sphere(1.8, 8, 16, 1)
    for k in range(3):
        mesh.extend(box(4.2, 8.5, 0.35, bevel=0.1).moved((0, 1.2, 0)).moved((0, 0, 0), rotate_z=120 * k))
    primitives = [d.primitive(mesh, material, slot, False)[0] for slot, material in enumerate((blade, body))]
    rotor = d.node("Rotor", translation=(0, 22, 3.6), mesh=d.mesh("Rotor", primitives))
    d.animation("Spin", rotor, "rotation", [(0.5 * k, turn("z", 90 * k)) for k in range(5)])
    d.animation("Bob", rotor, "translation", [(0.0, (0, 22, 3.6)), (1.0, (0, 23, 3.6)), (2.0, (0, 22, 3.6))])
    return d


def alpha_modes(leaf):
    """One leaf three times: opaque, masked and blended, each before a striped board; and a pane of tinted glass."""
    d = Document()
    picture = {"index": d.texture(d.image(leaf), CLAMP_TO_EDGE, CLAMP_TO_EDGE)}
    materials = [
        d.pbr("Opaque", texture=picture, roughness=0.8, alphaMode="OPAQUE"),
        d.pbr("Masked", texture=picture, roughness=0.8, alphaMode="MASK", alphaCutoff=0.5, doubleSided=True),
        d.pbr("Blended", texture=picture, roughness=0.8, alphaMode="BLEND", doubleSided=True),
        d.pbr("Glass", (0.1, 0.4, 0.6, 0.4), roughness=0.2, alphaMode="BLEND"),
    ]
    board = d.pbr("Board", (*linear((0.85, 0.80, 0.70)), 1), 0, 0.9)
    stripe = d.pbr("Stripe", (*linear((0.25, 0.25, 0.30)), 1), 0, 0.9)
    wall = box(46, 13, 0.5)
    for k in range(9):
        wall.extend(box(2, 13, 0.2, 1).moved((-20 + 5 * k, 0, 0.3)))
    d.node("Board", translation=(0, -0.5, -3),
           mesh=d.mesh("Board", [d.primitive(wall, m, k, False)[0] for k, m in enumerate((board, stripe))]))
    shape, _ = d.primitive(quad(9.5, 12))
    for k, material in enumerate(materials):
        d.node(d.lists["materials"][material]["name"], translation=(-17 + 11.3 * k, 0, 0),
               mesh=d.mesh("Pane", [{**shape, "material": material}]))
    return d


def texture_transforms(marks):
    """Tiles of one image: plain, turned, scaled, moved, mirrored, clamped, and by another set of coordinates."""
    d = Document()
    image = d.image(marks)
    extension = d.use("KHR_texture_transform")

    def tile(name, place, transform=None, wrap=None, texcoord=0):
        info = {"index": d.texture(image, *(wrap or ())), "texCoord": texcoord}
        if transform is not None:
            info["extensions"] = {extension: transform}
        material = d.pbr(name, roughness=0.9, texture=info)
        primitive, _ = d.primitive(quad(10, 10), material, extra={
            "TEXCOORD_1": (lambda p: (p[0] / 10 + 0.5, p[1] / 10), FLOAT, False)})
        d.node(name, translation=(11 * (place % 4), -11 * (place // 4), 0), mesh=d.mesh(name, [primitive]))

    tile("Plain", 0)
    tile("Turned", 1, {"rotation": 0.3926991})
    tile("Scaled", 2, {"scale": [2, 3]})
    tile("Moved", 3, {"offset": [0.25, 0.5]})
    tile("Mirrored", 4, {"scale": [2, 2]}, (MIRRORED_REPEAT, MIRRORED_REPEAT))
    tile("Clamped", 5, {"offset": [-0.5, -0.5], "scale": [2, 2]}, (CLAMP_TO_EDGE, CLAMP_TO_EDGE))
    tile("Upside Down", 6, {"texCoord": 1})
    tile("All", 7, {"offset": [0.5, 0.1], "rotation": -0.7853982, "scale": [1.5, 0.75]})
    return d


def texture_filters(pixels):
    """A picture of few pixels, near with sharp pixels and with soft ones, and far away."""
    d = Document()
    image = d.image(pixels)
    extension = d.use("KHR_texture_transform")

    def tile(name, place, sampler, scale=1, slope=0):
        info = {"index": d.texture(image, **sampler), "extensions": {extension: {"scale": [scale, scale]}}}
        primitive, _ = d.primitive(quad(10, 10), d.pbr(name, roughness=0.9, texture=info))
        d.node(name, translation=(11 * (place % 2), -11 * (place // 2), 0), rotation=turn("x", slope),
               mesh=d.mesh(name, [primitive]))

    tile("Sharp", 0, {"magFilter": NEAREST, "minFilter": NEAREST})
    tile("Soft", 1, {"magFilter": LINEAR})
    tile("Sharp and Slanting", 2, {"magFilter": NEAREST}, 1, -65)
    tile("Sharp and Small", 3, {"magFilter": NEAREST, "minFilter": NEAREST}, 16)
    return d


def sparse():
    """A flat sheet of zeros and a ramp, of which a sparse accessor lifts a letter."""
    d = Document()
    size, letter = 12, ["............", "..######....", "..#.....#...", "..#.....#...", "..######....", "..#...#.....",
                        "..#....#....", "..#.....#...", "............", "............", "............", "............"]
    positions = [(float(x), float(size - y), 0.0) for y in range(size) for x in range(size)]
    lifted = [y * size + x for y in range(size) for x in range(size) if letter[y][x] == "#"]
    base = d.accessor(positions, bounds=True)
    places = b"".join(struct.pack("<B", k) for k in lifted)
    values = b"".join(struct.pack("<3f", *positions[k][:2], 1.5) for k in lifted)
    record = d.lists["accessors"][base]
    record["max"][2] = 1.5
    record["sparse"] = {"count": len(lifted), "indices": {"bufferView": d.view(places), "componentType": UNSIGNED_BYTE},
                        "values": {"bufferView": d.view(values)}}
    indices = []
    for y in range(size - 1):
        for x in range(size - 1):
            a = y * size + x
            indices += [a, a + size, a + 1, a + 1, a + size, a + size + 1]
    material = d.pbr("Sheet", (*linear((0.30, 0.52, 0.72)), 1), 0, 0.7, doubleSided=True)
    d.node("Sheet", mesh=d.mesh("Sheet", [{"attributes": {"POSITION": base}, "indices": d.indices(indices),
                                           "material": material}]))
    return d


def variants():
    """A mug in three colours: the material that is shown is the one that no variant asks for."""
    d = Document()
    extension = d.use("KHR_materials_variants")
    shown = d.pbr("Blue Glaze", (*linear((0.12, 0.25, 0.62)), 1), 0, 0.25)
    others = [d.pbr("Red Glaze", (*linear((0.70, 0.10, 0.08)), 1), 0, 0.25),
              d.pbr("White Glaze", (*linear((0.92, 0.90, 0.86)), 1), 0, 0.25)]
    profile = [(0, 0), (4.2, 0), (4.6, 0.5), (4.6, 10), (4.4, 10.3), (4.1, 10), (4.1, 1), (0, 0.8)]
    primitive, _ = d.primitive(lathe(profile, 32), shown, texcoords=False)
    mappings = [{"material": material, "variants": [k]} for k, material in enumerate(others)]
    primitive["extensions"] = {extension: {"mappings": mappings}}
    d.members["extensions"] = {extension: {"variants": [{"name": "Red"}, {"name": "White"}]}}
    d.node("Mug", mesh=d.mesh("Mug", [primitive]))
    return d


def materials(checks):
    """Eight balls of one mesh, each of another kind of material."""
    d = Document()
    picture = {"index": d.texture(d.image(checks))}
    red = (*linear((0.70, 0.08, 0.05)), 1)
    kinds = [
        d.pbr("Dull", red, 0, 1.0),
        d.pbr("Coated", red, 0, 1.0, extensions={"KHR_materials_clearcoat": {"clearcoatFactor": 1.0,
                                                                          "clearcoatRoughnessFactor": 0.1}}),
        d.pbr("Gold", (1.0, 0.766, 0.336, 1), 1.0, 0.3),
        d.pbr("Diamond", (0.02, 0.02, 0.02, 1), 0, 0.15, extensions={"KHR_materials_ior": {"ior": 2.42}}),
        d.pbr("Green Sheen", (0.02, 0.02, 0.02, 1), 0, 0.3, extensions={"KHR_materials_specular": {
            "specularColorFactor": [0.2, 8.0, 0.5]}}),
        d.pbr("Lamp", (0, 0, 0, 1), 0, 1.0, emissiveFactor=[0.20, 0.14, 0.04], extensions={
            "KHR_materials_emissive_strength": {"emissiveStrength": 4.0}}),
        d.pbr("Flat", (1, 1, 1, 1), texture=picture, extensions={"KHR_materials_unlit": {}}),
        d.pbr("Glossy", (0.5, 0.5, 0.5, 1), extensions={"KHR_materials_pbrSpecularGlossiness": {
            "diffuseTexture": picture, "specularFactor": [0.25, 0.25, 0.25], "glossinessFactor": 0.7}}),
    ]
    ball, _ = d.primitive(sphere(5, 12, 24))
    for k, material in enumerate(kinds):
        name = d.lists["materials"][material]["name"]
        d.node(name, translation=(11 * (k % 4), -11 * (k // 4), 0), mesh=d.mesh(name, [{**ball, "material": material}]))
    return d


def primitives():
    """Every mode of primitive, and triangles without indices and without normals."""
    d = Document()
    colors = [(0.75, 0.20, 0.15), (0.80, 0.55, 0.10), (0.25, 0.55, 0.22), (0.15, 0.40, 0.65), (0.45, 0.25, 0.55)]
    star = [(round(r * math.sin(math.pi * k / 5), 5), round(5 + r * math.cos(math.pi * k / 5), 5), 0.0)
            for k, r in ((k, 5 if k % 2 == 0 else 2) for k in range(10))]
    zigzag = [(float(k // 2) * 2 - 4, 9.0 if k % 2 else 1.0, 0.4 * k) for k in range(10)]
    outline = [p for k in range(10) for p in (star[k], star[(k + 1) % 10])]
    loose = [p for k in range(3) for p in ((-4.0 + 3 * k, 1.0, 0.0), (-1.5 + 3 * k, 1.0, 1.0), (-2.7 + 3 * k, 8.0, 0.5))]
    shapes = [("Points", POINTS, star), ("Lines", LINES, outline), ("Loop", LINE_LOOP, star), ("Strip", LINE_STRIP, zigzag),
              ("Triangles", None, loose), ("Triangle Strip", TRIANGLE_STRIP, zigzag),
              ("Fan", TRIANGLE_FAN, [(0.0, 5.0, 1.0)] + star[::-1] + star[-1:])]
    for k, (name, mode, points) in enumerate(shapes):
        material = d.pbr(name, (*linear(colors[k % len(colors)]), 1), 0, 0.7, doubleSided=True)
        primitive = {"attributes": {"POSITION": d.accessor(points, bounds=True)}, "material": material}
        if mode is not None:
            primitive["mode"] = mode
        d.node(name, translation=(12 * (k % 4), -12 * (k // 4), 0), mesh=d.mesh(name, [primitive]))
    return d
