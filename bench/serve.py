#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Measures `larkspur serve` beside nbdkit's own file plugin on the raw image, and a first read through it
beside the same read of the source. Usage: serve.py PROGRAMS MEMORY, two folders: the built programs', and
one in memory for the data. Ends with 77 where nbdkit or its clients are missing."""

import contextlib
import mmap
import os
import pathlib
import random
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent / "dying"))
import disk  # noqa: E402

ROUNDS = 7
MIB = 1 << 20

# A client that is connected tells how long its reads take, one in seconds a line.
CLIENT = """
import nbd, random, sys, time
h = nbd.NBD()
h.connect_uri(sys.argv[1])
chance = random.Random(int(sys.argv[3]))
pages = h.get_size() // 4096
places = [chance.randrange(pages) * 4096 for _ in range(int(sys.argv[2]))]
started = time.monotonic()
for place in places:
    h.pread(4096, place)
print(time.monotonic() - started)
"""


@contextlib.contextmanager
def served(folder, *command):
    path = folder / "sock"
    process = subprocess.Popen([*map(str, command)], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                               text=True)
    while not path.exists() or command[0] != "nbdkit" and "Ctrl-C" not in process.stdout.readline():
        time.sleep(0.02)
    try:
        yield f"nbd+unix:///?socket={path}"
    finally:
        process.terminate()
        process.communicate()
        path.unlink(missing_ok=True)


def seconds(*command):
    started = time.monotonic()
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
    return time.monotonic() - started


def reads(uri, count, seed=1):
    return float(subprocess.run(["/usr/bin/python3", "-c", CLIENT, uri, str(count), str(seed)], check=True,
                                capture_output=True, text=True).stdout)


def compare(name, measure, ours, theirs, goal):
    """Both in turn; how fast ours is beside theirs, by the medians."""
    times = {"ours": [], "theirs": []}
    for turn in range(ROUNDS):
        for side, command in (("ours", ours), ("theirs", theirs)):
            with served(*command) as uri:
                times[side].append(measure(uri, turn))
    mine, other = (statistics.median(times[side]) for side in ("ours", "theirs"))
    print(f"{name:<44} {mine * 1000:9.2f} ms  file plugin {other * 1000:9.2f} ms  {other / mine:5.2f} x"
          f"  (goal {goal})", flush=True)


def device_reads(device, count, seed):
    """The same reads as CLIENT's, of a device, past the system's cache."""
    file = os.open(device, os.O_RDONLY | os.O_DIRECT)
    pages = os.lseek(file, 0, os.SEEK_END) // 4096
    chance, buffer = random.Random(seed), mmap.mmap(-1, 4096)
    places = [chance.randrange(pages) * 4096 for _ in range(count)]
    started = time.monotonic()
    for place in places:
        os.preadv(file, [buffer], place)
    took = time.monotonic() - started
    os.close(file)
    return took


def compare_first_reads(programs, folder):
    """Reads that no cache has yet, of a disk that needs 5 ms to get anywhere: served, and by itself."""
    if words := disk.missing():
        print(f"skipped: {words}")
        return
    times = {"ours": [], "device": []}
    for turn in range(ROUNDS):
        for left in folder.glob("fresh.kvrsp*"):
            left.unlink()
        plan = disk.Plan(256 * disk.MIB, lines=["seek 5", "rate 150"])
        with disk.Disk(programs / "dying-disk", plan) as dying:
            times["device"].append(device_reads(dying.device, 50, turn))
            with served(folder, programs / "larkspur", "serve", dying.device, folder / "fresh.kvrsp",
                        "--socket", folder / "sock") as uri:
                times["ours"].append(reads(uri, 50, turn))
    mine, other = (statistics.median(times[side]) for side in ("ours", "device"))
    print(f"{'50 reads of 4 KiB that are not cached yet':<44} {mine * 1000:9.2f} ms  the device   "
          f"{other * 1000:9.2f} ms  {mine / other:5.2f} times as long  (goal 1.1)")


def main():
    programs = pathlib.Path(sys.argv[1]).resolve()
    larkspur = programs / "larkspur"
    for tool in ("nbdkit", "nbdcopy"):
        if not shutil.which(tool):
            print(f"skipped: {tool} is not installed: run scripts/setup")
            sys.exit(77)
    with tempfile.TemporaryDirectory(dir=sys.argv[2]) as name:
        folder = pathlib.Path(name)
        image, cache = folder / "disk.img", folder / "disk.kvrsp"
        with open(image, "wb") as file:
            for _ in range(1024):
                file.write(random.randbytes(MIB))
        subprocess.run([larkspur, "image", image, cache], check=True, capture_output=True)
        ours = (folder, larkspur, "serve", cache, "--socket", folder / "sock")
        theirs = (folder, "nbdkit", "-f", "-r", "-U", folder / "sock", "file", image)
        compare("a complete cache: nbdcopy of 1 GiB", lambda uri, _: seconds("nbdcopy", uri, "null:"),
                ours, theirs, "0.9")
        compare("a complete cache: 20,000 random 4 KiB", lambda uri, turn: reads(uri, 20000, turn),
                ours, theirs, "0.7")
        compare_first_reads(programs, folder)


if __name__ == "__main__":
    main()
