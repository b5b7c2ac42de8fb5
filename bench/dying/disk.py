# SPDX-License-Identifier: MIT
"""A dying disk as a block device: plans, the file system and the loop device, and what its log tells.
Places and lengths are sectors of 512 bytes. Needs Linux, root, /dev/fuse and loop devices."""

import array
import collections
import os
import pathlib
import random
import shutil
import signal
import subprocess
import tempfile
import time

SECTOR = 512
MIB = (1 << 20) // SECTOR

Ask = collections.namedtuple("Ask", "came answered first count error")


def child(name):
    """The words before a command that gets the signal `name` when the one that started it is gone. It
    comes before other work: a disk does not wait for a processor."""
    return ["nice", "-n", "-10", "setpriv", "--pdeathsig", name]


class Missing(Exception):
    """This machine lacks something; the words say what."""


class Plan:
    """What a disk is like: `bad` [(first, count)] and `slow` [(first, count, factor)] areas, in order, and
    `lines` of the plan file for all else (dying_disk.cpp describes them)."""

    def __init__(self, sectors, bad=(), slow=(), seed=0, lines=()):
        self.sectors, self.seed, self.lines = sectors, seed, list(lines)
        self.bad, self.slow = sorted(bad), sorted(slow)

    def text(self):
        return "\n".join([f"size {self.sectors}", f"seed {self.seed}", *self.lines,
                          *(f"bad {first} {count}" for first, count in self.bad),
                          *(f"slow {first} {count} {factor}" for first, count, factor in self.slow), ""])

    def bad_map(self):
        """One byte for each sector: 1 where it is bad."""
        bad = bytearray(self.sectors)
        for first, count in self.bad:
            bad[first:first + count] = b"\1" * count
        return bad

    def contents(self, first, count):
        """What the sectors hold, were they all good."""
        return b"".join((b"sector %014d seed %04d\n" % (sector, self.seed % 10000)) * 16
                        for sector in range(first, first + count))


def places(chance, room, lengths, gap=1, step=1):
    """Areas of these lengths at places of chance, at least `gap` apart, in order."""
    spare = (room - sum(lengths) - gap * (len(lengths) + 1)) // step
    starts = sorted(chance.randint(0, spare) * step for _ in lengths)
    at = 0
    for start, length in zip(starts, lengths):
        yield start + at + gap, length
        at += length + gap


def clusters(sectors, seed, count=24):
    """Bad clusters of 16 to 256 KiB, in each of them runs of bad and of good sectors in turn."""
    chance = random.Random(seed)
    bad = []
    for first, length in places(chance, sectors, [chance.randint(32, 512) for _ in range(count)]):
        end = first + length
        while first < end:
            run = min(chance.randint(1, 16), end - first)
            bad.append((first, run))
            first += run + chance.randint(1, 16)
    return Plan(sectors, bad, seed=seed)


def spots(sectors, seed, count=220):
    """Single bad sectors."""
    return Plan(sectors, places(random.Random(seed), sectors, [1] * count), seed=seed)


