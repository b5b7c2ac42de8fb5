#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Plants faults in the sources, one at a time, and counts how many of them the tests catch.

The faults are chosen at random from a seed: the same sources and seed give the same faults. Each folder of src/ gets its
share of them. All of this happens in a copy of the tree, build/mutants/tree, which is built once: of a source with a fault
only its object is made, with those checks of the sanitizers that need no library, and linked in front of the library that
has it without the fault. A fault that does not compile, or of which the compiler warns, does not count, and the next of its
folder takes its place.
What only Windows builds is left out, and so are headers and generated tables.

For each fault the unit tests of its folder run first, then all unit tests, in both cases the quick ones before those that
take their time, then the tests of the built programs; the first failure ends it. A test that takes four times as long as
it should, or that runs out of memory, has caught the fault.
"""

import argparse
import collections
import json
import os
import pathlib
import random
import re
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
WORK = ROOT / "build" / "mutants"
TREE = WORK / "tree"
BUILD = TREE / "build" / "native"
FAULTY = WORK / "bin"  # the programs with the fault
OBJECT = WORK / "faulty.o"
UNIT_TESTS = "larkspur-tests"
PROGRAMS = ("larkspur", "nbdkit-larkspur-plugin.so")

LEAST_PER_FOLDER = 3
MEMORY_LIMIT_BYTES = 8 << 30
BUILD_SECONDS = 1800
SLOW_SECONDS = 0.3  # a test that takes longer waits for the quick ones

# scripts/test runs the same tests under the sanitizers; these of their checks can be had in one object.
CHECKS = ("-D_GLIBCXX_ASSERTIONS", "-fsanitize=undefined", "-fsanitize-undefined-trap-on-error")

# Which tests of the programs say something of a folder; those of windows run on Windows only.
PROGRAM_TESTS = {
    "base": "transcript cli", "cli": "transcript cli exchange files manual report serve tree", "devices": "cli",
    "files": "transcript files report", "imaging": "transcript cli exchange report", "io": "cli exchange", "nbd": "serve",
    "partitions": "transcript tree lvm", "platform": "transcript cli files", "rescue": "transcript cli serve",
}

Fault = collections.namedtuple("Fault", "folder path line kind offset before after")
Outcome = collections.namedtuple("Outcome", "fault caught_by")


# --- which faults there are ---------------------------------------------------------------------------------------

NO_CODE = re.compile(
    r'//[^\n]*|/\*.*?\*/|R"\((?:.|\n)*?\)"|u?8?"(?:\\.|[^"\\\n])*"|(?<![0-9a-fA-F])u?\'(?:\\.|[^\'\\\n])+\''
    r"|^[ \t]*#(?:[^\n]*\\\n)*[^\n]*|static_assert\([^;]*;",
    re.M | re.S,
)

# The formatter puts spaces around binary operators, and none into templates and pointer types.
OPERATORS = {
    "comparison": {"==": "!=", "!=": "=="},
    "boundary": {"<": "<=", "<=": "<", ">": ">=", ">=": ">"},
    "logic": {"&&": "||", "||": "&&"},
    "arithmetic": {"+": "-", "-": "+", "*": "/", "/": "*", "%": "/", "<<": ">>", ">>": "<<", "&": "|", "|": "&",
                   "+=": "-=", "-=": "+="},
}
OPERATOR = re.compile(r"(?<= )(?:[=!<>+-]=|&&|\|\||<<|>>|[-<>+*/%&|])(?= )")
ANSWER = re.compile(r"\b(?:true|false)\b")
NUMBER = re.compile(r"(?<![\w.'])(?:0x[0-9a-fA-F]+|\d+)(?=[uUlL]*(?![\w.']))")
STATEMENT = re.compile(
    r"^ +(?P<statement>(?:if \(.*\) )?(?:(?:return|continue|break)\b[^;]*|[\w:.>\[\]()*-]+(?:\(.*\)|\+\+|--| [-+*/|&^]?= .*)"
    r"|(?:\+\+|--)[\w.>-]+));$", re.M)
VALUE_RETURN = re.compile(r"return\b.")


def without_text(source):
    """The source with all comments, strings, directives and static assertions blanked, as long as before."""
    return NO_CODE.sub(lambda match: re.sub(r"[^\n]", "~", match[0]), source)


def closing_parenthesis(code, opening):
    depth = 0
    for i in range(opening, len(code)):
        depth += {"(": 1, ")": -1}.get(code[i], 0)
        if depth == 0:
            return i
    return len(code)


def conditions(code):
    """The span of each if's condition that can be negated: no declaration, but what follows one does."""
    for match in re.finditer(r"\bif \(", code):
        end = closing_parenthesis(code, match.end() - 1)
        start = match.end()
        if ";" in code[start:end]:
            start = code.rindex(";", start, end) + 2
        if " = " not in code[start:end]:
            yield start, end


