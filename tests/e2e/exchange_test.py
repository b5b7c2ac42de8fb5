#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Moving rescues in and out: `larkspur import` and `larkspur export`. Usage: exchange_test.py
ARGUMENTS, as program.py takes them."""

import hashlib
import os
import pathlib
import shutil
import signal
import subprocess

import program
from program import SECTOR, blank, loop_device, mapfile_text, native_only, wait_until


def allocated(path):
    return os.stat(path).st_blocks * 512


class ExchangeTest(program.ProgramTest):
    def refused(self, words, *arguments, status=1, **options):
        """Ends in one plain line."""
        result = super().refused(words, *arguments, status=status, **options)
        self.assertEqual((result.stdout, result.stderr.count(b"\n")), (b"", 1), result.stderr)

    def import_map(self, text, **options):
        pathlib.Path("rescue.map").write_text(text)
        pathlib.Path("disk.kvrsp").unlink(missing_ok=True)
        return self.document("import", "rescue.img", "rescue.map", "disk.kvrsp", **options)

    # Import

    def test_each_status_of_a_mapfile_becomes_what_it_means(self):
        data = self.make_source(1000, "rescue.img")
        areas = [(0, 100, "+"), (100, 7, "-"), (107, 93, "+"), (200, 50, "*"), (250, 50, "/"),
                 (300, 100, "?"), (400, 600, "+")]
        text = "0 ?\n" + "".join(f"{a * SECTOR} {n * SECTOR} {s}\n" for a, n, s in areas)
        self.assertEqual(self.import_map(text),
                         {"sectors": 1000, "present": 793, "unreadable": 7, "missing": 200})
        self.assertEqual(self.extents(), [(0, 100, "present"), (100, 7, "unreadable"),
                                          (107, 93, "present"), (200, 200, "missing"),
                                          (400, 600, "present")])
        self.call("check", "disk.kvrsp")
        self.call("export", "disk.kvrsp", "out.img", status=3)
        expected = bytearray(data)
        for first, end in ((100, 107), (200, 400)):  # whatever the image holds there
            expected[first * SECTOR:end * SECTOR] = bytes((end - first) * SECTOR)
        self.assertEqual(pathlib.Path("out.img").read_bytes(), bytes(expected))

    def test_what_ddrescue_really_writes(self):
        if not shutil.which("ddrescue") or program.is_emulated():
            self.skipTest("needs ddrescue")
        data = self.make_source(4096)
        pathlib.Path("bad.map").write_text(mapfile_text(4096, [(512, 100)]))
        subprocess.run(["ddrescue", "-q", "-H", "bad.map", "source.img", "rescue.img", "rescue.map"],
                       check=True)
        counts = self.document("import", "rescue.img", "rescue.map", "disk.kvrsp")
        self.assertEqual(counts, {"sectors": 4096, "present": 3996, "unreadable": 100, "missing": 0})
        # And back: ddrescue finds nothing left to do.
        self.call("export", "disk.kvrsp", "back.img", status=3)
        self.call("map", "disk.kvrsp", "--mapfile", "back.map")
        subprocess.run(["ddrescue", "-q", "source.img", "back.img", "back.map"], check=True)
        self.assertEqual(pathlib.Path("back.img").read_bytes()[:512 * SECTOR], data[:512 * SECTOR])

    @native_only
    def test_holes_stay_holes_and_are_present(self):
        sectors = 1 << 20
        blank("rescue.img", sectors, (100 * 128, b"x" * 65536 + bytes(65536) + b"y" * 65536))
        self.assertEqual(self.import_map(f"0 +\n0 {sectors * SECTOR} +\n")["present"], sectors)
        self.assertLess(allocated("disk.kvrsp"), sectors * SECTOR // 12)  # the blocks' status maps
        self.call("export", "disk.kvrsp", "out.img")
        subprocess.run(["cmp", "rescue.img", "out.img"], check=True)
        self.assertLess(allocated("out.img"), 1 << 20)

    @native_only
    def test_a_million_areas(self):
        blank("rescue.img", 1_499_998)
        text = "0 ?\n" + "".join(f"{i * 1536:#x} 0x200 +\n{i * 1536 + 512:#x} 0x200 -\n"
                                 for i in range(500_000))
        self.assertEqual(self.import_map(text), {"sectors": 1499999, "present": 500000,
                                                 "unreadable": 500000, "missing": 499999})

    def test_bad_input_ends_in_one_plain_line(self):
        self.make_source(100, "rescue.img")
        whole = f"0 +\n0 {100 * SECTOR} +\n"
        cases = [
            ("empty", "", "not a mapfile: it is empty"),
            ("no status line", "# x\n\n", "nothing but comments"),
            ("garbage", "\x00\xff\x01\n", "line 1"),
            ("an overlap", "0 +\n0 1024 +\n512 512 -\n", "line 3"),
            ("less than a sector", "0 +\n0 511 +\n", "no sector"),
            ("too large for a cache", f"0 +\n0 {1 << 50} ?\n", "fewer than"),
            ("a smaller disk", f"0 +\n0 {99 * SECTOR} +\n",
             "covers 50688 bytes; does it belong to another rescue?"),
            ("a larger disk", f"0 +\n0 {101 * SECTOR} +\n", "past its end were read"),
        ]
        for name, text, words in cases:
            with self.subTest(name=name):
                pathlib.Path("rescue.map").write_bytes(text.encode("latin-1"))
                self.refused(words, "import", "rescue.img", "rescue.map", "disk.kvrsp")
        pathlib.Path("rescue.map").write_text(whole)
        pathlib.Path("folder").mkdir()
        pathlib.Path("taken.kvrsp").write_text("mine")
        for words, *names in (("opened", "absent.img", "rescue.map", "disk.kvrsp"),
                              ("folder", "folder", "rescue.map", "disk.kvrsp"),
                              ("mapfile cannot", "rescue.img", "absent.map", "disk.kvrsp"),
                              ("already exists", "rescue.img", "rescue.map", "taken.kvrsp"),
                              ("already exists", "rescue.img", "rescue.map", "rescue.img"),
                              ("cannot be created", "rescue.img", "rescue.map", "absent/disk.kvrsp")):
            with self.subTest(names=names):
                self.refused(words, "import", *names)
        blank("huge.map", (256 << 20) // SECTOR + 1)
        for command in (("import", "rescue.img", "huge.map", "disk.kvrsp"),
                        ("image", "rescue.img", "other.kvrsp", "--test-mode", "huge.map")):
            self.refused("huge.map: this is not a mapfile: it is larger than 256.0 MiB", *command)
        pathlib.Path("huge.map").unlink()
        self.assertEqual(pathlib.Path("taken.kvrsp").read_text(), "mine")
        self.assertEqual(sorted(p.name for p in pathlib.Path(".").iterdir()),
                         ["folder", "rescue.img", "rescue.map", "taken.kvrsp"])

    @native_only
    def test_an_interrupted_import_leaves_nothing(self):
        blank("rescue.img", 1 << 31)
        pathlib.Path("rescue.map").write_text(f"0 +\n0 {1 << 40} +\n")
        process = program.start("import", "rescue.img", "rescue.map", "disk.kvrsp")
        wait_until(lambda: list(pathlib.Path(".").glob("disk.kvrsp.larkspur-new-*")))
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(10), 130)
        self.assertEqual(list(pathlib.Path(".").glob("disk*")), [])

    def test_no_other_file_is_written_to(self):
        data = self.make_source(100, "rescue.img")
        text = f"0 +\n0 {100 * SECTOR} +\n"
        # The name that ddrescue's own mapfile often has.
        pathlib.Path("disk.kvrsp.log").write_text(text)
        self.refused("a mapfile of this command", "import", "rescue.img", "disk.kvrsp.log", "disk.kvrsp")
        self.assertEqual(pathlib.Path("disk.kvrsp.log").read_text(), text)
        pathlib.Path("disk.kvrsp.log").unlink()
        pathlib.Path("disk.kvrsp.larkspur-new").write_bytes(b"mine")
        self.import_map(text)
        self.assert_file("rescue.img", data)
        self.assert_file("disk.kvrsp.larkspur-new", b"mine")

    # Export

    def cache(self, sectors=1000, bad=(), part=None):
        """A cache, and what it exports."""
        data = bytearray(self.make_cache(sectors, bad, part))
        for first, count in bad:
            data[first * SECTOR:(first + count) * SECTOR] = bytes(count * SECTOR)
        if part:
            data[part * SECTOR:] = bytes((sectors - part) * SECTOR)
        return bytes(data)

    def test_ranges_to_files_and_to_standard_output(self):
        data = self.cache(1000, [(300, 5)])
        for first, count, status in ((0, 1000, 3), (0, 300, 0), (305, 695, 0), (299, 2, 3), (999, 1, 0),
                                     (990, 50, 0)):
            with self.subTest(first=first, count=count):
                part = data[first * SECTOR:(first + count) * SECTOR]
                options = ("--start", first, "--sectors", count)
                piped = self.call("export", "disk.kvrsp", "-", *options, status=status)
                self.assertEqual(piped.stdout, part)
                self.call("export", "disk.kvrsp", "out.img", "--force", *options, status=status)
                self.assertEqual(pathlib.Path("out.img").read_bytes(), part)
        self.call("export", "disk.kvrsp", "new.img", "--start", 1000, status=2)
        self.assertFalse(pathlib.Path("new.img").exists())

    def test_hash_is_of_what_was_written(self):
        data = self.cache(9000, [(100, 3)], part=8000)
        line = f"SHA256 ({{}}) = {hashlib.sha256(data).hexdigest()}\n# zeros stand in for 1003 sectors\n"
        to_file = self.call("export", "disk.kvrsp", "out.img", "--hash", status=3)
        self.assertEqual(to_file.stdout.decode(), line.format("out.img"))
        piped = self.call("export", "disk.kvrsp", "-", "--hash", status=3)
        self.assertEqual(piped.stdout, data)
        self.assertIn(line.format("-"), piped.stderr.decode())
        if shutil.which("sha256sum") and not program.is_emulated():
            name = b"line\nand\\byte \xff"
            sums = self.call("export", "disk.kvrsp", name, "--hash", status=3).stdout
            pathlib.Path("sums").write_bytes(to_file.stdout + sums)
            subprocess.run(["sha256sum", "--quiet", "--strict", "-c", "sums"], check=True)

    def test_a_device_is_written_only_when_forced_and_zeros_are_written_too(self):
        data = self.cache(1000, [(300, 5)])
        pathlib.Path("target").write_bytes(b"\xaa" * SECTOR * 1000)
        device = loop_device(self, "target")
        self.refused("this is a device", "export", "disk.kvrsp", device)
        self.call("export", "disk.kvrsp", device, "--force", status=3)
        self.assertEqual(pathlib.Path("target").read_bytes(), data)
        pathlib.Path("small").write_bytes(bytes(SECTOR * 999))
        small = loop_device(self, "small")
        self.refused("smaller", "export", "disk.kvrsp", small, "--force")
        self.call("export", "disk.kvrsp", small, "--force", "--sectors", 200)


if __name__ == "__main__":
    program.main()
