"""What the tests of the program and the comparisons with other readers share."""

import argparse
import json
import os
import shutil
import subprocess
import tempfile
import unittest

READING_COMMANDS = ("scan", "check", "import")
NAME_KEYS = ["Copyright", "Familyname", "SubFamilyname", "UniqueId", "Fullname", "Version",
             "Postscriptname", "Trademark"]


def shown(raw):
    """A stored byte string as the JSON lines show it."""
    try:
        return raw.decode("utf-8")
    except UnicodeDecodeError:
        return raw.decode("latin-1")


def sfnt_names(font):
    """The names that a record has of a font that fontTools has opened, by key."""
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


def scan(program, *paths, status=0, reading="compatible"):
    """The font records of a scan that ends with this status, a list for each file."""
    run = subprocess.run([program, "scan", "--reading", reading, "--format", "jsonl", *paths],
                         capture_output=True)
    if run.returncode != status:
        raise AssertionError(f"status {run.returncode}: {os.fsdecode(run.stderr)}")
    by_file = {}
    for record in map(json.loads, run.stdout.splitlines()):
        if record["record"] == "font":
            by_file.setdefault(record["file"], []).append(record)
    return by_file


class FolderTest(unittest.TestCase):
    """A fresh folder per test."""

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="oxparser-test-")
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        os.chmod(self.folder, 0o755)

    def path(self, *names):
        return os.path.join(self.folder, *names)

    def write(self, name, data):
        place = os.path.normpath(self.path(name))
        os.makedirs(os.path.dirname(place), exist_ok=True)
        with open(place, "wb") as file:
            file.write(data)
        return place


class Comparison:
    """Counts what is compared and collects what differs."""

    def __init__(self):
        self.compared = {}
        self.wrong = []

    def count(self, kind, number=1):
        self.compared[kind] = self.compared.get(kind, 0) + number

    def equal(self, where, what, found, expected):
        if found != expected:
            self.wrong.append(f"{where}: {what}: found {found!r}, expected {expected!r}")


def run(compare_file):
    """Calls compare_file(comparison, path, records) for every file of a scan. Answers an exit
    status: 1 when anything differs or too few files were compared."""
    parser = argparse.ArgumentParser()
    parser.add_argument("program")
    parser.add_argument("folders", nargs="+")
    parser.add_argument("--at-least", type=int, default=1)
    options = parser.parse_args()
    comparison = Comparison()
    files = 0
    for path, records in sorted(scan(options.program, *options.folders).items()):
        before = dict(comparison.compared)
        compare_file(comparison, path, records)
        files += comparison.compared != before
    print("\n".join(comparison.wrong))
    print(f"{files} files, {comparison.compared} compared, {len(comparison.wrong)} differences")
    if files < options.at_least:
        print(f"at least {options.at_least} files were expected")
        return 1
    return 1 if comparison.wrong else 0
