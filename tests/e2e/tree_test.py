#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Compares what `larkspur tree` shows with what ordinary tools made and say. Usage: tree_test.py
ARGUMENTS, as program.py takes them. A test whose tool is missing is skipped."""

import json
import pathlib
import re
import shutil
import struct
import subprocess

import program
from program import SECTOR, blank, mapfile_text, needs, run, tool

ROOT_TYPE = 32764
LINUX_GUID = "0FC63DAF-8483-4772-8E79-3D69D8477DE4"

# A line each: size in MiB, and what makes a file system in an empty image of it, or the image itself.
FILE_SYSTEMS = {
    "ext2": (4, "mkfs.ext2 -q -L two IMAGE"),
    "ext3": (8, "mkfs.ext3 -q -L three IMAGE"),
    "ext4": (16, "mkfs.ext4 -q -L four IMAGE"),
    "jbd": (8, "mke2fs -q -O journal_dev IMAGE"),
    "xfs": (320, "mkfs.xfs -q -L xlab IMAGE"),
    "btrfs": (128, "mkfs.btrfs -q -L spaced_label IMAGE"),
    "f2fs": (64, "mkfs.f2fs -q -l flash IMAGE"),
    "reiserfs": (64, "mkfs.reiserfs -q -f -l rei IMAGE"),
    "jfs": (32, "mkfs.jfs -q -L jay IMAGE"),
    "nilfs2": (160, "mkfs.nilfs2 -q -L nil IMAGE"),
    "swap": (4, "mkswap -q -L sw IMAGE"),
    "fat12": (2, "mkfs.fat -F 12 -n DOZE IMAGE"),
    "fat16": (32, "mkfs.fat -F 16 -n SIXTEEN IMAGE"),
    "fat32": (64, "mkfs.fat -F 32 -n THIRTY2 IMAGE"),
    "exfat": (16, "mkfs.exfat -L exlabel IMAGE"),
    "ntfs": (16, "mkfs.ntfs -F -q -L ntlabel IMAGE"),
    "hfs": (8, "hformat -l hlabel IMAGE"),
    "udf": (32, "mkfs.udf -l UDFlab IMAGE"),
    "udf of small blocks": (32, "mkfs.udf -b 512 -l UDF5 IMAGE"),
    "iso9660": (0, "genisoimage -quiet -V ISOLAB -o IMAGE folder"),
    "iso9660 with Joliet": (0, "genisoimage -quiet -J -V JoLab -o IMAGE folder"),
    "iso9660 with a long name": (0, "genisoimage -quiet -J -V A_name_of_27_characters_all -o IMAGE folder"),
    "iso9660 for Macs": (0, "genisoimage -quiet -hfs -J -V HYBRID -o IMAGE folder"),
    "minix": (4, "mkfs.minix -1 -n 14 IMAGE"),
    "minix of long names": (4, "mkfs.minix -1 -n 30 IMAGE"),
    "minix 2": (4, "mkfs.minix -2 -n 14 IMAGE"),
    "minix 2 of long names": (64, "mkfs.minix -2 -n 30 IMAGE"),
    "minix 3": (64, "mkfs.minix -3 IMAGE"),
    "squashfs": (0, "mksquashfs folder IMAGE -quiet -no-progress"),
    "erofs": (0, "mkfs.erofs IMAGE folder"),
    "bcache": (32, "make-bcache -B IMAGE"),
    "ufs": (0, "makefs -t ffs -s 8m -o version=1 IMAGE folder"),
    "luks1": (32, "cryptsetup luksFormat -q --type luks1 --pbkdf-force-iterations 1000 IMAGE -"),
    "luks2": (32, "cryptsetup luksFormat -q --type luks2 --label lab --pbkdf pbkdf2 "
                  "--pbkdf-force-iterations 1000 IMAGE -"),
}


def overwrite(name, sector, data):
    with open(name, "r+b") as image:
        image.seek(sector * SECTOR)
        image.write(data)


def places(nodes):
    """(start, sectors, type) of the nodes."""
    return [(node["start"], node["sectors"], node["type"]) for node in nodes]


class TreeTest(program.ProgramTest):
    def tree(self, *arguments, status=0):
        document = self.document("tree", *arguments, status=status)
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
        self.assertEqual([n["place"] for n in (first, container, drives[54])], ["1", "2", "2.55"])
        self.assertEqual({r["kind"] for d in drives for r in d["records"]}, {12})
        self.assertEqual(drives[0]["records"][0]["offset"], 2048)

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

    # Notes

    def notes(self, node, kind):
        return [note for note in node.get("notes", []) if note["kind"] == kind]

    def make_file_system(self, image, size, command):
        words = command.replace("IMAGE", image).split()
        if not shutil.which(words[0]):
            self.skipTest("needs " + words[0])
        pathlib.Path("folder").mkdir(exist_ok=True)
        pathlib.Path("folder/file").write_text("hello")
        pathlib.Path(image).unlink(missing_ok=True)
        if size:
            blank(image, size << 11)
        subprocess.run(words, input=b"secret", stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, check=True)

    @needs("blkid")
    def test_contents_as_blkid_tells_them(self):
        for name, (size, command) in FILE_SYSTEMS.items():
            with self.subTest(name):
                self.make_file_system("fs.img", size, command)
                said = dict(line.replace("\\", "").split("=", 1) for line in
                            tool("blkid", "-p", "-o", "export", "fs.img").splitlines())
                found, = self.notes(self.document("tree", "fs.img")["tree"][0], "content")
                self.assertEqual([found.get(key) for key in ("name", "label", "uuid", "version")],
                                 [said.get(key) for key in ("TYPE", "LABEL", "UUID", "VERSION")])

    @needs("mkfs.ext4")
    def test_no_notes_leaves_the_tree_alone(self):
        self.make_file_system("fs.img", 16, FILE_SYSTEMS["ext4"][1])
        alone = self.tree("fs.img", "--no-notes")["tree"][0]
        told = self.tree("fs.img")["tree"][0]
        self.assertIn(b"ext4 1.0 \"four\"", run("tree", "fs.img").stdout)
        self.assertTrue(told.pop("notes"))
        self.assertEqual(alone, told)

    @needs("sfdisk", "mkfs.exfat", "mkfs.ntfs")
    def test_a_type_is_confirmed_or_doubtful(self):
        blank("disk.img", 131072)
        self.sfdisk("disk.img", "label: dos\nstart=2048,size=40960,type=7\n"
                    "start=43008,size=40960,type=7\nstart=83968,type=82\n")
        for name, start in (("exfat", 2048), ("ntfs", 43008)):
            self.make_file_system("fs.img", 16, FILE_SYSTEMS[name][1])
            overwrite("disk.img", start, pathlib.Path("fs.img").read_bytes())
        exfat, ntfs, swap = self.children("disk.img")
        self.assertEqual(self.notes(exfat, "doubtful")[0]["expected"], "ntfs")
        self.assertEqual(self.notes(exfat, "content")[0]["name"], "exfat")
        self.assertTrue(self.notes(ntfs, "confirmed"))
        self.assertEqual(self.notes(swap, "doubtful")[0]["expected"], "swap")

    @needs("sfdisk")
    def test_a_guid_table_is_told_and_its_backup_used(self):
        blank("gpt.img", 40000)
        self.sfdisk("gpt.img", "label: gpt\nsize=2048,name=\"first one\",type=" + LINUX_GUID +
                    "\nsize=4096,attrs=GUID:63,type=C12A7328-F81F-11D2-BA4B-00A0C93EC93B\n")
        said = json.loads(tool("sfdisk", "--json", "gpt.img"))["partitiontable"]
        protective, = self.children("gpt.img")
        state, = self.notes(protective, "backup")
        self.assertEqual((state["primary"], state["backup"], state["used"], state["diskGuid"]),
                         ("intact", "intact", "primary", said["id"].lower()))
        for node, partition in zip(protective["children"], said["partitions"], strict=True):
            note, = self.notes(node, "gpt")
            self.assertEqual((note["name"], note["guid"], note["typeGuid"], note["lastSector"]),
                             (partition.get("name", ""), partition["uuid"].lower(),
                              partition["type"].lower(),
                              partition["start"] + partition["size"] - 1))
        self.assertEqual([self.notes(n, "gpt")[0]["type"] for n in protective["children"]],
                         ["Linux filesystem", "EFI system"])
        self.assertEqual(self.notes(protective["children"][1], "gpt")[0]["attributes"], 1 << 63)

        whole = pathlib.Path("gpt.img").read_bytes()
        overwrite("gpt.img", 2, b"damaged!")  # a sector of the entries
        state, = self.notes(self.children("gpt.img")[0], "backup")
        self.assertEqual((state["primary"], state["backup"]), ("damaged", "intact"))
        overwrite("gpt.img", 0, bytes(34 * SECTOR))
        root = self.tree("gpt.img")["tree"][0]
        state, = self.notes(root, "backup")
        self.assertEqual((root["children"], state["primary"], state["backup"]),
                         ([], "missing", "intact"))
        root = self.tree("gpt.img", "--backup-gpt")["tree"][0]
        self.assertEqual(places(root["children"]), places(protective["children"]))
        self.assertEqual(self.notes(root, "backup")[0]["used"], "backup")
        overwrite("gpt.img", 0, whole)
        overwrite("gpt.img", 39999, bytes(SECTOR))
        state, = self.notes(self.children("gpt.img")[0], "backup")
        self.assertEqual((state["primary"], state["backup"]), ("intact", "missing"))
        self.refused("no intact backup", "tree", "gpt.img", "--backup-gpt")

    def test_a_limit_is_told_without_notes_too(self):
        header = b"EFI PART" + bytes(16) + struct.pack("<Q40xQII", 1, 2, 16385, 128)
        blank("gpt.img", 8192, (1, header), (2, b"\1" * 128))
        for arguments in ([], ["--no-notes"]):
            self.assertIn(b"the limit of 16384 entries", self.call("tree", "gpt.img", *arguments).stderr)

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
        info = self.document("info", "disk.kvrsp")
        trace = self.tree("disk.kvrsp", "--trace")["trace"]
        asked = {s for r in trace for s in range(r["start"], r["start"] + r["sectors"])}
        self.assertEqual(len(asked), sum(r["sectors"] for r in trace))
        self.assertEqual(info["present"], len(asked))

    @needs("sfdisk")
    def test_a_failing_disk_shows_what_could_be_read(self):
        blank("disk.img", 100000)
        self.sfdisk("disk.img", "label: gpt\n" + "size=2048\n" * 8)
        pathlib.Path("bad.map").write_text(mapfile_text(100000, [(3, 1)]))  # entries 4 to 7
        document = self.tree("disk.img", "--test-mode", "bad.map", status=3)
        self.assertFalse(document["ok"])
        pathlib.Path("bad.map").write_text(mapfile_text(100000, [(2080, 9)]))
        document = self.tree("disk.img", "--test-mode", "bad.map", "--cache", "c.kvrsp", status=3)
        self.assertEqual(len(document["tree"][0]["children"][0]["children"]), 8)

    @needs("sfdisk")
    def test_what_a_cache_lacks_is_neither_missing_nor_doubtful(self):
        blank("disk.img", 40000)
        self.sfdisk("disk.img", "label: gpt\nsize=2048,type=0657FD6D-A4AB-43C4-84E5-0933C84B4F4F\n")
        run("image", "disk.img", "part.kvrsp", "--sectors", 64)
        failed = self.call("tree", "part.kvrsp", "--backup-gpt", status=1).stderr
        self.assertIn(b"sectors that were needed are not in the cache yet", failed)
        pathlib.Path("bad.map").write_text(mapfile_text(40000, [(2055, 1), (39999, 1)]))
        for status, state, arguments in (("missing", "notInCache", ["part.kvrsp"]),
                                         ("unreadable", "unreadable", ["disk.img", "--test-mode", "bad.map"])):
            with self.subTest(arguments):
                table, = self.tree(*arguments, status=3)["tree"][0]["children"]
                backup, = self.notes(table, "backup")
                self.assertEqual((backup["primary"], backup["backup"]), ("intact", state))
                self.assertEqual({note["status"] for node in (table, *table["children"])
                                  for note in self.notes(node, "unread")}, {status})
                result = self.call("tree", *arguments, status=3)
                self.assertIn(b"cache yet" if status == "missing" else b"are unreadable", result.stderr)

    def test_what_is_no_storage_is_told(self):
        pathlib.Path("short.img").write_bytes(b"x" * 100)
        self.refused("absent.img", "tree", "absent.img")
        self.refused("short.img", "tree", "short.img")

    def test_a_storage_that_ends_early_is_looked_through_as_far_as_it_goes(self):
        table = struct.pack("<446xB3xB3xII48xH", 0, 0x83, 1, 2, 0xAA55)
        for name, sectors, written, places_there in (("empty.img", 1, [], []),
                                                     ("tiny.img", 3, [(0, table)], [(1, 2, 0x83)])):
            with self.subTest(name):
                blank(name, sectors, *written)
                self.assertEqual(places(self.children(name)), places_there)
                self.assertEqual(self.call("tree", name).stderr, b"")
        overwrite("tiny.img", 0, table.replace(b"\x83", b"\5", 1))  # that container lacks its table
        self.assertIn(b"could not be read or understood", self.call("tree", "tiny.img").stderr)


if __name__ == "__main__":
    program.main()
