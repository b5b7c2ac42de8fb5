#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Looks at the built module as a file, and has hosts that know only its binary contract load and use
it. Usage: module_test.py MODULE HOST HOST_WITHOUT_HEAP"""

import pathlib
import re
import shutil
import subprocess
import sys
import unittest

from program import run

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
OBJDUMP = "x86_64-w64-mingw32-objdump"
EXPORTS = {"typeofmod", "appuidof", "names", "about", "configure", "init", "makeinstance", "destroy",
           "__get_process_shared_heap"}
AT_ONCE = {"gdi32.dll", "kernel32.dll", "msvcrt.dll", "user32.dll"}
FLAGS = {"HIGH_ENTROPY_VA", "DYNAMIC_BASE", "NX_COMPAT"}

MODULE = HOST = HOST_WITHOUT_HEAP = ""


def windows_path(path):
    return "Z:" + str(pathlib.Path(path).resolve()).replace("/", "\\")


class ModuleFileTest(unittest.TestCase):
    def setUp(self):
        if not shutil.which(OBJDUMP):
            self.skipTest(f"{OBJDUMP} is missing")
        self.headers = subprocess.run([OBJDUMP, "-p", MODULE], capture_output=True, text=True,
                                      check=True).stdout

    def test_loads_few_system_libraries_and_no_others(self):
        imported = {name.lower() for name in re.findall(r"DLL Name: (\S+)", self.headers)}
        self.assertLessEqual(imported, AT_ONCE)

    def test_exports_the_contract_by_plain_names_and_nothing_else(self):
        table = self.headers[self.headers.index("[Ordinal/Name Pointer] Table"):]
        exported = re.findall(r"^\s*\[\s*\d+\]\s+(?:\+base\[\s*\d+\]\s+\w+\s+)?(\S+)$", table, re.M)
        self.assertEqual(set(exported), EXPORTS)

    def test_is_hardened(self):
        self.assertLessEqual(FLAGS, set(self.headers.split()))


@unittest.skipUnless(shutil.which("xvfb-run"), "needs a screen: Xvfb is missing")
class HostTest(unittest.TestCase):
    def check(self, host, *groups):
        result = run(host, windows_path(MODULE), *groups, program=[ROOT / "scripts/with-screen"], timeout=400)
        print((result.stdout + result.stderr).decode(errors="replace"))
        self.assertEqual(result.returncode, 0)

    def test_whole_contract(self):
        self.check(HOST)

    def test_host_without_a_heap(self):
        self.check(HOST_WITHOUT_HEAP, "identity", "heap", "languages", "refusals", "cancelled", "road")


if __name__ == "__main__":
    MODULE, HOST, HOST_WITHOUT_HEAP = sys.argv[1:4]
    unittest.main(argv=sys.argv[:1])
