"""Mac fonts in every container that compare_mac.py makes, and what the modern reading must find."""

import hashlib
import io
import os
import shutil
import struct
import tempfile

from fontTools.misc.macRes import ResourceReader

import modern_sfnt
import modern_texts as texts
import modern_type1

# What compare_mac.py calls a place and what the program calls it.
PLACES = {
    "attributes of macOS, copied": "copied attribute of macOS", "Netatalk 3": "AppleDouble sidecar",
    "streams of Samba": "stream of Samba", "streams of NTFS": "stream of NTFS",
    "Netatalk 2": ".AppleDouble folder", "A/UX": "AppleDouble sidecar of A/UX",
    "UShare": "EtherShare", "The Unarchiver": "file named .rsrc",
    "ProDOS": "AppleDouble sidecar of ProDOS", "AppleSingle": "AppleSingle file",
    "AppleDouble": "AppleDouble file", "unpacked archive": "__MACOSX folder"}
T1MAC_FORMS = {"macbinary": "MacBinary file", "applesingle": "AppleSingle file",
               "appledouble": "AppleDouble file", "binhex": "BinHex file"}


def pascal(data, place):
    return data[place + 1:place + 1 + data[place]]


class Family:
    """A FOND resource."""

    def __init__(self, resource):
        data = self.data = resource.data
        self.name = (resource.name or b"").decode("mac_roman") if isinstance(
            resource.name, bytes) else resource.name or ""
        count = struct.unpack_from(">h", data, 52)[0] + 1
        self.entries = [struct.unpack_from(">3h", data, 54 + 6 * i) for i in range(count)]
        self.table = struct.unpack_from(">L", data, 24)[0]
        self.strings = []
        if self.table:
            place = self.table + 58
            for _ in range(struct.unpack_from(">H", data, place)[0]):
                self.strings.append(pascal(data, place + 2 + sum(len(s) + 1 for s in self.strings)))

    def postscript_name(self, style):
        if not self.strings or not self.strings[0]:
            return None
        index = self.data[self.table + 10 + style]
        pieces = self.strings[index - 1] if 1 < index <= len(self.strings) else b""
        return b"".join([self.strings[0], *(self.strings[i - 1] for i in pieces)]).decode(
            "mac_roman")

    def of_postscript(self):
        return bool(self.strings and self.strings[0]) and all(size for size, _, _ in self.entries)


def glyphs_of_strike(data):
    first, last = struct.unpack_from(">2h", data, 2)
    height, table = struct.unpack_from(">2H", data, 14)
    if height == 0 or struct.unpack_from(">H", data, 24)[0] == 0:
        return 0
    place = 16 + 2 * table
    entries = struct.unpack_from(">%dh" % (last - first + 3), data, place)
    return sum(entry != -1 for entry in entries)


def resource_value(kind, resource):
    name = resource.name
    if isinstance(name, bytes):
        name = name.decode("mac_roman")
    return texts.without_none({"type": kind, "id": resource.id, "name": name or None})


def strike(resource, kind, family, entry, printer):
    size, style = entry[:2]
    values = {"format": "bitmap", "family": family.name,
              "postscriptName": family.postscript_name(style), "weight": 700 if style & 1 else 400,
              "italic": bool(style & 2), "glyphs": glyphs_of_strike(resource.data), "size": size,
              "printerFonts": printer}
    values["#Type"] = "T1" if family.of_postscript() else "Bi"
    return values


def outline(resource):
    data = resource.data
    values, = modern_sfnt.read(data)
    return values


def printer_font(posts):
    """By t1disasm, which reads the same segments in a PFB."""
    pfb, program = b"", b""
    for post in sorted(posts, key=lambda r: r.id):
        kind, data = post.data[0], post.data[2:]
        program += post.data
        if kind in (1, 2):
            pfb += bytes([0x80, kind]) + struct.pack("<L", len(data)) + data
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "program.pfb")
        with open(path, "wb") as file:
            file.write(pfb + b"\x80\x03")
        values = modern_type1.program(path, pfb)
    return values | {"#Type": "T1Outline", "#FingerPrint": hashlib.md5(program).hexdigest()}


def faces(path, fork, place, printer=None):
    """The faces of a resource file in the order in which hosts receive them."""
    reader = ResourceReader(io.BytesIO(fork))
    resources = {kind: {r.id: r for r in reader[kind]} for kind in
                 ("FOND", "sfnt", "NFNT", "FONT", "POST") if kind in reader}
    container = "suitcase" if place else "dfont"
    found, taken = [], set()
    for family in map(Family, reader["FOND"] if "FOND" in reader else []):
        for entry in family.entries:
            kinds = ("sfnt",) if entry[0] == 0 else ("NFNT", "FONT", "sfnt")
            kind = next((k for k in kinds if entry[2] in resources.get(k, {})), None)
            if kind is None or (kind, entry[2]) in taken:
                continue
            taken.add((kind, entry[2]))
            resource = resources[kind][entry[2]]
            values = (outline(resource) if kind == "sfnt"
                      else strike(resource, kind, family, entry, printer))
            found.append((kind, resource, values))
    if "sfnt" in resources:
        found += [("sfnt", r, outline(r)) for r in reader["sfnt"] if ("sfnt", r.id) not in taken]
    if "POST" in resources:
        container = "printer-font"
        first = resources["POST"][501]
        metrics = modern_type1.partners(path, modern_type1.METRICS) or None
        found.append(("POST", first, printer_font(reader["POST"]) | {"metrics": metrics}))
    result = []
    for kind, resource, values in found:
        values = values | {"container": container, "fork": place,
                           "resource": resource_value(kind, resource)}
        values.setdefault("#FingerPrint", hashlib.md5(resource.data).hexdigest())
        result.append(texts.without_none(values))
    return result


