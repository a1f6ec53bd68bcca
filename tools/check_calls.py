#!/usr/bin/env python3
"""Checks who calls whom, by the symbols of the object files of a build; prints one line per fault.

A source file calls only into its own folder and those that `check_floors.py` lets it include, and no source
files call each other in a circle. Calls through an interface go where the interface is: they are no calls up.

Usage: check_calls.py BUILD
"""
import pathlib
import subprocess
import sys

from check_floors import ALLOWED, folderOf


def objects(build):
    """Source file -> its object, for the folders of the table."""
    found = {}
    for path in sorted(build.rglob("*.o")):
        parts = path.relative_to(build).parts
        if "CMakeFiles" not in parts:
            continue
        at = parts.index("CMakeFiles")
        source = "/".join(parts[:at] + parts[at + 2:]).removesuffix(".o")
        if folderOf(source) in ALLOWED:
            found[source] = path
    return found


def symbols(path):
    """The names that an object defines, and those that it wants from others."""
    defined, wanted = set(), set()
    listed = subprocess.run(["nm", "-P", str(path)], text=True, capture_output=True, check=True).stdout
    for line in listed.splitlines():
        name, kind = line.split()[:2]
        if kind == "U":
            wanted.add(name)
        elif kind.isupper() and kind not in "VW":
            defined.add(name)
    return defined, wanted


def circles(graph):
    """Groups of sources that reach each other."""
    order, low, stack, groups = {}, {}, [], []

    def visit(source):
        order[source] = low[source] = len(order)
        stack.append(source)
        for target in graph[source]:
            if target not in order:
                visit(target)
            if target in stack:
                low[source] = min(low[source], low[target])
        if low[source] == order[source]:
            group = stack[stack.index(source):]
            del stack[stack.index(source):]
            if len(group) > 1:
                groups.append(sorted(group))

    for source in graph:
        if source not in order:
            visit(source)
    return groups


def check(build):
    known = {source: symbols(path) for source, path in objects(build).items()}
    owner = {name: source for source, (defined, _) in known.items() for name in defined}
    graph = {source: sorted({owner[name] for name in wanted if name in owner} - {source})
             for source, (_, wanted) in known.items()}
    faults = [f"{source} calls up into {target}" for source, targets in graph.items()
              for target in targets if folderOf(target) not in ALLOWED[folderOf(source)]]
    faults += ["in a circle: " + ", ".join(group) for group in circles(graph)]
    return faults if known else [f"{build} holds no objects"]


def main():
    sys.setrecursionlimit(10000)
    faults = check(pathlib.Path(sys.argv[1]))
    print("\n".join(faults), end="\n" if faults else "")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
