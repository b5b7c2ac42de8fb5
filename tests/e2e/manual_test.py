#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Holds the manual page and the shells' completions to what the program's --help says. Usage:
manual_test.py PROGRAM..., as cli_test.py takes it."""

import pathlib
import re
import unittest

import cli_test
from cli_test import run

ROOT = pathlib.Path(__file__).resolve().parents[2]
COMPLETIONS = ROOT / "completions"


def help_of(*command):
    return run(*command, "--help").stdout.decode()


def commands():
    listed = help_of().split("Subcommands:")[1]
    return re.findall(r"^  (\w+) ", listed, re.M)


def options(command):
    """The long options of a command, without --help."""
    return set(re.findall(r"^  (?:-\w,)?(--[\w-]+)", help_of(command), re.M)) | set(
        re.findall(r"^  -\w,(--[\w-]+)", help_of(command), re.M)) - {"--help"}


class ManualTest(unittest.TestCase):
    def setUp(self):
        page = (ROOT / "docs/man/larkspur.1").read_text(encoding="utf-8").replace("\\-", "-")
        parts = re.split(r'^\.SS "?(\w+)', page.split(".SH COMMANDS")[1].split(".SH ")[0], flags=re.M)
        self.sections = dict(zip(parts[1::2], parts[2::2]))

    def test_the_page_has_every_command_and_option(self):
        self.assertEqual(sorted(self.sections), sorted(commands()))
        for command, text in self.sections.items():
            with self.subTest(command=command):
                self.assertEqual(set(re.findall(r"--[a-z-]+", text)), options(command) - {"--help"})

    def test_completions_know_every_command_and_option(self):
        bash = (COMPLETIONS / "larkspur.bash").read_text(encoding="utf-8")
        fish = (COMPLETIONS / "larkspur.fish").read_text(encoding="utf-8")
        zsh = (COMPLETIONS / "_larkspur").read_text(encoding="utf-8")
        for command in commands():
            with self.subTest(command=command):
                self.assertRegex(fish, rf"-a {command} ")
                self.assertIn(f"'{command}:", zsh)
                row = re.search(rf"^    (?:.*\| )?{command}(?: \|.*)?\) echo \"(.*)\"", bash, re.M)
                self.assertIsNotNone(row)
                self.assertEqual(set(row[1].split()), options(command) | {"--help"})
                for option in options(command) - {"--help"}:
                    self.assertRegex(fish, rf"subcommand_from [a-z ]*\b{command}\b[^\n]* -l {option[2:]} ")
                    self.assertIn(option, zsh)


if __name__ == "__main__":
    cli_test.main()
