"""Small TrueType fonts, sound ones and ones with a chosen defect, made from the fuzzers' seed."""

import os
import struct
import subprocess
import tempfile


def checksum(data):
    data += b"\0" * (-len(data) % 4)
    return sum(struct.unpack(">%dL" % (len(data) // 4), data)) & 0xFFFFFFFF


def seed():
    """The tables of the seed "TrueType/good"."""
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run([os.environ["OXPARSER_SEEDS"], folder], check=True)
        with open(os.path.join(folder, "TrueType", "good"), "rb") as file:
            data = file.read()
    records = [struct.unpack_from(">4s3L", data, 12 + 16 * i)
               for i in range(struct.unpack_from(">H", data, 4)[0])]
    return {tag: data[place:place + size] for tag, _, place, size in records}


SEED = seed()


def tables(family, style="Regular", padding=0):
    """The seed's tables with names of this family; `padding` makes the font larger."""
    texts = ("Copyright Test Foundry", family, style, family + " unique", family + " " + style,
             "Version 1.0", "TestFont-" + style)
    records, strings = b"", b""
    for name_id, text in enumerate(texts):  # as Windows Unicode strings
        raw = text.encode("utf-16-be")
        records += struct.pack(">6H", 3, 1, 0x409, name_id, len(raw), len(strings))
        strings += raw
    name = struct.pack(">3H", 0, len(texts), 6 + len(records)) + records + strings
    return SEED | {b"name": name, b"glyf": SEED[b"glyf"] + b"\0" * padding}


def assemble(parts, lost=b"", wrong_sum=b"", version=0x00010000):
    """The file. The table `lost` lies outside it; the sum stored for `wrong_sum` is wrong."""
    offset = 12 + 16 * len(parts)
    directory, body = b"", b""
    for tag, data in sorted(parts.items()):
        total = checksum(data) ^ (1 if tag == wrong_sum else 0)
        place = 0x7FFFFFF0 if tag == lost else offset + len(body)
        directory += tag + struct.pack(">3L", total, place, len(data))
        body += data + b"\0" * (-len(data) % 4)
    return struct.pack(">L4H", version, len(parts), 0, 0, 0) + directory + body


def font(family="Test Sans", style="Regular", padding=0, **damage):
    return assemble(tables(family, style, padding), **damage)