def faults_of(text):
    """All faults that can be planted in a source, as (kind, offset, before, after)."""
    code = without_text(text)
    for start, end in conditions(code):
        yield "condition", start, text[start:end], f"!({text[start:end]})"
    for match in OPERATOR.finditer(code):
        is_text = "~" in (code[match.start() - 2], code[min(match.end() + 1, len(code) - 1)])
        for kind, others in OPERATORS.items():
            if match[0] in others and not is_text:
                yield kind, match.start(), match[0], others[match[0]]
    for match in ANSWER.finditer(code):
        yield "answer", match.start(), match[0], "false" if match[0] == "true" else "true"
    for match in NUMBER.finditer(code):
        is_hex = match[0].startswith("0x")
        value = int(match[0], 16 if is_hex else 10) + 1
        yield "constant", match.start(), match[0], f"{value:#x}" if is_hex else str(value)
    for match in STATEMENT.finditer(code):
        statement = match["statement"]
        is_last_word = VALUE_RETURN.match(statement)  # a function needs its value
        if not is_last_word and statement.count("(") == statement.count(")"):
            yield "dropped", match.start("statement"), text[match.start("statement"):match.end() - 1], ""


def built_sources():
    """The sources that this system builds and people write, by folder of src/."""
    commands = json.loads((BUILD / "compile_commands.json").read_text())
    by_folder = collections.defaultdict(set)
    for command in commands:
        path = pathlib.Path(command["file"])
        if path.is_relative_to(TREE / "src") and not path.stem.endswith("_generated"):
            by_folder[path.relative_to(TREE / "src").parts[0]].add(path)
    return {folder: sorted(paths) for folder, paths in sorted(by_folder.items())}


def faults_in(folder, paths):
    for path in paths:
        text = path.read_text()
        for kind, offset, before, after in faults_of(text):
            line = text.count("\n", 0, offset) + 1
            yield Fault(folder, path.relative_to(TREE), line, kind, offset, before, after)


def draw(folder, paths, seed):
    """The faults of a folder in a random order, each kind as often as the others, no line twice."""
    by_kind = collections.defaultdict(list)
    for fault in faults_in(folder, paths):
        by_kind[fault.kind].append(fault)
    chance = random.Random(f"{seed} {folder}")
    kinds = sorted(by_kind)
    for kind in kinds:
        chance.shuffle(by_kind[kind])
    taken = set()
    while kinds:
        kind = chance.choice(kinds)
        fault = by_kind[kind].pop()
        if not by_kind[kind]:
            kinds.remove(kind)
        if (fault.path, fault.line) not in taken:
            taken.add((fault.path, fault.line))
            yield fault


