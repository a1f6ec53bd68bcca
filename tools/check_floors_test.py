#!/usr/bin/env -S python3 -B
"""Tests of check_floors.py on small made-up trees."""

import os
import tempfile
import unittest

import check_floors


def faultsOf(files):
    """The faults of a tree of `files`: path -> the names its lines include."""
    with tempfile.TemporaryDirectory() as root:
        for path, includes in files.items():
            full = os.path.join(root, path)
            os.makedirs(os.path.dirname(full), exist_ok=True)
            with open(full, "w", encoding="utf-8") as out:
                out.writelines(f"#include {name}\n" for name in includes)
        return check_floors.check(root)


CLEAN = {
    "platform/clock.h": ["<cstdint>"],
    "platform/linux/clock.cpp": ['"platform/clock.h"', "<unistd.h>", "<GL/glx.h>"],
    "state/json.h": ['"platform/clock.h"'],
    "filters/eq.h": [],
    "host/base.h": ['"state/json.h"', '"host/other.h"'],
    "host/other.h": [],
    "core/plug.h": ['"host/base.h"', '"filters/eq.h"', "<vector>"],
    "graphs/opengl/view.h": ["<GL/gl.h>"],
    "graphs/graph.h": ['"graphs/opengl/view.h"', '"core/plug.h"'],
    "editor/controls/knob.h": ['"editor/layout/walker.h"'],
    "editor/layout/walker.h": [],
    "tests/core/plug_test.cpp": ['"core/plug.h"', '"tests/support/guard.h"', "<pthread.h>"],
    "tests/support/guard.h": [],
    "build/made.h": ['"nowhere.h"'],
}


class CheckFloors(unittest.TestCase):
    def testCleanTreeHasNoFault(self):
        self.assertEqual(faultsOf(CLEAN), [])

    def testForbiddenIncludesAreNamedWithTheirLine(self):
        cases = [
            ("state/a.cpp", '"core/plug.h"', "state/ may not include core/"),
            ("state/a.cpp", "<core/plug.h>", "state/ may not include core/"),
            ("host/a.cpp", '"filters/eq.h"', "host/ may not include filters/"),
            ("filters/a.cpp", '"state/json.h"', "filters/ may not include state/"),
            ("graphs/opengl/a.cpp", '"graphs/graph.h"', "graphs/opengl/ may not include graphs/"),
            ("apps/a.cpp", '"libraries/lv2_wrap/a.h"', "may not include libraries/lv2_wrap/"),
            ("core/a.cpp", '"tests/support/guard.h"', "core/ may not include tests/"),
            ("core/a.cpp", '"plugg.h"', "no file of the tree"),
            ("core/a.cpp", "<unistd.h>", "system header <unistd.h>"),
            ("platform/a.cpp", "<sys/stat.h>", "system header <sys/stat.h>"),
            ("graphs/a.cpp", "<GL/gl.h>", "OpenGL header <GL/gl.h>"),
            ("graphs/opengl/a.cpp", "<X11/Xlib.h>", "system header <X11/Xlib.h>"),
        ]
        for path, name, reason in cases:
            with self.subTest(path=path, name=name):
                tree = {**CLEAN, "libraries/lv2_wrap/a.h": [], path: ["<cmath>", name]}
                faults = faultsOf(tree)
                self.assertEqual([fault[:2] for fault in faults], [(path, 2)])
                self.assertIn(reason, faults[0][2])

    def testLoopOfThreeIsFoundOnce(self):
        faults = faultsOf({
            **CLEAN,
            "core/a.h": ['"core/b.h"'],
            "core/b.h": ['"core/c.h"'],
            "core/c.h": ["<cmath>", '"core/a.h"'],
            "core/d.h": ['"core/b.h"'],
        })
        self.assertEqual(
            faults,
            [("core/c.h", 2, "include loop: core/a.h -> core/b.h -> core/c.h -> core/a.h")])

    def testTwoWaysToOneFileAreNoLoop(self):
        faults = faultsOf({
            "core/a.h": ['"core/b.h"', '"core/c.h"'],
            "core/b.h": ['"core/d.h"'],
            "core/c.h": ['"core/d.h"'],
            "core/d.h": [],
        })
        self.assertEqual(faults, [])


if __name__ == "__main__":
    unittest.main()
