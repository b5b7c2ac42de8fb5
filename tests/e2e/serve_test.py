#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Reads through `larkspur serve` with the clients that people have, from caches, files, and a disk that is
dying, whose own log tells what it was asked. Usage: serve_test.py ARGUMENTS, as program.py takes them."""

import hashlib
import json
import os
import pathlib
import re
import shlex
import shutil
import signal
import socket
import subprocess
import sys
import threading
import time

import program
from program import PROGRAM, SECTOR, mapfile_text, needs, run, tool, wait_until

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "bench/dying"))
import disk  # noqa: E402

# What scripts for clients begin with: `h` is connected, try_read tells how a read of sectors ends.
CLIENT = """
import hashlib, nbd, sys
h = nbd.NBD()
h.connect_uri(sys.argv[1])
def try_read(first, count=1, unit=512):
    try:
        h.pread(count * unit, first * unit)
        return "."
    except nbd.Error as error:
        return "E" if error.errno == "EIO" else "?"
"""


class ServeBase(program.ProgramTest):
    def setUp(self):
        super().setUp()
        if program.is_emulated():
            self.skipTest("nbdkit runs on Linux")
        if not shutil.which("nbdkit"):
            self.skipTest("needs nbdkit")
        plugin = pathlib.Path(PROGRAM[0]).with_name("nbdkit-larkspur-plugin.so")
        if not plugin.exists():
            self.skipTest("needs the plugin, which is not in this build")

    def serve(self, *options, source=()):
        """Starts it; its URI and the process, which is ended with the test."""
        with open("said", "ab") as said:
            process = program.start("serve", *source, "disk.kvrsp", *options, stdout=subprocess.PIPE,
                                    stderr=said)
        self.addCleanup(process.communicate)
        self.addCleanup(process.terminate)
        text = ""
        while "Ctrl-C" not in text:
            line = process.stdout.readline().decode()
            if not line:
                self.fail(pathlib.Path("said").read_text())
            text += line
        return re.search(r"nbdinfo '?([^'\n]+)", text)[1], process

    def end(self, process, by=signal.SIGTERM):
        process.send_signal(by)
        self.assertEqual(process.wait(10), 130)

    def cannot_serve(self, words, *arguments, storages=("disk.kvrsp",), status=1):
        self.assertEqual(self.refused(words, "serve", *storages, *arguments, status=status).stdout, b"")

    def statuses(self, first=0, end=1 << 40):
        extents = self.document("map", "disk.kvrsp")["extents"]
        return {e["status"] for e in extents if e["start"] < end and e["start"] + e["sectors"] > first}

    @staticmethod
    def free_port():
        with socket.socket() as one:
            one.bind(("127.0.0.1", 0))
            return one.getsockname()[1]

    def client(self, uri, lines):
        """What lines of Python print that have a connection; see CLIENT."""
        result = self.start_client(uri, lines).communicate(timeout=60)
        self.assertEqual(result[1], "")
        return result[0]

    def start_client(self, uri, lines):
        python = shutil.which("python3", path="/usr/bin")
        if not python or subprocess.run([python, "-c", "import nbd"], check=False,
                                        capture_output=True).returncode:
            self.skipTest("needs python3-libnbd")
        return subprocess.Popen([python, "-c", CLIENT + lines, uri], text=True,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE)


class ServeTest(ServeBase):
    def test_clients_get_the_whole_disk(self):
        data = self.make_cache(4096)
        for options in (("--socket", "a b.sock"), ("--port", str(self.free_port()))):
            with self.subTest(options=options):
                uri, process = self.serve(*options)
                for name, command in (("nbdcopy", ["nbdcopy", uri, "out.img"]),
                                      ("qemu-img", ["qemu-img", "convert", "-O", "raw", uri, "out.img"])):
                    if shutil.which(name):
                        tool(*command)
                        self.assertEqual(pathlib.Path("out.img").read_bytes(), data, name)
                        pathlib.Path("out.img").unlink()
                self.end(process, signal.SIGINT)
        self.assertFalse(pathlib.Path("a b.sock").exists())

    def test_what_is_not_there_is_an_error_for_exactly_those_sectors(self):
        data = self.make_cache(4096, [(100, 3)], part=2000)
        uri, process = self.serve("--socket", "s")
        out = self.client(uri, """
