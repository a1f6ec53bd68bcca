#!/usr/bin/env python3
"""Puts single faults into a copy of the tree, one after the other, and tells which of them the tests catch.

The faults stand in tools/mutants/*.txt, parted by empty lines:

    the envelope meter shows the last channel only
    file dynamics/meters.cpp
    sed s/std::max\\(peak, x\\)/x/
    tests dynamics core

`file` and `sed` (extended expressions) may come several times, each `sed` for the `file` before it; `tests`
names the folders of tests/ that are built and run. The copy and its build stay in build/mutants.
"""
import argparse
import os
import pathlib
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
PRESET_BUILD = "build/release"


class Mutant:
    def __init__(self, source, lines):
        self.source, self.name, self.edits, self.tests = source, lines[0], [], []
        for line in lines[1:]:
            key, _, rest = line.partition(" ")
            if key == "file":
                file = rest
            elif key == "sed":
                self.edits.append((file, rest))
            elif key == "tests":
                self.tests = rest.split()
            else:
                raise SystemExit(f"{source}: '{self.name}' has an unknown line: {line}")
        if not self.edits or not self.tests:
            raise SystemExit(f"{source}: '{self.name}' changes nothing or names no tests")

    def files(self):
        return {file for file, _ in self.edits}

    def mutated(self, tree):
        """The texts of the mutant's files with the fault in them; None where an edit finds nothing."""
        texts = {file: (tree / file).read_text() for file in self.files()}
        for file, expression in self.edits:
            after = subprocess.run(["sed", "-E", expression], input=texts[file], text=True,
                                   capture_output=True, check=True).stdout
            if after == texts[file]:
                return None
            texts[file] = after
        return texts


def read_mutants(pattern):
    mutants = []
    for path in sorted((ROOT / "tools/mutants").glob("*.txt")):
        blocks = re.split(r"\n\s*\n", path.read_text().strip())
        mutants += [Mutant(path.stem, block.splitlines()) for block in blocks]
    return [m for m in mutants if re.search(pattern, f"{m.source}: {m.name}")]


def copy_tree(tree):
    """Brings the copy up to date without touching what is unchanged, so that little is built again."""
    listed = subprocess.run(["git", "ls-files", "-co", "--exclude-standard"], cwd=ROOT, text=True,
                            capture_output=True, check=True).stdout.split("\n")
    wanted = {name for name in listed if name and (ROOT / name).is_file()}
    for name in wanted:
        source, target = ROOT / name, tree / name
        if not target.is_file() or target.read_bytes() != source.read_bytes():
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, target)
    for path in tree.rglob("*"):
        name = path.relative_to(tree)
        if path.is_file() and name.parts[0] != "build" and str(name) not in wanted:
            path.unlink()


def quiet(command, tree, seconds=1800):
    try:
        return subprocess.run(command, cwd=tree, text=True, capture_output=True, timeout=seconds)
    except subprocess.TimeoutExpired as late:
        return subprocess.CompletedProcess(command, 1, (late.stdout or b"").decode(), "")


def judge(tests, tree):
    """One line on what the tests of these folders say of the tree as it stands."""
    built = quiet(["ninja", "-C", PRESET_BUILD] + [f"tests/{folder}/all" for folder in tests], tree)
    if built.returncode != 0:
        return "does not build"
    ran = quiet(["ctest", "--test-dir", PRESET_BUILD, "-R", rf"^({'|'.join(tests)})\.", "--no-tests=error",
                 "--stop-on-failure", "--timeout", "120", "-j", str(os.cpu_count())], tree)
    if ran.returncode == 0:
        return "survives"
    failed = re.findall(r"Test +#\d+: (\S+).*? \.+.*(?:\*\*\*|Exception)", ran.stdout)
    return "caught by " + (" ".join(failed) or "nothing that ran: " + ran.stderr.strip())


def run(mutants, tree):
    copy_tree(tree)
    quiet(["cmake", "--preset", "release", *os.environ.get("MUTANTS_CMAKE_OPTIONS", "").split()], tree)
    sound = judge(sorted({test for mutant in mutants for test in mutant.tests}), tree)
    if sound != "survives":
        raise SystemExit(f"the tree itself {sound}")
    caught = 0
    for mutant in mutants:
        texts = mutant.mutated(tree)
        before = {file: (tree / file).read_text() for file in mutant.files()}
        for file, text in (texts or {}).items():
            (tree / file).write_text(text)
        verdict = judge(mutant.tests, tree) if texts else "finds nothing to change"
        for file, text in before.items():
            if texts:
                (tree / file).write_text(text)
        caught += verdict.startswith("caught")
        print(f"{mutant.source}: {mutant.name}: {verdict}", flush=True)
    print(f"{caught} of {len(mutants)} caught")
    return caught == len(mutants)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("pattern", nargs="?", default="", help="only faults whose file and name match")
    parser.add_argument("--check", action="store_true", help="only see that each fault can be put in")
    options = parser.parse_args()
    mutants = read_mutants(options.pattern)
    if not options.check:
        return 0 if run(mutants, ROOT / "build/mutants") else 1
    stale = [m for m in mutants if not m.mutated(ROOT)]
    for mutant in stale:
        print(f"{mutant.source}: '{mutant.name}' finds nothing to change")
    print(f"{len(mutants)} faults, {len(stale)} out of date")
    return 1 if stale or not mutants else 0


if __name__ == "__main__":
    sys.exit(main())
