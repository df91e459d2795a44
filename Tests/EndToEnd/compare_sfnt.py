#!/usr/bin/env python3
"""Compares the program's records of real TrueType, OpenType and collection files with what
fontTools reads from the same bytes.

Usage: compare_sfnt.py PROGRAM [--at-least N] FOLDER...

Compared: one record a font, fingerprints (hashlib), the names of the Windows US-English records
(and the Macintosh English ones where no Windows record of the id exists), weight and width,
offsets and order of collection members, and which tables' checksums differ.
"""

import argparse
import hashlib
import json
import os
import struct
import subprocess
import sys

from fontTools.ttLib import TTFont
from fontTools.ttLib.sfnt import calcChecksum

NAME_KEYS = ["Copyright", "Familyname", "SubFamilyname", "UniqueId", "Fullname", "Version",
             "Postscriptname", "Trademark"]
CHECKSUM_CODES = {"cmap": 11024, "head": 11025, "hhea": 11026, "glyf": 11027, "hmtx": 11028,
                  "loca": 11029, "maxp": 11030, "name": 11031, "OS/2": 11032, "post": 11033,
                  "kern": 11052}
MOST_TABLES = 36


def shown(raw):
    """A stored byte string as the JSON lines show it."""
    try:
        return raw.decode("utf-8")
    except UnicodeDecodeError:
        return raw.decode("latin-1")


def expected_names(font):
    names = {}
    for record in font["name"].names:
        if record.nameID > 7:
            continue
        key = NAME_KEYS[record.nameID]
        if record.platformID == 3 and record.langID == 0x409 and record.platEncID in (0, 1):
            text = record.string.decode("utf-16-be", "surrogatepass")
            units = text.encode("utf-16-le", "surrogatepass")
            names[key] = shown(units[0::2])
        elif record.platformID == 3 and record.langID == 0x409:
            names[key] = ""
        elif record.platformID == 1 and record.langID == 0:
            text = record.string.split(b"\0")[0].decode("mac_roman")
            utf8 = text.encode("utf-8")[:255]
            names[key] = utf8.decode("utf-8", "ignore")
    return names


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


class Comparison:
    def __init__(self):
        self.records = 0
        self.names = 0
        self.wrong = []

    def equal(self, where, what, found, expected):
        if found != expected:
            self.wrong.append(f"{where}: {what}: found {found!r}, expected {expected!r}")

    def font(self, where, record, font, data, offset, reads_kern):
        attributes = record["attributes"]
        self.records += 1
        self.equal(where, "FingerPrint", attributes.get("FingerPrint"),
                   hashlib.md5(data).hexdigest())
        if len(font.reader.tables) > MOST_TABLES:
            self.equal(where, "diagnostics", [d["code"] for d in record["diagnostics"]], [11001])
            return
        if "name" in font:
            for key, value in expected_names(font).items():
                self.equal(where, key, attributes.get(key), value)
                self.names += 1
        if "OS/2" in font:
            self.equal(where, "Weight", attributes.get("Weight"), str(font["OS/2"].usWeightClass))
            self.equal(where, "Width", attributes.get("Width"), str(font["OS/2"].usWidthClass))
        expected = sorted(CHECKSUM_CODES[tag] for tag, stored, found in raw_checksums(data, offset)
                          if tag in CHECKSUM_CODES and stored != found
                          and (tag != "kern" or reads_kern))
        found = sorted(d["code"] for d in record["diagnostics"] if d["type"] == "warning"
                       and d["code"] in CHECKSUM_CODES.values())
        self.equal(where, "checksum warnings", found, expected)

    def file(self, path, records):
        data = open(path, "rb").read()
        extension = os.path.splitext(path)[1].lower()
        if extension == ".ttc":
            count = struct.unpack_from(">L", data, 8)[0]
            offsets = struct.unpack_from(f">{count}L", data, 12)
            # The library reports a file's records last to first.
            self.equal(path, "FontOffset", [r["attributes"]["FontOffset"] for r in records],
                       [str(o) for o in reversed(offsets)])
            for index, record in enumerate(reversed(records)):
                where = f"{path}[{index}]"
                if data[offsets[index]:offsets[index] + 4] != b"\0\1\0\0":
                    self.equal(where, "diagnostics", [d["text"] for d in record["diagnostics"]],
                               ["True type collection must have Windows scalar type"])
                    self.records += 1
                    continue
                self.font(where, record, TTFont(path, fontNumber=index, lazy=True), data,
                          offsets[index], True)
        else:
            self.equal(path, "number of records", len(records), 1)
            self.font(path, records[0], TTFont(path, lazy=True), data, 0, extension == ".otf")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("program")
    parser.add_argument("folders", nargs="+")
    parser.add_argument("--at-least", type=int, default=1)
    options = parser.parse_args()
    lines = subprocess.run([options.program, "scan", "--format", "jsonl", *options.folders],
                           stdout=subprocess.PIPE, check=True).stdout
    by_file = {}
    for line in lines.splitlines():
        record = json.loads(line)
        if record["record"] == "font":
            by_file.setdefault(record["file"], []).append(record)
    comparison = Comparison()
    for path, records in sorted(by_file.items()):
        if os.path.splitext(path)[1].lower() in (".ttf", ".otf", ".ttc"):
            comparison.file(path, records)
    for line in comparison.wrong:
        print(line)
    print(f"{comparison.records} records and {comparison.names} names compared, "
          f"{len(comparison.wrong)} differences")
    if comparison.records < options.at_least:
        print(f"at least {options.at_least} records were expected")
        return 1
    return 1 if comparison.wrong else 0


if __name__ == "__main__":
    sys.exit(main())
