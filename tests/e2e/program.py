# SPDX-License-Identifier: MIT
"""What the tests of the built program share: running it, the files that it works on, block devices, and
what other tools make and say. A test ends with main(), which takes the arguments `[--peer PROGRAM]
PROGRAM...`: the program to test, with an emulator before it where one is needed; --peer names a native
build whose caches must be the same. -f ends at the first failure, -v names each test."""

import functools
import json
import os
import pathlib
import random
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

SECTOR = 512
PROGRAM = []
PEER = []


def is_emulated():
    return len(PROGRAM) > 1


def run(*arguments, program=None, timeout=60, **options):
    """Runs the program to its end. Output goes through files: a pipe would also wait for the helpers that
    an emulator leaves behind."""
    command = [*(program or PROGRAM), *map(str, arguments)]
    with tempfile.TemporaryFile() as out, tempfile.TemporaryFile() as err:
        status = subprocess.run(command, stdout=out, stderr=err, stdin=subprocess.DEVNULL, timeout=timeout,
                                check=False, **options).returncode
        out.seek(0)
        err.seek(0)
        return subprocess.CompletedProcess(command, status, out.read(), err.read())


def start(*arguments, **options):
    """Starts the program, without anyone to read what it says unless the options have one."""
    options = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL, **options}
    return subprocess.Popen([*PROGRAM, *map(str, arguments)], stdin=subprocess.DEVNULL, **options)


def wait_until(holds, seconds=10):
    """False when it does not come true in time."""
    deadline = time.monotonic() + seconds
    while not holds():
        if time.monotonic() > deadline:
            return False
        time.sleep(0.002)
    return True


def native_only(test):
    """For what needs the system's own signals, locks and limits."""
    @functools.wraps(test)
    def checked(self):
        if is_emulated():
            self.skipTest("needs a native program")
        test(self)
    return checked


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


def blank(name, sectors, *pieces):
    """An image of zeros but for some pieces, each bytes at a sector."""
    with open(name, "wb") as image:
        image.truncate(sectors * SECTOR)
        for first, data in pieces:
            image.seek(first * SECTOR)
            image.write(data)


def loop_device(test, path, sector_size=SECTOR):
    """A block device on a file until the test ends; skips the test where none can be made."""
    if is_emulated() or sys.platform != "linux":
        test.skipTest("needs block devices of Linux")
    if os.geteuid() != 0 or not shutil.which("losetup"):
        test.skipTest("needs losetup and the rights of root")
    made = subprocess.run(["losetup", "--find", "--show", "--sector-size", str(sector_size), path],
                          capture_output=True, text=True, check=False)
    if made.returncode != 0:
        test.skipTest("no loop device: " + made.stderr.strip())
    device = made.stdout.strip()
    test.addCleanup(subprocess.run, ["losetup", "--detach", device], check=False)
    return device


def mapfile_text(sectors, bad):
    """A ddrescue mapfile in which the given (first, count) ranges failed."""
    lines = ["0x0 + 1"]
    position = 0
    for first, count in bad:
        lines.append(f"{position * SECTOR:#x} {(first - position) * SECTOR:#x} +")
        lines.append(f"{first * SECTOR:#x} {count * SECTOR:#x} -")
        position = first + count
    lines.append(f"{position * SECTOR:#x} {(sectors - position) * SECTOR:#x} +")
    return "\n".join(lines) + "\n"


class ProgramTest(unittest.TestCase):
    """Each test works in an empty folder."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(folder.name)

    def make_source(self, sectors, name="source.img", seed=1):
        data = random.Random(seed).randbytes(sectors * SECTOR)
        pathlib.Path(name).write_bytes(data)
        return data

    def make_cache(self, sectors, bad=(), part=None):
        """A cache of a random source with bad sectors, of which only the first `part` were asked."""
        data = self.make_source(sectors)
        pathlib.Path("bad.map").write_text(mapfile_text(sectors, bad))
        run("image", "source.img", "disk.kvrsp", "--test-mode", "bad.map", "--sectors", part or sectors)
        return data

    def assert_status(self, result, status):
        self.assertEqual(result.returncode, status, (result.args, result.stdout[-500:], result.stderr[-500:]))

    def call(self, *arguments, status=0, **options):
        """Runs the program, which must end with that status."""
        result = run(*arguments, **options)
        self.assert_status(result, status)
        return result

    def document(self, *arguments, **options):
        """What the program says as JSON."""
        return json.loads(self.call(*arguments, "--json", **options).stdout)

    def refused(self, words, *arguments, status=1, **options):
        """Runs the program, which refuses it with these words."""
        result = self.call(*arguments, status=status, **options)
        self.assertIn(words, result.stderr.decode(errors="replace"))
        return result

    def extents(self):
        return [(e["start"], e["sectors"], e["status"]) for e in self.document("map", "disk.kvrsp")["extents"]]

    def assert_file(self, name, data):
        self.assertTrue(pathlib.Path(name).read_bytes() == data, f"{name} holds something else")


def main():
    arguments = [word for word in sys.argv[1:] if word not in ("-f", "-v", "--write")]
    if arguments[0] == "--peer":
        PEER.extend([os.path.abspath(arguments[1])] if os.path.exists(arguments[1]) else [])
        arguments = arguments[2:]
    PROGRAM.extend(os.path.abspath(word) if os.path.exists(word) else word for word in arguments)
    unittest.main(argv=sys.argv[:1], failfast="-f" in sys.argv, verbosity=2 if "-v" in sys.argv else 1)
