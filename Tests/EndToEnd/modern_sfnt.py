"""What the modern reading must find in a font of sfnt form, by fontTools."""

import array
import datetime
import hashlib
import io
import struct
import sys

from fontTools.ttLib import TTFont

import modern_texts as texts
from modern_languages import languages

NAME_IDS = {"family": 1, "style": 2, "fullName": 4, "postscriptName": 6, "version": 5,
            "uniqueId": 3, "copyright": 0, "trademark": 7, "manufacturer": 8, "designer": 9,
            "description": 10, "vendorUrl": 11, "designerUrl": 12, "license": 13,
            "licenseUrl": 14}
CMAPS = [(3, 10), (0, 6), (0, 4), (3, 1), (0, 3), (0, 2), (0, 1), (0, 0)]
EPOCH = datetime.datetime(1904, 1, 1)
CONTAINERS = {b"wOFF": "woff", b"wOF2": "woff2", b"ttcf": "collection"}


def checksum(data):
    words = array.array("I", data + b"\0" * (-len(data) % 4))
    if sys.byteorder == "little":
        words.byteswap()
    return sum(words) & 0xFFFFFFFF


def table(font, tag):
    """A table's bytes, of those that a file of WOFF2 form must put together first too."""
    if tag not in font.reader:
        return None
    return font.reader[tag]


def field(data, place, form):
    """A value of a table, None when the table ends before it."""
    if data is None or len(data) < place + struct.calcsize(form):
        return None
    return struct.unpack_from(form, data, place)[0]


def names_of(name):
    chosen = texts.chosen_names(name or b"")
    values = {key: chosen.get(number) for key, number in NAME_IDS.items()}
    if 16 in chosen:
        values["typographicFamily"], values["typographicStyle"] = chosen[16], chosen.get(17)
    return values, chosen


def all_names(name):
    """Every record; None for a text that no codec of Python's reads."""
    return [{"platform": p, "encoding": e, "language": lang, "id": number,
             "text": texts.decoded(p, e, lang, raw)}
            for p, e, lang, number, raw in texts.name_records(name or b"")]


def embedding(os2):
    fs_type, version = field(os2, 8, ">H"), field(os2, 0, ">H")
    if fs_type is None:
        return {}
    levels = [name for bit, name in [(2, "restricted"), (4, "preview"), (8, "editable")]
              if fs_type & bit] or ["installable"]
    values = {"embedding": levels[-1] if version < 3 else levels[0]}
    if version >= 2:
        values |= {"noSubsetting": bool(fs_type & 0x100), "bitmapOnly": bool(fs_type & 0x200)}
    return values


def date(seconds):
    if not seconds or seconds < 0 or seconds > 2**33:
        return None
    moment = EPOCH + datetime.timedelta(seconds=seconds)
    return moment.strftime("%Y-%m-%dT%H:%M:%SZ") if 1980 <= moment.year <= 2100 else None


def style(font, tables):
    os2, head, post = tables["OS/2"], tables["head"], tables["post"]
    selection, mac_style = field(os2, 62, ">H"), field(head, 44, ">H")
    fixed, angle = field(post, 12, ">L"), field(post, 4, ">l")
    italic = selection & 1 if selection is not None else mac_style and mac_style >> 1 & 1
    prep = table(font, "prep")
    return {
        "weight": field(os2, 4, ">H"), "width": field(os2, 6, ">H"),
        "italic": None if italic is None else bool(italic),
        "monospace": None if fixed is None else fixed != 0,
        "variable": "fvar" in font.reader,
        "color": any(tag in font.reader for tag in ("COLR", "CBDT", "sbix", "SVG ")),
        "hinted": len(prep or b"") > 7 if "glyf" in font.reader else None,
        "italicAngle": None if angle is None else texts.rounded(angle / 65536)}


