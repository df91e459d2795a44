#!/usr/bin/env python3
"""Compares the program's records of real TrueType, OpenType and collection files with what
fontTools reads from the same bytes.

Usage: compare_sfnt.py PROGRAM [--at-least N] FOLDER...

Compared: one record a font, fingerprints (hashlib), the names of the Windows US-English records
(and the Macintosh English ones where no Windows record of the id exists), weight and width,
offsets and order of collection members, and which tables' checksums differ.
"""

import hashlib
import os
import struct
import sys

from fontTools.ttLib import TTFont
from fontTools.ttLib.sfnt import calcChecksum

import records as shared

CHECKSUM_CODES = {"cmap": 11024, "head": 11025, "hhea": 11026, "glyf": 11027, "hmtx": 11028,
                  "loca": 11029, "maxp": 11030, "name": 11031, "OS/2": 11032, "post": 11033,
                  "kern": 11052}
MOST_TABLES = 36


# Runs of (offset, width, count) that are converted in place once a table has been summed, and the
# table length from which on they are. A table of odd length ends in a word that takes in the next
# table's first bytes, converted or not.
CONVERTED = {
    "head": [(0, 4, 4, 0), (16, 2, 2, 0), (20, 4, 2, 0), (28, 2, 9, 0)],
    "OS/2": [(0, 2, 4, 0), (10, 2, 11, 0), (42, 4, 4, 0), (62, 2, 3, 0), (68, 2, 5, 69),
             (78, 4, 2, 79), (86, 2, 5, 87)],
    "name": [(0, 2, 3, 0)],
}


def convert(image, start, runs, length):
    for offset, width, count, least in runs:
        if length < least:
            continue
        for i in range(count):
            place = start + offset + i * width
            image[place:place + width] = image[place:place + width][::-1]


def raw_checksums(data, font_offset):
    """Tag, stored checksum and sum of every table, in the order and state of reading."""
    image = bytearray(data)
    count = struct.unpack_from(">H", data, font_offset + 4)[0]
    for i in range(count):
        record = font_offset + 12 + 16 * i
        tag, stored, offset, length = struct.unpack_from(">4sLLL", image, record)
        convert(image, record, [(0, 4, 4, 0)], 0)
        tag = tag.decode("latin-1")
        end = offset + (length + 3) // 4 * 4
        yield tag, stored, calcChecksum(bytes(image[offset:end]))
        convert(image, offset, CONVERTED.get(tag, []), length)


def compare_font(comparison, where, record, font, data, offset, reads_kern):
    attributes = record["attributes"]
    comparison.count("records")
    comparison.equal(where, "FingerPrint", attributes.get("FingerPrint"),
                     hashlib.md5(data).hexdigest())
    if len(font.reader.tables) > MOST_TABLES:
        comparison.equal(where, "diagnostics", [d["code"] for d in record["diagnostics"]], [11001])
        return
    if "name" in font:
        for key, value in shared.sfnt_names(font).items():
            comparison.equal(where, key, attributes.get(key), value)
            comparison.count("names")
    if "OS/2" in font:
        for key, field in [("Weight", "usWeightClass"), ("Width", "usWidthClass")]:
            comparison.equal(where, key, attributes.get(key), str(getattr(font["OS/2"], field)))
    expected = sorted(CHECKSUM_CODES[tag] for tag, stored, found in raw_checksums(data, offset)
                      if tag in CHECKSUM_CODES and stored != found
                      and (tag != "kern" or reads_kern))
    found = sorted(d["code"] for d in record["diagnostics"] if d["type"] == "warning"
                   and d["code"] in CHECKSUM_CODES.values())
    comparison.equal(where, "checksum warnings", found, expected)


def compare_file(comparison, path, records):
    extension = os.path.splitext(path)[1].lower()
    if extension not in (".ttf", ".otf", ".ttc"):
        return
    data = open(path, "rb").read()
    if extension != ".ttc":
        comparison.equal(path, "number of records", len(records), 1)
        compare_font(comparison, path, records[0], TTFont(path, lazy=True), data, 0,
                     extension == ".otf")
        return
    count = struct.unpack_from(">L", data, 8)[0]
    offsets = struct.unpack_from(f">{count}L", data, 12)
    # The library reports a file's records last to first.
    comparison.equal(path, "FontOffset", [r["attributes"]["FontOffset"] for r in records],
                     [str(o) for o in reversed(offsets)])
    for index, record in enumerate(reversed(records)):
        where = f"{path}[{index}]"
        if data[offsets[index]:offsets[index] + 4] != b"\0\1\0\0":
            comparison.equal(where, "diagnostics", [d["text"] for d in record["diagnostics"]],
                             ["True type collection must have Windows scalar type"])
            comparison.count("records")
            continue
        compare_font(comparison, where, record, TTFont(path, fontNumber=index, lazy=True), data,
                     offsets[index], True)


if __name__ == "__main__":
    sys.exit(shared.run(compare_file))