def shares(sources, count):
    """How many of the faults each folder gets: a few at least, the rest by the size of its sources."""
    lines = {folder: sum(len(path.read_text().splitlines()) for path in paths) for folder, paths in sources.items()}
    least = min(LEAST_PER_FOLDER, count // len(sources))
    rest = count - least * len(sources)
    exact = {folder: rest * lines[folder] / sum(lines.values()) for folder in sources}
    result = {folder: least + int(exact[folder]) for folder in sources}
    by_fraction = sorted(sources, key=lambda folder: int(exact[folder]) - exact[folder])
    for folder in by_fraction[: count - sum(result.values())]:
        result[folder] += 1
    return result


# --- the copy of the tree -----------------------------------------------------------------------------------------


def copy_tree():
    """Brings the copy up to date; what is the same keeps its time, so that it is not built again."""
    listed = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], cwd=ROOT, check=True,
                            capture_output=True, text=True).stdout
    names = {name for name in listed.split("\0") if name and (ROOT / name).is_file()}
    for name in names:
        target = TREE / name
        content = (ROOT / name).read_bytes()
        if not target.exists() or target.read_bytes() != content:
            target.parent.mkdir(parents=True, exist_ok=True)
            target.write_bytes(content)
            shutil.copymode(ROOT / name, target)
    for path in list(TREE.rglob("*")):
        if path.is_file() and not path.is_relative_to(TREE / "build") and str(path.relative_to(TREE)) not in names:
            path.unlink()


def configure():
    # A compiler cache knows most of it from the build that it is a copy of.
    launcher = ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"] if shutil.which("ccache") else []
    linker = ["-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld"] if shutil.which("ld.lld") else []
    # Headers that were compiled with other options than a fault is are refused.
    run_or_end(["cmake", "--preset", "native", "-DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON", *launcher, *linker])


class Sources:
    """How the sources are compiled, and how the programs are linked of their objects."""

    def __init__(self):
        self.compilers, self.linkers = {}, {}
        for command in json.loads((BUILD / "compile_commands.json").read_text()):
            path = pathlib.Path(command["file"])
            if path.is_relative_to(TREE / "src"):
                self.compilers[path.relative_to(TREE)] = shlex.split(command["command"])
        for name in (UNIT_TESTS, *PROGRAMS):
            shown = subprocess.run(["ninja", "-C", str(BUILD), "-t", "commands", f"bin/{name}"], check=True,
                                   capture_output=True, text=True).stdout
            self.linkers[name] = shlex.split(shown.splitlines()[-1].removeprefix(": && ").removesuffix(" && :"))

    def compile(self, path):
        """Makes the object; False where the compiler objects. It may do so for what the checks alone let it think."""
        command = list(self.compilers[path])
        command[command.index("-o") + 1] = str(OBJECT)
        return any(run([*command, "-O1", "-g0", *checks], BUILD_SECONDS, folder=BUILD)[0] for checks in (CHECKS, ()))

    def link(self, path, name):
        """Links a program with the object, if the program has that source at all."""
        before = self.compilers[path][self.compilers[path].index("-o") + 1]
        library = re.search(r"CMakeFiles/([\w-]+)\.dir/", before)[1]
        command = list(self.linkers[name])
        program = FAULTY / name
        program.unlink(missing_ok=True)
        if before in command:
            command[command.index(before)] = str(OBJECT)
        elif f"lib/lib{library}.a" in command:
            command.insert(command.index(f"lib/lib{library}.a"), str(OBJECT))
        else:
            program.hardlink_to(BUILD / "bin" / name)
            return
        command[command.index("-o") + 1] = str(program)
        run_or_end(command, folder=BUILD)


# --- running ------------------------------------------------------------------------------------------------------


def limit_memory():
    resource.setrlimit(resource.RLIMIT_AS, (MEMORY_LIMIT_BYTES, MEMORY_LIMIT_BYTES))


