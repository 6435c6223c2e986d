"""Polygon meshes for the example models: closed, outward-facing, with a normal and a texture coordinate per corner."""

import math
from dataclasses import dataclass, field


@dataclass
class Mesh:
    """`polygons` holds, per polygon, its material slot and its corners as (position, normal, uv)."""

    polygons: list = field(default_factory=list)

    def add(self, corners, material=0):
        self.polygons.append((material, corners))

    def extend(self, other):
        self.polygons.extend(other.polygons)
        return self

    def moved(self, offset, rotate_x=0.0, rotate_z=0.0):
        """The mesh turned about x, then about z (degrees), then moved."""
        cx, sx = math.cos(math.radians(rotate_x)), math.sin(math.radians(rotate_x))
        cz, sz = math.cos(math.radians(rotate_z)), math.sin(math.radians(rotate_z))

        def turn(v):
            x, y, z = v
            y, z = cx * y - sx * z, sx * y + cx * z
            return (cz * x - sz * y, sz * x + cz * y, z)

        def place(v):
            t = turn(v)
            return (t[0] + offset[0], t[1] + offset[1], t[2] + offset[2])

        return Mesh([(m, [(place(p), turn(n), uv) for p, n, uv in corners]) for m, corners in self.polygons])


def normalized(v):
    size = math.sqrt(sum(c * c for c in v)) or 1.0
    return tuple(c / size for c in v)


def lathe(profile, segments, material=0, crease_degrees=35.0):
    """Turns `profile`, a list of (radius, y) from bottom to top with the solid to its left, about the y axis.

    Corners of the profile sharper than `crease_degrees` stay sharp; the others are shaded smoothly.
    """
    directions = []
    for (r0, y0), (r1, y1) in zip(profile, profile[1:]):
        directions.append(normalized((y1 - y0, r0 - r1)))  # outward normal in the (radius, y) plane

    def normal_at(segment, end):
        neighbour = segment + 1 if end else segment - 1
        own = directions[segment]
        if not 0 <= neighbour < len(directions):
            return own
        other = directions[neighbour]
        if own[0] * other[0] + own[1] * other[1] < math.cos(math.radians(crease_degrees)):
            return own
        return normalized((own[0] + other[0], own[1] + other[1]))

    lengths = [0.0]
    for (r0, y0), (r1, y1) in zip(profile, profile[1:]):
        lengths.append(lengths[-1] + math.hypot(r1 - r0, y1 - y0))
    total = lengths[-1] or 1.0
    mesh = Mesh()
    for k in range(len(profile) - 1):
        low, high = normal_at(k, False), normal_at(k, True)
        for s in range(segments):
            corners = []
            for step, index, normal in ((0, k, low), (1, k, low), (1, k + 1, high), (0, k + 1, high)):
                angle = 2 * math.pi * ((s + step) % segments) / segments
                radius, y = profile[index]
                if radius == 0.0 and step == 1:
                    continue  # at the axis both corners are one point
                c, d = math.cos(angle), math.sin(angle)
                corners.append(
                    (
                        (radius * c, y, -radius * d),
                        normalized((normal[0] * c, normal[1], -normal[0] * d)),
                        ((s + step) / segments, lengths[index] / total),
                    )
                )
            if len(corners) >= 3:
                mesh.add(corners, material)
    return mesh


def cylinder(radius, height, segments=24, material=0, bevel=0.0):
    """About the y axis from y = 0 to `height`."""
    if bevel <= 0.0:
        profile = [(0.0, 0.0), (radius, 0.0), (radius, height), (0.0, height)]
    else:
        profile = [(0.0, 0.0), (radius - bevel, 0.0), (radius, bevel), (radius, height - bevel), (radius - bevel, height), (0.0, height)]
    return lathe(profile, segments, material)


def sphere(radius, rings=16, segments=24, material=0):
    profile = []
    for k in range(rings + 1):
        angle = -math.pi / 2 + math.pi * k / rings
        profile.append((0.0 if k in (0, rings) else radius * math.cos(angle), radius * math.sin(angle)))
    return lathe(profile, segments, material, crease_degrees=180.0)


