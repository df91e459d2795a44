#!/usr/bin/env python3
"""Compares the program's records of Mac fonts with what was put into them and with what other
readers find. FontForge, ufond, t1mac, macutils and hfsutils make the fonts and their containers;
containers that no tool makes are put together here.

OXPARSER_PROGRAM names the program, OXPARSER_MOVER the one that moves the records of a file.
"""

import json
import os
import shutil
import struct
import subprocess
import tempfile
import unittest

import fontforge
from fontTools.misc.macRes import ResourceReader
from fontTools.ttLib import TTFont

import compare_sfnt
import records as shared

PROGRAM = os.environ["OXPARSER_PROGRAM"]
MOVER = os.environ["OXPARSER_MOVER"]

FAMILY, POSTSCRIPT_NAME, FULL_NAME = "Palatino", "Palatino-BoldItalic", "Palatino Bold Italic"
PRINTER_FILE = "PalatBolIta"
COPYRIGHT = "Copyright (c) 1991 Adobe Systems Incorporated. All Rights Reserved."
VERSION = "001.002"


def run(*arguments, **options):
    done = subprocess.run(arguments, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, **options)
    if done.returncode != 0:
        raise AssertionError(f"{arguments}: {done.stdout.decode(errors='replace')}")
    return done.stdout


def read(path):
    with open(path, "rb") as file:
        return file.read()


def bdf(size):
    """A strike of that many pixels; FontForge rasterises none without a screen. Of few characters,
    so that forks fit into attributes."""
    lines = ["STARTFONT 2.1", f"FONT {POSTSCRIPT_NAME}", f"SIZE {size} 72 72",
             f"FONTBOUNDINGBOX 8 {size} 0 0", "STARTPROPERTIES 3", f"PIXEL_SIZE {size}",
             f"FONT_ASCENT {size}", "FONT_DESCENT 0", "ENDPROPERTIES", "CHARS 8"]
    for code in range(65, 73):
        lines += [f"STARTCHAR C{code}", f"ENCODING {code}", "SWIDTH 500 0", "DWIDTH 8 0",
                  f"BBX 8 {size} 0 0", "BITMAP", *[f"{code + row:02X}" for row in range(size)],
                  "ENDCHAR"]
    return "\n".join([*lines, "ENDFONT", ""])


def make_fonts(folder):
    """A font in every Mac form that FontForge writes, and as PFB and TTF for the other tools."""
    font = fontforge.font()
    font.encoding = "Mac"
    font.fontname, font.familyname, font.fullname = POSTSCRIPT_NAME, FAMILY, FULL_NAME
    font.weight, font.version, font.copyright = "Bold", VERSION, COPYRIGHT
    for code in range(33, 127):
        pen = font.createChar(code).glyphPen()
        pen.moveTo((50, 0))
        for step in range(1, 20):
            pen.lineTo((50 + 7 * step, 31 * step + code * (step % 3)))
        pen.lineTo((450, 0))
        pen.closePath()
        pen = None
        font[code].width = 500
    for size in (12, 24):
        file = os.path.join(folder, f"{size}.bdf")
        with open(file, "w", encoding="ascii") as out:
            out.write(bdf(size))
        font.importBitmaps(file)
    for name, strikes in [("Outline.dfont", ""), ("Outline.suit", ""), ("Printer.bin", "nfnt"),
                          ("Both.dfont", "sbit"), ("Font.pfb", ""), ("Font.ttf", "")]:
        font.generate(os.path.join(folder, name), strikes)
    os.rename(os.path.join(folder, "Printer.bmap.bin"), os.path.join(folder, "Strikes.bin"))


def macbinary_fork(data):
    """The resource fork of a MacBinary file."""
    data_length, fork_length = struct.unpack_from(">2L", data, 83)
    start = 128 + (data_length + 127) // 128 * 128
    return data[start:start + fork_length]


