#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Holds the manual page, the shells' completions and the page of JSON keys to what the program says.
Usage: manual_test.py ARGUMENTS, as program.py takes them."""

import json
import os
import pathlib
import pty
import re
import select
import shutil
import subprocess
import sys
import time

import program
from program import PROGRAM, mapfile_text, native_only, run

ROOT = pathlib.Path(__file__).resolve().parents[2]


def help_of(*command):
    return run(*command, "--help").stdout.decode().replace("\r", "")


def commands():
    return re.findall(r"^  ([a-z]+)  ", help_of().split("Commands:")[1], re.M)


def options(command):
    """The long options of a command, without --help."""
    return set(re.findall(r"^  (?:-\w,)?(--[\w-]+)", help_of(command), re.M)) - {"--help"}


def keys(document, path=""):
    """The paths of all keys, such as "runs[].start"."""
    if isinstance(document, list):
        return set().union(*(keys(element, path + "[]") for element in document))
    if not isinstance(document, dict):
        return {path}
    return set().union(*(keys(value, f"{path}.{key}" if path else key) for key, value in document.items()))


class ManualTest(program.ProgramTest):
    def shell(self, *command):
        """A shell and its environment: it finds the program, and "My disk.kvrsp" lies in its folder."""
        os.mkdir("bin")
        os.symlink(PROGRAM[0], "bin/larkspur")
        pathlib.Path("My disk.kvrsp").touch()
        path = os.path.abspath("bin") + os.pathsep + os.environ["PATH"]
        return command, {**os.environ, "PATH": path, "TERM": "dumb"}

    def test_the_page_has_every_command_and_option(self):
        subprocess.run([sys.executable, ROOT / "tools/make_manual.py", ROOT / "docs/man/larkspur.1.in", "page",
                        *PROGRAM], check=True)
        page = pathlib.Path("page").read_text("utf-8")
        if shutil.which("groff"):
            drawn = subprocess.run(["groff", "-man", "-ww", "-z", "page"], capture_output=True, check=True)
            self.assertEqual(drawn.stderr, b"")
        parts = re.split(r'^\.SS "?(\w+)', page.replace("\\-", "-").split(".SH COMMANDS")[1], flags=re.M)
        sections = dict(zip(parts[1::2], parts[2::2]))
        self.assertEqual(list(sections), commands())
        for command, text in sections.items():
            with self.subTest(command=command):
                found = re.findall(r"^\\fB(?:-\w, )?(--[a-z-]+)[^\n]*\n(\S.{9})", text, re.M)
                self.assertEqual({option for option, _ in found}, options(command))

    def test_help_in_words(self):
        for words, same in ((("help",), ("--help",)), (("help", "image"), ("image", "--help")), (("-h",), ("--help",))):
            self.assertEqual(run(*words).stdout, run(*same).stdout, words)
        for command in ("", *commands()):
            with self.subTest(command=command):
                lines = help_of(*command.split()).split("\n")
                listed = lines.index("Commands:") if "Commands:" in lines else 0
                wide = [line for i, line in enumerate(lines) if len(line) > 80 and not listed]
                self.assertEqual(wide, [])

    @native_only
    def test_bash_completes(self):
        cases = {"larkspur ima": "image", "larkspur image --re": "--retry --reverse --report", "larkspur tree --tr": "--trace",
                 "larkspur image --pass-through = o": "on off", "larkspur map --png x": "", "larkspur image S": "",
                 "larkspur read -o x": "", "larkspur help ser": "serve", "larkspur serve --unreadable z": "zeros"}
        command, environment = self.shell("bash", "--norc")
        for line, expected in cases.items():
            with self.subTest(line=line):
                script = (f"source {ROOT}/completions/larkspur.bash; COMP_WORDS=({line}); "
                           f'COMP_CWORD={len(line.split()) - 1}; _larkspur; echo "${{COMPREPLY[@]}}"')
                said = subprocess.run([*command, "-c", script], env=environment, check=True, capture_output=True)
                self.assertEqual(said.stdout.decode().strip(), expected)

    @native_only
    def test_bash_completes_names_with_blanks(self):
        command, environment = self.shell("bash", "--norc", "--noprofile", "-i")
        process, terminal = pty.fork()
        if process == 0:
            os.execvpe(command[0], command, environment)
        said = ""

        def expect(words):
            nonlocal said
            deadline = time.monotonic() + 20
            while words not in said and time.monotonic() < deadline:
                if select.select([terminal], [], [], 0.1)[0]:
                    said += os.read(terminal, 65536).decode(errors="replace")
            self.assertIn(words, said)

        try:
            os.write(terminal, f"PS1=; source {ROOT}/completions/larkspur.bash; echo rea''dy\n".encode())
            expect("ready")
            os.write(terminal, b"larkspur info My\t\n")
            expect("My disk.kvrsp: ")
            os.write(terminal, b"larkspur map --png My\t --bad\necho af''ter\n")
            expect("after")
        finally:
            os.close(terminal)
            os.waitpid(process, 0)
        self.assertIn("larkspur: map: CACHE is required", said)

    @native_only
    def test_fish_completes(self):
        if not shutil.which("fish"):
            self.skipTest("needs fish")
        cases = {"larkspur ima": "image", "larkspur image --re": "--report --retry --reverse",
                 "larkspur image --pass-through=of": "--pass-through=off", "larkspur info My": "My disk.kvrsp"}
        command, environment = self.shell("fish", "--no-config")
        for line, expected in cases.items():
            with self.subTest(line=line):
                script = f"source {ROOT}/completions/larkspur.fish; complete -C '{line}'"
                said = subprocess.run([*command, "-c", script], env=environment, check=True, capture_output=True)
                found = [line.split("\t")[0] for line in said.stdout.decode().splitlines()]
                self.assertEqual(" ".join(found), expected)

    def documented(self, title):
        """The keys of the first table of docs/json.md after the title."""
        page = (ROOT / "docs/json.md").read_text("utf-8")
        table = re.search(r"(?:^\|.*\n)+", page.split(title, 1)[1], re.M)[0]
        cells = [line.split("|")[1] for line in table.splitlines()[2:]]
        return {key for cell in cells for key in re.findall(r"`([\w.\[\]]+)`", cell)}

    def test_every_document_has_the_keys_of_its_page(self):
        page = (ROOT / "docs/json.md").read_text("utf-8")
        with_json = {command for command in commands() if "--json" in options(command)}
        self.assertEqual(set(re.findall(r"^## (\w+)", page, re.M)), with_json)
        self.make_source(2048)
        pathlib.Path("bad.map").write_text(mapfile_text(2048, [(100, 9)]))
        imaged = run("image", "source.img", "disk.kvrsp", "--json", "--test-mode", "bad.map", "--json-progress",
                     "--max-rate", "500K")
        progress = json.loads(imaged.stderr.decode().splitlines()[0])
        shutil.copy("disk.kvrsp", "cut.kvrsp")
        os.truncate("cut.kvrsp", os.path.getsize("disk.kvrsp") - 1000)
        documents = {
            "image": imaged, "info": run("info", "disk.kvrsp", "--json"), "map": run("map", "disk.kvrsp", "--json"),
            "check": run("check", "cut.kvrsp", "--json"), "log": run("log", "disk.kvrsp", "--json"),
            "import": run("import", "source.img", "bad.map", "taken.kvrsp", "--json"),
        }
        self.assertEqual(keys(progress), self.documented("--json-progress"))
        for command, result in documents.items():
            with self.subTest(command=command):
                self.assertEqual(keys(json.loads(result.stdout)), self.documented(f"## {command}\n"))
        tree = json.loads(run("tree", "disk.kvrsp", "--json", "--trace").stdout)
        node = tree["tree"].pop()
        self.assertEqual(keys(tree) | {"tree[]"}, self.documented("## tree\n"))
        self.assertEqual(set(node), {key.split("[")[0].split(".")[0] for key in self.documented("A node:\n")} -
                         ({"notes"} - set(node)))
        for device in self.document("devices")["devices"]:
            self.assertEqual(keys({"devices": [device]}), self.documented("## devices\n"))

    def test_identify_has_the_keys_of_its_page(self):
        self.make_source(2048)
        device = program.loop_device(self, "source.img")
        found = keys(self.document("identify", device))
        self.assertEqual({key.removesuffix("[]") for key in found}, self.documented("## identify\n"))


if __name__ == "__main__":
    program.main()