print("".join(try_read(s) for s in range(97, 106)), "".join(try_read(s) for s in range(1997, 2003)))
print(try_read(0, 100), try_read(99, 2), try_read(103, 1897), try_read(1999, 2),
      try_read(51199, 1, 1), try_read(51200, 1, 1))
print(h.get_size(), h.is_read_only(), h.can_multi_conn(), try_read(4096))
print(hashlib.sha256(h.pread(40001, 7)).hexdigest())
""")
        self.assertEqual(out.splitlines(), ["...EEE... ...EEE", ". E . E . E", "2097152 True True ?",
                                            hashlib.sha256(data[7:40008]).hexdigest()])
        if shutil.which("nbdinfo"):  # nothing is called zero that merely is not known
            for line in tool("nbdinfo", "--map", uri).splitlines():
                self.assertRegex(line, r"\b0\s+data$")
        self.end(process)
        uri, _ = self.serve("--socket", "s", "--unreadable", "zeros")
        out = self.client(uri, "print(hashlib.sha256(h.pread(2000 * 512, 0)).hexdigest(), try_read(2000))")
        expected = data[:100 * SECTOR] + bytes(3 * SECTOR) + data[103 * SECTOR:2000 * SECTOR]
        self.assertEqual(out.split(), [hashlib.sha256(expected).hexdigest(), "E"])

    def test_zeros_that_a_power_cut_may_have_left_are_errors(self):
        data = bytearray(self.make_source(4096))
        data[700 * SECTOR:720 * SECTOR] = bytes(20 * SECTOR)
        pathlib.Path("source.img").write_bytes(data)
        run("image", "source.img", "disk.kvrsp")
        log = pathlib.Path("disk.kvrsp.log").read_text().splitlines(True)
        pathlib.Path("disk.kvrsp.log").write_text("".join(
            re.sub('"boot":"[^"]*"', '"boot":"before"', line) for line in log
            if not re.search('"event":"(synced|end)"', line)))
        uri, _ = self.serve("--socket", "s")
        out = self.client(uri, 'print("".join(try_read(s) for s in (0, 699, 700, 719, 720)), try_read(690, 20))')
        self.assertEqual(out.split(), ["..EE.", "E"])

    @needs("sfdisk", "nbdcopy")
    def test_a_partition(self):
        with open("source.img", "wb") as disk:
            disk.write(os.urandom(8192 * SECTOR))
        tool("sfdisk", "-q", "source.img", feed=b"64,1000,L\n2048,4096,L\n")
        run("image", "source.img", "disk.kvrsp")
        whole = pathlib.Path("source.img").read_bytes()
        for source in ((), ("source.img",)):
            if source:
                pathlib.Path("disk.kvrsp").unlink()
            uri, process = self.serve("--socket", "s", "--partition", "2", source=source)
            tool("nbdcopy", uri, "out.img")
            self.assertEqual(pathlib.Path("out.img").read_bytes(), whole[2048 * SECTOR:6144 * SECTOR])
            process.terminate()
            process.wait()
        self.assertFalse(self.statuses(3000, 4000) - {"present"})
        self.assertIn("missing", self.statuses(7000, 8192))
        self.cannot_serve("no partition 3", "--socket", "t", "--partition", "3")

    def test_what_is_in_the_way_is_said_plainly(self):
        self.cannot_serve("no such folder", "--socket", "nowhere/s")
        self.cannot_serve("larkspur: /proc/s: no socket can be made there", "--socket", "/proc/s")
        self.make_cache(100)
        pathlib.Path("taken").write_text("mine")
        with socket.socket(socket.AF_UNIX) as one:
            one.bind("live")
            one.listen()
            with socket.socket(socket.AF_UNIX) as other:
                other.bind("dead")
            pathlib.Path("link").symlink_to("dead")
            for name in ("taken", "live", "link"):
                self.cannot_serve("exists already", "--socket", name)
        self.assertEqual(pathlib.Path("taken").read_text(), "mine")
        self.assertTrue(pathlib.Path("dead").is_socket())
        self.cannot_serve("at most", "--socket", "x" * 120)
        self.cannot_serve("needs --socket", status=2)
        self.cannot_serve("need a source", "--socket", "t", "--fill", status=2)
        with socket.socket() as one:
            one.bind(("127.0.0.1", 0))
            one.listen()
            self.cannot_serve("listens there already", "--port", str(one.getsockname()[1]))
        self.cannot_serve("no such address", "--port", "12345", "--address", "192.0.2.77")
        self.cannot_serve("nonsense: this is not an IP address", "--port", "12345", "--address", "nonsense")
        refused = self.refused("no partition 9", "serve", "source.img", "disk.kvrsp", "--socket", "t",
                               "--partition", "9")
        self.assertNotIn(b"stopped", refused.stderr)
        self.cannot_serve("taken: this file is not a cache", "--socket", "t", storages=("source.img", "taken"))
        damaged = bytearray(pathlib.Path("disk.kvrsp").read_bytes())
        damaged[516:520] = bytes(4)  # an entry past the last block
        pathlib.Path("damaged").write_bytes(damaged)
        self.cannot_serve("part of the disk may be left out", "--socket", "t", storages=("damaged",))
        self.cannot_serve("there is no such cache", "--socket", "t", storages=("nowhere",))
        self.cannot_serve("cannot be opened for reading", "--socket", "t", storages=("nowhere", "disk.kvrsp"))
        pathlib.Path("other.img").write_bytes(bytes(99 * SECTOR))
        self.cannot_serve("another disk?", "--socket", "t", storages=("other.img", "disk.kvrsp"))
        self.serve("--socket", "s", source=("source.img",))
        self.cannot_serve("another run", "--socket", "t", storages=("source.img", "disk.kvrsp"))

    def test_the_plugin_by_itself(self):
        self.make_cache(100)
        plugin = pathlib.Path(PROGRAM[0]).with_name("nbdkit-larkspur-plugin.so")
        for parameters, words in (
            ("", "cache=FILE is missing"),
            ("cache=nowhere", "there is no such cache"),
            ("cache=disk.kvrsp nonsense=1", "nonsense is not a parameter of this plugin"),
            ("cache=disk.kvrsp fill=yes", "fill and test-mode need source=FILE"),
            ("cache=disk.kvrsp fill=perhaps", "fill=perhaps makes no sense"),
            ("cache=disk.kvrsp timeout=0", "timeout=0 makes no sense"),
            ("cache=disk.kvrsp timeout=3601", "timeout=3601 makes no sense"),
            ("cache=disk.kvrsp unreadable=ones", "unreadable=ones makes no sense"),
            ("cache=disk.kvrsp pass-through=yes", "pass-through=yes makes no sense"),
            ("cache=disk.kvrsp fill=no timeout=1 unreadable=zeros pass-through=on", None),
        ):
            with self.subTest(parameters=parameters):
                run = subprocess.run(["nbdkit", "-U", "-", plugin, *parameters.split(), "--run", 'nbdinfo --size "$uri"'],
                                     capture_output=True, text=True, timeout=60)
                self.assertEqual((run.returncode == 0, run.stdout), (words is None, "" if words else "51200\n"))
                self.assertIn(words or "", run.stderr)
        # Who waits for this word would wait for ever.
        run = subprocess.run(["nbdkit", "-f", "-U", "s", plugin, "cache=disk.kvrsp", "ready=nowhere/file"],
                             capture_output=True, text=True, timeout=20)
        self.assertIn("nowhere/file: cannot be written", run.stderr)

    def test_a_client_that_vanishes_amid_its_reads_ends_nothing(self):
        self.make_cache(16 << 11)
        uri, _ = self.serve("--socket", "s")
        vanish = """