def run(arguments, seconds, limits=None, folder=TREE):
    """Whether a program succeeded, and what it printed. It ends with all that it started, and its files go."""
    scratch = WORK / "tmp"
    shutil.rmtree(scratch, ignore_errors=True)
    scratch.mkdir(parents=True, exist_ok=True)
    with open(WORK / "output.log", "w+b") as output:
        process = subprocess.Popen(arguments, cwd=folder, stdin=subprocess.DEVNULL, stdout=output, stderr=output,
                                   start_new_session=True, preexec_fn=limits, env={**os.environ, "TMPDIR": str(scratch)})
        try:
            status = process.wait(seconds)
        except subprocess.TimeoutExpired:
            status = None
        finally:
            try:
                os.killpg(process.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
            process.wait()
        output.seek(0)
        return status == 0, output.read().decode(errors="replace")


def run_or_end(arguments, folder=TREE):
    succeeded, output = run(arguments, BUILD_SECONDS, folder=folder)
    if not succeeded:
        sys.exit(f"{output}\n{' '.join(arguments)} failed")


def times_of_unit_tests():
    """How long each takes; all of them pass."""
    times = WORK / "times.json"
    run_or_end([str(FAULTY / UNIT_TESTS), "--gtest_brief=1", f"--gtest_output=json:{times}"])
    return {f"{suite['name']}.{test['name']}": float(test["time"].rstrip("s"))
            for suite in json.loads(times.read_text())["testsuites"] for test in suite["testsuite"]}


class DoesNotCompile(Exception):
    pass


class Tests:
    """The stages of tests, each with the time that it needs when nothing is wrong."""

    def __init__(self):
        self.unit = {}
        self.programs = {}

    def unit_stages(self, folder):
        """The unit tests, those of the folder first and the quick ones of each before the slow: (name, tests)."""
        own = self.suites(folder)
        for name, is_own in ((f"unit tests of {folder}", True), ("unit tests", False)):
            for is_slow in (False, True):
                tests = [test for test, seconds in self.unit.items()
                         if (test.split(".")[0].split("/")[-1] in own) == is_own and (seconds > SLOW_SECONDS) == is_slow]
                if tests:
                    yield name, tests

    def stages(self, folder):
        """The tests for a folder's faults, nearest first: (name, programs to link, arguments, seconds)."""
        for name, tests in self.unit_stages(folder):
            arguments = [str(FAULTY / UNIT_TESTS), "--gtest_brief=1", "--gtest_fail_fast",
                         "--gtest_filter=" + ":".join(tests)]
            yield name, (UNIT_TESTS,), arguments, sum(self.unit[test] for test in tests)
        for name in PROGRAM_TESTS.get(folder, "").split():
            yield "programs", PROGRAMS, self.program(name), self.programs[name]

    @staticmethod
    def program(name):
        return [sys.executable, str(TREE / f"tests/e2e/{name}_test.py"), "-f", str(FAULTY / "larkspur")]

    @staticmethod
    def suites(folder):
        found = set()
        for path in TREE.glob(f"tests/{folder}*/*_test.cpp"):
            found.update(re.findall(r"^(?:TYPED_)?TEST(?:_[FP])?\((\w+)", path.read_text(), re.M))
        return sorted(found)

    def measure(self, folders):
        """The tests must pass before a fault is planted; how long they take then limits them."""
        run_or_end(["cmake", "--build", str(BUILD), "--target=all"])
        shutil.rmtree(FAULTY, ignore_errors=True)
        FAULTY.mkdir()
        for program in (BUILD / "bin").iterdir():
            (FAULTY / program.name).hardlink_to(program)  # beside which a program finds the others
        self.unit = times_of_unit_tests()
        for name in {name for folder in folders for name in PROGRAM_TESTS.get(folder, "").split()}:
            begin = time.monotonic()
            run_or_end(self.program(name))
            self.programs[name] = time.monotonic() - begin

    def what_catches(self, fault, sources):
        """The stage that fails, None if all pass. Raises DoesNotCompile."""
        if not sources.compile(fault.path):
            raise DoesNotCompile
        linked = set()
        for name, programs, arguments, seconds in self.stages(fault.folder):
            for program in set(programs) - linked:
                sources.link(fault.path, program)
            linked.update(programs)
            if not run(arguments, 20 + 4 * seconds, limit_memory)[0]:
                return name
        return None


def try_fault(fault, tests, sources):
    """The outcome of a fault, or None if it does not compile. The source is left as it was, with its time."""
    path = TREE / fault.path
    text, times = path.read_text(), path.stat()
    path.write_text(text[: fault.offset] + fault.after + text[fault.offset + len(fault.before):])
    try:
        return Outcome(fault, tests.what_catches(fault, sources))
    except DoesNotCompile:
        return None
    finally:
        path.write_text(text)
        os.utime(path, ns=(times.st_atime_ns, times.st_mtime_ns))


# --- the report ---------------------------------------------------------------------------------------------------


def short(text):
    text = " ".join(text.split())
    return text if len(text) <= 60 else text[:57] + "..."


def print_outcome(number, outcome):
    fault = outcome.fault
    change = f"{short(fault.before)}  ->  {short(fault.after)}" if fault.after else f"without: {short(fault.before)}"
    print(f"{number:>4}  {outcome.caught_by or 'SURVIVED':<25} {fault.path}:{fault.line}  {fault.kind}: {change}",
          flush=True)


def print_summary(outcomes):
    print("\n| folder | faults | caught | by the folder's unit tests | by other unit tests | by tests of programs |")
    print("|---|---|---|---|---|---|")
    folders = sorted({outcome.fault.folder for outcome in outcomes})
    for folder in [*folders, None]:
        ways = [outcome.caught_by for outcome in outcomes if folder in (None, outcome.fault.folder)]
        near = sum(1 for way in ways if way and way.startswith("unit tests of"))
        counts = [len(ways), sum(1 for way in ways if way), near, ways.count("unit tests"), ways.count("programs")]
        print(f"| {folder or 'all'} | " + " | ".join(map(str, counts)) + " |")
    if outcomes:
        caught = sum(1 for outcome in outcomes if outcome.caught_by)
        print(f"\n{caught} of {len(outcomes)} faults caught: {100 * caught / len(outcomes):.0f} %")


# --- main ---------------------------------------------------------------------------------------------------------


def planned(sources, count, seed):
    """In turns of the folders, for each fault to plant, the faults of its folder that were not drawn yet."""
    plan = shares(sources, count)
    waiting = {folder: (draw(folder, sources[folder], seed), plan[folder]) for folder in sources if plan[folder]}
    rounds = max(plan.values())
    for turn in range(rounds):
        for folder, (faults, share) in waiting.items():
            if turn * share // rounds != (turn + 1) * share // rounds:
                yield faults


def faults_at(sources, places):
    for folder, paths in sources.items():
        for fault in faults_in(folder, paths):
            if f"{fault.path}:{fault.line}" in places:
                yield iter([fault])


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--count", type=int, default=100, help="how many faults to plant (%(default)s)")
    parser.add_argument("--seed", type=int, default=1, help="chooses the faults (%(default)s)")
    parser.add_argument("--folder", action="append", help="only faults of this folder of src/; may be repeated")
    parser.add_argument("--at", metavar="PATH:LINE", action="append",
                        help="all faults that this line can have, instead of drawing some; may be repeated")
    parser.add_argument("--list", action="store_true", help="lists the faults, plants none")
    options = parser.parse_args()

    WORK.mkdir(parents=True, exist_ok=True)
    copy_tree()
    configure()
    sources = built_sources()
    if options.folder:
        sources = {folder: sources[folder] for folder in options.folder}
    if options.at:
        plan = faults_at(sources, options.at)
        sources = {folder: paths for folder, paths in sources.items() if f"src/{folder}/" in " ".join(options.at)}
    else:
        plan = planned(sources, options.count, options.seed)
    if options.list:
        for number, faults in enumerate(plan, 1):
            print_outcome(number, Outcome(next(faults), "-"))
        return 0

    signal.signal(signal.SIGTERM, signal.default_int_handler)  # what runs ends with us
    signal.signal(signal.SIGINT, signal.default_int_handler)  # in the background it is ignored, by what runs as well
    tests = Tests()
    tests.measure(sources)
    how = Sources()
    outcomes = []
    try:
        for faults in plan:
            outcome = next(filter(None, (try_fault(fault, tests, how) for fault in faults)), None)
            if outcome:
                outcomes.append(outcome)
                print_outcome(len(outcomes), outcome)
    except KeyboardInterrupt:
        print("interrupted")
    print_summary(outcomes)
    return 0


if __name__ == "__main__":
    sys.exit(main())
