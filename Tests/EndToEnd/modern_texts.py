"""Texts as the modern reading must show them: decoded, chosen among several, traced to a foundry.

Written from the formats' published texts, with nothing of the program's own code."""

import os
import re
import struct

HERE = os.path.dirname(os.path.abspath(__file__))
RESOURCES = os.path.join(HERE, "..", "..", "Resources")

# Python's codecs for Windows encoding numbers 2 to 6 and for Macintosh script numbers.
WINDOWS = {2: "cp932", 3: "cp936", 4: "cp950", 5: "cp949", 6: "johab"}
MACINTOSH = {0: "mac_roman", 1: "x_mac_japanese_ttx", 2: "x_mac_trad_chinese_ttx",
             3: "x_mac_korean_ttx", 6: "mac_greek", 7: "mac_cyrillic",
             25: "x_mac_simp_chinese_ttx", 29: "mac_latin2"}
# Languages of script Roman whose characters are others.
ROMAN_LANGUAGES = {15: "mac_iceland", 17: "mac_turkish", 18: "mac_croatian", 37: "mac_romanian",
                   **dict.fromkeys((24, 25, 26, 27, 28, 36, 38, 39, 40), "mac_latin2")}

WEIGHTS = {}
for number, words in [(100, "thin"), (200, "extralight ultralight"), (300, "light"),
                      (400, "book regular roman normal"), (500, "medium"),
                      (600, "demi demibold semibold"), (700, "bold"),
                      (800, "extrabold ultrabold ultra heavy"), (900, "black")]:
    WEIGHTS.update(dict.fromkeys(words.split(), number))


def trimmed(text):
    return text.rstrip("\0 \t\n\v\f\r")


def utf16(raw):
    """UTF-16 with unpaired halves replaced."""
    raw = raw[:len(raw) // 2 * 2]
    text = raw.decode("utf-16-be", "surrogatepass")
    return re.sub("[\ud800-\udfff]", "\ufffd", text)


def eight_bit(raw):
    """Text without a stated encoding."""
    try:
        return raw.decode("utf-8")
    except UnicodeDecodeError:
        return raw.decode("latin-1")


def decoded(platform, encoding, language, raw):
    """The text of a name record, None when this script knows no codec for it."""
    if platform == 0 or (platform == 3 and encoding not in WINDOWS):
        return utf16(raw)
    if platform == 3:
        return raw.replace(b"\0", b"").decode(WINDOWS[encoding], "replace")
    if platform == 1 and encoding in MACINTOSH:
        codec = ROMAN_LANGUAGES.get(language, "mac_roman") if encoding == 0 else MACINTOSH[encoding]
        return raw.decode(codec, "replace")
    return None


def rank(platform, encoding, language):
    """The smaller one is the one to show."""
    if platform == 3 and encoding in (1, 10) and language == 0x409:
        return 0
    if platform == 0:
        return 1
    if platform == 3 and language & 0x3FF == 9 and language < 0x8000:
        return 2
    if (platform, encoding, language) == (1, 0, 0):
        return 3
    return {3: 4, 1: 5}.get(platform, 6)


def name_records(data):
    """(platform, encoding, language, id, bytes) of all records whose text lies in the table."""
    if len(data) < 6:
        return []
    _, count, strings = struct.unpack_from(">3H", data)
    found = []
    for number in range(min(count, (len(data) - 6) // 12)):
        *key, length, offset = struct.unpack_from(">6H", data, 6 + 12 * number)
        start = strings + offset
        if start + length <= len(data):
            found.append((*key, data[start:start + length]))
    return found


def chosen_names(data):
    """The text to show of each name id."""
    best = {}
    for platform, encoding, language, number, raw in name_records(data):
        text = decoded(platform, encoding, language, raw)
        text = text and trimmed(text)
        place = rank(platform, encoding, language)
        if text and (number not in best or place < best[number][0]):
            best[number] = place, text
    return {number: text for number, (_, text) in best.items()}


def lines_of(name):
    with open(os.path.join(RESOURCES, name), encoding="utf-8") as file:
        return file.read().split("\n")


FOUNDRIES = [line for line in lines_of("foundrylist.txt") if line]
CODES = dict(re.split("\t+", line)[:2] for line in lines_of("foundrycodelist.txt") if line)


def listed(text):
    return next((name for name in FOUNDRIES if name in (text or "")), None)


def foundry(manufacturer, vendor, copyright):
    registered = CODES.get((vendor or "").strip())
    if registered and "Made with" in registered:
        registered = None
    return listed(manufacturer) or manufacturer or registered or listed(copyright)


def weight_of_word(word):
    return WEIGHTS.get((word or "").strip().lower())


def rounded(number):
    value = round(number, 3)
    return int(value) if value == int(value) else value


def without_none(values):
    return {key: value for key, value in values.items() if value is not None}


def ranges(characters):
    """Characters as 20-7e,a0."""
    runs = []
    for code in sorted(characters):
        if runs and runs[-1][1] + 1 == code:
            runs[-1][1] = code
        else:
            runs.append([code, code])
    return ",".join("%x" % a if a == b else "%x-%x" % (a, b) for a, b in runs)
