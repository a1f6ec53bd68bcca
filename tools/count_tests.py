#!/usr/bin/env python3
"""Prints "PASSED FAILED" for a JUnit file of ctest, and on stderr what each failing test printed.

Tests that are disabled or skipped themselves count as neither; those that could not be run, because
their program is missing for one, have failed. Lines of passing tests that begin with "note: " are shown.

Usage: count_tests.py RESULTS
"""

import sys
import xml.etree.ElementTree


def wasSkipped(case):
    reason = case.find("skipped")
    return case.get("status") == "disabled" or (
        reason is not None and reason.get("message", "").startswith("SKIP_"))


def howItEnded(case):
    reason = case.find("failure")
    if reason is not None and "imeout" in reason.get("message", ""):
        return "ran into its limit of"
    return "failed after"


def main():
    passed = failed = 0
    for case in xml.etree.ElementTree.parse(sys.argv[1]).getroot().iter("testcase"):
        printed = case.findtext("system-out", "")
        if case.get("status") == "run":
            passed += 1
            for line in printed.splitlines():
                if line.startswith("note: "):
                    print(f"{case.get('name')}: {line[6:]}", file=sys.stderr)
        elif not wasSkipped(case):
            failed += 1
            seconds = float(case.get("time") or 0)
            print(f"--- {case.get('name')} {howItEnded(case)} {seconds:.0f} s", file=sys.stderr)
            print(printed.rstrip(), file=sys.stderr)
    print(passed, failed)


if __name__ == "__main__":
    main()
