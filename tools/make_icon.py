#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Draws the module's icon, a larkspur's blossom over a disk, and writes it as an .ico file.
Usage: make_icon.py OUTPUT"""

import math
import pathlib
import struct
import sys
import zlib

SIZES = (16, 24, 32, 48, 256)
FINE = 4  # each pixel is the mean of FINE x FINE points

DISK = (205, 210, 220)
RIM = (120, 128, 145)
PETAL = (92, 70, 196)
VEIN = (140, 122, 226)
HEART = (250, 246, 214)


def colour_at(x, y):
    """The colour at a point of the square from -1 to 1, None where it is clear."""
    radius = math.hypot(x, y)
    angle = math.atan2(x, -y)
    petal = 0.86 * (0.62 + 0.38 * abs(math.cos(2.5 * angle)))
    if radius < 0.17:
        return HEART
    if radius < petal * 0.94:
        return VEIN if abs(math.cos(2.5 * angle)) > 0.985 else PETAL
    if radius < 0.90:
        return DISK
    return RIM if radius < 0.98 else None


def pixels(size):
    """Rows from the top, each a list of (red, green, blue, alpha)."""
    for row in range(size):
        line = []
        for column in range(size):
            seen = [colour_at((column + (i + 0.5) / FINE) / size * 2 - 1, (row + (j + 0.5) / FINE) / size * 2 - 1)
                    for i in range(FINE) for j in range(FINE)]
            solid = [colour for colour in seen if colour]
            mean = [sum(part) // len(solid) for part in zip(*solid)] if solid else [0, 0, 0]
            line.append((*mean, 255 * len(solid) // len(seen)))
        yield line


def bitmap(size):
    """A device-independent bitmap as icons hold it: twice the height, bottom row first, then a mask."""
    rows = list(pixels(size))
    head = struct.pack("<IiiHHIIiiII", 40, size, 2 * size, 1, 32, 0, 0, 0, 0, 0, 0)
    body = b"".join(bytes((b, g, r, a)) for line in reversed(rows) for r, g, b, a in line)
    return head + body + bytes((size + 31) // 32 * 4 * size)


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def png(size):
    lines = b"".join(b"\0" + b"".join(map(bytes, line)) for line in pixels(size))
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", size, size, 8, 6, 0, 0, 0)) +
            chunk(b"IDAT", zlib.compress(lines, 9)) + chunk(b"IEND", b""))


def main():
    images = [png(size) if size == 256 else bitmap(size) for size in SIZES]
    icon = struct.pack("<HHH", 0, 1, len(SIZES))
    offset = len(icon) + 16 * len(SIZES)
    for size, image in zip(SIZES, images):
        icon += struct.pack("<BBBBHHII", size % 256, size % 256, 0, 0, 1, 32, len(image), offset)
        offset += len(image)
    pathlib.Path(sys.argv[1]).write_bytes(icon + b"".join(images))


if __name__ == "__main__":
    main()
