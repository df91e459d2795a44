#!/usr/bin/env python3
"""Compares the program's records of real PFB and PFM files with what this script reads from the
same bytes. Usage: compare_type1.py PROGRAM [--at-least N] FOLDER...

A PFB's clear text is split at carriage returns: a file whose lines end in line feeds has no names.
It is counted how many headers end their lines in which way.
"""

import hashlib
import operator
import os
import re
import struct
import sys

import records as shared

NAMES = {"Fullname": rb"/FullName[^(]*\((.*)\)", "Familyname": rb"/FamilyName[^(]*\((.*)\)",
         "Version": rb"/version[^(]*\((.*)\)", "Copyright": rb"/Notice[^(]*\((.*)\)",
         "Postscriptname": rb"/FontName[^/]*/(.*) def"}

# Offset, structure, what is wrong (by the operator on the right value, None being the file's size),
# severity and code of each rule, in the order of the reports.
WRONG = {"!=": operator.ne, "==": operator.eq, ">": operator.gt}
PFM_RULES = [
    (0, "<H", "!=", 0x0100, "warning", 15100), (2, "<L", ">", None, "warning", 15105),
    (66, "<H", "!=", 0x0081, "warning", 15106), (70, "<H", "!=", 300, "warning", 15107),
    (72, "<H", "!=", 300, "warning", 15108), (99, "<H", "!=", 0, "note", 15109),
    (101, "<L", "==", 0, "error", 15110), (101, "<L", ">", None, "error", 15111),
    (105, "<L", "==", 0, "error", 15112), (105, "<L", ">", None, "error", 15113),
    (117, "<H", "!=", 30, "error", 15200), (119, "<L", "==", 0, "error", 15210),
    (123, "<L", "==", 0, "error", 15211), (127, "<L", "!=", 0, "warning", 15212),
    (131, "<L", ">", None, "error", 15204), (135, "<L", ">", None, "error", 15205),
    (143, "<L", "!=", 0, "warning", 15207), (139, "<L", ">", None, "error", 15209),
    (139, "<L", "==", 0, "error", 15208), (147, "<H", ">", 52, "warning", 15300),
    (149, "<H", "!=", 240, "note", 15301), (151, "<H", "!=", 0, "note", 15302),
    (153, "<H", "!=", 1000, "note", 15303), (155, "<H", "!=", 3, "note", 15304),
    (157, "<H", "!=", 1000, "note", 15305), (159, "<H", "!=", 1000, "note", 15306),
    (171, "<H", "!=", 0, "note", 15306),
]


def line_ends(text):
    if b"\r\n" in text:
        return "CRLF"
    return "CR" if b"\r" in text else "LF"


def expected_pfb(data, comparison):
    start = data[:2047].find(b"%!PS")
    values = dict.fromkeys(NAMES, "")
    if start < 0:
        comparison.count("PFB headers without %!PS")
        return values
    text = data[start:].split(b"\0")[0].split(b"eexec")[0]
    kind = line_ends(text)
    comparison.count(f"PFB headers with {kind}")
    if kind == "LF":
        return values
    limit = len(text.split(b"\r")[0]) - 1
    for line in text.split(b"\r"):
        indent = len(line) - len(line.lstrip(b"\t\n "))
        if line and indent >= limit:
            break
        for key, pattern in NAMES.items():
            found = re.match(pattern, line[indent:], re.S)
            if found:
                values[key] = shared.shown(found.group(1)[:255 if key == "Copyright" else 254])
    return values


def expected_pfm(data):
    if len(data) <= 198:
        return [("error", 10000)]
    return [(severity, code) for offset, form, wrong, value, severity, code in PFM_RULES
            if WRONG[wrong](struct.unpack_from(form, data, offset)[0],
                            len(data) if value is None else value)]


def compare_file(comparison, path, records):
    extension = os.path.splitext(path)[1].lower()
    if extension not in (".pfb", ".pfm"):
        return
    data = open(path, "rb").read()
    comparison.equal(path, "number of records", len(records), 1)
    comparison.count(extension)
    attributes = records[0]["attributes"]
    diagnostics = [(d["type"], d["code"]) for d in records[0]["diagnostics"]]
    if extension == ".pfb":
        comparison.equal(path, "names", {key: attributes.get(key) for key in NAMES},
                         expected_pfb(data, comparison))
        comparison.equal(path, "diagnostics", diagnostics, [])
    else:
        comparison.equal(path, "diagnostics", diagnostics, expected_pfm(data))
        if len(data) <= 198:
            return
        comparison.equal(path, "Italic", attributes.get("Italic"),
                         "true" if data[80] & 1 else "false")
    comparison.equal(path, "FingerPrint", attributes.get("FingerPrint"),
                     hashlib.md5(data).hexdigest())


if __name__ == "__main__":
    sys.exit(shared.run(compare_file))
