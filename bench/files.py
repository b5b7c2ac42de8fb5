#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Measures `files` against fls, and what `image --used` asks against what is allocated. Usage:
files.py PROGRAMS MEMORY, two folders: the built programs', and one in memory for the data."""

import json
import pathlib
import random
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

PROGRAMS = pathlib.Path(sys.argv[1]).resolve()
LARKSPUR = str(PROGRAMS / "larkspur")
ROUNDS = 5


def quiet(*command, **options):
    return subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                          **options)


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def seconds(*command):
    started = time.monotonic()
    quiet(*command)
    return time.monotonic() - started


def compare(name, ours, theirs, goal):
    """Runs both in turn; the ratio of the medians."""
    times = {"ours": [], "theirs": []}
    for _ in range(ROUNDS):
        for side, command in (("ours", ours), ("theirs", theirs)):
            times[side].append(seconds(*command))
    mine, other = (statistics.median(times[side]) for side in ("ours", "theirs"))
    print(f"{name:<40} {mine:8.3f} s  fls {other:8.3f} s  {mine / other:5.2f} x  (goal {goal})",
          flush=True)


def import_cache(image, cache):
    size = image.stat().st_size
    mapfile = image.with_suffix(".map")
    mapfile.write_text(f"0 +\n0 {size} +\n")
    cache.unlink(missing_ok=True)
    quiet(LARKSPUR, "import", str(image), str(mapfile), str(cache))


def bench_files(folder):
    tree, image, cache = folder / "tree", folder / "files.img", folder / "files.kvrsp"
    for i in range(100_000):
        if i % 500 == 0:
            (tree / f"folder{i // 500}").mkdir(parents=True)
        (tree / f"folder{i // 500}" / f"file number {i}.txt").write_text("text " * (i % 700))
    with open(image, "wb") as file:
        file.truncate(2 << 30)
    quiet("mkfs.ext4", "-q", "-N", "120000", "-d", str(tree), str(image))
    shutil.rmtree(tree)
    import_cache(image, cache)
    compare("files, 100,000 of them, ext4", (LARKSPUR, "files", str(cache)),
            ("fls", "-r", "-p", str(image)), "1.5")
    compare("files --json", (LARKSPUR, "files", "--json", str(cache)),
            ("fls", "-r", "-p", str(image)), "1.5")
    image.unlink()
    cache.unlink()


def bench_used(folder):
    """What --used asks of a half-full disk, against what dumpe2fs says is allocated."""
    tree, image, cache = folder / "tree", folder / "disk.img", folder / "used.kvrsp"
    for i in range(800):
        (tree / f"folder{i % 40}").mkdir(parents=True, exist_ok=True)
        (tree / f"folder{i % 40}" / f"file{i}").write_bytes(random.randbytes(random.randrange(2 << 20)))
    with open(image, "wb") as file:
        file.truncate(1600 << 20)
    quiet("mkfs.ext4", "-q", "-d", str(tree), str(image))
    shutil.rmtree(tree)
    # Every other file away again: what is free lies between what is not.
    feed = "".join(f"rm /folder{i % 40}/file{i}\n" for i in range(0, 800, 8))
    quiet("debugfs", "-w", str(image), input=feed.encode())
    facts = dict(line.split(":", 1) for line in output("dumpe2fs", "-h", str(image)).splitlines()
                 if ":" in line)
    blocks, free, size = (int(facts[name]) for name in ("Block count", "Free blocks", "Block size"))
    result = subprocess.run([LARKSPUR, "image", "--used", "--json", str(image), str(cache)], check=True,
                            capture_output=True, text=True)
    asked, allocated = json.loads(result.stdout)["readFromSource"] * 512, (blocks - free) * size
    print(f"image --used, {100 * allocated // (blocks * size)} % of 1.6 GiB in use: asks "
          f"{asked / allocated:.3f} x what is allocated  (goal 1.1)", flush=True)


def main():
    with tempfile.TemporaryDirectory(dir=sys.argv[2]) as name:
        for part in (bench_files, bench_used):
            part(pathlib.Path(name))


if __name__ == "__main__":
    main()
