#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Compares what `larkspur tree` shows of physical volumes with what LVM2 says of them. Usage:
lvm_test.py ARGUMENTS, as program.py takes them. Skipped without LVM2's tools or without the right
to make loop devices."""

import json
import os
import pathlib
import re
import subprocess

import program
from program import blank, loop_device, needs

EXTENT = 2048
FIRST_EXTENT = 2048
SECTORS = 131072

# No kernel support is asked for, and nothing but our own devices is looked at.
CONFIG = """devices {{ use_devicesfile=0 filter=[ {devices}, "r|.*|" ] scan=["/dev"] }}
backup {{ backup=0 archive=0 }} activation {{ monitoring=0 udev_sync=0 udev_rules=0 }}
global {{ use_lvmpolld=0 event_activation=0 }}"""

VOLUME = """{name} {{ id = "{id}" status = ["READ", "WRITE"{visible}] flags = []
segment_count = 1 segment1 {{ start_extent = 0 {segment} }} }}
"""


def volume(name, number, segment):
    visible = "" if re.search("_r(image|meta)_", name) else ', "VISIBLE"'
    identifier = f"raid{number:02}-0000-1111-2222-3333-4444-555555"
    return VOLUME.format(name=name, id=identifier, visible=visible, segment=segment)


def raid5(first_extent):
    """A RAID 5 volume over the first three physical volumes, as a group's text has it."""
    images = ", ".join(f'"five_rmeta_{i}", "five_rimage_{i}"' for i in range(3))
    text = volume("five", 0, 'extent_count = 8 type = "raid5_ls" device_count = 3 '
                  f'region_size = 4096 stripe_size = 128 raids = [{images}]')
    for i in range(3):
        for kind, first, count in (("meta", first_extent, 1), ("image", first_extent + 1, 4)):
            text += volume(f"five_r{kind}_{i}", 10 * (kind == "image") + i + 1,
                           f'extent_count = {count} type = "striped" stripe_count = 1 '
                           f'stripes = ["pv{i}", {first}]')
    return text


class LvmTest(program.ProgramTest):
    def setUp(self):
        super().setUp()
        self.devices = []
        for i in range(4):
            blank(f"pv{i}.img", SECTORS)
            self.devices.append(loop_device(self, f"pv{i}.img"))

    def lvm(self, command, *arguments):
        devices = ", ".join(f'"a|^{device}$|"' for device in self.devices)
        result = subprocess.run(
            [command, "--driverloaded", "n", "--config", CONFIG.format(devices=devices), *arguments],
            check=False, capture_output=True, text=True,
            env={**os.environ, "LVM_SUPPRESS_FD_WARNINGS": "1"})
        self.assertEqual(result.returncode, 0, result.stderr)
        return result.stdout

    def make_group(self):
        self.lvm("pvcreate", "--pvmetadatacopies", "2", self.devices[0])
        self.lvm("pvcreate", *self.devices[1:3])
        self.lvm("pvcreate", "--metadatacopies", "0", self.devices[3])
        self.lvm("vgcreate", "-s", f"{EXTENT}s", "group", *self.devices)
        create = ["-an", "-Zn", "-Wn", "-y"]
        self.lvm("lvcreate", *create, "-l5", "-nroot", "group", self.devices[0])
        self.lvm("lvcreate", *create, "-l6", "-i3", "-I64k", "-nwide", "group", *self.devices[:3])
        self.lvm("lvcreate", *create, "-l4", "-nhome", "group", self.devices[1])
        self.lvm("lvextend", "-l+3", "group/root", self.devices[2])

    def add_raid(self):
        self.lvm("vgcfgbackup", "-f", "group.text", "group")
        text = pathlib.Path("group.text").read_text(encoding="utf-8")
        self.assertIn("logical_volumes {\n", text)
        text = text.replace("logical_volumes {\n", "logical_volumes {\n" + raid5(20))
        pathlib.Path("group.text").write_text(text, encoding="utf-8")
        self.lvm("vgcfgrestore", "-f", "group.text", "group")

    def used_segments(self, device):
        """(start, sectors, volume) of what is used on a physical volume."""
        report = json.loads(self.lvm("pvs", "--segments", "--reportformat", "json", "-o",
                                     "pvseg_start,pvseg_size,lv_name,segtype", device))
        return sorted((FIRST_EXTENT + int(s["pvseg_start"]) * EXTENT, int(s["pvseg_size"]) * EXTENT,
                       s["lv_name"].strip("[]"))
                      for s in report["report"][0]["pvseg"] if s["segtype"] != "free")

    def found_segments(self, image):
        root = self.document("tree", image)["tree"][0]
        self.assertEqual((root["parser"], root["parserClass"]), (6, "cLVMPartParser"))
        return {(n["start"], n["sectors"]): n["records"][0] for n in root["children"]}

    @needs("losetup", "pvcreate", "vgcreate", "lvcreate", "lvextend", "vgcfgrestore", "pvs")
    def test_pieces_of_volumes(self):
        self.make_group()
        self.add_raid()
        identifiers = dict(
            line.split() for line in
            self.lvm("lvs", "-a", "--noheadings", "-o", "lv_name,lv_uuid", "group").splitlines())
        for i, device in enumerate(self.devices[:3]):
            with self.subTest(pv=i):
                said = self.used_segments(device)
                self.assertGreater(len(said), 3)
                found = self.found_segments(f"pv{i}.img")
                self.assertEqual(sorted(found), [(start, count) for start, count, _ in said])
                for start, count, name in said:
                    record = found[start, count]
                    whole = "five" if "_rimage_" in name else name
                    self.assertEqual(record["name"], "group/" + whole)
                    uuid = identifiers["[" + whole + "]" if "_rmeta_" in whole else whole]
                    self.assertEqual(bytes.fromhex(record["set"]).decode(), uuid.replace("-", ""))
        self.assertEqual(self.document("tree", "pv3.img")["tree"][0]["children"], [])

    @needs("losetup", "pvcreate", "vgcreate", "lvcreate", "lvextend", "vgcfgrestore", "pvs")
    def test_sets_of_pieces(self):
        self.make_group()
        self.add_raid()
        found = {record["name"]: record for record in self.found_segments("pv2.img").values()}
        kinds = {name: tuple(record[key] for key in ("level", "layout", "columns", "index", "blockSize"))
                 for name, record in found.items()}
        self.assertEqual(kinds["group/root"], ("linear", 1, 2, 1, 512))
        self.assertEqual(kinds["group/wide"], ("striped", 2, 3, 2, 65536))
        self.assertEqual(kinds["group/five"], ("raid5_ls", 6, 3, 2, 65536))


if __name__ == "__main__":
    program.main()