def resource_file(resources):
    """A resource file of (type, id, name, data)."""
    data, names, lists, types = b"", b"", b"", b""
    kinds = sorted({r[0] for r in resources})
    for kind in kinds:
        members = [r for r in resources if r[0] == kind]
        types += struct.pack(">4s2H", kind, len(members) - 1, 2 + 8 * len(kinds) + len(lists))
        for _, number, name, content in members:
            lists += struct.pack(">hHLL", number, len(names) if name else 0xFFFF, len(data), 0)
            names += bytes([len(name)]) + name if name else b""
            data += struct.pack(">L", len(content)) + content
    type_list = struct.pack(">H", len(kinds) - 1) + types + lists
    resource_map = struct.pack(">24x2H", 28, 28 + len(type_list)) + type_list + names
    header = struct.pack(">4L", 256, 256 + len(data), len(data), len(resource_map))
    return header.ljust(256, b"\0") + data + resource_map


def with_outline(family, number):
    """The family with one more entry: the plain outline of that resource."""
    longer = bytearray(family[:54] + struct.pack(">3h", 0, 0, number) + family[54:])
    for field in (16, 20, 24):
        place = struct.unpack_from(">L", longer, field)[0]
        struct.pack_into(">L", longer, field, place + 6 if place else 0)
    struct.pack_into(">H", longer, 52, struct.unpack_from(">H", longer, 52)[0] + 1)
    return bytes(longer)


def finder_info(kind=b"FFIL", creator=b"DMOV"):
    return kind + creator + bytes(24)


def apple_file(magic, *entries):
    """An AppleSingle or AppleDouble file of (id, bytes)."""
    place = 26 + 12 * len(entries)
    table, body = b"", b""
    for number, data in entries:
        table += struct.pack(">3L", number, place + len(body), len(data))
        body += data
    return struct.pack(">2L16xH", magic, 0x20000, len(entries)) + table + body


def afp_info():
    return struct.pack(">4s2LL", b"AFP\0", 0x10000, 0, 0x80000000) + finder_info() + bytes(12)


def finder_dat(name, short):
    return (bytes([len(name)]) + name.ljust(31, b"\0") + finder_info() + bytes(16)
            + short + b"\0")


def cap_info():
    return finder_info() + struct.pack(">H4B", 0, 0xFF, 0x10, 0xDA, 0) + bytes(262)


def places(fork):
    """Name of the place; files to write, by name; attributes of the file "Fonts"."""
    double = apple_file(0x00051607, (9, finder_info()), (2, fork))
    info_only = apple_file(0x00051607, (9, finder_info()))
    single = apple_file(0x00051600, (9, finder_info()), (2, fork), (1, b""))
    ethershare = struct.pack(">2LH22x", 0x03681093, 0, 0x0102) + finder_info()
    ancillary = bytes(8) + b"FFILDMOV" + bytes(238) + b"Fonts".ljust(32, b"\0") + bytes(14)
    return [
        ("attributes of macOS, copied", {},
         {"user.com.apple.ResourceFork": fork, "user.com.apple.FinderInfo": finder_info()}),
        ("AppleDouble sidecar", {"._Fonts": double}, {}),
        ("Netatalk 3", {"._Fonts": apple_file(0x00051607, (2, fork))},
         {"user.org.netatalk.Metadata": info_only}),
        ("streams of Samba", {},
         {"user.DosStream.AFP_Resource:$DATA": fork + b"\0",
          "user.DosStream.AFP_AfpInfo:$DATA": afp_info() + b"\0"}),
        ("streams of NTFS", {},
         {"user.AFP_Resource": fork, "user.AFP_AfpInfo": afp_info()}),
        ("Netatalk 2", {".AppleDouble/Fonts": double}, {}),
        ("A/UX", {"%Fonts": double}, {}),
        ("PC Exchange", {"RESOURCE.FRK/FONTS": fork,
                         "FINDER.DAT": finder_dat(b"Fonts", b"FONTS      ")}, {}),
        ("DAVE", {"resource.frk/Fonts": double}, {}),
        ("CAP", {".resource/Fonts": fork, ".finderinfo/Fonts": cap_info()}, {}),
        ("EtherShare", {".rsrc/Fonts": ethershare.ljust(512, b"\0") + fork}, {}),
        ("UShare", {".rsrc/Fonts": finder_info().ljust(512, b"\0") + fork}, {}),
        ("Basilisk II", {".rsrc/Fonts": fork, ".finf/Fonts": finder_info()}, {}),
        ("XINET", {".HSResource/Fonts": fork, ".HSancillary": ancillary}, {}),
        ("The Unarchiver", {"Fonts.rsrc": double}, {}),
        ("ProDOS", {"R.Fonts": double}, {}),
        ("AppleSingle", {"Fonts": single}, {}),
        ("AppleDouble", {"Fonts": double}, {}),
        ("unpacked archive", {"../__MACOSX/here/._Fonts": double}, {}),
    ]


