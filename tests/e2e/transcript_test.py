#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Types every line of docs/transcript.md that begins with "$ ", and holds what the page says against what
comes of it. Usage: transcript_test.py ARGUMENTS, as program.py takes them; with --write before them, the
page is written anew."""

import os
import pathlib
import re
import subprocess
import sys

import program
from program import PROGRAM, native_only, needs

PAGE = pathlib.Path(__file__).resolve().parents[2] / "docs/transcript.md"
BLOCK = re.compile(r"(?<=^```console\n).*?(?=^```)", re.M | re.S)
COMMAND = re.compile(r"^\$ (.*(?:(?<=\\)\n.*)*)", re.M)

# What differs from day to day and from machine to machine.
CHANCE = [(r"\d{4}-\d\d-\d\d([ T])\d\d:\d\d(:\d\d)?(\.\d+)?", r"2026-11-21\g<1>12:00\g<2>\g<3>"),
          (r":00:\d\d(?=[ Z.])", ":00:00"), (r"(:00\.)\d+Z", r"\g<1>000Z"), (r"stamp( 0x|\": )[0-9a-f]+", r"stamp\g<1>0"),
          (r"(\"seconds\": )\d+\.\d+", r"\g<1>0.0"), (r"in 0:\d\d\.", "in 0:00."),
          (r"(averageRate\": )\d+", r"\g<1>0"), (r"Created by larkspur [\d.]+", "Created by larkspur"),
          (re.escape(os.environ.get("TMPDIR", "/tmp")) + r"/\w+/work/", "/home/user/")]


def typed(command, environment):
    """The command with what it prints and, where it is not 0, its exit status."""
    result = subprocess.run(["bash", "-c", command], env=environment, stdin=subprocess.DEVNULL, check=False,
                            stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    said = result.stdout.decode()
    for pattern, same in CHANCE:
        said = re.sub(pattern, same, said)
    said += "\n" * bool(said and not said.endswith("\n"))
    return f"$ {command}\n{said}" + f"(exit status {result.returncode})\n" * bool(result.returncode)


class TranscriptTest(program.ProgramTest):
    @native_only
    @needs("sfdisk", "mkfs.ext4", "mkfs.fat")
    def test_the_page_tells_what_is_printed(self):
        self.maxDiff = None
        os.mkdir("bin")
        os.symlink(PROGRAM[0], "bin/larkspur")
        environment = {**os.environ, "PATH": os.path.abspath("bin") + os.pathsep + os.environ["PATH"], "TZ": "UTC",
                       "LC_ALL": "C.UTF-8", "E2FSPROGS_FAKE_TIME": "1700000000"}
        os.mkdir("work")
        os.chdir("work")
        page = PAGE.read_text("utf-8")
        found = BLOCK.sub(lambda block: "".join(typed(c, environment) for c in COMMAND.findall(block[0])), page)
        if "--write" in sys.argv:
            PAGE.write_text(found, "utf-8")
        else:
            self.assertEqual(found, page)


if __name__ == "__main__":
    program.main()