def helix(radius, pipe, height, turns, steps=14, pipe_segments=8, material=0):
    """A spring: a pipe wound about the y axis from y = 0 to `height`, with open ends."""
    mesh = Mesh()
    count = turns * steps
    rings = []
    for i in range(count + 1):
        angle = 2 * math.pi * i / steps
        centre = (radius * math.cos(angle), height * i / count, radius * math.sin(angle))
        outward = (math.cos(angle), 0.0, math.sin(angle))
        tangent = normalized((-math.sin(angle) * radius, height / count * steps / (2 * math.pi), math.cos(angle) * radius))
        side = (
            tangent[1] * outward[2] - tangent[2] * outward[1],
            tangent[2] * outward[0] - tangent[0] * outward[2],
            tangent[0] * outward[1] - tangent[1] * outward[0],
        )
        ring = []
        for k in range(pipe_segments):
            a = 2 * math.pi * k / pipe_segments
            normal = tuple(outward[j] * math.cos(a) + side[j] * math.sin(a) for j in range(3))
            ring.append((tuple(centre[j] + pipe * normal[j] for j in range(3)), normal))
        rings.append(ring)
    for i in range(count):
        for k in range(pipe_segments):
            n = (k + 1) % pipe_segments
            quad = [rings[i][k], rings[i + 1][k], rings[i + 1][n], rings[i][n]]
            mesh.add([(p, normal, (k / pipe_segments, i / count)) for p, normal in quad], material)
    return mesh


def box(width, height, depth, material=0, bevel=0.0):
    """Centred in x and z, standing on y = 0; each face shows the whole texture. `bevel` cuts the edges at 45 degrees."""
    mesh = Mesh()
    half = (width / 2, height / 2, depth / 2)

    def point(v):
        return (v[0], v[1] + half[1], v[2])

    axes = (((1, 0, 0), (0, 0, -1), (0, 1, 0)), ((-1, 0, 0), (0, 0, 1), (0, 1, 0)), ((0, 1, 0), (1, 0, 0), (0, 0, -1)),
            ((0, -1, 0), (1, 0, 0), (0, 0, 1)), ((0, 0, 1), (1, 0, 0), (0, 1, 0)), ((0, 0, -1), (-1, 0, 0), (0, 1, 0)))
    for normal, right, up in axes:
        corners = []
        for s, t in ((-1, -1), (1, -1), (1, 1), (-1, 1)):
            position = tuple(
                normal[j] * half[j] + right[j] * s * (half[j] - bevel) + up[j] * t * (half[j] - bevel) for j in range(3)
            )
            corners.append((point(position), tuple(float(c) for c in normal), ((s + 1) / 2, (t + 1) / 2)))
        mesh.add(corners, material)
    if bevel > 0.0:
        for a in range(3):
            for b in range(a + 1, 3):
                for sa in (-1, 1):
                    for sb in (-1, 1):
                        c = 3 - a - b
                        corners = []
                        for on_a, sc in ((True, -1), (True, 1), (False, 1), (False, -1)):
                            v = [0.0, 0.0, 0.0]
                            v[a] = sa * (half[a] if on_a else half[a] - bevel)
                            v[b] = sb * (half[b] - bevel if on_a else half[b])
                            v[c] = sc * (half[c] - bevel)
                            corners.append(tuple(v))
                        n = [0.0, 0.0, 0.0]
                        n[a], n[b] = float(sa), float(sb)
                        mesh.add(oriented(corners, normalized(n), point), material)
        for sx in (-1, 1):
            for sy in (-1, 1):
                for sz in (-1, 1):
                    s = (sx, sy, sz)
                    corners = [
                        tuple(s[j] * (half[j] if j == k else half[j] - bevel) for j in range(3)) for k in range(3)
                    ]
                    mesh.add(oriented(corners, normalized(s), point), material)
    return mesh


def oriented(corners, normal, point):
    """The corners in the order that makes the polygon face `normal`."""
    a, b, c = corners[0], corners[1], corners[2]
    u = tuple(b[j] - a[j] for j in range(3))
    v = tuple(c[j] - a[j] for j in range(3))
    facing = (u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0])
    if sum(facing[j] * normal[j] for j in range(3)) < 0:
        corners = list(reversed(corners))
    return [(point(p), normal, (0.5, 0.5)) for p in corners]


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