class MacFontsTest(shared.FolderTest):
    """Fonts that are made once."""

    @classmethod
    def setUpClass(cls):
        cls.fonts = tempfile.mkdtemp(prefix="oxparser-mac-fonts-")
        cls.addClassCleanup(shutil.rmtree, cls.fonts)
        make_fonts(cls.fonts)

    def font(self, name):
        return os.path.join(self.fonts, name)

    def records(self, *names):
        return [record for path in names for record in shared.scan(PROGRAM, path).get(path, [])]

    def without_place(self, records):
        """The records without what tells where their file is."""
        result = json.loads(json.dumps(records))
        for record in result:
            for key in ("file", "printerFontPaths"):
                del record[key]
            for key in ("FileName", "FontFilePath"):
                record["attributes"].pop(key, None)
        return result

    def outline_matches(self, record, data):
        """Compares a record with what fontTools reads from its 'sfnt' resource."""
        self.assertEqual(record["attributes"]["Postscriptname"], POSTSCRIPT_NAME)
        comparison = shared.Comparison()
        with TTFont(self.write("resource.ttf", data), lazy=True) as font:
            compare_sfnt.compare_font(comparison, record["file"], record, font, data, 0, False)
        self.assertEqual(comparison.wrong, [])

    def fork_of(self, name):
        return macbinary_fork(read(self.font(name)))

    def resources_of(self, fork):
        return ResourceReader(self.write("fork.rsrc", fork))


class ContentsTest(MacFontsTest):
    def test_outlines_of_a_dfont_and_of_a_suitcase(self):
        dfont = self.records(self.font("Outline.dfont"))
        suitcase = self.records(self.font("Outline.suit"))
        self.assertEqual([len(dfont), len(suitcase)], [1, 1])
        for record, fork in [(dfont[0], read(self.font("Outline.dfont"))),
                             (suitcase[0], self.fork_of("Outline.suit"))]:
            self.outline_matches(record, self.resources_of(fork)["sfnt"][0].data)

    def test_a_dfont_of_ufond(self):
        run("ufond", "-dfont", self.font("Font.ttf"), cwd=self.folder)
        run("ufond", "-macbin", self.font("Font.ttf"), cwd=self.folder)
        made = [self.path(name) for name in os.listdir(self.folder)]
        self.assertEqual(len(made), 2)
        for file in made:
            found = self.records(file)
            self.assertEqual(len(found), 1, file)
            self.outline_matches(found[0], read(self.font("Font.ttf")))

    def test_strikes_in_a_dfont_are_taken_for_missing_outlines(self):
        fork = ResourceReader(self.font("Both.dfont"))
        family = fork["FOND"][0].data
        entries = struct.unpack_from(">H", family, 52)[0] + 1
        sizes = [struct.unpack_from(">h", family, 54 + 6 * i)[0] for i in range(entries)]
        found = self.records(self.font("Both.dfont"))
        texts = [[d["text"] for d in record["diagnostics"]] for record in found]
        self.assertEqual(texts.count(["Missing sfnt resource"]), entries - sizes.count(0))
        self.assertLess(sizes.count(0), entries)

    def test_strikes_and_their_printer_font(self):
        """The names are the printer font's with it, else what its file would be called is named."""
        suitcase = self.path("Strikes")
        shutil.copy(self.font("Strikes.bin"), suitcase)
        fork = self.resources_of(self.fork_of("Strikes.bin"))
        alone = self.records(suitcase)
        self.assertEqual(len(alone), 1)
        attributes = alone[0]["attributes"]
        self.assertEqual([(d["type"], d["code"], d["text"]) for d in alone[0]["diagnostics"]],
                         [("error", 15310, "Missing Printer Font:  " + PRINTER_FILE)])
        self.assertEqual(alone[0]["printerFontPaths"], [self.path(PRINTER_FILE)])
        self.assertEqual(attributes["Postscriptname"], POSTSCRIPT_NAME)
        self.assertEqual(attributes["Foundry"], "Unknown")
        self.assertNotIn("Fullname", attributes)
        first = min(fork["NFNT"], key=lambda r: len(r.data))
        self.assertEqual([attributes["FntSize"], attributes["FontId"], attributes["Size"]],
                         [str(len(first.data)), str(first.id), "12"])
        self.assertEqual(alone[0]["resources"],
                         [{"type": "NFNT", "id": first.id},
                          {"type": "FOND", "id": fork["FOND"][0].id}])

        forms = {"FontForge's": read(self.font("Printer.bin"))}
        for form in ("macbinary", "applesingle", "appledouble", "binhex"):
            file = self.path("made")
            run("t1mac", "--" + form, "-n", PRINTER_FILE, self.font("Font.pfb"), file)
            forms[form] = read(file)
        for form, data in forms.items():
            with self.subTest(form):
                self.write(PRINTER_FILE, data)
                found = self.records(suitcase)[0]
                self.assertEqual(found["diagnostics"], [])
                self.assertEqual(found["attributes"],
                                 attributes | {"Fullname": FULL_NAME, "Version": VERSION,
                                               "Copyright": COPYRIGHT, "Foundry": "Adobe"})


