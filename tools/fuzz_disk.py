#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Turns a disk image into an input of the fuzz target partition_tree, which says what that is.
Usage: fuzz_disk.py IMAGE INPUT"""

import os
import struct
import sys

SECTOR = 512


def main():
    image, target = sys.argv[1:]
    sectors = os.path.getsize(image) // SECTOR
    with open(image, "rb") as source, open(target, "wb") as out:
        out.write(struct.pack("<I", min(sectors, 0xFFFFFF) << 8 | 2))
        for number in range(min(sectors, 0x10000)):
            sector = source.read(SECTOR)
            if any(sector):
                out.write(struct.pack("<H", number) + sector)


if __name__ == "__main__":
    main()
