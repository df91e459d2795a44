"""Says which tests did not run and why, from the results that ctest writes. GTest and unittest
tell the reason in their output, each in its way. Usage: skipped_tests.py RESULTS.xml"""

import re
import sys
import xml.etree.ElementTree


def skipped(results):
    for case in xml.etree.ElementTree.parse(results).iter("testcase"):
        name, output = case.get("name"), case.findtext("system-out") or ""
        said = re.findall(r"^ *(.+) \.\.\. skipped (.+)$", output, re.M)  # unittest -v
        for test, reason in said:
            yield f"{name}: {test}", reason.strip("'\"")
        if case.find("skipped") is not None and not said:
            reason = re.search(r": Skipped\n(.*)", output)  # GTEST_SKIP() << reason
            yield name, reason[1] if reason else case.find("skipped").get("message")


if __name__ == "__main__":
    for test, why in skipped(sys.argv[1]):
        print(f"skipped: {test}: {why}")
