"""Whether what the modern reading finds wrong in real fonts is wrong by other tools too."""

import collections
import io
import logging
import os
import re
import struct
import subprocess

from fontTools.ttLib import TTFont

import modern_sfnt

SERIOUS = ("error", "warning")
MOST = 0.01  # of the files may have such a finding
SUMS = (20104, *range(11024, 11034))  # the catalogue has rows for some tables' own

CMAP_HEADER, NOT_ENCRYPTED = (11200, 11201), 20304


class Log(logging.Handler):
    """What fontTools complains of."""

    def __init__(self):
        super().__init__(logging.WARNING)
        self.lines = []

    def emit(self, record):
        self.lines.append(record.getMessage())


def wrong_sums(data, index):
    """Tags of tables whose stored sum is wrong however the last word is filled."""
    place = struct.unpack_from(">L", data, 12 + 4 * index)[0] if data[:4] == b"ttcf" else 0
    wrong = set()
    for number in range(struct.unpack_from(">H", data, place + 4)[0]):
        tag, stored, offset, length = struct.unpack_from(">4s3L", data, place + 12 + 16 * number)
        sums = set()
        for raw in (data[offset:offset + length], data[offset:offset + (length + 3) // 4 * 4]):
            if tag in (b"head", b"bhed"):
                raw = raw[:8] + bytes(4) + raw[12:]
            sums.add(modern_sfnt.checksum(raw))
        if stored not in sums:
            wrong.add(tag.decode("latin-1"))
    return wrong


def fonttools_complaint(data, index, table):
    """What fontTools says when it takes the table apart, None when nothing."""
    log = Log()
    logger = logging.getLogger("fontTools")
    logger.addHandler(log)
    try:
        font = TTFont(io.BytesIO(data), fontNumber=index if data[:4] == b"ttcf" else -1, lazy=False)
        for tag in [table] if table else font.keys():
            if tag in font.reader:
                font[tag]  # takes it apart
    except Exception as error:  # of whatever kind: the table is damaged
        return f"{type(error).__name__}: {error}"
    finally:
        logger.removeHandler(log)
    return log.lines[0] if log.lines else None


def names_outside(data, index):
    place = struct.unpack_from(">L", data, 12 + 4 * index)[0] if data[:4] == b"ttcf" else 0
    font = modern_sfnt.opened(data, index if place else -1)
    name = font.reader["name"] if "name" in font.reader else b""
    if len(name) < 6:
        return bool(name)
    count, strings = struct.unpack_from(">2H", name, 2)
    ends = [strings + length + offset for length, offset in
            (struct.unpack_from(">2H", name, 6 + 12 * i + 8) for i in range(count)
             if 18 + 12 * i <= len(name))]
    return len(ends) < count or any(end > len(name) for end in ends)


def cmap_header(data, index):
    """What is wrong in its first four bytes."""
    place = struct.unpack_from(">L", data, 12 + 4 * index)[0] if data[:4] == b"ttcf" else 0
    cmap = modern_sfnt.opened(data, index if place else -1).reader["cmap"]
    version, count = struct.unpack_from(">2H", cmap)
    return version != 0 or not 0 < count <= (len(cmap) - 4) // 8


def t1disasm_complaint(path):
    done = subprocess.run(["t1disasm", path], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          check=False)
    return done.stderr.decode("latin-1").strip() or (done.returncode != 0 and "failed") or None


def lacks_entry(path, name):
    done = subprocess.run(["t1disasm", path], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                          check=False)
    entry = re.search(r"/\w+", name)
    return entry is not None and entry[0].encode() + b" " not in done.stdout


def pfm_fields(data):
    """Complaints about a PFM by the structures of Windows."""
    wrong = []
    if len(data) < 147:
        return ["short"]
    size, = struct.unpack_from("<L", data, 2)
    if size != len(data):
        wrong.append("size")
    for field in (101, 105, 123, 127, 131, 135, 139, 143):
        if struct.unpack_from("<L", data, field)[0] >= len(data):
            wrong.append("offset")
    return wrong


def afm_counts(data):
    """Counts that an AFM states and does not keep."""
    wrong = []
    for start, line in ((rb"StartCharMetrics", rb"\n\s*CH?\s"), (rb"StartKernPairs", rb"\n\s*KP")):
        told = re.search(start + rb"\s+(\d+)", data)
        if told and int(told[1]) != len(re.findall(line, data.replace(b"\r", b"\n"))):
            wrong.append(start)
    return wrong


def proof(path, record, diagnostic):
    """What another tool finds wrong there, None when nothing."""
    with open(path, "rb") as file:
        data = file.read()
    where = diagnostic.get("where") or {}
    table, index = where.get("table"), record["properties"].get("index", 0)
    container = record["properties"].get("container")
    if diagnostic["code"] in SUMS and container in ("sfnt", "collection"):
        wrong = wrong_sums(data, index)
        return "the sum is wrong" if (table in wrong if table else wrong) else None
    if container in ("sfnt", "collection", "woff", "woff2"):
        if table == "name" and names_outside(data, index):
            return "text outside the table"
        if diagnostic["code"] in CMAP_HEADER:
            return "its header is wrong" if cmap_header(data, index) else None
        return fonttools_complaint(data, index, table)
    if diagnostic["code"] == NOT_ENCRYPTED:
        return None if b"eexec" in data else "nothing calls eexec"
    if container in ("pfb", "pfa"):
        return t1disasm_complaint(path) or (lacks_entry(path, diagnostic["text"]) and "absent"
                                            ) or None
    if container == "pfm":
        return ", ".join(pfm_fields(data)) or None
    if container == "afm":
        return str(afm_counts(data)) if afm_counts(data) else None
    if container is None and not data.strip(b"\0"):
        return "empty or all zero"
    return None


def check_one(job):
    path, record, diagnostic = job
    try:
        return proof(path, record, diagnostic)
    except Exception as error:  # a tool that cannot even look
        return f"{type(error).__name__}: {error}"


def check(options, scan, files_below, kinds, pool):
    """Prints the serious findings by code. Answers an exit status."""
    wanted = options.kind.split(",") if options.kind else [*kinds, "mac"]
    kinds = kinds | {"mac": (".dfont", ".suit")}
    paths = files_below(options.folders, tuple(e for kind in wanted for e in kinds[kind]))
    jobs = [(path, record, diagnostic) for path, records in scan(options.program, paths).items()
            for record in records for diagnostic in record["diagnostics"]
            if diagnostic["type"] in SERIOUS]
    by_code = collections.defaultdict(list)
    for job, proved in zip(jobs, pool.imap(check_one, jobs, 4)):
        by_code[job[2]["code"]].append((job, proved))
    unproven = 0
    for code, findings in sorted(by_code.items()):
        diagnostic = findings[0][0][2]
        print(f"{code} ({diagnostic['type']}, {diagnostic['message']}): {len(findings)} times")
        for (path, _, found), proved in findings:
            unproven += proved is None
            place = f" in {found['where']['table']}" if "table" in found.get("where", {}) else ""
            print(f"    {os.path.abspath(path)}: {found['text']!r}{place}: "
                  f"{'NOT PROVEN' if proved is None else f'true ({proved})'}")
    files = len({path for path, _, _ in jobs})
    part = files / max(1, len(paths))
    print(f"{files} of {len(paths)} files ({100 * part:.2f} %) have a finding at warning or above; "
          f"{len(jobs)} findings, {unproven} not proven")
    return 1 if unproven or part > MOST else 0
