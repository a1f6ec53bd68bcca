#!/usr/bin/env python3
"""Checks the include directives of the tree; prints `file:line: reason`, exits with 1 on a fault.

A folder includes only itself and what its row below allows, no two files include each other in a
loop however long, and headers of the operating system, the window system and OpenGL stay in the
few folders that are there for them.

Usage: check_floors.py [ROOT]
"""

import os
import re
import sys

# Floor, the folders of one row (which see each other), and what they may include: numbers stand for
# all folders of a floor, names for single folders.
ROWS = [
    (0, ["analysis"], []),
    (0, ["platform"], []),
    (1, ["filters"], [0]),
    (2, ["dynamics"], [0, 1]),
    (2, ["state"], [0]),
    (3, ["host"], [0, "state"]),
    (4, ["editing"], [0, 1, 2, 3]),
    (5, ["core"], [0, 1, 2, 3, 4]),
    (6, ["toolkit"], [0]),
    (7, ["graphs/opengl"], [0, 6]),
    (8, ["editor/controls", "editor/layout"], range(0, 8)),
    (9, ["graphs", "graphs/meters"], range(0, 9)),
    (10, ["editor"], range(0, 10)),
    (11, ["libraries/aax"], []),
    (11, ["libraries/aax_wrap"], [*range(0, 11), "libraries/aax"]),
    (11, ["libraries/lv2_wrap"], range(0, 11)),
    (11, ["apps/output"], range(0, 11)),
    (11, ["apps/audio_files", "apps/effect"], [*range(0, 11), "apps/output"]),
    (11, ["apps/presets", "apps/state"], [*range(0, 11), "apps/effect", "apps/output"]),
    (11, ["apps/render"], [*range(0, 11), "apps/audio_files", "apps/effect", "apps/output"]),
    (11, ["apps/editor"], [*range(0, 11), "apps/audio_files", "apps/effect", "apps/output"]),
    (11, ["apps/command"], [*range(0, 11), "apps/audio_files", "apps/editor", "apps/effect",
                            "apps/output", "apps/presets", "apps/render", "apps/state"]),
    (11, ["apps/aax_host"], [*range(0, 11), "libraries/aax"]),
]
FREE = ["tests", "fuzz", "benchmarks"]  # include anything, and nothing above includes them
SYSTEM_ALLOWED = ["platform/linux", "tests", "fuzz"]
GL_ALLOWED = SYSTEM_ALLOWED + ["graphs/opengl", "benchmarks"]

GL_HEADER = re.compile(r"(GL|EGL|GLES\d?|KHR)/")
SYSTEM_HEADER = re.compile(
    r"(X11|xcb|wayland\S*|sys|linux|net|netinet|arpa|asm|mach)/"
    r"|(windows|unistd|pthread|dlfcn|fcntl|poll|dirent|termios|pwd|grp|sched|semaphore|spawn|glob"
    r"|fnmatch|ftw|netdb|syslog|langinfo|libgen)\.h$")
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')
SOURCE = (".h", ".hpp", ".cpp", ".inc")


def allowedFolders():
    """Folder -> the folders it may include."""
    floors = {}
    for floor, folders, _ in ROWS:
        floors.setdefault(floor, []).extend(folders)
    allowed = {}
    for _, folders, below in ROWS:
        seen = set(folders)
        for entry in below:
            seen.update([entry] if isinstance(entry, str) else floors[entry])
        for folder in folders:
            allowed[folder] = seen
    return allowed


ALLOWED = allowedFolders()


def folderOf(path):
    """The longest folder of the table, or of FREE, that holds `path`; None outside of them."""
    inside = [f for f in [*ALLOWED, *FREE] if path.startswith(f + "/")]
    return max(inside, key=len, default=None)


def isBelow(path, folders):
    return any(path.startswith(folder + "/") for folder in folders)


def sourceFiles(root):
    for folder, subfolders, files in os.walk(root):
        at_root = os.path.samefile(folder, root)
        subfolders[:] = sorted(s for s in subfolders
                               if not s.startswith(".") and not (at_root and s.startswith("build")))
        for name in sorted(files):
            if name.endswith(SOURCE):
                yield os.path.relpath(os.path.join(folder, name), root)


def resolve(root, path, name):
    """The file of the tree that `#include` of `name` in `path` means, or None."""
    beside = os.path.normpath(os.path.join(os.path.dirname(path), name))
    for candidate in (os.path.normpath(name), beside):
        if os.path.isfile(os.path.join(root, candidate)):
            return candidate
    return None


def includesOf(root, path):
    """(line, name, quoted, file of the tree or None) of each include directive."""
    with open(os.path.join(root, path), encoding="utf-8") as text:
        for number, line in enumerate(text, 1):
            if match := INCLUDE.match(line):
                yield number, match[2], match[1] == '"', resolve(root, path, match[2])


def faultOfInclude(path, name, quoted, target):
    """Why `path` may not include `name`, or None."""
    if target is None:
        if GL_HEADER.match(name):
            fits = isBelow(path, GL_ALLOWED)
            return None if fits else f"OpenGL header <{name}> does not belong here"
        if SYSTEM_HEADER.match(name):
            fits = isBelow(path, SYSTEM_ALLOWED)
            return None if fits else f"system header <{name}> does not belong here"
        return f'"{name}" is no file of the tree' if quoted else None
    source, goal = folderOf(path), folderOf(target)
    if source in FREE:
        return None
    if source is None or goal is None:
        return f"{path if source is None else target} lies in no folder of the table"
    if goal not in ALLOWED[source]:
        return f"{source}/ may not include {goal}/ ({target})"
    return None


def findLoops(graph):
    """One fault per include that closes a loop; `graph`: file -> [(line, included file)]."""
    faults, done = [], set()

    def visit(path, trail):
        trail.append(path)
        for line, target in graph.get(path, []):
            if target in trail:
                loop = trail[trail.index(target):] + [target]
                faults.append((path, line, "include loop: " + " -> ".join(loop)))
            elif target not in done:
                visit(target, trail)
        trail.pop()
        done.add(path)

    for path in graph:
        if path not in done:
            visit(path, [])
    return faults


def check(root):
    """All faults of the tree under `root` as (file, line, reason), in order."""
    faults, graph = [], {}
    for path in sourceFiles(root):
        graph[path] = []
        for line, name, quoted, target in includesOf(root, path):
            if target is not None:
                graph[path].append((line, target))
            if reason := faultOfInclude(path, name, quoted, target):
                faults.append((path, line, reason))
    return sorted(faults + findLoops(graph))


def main():
    tree = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    faults = check(sys.argv[1] if len(sys.argv) > 1 else tree)
    for path, line, reason in faults:
        print(f"{path}:{line}: {reason}")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
