#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) 2026 The Larkspur authors
"""Writes src/base/text_tables_generated.cpp: what every byte and byte pair of a code page means.

The characters come from Python's codecs (CPython 3.11) and, for page 870 that Python lacks, from
ICU's converter ibm-870 (`uconv`, ICU 72). What Microsoft's definitions of these pages
say beyond or against those codecs is listed below: bytes that they pass through or send to the
private use area, the user-defined rows, and single characters that differ.

Double-byte pages are written as a stream of tokens over their cells, lead 0x81..0xFE and trail
0x40..0xFE in order. `last` is the last character given, 0 at the start:

    00 n        n + 1 cells without a character
    01 n        n + 1 characters, each one above its predecessor
    02 lo hi    the character hi:lo
    03..7F      the character last + token - 2
    80..FF lo   the character 0x3000 + ((token & 0x7F) << 8 | lo)
"""

import pathlib
import subprocess

OUTPUT = pathlib.Path(__file__).parent.parent / "src/base/text_tables_generated.cpp"

SINGLE_BYTE = {
    37: "cp037", 437: "cp437", 500: "cp500", 737: "cp737", 850: "cp850", 852: "cp852",
    855: "cp855", 857: "cp857", 858: "cp858", 862: "cp862", 866: "cp866", 870: "ibm-870",
    1250: "cp1250", 1251: "cp1251", 1252: "cp1252", 1254: "cp1254", 1255: "cp1255",
    10007: "mac_cyrillic", 10029: "mac_latin2", 20866: "koi8_r", 21866: "koi8_u",
    28591: "iso8859_1", 28592: "iso8859_2", 28593: "iso8859_3", 28595: "iso8859_5",
    28596: "iso8859_6", 28597: "iso8859_7", 28598: "iso8859_8", 28599: "iso8859_9",
    28605: "iso8859_15",
}
DOUBLE_BYTE = {932: "cp932", 936: "gbk", 949: "cp949", 950: "cp950"}

# Where Microsoft's page gives a byte another character than the codec; None: no character.
DIFFERENT = {
    1255: {0xCA: 0x05BA},
    10007: {0xA2: 0x00A2, 0xB6: 0x2202, 0xFF: 0x00A4},
    21866: {0xAE: 0x045E, 0xBE: 0x040E},
    28597: {0xA1: 0x02BD, 0xA2: 0x02BC, 0xA4: None, 0xA5: None, 0xAA: None},
    28598: {0xAF: 0x203E, 0xFD: None, 0xFE: None},
}
# Bytes 0xA0 and up without a character take private ones in order, from these on. Those below
# pass through as control characters.
PRIVATE_BYTES = {857: 0xF8BB, 1255: 0xF88D, 28593: 0xF7F5, 28596: 0xF7C8, 28597: 0xF7C2,
                 28598: 0xF79C}

# Bytes of the double-byte pages that stand alone, beyond what the codec knows.
LONE_BYTES = {
    932: {},
    936: {0x80: 0x20AC, 0xFF: 0xF8F5},
    949: {0x80: 0x80, 0xFF: 0xF8F7},
    950: {0x80: 0x80, 0xFF: 0xF8F8},
}
LEADS = {
    932: [*range(0x81, 0xA0), *range(0xE0, 0xFD)],
    936: range(0x81, 0xFF), 949: range(0x81, 0xFF), 950: range(0x81, 0xFF),
}
TRAILS_936 = [*range(0x40, 0x7F), *range(0x80, 0xFF)]
TRAILS_950 = [*range(0x40, 0x7F), *range(0xA1, 0xFF)]


def rows(first_lead, last_lead, trails):
    return [lead << 8 | trail for lead in range(first_lead, last_lead + 1) for trail in trails]


# User-defined areas, each a first character and the cells that count up from it. Area None of
# page 936: whatever is still empty from row 0xA2 on.
USER_DEFINED = {
    932: [],
    936: [(0xE000, rows(0xAA, 0xAF, range(0xA1, 0xFF)) + rows(0xF8, 0xFE, range(0xA1, 0xFF)) +
           rows(0xA1, 0xA7, [*range(0x40, 0x7F), *range(0x80, 0xA1)])), (0xE766, None)],
    949: [(0xE000, rows(0xC9, 0xC9, range(0xA1, 0xFF)) + rows(0xFE, 0xFE, range(0xA1, 0xFF)))],
    950: [(0xE000, rows(0xFA, 0xFE, TRAILS_950)), (0xE311, rows(0x8E, 0xA0, TRAILS_950)),
          (0xEEB8, rows(0x81, 0x8D, TRAILS_950)),
          (0xF6B1, rows(0xC6, 0xC6, range(0xA1, 0xFF)) + rows(0xC7, 0xC8, TRAILS_950))],
}


