#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""`image` on a disk that is dying, behind loop devices with sectors of 512 and of 4096 bytes; what it was
asked is taken from the disk's own log. Usage: dying_disk_test.py DYING_DISK PROGRAM; ends with 77 where
there can be no such disk."""

import json
import os
import pathlib
import random
import signal
import subprocess
import sys
import tempfile
import time
import unittest

import program

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "bench/dying"))
import disk  # noqa: E402

PIECE = 128  # sectors asked at once
SECTORS = 64 * disk.MIB
DONE, FAILED, SOME_UNREADABLE, INTERRUPTED = 0, 1, 3, 130
# Read but not stored when a kill comes: what is under way, and what waits to be stored.
LOST_AT_MOST = 16 * disk.MIB
DYING_DISK = None
PROGRAM = None


def damage(seed, physical, *lines):
    """A quick disk with all kinds of damage. `physical` sectors are bad together."""
    chance = random.Random(seed)
    lengths = [1] * 40 + [chance.randint(2, 60) for _ in range(6)] + [700]
    chance.shuffle(lengths)
    bad = list(disk.places(chance, SECTORS - PIECE, [n * physical for n in lengths], physical, physical))
    return disk.Plan(SECTORS, bad, [(SECTORS // 2, 2000, 8)], seed,
                     ["rate 400", "failed 0.5 2", *lines])


class Rescue:
    """Runs of `image` on one disk with one cache."""

    def __init__(self, test, dying, plan):
        self._test, self._dying, self._plan = test, dying, plan
        self._bad = plan.bad_map()
        self.excused = [0] * plan.sectors  # how often a sector may be asked again because of a kill
        self.runs = []                     # when they began and ended

    def image(self, stop=None, after=None):
        """One run, with `stop` sent to it after some seconds; its exit status and what it said."""
        began = time.monotonic()
        with tempfile.TemporaryFile("w+") as words:
            process = subprocess.Popen([PROGRAM, "image", self._dying.device, "disk.kvrsp"], stderr=words,
                                       stdout=subprocess.DEVNULL, stdin=subprocess.DEVNULL)
            try:
                process.wait(after if stop else 20)
            except subprocess.TimeoutExpired:
                process.send_signal(stop or signal.SIGKILL)
            killed = time.monotonic()
            status = process.wait()
            words.seek(0)
            said = words.read()
        self.runs.append((began, time.monotonic()))
        if status == -signal.SIGKILL:
            self._test.assertEqual(stop, signal.SIGKILL, "it did not end by itself")
            self._excuse(began, killed)
        return status, said

    def statuses(self):
        if not os.path.exists("disk.kvrsp"):
            return []
        told = subprocess.run([PROGRAM, "map", "disk.kvrsp", "--json"], check=True, capture_output=True)
        return [(e["start"], e["sectors"], e["status"]) for e in json.loads(told.stdout)["extents"]]

    def _excuse(self, began, killed):
        """A kill costs the ask in flight, and what was read and not yet stored."""
        missing = bytearray(b"\1" * self._plan.sectors)
        for first, count, status in self.statuses():
            if status != "missing":
                missing[first:first + count] = bytes(count)
        lost = 0
        for ask in self._dying.asks():
            if ask.came < began:
                continue
            if ask.error == "0" or ask.answered > killed - 0.05:
                for sector in range(ask.first, ask.first + ask.count):
                    self.excused[sector] += missing[sector]
                    lost += missing[sector]
        self._test.assertLess(lost, LOST_AT_MOST)

    def excuse_refused_before_death(self):
        """What was refused right before the disk fell silent looks like what the dead disk refused."""
        for ask in reversed([ask for ask in self._dying.asks() if ask.error != "dead"]):
            if ask.error == "0":
                break
            for sector in range(ask.first, ask.first + ask.count):
                self.excused[sector] += 1

    def assert_truth(self, complete):
        """Nothing is marked that is not bad, and what is there is right; `complete`: all is there that
        is good."""
        exported = subprocess.run([PROGRAM, "export", "disk.kvrsp", "out.img", "--force"],
                                  capture_output=True, check=False)
        self._test.assertIn(exported.returncode, (DONE, SOME_UNREADABLE), exported.stderr)
        with open("out.img", "rb") as out:
            for first, count, status in self.statuses():
                bad = self._bad.count(1, first, first + count)
                if status == "unreadable":
                    self._test.assertEqual(bad, count, f"good sectors from {first} are marked")
                elif status == "present":
                    out.seek(first * disk.SECTOR)
                    self._test.assertTrue(out.read(count * disk.SECTOR) ==
                                          self._plan.contents(first, count), f"from {first}")
                elif complete:
                    self._test.fail(f"{count} sectors from {first} are missing")

    def assert_asked_at_most_twice(self):
        """Once with its neighbours and once alone; asks of a dead disk do not count. A good sector may
        be asked again as a witness, once for 64 failures. Between runs the system may look for itself."""
        asks = [ask for ask in self._dying.asks() if ask.error != "dead" and
                any(began <= ask.came <= ended for began, ended in self.runs)]
        events = map(json.loads, pathlib.Path("disk.kvrsp.log").read_text(encoding="utf-8").splitlines())
        witnesses = [event["start"] for event in events if event["event"] == "witness"]
        self._test.assertLessEqual(len(witnesses), sum(ask.error != "0" for ask in asks) // 64)
        for sector in witnesses:
            self.excused[sector] += 1
        spoilt = bytearray(self._plan.sectors)  # touched by a failed ask: only then asked alone
        for ask in asks:
            if ask.error != "0":
                spoilt[ask.first:ask.first + ask.count] = b"\1" * ask.count
        often = [(sector, times) for sector, times in
                 enumerate(disk.times_asked(asks, self._plan.sectors))
                 if times > 1 + spoilt[sector] + self.excused[sector]]
        self._test.assertEqual(often[:5], [], f"and {len(often)} in all")


class DyingDisk(program.ProgramTest):
    def each_rescue(self, check, *lines):
        """Checks disks with sectors of 512 and of 4096 bytes."""
        seed = random.randrange(10000)
        for size, refusal in ((512, "EIO"), (4096, "ENODATA")):
            plan = damage(seed, size // disk.SECTOR, f"refusal {refusal}", *lines)
            for left in pathlib.Path(".").iterdir():
                left.unlink()
            with self.subTest(size=size, seed=seed, lines=lines), \
                    disk.Disk(DYING_DISK, plan, size) as dying:
                check(dying, Rescue(self, dying, plan), random.Random(seed))

    def finish(self, rescue):
        status, said = rescue.image()
        self.assertEqual(status, SOME_UNREADABLE, said)
        rescue.assert_truth(complete=True)
        rescue.assert_asked_at_most_twice()

    def killed_and_interrupted(self, _, rescue, chance):
        for stop in (signal.SIGKILL, signal.SIGINT) * 4:
            status, said = rescue.image(stop, chance.uniform(0.02, 0.5))
            self.assertIn(status, (-signal.SIGKILL, INTERRUPTED, SOME_UNREADABLE), said)
            if rescue.statuses():
                rescue.assert_truth(complete=False)
        self.finish(rescue)

    def stopped_answering(self, dying, rescue, _):
        status, said = rescue.image()
        self.assertEqual(status, FAILED, said)
        self.assertRegex(said, "not answering|gone")
        rescue.assert_truth(complete=False)
        self.assertLess(sum(ask.error == "dead" for ask in dying.asks()), 200, "it kept asking")
        if "not answering" in said:
            rescue.excuse_refused_before_death()
        dying.revive()
        self.finish(rescue)

    def test_killed_and_interrupted_at_any_time(self):
        self.each_rescue(self.killed_and_interrupted)

    def test_a_disk_that_stops_answering_and_returns(self):
        for answer in ("EIO", "ENODEV"):
            self.each_rescue(self.stopped_answering, "dies failures 25", f"dead {answer} 10")

    def test_a_disk_that_hangs_for_a_while(self):
        self.each_rescue(lambda dying, rescue, chance: self.finish(rescue),
                         "dies failures 20 4", "dead hang", "returns 0.3")

    def test_what_a_file_is_asked(self):
        for bad, status, first, rest in (([], 0, 1, {1}), ([(0, 1)], 3, 2, {1, 2})):
            with self.subTest(bad=bad), tempfile.TemporaryDirectory() as folder, \
                    disk.Disk(DYING_DISK, disk.Plan(2048, bad, [], 1, ["rate 400"])) as dying:
                before = len(list(dying.asks()))
                for _ in range(3):
                    done = subprocess.run([PROGRAM, "image", dying.file, f"{folder}/disk.kvrsp"],
                                          check=False, capture_output=True)
                    self.assertEqual(done.returncode, status, done.stderr)
                times = disk.times_asked(list(dying.asks())[before:], 2048)
                self.assertEqual((times[0], set(times[1:])), (first, rest))


def main():
    global DYING_DISK, PROGRAM
    DYING_DISK, PROGRAM = (os.path.abspath(word) for word in sys.argv[1:3])
    if words := disk.missing():
        print(f"skipped: {words}")
        sys.exit(77)
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]])


if __name__ == "__main__":
    main()
