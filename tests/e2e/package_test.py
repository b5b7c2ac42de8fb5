#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Tries what scripts/package made: unpacks both packages elsewhere and runs what is in them. Usage:
package_test.py"""

import os
import pathlib
import re
import subprocess
import tempfile
import unittest
import zipfile

from program import run

ROOT = pathlib.Path(__file__).resolve().parents[2]


def words(*command, **options):
    """How a program ends, and what it says."""
    result = run(*command[1:], program=[str(command[0])], timeout=300, **options)
    return result.returncode, (result.stdout + result.stderr).decode(errors="replace")


class PackageTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def test_the_debian_package(self):
        package, = (ROOT / "build/native").glob("larkspur_*_amd64.deb")
        subprocess.run(["dpkg-deb", "-x", package, self.folder], check=True)
        names = {str(p.relative_to(self.folder)) for p in self.folder.rglob("*") if p.is_file()}
        self.assertLessEqual(
            {"usr/bin/larkspur", "usr/share/man/man1/larkspur.1.gz", "usr/share/doc/larkspur/copyright",
             "usr/share/doc/larkspur/README.md", "usr/share/doc/larkspur/docs/images/interrupted.png",
             "usr/share/bash-completion/completions/larkspur",
             "usr/share/fish/vendor_completions.d/larkspur.fish",
             "usr/share/zsh/vendor-completions/_larkspur",
             *(f"usr/share/doc/larkspur/notices/{name}" for name in ("glibc", "nettle", "sleuthkit"))}, names)
        self.assertRegex(words("dpkg-deb", "-f", package, "Built-Using")[1],
                         r"^glibc \(= .+\), nettle \(= .+\), sleuthkit \(= .+\)")
        status, said = words(self.folder / "usr/bin/larkspur", "--version")
        self.assertEqual((status, said.split()[0]), (0, "larkspur"))
        version = words("dpkg-deb", "-f", package, "Version")[1].strip()
        self.assertEqual(said.split()[1], version.split("-")[0])
        self.assertEqual(words("dpkg-deb", "-f", package, "Depends")[1].strip(), "", "it stands alone")
        self.expect_whole_links(self.folder / "usr/share/doc/larkspur")

    def test_the_package_of_the_plugin(self):
        package, = (ROOT / "build/native").glob("nbdkit-plugin-larkspur_*_amd64.deb")
        subprocess.run(["dpkg-deb", "-x", package, self.folder], check=True)
        plugin = self.folder / "usr/lib/x86_64-linux-gnu/nbdkit/plugins/nbdkit-larkspur-plugin.so"
        self.assertRegex(words("nbdkit", "--dump-plugin", plugin)[1], "(?m)^name=larkspur$")
        depends = words("dpkg-deb", "-f", package, "Depends")[1]
        self.assertRegex(depends, r"\bnbdkit\b")
        self.assertRegex(depends, r"\blibc6\b")
        self.assertRegex(words("dpkg-deb", "-f", package, "Static-Built-Using")[1], r"\bgcc-\d+ \(= ")
        self.assertFalse((self.folder / "usr/bin").exists())

    def expect_whole_links(self, folder):
        """Every link and picture of the documents leads to a file of the package."""
        for page in (folder / "README.md", *folder.glob("docs/**/*.md")):
            for target in re.findall(r"\]\(([^)#:]+)(?:#[^)]*)?\)", page.read_text("utf-8")):
                self.assertTrue((page.parent / target).exists(), f"{page.name}: {target}")

    def expect_whole_pages(self, folder):
        """As web pages, which need nothing from elsewhere: every link leads to a place in a page, or to a
        file that Windows knows how to open."""
        self.assertFalse([str(p) for p in folder.rglob("*.md")])
        pages = {p.resolve(): p.read_text("utf-8") for p in folder.rglob("*.html")}
        self.assertGreater(len(pages), len(list((ROOT / "docs").rglob("*.md"))))
        for page, text in pages.items():
            self.assertNotRegex(text, r"<(script|link)\b|\.md\b|\]\(|[|]---", page)
            for target in re.findall(r'(?:href|src)="([^"]+)"', text):
                if target.startswith("https:"):
                    continue
                path, _, place = target.partition("#")
                file = (page.parent / path).resolve() if path else page
                self.assertTrue(file.is_file() and file.suffix, f"{page}: {target}")
                self.assertTrue(not place or f'id="{place}"' in pages[file], f"{page}: {target}")

    def test_the_windows_zip_in_a_fresh_prefix(self):
        package, = (ROOT / "build/windows/package").glob("larkspur-*-win64.zip")
        with zipfile.ZipFile(package) as archive:
            archive.extractall(self.folder)
        programs, = self.folder.glob("larkspur-*-win64")
        for name in ("README.html", "LICENSE.txt", "third-party-notices.txt"):
            self.assertTrue((programs / name).is_file(), name)
        self.expect_whole_pages(programs)
        screen = ROOT / "scripts/with-screen"
        status, said = words(screen, programs / "larkspur.exe", "--version", env=self.prefix())
        if status == 77:
            self.skipTest("no screen for Wine")
        self.assertEqual((status, said.split()[0]), (0, "larkspur"))
        status, said = words(screen, programs / "larkspur-host.exe", "--list", env=self.prefix())
        self.assertEqual(status, 0, said)
        self.assertIn("larkspur.dll", said)
        self.assertIn("4f585c1000000004", said)

    def test_the_installer_from_install_to_uninstall(self):
        setup, = (ROOT / "build/windows/package").glob("larkspur-*-win64-setup.exe")
        screen = ROOT / "scripts/with-screen"
        status, said = words(screen, setup, "/S", env=self.prefix())
        if status == 77:
            self.skipTest("no screen for Wine")
        self.assertEqual(status, 0, said)
        user, = (p for p in (self.folder / "wine/drive_c/users").iterdir() if p.name != "Public")
        installed = user / "AppData/Local/Programs/Larkspur"
        menu = user / "AppData/Roaming/Microsoft/Windows/Start Menu/Programs/Larkspur"
        for entry in ("Larkspur.lnk", "When a disk fails.lnk"):
            self.assertTrue((menu / entry).is_file(), entry)
        self.assertTrue((installed / "docs/guide.html").is_file())
        status, said = words(screen, installed / "larkspur-host.exe", "--list", env=self.prefix())
        self.assertEqual(status, 0, said)
        self.assertIn("4f585c1000000004", said)
        open_key = r"HKCU\Software\Classes\Larkspur.Cache\shell\open\command"
        key = r"HKCU\Software\Microsoft\Windows\CurrentVersion\Uninstall\Larkspur"
        for name in (open_key, key):
            self.assertEqual(words(screen, "reg", "query", name, env=self.prefix())[0], 0, name)
        self.assertIn("larkspur-host.exe", words(screen, "reg", "query", open_key, env=self.prefix())[1])
        own = installed / "disk.kvrsp"
        own.write_bytes(b"a user's cache")
        # The uninstaller would continue in a copy of itself; _?= keeps it in the process that is waited for.
        folder = r"C:\users" + f"\\{user.name}" + r"\AppData\Local\Programs\Larkspur"
        status, said = words(screen, installed / "uninstall.exe", "/S", "_?=" + folder, env=self.prefix())
        self.assertEqual(status, 0, said)
        self.assertEqual({p.name for p in installed.iterdir()} - {"uninstall.exe"}, {own.name})
        self.assertFalse(menu.exists())
        for name in (open_key, key):
            self.assertNotEqual(words(screen, "reg", "query", name, env=self.prefix())[0], 0, name)

    def prefix(self):
        return {**os.environ, "LARKSPUR_WINEPREFIX": str(self.folder / "wine")}


if __name__ == "__main__":
    unittest.main()
