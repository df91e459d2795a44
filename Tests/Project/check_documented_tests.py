#!/usr/bin/env python3
"""Checks that every test that the documents name is there, and that each quirk names one.
Usage: check_documented_tests.py PROJECT_FOLDER"""

import pathlib
import re
import sys

project = pathlib.Path(sys.argv[1])
tests = project / "Tests"
known = {f"{suite}.{name}" for file in tests.rglob("*.cpp") for suite, name in
         re.findall(r"^TEST(?:_F|_P)?\((\w+), (\w+)\)", file.read_text(), re.M)}
for file in (tests / "EndToEnd").glob("*.py"):
    known.add(f"EndToEnd.{file.stem}")
    known |= set(re.findall(r"^    def (test_\w+)", file.read_text(), re.M))
for file in (tests / "CMakeLists.txt", tests / "Interface" / "CMakeLists.txt"):
    known |= set(re.findall(r"add_test\(NAME ([\w.]+)", file.read_text()))
known |= {f"Fuzz.{line.split()[0]}" for line in (project / "Fuzz" / "targets.txt").open()
          if line[0].isupper()}

wrong = []
documents = sorted((project / "Docs").rglob("*.md"))
for document in documents:
    for token in re.findall(r"`((?:[A-Z]\w+\.(?:[A-Z]\w*[a-z]\w*|test_\w+|compare_\w+)?|test_\w+)\*?)`",
                            document.read_text()):
        found = any(t.startswith(token[:-1]) for t in known) if token[-1] == "*" else token in known
        if not found:
            wrong.append(f"{document.relative_to(project)}: there is no test {token}")
quirks = [line for line in (project / "Docs/Formats/Quirks.md").read_text().splitlines()
          if line.startswith("| ") and not line.startswith("| what |")]
wrong += [f"names no test: {line}" for line in quirks
          if not re.search(r"`\w+\.\w+`", line.rsplit("|", 2)[1])]
print("\n".join(wrong) or f"{len(quirks)} quirks, {len(documents)} documents, {len(known)} tests")
sys.exit(1 if wrong or not quirks else 0)
