#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs the built command line as a user would. Usage: cli_test.py ARGUMENTS, as program.py takes them."""

import contextlib
import fcntl
import itertools
import json
import os
import pathlib
import pty
import re
import resource
import shlex
import shutil
import signal
import struct
import subprocess
import sys
import termios
import time
import unittest
import xml.etree.ElementTree

import program
from program import PROGRAM, SECTOR, blank, loop_device, mapfile_text, native_only, run, start, wait_until


def without_chance(cache):
    """A whole cache without its stamp, and its records as the disk has its blocks: a machine that is
    slow for a moment has other blocks read first."""
    sectors, block, _, _ = struct.unpack_from("<QIII", cache, 8)
    blocks = -(-sectors // block)
    data = (1 + -(-blocks * 4 // SECTOR)) * SECTOR
    size = (1 + block) * SECTOR
    index = struct.unpack_from(f"<{blocks}I", cache, SECTOR)
    rest = cache[28:SECTOR], cache[SECTOR + 4 * blocks:data], len(cache)
    return [cache[:24], *rest, sorted(index), *(cache[data + r * size:data + (r + 1) * size] for r in index)]


class CliTest(program.ProgramTest):
    def image(self, *options, status=0, cache="disk.kvrsp"):
        return self.document("image", "source.img", cache, *options, status=status)

    def export(self, status=0):
        self.call("export", "disk.kvrsp", "out.img", "--force", status=status)
        return pathlib.Path("out.img").read_bytes()

    # What it is for

    @native_only
    def test_a_terminal_sees_how_far_it_is(self):
        self.make_source(8192)
        process, terminal = pty.fork()
        if process == 0:
            os.execv(PROGRAM[0], ["larkspur", "image", "source.img", "disk.kvrsp", "--max-rate", "1M"])
        said = b""
        with contextlib.suppress(OSError):  # how a terminal ends
            while more := os.read(terminal, 65536):
                said += more
                if b"0:00 left" in more:
                    os.write(terminal, b"\3")  # Ctrl-C
        os.close(terminal)
        self.assertEqual(os.waitstatus_to_exitcode(os.waitpid(process, 0)[1]), 130)
        shown, message, result = said.decode().replace("\r\n", "\n").split("\n", 2)
        self.assertEqual(message, "larkspur: disk.kvrsp: stopped; what was read is kept, and the "
                                  "same command resumes")
        self.assertRegex(result, r"^present +\d+ sectors")
        frames = [frame.removesuffix("^C").rstrip() for frame in shown.split("\r") if frame]
        self.assertGreater(len(frames), 5)
        mebibytes = {"KiB": 1 / 1024, "MiB": 1}
        for frame in frames:
            found = re.fullmatch(r"copy +([\d.]+) ?%  at [\d.]+ [KM]iB  present ([\d.]+) ([KM]iB)"
                                 r"(?:  ([\d.]+) ([KM]iB)/s  0:(\d\d) left)?", frame)
            self.assertTrue(found, frame)
            present = float(found[2]) * mebibytes[found[3]]
            self.assertAlmostEqual(float(found[1]), present * 25, delta=1.5, msg=frame)
            if found[4]:
                self.assertGreater(int(found[6]) + 1.2, 4 - present, "no faster than the limit: " + frame)
                self.assertLess(float(found[4]) * mebibytes[found[5]], 1.1, frame)
        self.assertIn("/s", frames[-1])

    def test_a_healthy_source_comes_out_unchanged(self):
        data = self.make_source(3000)
        counts = self.image()
        self.assertEqual([counts[k] for k in ("sectors", "present", "unreadable", "missing",
                                              "readFromSource")], [3000, 3000, 0, 0, 3000])
        self.assertEqual(self.export(), data)
        self.assertEqual(self.extents(), [(0, 3000, "present")])
        self.assertEqual(pathlib.Path("disk.kvrsp").read_bytes()[:8], b"KVRSparF")

    def test_unreadable_sectors_are_marked_and_never_asked_again(self):
        bad = [(100, 1), (2048, 300), (4999, 1)]
        data = bytearray(self.make_source(5000))
        pathlib.Path("bad.map").write_text(mapfile_text(5000, bad))
        counts = self.image("--test-mode", "bad.map", status=3)
        self.assertEqual([counts["present"], counts["unreadable"], counts["missing"]],
                         [5000 - 302, 302, 0])
        self.assertEqual([e for e in self.extents() if e[2] == "unreadable"],
                         [(first, count, "unreadable") for first, count in bad])
        for first, count in bad:
            data[first * SECTOR:(first + count) * SECTOR] = bytes(count * SECTOR)
        self.assertEqual(self.export(status=3), data)
        # The disk now reads perfectly and holds something else: that must go unnoticed.
        self.make_source(5000, seed=2)
        self.assertEqual(self.image(status=3)["readFromSource"], 0)
        self.image("--test-mode", "bad.map", "--no-scrape", cache="coarse.kvrsp", status=3)
        coarse = self.image("--test-mode", "bad.map", "--no-scrape", cache="coarse.kvrsp", status=3)
        self.assertGreater(coarse["missing"], 302)
        self.assertEqual(coarse["readFromSource"], 0, "what failed together is not read so again")
        self.call("read", "source.img", "coarse.kvrsp", "--test-mode", "bad.map", "--start", 100, "--sectors", 1, status=3)
        self.image("--no-scrape", "--start", 100, "--sectors", 2, cache="coarse.kvrsp", status=3)  # one of each
        read = self.call("read", "source.img", "disk.kvrsp", "--start", 90, "--sectors", 50, status=3)
        self.assertEqual(read.stdout, bytes(data[90 * SECTOR:140 * SECTOR]))

    def test_a_range_is_read_first_and_the_rest_later(self):
        data = self.make_source(5000)
        counts = self.image("--start", 1000, "--sectors", 500)
        self.assertEqual([counts["present"], counts["missing"], counts["readFromSource"]],
                         [500, 4500, 500])
        self.assertEqual(self.extents(), [(0, 1000, "missing"), (1000, 500, "present"),
                                          (1500, 3500, "missing")])
        self.assertEqual(self.image()["readFromSource"], 4500)
        self.assertEqual(self.export(), data)

    def ends(self, log="disk.kvrsp.log"):
        """How the runs of the log ended; "open" for each without an end."""
        events = [json.loads(line) for line in pathlib.Path(log).read_text().splitlines()]
        told = [e.get("how", "open") for e in events if e["event"] in ("open", "end")]
        return [how for i, how in enumerate(told) if how != "open" or told[i + 1:i + 2] in ([], ["open"])]

    def test_every_run_ends_in_the_log(self):
        self.make_source(5000)
        for name, blocks in (("none.map", "0x0 0x1000 -\n"), ("past.map", "0x800000 0x1000 +\n")):
            pathlib.Path(name).write_text("0x0 ? 1\n" + blocks)
        self.refused("no partition 7", "image", "source.img", "disk.kvrsp", "--partition", "7")
        # A mapfile that wants nothing is no domain that has been read.
        for name in ("none.map", "past.map"):
            self.refused("no sector of this disk is selected", "image", "source.img", "disk.kvrsp", "--domain", name, status=2)
        self.assertEqual(self.ends(), ["done"] * 3)
        told = self.call("log", "disk.kvrsp")
        self.assertEqual((told.stdout.count(b"  done "), told.stderr), (3, b""))
        for name in ("disk.kvrsp.log", "nothing"):  # an empty one, and none
            pathlib.Path("disk.kvrsp.log").write_bytes(b"")
            if name == "nothing":
                os.unlink("disk.kvrsp.log")
            self.assertEqual(self.refused("there is no log", "log", "disk.kvrsp", status=0).stdout, b"")
            self.refused("there is no log", "log", "disk.kvrsp", "--json", status=0)

    def test_outputs_are_judged_before_the_disk_is_asked(self):
        self.make_source(100)
        pathlib.Path("mine").write_bytes(b"precious")
        commands = [["image", "source.img", "disk.kvrsp", "--report", "mine"],
                    ["read", "source.img", "disk.kvrsp", "--start", "0", "--sectors", "1", "-o", "mine"]]
        if not program.is_emulated():  # Windows has no file systems to list
            commands.append(["files", "source.img", "disk.kvrsp", "--mapfile", "mine"])
        for command in commands:
            self.assertEqual(self.refused("mine: this already exists", *command).stdout, b"")
        for words, *command in (
                ("nowhere/x", "read", "source.img", "disk.kvrsp", "--start", "0", "--sectors", "1", "-o", "nowhere/x"),
                ("nowhere/x", "image", "source.img", "disk.kvrsp", "--report", "nowhere/x"),
                ("mine: ", "image", "source.img", "disk.kvrsp", "--domain", "mine")):
            self.refused(words, *command)
        self.assertEqual(sorted(os.listdir()), ["mine", "source.img"])

    @native_only
    def test_a_link_to_nothing_is_told_as_that(self):
        self.make_source(100)
        os.symlink("nowhere", "link")
        self.refused("link: this is a link to a file that is not there", "image", "source.img", "link")
        os.symlink("nowhere", "disk.kvrsp.log")
        self.refused("this is a link to a file that is not there", "image", "source.img", "disk.kvrsp")
        os.unlink("disk.kvrsp.log")
        self.image()
        self.refused("link: this is a link to a file that is not there", "export", "disk.kvrsp", "link", "--force")
        self.assertFalse(os.path.exists("nowhere"))

    def test_read_of_nothing_but_bad_sectors(self):
        self.make_source(5000)
        pathlib.Path("bad.map").write_text(mapfile_text(5000, [(1000, 64)]))
        read = self.call("read", "source.img", "disk.kvrsp", "--test-mode", "bad.map", "--start", 1000,
                         "--sectors", 64, "-o", "part", status=3)
        self.assertEqual(read.stderr.splitlines(), [b"larkspur: source.img: 64 unreadable sectors read as zeros"])
        self.assertEqual(pathlib.Path("part").read_bytes(), bytes(64 * SECTOR))

    def test_read_keeps_what_it_read(self):
        data = self.make_source(5000)
        self.call("read", "source.img", "disk.kvrsp", "--start", 1000, "--sectors", 3000, "-o", "part")
        self.assertEqual(pathlib.Path("part").read_bytes(), data[1000 * SECTOR:4000 * SECTOR])
        self.assertEqual(self.extents(), [(0, 1000, "missing"), (1000, 3000, "present"), (4000, 1000, "missing")])

    def test_map_writes_pictures_and_a_mapfile(self):
        self.make_source(5000)
        text = mapfile_text(5000, [(10, 5), (4000, 1)])
        pathlib.Path("bad.map").write_text(text)
        self.image("--test-mode", "bad.map", "--sectors", 4500, status=3)
        self.call("map", "disk.kvrsp", "--png", "m.png", "--svg", "m.svg", "--mapfile", "out.map")
        self.assertEqual(pathlib.Path("m.png").read_bytes()[:8], b"\x89PNG\r\n\x1a\n")
        xml.etree.ElementTree.parse("m.svg")
        lines = [line.split() for line in pathlib.Path("out.map").read_text().splitlines()
                 if not line.startswith("#")]
        self.assertEqual(lines[0][1], "?")
        self.assertEqual([(int(a, 16) // SECTOR, int(b, 16) // SECTOR, c) for a, b, c in lines[1:]],
                         [(0, 10, "+"), (10, 5, "-"), (15, 3985, "+"), (4000, 1, "-"),
                          (4001, 499, "+"), (4500, 500, "?")])
        for outputs in (("--png", "-", "--json"), ("--svg", "x", "--png", "./x"), ("--svg", "-", "--mapfile", "-")):
            refused = self.refused("two outputs cannot both go to", "map", "disk.kvrsp", *outputs, status=2)
            self.assertEqual(refused.stdout, b"")
        self.assertFalse(os.path.exists("x"))
        # Our own mapfile drives the test mode, too.
        run("image", "source.img", "second.kvrsp", "--test-mode", "out.map")
        second = self.document("info", "second.kvrsp")
        self.assertEqual(second["unreadable"], 5 + 1 + 500)

    def test_names_with_any_letters_and_long_paths(self):
        folder = pathlib.Path("Ж" * 60 + "/日本" + "x" * 100 + "/" + "y" * 120)
        folder.mkdir(parents=True)
        data = self.make_source(300, folder / "диск.img")
        cache = folder / "кэш.kvrsp"
        self.call("image", folder / "диск.img", cache)
        self.call("export", cache, folder / "копия.img")
        self.assertEqual((folder / "копия.img").read_bytes(), data)

    @unittest.skipUnless(sys.platform == "linux", "file names of any bytes")
    @native_only
    def test_names_that_are_no_utf8(self):
        self.make_source(10, os.fsdecode(b"d\xff.img"))
        result = subprocess.run([PROGRAM[0].encode(), b"image", b"d\xff.img", b"c\xfe.kvrsp"],
                                capture_output=True, check=False)
        self.assert_status(result, 0)
        self.assertIn(b"c\xfe.kvrsp", os.listdir(b"."))

    def test_both_targets_write_the_same_cache(self):
        if not program.PEER:
            self.skipTest("no native build to compare with")
        self.make_source(5000)
        pathlib.Path("bad.map").write_text(mapfile_text(5000, [(10, 5), (4000, 130)]))
        caches = []
        for which, name in ((PROGRAM, "one.kvrsp"), (program.PEER, "other.kvrsp")):
            self.call("image", "source.img", name, "--test-mode", "bad.map", program=which, status=3)
            caches.append(without_chance(pathlib.Path(name).read_bytes()))
        self.assertEqual(*caches)

    # Devices

    def test_devices(self):
        for device in self.document("devices")["devices"]:
            self.assertLessEqual({"path": str, "sectors": int, "kind": int, "kindName": str, "model": str,
                                  "serial": str, "removable": bool, "readOnly": bool,
                                  "mounted": bool}.items(),
                                 {key: type(value) for key, value in device.items()}.items())
        self.call("devices")

    def test_a_block_device(self):
        for sector_size in (512, 4096):
            with self.subTest(sector_size=sector_size):
                data = self.make_source(4096, f"{sector_size}.img")
                device = loop_device(self, f"{sector_size}.img", sector_size)
                listed = self.document("devices")["devices"]
                self.assertEqual([(d["sectors"], d["mounted"], d["model"]) for d in listed
                                  if d["path"] == device], [(4096, False, "loop device")])
                self.assertIn(device.encode(), run("devices").stdout)
                identity = self.document("identify", device)
                self.assertEqual({k: identity[k] for k in (
                    "path", "description", "name", "kind", "kindName", "bridge", "model", "serial",
                    "firmware", "logicalSectorSize", "physicalSectorSize", "sectors", "geometry")},
                    {"path": device, "description": f"{device}: Fixed Virtual loop device",
                     "name": "[n/a]", "kind": 0, "kindName": "other", "bridge": 0,
                     "model": "loop device", "serial": "", "firmware": "",
                     "logicalSectorSize": sector_size, "physicalSectorSize": sector_size,
                     "sectors": 4096, "geometry": [sector_size, 63, 255]})
                self.assertIn(b"loop device", run("identify", device).stdout)
                cache = f"{sector_size}.kvrsp"
                # In parts that begin and end inside of physical sectors.
                cuts = [0, 3, 5, 1000, 1001, 4096]
                unit, covered = sector_size // 512, 0
                for first, end in itertools.pairwise(cuts):
                    counts = self.document("image", device, cache, "--start", first, "--sectors", end - first)
                    widened = -(-end // unit) * unit  # what a physical sector gives is stored whole
                    self.assertEqual(counts["readFromSource"], widened - covered)
                    covered = widened
                self.refused("reports no serial number", "image", device, cache, status=0)
                self.call("export", cache, "out.img", "--force")
                self.assertEqual(pathlib.Path("out.img").read_bytes(), data)

    @native_only
    def test_a_mounted_disk_is_told_of_and_holds_no_cache_of_itself(self):
        self.make_source(8192)
        device = loop_device(self, "source.img")
        subprocess.run(["mkfs.ext4", "-q", device], check=True)
        os.mkdir("mounted")
        if subprocess.run(["mount", device, "mounted"], stderr=subprocess.DEVNULL).returncode:
            self.skipTest("this machine does not mount")
        self.addCleanup(subprocess.run, ["umount", "mounted"], check=True)
        # And a file system in a file on it.
        os.mkdir("inner")
        blank("mounted/inner.img", 2048)
        subprocess.run(["mkfs.ext4", "-q", "mounted/inner.img"], check=True)
        subprocess.run(["mount", "-o", "loop", "mounted/inner.img", "inner"], check=True)
        self.addCleanup(subprocess.run, ["umount", "inner"], check=True)
        # Also through a device that is made of the disk, and through the file that the disk is made of.
        for source in (device, loop_device(self, device), "source.img"):
            with self.subTest(source=source):
                for cache in ("mounted/disk.kvrsp", "inner/disk.kvrsp"):
                    self.refused(f"{cache}: this is on the", "image", source, cache)
                    self.assertFalse(os.path.exists(cache))
                result = self.call("image", source, f"{os.path.basename(source)}.kvrsp")
                self.assertIn(f"{source}: something on this disk is mounted".encode(), result.stderr)

    @native_only
    def test_what_a_cache_was_made_from_is_never_overwritten(self):
        data = self.make_source(4096)
        device = loop_device(self, "source.img")
        self.call("image", device, "disk.kvrsp", "--sectors", "9")
        pathlib.Path("all.map").write_text(mapfile_text(4096, []))
        self.call("import", "source.img", "all.map", "file.kvrsp")
        self.refused(f"{device}: the cache was made from this", "export", "disk.kvrsp", device, "--force")
        for arguments in (("export", "file.kvrsp", "source.img"), ("map", "file.kvrsp", "--mapfile", "source.img"),
                          ("report", "file.kvrsp", "source.img")):
            self.refused("source.img: this", *arguments, "--force")
        self.refused("disk.kvrsp: this is a cache, not a disk", "image", "disk.kvrsp", "other.kvrsp")
        self.refused("disk.kvrsp: this is a cache, not a disk", "tree", "disk.kvrsp", "--cache", "other.kvrsp")
        self.assertFalse(os.path.exists("other.kvrsp"))
        self.assertEqual(pathlib.Path("source.img").read_bytes(), data)
        pathlib.Path("other.img").write_bytes(bytes(4096 * SECTOR))
        other = loop_device(self, "other.img")
        self.refused(f"{other}: this is a device, and what is on it", "export", "disk.kvrsp", other)
        self.call("export", "disk.kvrsp", other, "--force", status=3)

    @native_only
    def test_a_device_is_read_past_the_page_cache(self):
        self.make_source(256)
        device = loop_device(self, "source.img")
        subprocess.run(["dd", f"if={device}", "of=/dev/null"], stderr=subprocess.DEVNULL, check=True)
        with open("source.img", "r+b") as medium:  # changes behind the device's back
            medium.write(b"new" * 100)
            medium.flush()
            os.fsync(medium.fileno())
        result = run("read", device, "disk.kvrsp", "--start", 0, "--sectors", 1)
        self.assertEqual(result.stdout[:300], b"new" * 100)

    @native_only
    def test_a_device_that_shrinks_away_and_comes_back(self):
        sectors = 1 << 21
        blank("source.img", sectors)
        device = loop_device(self, "source.img")

        # Not by cutting the file: until the device knows of that, it refuses sectors that it has.
        def resize(count):
            get_status, set_status, limit_offset = 0x4C05, 0x4C04, 32  # linux/loop.h
            status = bytearray(232)
            with open(device, "rb") as loop:
                fcntl.ioctl(loop, get_status, status)
                struct.pack_into("=Q", status, limit_offset, count * SECTOR)
                fcntl.ioctl(loop, set_status, status)

        process = start("image", device, "disk.kvrsp", stderr=subprocess.PIPE)
        wait_until(lambda: os.path.exists("disk.kvrsp") and os.path.getsize("disk.kvrsp") > 2000 * SECTOR)
        resize(1000)
        _, words = process.communicate(timeout=60)
        self.assertEqual(process.returncode, 1, words)
        self.assertIn(b"gone", words)
        counts = self.document("info", "disk.kvrsp")
        self.assertEqual(counts["unreadable"], 0)
        self.assertGreater(counts["missing"], 0)
        self.assertGreater(counts["present"], 0)
        resize(sectors)
        again = self.document("image", device, "disk.kvrsp")
        self.assertEqual([again["readFromSource"], again["present"]], [counts["missing"], sectors])

    @native_only
    def test_devices_without_the_right_to_read_them(self):
        if os.geteuid() != 0:
            self.skipTest("needs the rights of root, to give them up")
        self.make_source(256)
        device = loop_device(self, "source.img")
        # The other user may not be able to enter the folders above the program, nor those above here.
        shutil.copy(PROGRAM[0], "larkspur")
        for path, mode in ((".", 0o777), ("larkspur", 0o755)):
            os.chmod(path, mode)
        for command in (("identify", device), ("image", device, "disk.kvrsp")):
            self.refused("root", *command, program=["./larkspur"], user=65534, group=65534, extra_groups=[])

    # Interruptions

    def start_image(self, bad_sectors):
        """Images a source so large, and so bad, that it takes a while."""
        self.make_source(1 << 18)
        pathlib.Path("bad.map").write_text(
            mapfile_text(1 << 18, [(2 * i + 1, 1) for i in range(1000, 1000 + bad_sectors)]))
        return start("image", "source.img", "disk.kvrsp", "--test-mode", "bad.map", stderr=subprocess.PIPE)

    def finish_and_compare(self):
        self.call("check", "disk.kvrsp")
        before = self.document("info", "disk.kvrsp")
        self.call("map", "disk.kvrsp", "--mapfile", "killed.map", "--force")
        # What failed alone just before the kill is in the log, and is not asked again.
        failed = sum(int(line.split()[1], 0) for line in pathlib.Path("killed.map").read_text().splitlines()
                     if line.endswith(" /")) // SECTOR
        counts = self.image("--test-mode", "bad.map", status=3)
        self.assertEqual(counts["readFromSource"] + failed, before["missing"])
        self.assertEqual(counts["missing"], 0)
        source = pathlib.Path("source.img").read_bytes()
        exported = self.export(status=3)
        for first, count, status in self.extents():
            expected = source[first * SECTOR:(first + count) * SECTOR]
            self.assertEqual(exported[first * SECTOR:(first + count) * SECTOR],
                             expected if status == "present" else bytes(len(expected)))

    @native_only
    def test_killed_in_the_middle(self):
        for delay in (0.02, 0.1, 0.3):
            with self.subTest(delay=delay):
                process = self.start_image(40000)
                time.sleep(delay)
                process.kill()
                process.communicate()
                if os.path.exists("disk.kvrsp"):
                    self.finish_and_compare()
                    os.unlink("disk.kvrsp")

    @native_only
    def test_interrupted_by_the_user(self):
        process = self.start_image(100000)
        wait_until(lambda: os.path.exists("disk.kvrsp"))
        time.sleep(0.05)
        process.send_signal(signal.SIGINT)
        _, words = process.communicate()
        self.assertEqual(process.returncode, 130, words)
        self.assertIn(b"the same command resumes", words)
        self.finish_and_compare()

    @native_only
    def test_no_room_for_the_cache(self):
        data = self.make_source(4000)
        for limit in (1000, 512 * 200, 512 * 200 + 100, 512 * 3000):
            with self.subTest(limit=limit):
                pathlib.Path("disk.kvrsp").unlink(missing_ok=True)
                result = self.refused(
                    "disk.kvrsp", "image", "source.img", "disk.kvrsp",
                    preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit)))
                self.assertRegex(result.stderr, b"No space left|File too large")
                if limit > 512 * 1000:  # all but what no whole block fits in
                    self.assertGreater(os.path.getsize("disk.kvrsp"), limit - 512 * 2 * 129)
                self.image()
                self.assertEqual(self.export(), data)
        # Nor does an output that cannot be written stand in the way of the next try.
        for command in (["map", "disk.kvrsp", "--mapfile", "new"], ["report", "disk.kvrsp", "new"],
                        ["export", "disk.kvrsp", "new"], ["image", "source.img", "disk.kvrsp", "--report", "new"],
                        ["read", "source.img", "disk.kvrsp", "--start", "0", "--sectors", "9", "-o", "new"]):
            self.refused("new: ", *command, preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (100, 100)))
            self.assertFalse(os.path.exists("new"), command)

    def test_a_new_cache_leaves_every_other_file_alone(self):
        data = self.make_source(3000)
        pathlib.Path("disk.kvrsp.larkspur-new").write_bytes(b"somebody's")
        if sys.platform == "linux":
            os.symlink("source.img", "disk.kvrsp.larkspur-new-00000000")
        before = sorted(os.listdir())
        self.image()
        self.assertEqual(self.export(), data)
        self.assertEqual(pathlib.Path("source.img").read_bytes(), data)
        self.assertEqual(pathlib.Path("disk.kvrsp.larkspur-new").read_bytes(), b"somebody's")
        self.assertEqual(sorted(os.listdir()), sorted([*before, "disk.kvrsp", "disk.kvrsp.log", "out.img"]))

    def test_the_log_spoils_no_other_file(self):
        for name, contents in (("disk.kvrsp.log", os.urandom(51200)), ("disk.kvrsp.log", bytes(51200))):
            pathlib.Path(name).write_bytes(contents)
            self.refused("the source", "image", name, "disk.kvrsp")
            self.assert_file(name, contents)
            self.assertFalse(os.path.exists("disk.kvrsp"))
        pathlib.Path("disk.kvrsp.log").write_text("mine\n")
        data = self.make_source(100)
        for command in (["image", "source.img", "disk.kvrsp"],
                        ["read", "source.img", "disk.kvrsp", "--start", "0", "--sectors", "1"]):
            self.refused("something else", *command)
        self.assert_file("disk.kvrsp.log", b"mine\n")
        os.unlink("disk.kvrsp.log")
        os.mkdir("disk.kvrsp.log")
        self.refused("folder", "image", "source.img", "disk.kvrsp")
        self.assertEqual(sorted(os.listdir()), ["disk.kvrsp.log", "source.img"])
        # Nor is the log, or anything else that a run uses, an output; not even before it is made.
        os.rmdir("disk.kvrsp.log")
        pathlib.Path("all.map").write_text(mapfile_text(100, []))
        self.image()
        log = pathlib.Path("disk.kvrsp.log").read_bytes()
        for made in (True, False):
            if not made:
                os.unlink("disk.kvrsp.log")
            for output in ("disk.kvrsp.log", "./disk.kvrsp.log", "source.img", "all.map", "disk.kvrsp"):
                commands = [["image", "source.img", "disk.kvrsp", "--domain", "all.map", "--report", output],
                            ["files", "source.img", "disk.kvrsp", "--test-mode", "all.map", "--path", "*",
                             "--mapfile", output],
                            ["read", "source.img", "disk.kvrsp", "--test-mode", "all.map", "--start", "0",
                             "--sectors", "1", "-o", output]]
                if "log" in output:
                    commands = [["map", "disk.kvrsp", "--mapfile", output], ["report", "disk.kvrsp", output],
                                ["export", "disk.kvrsp", output]] + (commands if made else [])
                for command in commands:
                    with self.subTest(command=command):
                        self.call(*command, "--force", status=1)
            if made:
                self.assertTrue(pathlib.Path("disk.kvrsp.log").read_bytes().startswith(log))
        self.assert_file("source.img", data)
        self.assertEqual(pathlib.Path("all.map").read_text(), mapfile_text(100, []))

    def test_outputs_overwrite_nothing_unasked(self):
        self.make_source(1000)
        self.image()
        for option in ("--png", "--svg", "--mapfile"):
            pathlib.Path("mine").write_bytes(b"precious")
            self.refused("--force", "map", "disk.kvrsp", option, "mine")
            self.assertEqual(pathlib.Path("mine").read_bytes(), b"precious")
            self.call("map", "disk.kvrsp", option, "mine", "--force")
            self.assertNotEqual(pathlib.Path("mine").read_bytes(), b"precious")
            for force in ([], ["--force"]):
                self.call("map", "disk.kvrsp", option, "disk.kvrsp", *force, status=1)
        self.call("check", "disk.kvrsp")

    @native_only
    def test_a_device_takes_no_picture(self):
        pathlib.Path("patient.img").write_bytes(bytes(1 << 20))
        device = loop_device(self, "patient.img")
        self.make_source(100)
        self.image()
        for force in ([], ["--force"]):
            self.refused("device", "map", "disk.kvrsp", "--png", device, *force)
        self.assertEqual(pathlib.Path("patient.img").read_bytes(), bytes(1 << 20))

    @native_only
    def test_what_another_run_works_on_is_no_output(self):
        data = self.make_source(5000)
        self.image()
        other = start("image", "source.img", "other.kvrsp", "--max-rate", "1M")
        self.addCleanup(other.kill)
        while not os.path.exists("other.kvrsp.log"):
            time.sleep(0.01)
        for command in (["map", "disk.kvrsp", "--svg"], ["export", "disk.kvrsp"], ["report", "disk.kvrsp"]):
            for output in ("other.kvrsp", "other.kvrsp.log"):
                self.refused(f"{output}: another run is using this", *command, output, "--force")
        self.assertEqual(other.wait(), 0)
        self.call("export", "other.kvrsp", "other.img")
        self.assert_file("other.img", data)

    # What standard streams do

    @native_only
    def test_closed_streams_harm_no_file(self):
        data = self.make_source(3000)
        for closed in ("0<&-", "1>&-", "2>&-", "0<&- 1>&- 2>&-"):
            pathlib.Path("disk.kvrsp").unlink(missing_ok=True)
            command = shlex.join([*PROGRAM, "image", "source.img", "disk.kvrsp"])
            status = run("-c", f"{command} {closed}", program=["sh"]).returncode
            self.assertEqual(status, 1 if "1" in closed else 0, closed)
            self.call("check", "disk.kvrsp")
            self.assertEqual(self.export(), data)
        # What is told reaches no file that was opened instead.
        process = start("image", "source.img", "slow.kvrsp", "--max-rate", "1M", preexec_fn=lambda: os.closerange(0, 3))
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        wait_until(lambda: os.path.exists("slow.kvrsp"))
        self.assertEqual([os.readlink(f"/proc/{process.pid}/fd/{n}") for n in range(3)], ["/dev/null"] * 3)

    @native_only
    def test_what_standard_output_does_not_take_is_a_failure(self):
        self.make_source(100)
        self.image()
        for command in (["info", "disk.kvrsp"], ["map", "disk.kvrsp", "--json"], ["--version"],
                        ["check", "disk.kvrsp"], ["tree", "disk.kvrsp"], ["devices"], ["export", "disk.kvrsp", "-"],
                        ["read", "source.img", "disk.kvrsp", "--start", "0", "--sectors", "100"],
                        ["image", "source.img", "disk.kvrsp"]):
            with open("/dev/full", "wb") as full:
                result = subprocess.run([*PROGRAM, *command], stdout=full, stderr=subprocess.PIPE,
                                        timeout=60, check=False)
            self.assertEqual(result.returncode, 1, command)
            self.assertRegex(result.stderr, b"standard output: .*No space left on device\n$", command)
            self.assertEqual(result.stderr.count(b"standard output"), 1, result.stderr)

    @native_only
    def test_ctrl_c_is_heard_while_nobody_takes_the_output(self):
        self.make_source(3000)
        self.image()
        for command in (["export", "disk.kvrsp", "-"],
                        ["read", "source.img", "disk.kvrsp", "--start", "0", "--sectors", "3000"]):
            process = start(*command, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            size = fcntl.fcntl(process.stdout, fcntl.F_GETPIPE_SZ)
            held = bytearray(4)
            def is_full(pipe=process.stdout, size=size, held=held):
                fcntl.ioctl(pipe, termios.FIONREAD, held)
                return int.from_bytes(held, sys.byteorder) == size
            self.assertTrue(wait_until(is_full), command)
            time.sleep(0.05)
            process.send_signal(signal.SIGINT)
            self.assertEqual(process.wait(10), 130, command)
            self.assertIn(b"standard output: stopped; the results are not complete\n", process.stderr.read())
            process.stdout.close()
            process.stderr.close()

    @native_only
    def test_signals_that_were_ignored_stay_so(self):
        self.make_source(200000)
        child = start("image", "source.img", "disk.kvrsp",
                      preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN))
        while child.poll() is None:
            child.send_signal(signal.SIGHUP)
            time.sleep(0.001)
        self.assertEqual(child.returncode, 0)

    @native_only
    def test_check_beside_a_run_finds_nothing(self):
        self.make_source(400000)
        child = start("image", "source.img", "disk.kvrsp")
        while child.poll() is None:
            if os.path.exists("disk.kvrsp"):
                self.call("check", "disk.kvrsp")
                self.call("info", "disk.kvrsp")
        self.assertEqual(child.returncode, 0)

    @native_only
    def test_names_reach_no_terminal_as_commands(self):
        self.make_source(10)
        name = "\x1b[31mred\x7f\u009b.kvrsp"
        self.call("image", "source.img", name)
        outputs = [run("info", name).stdout, run("info", name, "--json").stdout,
                   run("check", name).stdout, run("info", name + "x").stderr]
        self.call("map", name, "--svg", "out.svg")
        outputs.append(pathlib.Path("out.svg").read_bytes())
        for output in outputs:
            self.assertIn("red", output.decode())
            self.assertFalse([c for c in output.decode() if c != "\n" and (c < " " or "\x7f" <= c <= "\x9f")])
        self.assertEqual(json.loads(outputs[1])["path"], name)

    def test_numbers_are_decimal(self):
        self.make_source(100)
        for number in ("-1", "010", "", "1x", "0x10", "+5", " 5", "18446744073709551616", "1.5"):
            for option in ("--start", "--sectors"):
                self.refused("takes a whole number" if number else "needs a value", "image", "source.img",
                             "disk.kvrsp", f"{option}={number}", status=2)
        self.refused("start", "image", "source.img", "disk.kvrsp", "--start", "-1", status=2)
        self.refused("sectors", "image", "source.img", "disk.kvrsp", "--sectors", "0", status=2)
        for size in ("9000000", "9000000b", "9000 k", "9MB", "9Mi", "9 MiB"):
            self.call("image", "source.img", f"{size}.kvrsp", "--max-rate", size)
        for size in ("9x", "9 iB", "MB", "0", "-9M"):
            self.refused("--max-rate", "image", "source.img", "disk.kvrsp", f"--max-rate={size}", status=2)
        for words, status, *options in (
                ("auto, on or off, not \"x\"", 2, "--pass-through=x"),
                ("--start cannot be used with --partition", 2, "--partition", "1", "--start", "5"),
                *(("--partition takes a place", 2, "--partition", place)
                  for place in ("", "a", "0", "1..2", "1.", ".1", "01", "-1", " 1", "1.2x")),
                ("--force needs --report", 2, "--force"), ("--report needs FILE", 2, "--report"),
                ("a whole number from 1 to 3600", 2, "--timeout", "0"),
                ("a whole number from 1 to 3600", 2, "--timeout", "3601"),
                ("the name of a file, not \"-\"", 2, "--report", "-"),
                ("there is no such cache", 1, "--retry")):
            self.refused(words, "image", "source.img", "disk.kvrsp", *options, status=status)
        self.assertFalse(os.path.exists("disk.kvrsp"))
        for bare in (["--pass-through"], ["--pass-through", "off"], ["--timeout", "1"],
                     ["--timeout", "3600"]):
            self.call("image", *bare, "--max-failures", "9", "source.img", "disk.kvrsp")

    @native_only
    def test_a_second_run_is_refused(self):
        self.make_source(100)
        self.image()
        with open("disk.kvrsp", "rb") as cache:
            fcntl.flock(cache, fcntl.LOCK_EX)
            for command in (("image", "source.img", "disk.kvrsp"),
                            ("read", "source.img", "disk.kvrsp", "--start", 0, "--sectors", 1),
                            ("check", "disk.kvrsp", "--repair")):
                self.refused("another run", *command)
            self.call("info", "disk.kvrsp")

    # Bad input

    def test_bad_input_has_a_clear_line(self):
        self.make_source(100)
        self.make_source(100, "same.img")
        self.make_source(110, "larger.img")
        self.image()
        pathlib.Path("empty").touch()
        pathlib.Path("foreign").write_bytes(b"not a cache" * 100)
        pathlib.Path("folder").mkdir()
        pathlib.Path("bad.map").write_text("# x\n0x0 +\n0x0 0x200 +\nnonsense\n")
        cases = [
            (("image", "absent", "c"), 1, "absent"),
            (("image", "folder", "c"), 1, "folder"),
            (("image", "empty", "c"), 1, "empty"),
            (("image", "source.img", "folder"), 1, "folder"),
            (("image", "source.img", "nowhere/c"), 1, "nowhere"),
            (("image", "source.img", "source.img"), 1, "same file"),
            (("image", "source.img", "empty"), 1, "not a cache"),
            (("image", "larger.img", "disk.kvrsp"), 1, "110"),
            (("image", "source.img", "c", "--test-mode", "bad.map"), 1, "line 4"),
            (("read", "source.img", "disk.kvrsp", "--start", "0"), 2, "--sectors"),
            (("read", "source.img", "disk.kvrsp", "--sectors", "1"), 2, "--start"),
            (("identify", "source.img"), 1, "not a device"),
            (("identify", "folder"), 1, "not a device"),
            (("image", "source.img", "c", "--test-mode", "empty"), 1, "empty: this is not a mapfile: it is empty"),
            (("map", "folder"), 1, "folder"),
            (("map", "disk.kvrsp", "--png", "disk.kvrsp"), 1, "overwrite"),
            (("map", "disk.kvrsp", "--png", "nowhere/x.png"), 1, "nowhere"),
            (("export", "disk.kvrsp", "disk.kvrsp"), 1, "would overwrite"),
            (("read", "source.img", "disk.kvrsp", "--start", "0", "--sectors", "1", "-o",
              "source.img"), 1, "overwrite"),
        ]
        def files():
            return {path: path.read_bytes() for path in pathlib.Path(".").iterdir()
                    if path.is_file() and path.suffix != ".log"}
        before = files()
        for arguments, status, words in cases:
            with self.subTest(arguments=arguments):
                self.assertEqual(self.refused(words, *arguments, status=status).stdout, b"")
        self.assertEqual(before, files())
        self.refused("only its size shows", "image", "same.img", "disk.kvrsp", status=0)

    # Damage

    @native_only
    def test_what_was_never_flushed_is_told_of_until_it_is_read_again(self):
        data = bytearray(self.make_source(2000))
        data[1000 * SECTOR:1100 * SECTOR] = bytes(100 * SECTOR)
        pathlib.Path("source.img").write_bytes(data)
        self.image()
        log = pathlib.Path("disk.kvrsp.log").read_text().splitlines()
        cut = [re.sub('"boot":"[^"]*"', '"boot":"before"', line) for line in log
               if not re.search('"event":"(synced|end)"', line)]
        pathlib.Path("disk.kvrsp.log").write_text("\n".join(cut) + "\n")
        os.symlink("disk.kvrsp", "link.kvrsp")
        for command in (["info"], ["map"], ["check"], ["tree"], ["files"]):
            self.refused("did not end properly" if command != ["check"] else "resume with 'larkspur image'",
                         *command, "disk.kvrsp")
        for command in ("export", "report"):
            self.refused("did not end properly", command, "link.kvrsp", "out.img", "--force")
        resumed = self.call("image", "source.img", "link.kvrsp")
        self.assertIn(b"100 sectors that may not have been", resumed.stderr)
        self.assertEqual(self.export(), data)
        self.call("info", "disk.kvrsp")
        self.assertFalse(os.path.exists("link.kvrsp.log"))
        # A log that cannot be read is not taken for none.
        os.unlink("disk.kvrsp.log")
        os.symlink("disk.kvrsp.log", "disk.kvrsp.log")
        for command in (["info"], ["image", "source.img"]):
            self.refused("disk.kvrsp.log: the log cannot be read", *command, "disk.kvrsp")

    @native_only
    def test_a_cache_that_goes_away_in_use_is_told_of(self):
        self.make_source(4000)
        for end in (os.unlink, lambda path: os.rename(path, "other.kvrsp")):
            process = start("image", "source.img", "disk.kvrsp", "--max-rate", "1M", stderr=subprocess.PIPE)
            wait_until(lambda: os.path.exists("disk.kvrsp") and os.path.getsize("disk.kvrsp") > 300 * SECTOR)
            end("disk.kvrsp")
            _, words = process.communicate(timeout=60)
            self.assertEqual(process.returncode, 1, words)
            self.assertIn(b"deleted, renamed or replaced", words)
            os.unlink("disk.kvrsp.log")
        self.call("check", "other.kvrsp")

    @native_only
    def test_damage_is_named_and_harmless_and_cuts_are_repaired(self):
        data = self.make_source(600)
        self.image()
        whole = pathlib.Path("disk.kvrsp").read_bytes()

        def patch(offset, new):
            return lambda data: data.__setitem__(slice(offset, offset + len(new)), new)

        def cut(length):
            return lambda data: data.__delitem__(slice(length, None))

        le32, le64 = (lambda v: v.to_bytes(4, "little")), (lambda v: v.to_bytes(8, "little"))
        cases = [
            ("magic", patch(0, b"X"), "header"),
            ("sector count 0", patch(8, le64(0)), "header"),
            ("sector count 2^63", patch(8, le64(1 << 63)), "header"),
            ("sector count far too high", patch(8, le64(1 << 38)), "short-index header"),
            ("block size 0", patch(16, le32(0)), "header"),
            ("block size 513", patch(16, le32(513)), "header"),
            ("record past the end", patch(512, le32(1000)), "record-beyond-end"),
            ("shared record", patch(512, le32(1)), "shared-record"),
            ("status without a meaning", patch(1024 + 5, b"\x07"), "status"),
            ("a tail", lambda data: data.extend(b"tail"), "loose-end"),
            ("cut in its index", cut(1000), "short-index"),
            ("cut in a record", cut(len(whole) - 50000), "record-cut"),
        ]
        for name, change, kinds in cases:
            with self.subTest(name=name):
                changed = bytearray(whole)
                change(changed)
                pathlib.Path("disk.kvrsp").write_bytes(changed)
                problems = self.document("check", "disk.kvrsp", status=1)["problems"]
                self.assertEqual({p["kind"] for p in problems}, set(kinds.split()))
                for command in (["info"], ["map"], ["files"], ["image", "source.img"]):
                    result = run(*command, "disk.kvrsp")
                    allowed = (0, 1, 3) if command[0] == "image" else (1,)
                    self.assertIn(result.returncode, allowed, (command, result.stderr[-300:]))
        self.call("image", "source.img", "disk.kvrsp", status=1)
        self.call("check", "disk.kvrsp", "--repair")
        self.image()
        self.assertEqual(self.export(), data)


if __name__ == "__main__":
    program.main()