def decode_ibm870(byte):
    result = subprocess.run(["uconv", "-f", "ibm-870", "-t", "UTF-16LE"], input=bytes([byte]),
                            capture_output=True, check=True)
    return int.from_bytes(result.stdout, "little")


def decode(codec, data):
    """The character of a byte sequence, None when the codec has not exactly one."""
    if codec == "ibm-870":
        return decode_ibm870(data[0])
    try:
        text = data.decode(codec)
    except UnicodeDecodeError:
        return None
    return ord(text) if len(text) == 1 and ord(text) < 0x10000 else None


def single_byte_page(page):
    private = PRIVATE_BYTES.get(page)
    units = []
    for byte in range(256):
        unit = decode(SINGLE_BYTE[page], bytes([byte]))
        unit = DIFFERENT.get(page, {}).get(byte, unit)
        if unit is None and byte < 0xA0:
            unit = byte
        elif unit is None:
            unit, private = private, private + 1
        units.append(unit)
    assert len(set(units)) == 256
    return units


def lone_bytes(page):
    """Characters of the bytes 0x80..0xFF that stand alone; 0 for lead bytes."""
    lone = [LONE_BYTES[page].get(byte, decode(DOUBLE_BYTE[page], bytes([byte])))
            for byte in range(0x80, 0x100)]
    for byte in range(0x80, 0x100):
        if byte in LEADS[page]:
            assert lone[byte - 0x80] is None
            lone[byte - 0x80] = 0
    return lone


def cells(page):
    found = {}
    for lead in LEADS[page]:
        for trail in range(0x40, 0xFF):
            unit = decode(DOUBLE_BYTE[page], bytes([lead, trail]))
            if unit is not None:
                found[lead << 8 | trail] = unit
    for first, area in USER_DEFINED[page]:
        if area is None:
            area = [cell for cell in rows(0xA2, 0xFE, TRAILS_936) if cell not in found]
        for i, cell in enumerate(area):
            found[cell] = first + i
    return found


def run_length(values, start, matches):
    end = start
    while end < len(values) and end - start < 256 and matches(end):
        end += 1
    return end - start


def token_stream(found):
    values = [found.get(lead << 8 | trail, 0)
              for lead in range(0x81, 0xFF) for trail in range(0x40, 0xFF)]
    out, last, i = bytearray(), 0, 0
    while i < len(values):
        value = values[i]
        empty = run_length(values, i, lambda j: values[j] == 0)
        rising = run_length(values, i, lambda j: values[j] == last + 1 + j - i)
        if empty:
            out += bytes([0, empty - 1])
            i += empty
            continue
        if rising > 2:
            out += bytes([1, rising - 1])
            i, last = i + rising, last + rising
            continue
        if 1 <= value - last <= 0x7D:
            out.append(value - last + 2)
        elif 0x3000 <= value < 0xB000:
            out += bytes([0x80 | (value - 0x3000) >> 8, value & 0xFF])
        else:
            out += bytes([2, value & 0xFF, value >> 8])
        last, i = value, i + 1
    return out


def listing(numbers):
    lines, line = [], "   "
    for number in numbers:
        item = f" {number},"
        if len(line) + len(item) > 100:
            lines.append(line)
            line = "   "
        line += item
    return "\n".join(lines + [line])


def main():
    out = ["// SPDX-License-Identifier: MIT", "// Copyright (c) 2026 The Larkspur authors", "",
           "// Made by tools/generate_code_pages.py, which tells the sources; not edited by hand.",
           "// clang-format off", '#include "base/text_tables.h"', "",
           "namespace larkspur::text {", "namespace {", ""]
    streams = {page: token_stream(cells(page)) for page in DOUBLE_BYTE}
    for page, stream in streams.items():
        out += [f"constexpr u8 kCells{page}[] = {{", listing(stream), "};", ""]
    out += ["}  // namespace", "", "extern const SingleByteTable kSingleByteTables[] = {"]
    for page in SINGLE_BYTE:
        out += [f"    {{{page}, {{", listing(single_byte_page(page)), "    }},"]
    out += ["};", f"extern const size_t kSingleByteTableCount = {len(SINGLE_BYTE)};", "",
            "extern const DoubleByteTable kDoubleByteTables[] = {"]
    for page in DOUBLE_BYTE:
        out += [f"    {{{page}, {{", listing(lone_bytes(page)), f"    }}, kCells{page}}},"]
    out += ["};", f"extern const size_t kDoubleByteTableCount = {len(DOUBLE_BYTE)};", "",
            "}  // namespace larkspur::text", ""]
    OUTPUT.write_text("\n".join(out))
    sizes = ", ".join(f"{page}: {len(stream)}" for page, stream in streams.items())
    print(f"{OUTPUT.name}: single-byte {len(SINGLE_BYTE) * 512} bytes, streams {sizes}")


if __name__ == "__main__":
    main()
