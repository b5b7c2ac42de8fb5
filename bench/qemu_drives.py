#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Reads failing ATA, SCSI and USB drives under a real kernel: QEMU's drives, whose disk refuses some sectors, and
Debian's kernel. What the drives were asked is taken from QEMU, below the kernel and its retries.

Usage: qemu_drives.py PROGRAM [WORK]. The kernel and busybox are downloaded as Debian packages into WORK
(build/qemu-drives) and not installed. Needs qemu-system-x86, kmod and cpio, and several minutes: it is run by hand.
docs/devices.md tells what it showed."""

import collections
import gzip
import json
import pathlib
import re
import shutil
import subprocess
import sys

SECTORS = 65536  # 32 MiB
BAD = (5000, 20001, 20002, 20003, 47000)
LOST = [(5000, 1), (20001, 3), (47000, 1)]  # the same in runs
DRIVES = {
    "ATA": (["-device", "ahci,id=ahci", "-device", "ide-hd,drive=disk,bus=ahci.0,rerror=report"], ["ahci"]),
    "SCSI": (["-device", "virtio-scsi-pci", "-device", "scsi-hd,drive=disk,rerror=report,serial=S1"], ["virtio_pci", "virtio_scsi"]),
    "USB": (["-device", "qemu-xhci", "-device", "usb-storage,drive=disk,serial=U1"], ["xhci_pci", "usb_storage"]),
    "UAS": (["-device", "qemu-xhci", "-device", "usb-uas,id=uas", "-device",
             "scsi-hd,drive=disk,bus=uas.0,rerror=report,serial=A1"], ["xhci_pci", "uas"]),
}
INIT = """#!/bin/busybox sh
/bin/busybox --install -s /bin
mount -t proc proc /proc; mount -t sysfs sys /sys; mount -t devtmpfs dev /dev; mount -t tmpfs tmp /tmp
for module in $(cat /modules/order); do insmod /modules/$module 2>/dev/null; done
for i in $(seq 300); do [ -b /dev/sda ] && break; usleep 100000; done
echo LARKSPUR-BEGIN
larkspur image /dev/sda /tmp/disk.kvrsp --pass-through PASS_THROUGH; echo "STATUS $?"
larkspur image /dev/sda /tmp/disk.kvrsp --pass-through PASS_THROUGH; echo "STATUS $?"
larkspur info /tmp/disk.kvrsp --json | tr -d '\\n'; echo
larkspur map /tmp/disk.kvrsp --json | tr -d '\\n'; echo
larkspur export /tmp/disk.kvrsp /tmp/disk.raw; sha256sum /tmp/disk.raw
cat /tmp/disk.kvrsp.log
echo LARKSPUR-END
poweroff -f
"""


def output_of(*command, **options):
    return subprocess.run([str(word) for word in command], check=True, capture_output=True, text=True, **options).stdout


def unpack_packages(work):
    """The kernel's package and busybox, unpacked; the folder and the kernel's version."""
    root = work / "packages"
    if not root.exists():
        depends = output_of("apt-cache", "depends", "linux-image-amd64")
        kernel = re.search(r"Depends: (linux-image-\S+)", depends)[1]
        output_of("apt-get", "download", kernel, "busybox-static", cwd=work)
        for package in work.glob("*.deb"):
            output_of("dpkg-deb", "-x", package, root)
        output_of("/sbin/depmod", "-b", root, next((root / "lib/modules").iterdir()).name)
    return root, next((root / "lib/modules").iterdir()).name


def module_paths(root, version, names):
    """The modules and those that they need, in the order to load them."""
    paths = []
    for name in ["sd_mod", "crc32c_generic", "crct10dif_generic", "crc64_rocksoft_generic", *names]:
        shown = output_of("/sbin/modprobe", "-d", root, "-S", version, "--show-depends", name)
        paths += [line.split()[1] for line in shown.splitlines() if line.startswith("insmod")]
    return list(dict.fromkeys(paths))


def make_initramfs(work, program, modules, pass_through):
    tree = work / "initramfs"
    shutil.rmtree(tree, ignore_errors=True)
    for folder in ("bin", "modules", "proc", "sys", "dev", "tmp"):
        (tree / folder).mkdir(parents=True)
    root, version = unpack_packages(work)
    shutil.copy(root / "bin/busybox", tree / "bin")
    shutil.copy(program, tree / "bin/larkspur")
    paths = module_paths(root, version, modules)
    for path in paths:
        shutil.copy(path, tree / "modules")
    (tree / "modules/order").write_text("\n".join(pathlib.Path(path).name for path in paths))
    (tree / "init").write_text(INIT.replace("PASS_THROUGH", pass_through))
    (tree / "init").chmod(0o755)
    names = "\n".join(str(path.relative_to(tree)) for path in sorted(tree.rglob("*")))
    archive = subprocess.run(["cpio", "-o", "-H", "newc", "--quiet"], input=names.encode(), cwd=tree, check=True,
                             capture_output=True).stdout
    (work / "initramfs.gz").write_bytes(gzip.compress(archive, 1))
    return root / f"boot/vmlinuz-{version}"


def make_disk(work):
    content = b"".join(b"sector %08d" % i * 33 + bytes(17) for i in range(SECTORS))
    assert len(content) == SECTORS * 512
    (work / "disk.img").write_bytes(content)
    rules = [f'[inject-error]\nevent = "read_aio"\nerrno = "5"\nsector = "{sector}"\n' for sector in BAD]
    (work / "refusals.conf").write_text("\n".join(rules))
    lost = bytearray(content)
    for sector in BAD:
        lost[sector * 512:(sector + 1) * 512] = bytes(512)
    (work / "expected.raw").write_bytes(lost)
    return output_of("sha256sum", work / "expected.raw").split()[0]


def boot(work, program, drive, pass_through):
    """What the machine printed between the marks, and the reads of the disk as (first, sectors)."""
    devices, modules = DRIVES[drive]
    kernel = make_initramfs(work, program, modules, pass_through)
    trace = work / "trace.log"
    ran = subprocess.run(
        ["qemu-system-x86_64", "-accel", "tcg", "-m", "512", "-nographic", "-no-reboot", "-kernel", kernel, "-initrd",
         work / "initramfs.gz", "-append", "console=ttyS0 quiet panic=-1", "-drive",
         f"if=none,id=disk,format=raw,cache=none,file=blkdebug:{work}/refusals.conf:{work}/disk.img", *devices,
         "-trace", "blk_co_preadv", "-D", trace], stdin=subprocess.DEVNULL, capture_output=True, timeout=900, check=True)
    (work / "console.log").write_bytes(ran.stdout)
    printed = ran.stdout.decode(errors="replace").replace("\r", "")
    reads = [(int(first) // 512, int(length) // 512)
             for first, length in re.findall(r"blk_co_preadv .*offset (\d+) bytes (\d+)", trace.read_text())]
    if "LARKSPUR-END" not in printed:
        sys.exit(f"{drive}: the machine did not get to its end\n{printed[-3000:]}")
    return printed.split("LARKSPUR-BEGIN\n")[1].split("LARKSPUR-END")[0], reads


def judge(printed, reads, expected_hash, counts_asks):
    """What is wrong; nothing when all is as it should be. And a line that tells of the run."""
    lines = printed.splitlines()
    documents = [json.loads(line) for line in lines if line.startswith("{")]
    areas = next(document["extents"] for document in documents if "extents" in document)
    lost = [(area["start"], area["sectors"]) for area in areas if area["status"] == "unreadable"]
    failed = [document for document in documents if document.get("event") == "failed"]
    asked = collections.Counter()
    for first, count in reads:
        asked.update(sector for sector in BAD if first <= sector < first + count)
    wrong = []
    if lost != LOST:
        wrong.append(f"marked {lost} and not {LOST}")
    if not any(expected_hash in line for line in lines):
        wrong.append("the export differs")
    if [line for line in lines if line.startswith("STATUS")] != ["STATUS 3", "STATUS 3"]:
        wrong.append("other exit statuses than 3")
    if counts_asks and max(asked.values()) > 2:
        wrong.append(f"asked {dict(asked)} times")
    kinds = collections.Counter((event["kind"], event["code"], event.get("sense", "-")) for event in failed)
    return wrong, f"bad sectors asked {[asked[s] for s in BAD]} times; failures {dict(kinds)}"


def main():
    program = pathlib.Path(sys.argv[1]).resolve()
    work = pathlib.Path(sys.argv[2] if len(sys.argv) > 2 else "build/qemu-drives").resolve()
    work.mkdir(parents=True, exist_ok=True)
    expected_hash = make_disk(work)
    failures = 0
    for drive in DRIVES:
        for pass_through in ("on", "auto", "off"):
            printed, reads = boot(work, program, drive, pass_through)
            wrong, told = judge(printed, reads, expected_hash, pass_through == "on")
            failures += len(wrong)
            print(f"{drive:<5} --pass-through {pass_through:<5} {'FAILED: ' + '; '.join(wrong) if wrong else 'passed'}; {told}",
                  flush=True)
    sys.exit(1 if failures else 0)


main()