def measures(tables):
    os2, head, hhea = tables["OS/2"], tables["head"], tables["hhea"]
    recent = (field(os2, 0, ">H") or 0) >= 2
    revision = field(head, 4, ">l")
    return {
        "unitsPerEm": field(head, 18, ">H"), "ascender": field(hhea, 4, ">h"),
        "descender": field(hhea, 6, ">h"), "lineGap": field(hhea, 8, ">h"),
        "xHeight": field(os2, 86, ">h") if recent else None,
        "capHeight": field(os2, 88, ">h") if recent else None,
        "glyphs": field(tables["maxp"], 4, ">H"),
        "created": date(field(head, 20, ">q")), "modified": date(field(head, 28, ">q")),
        "revision": None if revision is None else texts.rounded(revision / 65536)}


def characters_of(font, glyphs):
    """Characters that have a glyph, None without a cmap that tells; whether it is for symbols."""
    if "cmap" not in font.reader:
        return None, None
    found = {}
    for subtable in font["cmap"].tables:
        found.setdefault((subtable.platformID, subtable.platEncID), subtable)
    unicode = any(key[0] == 0 or key in ((3, 1), (3, 10)) for key in found
                  if key != (0, 5))
    symbol = (3, 0) in found and not unicode
    chosen = next((found[key] for key in CMAPS if key in found), None) or found.get((3, 0))
    script = None
    if chosen is None:
        chosen = next((t for k, t in found.items() if k[0] == 1 and k[1] in texts.MACINTOSH), None)
        if chosen is None:
            return None, symbol
        script = chosen.platEncID, chosen.language
    result = set()
    for code, glyph in chosen.cmap.items():
        if not 0 < int(glyph[5:]) < glyphs:
            continue
        if script is None:
            result.add(code)
        else:
            raw = bytes([code]) if code < 256 else code.to_bytes(2, "big")
            try:
                text = texts.decoded(1, script[0], max(script[1] - 1, 0), raw)
            except UnicodeDecodeError:
                continue
            if text and len(text) == 1 and text != "\ufffd":
                result.add(ord(text))
    return result, symbol


def layout(font):
    scripts, features, any_table = set(), set(), False
    for tag in ("GSUB", "GPOS"):
        if tag not in font.reader:
            continue
        any_table = True
        data = font.reader[tag]
        for place, found in ((4, scripts), (6, features)):
            start = struct.unpack_from(">H", data, place)[0]
            if start:
                count = struct.unpack_from(">H", data, start)[0]
                found.update(data[start + 2 + 6 * i:start + 6 + 6 * i].decode("latin-1")
                             for i in range(count))
    return {"scripts": sorted(scripts), "features": sorted(features)} if any_table else {}


def variations(font, chosen):
    if "fvar" not in font.reader:
        return {}
    fvar = font["fvar"]
    number = texts.rounded
    axes = [texts.without_none({"tag": a.axisTag, "name": chosen.get(a.axisNameID),
                                "min": number(a.minValue), "default": number(a.defaultValue),
                                "max": number(a.maxValue)}) for a in fvar.axes]
    instances = [texts.without_none({"name": chosen.get(i.subfamilyNameID),
                                     "coordinates": {k: number(v)
                                                     for k, v in i.coordinates.items()}})
                 for i in fvar.instances]
    return {"axes": axes or None, "instances": instances or None}


def kerning(font):
    data = table(font, "kern")
    if data is None or len(data) < 4:
        return None
    version, count = struct.unpack_from(">2H", data)
    place, pairs, seen = 4, 0, False
    if version == 1:
        count, place = struct.unpack_from(">L", data, 4)[0], 8
    for number in range(count):
        if version == 1:
            header, (length, coverage) = 8, struct.unpack_from(">LH", data, place)
            form = coverage & 0xFF
        else:
            header, (length, coverage) = 6, struct.unpack_from(">2H", data, place + 2)
            form = coverage >> 8
        if form == 0:
            seen = True
            told = struct.unpack_from(">H", data, place + header)[0]
            room = (len(data) - place - header - 8) // 6
            pairs += min(told, room)
            if number + 1 == count:
                break
        place += length
    return pairs if seen else None


