#!/usr/bin/env python3
"""Runs every example of the README and of the program's help, as it stands, in a folder with the files that
they name. Examples that set a threshold must show a gain reduction in their report.

Usage: examples.py PROGRAM SOURCE_FOLDER
"""

import os
import re
import shutil
import subprocess
import sys
import tempfile

PROGRAM, SOURCE = sys.argv[1:]
# They open windows, install, or need what may not be there.
LEFT_OUT = re.compile(r"corvanthelis gui|\./run( install-lv2| *#|$)|\./test|ffmpeg|jalv|plot_responses")
AUDIO = "in bus kick music voice song".split()


def call(words, **options):
    return subprocess.run(words, capture_output=True, text=True, check=False, **options)


def helps(words=()):
    """The help of a command and of those below it."""
    text = call([PROGRAM, *words, "--help"]).stdout
    yield text
    for name in re.findall(r"^  (\w+)  ", text.partition("Subcommands:")[2].partition("Examples:")[0], re.M):
        yield from helps((*words, name))


def examples():
    found = {}
    for text in helps():
        for line in re.findall(r"^  (.*\bcorvanthelis .*)$", text.partition("Examples:")[2], re.M):
            found[line] = True
    with open(f"{SOURCE}/README.md", encoding="utf-8") as readme:
        text = readme.read().replace("\\\n", " ")
    for line in re.findall(r"^    ((?:\./run|corvanthelis) .*)$", text, re.M):
        if not re.search(r"  [a-z]|\[options\]", line):  # the table of commands
            found[line] = True
    return [line for line in found if not LEFT_OUT.search(line)]


def make_files():
    """Made with the program itself from its demo."""
    with open("run", "w", encoding="utf-8") as run:
        run.write('#!/bin/sh\nexec corvanthelis "$@"\n')
    os.chmod("run", 0o755)
    for name in AUDIO:
        call(["corvanthelis", "render", f"{SOURCE}/resources/demo/demo.flac", f"{name}.wav", "--quiet"])
    with open("moves.csv", "w", encoding="utf-8") as moves:
        moves.write("seconds,ID,VALUE\n1,kB1Threshold,-30\n")
    with open("clicks.txt", "w", encoding="utf-8") as clicks:
        clicks.write("move 100 100\n")
    for name in ("plain", "ess", "deess", "deesser"):
        call(["corvanthelis", "band", "save", "--default", f"{name}.cvb"])
    for name in ("my", "soft", "hard", "new"):
        shutil.copy(find("01 De-esser.CorvanthelisPreset"), f"{name}.CorvanthelisPreset")
    for name in ("my", "old", "new", "before", "after"):
        shutil.copy(find(".CorvanthelisBank"), f"{name}.CorvanthelisBank")
    for name, file in (("my", "my.CorvanthelisPreset"), ("bank", "my.CorvanthelisBank"),
                       ("session", "my.CorvanthelisPreset")):
        with open(f"{name}.json", "w", encoding="utf-8") as text:
            text.write(call(["corvanthelis", "state", "show", file]).stdout)


def find(end):
    share = os.path.join(os.path.dirname(os.path.dirname(PROGRAM)), "share")
    return next(os.path.join(folder, name) for folder, _, names in sorted(os.walk(share))
                for name in sorted(names) if name.endswith(end))


def fault(line):
    done = call(["bash", "-c", line])
    if done.returncode != 0 or "corvanthelis:" in done.stderr:
        return f"exit {done.returncode}: {done.stderr.strip()}"
    if "Threshold=" in line and " render " in line and not re.search(r"band \d +[1-9]\d*\.\d dB", done.stdout):
        return "reduces nothing: " + done.stdout
    return None


def main():
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        os.mkdir("home")
        os.environ.update(HOME=f"{folder}/home", PATH=f"{os.path.dirname(PROGRAM)}:{os.environ['PATH']}")
        make_files()
        all_examples = examples()
        faults = [(line, told) for line in all_examples if (told := fault(line))]
    for line, told in faults:
        print(f"{line}\n    {told}")
    print(f"{len(all_examples)} examples, {len(faults)} do not work")
    return 1 if faults or len(all_examples) < 40 else 0


if __name__ == "__main__":
    sys.exit(main())
