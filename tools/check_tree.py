#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks the rules of the tree that a compiler does not: which folder may include which, where the
system's own headers may stand, that every file has its licence head, and that sources are formatted."""

import pathlib
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
FACES = {"module", "host", "cli", "nbd"}

# A folder includes itself and the folders named here (docs/architecture.md draws the picture).
MAY_INCLUDE = {
    "base": {"platform"},
    "platform": {"base"},
    "io": {"base", "platform"},
    "catalog": {"base", "platform"},
    "partitions": {"io", "base", "platform"},
    "devices": {"io", "base", "platform"},
    "rescue": {"io", "base", "platform"},
    "imaging": {"partitions", "rescue", "devices", "io", "base", "platform"},
    "files": {"partitions", "imaging", "rescue", "io", "base", "platform"},
    "ui": {"catalog", "base", "platform"},
    "dialogs": {"ui", "imaging", "devices", "catalog", "io", "base", "platform"},
    "module": {"dialogs", "ui", "partitions", "imaging", "devices", "catalog", "io", "base", "platform"},
    "host": {"dialogs", "ui", "partitions", "imaging", "rescue", "devices", "catalog", "io", "base", "platform",
             "module"},
    "nbd": {"cli", "imaging", "rescue", "io", "base", "platform"},
    "cli": {"files", "partitions", "imaging", "rescue", "devices", "io", "base", "platform"},
}

INCLUDE = re.compile(r'^\s*#\s*include\s+(["<])([^">]+)[">]', re.M)
OS_HEADER = re.compile(r"^(windows|winioctl|setupapi|unistd|fcntl|pthread|sys/.*|linux/.*)(\.h)?$")
OS_CONDITION = re.compile(r"^\s*#\s*(?:el)?if.*(_WIN32|__linux__|__unix__|_MSC_VER)", re.M)


def sources(*folders):
    for folder in folders:
        for path in sorted((ROOT / folder).rglob("*")):
            if path.suffix in {".h", ".cpp", ".c"}:
                yield path


def include_faults(path, text):
    area = path.relative_to(ROOT / "src").parts[0]
    in_platform = area == "platform"
    for bracket, target in INCLUDE.findall(text):
        if bracket == "<":
            if OS_HEADER.match(target) and not in_platform and area not in FACES | {"ui", "dialogs"}:
                yield f"includes the system's <{target}>: that belongs into platform/"
            continue
        other = target.split("/")[0]
        if other != area and other not in MAY_INCLUDE.get(area, set()):
            yield f'includes "{target}": {area}/ may not know {other}/'
    if not in_platform and OS_CONDITION.search(text):
        yield "asks which system it is built for: the build picks the file"
    if ".value()" in text:
        yield "calls value(), which throws: ask first, then use * or ->"


def faults():
    for path in sources("src", "tests", "fuzz", "bench", "tools"):
        text = path.read_text(encoding="utf-8")
        if "generated" not in path.name and not text.startswith("// SPDX-License-Identifier: MIT\n"):
            yield path, "has no licence head"
        if path.is_relative_to(ROOT / "src"):
            for fault in include_faults(path, text):
                yield path, fault


def unformatted():
    if not shutil.which("clang-format"):
        print("clang-format is missing: formatting is not checked")
        return
    paths = [p for p in sources("src", "tests", "fuzz", "bench", "tools") if "generated" not in p.name]
    run = subprocess.run(["clang-format", "--dry-run", *map(str, paths)], capture_output=True,
                         text=True, check=False)
    for name in sorted({line.split(":")[0] for line in run.stderr.splitlines()
                        if "clang-format-violations" in line}):
        yield pathlib.Path(name), "is not formatted: run clang-format -i"


def main():
    found = [*faults(), *unformatted()]
    for path, fault in found:
        print(f"{path.relative_to(ROOT)}: {fault}")
    print(f"{len(found)} faults in the tree")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
