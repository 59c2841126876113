#!/usr/bin/env python3
"""Lists the tests that did not run, with the reason each gave:  scripts/list_skipped.py REPORT

REPORT is what ctest --output-junit wrote.
"""
import re
import sys
import xml.etree.ElementTree


def reason(test):
    output = test.findtext("system-out") or ""
    lines = re.findall(r": Skipped\n(.+)", output)
    return "; ".join(lines) or "no reason given"


tests = xml.etree.ElementTree.parse(sys.argv[1]).getroot().findall("testcase")
skipped = [test for test in tests if test.find("skipped") is not None]
print(f"{len(tests) - len(skipped)} tests run, {len(skipped)} skipped")
for test in skipped:
    print(f"  {test.get('name')}: {reason(test)}")
