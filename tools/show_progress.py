#!/usr/bin/env python3
"""Runs a command of ninja or ctest and tells how far it is; what else it printed goes to stderr if it fails.

Usage: show_progress.py LABEL COMMAND [ARGUMENTS]
"""

import os
import re
import selectors
import subprocess
import sys
import time

# "[12/340] Building ..." of ninja, " 12/250 Test  #3: ..." of ctest
STEP = re.compile(r"\s*\[?(\d+)/(\d+)(?:\] | Test )")
TERMINAL = sys.stdout.isatty()
SECONDS_BETWEEN = 0.2 if TERMINAL else 20.0


class Progress:
    def __init__(self, label):
        self.label, self.done = label, ""
        self.start = self.told = time.monotonic()

    def tell(self):
        now = time.monotonic()
        if self.done and now - self.told >= SECONDS_BETWEEN:
            self.told = now
            line = f"{self.label}: {self.done}, {now - self.start:.0f} s"
            print(f"\r{line}\x1b[K" if TERMINAL else line, end="" if TERMINAL else "\n", flush=True)

    def end(self):
        if TERMINAL:
            print("\r\x1b[K", end="", flush=True)


def watch(process, progress):
    """What the command printed beside its steps."""
    selector = selectors.DefaultSelector()
    selector.register(process.stdout, selectors.EVENT_READ)
    rest, others, more = b"", [], True
    while more:
        if selector.select(timeout=1.0):
            more = os.read(process.stdout.fileno(), 65536)
            *lines, rest = (rest + more).split(b"\n")
            for line in (line.decode(errors="replace") for line in lines):
                step = STEP.match(line)
                if step:
                    progress.done = f"{step[1]} of {step[2]}"
                else:
                    others.append(line)
        progress.tell()
    return others + [rest.decode(errors="replace")]


def main():
    progress = Progress(sys.argv[1])
    process = subprocess.Popen(sys.argv[2:], stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    others = watch(process, progress)
    progress.end()
    if process.wait() != 0:
        print("\n".join(others), file=sys.stderr)
    return process.returncode


if __name__ == "__main__":
    sys.exit(main())
