"""Makes small TrueType fonts, sound ones and ones with a chosen defect."""

import struct


def checksum(data):
    data += b"\0" * (-len(data) % 4)
    return sum(struct.unpack(">%dL" % (len(data) // 4), data)) & 0xFFFFFFFF


def name_table(names):
    """`names`: name id to text, stored as Windows Unicode strings."""
    records, strings = b"", b""
    for name_id, text in sorted(names.items()):
        raw = text.encode("utf-16-be")
        records += struct.pack(">6H", 3, 1, 0x409, name_id, len(raw), len(strings))
        strings += raw
    return struct.pack(">3H", 0, len(names), 6 + len(records)) + records + strings


def tables(family, style="Regular", padding=0):
    """The tables of a font with one empty glyph; `padding` makes it larger."""
    names = {
        0: "Copyright Test Foundry",
        1: family,
        2: style,
        3: family + " unique",
        4: family + " " + style,
        5: "Version 1.0",
        6: "TestFont-" + style,
    }
    cmap_subtable = struct.pack(">7H", 4, 24, 0, 2, 2, 0, 0) + struct.pack(
        ">5H", 0xFFFF, 0, 0xFFFF, 1, 0)
    os2 = struct.pack(">HhHHH", 3, 500, 400, 5, 0) + struct.pack(">10h", *[100] * 10)
    os2 += struct.pack(">h", 0) + b"\0" * 10 + struct.pack(">4L", 1, 0, 0, 0) + b"TEST"
    os2 += struct.pack(">3H", 0x40, 32, 126) + struct.pack(">3h2H", 800, -200, 0, 800, 200)
    os2 += struct.pack(">2L2h3H", 1, 0, 500, 700, 0, 32, 1)
    return {
        b"OS/2": os2,
        b"cmap": struct.pack(">4HL", 0, 1, 3, 1, 12) + cmap_subtable,
        b"glyf": b"\0" * (12 + padding),
        b"head": struct.pack(">4L2H", 0x10000, 0x10000, 0, 0x5F0F3CF5, 0, 1000)
        + b"\0" * 16 + struct.pack(">4h2H3h", 0, 0, 500, 700, 0, 8, 2, 1, 0),
        b"hhea": struct.pack(">L3hH11hH", 0x10000, 800, -200, 0, 500, 0, 0, 500, 1, 0, 0, 0, 0,
                             0, 0, 0, 1),
        b"hmtx": struct.pack(">Hh", 500, 0),
        b"loca": struct.pack(">2L", 0, 0),
        b"maxp": struct.pack(">L14H", 0x10000, 1, 0, 0, 0, 0, 2, 0, 0, 0, 64, 0, 0, 0, 0),
        b"name": name_table(names),
        b"post": struct.pack(">2L2h5L", 0x30000, 0, -100, 50, 0, 0, 0, 0, 0),
    }


def assemble(parts, lost=b"", wrong_sum=b"", version=0x00010000):
    """The file. The table `lost` lies outside it; the sum stored for `wrong_sum` is wrong."""
    count = len(parts)
    power = 1 << (count.bit_length() - 1)
    header = struct.pack(">L4H", version, count, power * 16, power.bit_length() - 1,
                         (count - power) * 16)
    offset = 12 + 16 * count
    directory, body = b"", b""
    for tag, data in sorted(parts.items()):
        total = checksum(data) ^ (1 if tag == wrong_sum else 0)
        place = 0x7FFFFFF0 if tag == lost else offset + len(body)
        directory += tag + struct.pack(">3L", total, place, len(data))
        body += data + b"\0" * (-len(data) % 4)
    return header + directory + body


def font(family="Test Sans", style="Regular", padding=0, **damage):
    return assemble(tables(family, style, padding), **damage)