for i in range(16):
    h.aio_pread(nbd.Buffer(1 << 20), i % 12 << 20)
h.poll(0)
"""
        for _ in range(10):
            self.client(uri, vanish)
        self.assertEqual(self.client(uri, "print(try_read(0, 4096))"), ".\n")

    def test_it_ends_within_seconds_with_clients_connected(self):
        self.make_cache(4096)
        uri, process = self.serve("--socket", "s")
        client = socket.socket(socket.AF_UNIX)  # one that never says anything
        client.connect("s")
        self.addCleanup(client.close)
        busy = threading.Thread(target=lambda: subprocess.run(
            ["nbdcopy", uri, "null:"], capture_output=True, check=False))
        busy.start()
        started = time.monotonic()
        process.send_signal(signal.SIGTERM)
        self.assertEqual(process.wait(10), 130)
        self.assertLess(time.monotonic() - started, 5)
        busy.join()
        self.assertFalse(pathlib.Path("s").exists())

    def test_what_was_read_is_flushed_though_an_idle_client_stays(self):
        self.make_source(4096)
        uri, process = self.serve("--socket", "s", source=("source.img",))
        subprocess.run(["nbdcopy", uri, "null:"], check=True, timeout=60)
        client = socket.socket(socket.AF_UNIX)
        client.connect("s")
        self.addCleanup(client.close)
        self.end(process, signal.SIGINT)
        events = [json.loads(line) for line in pathlib.Path("disk.kvrsp.log").read_text().splitlines()]
        self.assertEqual([e["event"] for e in events][-3:], ["storing", "synced", "end"])
        self.assertRegex(pathlib.Path("said").read_text(), "^larkspur: [^\n]*stopped; what was read is kept[^\n]*\n$")

    def test_without_nbdkit_the_package_is_named(self):
        self.make_cache(100)
        hide = f"mount --bind /dev/null {shutil.which('nbdkit')} && exec "
        if subprocess.run(["unshare", "-rm", "sh", "-c", hide + "true"], check=False,
                          capture_output=True).returncode:
            self.skipTest("needs a mount namespace")
        command = " ".join(shlex.quote(word) for word in PROGRAM)
        for path in ("", os.environ["PATH"]):
            result = subprocess.run(["unshare", "-rm", "sh", "-c",
                                     f"{hide} env PATH={path} {command} serve disk.kvrsp --socket s"],
                                    check=False, capture_output=True, text=True)
            self.assertEqual((result.returncode, result.stdout), (1, ""))
            self.assertIn("install the package nbdkit\n", result.stderr)
        self.assertFalse(pathlib.Path("s").exists())

    def test_nbdkit_does_not_outlive_a_killed_server_and_the_next_takes_its_socket(self):
        self.make_cache(100)
        _, process = self.serve("--socket", "s")
        process.kill()
        process.wait()
        def is_dead():
            with socket.socket(socket.AF_UNIX) as client:
                return client.connect_ex("s") != 0

        self.assertTrue(wait_until(is_dead, 5))
        self.assertTrue(pathlib.Path("s").is_socket())
        uri, _ = self.serve("--socket", "s")
        self.assertEqual(self.client(uri, "print(try_read(0, 100))"), ".\n")


class DyingDiskTest(ServeBase):
    """With a source that counts what it is asked."""
    SECTORS = 16 * disk.MIB

    def setUp(self):
        super().setUp()
        self.program = pathlib.Path(PROGRAM[0]).with_name("dying-disk")
        if not self.program.exists() or disk.missing():
            self.skipTest(disk.missing() or "needs dying-disk, which is not in this build")

    def dying(self, *areas, lines=()):
        plan = disk.Plan(self.SECTORS, areas, seed=5, lines=["refusal ENODATA", *lines])
        dying = disk.Disk(self.program, plan, 512)
        self.enterContext(dying)
        return plan, dying

    def asked(self, dying):
        return disk.times_asked(dying.asks(), self.SECTORS)

    def test_many_clients_make_one_ask(self):
        plan, dying = self.dying((5000, 2))
        uri, process = self.serve("--socket", "s", source=(dying.device,))
        before = len(list(dying.asks()))
        reads = """
