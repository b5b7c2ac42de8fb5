#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Tries what scripts/package made: unpacks both packages elsewhere and runs what is in them. Usage:
package_test.py"""

import os
import pathlib
import subprocess
import tempfile
import unittest
import zipfile

ROOT = pathlib.Path(__file__).resolve().parents[2]


def words(*command, **options):
    """What a program says. Wine's helpers hold pipes open, so words go through a file."""
    with tempfile.TemporaryFile() as out:
        status = subprocess.run([str(word) for word in command], stdout=out, stderr=out,
                                stdin=subprocess.DEVNULL, timeout=300, check=False, **options).returncode
        out.seek(0)
        return status, out.read().decode(errors="replace")


class PackageTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def test_the_debian_package(self):
        package, = (ROOT / "build/native/package").glob("larkspur_*_amd64.deb")
        subprocess.run(["dpkg-deb", "-x", package, self.folder], check=True)
        names = {str(p.relative_to(self.folder)) for p in self.folder.rglob("*") if p.is_file()}
        self.assertLessEqual(
            {"usr/bin/larkspur", "usr/share/man/man1/larkspur.1.gz", "usr/share/doc/larkspur/copyright",
             "usr/share/bash-completion/completions/larkspur",
             "usr/share/fish/vendor_completions.d/larkspur.fish",
             "usr/share/zsh/vendor-completions/_larkspur"}, names)
        status, said = words(self.folder / "usr/bin/larkspur", "--version")
        self.assertEqual((status, said.split()[0]), (0, "larkspur"))
        version = words("dpkg-deb", "-f", package, "Version")[1].strip()
        self.assertEqual(said.split()[1], version)

    def test_bash_completes(self):
        script = ROOT / "completions/larkspur.bash"
        cases = {"larkspur im": "image", "larkspur tree --tr": "--trace", "larkspur map --p": "--png"}
        for line, expected in cases.items():
            parts = line.split()
            program = (f"source {script}; COMP_WORDS=({line}); COMP_CWORD={len(parts) - 1}; _larkspur; "
                       'echo "${COMPREPLY[@]}"')
            self.assertEqual(words("bash", "-c", program), (0, expected + "\n"))

    def test_the_windows_zip_in_a_fresh_prefix(self):
        package, = (ROOT / "build/windows/package").glob("larkspur-*-win64.zip")
        with zipfile.ZipFile(package) as archive:
            archive.extractall(self.folder)
        programs, = self.folder.glob("larkspur-*-win64")
        for name in ("README.md", "LICENSE", "guide.md", "host-contract.md"):
            self.assertTrue((programs / name).is_file(), name)
        screen = ROOT / "scripts/with-screen"
        status, said = words(screen, programs / "larkspur.exe", "--version", env=self.prefix())
        if status == 77:
            self.skipTest("no screen for Wine")
        self.assertEqual((status, said.split()[0]), (0, "larkspur"))
        status, said = words(screen, programs / "larkspur-host.exe", "--list", env=self.prefix())
        self.assertEqual(status, 0, said)
        self.assertIn("larkspur.dll", said)
        self.assertIn("4f585c1000000004", said)

    def prefix(self):
        return {**os.environ, "LARKSPUR_WINEPREFIX": str(self.folder / "wine")}


if __name__ == "__main__":
    unittest.main()
