#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) 2026 The Larkspur authors
"""Writes the seed inputs of the sparse image fuzzer into fuzz/seeds/sparse_image/."""

import pathlib
import struct

FOLDER = pathlib.Path(__file__).resolve().parent.parent / "fuzz" / "seeds" / "sparse_image"
NO_RECORD = 0xFFFFFFFF


def header(sectors, block, version=0x00020000, stamp=7):
    return struct.pack("<8sQIII", b"KVRSparF", sectors, block, version, stamp).ljust(512, b"\0")


def index(entries):
    sectors = (4 * len(entries) + 511) // 512
    return b"".join(struct.pack("<I", entry) for entry in entries).ljust(512 * sectors, b"\xff")


def record(block, statuses):
    return bytes(statuses).ljust(512, b"\0") + bytes(range(64)).ljust(512 * block, b"\x5a")


SEEDS = {
    "fresh": header(1000, 128) + index([NO_RECORD] * 8),
    "block_of_one": header(9, 1) + index([1, NO_RECORD, 0] + [NO_RECORD] * 6)
    + record(1, [1]) + record(1, [2]),
    "three_statuses": header(14, 4) + index([0, NO_RECORD, NO_RECORD, 1])
    + record(4, [2, 0, 1, 1]) + record(4, [1, 1]),
    "odd_status": header(6, 3) + index([0, NO_RECORD]) + record(3, [3, 0xFF, 1]),
    "shared_record": header(8, 2) + index([0, 0, 0, NO_RECORD]) + record(2, [1, 1]),
    "record_behind_the_end": header(8, 2) + index([9, 0xFFFFFFFE, 0, NO_RECORD])
    + record(2, [1, 1]),
    "cut_record": header(8, 4) + index([0, NO_RECORD]) + record(4, [1, 1, 1, 1])[:1100],
    "cut_index": header(100000, 4) + index([NO_RECORD] * 100)[:300],
    "header_only": header(1000, 128)[:28],
    "no_sectors": header(0, 128),
    "endless": header(1 << 41, 512) + index([NO_RECORD] * 4),
    "too_many_blocks": header((1 << 64) - 1, 1) + index([0]),
    "block_too_large": header(1000, 513) + index([NO_RECORD] * 2),
}

FOLDER.mkdir(parents=True, exist_ok=True)
for name, content in SEEDS.items():
    (FOLDER / f"{name}.kvrsp").write_bytes(content)