print("".join(try_read(s, 200) for s in range(0, 8000, 100)), try_read(5002, 126), try_read(4999, 1))
print(hashlib.sha256(h.pread(4000 * 512, 0)).hexdigest())
"""
        outputs = [one.communicate(timeout=60) for one in
                   [self.start_client(uri, reads) for _ in range(4)]]
        fits = "".join("E" if first <= 5001 < first + 201 and first + 200 > 5000 else "."
                       for first in range(0, 8000, 100))
        expected = f"{fits} . .\n{hashlib.sha256(plan.contents(0, 4000)).hexdigest()}\n"
        self.assertEqual(outputs, [(expected, "")] * 4)
        asked = self.asked(dying)
        self.assertEqual({s for s in range(8100, self.SECTORS) if asked[s]}, set())
        self.assertEqual({s for s in range(8100) if asked[s] > (2 if 4900 <= s < 5100 else 1)}, set())
        self.assertGreater(len(list(dying.asks())), before)
        # Whatever clients got outlives us.
        process.kill()
        process.wait()
        self.assertEqual(self.statuses(0, 4900), {"present"})

    def test_a_disk_that_dies_and_returns_while_clients_wait(self):
        for answer in ("EIO", "ENODEV"):
            with self.subTest(answer=answer):
                plan, dying = self.dying(lines=[f"dead {answer} 10"])
                uri, process = self.serve("--socket", "s", source=(dying.device,))
                ends = "print(*(try_read(s, 100) for s in range(1000, 5000, 100)), try_read(0, 100))"
                self.client(uri, "try_read(0, 100)")
                dying.kill()
                self.assertEqual(self.client(uri, ends), "E " * 40 + ".\n")
                dying.revive()
                time.sleep(1.2)
                self.assertEqual(self.client(uri, ends), ". " * 40 + ".\n")
                self.assertEqual(self.statuses() - {"present", "missing"}, set())
                self.end(process)
                pathlib.Path("disk.kvrsp").unlink()
                pathlib.Path("disk.kvrsp.log").unlink()

    def test_it_fills_while_nobody_asks(self):
        plan, dying = self.dying((9000, 3), lines=["rate 20"])
        uri, process = self.serve("--socket", "s", "--fill", source=(dying.device,))
        self.assertEqual(self.client(uri, "print(try_read(30000, 8), try_read(9001, 1))"), ". E\n")
        self.assertTrue(wait_until(lambda: self.statuses() == {"present", "unreadable"}))
        self.assertLessEqual(max(self.asked(dying)), 2)
        self.end(process)
        self.assertIn('"how":"stopped"', pathlib.Path("disk.kvrsp.log").read_text())

    @needs("nbdfuse", "mkfs.ext4", "debugfs", "fusermount3")
    def test_a_file_system_through_nbdfuse(self):
        """Files of a disk with a bad sector, through a loop device, as a person would see them."""
        files = {f"file{i}": os.urandom(50000 + i) for i in range(20)}
        pathlib.Path("tree").mkdir()
        for name, data in files.items():
            pathlib.Path("tree", name).write_bytes(data)
        tool("truncate", "-s", "16M", "source.img")
        tool("mkfs.ext4", "-q", "-d", "tree", "source.img")
        block = int(tool("debugfs", "-R", "bmap file7 3", "source.img").split()[-1])
        size = int(re.search(r"Block size:\s+(\d+)", tool("dumpe2fs", "-h", "source.img"))[1])
        sectors = pathlib.Path("source.img").stat().st_size // SECTOR
        pathlib.Path("bad.map").write_text(mapfile_text(sectors, [(block * size // SECTOR, 1)]))
        uri, _ = self.serve("--socket", "s", "--test-mode", "bad.map", source=("source.img",))
        for name in ("fuse", "mounted"):
            pathlib.Path(name).mkdir()
        fuse = subprocess.Popen(["nbdfuse", "fuse", uri], stderr=subprocess.PIPE)
        self.addCleanup(fuse.communicate)
        self.addCleanup(subprocess.run, ["fusermount3", "-u", "fuse"], check=False)
        wait_until(lambda: pathlib.Path("fuse/nbd").exists(), 5)
        tool("mount", "-o", "ro,loop,noload", "fuse/nbd", "mounted")
        self.addCleanup(subprocess.run, ["umount", "mounted"], check=False)
        for name, data in files.items():
            file = pathlib.Path("mounted", name)
            if name == "file7":
                with self.assertRaises(OSError):
                    file.read_bytes()
            else:
                self.assertEqual(file.read_bytes(), data, name)


if __name__ == "__main__":
    program.main()
