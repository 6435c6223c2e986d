"""The example models that are FBX documents."""

from fbx_writer import Array, Long, Name, Node
from pictures import checker
from shapes import Mesh, box, cylinder, helix, lathe, sphere, unique

TICKS_PER_SECOND = 46186158000


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
