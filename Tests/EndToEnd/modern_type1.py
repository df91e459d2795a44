"""What the modern reading must find in Type 1 programs (by t1disasm) and in metrics files (AFM by
fontTools and by its lines, PFM by the structures of Windows)."""

import hashlib
import os
import re
import struct
import subprocess

from fontTools import agl, t1Lib

import modern_texts as texts
from modern_languages import languages

ESCAPES = {"n": "\n", "r": "\r", "t": "\t", "b": "\b", "f": "\f"}
STARTS = ("%!PS-AdobeFont", "%!FontType", "%!PS-Adobe-3.0 Resource-Font")
PROGRAMS, METRICS = (".pfb", ".pfa", ".t1"), (".pfm", ".afm", ".inf")


def unescaped(text, start):
    """The PostScript string that begins behind this parenthesis."""
    result, depth, place = [], 1, start
    while place < len(text):
        char = text[place]
        place += 1
        if char == "\\":
            octal = re.compile("[0-7]{1,3}").match(text, place)
            if octal:
                result.append(chr(int(octal[0], 8) & 0xFF))
                place = octal.end()
            elif text[place:place + 2] == "\r\n":
                place += 2
            else:
                if text[place:place + 1] not in ("\n", "\r"):
                    result.append(ESCAPES.get(text[place:place + 1], text[place:place + 1]))
                place += 1
            continue
        depth += (char == "(") - (char == ")")
        if depth == 0:
            break
        result.append(char)
    return texts.eight_bit("".join(result).encode("latin-1"))


def string(text, key):
    found = re.search(rf"/{key}\s*\(", text)
    return texts.trimmed(unescaped(text, found.end())) or None if found else None


def word(text, key, pattern=r"[^\s()<>\[\]{}/%]+"):
    found = re.search(rf"/{key}(?![A-Za-z0-9])\s*({pattern})", text)
    return found[1] if found else None


def number(text):
    try:
        return texts.rounded(float(text))
    except (TypeError, ValueError):
        return None


def disassembled(path):
    """The clear text and the part that was encrypted, None when t1disasm gives up."""
    done = subprocess.run(["t1disasm", path], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          check=False)
    clear, _, private = done.stdout.decode("latin-1").partition("currentfile eexec")
    return (clear, private) if done.returncode == 0 and clear else None


def glyph_names(private):
    start = private.find("/CharStrings")
    return re.findall(r"^/(\S+) \{", private[start:], re.M) if start >= 0 else []


def names_of(path, private):
    """Of the glyphs; t1disasm loses track in some programs, where fontTools, slower, does not."""
    names = glyph_names(private)
    told = re.search(r"/CharStrings (\d+)", private)
    if told and len(names) < int(told[1]):
        font = t1Lib.T1Font(path)
        font.parse()
        return list(font.font["CharStrings"])
    return names


def encoding(clear):
    found = re.search(r"/Encoding\s+(\w+)", clear)
    if found and found[1] in ("StandardEncoding", "ISOLatin1Encoding"):
        return found[1]
    return "custom" if re.search(r"/Encoding\b", clear) else None


def characters_of(names):
    found = (agl.toUnicode(name) for name in names)
    return {ord(text) for text in found if len(text) == 1}


def covering(names):
    characters = characters_of(names)
    return {"codepoints": len(characters), "coverage": texts.ranges(characters) or None,
            "languages": languages(characters), "#characters": characters}


def multiple_master(clear):
    types = re.search(r"/BlendAxisTypes\s*\[([^\]]*)\]", clear)
    maps = re.search(r"/BlendDesignMap\s*\[(.*?)\]\s*def", clear, re.S)
    if not types or not maps:
        return None
    axes = []
    for name, axis in zip(re.findall(r"/(\S+)", types[1]),
                          re.findall(r"\[((?:\s*\[[^\]]*\])+)\s*\]", maps[1])):
        users = [float(a) for a in re.findall(r"\[\s*(\S+)\s+\S+\s*\]", axis)]
        axes.append({"name": name, "min": texts.rounded(min(users)),
                     "max": texts.rounded(max(users))})
    return axes or None


