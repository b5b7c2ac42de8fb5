#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""`larkspur image` and ddrescue on the same dying disks. What each of them got, and when, is taken from
the disk's own log. Prints a Markdown table; --pictures FOLDER also draws good data over time.

Usage: compare.py BIN BUILD_FOLDER MEMORY_FOLDER [OPTION...] (--help tells the options)"""

import argparse
import hashlib
import json
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import time

import disk
import picture

RATE = 40  # MiB/s, of the plans
SPANS = 4  # the curves are compared for so many times as long as a healthy disk takes
TITLES = {"clusters": "24 bad clusters", "spots": "220 single bad sectors",
          "head": "a dead head's stripes", "slow": "slow zones"}
OURS = "larkspur image"
EXPECTED = (0, 3, 130)  # done; done but not all was readable; interrupted by the limit
PEERS = {"ddrescue": [], "ddrescue -d": ["-d"], "ddrescue -d -a 2Mi": ["-d", "-a", "2Mi"]}


def run(command, seconds, folder):
    """Runs a program and interrupts it after so many seconds: when it began, how long it ran, its exit
    status. What it used goes to `folder`/peak, what it said to `folder`/said."""
    start = time.monotonic()
    ends_with_us = disk.child("KILL")
    timed = [*ends_with_us, "time", "-q", "-f", "%M", "-o", folder / "peak", *ends_with_us, *command]
    with open(folder / "said", "wb") as said:
        process = subprocess.Popen(timed, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=said,
                                   start_new_session=True,
                                   # A benchmark that runs in the background may have it ignored.
                                   preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL))
    try:
        for number, patience in ((signal.SIGINT, seconds), (signal.SIGKILL, 10)):
            try:
                process.wait(patience)
                break
            except subprocess.TimeoutExpired:
                os.killpg(process.pid, number)
    finally:
        if process.poll() is None:
            os.killpg(process.pid, signal.SIGKILL)
        process.wait()
    return start, time.monotonic() - start, process.returncode


def measure(command, plan, tools, memory, limit):
    """What one program does with the disk: {"curve", "failed", "twice", "more", "seconds", "peakMib",
    "status", "said"}, and the disk's log. `command` gives its words for a device and a folder."""
    with tempfile.TemporaryDirectory(dir=memory) as name, disk.Disk(tools / "dying-disk", plan) as dying:
        folder = pathlib.Path(name)
        start, seconds, status = run(command(dying.device, folder), limit, folder)
        asks = [ask for ask in dying.asks() if ask.came >= start]
        log = dying.log.read_text()
        peak = (folder / "peak").read_text().split() if (folder / "peak").exists() else []
        said = (folder / "said").read_text(errors="replace")
    times = disk.times_asked(asks, plan.sectors)
    return {"curve": [(when - start, total) for when, total in disk.good_over_time(asks, plan.sectors)],
            "failed": sum(ask.error != "0" for ask in asks),
            "twice": times.count(2), "more": sum(n > 2 for n in times), "seconds": seconds,
            "peakMib": int(peak[-1]) / 1024 if peak else float("nan"),
            "status": status, "said": said[-500:]}, log


class Store:
    """Results of earlier runs by program, plan and limit, and the logs of their disks beside them."""

    def __init__(self, folder):
        self._folder = folder
        folder.mkdir(parents=True, exist_ok=True)

    def _path(self, name, plan, limit):
        key = hashlib.sha256(f"{name}\n{limit}\n{plan.text()}".encode()).hexdigest()[:16]
        return self._folder / f"{name.replace(' ', '_')}-{key}.json"

    def load(self, *key):
        path = self._path(*key)
        return json.loads(path.read_text()) if path.exists() else None

    def save(self, result, log, *key):
        self._path(*key).write_text(json.dumps(result))
        self._path(*key).with_suffix(".log").write_text(log)


def good_at(curve, when):
    return max((total for time_, total in curve if time_ <= when), default=0)


def area(curve, span, good):
    """The share of the rectangle of all good sectors and the whole span that lies below the curve."""
    steps = [(min(when, span), total) for when, total in curve] + [(span, 0)]
    last, total, below = 0.0, 0, 0.0
    for when, reached in steps:
        below += (when - last) * total
        last, total = when, reached
    return below / (good * span)


