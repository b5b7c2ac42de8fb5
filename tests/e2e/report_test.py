#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The pages of `larkspur report` and `image --report`. Usage: report_test.py ARGUMENTS, as program.py
takes them."""

import html.parser
import os
import pathlib
import re
import time
import unittest

import program
from files_test import import_with
from program import SECTOR, blank, mapfile_text, needs, tool

BAD = [(100, 2), (3000, 1)]


class Page(html.parser.HTMLParser):
    """A page whose elements nest, and which takes nothing from anywhere else."""

    def __init__(self, path="report.html"):
        super().__init__()
        self.open, self.words = [], ""
        self.feed(pathlib.Path(path).read_text("utf-8"))
        self.close()
        assert not self.open, self.open

    def handle_starttag(self, tag, attributes):
        assert tag not in ("script", "link", "img", "iframe", "object"), tag
        for name, value in attributes:
            assert not name.startswith("on") and name not in ("src", "href", "xlink:href"), name
        if tag == "meta":
            self.words += str(dict(attributes).get("http-equiv", ""))
        else:
            self.open.append(tag)

    def handle_startendtag(self, tag, attributes):
        self.handle_starttag(tag, attributes)
        if tag != "meta":
            self.open.pop()

    def handle_endtag(self, tag):
        assert self.open and self.open.pop() == tag, tag

    def handle_data(self, data):
        self.words += data


class ReportTest(program.ProgramTest):
    def source(self, sectors=4096):
        pathlib.Path("source.img").write_bytes(os.urandom(sectors * SECTOR))
        pathlib.Path("bad.map").write_text(mapfile_text(sectors, BAD))

    def image(self, *options, status=3):
        self.call("image", "source.img", "disk.kvrsp", "--test-mode", "bad.map", *options, status=status)

    def test_a_page_of_a_cache(self):
        self.source()
        self.image("--sectors", "2048")
        self.call("report", "disk.kvrsp", "report.html")
        words = Page().words
        for part in ("50.0%", "source.img", "could not read 1.0 KiB", "How it went",
                     "Where reading failed", "not been read yet", "What to do next"):
            self.assertIn(part, words)
        self.assertNotIn("refresh", words)
        before = pathlib.Path("report.html").read_bytes()
        for output, message in (("report.html", "already exists"), ("disk.kvrsp", "choose another"),
                                (".", "folder"), ("no/report.html", "cannot be created")):
            self.refused(message, "report", "disk.kvrsp", output)
        self.assertEqual(pathlib.Path("report.html").read_bytes(), before)
        self.call("report", "disk.kvrsp", "report.html", "--force")
        self.call("report", "source.img", "other.html", status=1)
        self.assertFalse(pathlib.Path("other.html").exists())

    def test_a_page_kept_up_to_date(self):
        self.source()
        pathlib.Path("mine.html").write_text("mine")
        self.image("--report", "mine.html", status=1)
        self.assertEqual(pathlib.Path("mine.html").read_text(), "mine")
        self.image("--report", "report.html", "--sectors", "2048")
        self.assertIn("50.0%", Page().words)
        # Resumed, slowly: whoever looks sees a whole page each time, first one that refreshes itself.
        process = program.start("image", "source.img", "disk.kvrsp", "--test-mode", "bad.map", "--report",
                                "report.html", "--max-rate", "500K")
        self.addCleanup(process.kill)
        refreshed = 0
        while process.poll() is None:
            try:
                refreshed += "refresh" in Page().words
            except PermissionError:
                pass  # Windows, in the moment of the change
            time.sleep(0.05)
        self.assertEqual(process.returncode, 3)
        self.assertGreater(refreshed, 3)
        words = Page().words
        self.assertIn("99.9%", words)
        self.assertNotIn("refresh", words)
        self.assertEqual([p.name for p in pathlib.Path().glob("*.larkspur-new-*")], [])
        self.image("--report", "mine.html", "--force")
        Page("mine.html")
        self.image("--partition", "7", "--report", "new.html", status=1)
        Page("new.html")

    @unittest.skipIf(os.name == "nt", "file systems are read on Linux")
    @program.native_only
    @needs("mkfs.ext4", "debugfs")
    def test_damaged_files_are_named(self):
        name = "<script>&\"\x1b\u202e.txt"
        os.mkdir("tree")
        pathlib.Path("tree", name).write_bytes(b"x" * 5000)
        pathlib.Path("tree", "whole").write_bytes(b"x" * 5000)
        blank("fs.img", 16384)
        tool("mkfs.ext4", "-q", "-L", "a<b", "-b", "4096", "-d", "tree", "fs.img")
        inodes = tool("debugfs", "-R", "ls -l /", "fs.img")
        inode = re.search(r"^ *(\d+) .*script", inodes, re.M)[1]
        block = int(tool("debugfs", "-R", f"blocks <{inode}>", "fs.img").split()[0])
        import_with("fs.img", bad=[block * 8 + 1])
        self.call("report", "disk.kvrsp", "report.html")
        words = Page().words
        self.assertIn("Saved whole: 1 file. Damaged, because parts could not be read: 1.", words)
        self.assertIn("/<script>&\"?", words)
        self.assertIn('"a<b"', words)
        self.assertNotIn("\x1b", words)


if __name__ == "__main__":
    program.main()
