"""Which files the modern reading takes for fonts, and what it says of those that are none."""

import glob
import io
import os
import struct
import unittest
import zipfile

import sfnt
from program import ProgramTest

MARK = b"\xef\xbb\xbf"
FONT_NAMES = "ttf otf ttc otc woff woff2 pfb pfa t1 pfm afm dfont suit".split()
# Other programs use these endings too.
SHARED_NAMES = "pfa t1 pfm afm suit".split()
NOT_A_FONT, SOMETHING_ELSE, OTHER_KIND, LOST_FORK = 20000, 20001, 20002, 20502
FILES_WITHOUT_FONTS = 1500


def first(pattern):
    """A file of that kind which the test machine has."""
    found = sorted(glob.glob(pattern, recursive=True))
    return found[0] if found else None


REAL = {"ttf": ("truetype", "sfnt", "/usr/share/fonts/truetype/**/*.ttf"),
        "otf": ("cff", "sfnt", "/usr/share/fonts/opentype/**/*.otf"),
        "pfb": ("type1", "pfb", "/usr/share/fonts/**/*.pfb"),
        "pfm": ("metrics", "pfm", "/usr/share/texlive/**/urw/**/*.pfm"),
        "afm": ("metrics", "afm", "/usr/share/fonts/**/*.afm"),
        "woff2": ("truetype", "woff2", "/usr/share/**/*.woff2"),
        "woff": ("truetype", "woff", "/usr/share/**/*.woff")}


def zipped():
    file = io.BytesIO()
    with zipfile.ZipFile(file, "w") as archive:
        archive.writestr("readme.txt", "A font was here.")
    return file.getvalue()


# Bytes of files that bear a font's name, and the word that says what they are.
IMPOSTORS = [(b"", "empty"), (bytes(3000), "zero"),
             (b"A letter about fonts.\n" * 40, "text"),
             (b"<!DOCTYPE html>\n<html><body>404</body></html>\n", "HTML"),
             (zipped(), "archive"),
             (b"\x89PNG\r\n\x1a\n\0\0\0\rIHDR" + bytes(range(200)), "image"),
             (bytes((n * 73 + 19) % 251 for n in range(900)), "unknown")]


def pfa_of(pfb):
    """The same program without segments: its middle part in hexadecimal."""
    result, place = b"", 0
    while pfb[place + 1] != 3:
        kind, length = pfb[place + 1], struct.unpack_from("<L", pfb, place + 2)[0]
        part = pfb[place + 6:place + 6 + length]
        if kind == 2:
            digits = part.hex().encode()
            part = b"\n".join(digits[i:i + 64] for i in range(0, len(digits), 64)) + b"\n"
        result += part
        place += 6 + length
    return result


class ModernTest(ProgramTest):
    def scan(self, *paths, status=0):
        found, _, _ = self.records("scan", "--reading", "modern", *paths, status=status)
        return found

    def one(self, name, data):
        """The record of a file of that name."""
        found = self.scan(self.write(name, data))
        self.assertEqual(len(found), 1, name)
        return found[0]

    def codes(self, record, *kinds):
        return [d["code"] for d in record["diagnostics"] if not kinds or d["type"] in kinds]


