#!/usr/bin/env python3
"""Compares every property of the modern reading's records with what fontTools, t1disasm, fontconfig
and this folder's own readings of metrics and Mac files find in the same bytes.

Usage: compare_modern.py PROGRAM [--limit N | --all] [--at-least N] [--kind KIND,...] [--sound]
                         [FOLDER...]

By hand with --all on everything, else on at most N files of a kind, taken evenly. Prints each
difference as file, property, found, expected. Those that one of the named reasons explains are
counted apart. Exit status 1 when any other is left.

With --sound the findings at warning or above are listed instead, and each is checked with other
tools: modern_sound.py.
"""

import argparse
import collections
import json
import logging
import multiprocessing
import os
import shutil
import subprocess
import sys
import tempfile

SKIPPED = 77  # is known to CTest

try:
    import brotli  # noqa: F401  fontTools needs it for WOFF2
    from fontTools.ttLib import TTCollection, TTFont
except ImportError as missing:
    print(f"skipped: {missing}")
    sys.exit(SKIPPED)
for tool in ("t1disasm", "fc-scan"):
    if shutil.which(tool) is None:
        print(f"skipped: {tool} is not installed")
        sys.exit(SKIPPED)

import modern_mac
import modern_reasons
import modern_sfnt
import modern_sound
import modern_type1

FOLDERS = ["/usr/share/fonts", "/usr/share/texmf", "/usr/share/texlive", "/usr/share"]
KINDS = {"sfnt": (".ttf", ".otf"), "collection": (".ttc", ".otc"), "woff": (".woff",),
         "woff2": (".woff2",), "type1": (".pfb", ".pfa", ".t1"), "pfm": (".pfm",),
         "afm": (".afm",)}
COLLECTION_MEMBERS = 60
WOFF_FILES = 200
LARGE = 5_000_000

# In the order in which a record has them.
ORDER = """format container index offset fork resource family style fullName postscriptName version
uniqueId copyright trademark manufacturer designer description vendorUrl designerUrl license
licenseUrl typographicFamily typographicStyle names weight width italic monospace symbol variable
color hinted italicAngle vendor foundry embedding noSubsetting bitmapOnly unitsPerEm ascender
descender lineGap xHeight capHeight glyphs created modified revision codepoints coverage languages
scripts features axes instances tables size encoding kerningPairs outline metrics
printerFonts""".split()

ATTRIBUTES = {"Fullname": "fullName", "Postscriptname": "postscriptName", "Version": "version",
              "UniqueId": "uniqueId", "Copyright": "copyright", "Trademark": "trademark",
              "Weight": "weight", "Width": "width", "Italic": "italic", "MonoSpace": "monospace",
              "Size": "size"}


def files_below(folders, extensions):
    """Each file once, whatever links lead to it."""
    found = {}
    for top in folders:
        for folder, _, names in os.walk(top):
            for name in names:
                path = os.path.join(folder, name)
                if name.lower().endswith(extensions) and os.path.isfile(path):
                    found.setdefault(os.path.realpath(path), path)
    return sorted(found.values())