class PlacesTest(MacFontsTest):
    def same_as_expected(self, file):
        self.assertEqual(self.without_place(self.records(file)), self.expected)

    def test_every_place(self):
        """The records of one suitcase are the same wherever its fork is."""
        for font in ("Strikes.bin", "Outline.suit"):
            fork = self.fork_of(font)
            self.expected = self.without_place(self.records(self.font(font)))
            self.assertEqual(len(self.expected), 1)
            for place, files, attributes in places(fork):
                with self.subTest(place, font=font):
                    home = os.path.join("places", font, place)
                    file = self.write(home + "/here/Fonts", b"")
                    for name, data in files.items():
                        self.write(home + "/here/" + name, data)
                    try:
                        for name, data in attributes.items():
                            os.setxattr(file, name, data)
                    except OSError as error:
                        self.skipTest(f"attributes of {len(fork)} bytes: {error}")
                    self.same_as_expected(file)

    def hfs_image(self, font, *more):
        """A disk image with the font on it as "Fonts"; `more` is done while it is at hand."""
        image = self.path("image")
        run("truncate", "-s", "1600K", image)
        for arguments in (["hformat", "-l", "Fonts", image], ["hmount", image],
                          ["hcopy", "-m", self.font(font), ":Fonts"], *more, ["humount"]):
            run(*arguments, env=dict(os.environ, HOME=self.folder))
        self.expected = self.without_place(self.records(self.font(font)))
        return image

    def test_containers_of_macutils_and_hfsutils(self):
        self.hfs_image("Strikes.bin", ["hcopy", "-m", ":Fonts", self.path("back.bin")],
                       ["hcopy", "-b", ":Fonts", self.path("back.hqx")])
        self.same_as_expected(self.path("back.bin"))
        self.same_as_expected(self.path("back.hqx"))
        run("hexbin", self.path("back.hqx"), cwd=self.folder)
        self.same_as_expected(self.path("Fonts.bin"))
        os.mkdir(self.path(".AppleDouble"))
        run("hexbin", "-a", self.path("back.hqx"), cwd=self.folder)
        self.assertEqual(read(self.path("Fonts")), b"")
        self.same_as_expected(self.path("Fonts"))

    def mounted(self, kind, image):
        folder = self.path("mounted")
        os.mkdir(folder)
        done = subprocess.run(["mount", "-o", "loop", "-t", kind, image, folder],
                              stderr=subprocess.PIPE)
        if done.returncode != 0:
            self.skipTest(done.stderr.decode().strip())
        self.addCleanup(run, "umount", folder)
        return folder

    def is_reached(self, file):
        """A volume tells the type of its files, but most kernels walk to no fork below a file. What
        is left is a sidecar on the volume itself."""
        if not os.path.exists(file + "/rsrc"):
            self.assertEqual(self.records(file), [])
            self.write(os.path.join(os.path.dirname(file), "._" + os.path.basename(file)),
                       apple_file(0x00051607, (2, self.fork_of("Outline.suit"))))
        self.expected = self.without_place(self.records(self.font("Outline.suit")))
        self.same_as_expected(file)

    def test_a_mounted_hfs_image(self):
        file = os.path.join(self.mounted("hfs", self.hfs_image("Outline.suit")), "Fonts")
        self.assertEqual(os.getxattr(file, "hfs.type"), b"FFIL")
        self.is_reached(file)

    def test_a_name_that_a_volume_cuts(self):
        """HFS keeps 31 letters of a name and says nothing: a copy's fork would be lost."""
        image = self.path("image")
        run("truncate", "-s", "1600K", image)
        run("hformat", "-l", "Fonts", image)
        volume = self.mounted("hfs", image)
        for length, outcome in ((29, "copied"), (30, "failed")):
            name = "N" * length
            self.write(f"here/{name}", b"")
            self.write(f"here/._{name}", apple_file(0x00051607, (9, finder_info()),
                                                    (2, self.fork_of("Outline.suit"))))
            done = subprocess.run([PROGRAM, "import", "--format", "csv", self.path("here", name),
                                   "--to", volume], stdout=subprocess.PIPE, check=False)
            self.assertIn(f"\n{outcome},", done.stdout.decode().replace("\r", ""))
            copies = [f for _, _, names in os.walk(volume) for f in names if "N" in f]
            self.assertEqual(sorted(copies), sorted(["N" * 29, "._" + "N" * 29]))

    def test_a_mounted_hfs_plus_image(self):
        if shutil.which("mkfs.hfsplus") is None:
            self.skipTest("mkfs.hfsplus is not installed")
        image = self.path("image")
        run("truncate", "-s", "2M", image)
        run("mkfs.hfsplus", image)
        file = os.path.join(self.mounted("hfsplus", image), "Fonts")
        self.write(file, b"")
        os.setxattr(file, "osx.com.apple.FinderInfo", finder_info())
        self.is_reached(file)


