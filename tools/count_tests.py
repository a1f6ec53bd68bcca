#!/usr/bin/env python3
"""Prints "PASSED FAILED" for a JUnit file of ctest, and on stderr what each failing test printed.

Tests that are disabled or skipped themselves count as neither; those that could not be run, because
their program is missing for one, have failed.

Usage: count_tests.py RESULTS
"""

import sys
import xml.etree.ElementTree


def wasSkipped(case):
    reason = case.find("skipped")
    return case.get("status") == "disabled" or (
        reason is not None and reason.get("message", "").startswith("SKIP_"))


def main():
    passed = failed = 0
    for case in xml.etree.ElementTree.parse(sys.argv[1]).getroot().iter("testcase"):
        if case.get("status") == "run":
            passed += 1
        elif not wasSkipped(case):
            failed += 1
            print(f"--- failed: {case.get('name')} after {case.get('time')} s", file=sys.stderr)
            print(case.findtext("system-out", "").rstrip(), file=sys.stderr)
    print(passed, failed)


if __name__ == "__main__":
    main()