def head(sectors, seed, heads=4):
    """One of four heads is dead on two thirds of the disk: stripes that all fail."""
    chance = random.Random(seed)
    stripe = max(sectors // 256, 8)
    begin = chance.randint(0, sectors // 3)
    end = begin + sectors * 2 // 3
    return Plan(sectors, [(first, min(stripe, end - first)) for first in
                          range(begin + chance.randrange(heads) * stripe, end, heads * stripe)], seed=seed)


def slow(sectors, seed, count=6, factor=30):
    """Zones that take thirty times as long, together a quarter of the disk."""
    chance = random.Random(seed)
    zone = sectors // 4 // count
    return Plan(sectors, slow=[(first, length, factor) for first, length in
                               places(chance, sectors, [zone] * count)], seed=seed)


KINDS = {"clusters": clusters, "spots": spots, "head": head, "slow": slow}


def missing():
    """What this machine lacks for a dying disk, or nothing."""
    if os.geteuid() != 0:
        return "a dying disk needs the rights of root, for its loop device"
    if not os.access("/dev/fuse", os.R_OK | os.W_OK):
        return "there is no /dev/fuse: load the kernel's module fuse, or give it to the container"
    if not os.path.exists("/dev/loop-control"):
        return "there are no loop devices: load the kernel's module loop, or give them to the container"
    for tool in ("losetup", "setpriv", "fusermount3"):
        if not shutil.which(tool):
            return f"{tool} is not installed: run scripts/setup"
    return None


class Disk:
    """A dying disk while the `with` block lasts. `device` is its block device, `log` its log.

    Nothing of it stays even when this process is killed: the file system ends with its parent, and the
    loop device with the last one that holds it open."""

    def __init__(self, program, plan, sector_size=512):
        if words := missing():
            raise Missing(words)
        self._program, self._plan, self._sector_size = program, plan, sector_size
        self._server = self._held = None
        self._folder = pathlib.Path(tempfile.mkdtemp(prefix="dying-disk-"))
        self.log = self._folder / "log"
        self.file = self._folder / "mount/disk"
        self.device = None

    def __enter__(self):
        try:
            self._mount()
            self._attach()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        if self._held is not None:
            os.close(self._held)
        if self._server is not None:
            self._server.terminate()
            self._server.wait()
        subprocess.run(["umount", "-l", self._folder / "mount"], stderr=subprocess.DEVNULL, check=False)
        shutil.rmtree(self._folder)

    def _mount(self):
        mount = self._folder / "mount"
        mount.mkdir()
        (self._folder / "plan").write_text(self._plan.text())
        self._server = subprocess.Popen([*child("TERM"), self._program, self._folder / "plan", mount,
                                         self.log])
        while not self.file.exists():
            if self._server.poll() is not None:
                raise Missing("the dying disk's file system could not be mounted")
            time.sleep(0.01)

    def _attach(self):
        made = subprocess.run(["losetup", "--find", "--show", "--read-only", "--direct-io=on",
                               "--sector-size", str(self._sector_size), self.file],
                              capture_output=True, text=True, check=False)
        if made.returncode != 0:
            raise Missing("no loop device: " + made.stderr.strip())
        self.device = made.stdout.strip()
        self._held = os.open(self.device, os.O_RDONLY)
        subprocess.run(["losetup", "--detach", self.device], check=True)  # when it is closed
        settings = pathlib.Path("/sys/block", os.path.basename(self.device))
        if (settings / "loop/dio").read_text().strip() != "1":
            raise Missing("this kernel's loop devices have no direct I/O")
        (settings / "queue/read_ahead_kb").write_text("128")  # as for a hard disk
        if shutil.which("udevadm"):
            subprocess.run(["udevadm", "settle", "--timeout=5"], check=False)

    def kill(self):
        """The disk dies now."""
        self._server.send_signal(signal.SIGUSR1)

    def revive(self):
        """The disk is back."""
        self._server.send_signal(signal.SIGUSR2)

    def asks(self):
        """What it was asked so far, in order."""
        for line in self.log.read_text().splitlines():
            came, answered, first, count, error = line.split()
            yield Ask(float(came), float(answered), int(first), int(count), error)


def times_asked(asks, sectors):
    """How often each sector was asked."""
    times = array.array("H", bytes(2 * sectors))
    for ask in asks:
        for sector in range(ask.first, ask.first + ask.count):
            times[sector] += 1
    return times


def good_over_time(asks, sectors):
    """[(time, sectors)]: how many sectors had been given by when, each counted once."""
    given = bytearray(sectors)
    curve, total = [], 0
    for ask in asks:
        if ask.error != "0":
            continue
        fresh = given.count(0, ask.first, ask.first + ask.count)
        given[ask.first:ask.first + ask.count] = b"\1" * ask.count
        if fresh:
            total += fresh
            curve.append((ask.answered, total))
    return curve
