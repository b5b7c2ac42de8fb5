#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Compares what `larkspur files` lists with file systems that ordinary tools made. Usage:
files_test.py ARGUMENTS, as program.py takes them. A test whose tool is missing is skipped."""

import json
import os
import pathlib
import random
import re
import shutil
import subprocess
import unicodedata
import unittest

import program
from program import SECTOR, blank, loop_device, needs, run, tool

MIB = 2048  # sectors


def import_with(image, bad=(), missing=()):
    """A cache of the image in which these sectors are unreadable or missing."""
    sectors = os.path.getsize(image) // SECTOR
    status = {sector: "-" for sector in bad} | {sector: "?" for sector in missing}
    lines, start = ["0 ?"], 0
    for sector in range(1, sectors + 1):
        here = status.get(start, "+")
        if sector == sectors or status.get(sector, "+") != here:
            lines.append(f"{start * SECTOR} {(sector - start) * SECTOR} {here}")
            start = sector
    pathlib.Path("made.map").write_text("\n".join(lines) + "\n")
    pathlib.Path("disk.kvrsp").unlink(missing_ok=True)
    result = run("import", image, "made.map", "disk.kvrsp")
    assert result.returncode == 0, result.stderr


@unittest.skipIf(os.name == "nt", "file systems are read on Linux")
class FilesTest(program.ProgramTest):
    def setUp(self):
        super().setUp()
        if program.is_emulated():
            self.skipTest("file systems are read on Linux")
        source = random.Random(7)
        self.tree = {"/empty": b"", "/one": b"1", "/folder/a b.txt": b"text" * 200,
                     "/folder/deep/er/big.bin": source.randbytes(3_000_000),
                     "/folder/ünï ☂.txt": source.randbytes(5000)}
        self.tree |= {f"/many/file{i}.dat": source.randbytes(source.randrange(70_000))
                      for i in range(60)}
        for path, data in self.tree.items():
            file = pathlib.Path("tree" + path)
            file.parent.mkdir(parents=True, exist_ok=True)
            file.write_bytes(data)

    def files(self, *options, status=0):
        """The document and the files in it, by path."""
        result = self.call("files", "disk.kvrsp", "--json", *options, status=status)
        document = json.loads(result.stdout)
        self.messages = result.stderr.decode()
        return document, {file["path"]: file for file in document["files"]}

    def ext4(self, *options):
        blank("fs.img", 40 * MIB)
        tool("mkfs.ext4", "-q", "-b", "4096", "-L", "my label", *options, "-d", "tree", "fs.img")

    def debugfs(self, request):
        return subprocess.run(["debugfs", "-R", request, "fs.img"], check=True, capture_output=True).stdout.decode()

    def sectors_of(self, path, block=4096):
        """The sectors that hold the file's bytes, as debugfs tells its blocks."""
        blocks = [int(b) for b in self.debugfs(f'blocks "{path}"').split()]
        sectors = [b * (block // SECTOR) + i for b in blocks for i in range(block // SECTOR)]
        return sectors[:-(-len(self.tree[path]) // SECTOR)]

    # What is on it

    def assert_whole(self, kind, label):
        document, files = self.files()
        self.assertEqual({path: file["size"] for path, file in files.items()},
                         {path: len(data) for path, data in self.tree.items()})
        self.assertEqual({file["state"] for file in files.values()}, {"complete"})
        volume, = document["volumes"]
        self.assertEqual([volume[k] for k in ("partition", "start", "sectors", "label")],
                         ["", 0, os.path.getsize("fs.img") // SECTOR, label])
        self.assertIn(kind, volume["fileSystem"])
        self.assertEqual(self.files("--damaged")[1], {})

    @needs("mkfs.ext4", "debugfs")
    def test_ext_in_its_kinds(self):
        for options in ((), ("-b", "1024", "-O", "^extent,^64bit"), ("-t", "ext2"),
                        ("-O", "inline_data", "-I", "256")):
            with self.subTest(options=options):
                self.ext4(*options)
                import_with("fs.img")
                self.assert_whole("ext", "my label")

    @needs("mkfs.vfat", "mcopy")
    def test_fat(self):
        for bits, size in ((12, 8 * MIB), (16, 40 * MIB), (32, 80 * MIB)):
            with self.subTest(bits=bits):
                blank("fs.img", size)
                tool("mkfs.vfat", "-F", bits and str(bits), "-n", "MYLABEL", "fs.img")
                tool("mcopy", "-s", "-i", "fs.img",
                     *(str(p) for p in sorted(pathlib.Path("tree").iterdir())), "::/")
                import_with("fs.img")
                self.assert_whole("fat", "MYLABEL")

    @needs("mkfs.ntfs", "ntfscp")
    def test_ntfs(self):
        self.tree = {"/" + path.rsplit("/", 1)[1]: data for path, data in self.tree.items()}
        blank("fs.img", 40 * MIB)
        tool("mkfs.ntfs", "-q", "-F", "fs.img")
        for path, data in self.tree.items():
            pathlib.Path("one").write_bytes(data)
            tool("ntfscp", "-q", "fs.img", "one", path)
        import_with("fs.img")
        self.assert_whole("ntfs", "")

    @needs("genisoimage")
    def test_iso(self):
        tool("genisoimage", "-quiet", "-J", "-joliet-long", "-V", "MYLABEL", "-o", "fs.img", "tree")
        import_with("fs.img")
        self.assert_whole("iso9660", "MYLABEL")

    @needs("makefs")
    def test_ufs(self):
        tool("makefs", "-t", "ffs", "-s", "40m", "-o", "version=1", "fs.img", "tree")
        import_with("fs.img")
        self.assert_whole("ufs", "")

    @needs("xorriso")
    def test_hfs_plus(self):
        tool("xorriso", "-as", "mkisofs", "-quiet", "-hfsplus", "-o", "whole.img", "tree")
        place, = (node for node in self.document("tree", "whole.img")["tree"][0]["children"]
                  if "HFS" in node["name"])
        whole = pathlib.Path("whole.img").read_bytes()
        first = place["start"] * SECTOR
        pathlib.Path("fs.img").write_bytes(whole[first:first + place["sectors"] * SECTOR])
        import_with("fs.img")
        # Letters are kept with their marks apart, and the trees of metadata are files.
        self.tree = {unicodedata.normalize("NFD", path): data for path, data in self.tree.items()}
        self.tree |= {path: bytes(file["size"]) for path, file in self.files()[1].items() if path[1] == "$"}
        self.assert_whole("hfs", "")

    @needs("mkfs.exfat", "mount.exfat-fuse", "losetup")
    def test_exfat(self):
        blank("fs.img", 40 * MIB)
        tool("mkfs.exfat", "fs.img")
        pathlib.Path("mounted").mkdir()
        tool("mount.exfat-fuse", loop_device(self, "fs.img"), "mounted")
        try:
            shutil.copytree("tree", "mounted", dirs_exist_ok=True)
        finally:
            tool("umount", "mounted")
        import_with("fs.img")
        self.assert_whole("exfat", "")

    # What is not there

    @needs("mkfs.ext4", "debugfs")
    def test_damage_is_counted_in_the_sectors_that_hold_data(self):
        self.ext4()
        places = {path: self.sectors_of(path) for path in self.tree if len(self.tree[path]) > 0}
        everything = sorted(sector for sectors in places.values() for sector in sectors)
        chosen = random.Random(1).sample(everything, 60)
        bad, missing = set(chosen[:30]), set(chosen[30:])
        slack = places["/one"][0] + 1  # past the file's end, in its block
        import_with("fs.img", bad | {slack}, missing)
        _, files = self.files()
        for path, sectors in places.items():
            unreadable, lacking = len(bad & set(sectors)), len(missing & set(sectors))
            state = "damaged" if unreadable else "incomplete" if lacking else "complete"
            self.assertEqual([files[path][k] for k in ("state", "unreadable", "missing")],
                             [state, unreadable, lacking], path)
        _, damaged = self.files("--damaged")
        self.assertEqual(set(damaged), {p for p, f in files.items() if f["state"] != "complete"})

    @needs("mkfs.ext4", "debugfs")
    def test_what_metadata_cannot_tell_is_never_complete_and_never_left_out(self):
        self.ext4("-b", "1024", "-O", "^extent,^64bit")
        names = [path for path in self.tree if path.startswith("/many/")]

        def inode_sector(path):
            block, offset = re.search(r"located at block (\d+), offset (\w+)",
                                      self.debugfs(f'imap "{path}"')).groups()
            return int(block) * 2 + int(offset, 16) // SECTOR

        # The inode of a file; other inodes in the same sector suffer, too.
        sector = inode_sector(names[5])
        for lost, state in (({"bad": [sector]}, "damaged"), ({"missing": [sector]}, "incomplete")):
            import_with("fs.img", **lost)
            _, files = self.files()
            self.assertEqual(set(files), set(self.tree))
            for path in self.tree:
                self.assertEqual(files[path]["state"] == state, inode_sector(path) == sector, path)
        # That of a folder: below it nothing is found, which is told.
        import_with("fs.img", bad=[inode_sector("/folder/deep")])
        document, files = self.files()
        self.assertIn("/folder/deep", [d["path"] for d in document["damagedFolders"]])
        self.assertNotIn("/folder/deep", files)
        # The block that tells where most of a large file lies.
        indirect = int(re.search(r"\(IND\):(\d+)", self.debugfs("stat /folder/deep/er/big.bin"))[1])
        import_with("fs.img", missing=[indirect * 2])
        self.assertNotEqual(self.files()[1]["/folder/deep/er/big.bin"]["state"], "complete")
        # A folder: its files lose their names, and are there all the same.
        block = int(self.debugfs("blocks /many").split()[0])
        import_with("fs.img", bad=[block * 2, block * 2 + 1])
        document, files = self.files()
        self.assertEqual(sorted(file["size"] for file in files.values()),
                         sorted(len(data) for data in self.tree.values()))
        self.assertTrue(any(path.startswith("/$OrphanFiles/") for path in files))
        self.assertEqual([(d["path"], d["unreadable"]) for d in document["damagedFolders"]],
                         [("/many", 2)])
        self.assertIn("folder /many", self.messages)

    @needs("mkfs.ext4", "debugfs")
    def test_deleted_files_are_told_apart(self):
        self.ext4()
        tool("debugfs", "-w", "-R", "rm /one", "fs.img")
        import_with("fs.img")
        _, files = self.files()
        self.assertEqual([path for path, file in files.items() if file["deleted"]], ["/one"])
        self.assertEqual(set(files), set(self.tree))
        # Without names: what has no size is nothing any more.
        inodes = {name: int(re.search(r"Inode: (\d+)", self.debugfs(f"stat {name}"))[1])
                  for name in ("/empty", "/many/file17.dat")}
        for name, inode in inodes.items():
            for request in (f"unlink {name}", f"freei <{inode}>"):
                tool("debugfs", "-w", "-R", request, "fs.img")
        image = bytearray(pathlib.Path("fs.img").read_bytes())
        for name in inodes:
            word = os.path.basename(name).encode()
            entry = inodes[name].to_bytes(4, "little")
            at = next(at for at in range(0, len(image), 4) if image[at:at + 4] == entry and
                      image[at + 8:at + 8 + len(word)] == word)
            image[at:at + 8 + len(word)] = bytes(8 + len(word))
        pathlib.Path("fs.img").write_bytes(image)
        import_with("fs.img")
        _, files = self.files()
        orphan = files[f"/$OrphanFiles/OrphanFile-{inodes['/many/file17.dat']}"]
        self.assertEqual((orphan["size"], orphan["deleted"], orphan["state"]),
                         (len(self.tree["/many/file17.dat"]), True, "complete"))
        self.assertEqual(len(files), len(self.tree) - 1)

    # What is asked for

    @needs("mkfs.ext4", "debugfs", "sfdisk", "ddrescuelog")
    def test_partitions_and_wishes(self):
        self.ext4()
        size = os.path.getsize("fs.img") // SECTOR
        volume = pathlib.Path("fs.img").read_bytes()
        blank("whole.img", size * 2 + 4 * MIB, (MIB, volume), (2 * MIB + size, volume))
        tool("sfdisk", "-q", "whole.img", feed=f"{MIB},{size},L\n{2 * MIB + size},{size},L\n".encode())
        wanted = "/folder/deep/er/big.bin"
        sectors = [2 * MIB + size + s for s in self.sectors_of(wanted)]
        import_with("whole.img", bad=sectors[10:20], missing=sectors[100:300] + [MIB + 40 * MIB - 1])
        document, _ = self.files()
        self.assertEqual([(v["partition"], v["start"], v["sectors"]) for v in document["volumes"]],
                         [("1", MIB, size), ("2", 2 * MIB + size, size)])
        self.assertEqual(len(document["files"]), 2 * len(self.tree))
        document, files = self.files("--partition", "2", "--path", "*.bin", "--mapfile", "wish.map")
        self.assertEqual(list(files), [wanted])
        needed = [int(n) for n in tool("ddrescuelog", "-b512", "-l+", "wish.map").split()]
        self.assertEqual(needed, sectors[10:20] + sectors[100:300])
        for glob, count in (("/many/*", 60), ("/*", 2), ("/**", len(self.tree)), ("/many/file?.dat", 10),
                            ("/folder/**/*.txt", 2), ("file1*", 11)):
            self.assertEqual(len(self.files("--partition", "1", "--path", glob)[1]), count, glob)
        for words, *options in (("no file matches /none*\n", "--path", "/none*", "--mapfile", "new.map"),
                                ("matches /none* or the other globs\n", "--path", "/none*", "--path", "/no"),
                                ("already exists", "--path", "*", "--mapfile", "wish.map"),
                                ("no partition 3", "--partition", "3")):
            self.refused(words, "files", "disk.kvrsp", *options)
        self.assertFalse(pathlib.Path("new.map").exists())

    @needs("mkfs.ext4", "debugfs")
    def test_metadata_comes_first_then_what_is_wished_for(self):
        self.ext4()
        options = ("--path", "/many/**", "--mapfile", "wish.map")
        files = self.document("files", "fs.img", "disk.kvrsp", *options)["files"]
        self.assertEqual(len(files), 60)
        self.assertIn("incomplete", {file["state"] for file in files})
        read = self.document("info", "disk.kvrsp")["present"]
        self.assertLess(read, os.path.getsize("fs.img") // SECTOR // 4)
        self.call("image", "fs.img", "disk.kvrsp", "--domain", "wish.map")
        _, files = self.files()
        self.assertEqual({f["state"] for p, f in files.items() if p.startswith("/many/")}, {"complete"})
        self.assertEqual(files["/folder/deep/er/big.bin"]["state"], "incomplete")

    def test_little_is_read_where_no_file_system_is_known(self):
        for size in (100, 3 * MIB, 300 * MIB):
            for name, piece in (("random", random.Random(size).randbytes(MIB * SECTOR)), ("blank", b"")):
                with self.subTest(size=size, name=name):
                    for left in ("disk.kvrsp", "disk.kvrsp.log"):
                        pathlib.Path(left).unlink(missing_ok=True)
                    blank("fs.img", size, *((at, piece[:(size - at) * SECTOR])
                                            for at in range(0, size if piece else 0, MIB)))
                    self.refused("no file system is recognised", "files", "fs.img", "disk.kvrsp")
                    self.refused("no file system", "files", "disk.kvrsp")
                    self.assertLessEqual(self.document("info", "disk.kvrsp")["present"], 1024)

    # What is in use

    def image_used(self, source, *options, status=0):
        """The sectors that --used reads of it, and the document."""
        for name in ("disk.kvrsp", "disk.kvrsp.log"):
            pathlib.Path(name).unlink(missing_ok=True)
        document = self.document("image", "--used", source, "disk.kvrsp", *options, status=status)
        extents = self.document("map", "disk.kvrsp")["extents"]
        return {sector for extent in extents if extent["status"] == "present"
                for sector in range(extent["start"], extent["start"] + extent["sectors"])}, document

    def allocated(self):
        """The sectors that dumpe2fs does not call free, but for copies of the superblock in groups
        whose map was never made."""
        text = re.sub(r"^Group \d+: .*BLOCK_UNINIT.*\n(  .*\n)*", "", tool("dumpe2fs", "fs.img"), flags=re.M)
        block = int(re.search(r"Block size: +(\d+)", text)[1]) // SECTOR
        used = {b for first, last in re.findall(r"^Group \d+: \(Blocks (\d+)-(\d+)\)", text, re.M)
                for b in range(int(first), int(last) + 1)}
        for areas in re.findall(r"^  Free blocks: (.+)$", text, re.M):
            for area in areas.split(", "):
                first, _, last = area.partition("-")
                used -= set(range(int(first), int(last or first) + 1))
        return {b * block + i for b in used for i in range(block)}

    @needs("mkfs.ext4", "dumpe2fs", "sfdisk")
    def test_only_what_is_in_use_is_read(self):
        for options in ((), ("-b", "1024"), ("-b", "1024", "-O", "^extent,^64bit", "-t", "ext2")):
            with self.subTest(options=options):
                self.ext4(*options)
                used = self.allocated()
                read, document = self.image_used("fs.img")
                self.assertEqual(sorted(used - read), [])
                self.assertLessEqual(document["readFromSource"], 1.1 * len(used))
                self.assertEqual({f["state"] for f in self.files()[1].values()}, {"complete"})
        # In a partition, beside one without a file system, which is read whole, and free room.
        size, other = os.path.getsize("fs.img") // SECTOR, 3 * MIB
        blank("whole.img", size + 20 * MIB, (MIB, pathlib.Path("fs.img").read_bytes()))
        tool("sfdisk", "-q", "whole.img",
             feed=f"{MIB},{size},L\n{2 * MIB + size},{other},L\n".encode())
        read, _ = self.image_used("whole.img")
        tables = {0} | set(range(size + 20 * MIB - 33, size + 20 * MIB))  # and where copies of them are
        self.assertEqual(sorted((tables | {MIB + s for s in used}) - read), [])
        self.assertEqual(sorted(set(range(2 * MIB + size, 2 * MIB + size + other)) - read), [])
        self.assertLessEqual(len(read), 1.1 * (len(used) + other))
        read, _ = self.image_used("whole.img", "--partition", "2")
        self.assertFalse(read & {MIB + s for s in used if s > 100 * MIB})
        # With --retry, no missing table is read for it.
        pathlib.Path("bad.map").write_text(program.mapfile_text(size + 20 * MIB, [(MIB + 2, 1)]))
        self.call("read", "whole.img", "retried.kvrsp", "--start", MIB + 2, "--sectors", 1, "--test-mode", "bad.map",
                  status=3)
        retried = self.document("image", "whole.img", "retried.kvrsp", "--retry", "--used", status=3)
        self.assertEqual((retried["readFromSource"], retried["present"]), (1, 1))
        # A table that an older use of the disk left in a file system's first sector.
        tool("sfdisk", "-q", "--wipe-partitions", "never", "fs.img", feed=f"{size // 2},{MIB},L\n".encode())
        read, _ = self.image_used("fs.img")
        self.assertEqual(sorted(used - read), [])
        document, files = self.files()
        self.assertEqual([v["partition"] for v in document["volumes"]], [""])
        self.assertEqual({path: file["state"] for path, file in files.items()},
                         dict.fromkeys(self.tree, "complete"))

    @needs("mkfs.ext4", "dumpe2fs")
    def test_what_a_map_of_free_blocks_cannot_tell_is_read(self):
        self.ext4("-b", "1024")
        groups = tool("dumpe2fs", "fs.img")
        first, last, bitmap = map(int, re.search(
            r"Group 1: \(Blocks (\d+)-(\d+)\).*?Block bitmap at (\d+)", groups, re.S).groups())
        size = os.path.getsize("fs.img")
        bad = bitmap * 1024
        pathlib.Path("bad.map").write_text(f"0 ?\n0 {bad} +\n{bad} 512 -\n{bad + 512} {size - bad - 512} +\n")
        read, _ = self.image_used("fs.img", "--test-mode", "bad.map", status=3)
        needed = (self.allocated() | set(range(first * 2, (last + 1) * 2))) - {bitmap * 2}
        self.assertEqual(sorted(needed - read), [])
        self.assertLess(len(read), size // SECTOR)

    @needs("mkfs.ntfs", "ntfscp", "mkfs.vfat", "mcopy", "mkfs.exfat")
    def test_what_other_file_systems_use(self):
        names = [str(p) for p in sorted(pathlib.Path("tree/many").iterdir())]
        for kind, most in (("ntfs", 6 << 20), ("vfat", 6 << 20), ("exfat", 4 << 20)):
            pathlib.Path("fs.img").unlink(missing_ok=True)
            blank("fs.img", 40 * MIB)
            tool(f"mkfs.{kind}", *(("-q", "-F") if kind == "ntfs" else ()), "fs.img")
            if kind == "vfat":
                tool("mcopy", "-i", "fs.img", *names, "::/")
            for name in names if kind == "ntfs" else ():
                tool("ntfscp", "-q", "fs.img", name, "/" + os.path.basename(name))
            read, _ = self.image_used("fs.img")
            self.assertLess(len(read) * SECTOR, most, kind)
            self.assertEqual({f["state"] for f in self.files()[1].values()},
                             set() if kind == "exfat" else {"complete"}, kind)

    # Bad input

    @needs("mkfs.ext4", "debugfs")
    def test_names_of_any_bytes(self):
        name = b"b\xff\x1b[31m<&>\"\\\xe2\x80\xae"
        pathlib.Path(os.fsdecode(b"tree/" + name)).write_bytes(b"x" * 2000)
        self.ext4()
        import_with("fs.img")
        _, files = self.files()
        odd, = (file for file in files.values() if "pathBytes" in file)
        self.assertEqual(bytes.fromhex(odd["pathBytes"]), b"/" + name)
        text = run("files", "disk.kvrsp").stdout
        self.assertIn(b'/b??[31m<&>"\\', text)
        self.assertNotIn(b"\x1b", text)
        self.assertEqual(self.files("--path", os.fsdecode(b"/" + name))[1].keys(), {odd["path"]})

    @needs("mkfs.ext4", "mkfs.vfat", "mcopy", "mkfs.ntfs")
    def test_garbage_in_metadata_ends_well(self):
        self.ext4("-b", "1024")
        pathlib.Path("ext.img").write_bytes(pathlib.Path("fs.img").read_bytes()[:8 << 20])
        blank("fat.img", 8 * MIB)
        tool("mkfs.vfat", "fat.img")
        tool("mcopy", "-s", "-i", "fat.img", "tree/many", "tree/folder", "::/")
        blank("ntfs.img", 8 * MIB)
        tool("mkfs.ntfs", "-q", "-F", "ntfs.img")
        source = random.Random(11)
        for name in ("ext.img", "fat.img", "ntfs.img"):
            whole = pathlib.Path(name).read_bytes()
            used = [i for i in range(0, len(whole), SECTOR) if any(whole[i:i + SECTOR])]
            for turn in range(12):
                image = bytearray(whole)
                for _ in range(1 << source.randrange(9)):
                    image[source.choice(used) + source.randrange(SECTOR)] = source.randrange(256)
                pathlib.Path("fs.img").write_bytes(image)
                import_with("fs.img", missing=[s // SECTOR for s in source.sample(used, turn)])
                result = run("files", "disk.kvrsp", "--json")
                self.assertIn(result.returncode, (0, 1), (name, turn, result.stderr[-500:]))
                json.loads(result.stdout)


if __name__ == "__main__":
    program.main()
