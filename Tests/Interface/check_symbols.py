#!/usr/bin/env python3
"""Checks which plain names the shared library exports: all that hosts look up by name, unmangled,
and nothing of its insides. Usage: check_symbols.py LIBRARY"""

import re
import subprocess
import sys

PLAIN = {"GetErrorMessage", "errorTable", "stristr", "XGetFoundryName",
         "set_line", "get_next_token", "cpLine", "iIndex", "jIndex", "tokenlen", "tokentype",
         "tokenval", "theFoundries", "ParsePFBHeader", "kSymbols", "kFontInfoSymbols", "kPS3Symbols"}
CLASSES = {"OxParser", "OxFont", "OxFontComparer", "FontFoundryList", "OxParserImp",
           "OxFileFactory", "OxFontFactory", "OxParserTrueTypeImp", "OxParserOpenTypeImp",
           "OxParserTrueTypeCollectionImp", "OxParserPFBImp", "OxParserPFMImp"}
INSIDES = ["SfntImage::", "LogChannel::", "ByteBuffer::", "macRomanToUtf8", "findSfntTable"]


def main():
    listing = subprocess.run(["nm", "-D", "--defined-only", sys.argv[1]], check=True,
                             capture_output=True, text=True).stdout
    raw = {line.split()[-1] for line in listing.splitlines()}
    names = subprocess.run(["c++filt"], input="\n".join(raw), check=True, capture_output=True,
                           text=True).stdout.splitlines()
    missing = sorted(PLAIN - raw)
    missing += sorted(c for c in CLASSES if f"vtable for {c}" not in names
                      and not any(n.startswith(f"{c}::") for n in names))
    leaked = [n for n in names if any(n.startswith(inside) for inside in INSIDES)]
    for name in missing:
        print(f"not exported: {name}")
    for name in leaked:
        print(f"exported, though internal: {name}")
    plain = {n for n in raw if re.fullmatch(r"[A-Za-z]\w*", n)} - PLAIN
    for name in sorted(plain):
        print(f"exported without being asked for: {name}")
    return 1 if missing or leaked or plain else 0


if __name__ == "__main__":
    sys.exit(main())