def directory(font, data, container):
    """Tags in the file's order; fontTools sorts them by place, which in WOFF2 is the same."""
    if container == "woff2":
        return list(font.reader.tables)
    start, size = (44, 20) if container == "woff" else (font.reader_offset + 12, 16)
    return [data[place:place + 4].decode("latin-1")
            for place in range(start, start + size * font.reader.numTables, size)]


def tables_of(font, data, container):
    """The directory's entries in its order. WOFF2 has neither places nor sums."""
    # Of WOFF the places in the font that it is unpacked to, where tables keep their order.
    place, places = 12 + 16 * len(font.reader.tables), {}
    for tag, entry in font.reader.tables.items():
        places[tag] = entry.offset if container != "woff" else place
        place += (getattr(entry, "origLength", 0) + 3) // 4 * 4
    found = []
    for tag in directory(font, data, container):
        entry = font.reader.tables[tag]
        if container == "woff2":
            found.append({"tag": tag})
            continue
        raw = font.reader[tag]
        if tag in ("head", "bhed"):
            raw = raw[:8] + bytes(4) + raw[12:]
        found.append({"tag": tag, "offset": places[tag],
                      "length": entry.origLength if container == "woff" else entry.length,
                      "stored": entry.checkSum,
                      "computed": checksum(raw)})
    return found


def outline_format(reader):
    for tag, name in [("glyf", "truetype"), ("CFF ", "cff"), ("CFF2", "cff2")]:
        if tag in reader:
            return name
    if any(tag in reader for tag in ("EBDT", "bdat", "sbix", "CBDT")):
        return "bitmap"
    return "type1" if "TYP1" in reader or "CID " in reader else None


def face(font, data, container, index=None, offset=None):
    """Properties of a font that fontTools has opened from these bytes."""
    tables = {tag: table(font, tag) for tag in ("OS/2", "head", "hhea", "post", "maxp", "name")}
    if tables["head"] is None:  # of bitmaps alone: the same table under another tag
        tables["head"] = table(font, "bhed")
    names, chosen = names_of(tables["name"])
    form = outline_format(font.reader)
    values = {"format": form, "container": container, "index": index, "offset": offset, **names,
              "names": all_names(tables["name"]) or None, **style(font, tables),
              **embedding(tables["OS/2"]), **measures(tables), **layout(font),
              **variations(font, chosen), "kerningPairs": kerning(font),
              "tables": tables_of(font, data, container)}
    vendor = field(tables["OS/2"], 58, ">4s")
    values["vendor"] = vendor and (texts.trimmed(texts.eight_bit(vendor)) or None)
    values["foundry"] = texts.foundry(names["manufacturer"], values["vendor"], names["copyright"])
    characters, values["symbol"] = characters_of(font, values["glyphs"] or 0)
    if characters is not None:
        values |= {"codepoints": len(characters), "coverage": texts.ranges(characters) or None,
                   "languages": languages(characters)}
    values["#characters"] = characters
    values["#Type"] = record_type(form, container)
    return texts.without_none(values)


def record_type(form, container):
    if container == "collection":
        return "TTC"
    return {"truetype": "TTF", "cff": "OTPS", "cff2": "OTPS"}.get(form)


def opened(data, number=-1, offset=0):
    """The font, with glyphs numbered by place rather than named."""
    font = TTFont(io.BytesIO(data), fontNumber=number, lazy=True, checkChecksums=0)
    font.reader_offset = offset
    if "maxp" in font.reader:
        count = field(font.reader["maxp"], 4, ">H") or 0
        font.setGlyphOrder(["glyph%05d" % i for i in range(count)])
    return font


def read(data):
    """Properties of every face of such a file."""
    container = CONTAINERS.get(data[:4], "sfnt")
    if container == "collection":
        count = struct.unpack_from(">L", data, 8)[0]
        places = struct.unpack_from(">%dL" % count, data, 12)
        return [face(opened(data, i, place), data, container, i, place)
                for i, place in enumerate(places)]
    values = face(opened(data), data, container)
    values["#FingerPrint"] = hashlib.md5(data).hexdigest()
    return [values]
