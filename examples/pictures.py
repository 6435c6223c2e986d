"""The textures of the example models, drawn pixel by pixel."""

import math
import struct
import zlib


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


def mushroom():
    """A picture of 12 by 12 pixels, painted one by one."""
    rows = ["............", "....rrrr....", "..rrrwwrrr..", ".rwwrwwrrrr.", ".rwwrrrrwwr.", "rrrrrrrrwwrr", "rrwwrrrrrrrr",
            ".kkkcccckkk.", "...ccccck...", "...cccckk...", "...cccckk...", "............"]
    colors = {".": (96, 168, 220), "r": (204, 44, 36), "w": (250, 246, 238), "c": (238, 214, 170), "k": (150, 112, 80)}
    return png(12, 12, lambda x, y: colors[rows[y][x]])


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