class RecognitionTest(ModernTest):
    def test_names_decide_nothing(self):
        """The same record under any name but for the name, and a note where that says otherwise."""
        for kind, (form, container, pattern) in REAL.items():
            source = first(pattern)
            if source is None:
                continue
            with open(source, "rb") as file:
                data = file.read()
            plain = self.one(f"{kind}/font.{kind}", data)
            self.assertEqual([plain["properties"][key] for key in ("format", "container")],
                             [form, container], source)
            for name in [f"FONT.{kind.upper()}", "font", "font.txt", "font.bin",
                         *("font." + other for other in FONT_NAMES)]:
                with self.subTest(name, kind=kind):
                    found = self.one(os.path.join(kind, "named", name), data)
                    os.remove(self.path(kind, "named", name))
                    self.assertEqual(found["properties"], plain["properties"])
                    told = name.rpartition(".")[2].lower()
                    self.assertEqual(
                        self.codes(found).count(OTHER_KIND),
                        self.names_another_kind(told, kind), self.codes(found))
                    if self.names_another_kind(told, kind):
                        self.assertIn(f"{form} in {container}, named .{name.rpartition('.')[2]}",
                                      [each["text"] for each in found["diagnostics"]])

    def names_another_kind(self, told, kind):
        """An .otf may have either outlines, a .t1 either form, a .ttf no PostScript outlines."""
        allowed = {kind, *{"ttf": ["otf"], "pfb": ["t1"]}.get(kind, [])}
        return told in FONT_NAMES and told not in allowed

    def test_what_may_stand_before_a_program(self):
        source = first(REAL["pfb"][2])
        if source is None:
            self.skipTest("no PFB is installed")
        with open(source, "rb") as file:
            pfa = pfa_of(file.read())
        plain = self.one("a.pfa", pfa)["properties"]
        self.assertEqual([plain["format"], plain["container"]], ["type1", "pfa"])
        for start in (MARK, b"\n\n", b"\r\n \t\r\n", MARK + b"\n"):
            with self.subTest(start):
                self.assertEqual(self.one("b.pfa", start + pfa)["properties"], plain)
        self.assertEqual(self.scan(self.write("letter.txt", b"Dear all,\n" + pfa)), [])

    def test_versions_and_tables_of_sfnt_fonts(self):
        for version, form in [(b"true", "truetype"), (b"OTTO", "truetype"), (b"typ1", "truetype")]:
            data = version + sfnt.font()[4:]
            self.assertEqual(self.one("font", data)["properties"]["format"], form, version)
        strange = b"\x12\x34\x56\x78" + sfnt.font()[4:]
        self.assertEqual(self.scan(self.write("strange", strange)), [])
        named = self.one("strange.ttf", strange)
        self.assertEqual(named["properties"]["format"], "truetype")
        self.assertTrue(self.codes(named, "error", "warning"))
        no_table = b"\0\1\0\0\0\1" + bytes(6) + b"junk" + struct.pack(">3L", 0, 28, 4) + b"junk"
        self.assertEqual(self.scan(self.write("no table", no_table)), [])


class NoFontTest(ModernTest):
    def test_files_that_only_bear_the_name(self):
        for extension in FONT_NAMES:
            for data, word in IMPOSTORS:
                with self.subTest(extension, word=word):
                    record = self.one("file." + extension, data)
                    lost = word in ("empty", "zero") or extension not in SHARED_NAMES
                    diagnostic, = record["diagnostics"]
                    wanted = ("error", NOT_A_FONT) if lost else ("note", SOMETHING_ELSE)
                    if word == "empty" and extension in ("suit", "dfont"):
                        self.assertEqual(self.codes(record, "error"), [LOST_FORK])
                        continue
                    self.assertEqual((diagnostic["type"], diagnostic["code"]), wanted)
                    self.assertIn(word.lower(), diagnostic["text"].lower())
                    self.assertNotIn("FileName", record["attributes"])
                    self.assertNotIn("format", record["properties"])

    def test_the_same_under_other_names(self):
        for number, (data, _) in enumerate(IMPOSTORS):
            self.write(f"others/{number}", data)
            self.write(f"others/{number}.dat", data)
        self.assertEqual(self.scan("others"), [])

    def test_files_of_the_system(self):
        """Whatever else a machine holds is no font."""
        endings = tuple("." + name for name in FONT_NAMES)
        for top in ("/usr/share/doc", "/usr/include", "/usr/lib"):
            paths = []
            for folder, _, names in sorted(os.walk(top)):
                paths += [os.path.join(folder, name) for name in sorted(names)
                          if not name.lower().endswith(endings)]
                if len(paths) > 20 * FILES_WITHOUT_FONTS:
                    break
            paths = [p for p in paths[::max(1, len(paths) // FILES_WITHOUT_FONTS)]
                     if os.path.isfile(p) and not os.path.islink(p)]
            listed = self.write("list", "".join(p + "\0" for p in paths).encode())
            found = self.scan("--null", "--files-from", listed)
            self.assertEqual([f["file"] for f in found], [], top)
            self.assertTrue(len(paths) > 100 or not os.path.isdir(top), top)


if __name__ == "__main__":
    unittest.main()
