"""The example models that are plain meshes: OBJ, STL and PLY documents."""

import struct

from shapes import Mesh, box, lathe, sphere, unique


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
