#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Makes the manual page: the template with the commands and options as the program's own help has
them. Usage: make_manual.py TEMPLATE PAGE PROGRAM..."""

import pathlib
import re
import subprocess
import sys
from typing import NamedTuple

# "  -o,--output FILE   ..." and its description, which may begin on the next line.
ENTRY = re.compile(r"^  (?P<names>\S+)(?: (?P<value>\S.*?))??(?:  +(?P<text>\S.*))?$")


class Entry(NamedTuple):
    names: str  # "-o,--output", "--pass-through[=WHEN]" or a command's name
    value: str
    text: str


class Help(NamedTuple):
    usage: str  # the arguments alone
    text: str
    details: list  # paragraphs
    options: list
    commands: list


def entries(lines):
    found = []
    for line in lines:
        if line.startswith("   "):
            last = found.pop()
            found.append(last._replace(text=f"{last.text} {line.strip()}".strip()))
        else:
            match = ENTRY.match(line)
            found.append(Entry(match["names"], match["value"] or "", match["text"] or ""))
    return found


def read_help(program, *command):
    said = subprocess.run([*program, *command, "--help"], check=True, stdout=subprocess.PIPE, text=True).stdout
    text, usage, *parts = re.split(r"\n(?:(?=Usage: )|\n)", said.strip())
    lists = {"Options:": [], "Commands:": [], "Arguments:": []}
    details = []
    for part in parts:
        title, *lines = part.split("\n")
        if title in lists:
            lists[title] = entries(lines)
        elif not title.startswith("Exit status:"):
            details.append(" ".join([title, *lines]))
    options = [e for e in lists["Options:"] if "--help" not in e.names]
    return Help(re.sub(r".*?(?:\[OPTIONS\]|$) ?", "", usage, count=1), text, details, options, lists["Commands:"])


def roff(text):
    text = text.replace("\\", "\\e").replace("-", "\\-")
    return "\\&" + text if text[:1] in (".", "'") else text


def option_text(option):
    value = f" \\fI{roff(option.value)}\\fR" if option.value else ""
    names = roff(option.names).replace(",", ", ")
    return [".TP", f"\\fB{names}\\fR{value}", roff(option.text) + "."]


def command_text(program, command):
    described = read_help(program, command.names)
    title = f"{command.names} {described.usage}".strip()
    lines = [f'.SS "{roff(title)}"', roff(described.text) + "."]
    for paragraph in described.details:
        lines += [".PP", roff(paragraph)]
    for option in described.options:
        lines += option_text(option)
    return lines


def main():
    template, page, *program = sys.argv[1:]
    lines = [line for command in read_help(program).commands for line in command_text(program, command)]
    text = pathlib.Path(template).read_text(encoding="utf-8").replace("@COMMANDS@", "\n".join(lines))
    pathlib.Path(page).write_text(text, encoding="utf-8")


if __name__ == "__main__":
    main()