class Maker:
    """Puts fonts into a folder; each file with what it holds."""

    def __init__(self, folder):
        import compare_mac
        self.made, self.folder, self.mac = [], folder, compare_mac
        self.fonts = os.path.join(folder, "fonts")
        os.mkdir(self.fonts)
        compare_mac.make_fonts(self.fonts)

    def add(self, path, fork, place, printer=None):
        self.made.append((path, faces(path, fork, place, printer)))

    def font(self, name):
        return os.path.join(self.fonts, name)

    def fork(self, name):
        return self.mac.macbinary_fork(self.mac.read(self.font(name)))

    def write(self, name, data):
        path = os.path.normpath(os.path.join(self.folder, name))
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as file:
            file.write(data)
        return path

    def own(self):
        """What FontForge and ufond write."""
        for name in ("Outline.dfont", "Both.dfont"):
            self.add(self.font(name), self.mac.read(self.font(name)), None)
        # FontForge writes the printer font's own name into the folder of the strikes.
        for name in ("Outline.suit", "Printer.bin", "Strikes.bin"):
            self.add(self.font(name), self.fork(name), "MacBinary file")
        folder = os.path.join(self.folder, "ufond")
        os.mkdir(folder)
        for form in ("-dfont", "-macbin"):
            self.mac.run("ufond", form, self.font("Font.ttf"), cwd=folder)
        for name in os.listdir(folder):
            path = os.path.join(folder, name)
            data = self.mac.read(path)
            dfont = name.endswith(".dfont")
            self.add(path, data if dfont else self.mac.macbinary_fork(data),
                     None if dfont else "MacBinary file")

    def printer_fonts(self):
        """Beside the strikes that they belong to, in each form that t1mac writes."""
        for form, place in T1MAC_FORMS.items():
            folder = os.path.join(self.folder, "t1mac " + form)
            os.mkdir(folder)
            file = os.path.join(folder, self.mac.PRINTER_FILE)
            self.mac.run("t1mac", "--" + form, "-n", self.mac.PRINTER_FILE, self.font("Font.pfb"),
                         file)
            plain = os.path.join(folder, "as MacBinary")
            self.mac.run("t1mac", "--macbinary", "-n", self.mac.PRINTER_FILE,
                         self.font("Font.pfb"), plain)
            self.add(file, self.mac.macbinary_fork(self.mac.read(plain)), place)
            os.remove(plain)
            strikes = self.write(os.path.join(folder, "Strikes"),
                                 self.mac.read(self.font("Strikes.bin")))
            self.add(strikes, self.fork("Strikes.bin"), "MacBinary file", [file])

    def places(self):
        """Every place that keeps a fork."""
        for font in ("Strikes.bin", "Outline.suit"):
            fork = self.fork(font)
            for place, files, attributes in self.mac.places(fork):
                home = os.path.join("places", font, place.replace("/", "-"))
                file = self.write(home + "/here/Fonts", b"")
                for name, data in files.items():
                    self.write(home + "/here/" + name, data)
                try:
                    for name, data in attributes.items():
                        os.setxattr(file, name, data)
                except OSError:  # this file system keeps no attribute of that size
                    continue
                self.add(file, fork, PLACES.get(place, place))

    def disk_image(self):
        """What hfsutils copy from a disk image and macutils unpack."""
        folder = os.path.join(self.folder, "hfs")
        os.mkdir(folder)
        image = os.path.join(folder, "image")
        back = [os.path.join(folder, name) for name in ("back.bin", "back.hqx")]
        for arguments in (["truncate", "-s", "1600K", image], ["hformat", "-l", "Fonts", image],
                          ["hmount", image], ["hcopy", "-m", self.font("Strikes.bin"), ":Fonts"],
                          ["hcopy", "-m", ":Fonts", back[0]], ["hcopy", "-b", ":Fonts", back[1]],
                          ["humount"], ["hexbin", back[1]]):
            self.mac.run(*arguments, env=dict(os.environ, HOME=folder), cwd=folder)
        os.remove(image)
        fork = self.fork("Strikes.bin")
        self.add(back[0], fork, "MacBinary file")
        self.add(back[1], fork, "BinHex file")
        self.add(os.path.join(folder, "Fonts.bin"), fork, "MacBinary file")

    def mixed(self):
        """Strikes and an outline in one family."""
        test = self.mac.MoveTest("family")
        test.fonts = self.fonts
        test.folder = tempfile.mkdtemp(dir=self.folder)
        data = test.family()
        shutil.rmtree(test.folder)
        start, length = struct.unpack_from(">2L", data, 26 + 12 + 4)
        self.add(self.write("mixed/Family", data), data[start:start + length], "AppleSingle file")


def make(program, folder, system_files):
    """(path, expected faces) of fonts that are made there, and of files of the system."""
    os.environ.setdefault("OXPARSER_PROGRAM", program)
    os.environ.setdefault("OXPARSER_MOVER", "")
    try:
        maker = Maker(folder)
    except (ImportError, FileNotFoundError) as missing:
        print(f"Mac fonts are skipped: {missing}")
        return []
    for step in (maker.own, maker.printer_fonts, maker.places, maker.disk_image, maker.mixed):
        try:
            step()
        except FileNotFoundError as missing:
            print(f"{step.__name__} is skipped: {missing}")
    for path in system_files:
        with open(path, "rb") as file:
            maker.add(path, file.read(), None)
    return maker.made