class Comparison:
    def __init__(self, options):
        self.options = options
        self.store = Store(options.build / "dying")
        self.span = SPANS * options.size / RATE
        self.limit = options.limit or 1.5 * self.span

    def results(self, plan):
        """{name: result} of all programs."""
        def ours(device, folder):
            return [self.options.tools / "larkspur", "image", device, folder / "disk.kvrsp"]

        found = {OURS: self.measured(OURS, ours, plan)}
        for name, words in PEERS.items():
            def peer(device, folder, words=words):
                return ["ddrescue", "-q", *words, device, folder / "copy.img", folder / "copy.map"]
            reused = self.store.load(name, plan, self.limit) if self.options.reuse else None
            found[name] = reused or self.measured(name, peer, plan)
        return found

    def measured(self, name, command, plan):
        if os.getloadavg()[0] > os.cpu_count():
            print(f"{name}: other programs keep this machine busy; its figures will be too low",
                  file=sys.stderr)
        result, log = measure(command, plan, self.options.tools, self.options.memory, self.limit)
        self.store.save(result, log, name, plan, self.limit)
        if name == OURS and result["status"] not in EXPECTED:
            print(f"{name} ended with status {result['status']}:\n{result['said']}", file=sys.stderr)
        return result

    def moments(self):
        unit = 1 if self.span >= 20 else 10
        return [int(self.span * share * unit) / unit for share in (0.2, 0.4, 0.6, 1)]

    def head(self):
        moments = " | ".join(f"{'good MiB after ' * (not i)}{when:g} s" for i, when in
                             enumerate(self.moments()))
        columns = ["plan", "program", moments, f"area in {self.span:.0f} s", "/ best ddrescue",
                   "failed asks", "sectors asked twice", "more often", "peak MiB", "ended after"]
        print("| " + " | ".join(columns) + " |")
        print("|---" * (len(columns) + len(self.moments()) - 1) + "|", flush=True)

    def rows(self, kind, plan, results):
        good = plan.sectors - sum(count for _, count in plan.bad)
        areas = {name: area(result["curve"], self.span, good) for name, result in results.items()}
        best = max(areas[name] for name in PEERS)
        for name, result in results.items():
            moments = " | ".join(f"{good_at(result['curve'], when) / disk.MIB:.1f}"
                                 for when in self.moments())
            ended = f"{result['seconds']:.0f} s" if result["seconds"] < self.limit else "–"
            print(f"| {kind} | `{name}` | {moments} | {areas[name]:.1%} | {areas[name] / best:.2f} × | "
                  f"{result['failed']} | {result['twice']} | {result['more']} | "
                  f"{result['peakMib']:.1f} | {ended} |", flush=True)

    def run(self):
        if words := disk.missing():
            raise disk.Missing(words)
        self.head()
        panels = []
        for kind in self.options.plan or disk.KINDS:
            plan = disk.KINDS[kind](self.options.size * disk.MIB, self.options.seed)
            plan.lines += self.options.set
            results = self.results(plan)
            self.rows(kind, plan, results)
            panels.append((TITLES[kind], {name: [(when, total / disk.MIB) for when, total in result["curve"]]
                                  for name, result in results.items()}))
        if self.options.pictures:
            path = self.options.pictures / "dying-disk.svg"
            path.write_text(picture.draw(panels, self.span, self.options.size))
            if shutil.which("rsvg-convert"):
                subprocess.run(["rsvg-convert", "-o", path.with_suffix(".png"), path], check=True)


def options():
    folder = lambda word: pathlib.Path(word).resolve()  # noqa: E731
    parser = argparse.ArgumentParser(prog="scripts/bench dying", description=__doc__.split("\n\n")[0])
    for name in ("tools", "build", "memory"):
        parser.add_argument(name, type=folder, help=argparse.SUPPRESS)
    parser.add_argument("--plan", action="append", choices=disk.KINDS, help="only this kind of damage")
    parser.add_argument("--seed", type=int, default=1, help="of damage and costs (%(default)s)")
    parser.add_argument("--size", type=int, default=256, help="of the disk, in MiB (%(default)s)")
    parser.add_argument("--set", action="append", default=[], metavar="LINE",
                        help="one more line of the disk's plan, as 'seek 8' (dying_disk.cpp tells all)")
    parser.add_argument("--limit", type=float, metavar="SECONDS",
                        help="when a run is interrupted (six times what a healthy disk takes)")
    parser.add_argument("--reuse", action="store_true",
                        help="take ddrescue's results from an earlier run where there are some "
                        "(build/dying keeps them, and every disk's log)")
    parser.add_argument("--pictures", type=folder, metavar="FOLDER",
                        help="draw good data over time there, as dying-disk.svg and .png")
    return parser.parse_args()


def main():
    for number in (signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, lambda *_: sys.exit(1))
    try:
        Comparison(options()).run()
    except disk.Missing as missing:
        print(f"No dying disk on this machine: {missing}.", file=sys.stderr)
        sys.exit(77)
    except KeyboardInterrupt:
        sys.exit(130)


if __name__ == "__main__":
    main()
