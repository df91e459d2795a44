#!/usr/bin/env python3
"""Checks that the library's folders stay floors: a file includes only files of its own folder or
of floors below. Usage: check_floors.py SOURCE_FOLDER"""

import pathlib
import re
import sys

# Lowest first. The parsers' folders stand side by side, but the Mac formats use the other two.
FLOORS = ["Base", "Record", "ResourceFork/Containers", "ResourceFork/Files", "ResourceFork/Places",
          "ResourceFork", "Parsers", "Parsers/Sfnt", "Parsers/Type1", "Parsers/Mac",
          "Readers/Faces", "Readers/Sfnt", "Readers/Type1", "Readers/Mac", "Readers", "Pipeline",
          "Import"]
APART = {("Parsers/Type1", "Parsers/Sfnt"), ("Readers/Type1", "Readers/Sfnt")}
# The two readings stand apart but for the contract of a parser.
CONTRACT = "OxParserImp.h"


def main():
    source = pathlib.Path(sys.argv[1])
    floor_of = {}
    wrong = []
    for floor in FLOORS:
        for file in sorted((source / floor).glob("*.h")) + sorted((source / floor).glob("*.cpp")):
            if file.name in floor_of:
                wrong.append(f"{file.name} stands in {floor_of[file.name]} and in {floor}")
            floor_of[file.name] = floor
    for name, floor in floor_of.items():
        for include in re.findall(r'^#include "([^"]+)"', (source / floor / name).read_text(), re.M):
            other = floor_of.get(include)
            if other is None:
                wrong.append(f"{floor}/{name} includes {include}, which is on no floor")
            elif (floor.startswith("Readers") and other.startswith("Parsers")
                  and include != CONTRACT):
                wrong.append(f"{floor}/{name} reaches over to {other}/{include}")
            elif FLOORS.index(other) > FLOORS.index(floor) or (floor, other) in APART:
                wrong.append(f"{floor}/{name} reaches up to {other}/{include}")
    unplaced = {f.name for f in source.rglob("*") if f.suffix in (".h", ".cpp")} - set(floor_of)
    wrong += [f"{name} is on no floor" for name in sorted(unplaced)]
    print("\n".join(wrong) or f"{len(floor_of)} files on {len(FLOORS)} floors")
    return 1 if wrong or not floor_of else 0


if __name__ == "__main__":
    sys.exit(main())
