#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Compares what `larkspur tree` shows with what ordinary tools made and say. Usage: tree_test.py
PROGRAM..., as cli_test.py takes it. A test whose tool is missing is skipped."""

import functools
import json
import pathlib
import re
import shutil
import subprocess
import unittest

import cli_test
from cli_test import SECTOR, run

ROOT_TYPE = 32764
LINUX_GUID = "0FC63DAF-8483-4772-8E79-3D69D8477DE4"


def needs(*tools):
    def wrap(test):
        @functools.wraps(test)
        def checked(self):
            missing = [tool for tool in tools if not shutil.which(tool)]
            if missing:
                self.skipTest("needs " + ", ".join(missing))
            test(self)
        return checked
    return wrap


def tool(*command, feed=None):
    return subprocess.run(command, input=feed, stdout=subprocess.PIPE, check=True).stdout.decode()


def blank(name, sectors):
    with open(name, "wb") as image:
        image.truncate(sectors * SECTOR)


def places(nodes):
    """(start, sectors, type) of the nodes."""
    return [(node["start"], node["sectors"], node["type"]) for node in nodes]


class TreeTest(unittest.TestCase):
    def setUp(self):
        cli_test.CliTest.setUp(self)

    def tree(self, *arguments, status=0):
        result = run("tree", *arguments, "--json")
        self.assertEqual(result.returncode, status, result.stderr)
        document = json.loads(result.stdout)
        self.assertEqual(len(document["tree"]), 1)
        root = document["tree"][0]
        self.assertEqual((root["start"], root["sectors"], root["type"]),
                         (0, document["sectors"], ROOT_TYPE))
        return document

    def children(self, name):
        document = self.tree(name)
        self.assertTrue(document["ok"])
        return document["tree"][0]["children"]

    def sfdisk(self, name, script):
        tool("sfdisk", "-q", name, feed=script.encode())
        return json.loads(tool("sfdisk", "--json", name))["partitiontable"]["partitions"]

    @needs("sfdisk")
    def test_dos_labels_of_sfdisk(self):
        blank("dos.img", 400000)
        script = "label: dos\nstart=2048,size=1000,type=83\nstart=4096,type=f\n" + "".join(
            f"size=2048,type={kind}\n" for kind in ("7", "82", "8e", "fd", "b") * 11)
        said = self.sfdisk("dos.img", script)
        first, container = self.children("dos.img")
        drives = container["children"]
        self.assertEqual(
            places([first, container, *drives]),
            [(p["start"], p["size"], int(p["type"], 16)) for p in said])
        self.assertEqual(len(drives), 55)
        self.assertEqual({r["kind"] for d in drives for r in d["records"]}, {12})
        self.assertEqual(drives[0]["records"][0]["offset"], 2048)

    @needs("sfdisk", "mkfs.fat")
    def test_a_boot_sector_is_no_table(self):
        blank("fat.img", 200000)
        self.sfdisk("fat.img", "label: dos\nstart=2048,type=83\n")
        tool("mkfs.fat", "-F", "32", "--offset", "2048", "fat.img", "98976")
        partition, = self.children("fat.img")
        self.assertEqual((partition["type"], partition["parserClass"]), (11, "cMbrPartParser"))
        lines = run("tree", "fat.img").stdout.decode().splitlines()
        self.assertTrue(lines[1].endswith("  whole storage: MBR partition table"), lines)
        self.assertTrue(lines[2].endswith("  FAT32 (11)"), lines)

    @needs("sfdisk")
    def test_gpt_of_sfdisk(self):
        blank("gpt.img", 400000)
        said = self.sfdisk("gpt.img", "label: gpt\n" + "size=2048\n" * 127 +
                           "type=EBD0A0A2-B9E5-4433-87C0-68B6B72699C7\n")
        protective, = self.children("gpt.img")
        self.assertEqual((protective["start"], protective["type"], protective["parser"]), (1, 238, 5))
        self.assertEqual(
            places(protective["children"]),
            [(p["start"], p["size"] - 1, 32767 if p["type"] == LINUX_GUID else 24451) for p in said])

    @needs("parted")
    def test_labels_of_parted(self):
        kinds = {"mac": ("cApplePartParser", 1), "sun": ("cSolPartParser", 0)}
        for label, (parser, first) in kinds.items():
            with self.subTest(label=label):
                blank("label.img", 131072)
                cylinder = 16128 if label == "sun" else 2048
                tool("parted", "-s", "label.img", "mklabel", label, "unit", "s",
                     "mkpart", *(["one", "hfs"] if label == "mac" else ["ext2"]), f"{cylinder}s",
                     f"{2 * cylinder - 1}s")
                said = [line.split(":")[1:4] for line in
                        tool("parted", "-sm", "label.img", "unit", "s", "print").splitlines()[2:]]
                root = self.tree("label.img")["tree"][0]
                self.assertEqual(root["parserClass"], parser)
                found = {(f"{n['start']}s", f"{n['sectors']}s") for n in root["children"]}
                for start, _, size in said:
                    self.assertIn((start, size), found)
                self.assertTrue(said)

    @needs("cryptsetup")
    def test_headers_of_cryptsetup(self):
        for version in (1, 2):
            with self.subTest(version=version):
                blank("luks.img", 65536)
                tool("cryptsetup", "luksFormat", "-q", "--type", f"luks{version}", "--pbkdf", "pbkdf2",
                     "--pbkdf-force-iterations", "1000", "luks.img", "-", feed=b"secret")
                dump = tool("cryptsetup", "luksDump", "luks.img")
                root = self.tree("luks.img")["tree"][0]
                self.assertEqual((root["parser"], root["parserClass"]), (14, "cLUKSPartParser"))
                record, = root["records"]
                self.assertEqual(record["uuid"], re.search(r"UUID:\s*(\S+)", dump)[1])
                payload = re.search(r"Payload offset:\s*(\d+)", dump)
                offset = re.search(r"offset:\s*(\d+) \[bytes\]", dump)
                self.assertEqual(record["payloadOffset"],
                                 int(payload[1]) if payload else int(offset[1]) // SECTOR)
                self.assertEqual((record["cipher"], record["mode"]), ("aes", "xts-plain64"))

    # Through caches

    @needs("sfdisk")
    def test_looking_through_a_cache_asks_each_sector_once(self):
        blank("disk.img", 400000)
        self.sfdisk("disk.img", "label: gpt\n" + "size=2048\n" * 20)
        direct = self.tree("disk.img")
        first = self.tree("disk.img", "--cache", "disk.kvrsp")
        self.assertEqual(first["tree"], direct["tree"])
        blank("disk.img", 400000)  # what was read is not asked again
        self.assertEqual(self.tree("disk.img", "--cache", "disk.kvrsp")["tree"], direct["tree"])
        self.assertEqual(self.tree("disk.kvrsp")["tree"], direct["tree"])
        info = json.loads(run("info", "disk.kvrsp", "--json").stdout)
        trace = self.tree("disk.kvrsp", "--trace")["trace"]
        asked = {s for r in trace for s in range(r["start"], r["start"] + r["sectors"])}
        self.assertEqual(len(asked), sum(r["sectors"] for r in trace))
        self.assertEqual(info["present"], len(asked))

    @needs("sfdisk")
    def test_a_failing_disk_shows_what_could_be_read(self):
        blank("disk.img", 100000)
        self.sfdisk("disk.img", "label: gpt\n" + "size=2048\n" * 8)
        pathlib.Path("bad.map").write_text(cli_test.mapfile_text(100000, [(3, 1)]))  # entries 4 to 7
        document = self.tree("disk.img", "--test-mode", "bad.map", status=3)
        self.assertFalse(document["ok"])
        pathlib.Path("bad.map").write_text(cli_test.mapfile_text(100000, [(2080, 9)]))
        document = self.tree("disk.img", "--test-mode", "bad.map", "--cache", "c.kvrsp", status=3)
        self.assertEqual(len(document["tree"][0]["children"][0]["children"]), 8)

    def test_a_cache_that_lacks_sectors_says_so(self):
        cli_test.CliTest.make_source(self, 1000)
        run("image", "source.img", "part.kvrsp", "--start", 0, "--sectors", 16)
        result = run("tree", "part.kvrsp")
        self.assertEqual(result.returncode, 0)
        self.assertIn(b"not in the cache", result.stderr)

    def test_what_is_no_storage_is_told(self):
        pathlib.Path("short.img").write_bytes(b"x" * 100)
        blank("tiny.img", 3)
        for name, status, words in (("absent.img", 1, b"absent.img"), ("short.img", 1, b"short.img"),
                                    ("tiny.img", 0, b"could be read")):
            result = run("tree", name)
            self.assertEqual(result.returncode, status, name)
            self.assertIn(words, result.stderr)


if __name__ == "__main__":
    cli_test.main()