class MoveTest(MacFontsTest):
    def fondu(self, suitcase):
        """The names of the files that fondu makes of it."""
        made = tempfile.mkdtemp(dir=self.folder)
        run("fondu", "-force", suitcase, cwd=made)
        return sorted(os.listdir(made))

    def family(self):
        """A suitcase of FontForge's strikes and outline in one family, which it writes apart."""
        strikes = self.resources_of(self.fork_of("Strikes.bin"))
        family = strikes["FOND"][0]
        outline = self.resources_of(self.fork_of("Outline.suit"))["sfnt"][0]
        parts = [(b"NFNT", r.id, b"", r.data) for r in strikes["NFNT"]]
        parts += [(b"sfnt", outline.id, b"", outline.data),
                  (b"FOND", family.id, FAMILY.encode(), with_outline(family.data, outline.id))]
        return apple_file(0x00051600, (9, finder_info()), (2, resource_file(parts)), (1, b""))

    def test_a_written_suitcase_is_the_same_to_every_reader(self):
        strikes = ["Palatino-12.bdf", "Palatino-24.bdf"]
        for data, made in [(read(self.font("Strikes.bin")), strikes),
                           (self.family(), [*strikes, "PalatinoBoldItalic.ttf"])]:
            source, target = self.write("Source", data), tempfile.mkdtemp(dir=self.folder)
            printer = self.write(PRINTER_FILE, read(self.font("Printer.bin")))
            told = run(MOVER, source, target).decode().split()
            self.assertEqual(set(told), {"copied"})
            folder, = (folder for folder, _, files in os.walk(target) if PRINTER_FILE in files)
            self.assertEqual(read(os.path.join(folder, PRINTER_FILE)), read(printer))
            suitcase, = (name for name in os.listdir(folder)
                         if name not in (PRINTER_FILE, "Source"))
            suitcase = os.path.join(folder, suitcase)
            found = self.without_place(self.records(suitcase))
            self.assertEqual(found, self.without_place(self.records(source)))
            self.assertEqual(len(found), len(made) - 1, "one for both strikes, one for the outline")
            # fondu knows MacBinary by the name alone, and so does FontForge.
            named = self.path("named.bin")
            shutil.copy(suitcase, named)
            self.assertEqual(self.fondu(named), made)
            if len(made) > len(strikes):
                opened = fontforge.open(named)
                self.assertEqual([opened.fontname, opened.copyright],
                                 [POSTSCRIPT_NAME, COPYRIGHT])
                opened.close()


if __name__ == "__main__":
    unittest.main()