def program(path, data):
    parts = disassembled(path)
    if parts is None:
        return None
    clear, private = parts
    clear = "\n".join(line for line in re.split(r"\r\n|\r|\n", clear)
                      if not line.startswith("%") or "(" in line and not line.startswith("%"))
    names = names_of(path, private)
    angle, fixed = number(word(clear, "ItalicAngle")), word(clear, "isFixedPitch")
    own = encoding(clear)
    found = re.search(r"/FontName\s*/([^\s()<>\[\]{}/%]+)", clear)
    name = texts.eight_bit(found[1].encode("latin-1")) if found else string(clear, "FontName")
    notice = string(clear, "Copyright") or string(clear, "Notice")
    values = {
        "format": "type1", "container": "pfb" if data[1:2] == b"\x01" else "pfa",
        "family": string(clear, "FamilyName"), "fullName": string(clear, "FullName"),
        "postscriptName": name, "version": string(clear, "version"), "copyright": notice,
        "weight": texts.weight_of_word(string(clear, "Weight")),
        "italic": None if angle is None else angle != 0,
        "monospace": {"true": True, "false": False}.get(fixed), "italicAngle": angle,
        "foundry": texts.foundry(None, None, notice), "glyphs": len(names),
        "encoding": own, "axes": multiple_master(clear), **covering(names)}
    if not names:  # a font that changes another one
        for key in ("glyphs", "codepoints", "languages"):
            del values[key]
    # Space alone does not make a font one of text.
    others = characters_of(n for n in names if n != "space")
    values["symbol"] = own == "custom" and not others if names else None
    values["#Type"] = "PFB" if values["container"] == "pfb" else None
    values["#names"] = names
    values["#partners"] = partners(path, METRICS)
    values["metrics"] = values["#partners"] or None
    values["#FingerPrint"] = hashlib.md5(data).hexdigest()
    return texts.without_none(values)


def partners(path, extensions):
    """Files beside it with its stem and one of these extensions, in the extensions' order."""
    folder, name = os.path.split(path)
    stem = os.path.splitext(name)[0].lower()
    found = []
    for other in os.listdir(folder):
        base, extension = os.path.splitext(other.lower())
        if base == stem and extension in extensions and other != name:
            found.append((extensions.index(extension), other))
    return [os.path.join(folder, other) for _, other in sorted(found)]


def afm(path, data):
    """By its lines, since fontTools' reader takes no file with unknown ones."""
    lines = [texts.eight_bit(line) for line in re.split(rb"\r\n|\r|\n", data)]
    words = {}
    for line in lines:
        if line.startswith("StartCharMetrics"):
            break
        key, _, value = line.strip().partition(" ")
        words.setdefault(key, texts.trimmed(value.strip()) or None)
    names = [m[1] for line in lines if re.match(r"\s*CH?\s", line)
             for m in [re.search(r";\s*N\s+(\S+)", line)] if m]
    count = sum(1 for line in lines if re.match(r"\s*CH?\s+\S+\s*;", line))
    pairs = sum(1 for line in lines if re.match(r"\s*KP[XYH]?\s", line))
    angle = number(words.get("ItalicAngle"))
    values = {
        "format": "metrics", "container": "afm", "family": words.get("FamilyName"),
        "fullName": words.get("FullName"), "postscriptName": words.get("FontName"),
        "version": words.get("Version"), "copyright": words.get("Notice"),
        "weight": texts.weight_of_word(words.get("Weight")),
        "italic": None if angle is None else angle != 0,
        "monospace": {"true": True, "false": False}.get((words.get("IsFixedPitch") or "").lower()),
        "italicAngle": angle, "foundry": texts.foundry(None, None, words.get("Notice")),
        "glyphs": count,
        "kerningPairs": pairs if any(x.strip().startswith("StartKernPairs") for x in lines)
        else None,
        "#names": names, "#FingerPrint": hashlib.md5(data).hexdigest(),
        "outline": partners(path, PROGRAMS) or None}
    return texts.without_none(values)


def text_at(data, place):
    if not 0 < place < len(data):
        return None
    return texts.trimmed(texts.eight_bit(data[place:].split(b"\0")[0])) or None


def pfm(path, data):
    def value(form, place):
        return struct.unpack_from("<" + form, data, place)[0] if place + 4 <= len(data) else 0
    first, last = data[95], data[96]
    extension = value("H", 117)
    pairs = value("L", 131) if extension >= 18 else 0
    driver = value("L", 139) if extension >= 26 else 0
    notice = texts.trimmed(texts.eight_bit(data[6:66].split(b"\0")[0])) or None
    values = {
        "format": "metrics", "container": "pfm", "family": text_at(data, value("L", 105)),
        "postscriptName": text_at(data, driver), "copyright": notice,
        "weight": value("H", 83), "italic": bool(data[80]),
        "foundry": texts.foundry(None, None, notice), "glyphs": last - first + 1,
        "kerningPairs": value("H", pairs) if pairs else None,
        "#FingerPrint": hashlib.md5(data).hexdigest(),
        "outline": partners(path, PROGRAMS) or None}
    return texts.without_none(values)


def read(path, data):
    """Properties of the one face; None when the tools give up."""
    start = data.lstrip(b"\xef\xbb\xbf \t\r\n")
    if start.startswith(b"StartFontMetrics"):
        return [afm(path, data)]
    if data[:2] == b"\x00\x01" and b"%!" not in data[:64]:
        return [pfm(path, data)]
    if data[1:2] == b"\x01" or start[:40].decode("latin-1").startswith(STARTS):
        found = program(path, data)
        return None if found is None else [found]
    return None