def evenly(items, limit):
    if limit is None or len(items) <= limit:
        return list(items)
    return [items[i * len(items) // limit] for i in range(limit)]


def make_collections(fonts, folder, members):
    """Collections of four fonts of one kind each: fontTools writes them with either outlines."""
    made, files = 0, []
    by_kind = {kind: [f for f in fonts if f.lower().endswith(kind) and os.path.getsize(f) < 200_000]
               for kind in (".otf", ".ttf")}
    for kind, place in [(k, p) for p in range(0, 100, 4) for k in by_kind]:
        four = evenly(by_kind[kind], 200)[place:place + 4]
        if made >= members or len(four) < 4:
            continue
        collection = TTCollection()
        collection.fonts = [TTFont(path) for path in four]
        path = os.path.join(folder, f"{kind[1:]}{place}.{'otc' if kind == '.otf' else 'ttc'}")
        try:
            collection.save(path)
        except Exception as error:  # fontTools cannot compile one of them
            print(f"no collection of {four}: {error}")
            continue
        made += 4
        files.append(path)
    return files


def make_woff(job):
    source, flavor, target = job
    try:
        font = TTFont(source)
        font.flavor = flavor
        font.save(target)
        return target
    except Exception as error:  # fontTools cannot compile it
        return f"!{source}: {error}"


def make_woffs(pool, fonts, folder, count, flavor):
    small = [f for f in fonts if os.path.getsize(f) < 150_000]
    jobs = [(source, flavor, os.path.join(folder, f"{number}.{flavor}"))
            for number, source in enumerate(evenly(small, count))]
    return [path for path in pool.imap(make_woff, jobs, 4) if not path.startswith("!")]


def scan(program, paths):
    """The records by file."""
    with tempfile.NamedTemporaryFile() as list_file:
        list_file.write("".join(path + "\0" for path in paths).encode())
        list_file.flush()
        run = subprocess.run([program, "scan", "--reading", "modern", "--format", "jsonl",
                              "--names", "--coverage", "--tables", "--null", "--files-from",
                              list_file.name], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                             check=False)
    if run.returncode != 0:
        raise SystemExit(f"status {run.returncode}: {os.fsdecode(run.stderr)}")
    by_file = {path: [] for path in paths}
    for line in run.stdout.splitlines():
        record = json.loads(line)
        if record["record"] == "font":
            by_file.setdefault(record["file"], []).append(record)
    return by_file


def fontconfig_languages(paths):
    """By (file, index of the face) what fc-scan lists, of the plain instance."""
    found = {}
    for start in range(0, len(paths), 200):
        run = subprocess.run(["fc-scan", "--format", "%{file}\t%{index}\t%{lang}\n",
                              *paths[start:start + 200]], stdout=subprocess.PIPE,
                             stderr=subprocess.DEVNULL, check=False)
        for line in run.stdout.decode("utf-8", "replace").splitlines():
            path, index, names = line.split("\t")
            if int(index) < 0x10000:
                found[path, int(index)] = [name for name in names.split("|") if name]
    return found


def attributes_of(values):
    """The attributes that follow from properties."""
    expected = {key: values.get(name) for key, name in ATTRIBUTES.items()}
    for key, name in [("Familyname", "amily"), ("SubFamilyname", "tyle")]:
        first = "typographic" + ("F" if name == "amily" else "S") + name
        expected[key] = values.get(first, values.get(("f" if name == "amily" else "s") + name))
    expected["Foundry"] = values.get("foundry", "Unknown")
    expected["FontOffset"] = values.get("offset")
    return {key: str(value).lower() if isinstance(value, bool) else str(value)
            for key, value in expected.items() if value is not None}


def canonical(name, value):
    """A value in the form in which both sides are compared."""
    if isinstance(value, float):
        return round(value, 3)
    if isinstance(value, list):
        return [canonical(name, item) for item in value]
    if isinstance(value, dict):
        return {key: canonical(name, item) for key, item in value.items()}
    if isinstance(value, str) and name == "names":
        return value.rstrip("\0 \t\n\v\f\r")
    return value


class Face:
    """A record beside what is expected of it."""

    def __init__(self, path, record, expected, fontconfig):
        self.path, self.record, self.expected, self.fontconfig = path, record, expected, fontconfig
        self.found = record.get("properties", {})
        self.differences, self.compared = [], 0

    def differ(self, what, found, expected):
        self.differences.append((self.path, self.found.get("index"), what, found, expected,
                                 modern_reasons.reason(self, what, found, expected)))

    def equal(self, what, found, expected):
        self.compared += 1
        if canonical(what, found) != canonical(what, expected):
            self.differ(what, found, expected)

    def compare(self):
        wanted = {key: value for key, value in self.expected.items() if not key.startswith("#")}
        for name in [*wanted, *(name for name in self.found if name not in wanted)]:
            self.compare_property(name, self.found.get(name), wanted.get(name))
        self.equal("order of properties", list(self.found),
                   sorted(self.found, key=lambda n: ORDER.index(n) if n in ORDER else -1))
        attributes = self.record["attributes"]
        for key, value in attributes_of(self.found).items():
            self.equal("attribute " + key, attributes.get(key), value)
        for key in ("Type", "FingerPrint"):
            if "#" + key in self.expected or key == "Type":
                self.equal("attribute " + key, attributes.get(key), self.expected.get("#" + key))
        if self.fontconfig is not None:
            self.compare_fontconfig()

    def compare_property(self, name, found, expected):
        if name == "names" and found and expected and len(found) == len(expected):
            for mine, other in zip(found, expected):
                if other["text"] is not None:
                    self.equal("names", mine, other)
        elif name == "tables" and found and expected and len(found) == len(expected):
            for mine, other in zip(found, expected):
                self.equal("tables", {key: mine.get(key) for key in other}, other)
        else:
            self.equal(name, found, expected)

    def compare_fontconfig(self):
        found = set(self.found.get("languages", []))
        for language in sorted(found.symmetric_difference(self.fontconfig)):
            self.differ("fc-scan", language in found, language)
        self.compared += 1


def expected_of(path):
    with open(path, "rb") as file:
        data = file.read()
    if data[:4] in (b"\0\1\0\0", b"true", b"OTTO", b"typ1", b"ttcf", b"wOFF", b"wOF2"):
        return modern_sfnt.read(data)
    return modern_type1.read(path, data)


def place_in_file(values):
    resource = values.get("resource", {})
    return [values.get("index"), resource.get("type"), resource.get("id")]


def compare(job):
    """What is compared of a file: faces, values, differences, complaints of the other tools."""
    path, found, expected, fontconfig = job
    try:
        expected = expected or expected_of(path)
    except Exception as error:  # whatever a font makes fontTools stumble over
        return 0, 0, [], f"{path}: {type(error).__name__}: {error}"
    if expected is None:
        if len(found) == 1 and "format" not in found[0]["properties"]:
            return 0, 1, [], None  # a font's name without a font to either
        return 0, 0, [], f"{path}: no other tool reads it"
    if len(expected) != len(found):
        return 0, 1, [(path, None, "number of records", len(found), len(expected), None)], None
    values, differences = 1, []
    places = [[place_in_file(values) for values in side]
              for side in ((record.get("properties", {}) for record in found), expected)]
    if places[0] != places[1]:
        differences.append((path, None, "order of faces", *places, None))
        found = [record for place in places[1] for number, record in enumerate(found)
                 if places[0][number] == place]
    for number, (record, wanted) in enumerate(zip(found, expected)):
        face = Face(path, record, wanted, fontconfig.get(number))
        face.compare()
        values += face.compared
        differences += face.differences
    return len(expected), values, differences, None


def gather(options, pool, folder):
    """The files of each kind."""
    limit = None if options.all else options.limit
    files = {kind: files_below(options.folders, extensions)
             for kind, extensions in KINDS.items()}
    if limit is not None:  # large ones take fontTools minutes
        files = {kind: [path for path in found if os.path.getsize(path) < LARGE]
                 for kind, found in files.items()}
    files = {kind: evenly(found, limit) for kind, found in files.items()}
    share = 1 if limit is None else min(1, limit / 1500)
    wanted = options.kind.split(",") if options.kind else [*KINDS, "mac"]
    if "collection" in wanted:
        files["collection"] += make_collections(files["sfnt"], folder,
                                                max(24, int(COLLECTION_MEMBERS * share)))
    for flavor in ("woff", "woff2"):
        if flavor in wanted:
            files[flavor] += make_woffs(pool, files["sfnt"], folder,
                                        max(10, int(WOFF_FILES * share)), flavor)
    sets = {kind: [(path, None) for path in files[kind]] for kind in wanted if kind in files}
    if "mac" in wanted:
        sets["mac"] = modern_mac.make(options.program, os.path.join(folder),
                                      files_below(options.folders, (".dfont",)))
    return sets


def shown(value):
    text = json.dumps(value, ensure_ascii=False, default=str)
    return text if len(text) <= 300 else text[:300] + "…"


def report(kind, results, totals):
    """Prints the differences of a kind. Answers how many have no reason."""
    reasons, unnamed, complaints = collections.Counter(), 0, []
    faces = values = 0
    for some_faces, some_values, differences, complaint in results:
        faces, values = faces + some_faces, values + some_values
        if complaint:
            complaints.append(complaint)
        for path, index, what, found, expected, reason in differences:
            if reason:
                reasons[reason] += 1
                continue
            unnamed += 1
            place = path if index is None else f"{path}[{index}]"
            print(f"{place}: {what}: found {shown(found)}, expected {shown(expected)}")
    for complaint in complaints:
        print(f"not compared: {complaint}")
    print(f"{kind}: {faces} faces, {values} values, {unnamed} differences, "
          f"{len(complaints)} files not compared")
    for reason, count in sorted(reasons.items()):
        print(f"    {count} times: {reason}")
    totals[kind] = faces
    return unnamed


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("program")
    parser.add_argument("folders", nargs="*", default=FOLDERS)
    parser.add_argument("--limit", type=int, default=150)
    parser.add_argument("--all", action="store_true")
    parser.add_argument("--at-least", type=int, default=20)
    parser.add_argument("--kind")
    parser.add_argument("--sound", action="store_true")
    options = parser.parse_args()
    logging.getLogger("fontTools").propagate = False  # what it thinks of fonts is no result here
    logging.getLogger("fontTools").addHandler(logging.NullHandler())
    wrong, totals = 0, {}
    with tempfile.TemporaryDirectory(prefix="oxparser-modern-") as folder, \
            multiprocessing.Pool(2) as pool:
        if options.sound:
            return modern_sound.check(options, scan, files_below, KINDS, pool)
        for kind, files in gather(options, pool, folder).items():
            paths = [path for path, _ in files]
            found = scan(options.program, paths)
            fontconfig = collections.defaultdict(dict)
            if kind in ("sfnt", "collection"):
                for (path, index), names in fontconfig_languages(paths).items():
                    fontconfig[path][index] = names
            jobs = ((path, found[path], expected, fontconfig[path])
                    for path, expected in files)
            wrong += report(kind, pool.imap(compare, jobs, 8), totals)
    total = sum(totals.values())
    print(f"{total} faces, {wrong} differences without a reason")
    if total < options.at_least:
        print(f"at least {options.at_least} faces were expected")
        return 1
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
