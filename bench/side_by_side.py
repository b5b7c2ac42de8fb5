#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Whole programs side by side: each figure is the median of several rounds in which both programs run
one after the other, given as a ratio. Prints a Markdown table.

Usage: side_by_side.py BIN MEMORY_FOLDER DISK_FOLDER"""

import array
import os
import pathlib
import re
import shutil
import statistics
import struct
import subprocess
import sys
import tempfile
import time

ROUNDS = 9
GIB = 1 << 30
TIB = 1 << 40
SECTOR = 512
BLOCK = 128


def timed(*command):
    start = time.monotonic()
    subprocess.run([str(word) for word in command], check=True, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL)
    return time.monotonic() - start


def peak_kib(*command):
    """The largest resident set of one run."""
    run = subprocess.run(["/usr/bin/time", "-f", "%M", *map(str, command)], check=True,
                         capture_output=True, text=True)
    return int(run.stderr.split()[-1])


def remove(*paths):
    for path in paths:
        pathlib.Path(path).unlink(missing_ok=True)


def compare(ours, peer, rounds=ROUNDS):
    """Medians of both, and of the ratio within a round."""
    pairs = [(ours(), peer()) for _ in range(rounds)]
    return (statistics.median(p[0] for p in pairs), statistics.median(p[1] for p in pairs),
            statistics.median(p[0] / p[1] for p in pairs))


class Bench:
    def __init__(self, tools, memory, disk):
        self.larkspur = tools / "larkspur"
        self.read_maps = tools / "read-maps"
        self.read_device = tools / "read-device"
        self.memory = memory
        self.disk = disk

    def row(self, what, result, target):
        ours, peer, ratio = result
        print(f"| {what} | {ours:.2f} s | {peer:.2f} s | {ratio:.2f} × | {target} |", flush=True)

    def image(self):
        for folder, where in ((self.memory, "in memory"), (self.disk, "on a disk")):
            self.image_in(folder, where)

    def image_in(self, folder, where):
        source, cache, copy, log = (folder / name for name in ("source.img", "disk.kvrsp", "copy.img", "copy.map"))
        with open(source, "wb") as out:
            for _ in range(GIB >> 20):
                out.write(os.urandom(1 << 20))

        def ours():
            remove(cache)
            return timed(self.larkspur, "image", source, cache)

        def ddrescue():
            remove(copy, log)
            return timed("ddrescue", "-q", source, copy, log)

        def cp():
            remove(copy)
            return timed("cp", source, copy)

        ours()  # the memory's pages are made once
        self.row(f"`image` of 1 GiB {where} / `ddrescue`", compare(ours, ddrescue), "≤ 1.0")
        remove(copy)
        if folder == self.memory:  # cp does not flush what it wrote
            self.row(f"`image` of 1 GiB {where} / `cp`", compare(ours, cp), "≤ 1.3")
        remove(source, cache, copy, log)

    def create(self):
        source, cache, zeros = self.disk / "huge.img", self.disk / "huge.kvrsp", self.disk / "zeros"
        size = 15 * TIB  # an ext4 file ends below 16 TiB
        index_mib = size // SECTOR // BLOCK * 4 >> 20
        with open(source, "wb") as out:
            out.truncate(size)
        image = (self.larkspur, "image", source, cache, "--start", 0, "--sectors", 1)

        def ours():
            remove(cache)
            return timed(*image)

        def dd():
            remove(zeros)
            return timed("dd", "if=/dev/zero", f"of={zeros}", "bs=1M", f"count={index_mib}",
                         "conv=fsync")

        def speed(pair):
            return pair[0], pair[1], 1 / pair[2]

        self.row(f"making the cache of 15 TiB ({index_mib} MiB), speed / `dd bs=1M conv=fsync`",
                 speed(compare(ours, dd, 5)), "≥ 0.7")
        remove(zeros)
        print(f"| peak memory of `image` on it | {peak_kib(*image) / 1024:.1f} MiB | | | ≤ 32 MiB |")
        remove(source, cache)

    def look(self, blocks=10_000_000):
        """A cache whose records all exist. Its maps are holes, so that it fits on a disk."""
        cache = self.memory / "many.kvrsp"
        sectors = blocks * BLOCK
        index_sectors = (4 * blocks + SECTOR - 1) // SECTOR
        with open(cache, "wb") as out:
            out.write(b"KVRSparF" + struct.pack("<QIII", sectors, BLOCK, 0x20000, 1))
            out.seek(SECTOR)
            array.array("I", range(blocks)).tofile(out)
            out.truncate((1 + index_sectors + blocks * (BLOCK + 1)) * SECTOR)
        for command in ("info", "map", "check"):
            self.row(f"`{command}` of {blocks // 1_000_000} million blocks / reading index and maps once",
                     compare(lambda c=command: timed(self.larkspur, c, cache),
                             lambda: timed(self.read_maps, cache), 3), "≤ 2")
        remove(cache)

    def tree(self, runs=100):
        disk = self.memory / "disk.img"
        labels = {
            "MBR disk of 4 partitions": ("≤ 0.5", "label: dos\n" + "size=4096,type=83\n" * 4),
            "MBR disk of 55 logical drives":
                ("≤ 0.6", "label: dos\nsize=4096\ntype=f\n" + "size=4096\n" * 55),
            "GPT disk of 128 partitions": ("≤ 0.6", "label: gpt\n" + "size=4096\n" * 128),
        }
        for name, (target, script) in labels.items():
            remove(disk)
            with open(disk, "wb") as out:
                out.truncate(GIB)
            subprocess.run(["sfdisk", "-q", disk], input=script.encode(), check=True)
            ours, dump = (self.larkspur, "tree", "--no-notes", disk), ("sfdisk", "--dump", disk)
            noted = (self.larkspur, "tree", disk)
            self.row(f"`tree` of a {name}, {runs} times / `sfdisk --dump`",
                     compare(lambda c=ours: repeated(runs, c), lambda c=dump: repeated(runs, c), 5),
                     target)
            self.row("the same with notes / without",
                     compare(lambda c=noted: repeated(runs, c), lambda c=ours: repeated(runs, c), 5),
                     "≤ 1.5")
            mine = len(sectors_read(disk, ours))
            others = len(sectors_read(disk, dump) | sectors_read(disk, ("blkid", "-p", disk)))
            print(f"| sectors it reads / `blkid -p` and `sfdisk --dump` together | {mine} | {others} | "
                  f"{mine / others:.2f} × | ≤ 1 |")
        self.worst_tree(disk)
        remove(disk)

    def worst_tree(self, disk, sectors=1 << 16):
        """Every sector is a table of four partitions that hold the same table again."""
        entries = b"".join(b"\0\0\0\0\x83\0\0\0" + struct.pack("<II", 1 + i, 60000) for i in range(4))
        disk.write_bytes((bytes(446) + entries + b"\x55\xaa") * sectors)
        command = (self.larkspur, "tree", disk)
        print(f"| `tree` of a disk of nothing but tables of itself | {timed(*command):.2f} s, "
              f"{peak_kib(*command) / 1024:.1f} MiB | | | ≤ 1 s, 64 MiB |")

    def device(self):
        """Reading a block device in order, where the machine has loop devices and we are root."""
        medium = self.memory / "medium.img"
        with open(medium, "wb") as out:
            for _ in range(GIB >> 20):
                out.write(os.urandom(1 << 20))
        for sector_size in (512, 4096):
            made = subprocess.run(["losetup", "--find", "--show", "--sector-size", str(sector_size),
                                   str(medium)], capture_output=True, text=True, check=False)
            if made.returncode != 0:
                print("| block devices | no loop device: not measured | | | |")
                break
            loop = made.stdout.strip()

            def ours(path=loop):
                return timed(self.read_device, path)

            def dd(path=loop):
                return timed("dd", f"if={path}", "of=/dev/null", "bs=64K", "iflag=direct")

            try:
                seconds, peer, ratio = compare(ours, dd)
            finally:
                subprocess.run(["losetup", "--detach", loop], check=False)
            self.row(f"reading a loop device with sectors of {sector_size} bytes, 1 GiB, speed / "
                     "`dd bs=64K iflag=direct`", (seconds, peer, 1 / ratio), "≥ 0.9")
        remove(medium)


def repeated(runs, command):
    """Programs that take a millisecond are started by the bare system call: anything more would be
    measured as well."""
    program = shutil.which(str(command[0]))
    arguments = [str(word) for word in command]
    quiet = [(os.POSIX_SPAWN_OPEN, fd, os.devnull, os.O_WRONLY, 0) for fd in (1, 2)]
    start = time.monotonic()
    for _ in range(runs):
        child = os.posix_spawn(program, arguments, os.environ, file_actions=quiet)
        os.waitpid(child, 0)
    return time.monotonic() - start


def sectors_read(path, command):
    """The sectors of the file at `path` that a program reads, as strace tells."""
    trace = subprocess.run(
        ["strace", "-f", "-y", "-e", "trace=read,pread64,lseek", "-e", "signal=none", *map(str, command)],
        check=False, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True).stderr
    read = re.compile(r"^read\(\d+<([^>]*)>.*\) = (\d+)$")
    pread = re.compile(r"^pread64\(\d+<([^>]*)>.*, \d+, (\d+)\) = (\d+)$")
    seek = re.compile(r"^lseek\(\d+<([^>]*)>.*\) = (\d+)$")
    found, position = set(), 0
    for line in trace.splitlines():
        line = re.sub(r"^\[pid +\d+\] ", "", line)
        if (m := pread.match(line)) and m[1] == str(path):
            start, length = int(m[2]), int(m[3])
        elif (m := seek.match(line)) and m[1] == str(path):
            position = int(m[2])
            continue
        elif (m := read.match(line)) and m[1] == str(path):
            start, length = position, int(m[2])
            position += length
        else:
            continue
        found.update(range(start // SECTOR, (start + length + SECTOR - 1) // SECTOR))
    return found


def main():
    tools, memory, disk = (pathlib.Path(word).resolve() for word in sys.argv[1:4])
    print("| what | Larkspur | peer | ratio | target |\n|---|---|---|---|---|")
    with tempfile.TemporaryDirectory(dir=memory) as fast, tempfile.TemporaryDirectory(dir=disk) as slow:
        bench = Bench(tools, pathlib.Path(fast), pathlib.Path(slow))
        bench.image()
        bench.create()
        bench.look()
        bench.tree()
        bench.device()


if __name__ == "__main__":
    main()
