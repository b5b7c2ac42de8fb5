#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) 2026 The Larkspur authors
"""Builds the language packs from src/catalog/texts/ into one C++ file: build_packs.py TEXTS OUTPUT.

A language's source holds its texts by key, in the order of english.json: keys "raid::..." go into
its pack for the module, keys "ciom::..." into its pack for the toolkit. languages.json lists the
languages and the order of the two tables of packs. A text null is absent from the pack. A source
that does not fit english.json (keys, number of texts, placeholders) ends the build.
"""

import json
import pathlib
import re
import struct
import sys
import zlib

PLACEHOLDER = re.compile(r"%(?:%|[-+ 0#]*\d*(?:\.\d+)?[a-z])")


def section(key, texts):
    encoded = [None if text is None else text.encode() for text in texts]
    lengths = [0xFFFF if data is None else len(data) for data in encoded]
    if any(data is not None and len(data) >= 0xFFFF for data in encoded):
        sys.exit(f"{key}: a text of 65535 bytes or more")
    body = struct.pack(f"<H{len(texts)}H", len(texts), *lengths)
    body += b"".join(data for data in encoded if data is not None)
    name = key.encode("ascii")
    name += bytes(-len(name) % 4)
    return struct.pack("<I", len(name)) + name + struct.pack("<I", len(body)) + body


def pack(pack_class, code, name, texts):
    catalog = b"CIOMLANG" + b"".join(section(key, texts[key]) for key in texts)
    own_name = name.encode()
    return (b"CIOMLAFI" + pack_class + code.encode("ascii") + bytes([len(own_name)]) + own_name +
            struct.pack("<I", len(catalog)) + zlib.compress(catalog, 9))


def check(language, texts, english, prefix):
    expected = {key: value for key, value in english.items() if key.startswith(prefix)}
    found = {key: value for key, value in texts.items() if key.startswith(prefix)}
    if list(found) != list(expected):
        sys.exit(f"{language}: keys {list(found)}, not {list(expected)}")
    for key, items in expected.items():
        if len(found[key]) != len(items):
            sys.exit(f"{language}: {key} has {len(found[key])} texts, not {len(items)}")
        for i, (own, model) in enumerate(zip(found[key], items)):
            if PLACEHOLDER.findall(own or "") != PLACEHOLDER.findall(model or ""):
                sys.exit(f"{language}: {key} {i} has other placeholders than the English text")
    return found


def array(name, data):
    lines = [f"constexpr u8 {name}[] = {{"]
    for i in range(0, len(data), 20):
        lines.append("    " + " ".join(f"{byte}," for byte in data[i:i + 20]))
    return lines + ["};"]


def table(name, prefix, ids, languages, sources):
    arrays, rows = [], []
    for language in (languages[i] for i in ids):
        texts = check(language["source"], sources[language["id"]], sources[0], prefix)
        own = f"k{prefix.rstrip(':').capitalize()}{language['code'].capitalize()}"
        arrays += array(own, pack(b"CIOMBASE", language["code"], language["name"], texts))
        rows.append(f"    {{{language['id']}, {own}}},")
    return (["namespace {", *arrays, f"constexpr LanguagePack k{name}Rows[] = {{", *rows, "};",
             "}  // namespace"] +
            [f"extern const std::span<const LanguagePack> k{name}Packs = k{name}Rows;"])


def main():
    texts_folder, output = map(pathlib.Path, sys.argv[1:])

    def load(name):
        return json.loads((texts_folder / name).read_text("utf-8"))

    plan = load("languages.json")
    languages = {language["id"]: language for language in plan["languages"]}
    sources = {i: load(own["source"]) for i, own in languages.items() if "source" in own}
    names = {"lnames": [languages[i]["name"] for i in sorted(languages)]}

    lines = ["// Made by tools/build_packs.py from the sources in catalog/texts.",
             '#include "catalog/packs.h"', "namespace larkspur {"]
    lines += table("Module", "raid::", plan["module"], languages, sources)
    lines += table("Toolkit", "ciom::", plan["toolkit"], languages, sources)
    lines += ["namespace {", *array("kNames", pack(b"CIOMLN  ", "ENG", "Langnames", names)),
              "}  // namespace",
              "extern const std::span<const u8> kLanguageNamesPack = kNames;",
              "}  // namespace larkspur", ""]
    output.write_text("\n".join(lines), "utf-8")


if __name__ == "__main__":
    main()
