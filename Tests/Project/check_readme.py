#!/usr/bin/env python3
"""Checks that the README's host example is the file that is compiled and run.
Usage: check_readme.py README EXAMPLE"""

import pathlib
import re
import sys

readme = pathlib.Path(sys.argv[1]).read_text()
example = pathlib.Path(sys.argv[2]).read_text()
shown = re.search(r"```cpp\n(.*?)```", readme, re.S)
if shown is None or shown.group(1) != example:
    print("the README's example differs from", sys.argv[2])
    sys.exit(1)
