"""End-to-end tests of the program that OXPARSER_PROGRAM names."""

import csv
import fcntl
import io
import json
import os
import pty
import re
import signal
import struct
import subprocess
import termios
import time
import unicodedata
import unittest

import records as shared
import sfnt

PROGRAM = os.environ["OXPARSER_PROGRAM"]
NOBODY = 65534
WAIT = 120
F_SETPIPE_SZ = 1031


class ProgramTest(shared.FolderTest):
    """Ways to run the program in the folder."""

    def setUp(self):
        super().setUp()
        self.environment = {k: v for k, v in os.environ.items()
                            if k not in ("COLUMNS", "NO_COLOR")}
        self.environment["TERM"] = "xterm"

    def write_links(self, count):
        """A folder "many" of so many links to one large font."""
        os.mkdir(self.path("many"))
        font = self.write("big.ttf", sfnt.font(padding=1_000_000))
        for number in range(count):
            os.link(font, self.path("many", "%d.ttf" % number))

    def start(self, *arguments, **options):
        options.setdefault("stdout", subprocess.PIPE)
        options.setdefault("stderr", subprocess.PIPE)
        return subprocess.Popen([PROGRAM, *arguments], cwd=self.folder, env=self.environment,
                                **options)

    def run_program(self, *arguments, status=0, stdin=b"", **options):
        process = self.start(*arguments, stdin=subprocess.PIPE, **options)
        out, err = process.communicate(stdin, timeout=WAIT)
        self.assertEqual(process.returncode, status, err)
        return (out or b"").decode(), (err or b"").decode()

    def records(self, *arguments, **options):
        """The objects of a JSON lines run: font records and the summary."""
        command, *rest = arguments
        out, err = self.run_program(command, "--format", "jsonl", *rest, **options)
        self.assertTrue(out.endswith("\n"))
        objects = [json.loads(line) for line in out.splitlines()]
        self.assertEqual(objects[-1]["record"], "summary")
        self.assertTrue(all(o["record"] == "font" for o in objects[:-1]))
        return objects[:-1], objects[-1], err

    def in_terminal(self, columns, *arguments, status=0):
        """What the program sends to a terminal of that width."""
        pid, terminal = pty.fork()
        if pid == 0:
            os.chdir(self.folder)
            fcntl.ioctl(1, termios.TIOCSWINSZ, struct.pack("4H", 40, columns, 0, 0))
            os.execve(PROGRAM, [PROGRAM, *arguments], self.environment)
        output = b""
        while True:
            try:
                block = os.read(terminal, 65536)
            except OSError:  # the other side was closed
                break
            if not block:
                break
            output += block
        os.close(terminal)
        self.assertEqual(os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1]), status, output)
        return output.decode().replace("\r\n", "\n")


class JsonLinesTest(ProgramTest):
    def test_the_working_folder_may_be_gone(self):
        font = self.write("fonts/Acme.ttf", sfnt.font("Acme"))
        os.mkdir(self.path("gone"))
        for arguments in (["scan", font], ["import", font, "--to", self.path("copies")]):
            shell = 'cd "$0" && rmdir "$0" && exec "$@"'
            done = subprocess.run(["sh", "-c", shell, self.path("gone"), PROGRAM, *arguments],
                                  env=self.environment, stdout=subprocess.PIPE,
                                  stderr=subprocess.PIPE)
            self.assertEqual(done.returncode, 0, done.stderr)
            self.assertIn("Acme.ttf", done.stdout.decode())
            os.mkdir(self.path("gone"))

    def test_a_record_is_exactly_as_promised(self):
        data = sfnt.font("Acme, Sans", lost=b"post")
        self.write("fonts/Acme.ttf", data)
        out, err = self.run_program("scan", "--format", "jsonl", "fonts")
        attributes = (
            '"Copyright":"Copyright Test Foundry","Familyname":"Acme, Sans",'
            '"FileName":"Acme.ttf","FingerPrint":"%s","FontFilePath":"fonts",'
            '"Foundry":"Unknown","Fullname":"Acme, Sans Regular","Platform":"MacOrWindows",'
            '"Postscriptname":"TestFont-Regular","SubFamilyname":"Regular","Type":"TTF",'
            '"UniqueId":"Acme, Sans unique","Version":"Version 1.0","Weight":"400","Width":"5"')
        fingerprint = json.loads(out.splitlines()[0])["attributes"]["FingerPrint"]
        self.assertRegex(fingerprint, "^[0-9a-f]{32}$")
        self.assertEqual(
            out,
            '{"record":"font","file":"fonts/Acme.ttf","filesParsed":1,"totalFiles":1,'
            '"fontType":5,"attributes":{' + attributes % fingerprint + '},'
            '"diagnostics":[{"type":"error","code":11013,"text":"post",'
            '"message":"Font file table directory has no length value"}],'
            '"printerFontPaths":[],"resources":[]}\n'
            '{"record":"summary","filesFound":1,"filesParsed":1,"fonts":1,"errors":1,'
            '"warnings":0,"notes":0,"cancelled":false}\n')
        self.assertEqual(err, "")

    def test_a_code_without_a_catalogue_row_has_no_message(self):
        self.write("a.ttf", sfnt.font(version=0x12345678))
        fonts, summary, _ = self.records("scan", "a.ttf")
        self.assertEqual(fonts[0]["diagnostics"],
                         [{"type": "error", "code": -1003, "text": "", "message": None}])

    def test_a_file_name_that_is_not_utf8_is_read_as_latin_1(self):
        with open(os.path.join(self.folder.encode(), b"caf\xe9 \xc3\xa9.ttf"), "wb") as file:
            file.write(sfnt.font())
        self.write("é.ttf", sfnt.font())
        fonts, _, _ = self.records("scan", ".")
        self.assertEqual({f["file"] for f in fonts}, {"./caf\u00e9 \u00c3\u00a9.ttf", "./é.ttf"})

    def test_control_characters_are_escaped(self):
        family = "a\x1b[31m\x7f\x9b2Jb\u00e9"
        self.write("a.ttf", sfnt.font(family))
        out, _ = self.run_program("scan", "--format", "jsonl", "a.ttf")
        self.assertIsNone(re.search("[\x00-\x09\x0b-\x1f\x7f-\x9f]", out))
        self.assertEqual(json.loads(out.splitlines()[0])["attributes"]["Familyname"], family)

    def test_a_pipe_can_be_followed(self):
        self.write_links(1000)
        process = self.start("scan", "--format", "jsonl", "many", stderr=subprocess.DEVNULL)
        first = json.loads(process.stdout.readline())
        self.assertLess(first["filesParsed"], 900)
        self.assertEqual(first["totalFiles"], 1000)
        rest = process.stdout.read()
        process.stdout.close()
        self.assertEqual(process.wait(WAIT), 0)
        self.assertEqual(json.loads(rest.splitlines()[-1])["fonts"], 1000)


class CheckTest(ProgramTest):
    def setUp(self):
        super().setUp()
        self.write("good.ttf", sfnt.font())
        self.write("sum.ttf", sfnt.font(wrong_sum=b"hmtx"))
        self.write("bad.ttf", sfnt.font(lost=b"post", wrong_sum=b"hmtx"))

    def test_only_records_with_defects_are_printed_and_all_are_counted(self):
        fonts, summary, _ = self.records("check", ".", status=1)
        self.assertEqual({f["file"] for f in fonts}, {"./sum.ttf", "./bad.ttf"})
        self.assertEqual((summary["fonts"], summary["errors"], summary["warnings"]), (3, 1, 2))

    def test_the_exit_status_follows_the_severity(self):
        for arguments, status in [
            (["check", "bad.ttf"], 1),
            (["check", "sum.ttf"], 0),
            (["check", "--fail-on", "warning", "sum.ttf"], 1),
            (["check", "--fail-on", "warning", "good.ttf"], 0),
            (["check", "--fail-on", "never", "bad.ttf"], 0),
            (["scan", "bad.ttf"], 0),
            (["scan", "--fail-on", "error", "sum.ttf"], 0),
            (["scan", "--fail-on", "error", "bad.ttf"], 1),
            (["scan", "--fail-on", "warning", "bad.ttf"], 1),
        ]:
            with self.subTest(arguments=arguments):
                self.run_program(*arguments, status=status)

    def test_the_table_has_a_line_for_each_defect(self):
        out, err = self.run_program("check", "bad.ttf", status=1)
        lines = out.splitlines()
        self.assertEqual(lines[0].split(), ["LEVEL", "CODE", "DEFECT", "FONT", "FILE"])
        self.assertRegex(lines[1], r"^warning +11028  mismatching .* TestFont-Regular +bad.ttf$")
        self.assertRegex(lines[2], r"^error +11013  Font file table .*: post ")
        self.assertEqual(len(lines), 3)
        self.assertEqual(err, "1 font in 1 file: 1 error, 1 warning, 0 notes\n")
        self.assertEqual(self.run_program("check", "good.ttf")[0], "")


class CsvTest(ProgramTest):
    def rows(self, *arguments, one_line_each=True, **options):
        out, _ = self.run_program(*arguments, **options)
        self.assertEqual("\n" not in out.replace("\r\n", ""), one_line_each)
        return list(csv.DictReader(io.StringIO(out, newline=""), strict=True))

    def test_scan_has_a_row_for_each_record(self):
        self.write('odd, "name".ttf', sfnt.font('Quote", Comma'))
        self.write("bad.ttf", sfnt.font(lost=b"post", wrong_sum=b"hmtx"))
        rows = {row["file"]: row for row in self.rows("scan", "--format", "csv", ".")}
        odd, bad = rows['./odd, "name".ttf'], rows["./bad.ttf"]
        self.assertEqual((odd["fontType"], odd["Familyname"], odd["errors"], odd["diagnostics"]),
                         ("TTF", 'Quote", Comma', "0", ""))
        self.assertEqual((bad["errors"], bad["warnings"], bad["notes"]), ("1", "1", "0"))
        self.assertIn("error 11013 Font file table directory has no length value: post",
                      bad["diagnostics"])

    def test_a_line_end_inside_a_value_survives(self):
        self.write("a.ttf", sfnt.font("two\nlines"))
        rows = self.rows("scan", "--format", "csv", "a.ttf", one_line_each=False)
        self.assertEqual(rows[0]["Familyname"], "two\nlines")

    def test_check_has_a_row_for_each_defect(self):
        self.write("bad.ttf", sfnt.font(lost=b"post", wrong_sum=b"hmtx"))
        rows = self.rows("check", "--format", "csv", "bad.ttf", status=1)
        self.assertEqual([(r["level"], r["code"], r["in"]) for r in rows],
                         [("warning", "11028", "checksum"), ("error", "11013", "directory")])
        self.assertEqual(rows[1]["text"], "post")

    def test_the_header_is_there_without_records(self):
        out, _ = self.run_program("check", "--format", "csv", self.folder)
        self.assertTrue(out.startswith("file,fontType,"))
        self.assertEqual(out.count("\r\n"), 1)


class UsageTest(ProgramTest):
    def test_errors_name_what_is_wrong(self):
        self.write("refused.properties", b"rootCategory=NONSENSE, missing\n")
        for arguments, named in [
            ([], "no command; the commands are scan, check, import and explain"),
            (["frobnicate"], "'frobnicate'; the commands are scan, check, import and explain"),
            (["--bogus"], "--bogus"),
            (["--format", "jsonl", "scan", "."], "unknown option --format; the commands are"),
            (["frobnicate", "scan", "."], "unknown command 'frobnicate'"),
            (["scan", "--bogus"], "--bogus"),
            (["scan", "-x"], "-x"),
            (["scan", "--format", "xml", "."], "--format"),
            (["check", "--fail-on", "note", "."], "--fail-on"),
            (["scan", "--progress", "sometimes", "."], "--progress"),
            (["scan", "--format"], "--format"),
            (["scan", "--log=", "."], "--log"),
            (["scan", "--null", "."], "--null"),
            (["scan", "--files-from", "missing"], "--files-from"),
            (["scan", "--files-from", "."], "--files-from"),
            (["scan", "--foundry-names", "missing", "."], "--foundry-names"),
            (["scan", "--foundry-codes", ".", "."], "--foundry-codes"),
            (["scan", "--log", "missing", "."], "--log"),
            (["scan", "--log", "refused.properties", "."], "--log"),
            (["explain", "name"], "'name'"),
            (["explain", "1e4"], "'1e4'"),
            (["explain", "--progress", "never"], "--progress"),
        ]:
            with self.subTest(arguments=arguments):
                out, err = self.run_program(*arguments, status=2)
                self.assertEqual(out, "")
                self.assertIn(named, err.splitlines()[0])

    def test_help_and_version_go_to_standard_output(self):
        self.assertRegex(self.run_program("--version")[0], r"^oxparser \d+\.\d+\.\d+\n$")
        for command, word in [("scan", "[PATH...]"), ("check", "--fail-on"),
                              ("explain", "[CODE...]")]:
            out, err = self.run_program(command, "--help")
            self.assertIn("Usage: oxparser " + command, out)
            self.assertIn(word, out)
            self.assertEqual(err, "")
            self.assertIn("  " + command + " ", self.run_program("--help")[0])


class SourcesTest(ProgramTest):
    def setUp(self):
        super().setUp()
        for name in ["a.ttf", "[b].ttf", "--format", "++"]:
            self.write(name if name.endswith(".ttf") else name + "/x.ttf", sfnt.font())

    def files(self, *arguments, **options):
        fonts, summary, err = self.records("scan", *arguments, **options)
        self.assertEqual(summary["fonts"], len(fonts))
        return [f["file"] for f in fonts], err

    def test_paths_are_taken_as_they_are_given(self):
        files, _ = self.files("./a.ttf", "[b].ttf", "++", "--", "--format", "a.ttf")
        self.assertEqual(files,
                         ["./a.ttf", "[b].ttf", "./++/x.ttf", "--format/x.ttf", "a.ttf"])

    def test_more_paths_come_from_a_list(self):
        self.write("new\nline.ttf", sfnt.font())
        self.write("lines", b"a.ttf\n\n[b].ttf")
        self.assertEqual(self.files("--files-from", "lines", "--", "--format")[0],
                         ["--format/x.ttf", "a.ttf", "[b].ttf"])
        self.assertEqual(self.files("--files-from", "-", "--null", stdin=b"new\nline.ttf\0a.ttf\0"),
                         (["new\nline.ttf", "a.ttf"], ""))

    def test_an_empty_list_scans_nothing(self):
        self.assertEqual(self.files("--files-from", "-", stdin=b"\n"), ([], ""))

    def test_zero_bytes_without_null_are_pointed_out(self):
        files, err = self.files("--files-from", "-", stdin=b"a.ttf\0b.ttf\0", status=1)
        self.assertEqual(files, [])
        self.assertIn("--null", err)

    def test_a_missing_path_is_named_and_the_others_are_scanned(self):
        os.symlink("nowhere", self.path("dangling.ttf"))
        files, err = self.files("missing", "a.ttf", "", "dangling.ttf", status=1)
        self.assertEqual(files, ["a.ttf"])
        self.assertEqual([line.split(":")[1].strip() for line in err.splitlines()],
                         ["missing", "''", "dangling.ttf"])

    def test_an_unreadable_folder_is_named(self):
        self.write("closed/x.ttf", sfnt.font())
        os.chmod(self.path("closed"), 0)
        self.addCleanup(os.chmod, self.path("closed"), 0o755)
        options = {}
        if os.geteuid() == 0:
            options = {"user": NOBODY, "group": NOBODY, "extra_groups": []}
            try:
                self.run_program("--version", **options)
            except PermissionError:
                self.skipTest("the program is out of an ordinary user's reach")
        files, err = self.files("closed", "a.ttf", status=1, **options)
        self.assertEqual(files, ["a.ttf"])
        self.assertIn("closed: Permission denied", err)

    def test_nothing_waits_for_a_fifo(self):
        os.mkfifo(self.path("pipe.ttf"))
        files, _ = self.files("pipe.ttf", "a.ttf")
        self.assertEqual(files, ["pipe.ttf", "a.ttf"])


class EndingEarlyTest(ProgramTest):
    LINKS = 2000

    def setUp(self):
        super().setUp()
        self.write_links(self.LINKS)

    def long_scan(self, *arguments, **options):
        # Unbuffered, so that communicate() misses nothing of what a readline() took ahead.
        process = self.start("scan", "--format", "jsonl", "--progress", "never", *arguments,
                             bufsize=0, **options)
        self.addCleanup(process.stderr.close)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.kill)
        return process

    def test_a_signal_during_the_parse(self):
        for number in [signal.SIGINT, signal.SIGTERM]:
            with self.subTest(signal=number):
                process = self.long_scan("many")
                first = process.stdout.readline()
                process.send_signal(number)
                out, err = process.communicate(timeout=WAIT)
                self.assertEqual(process.returncode, 128 + number)
                lines = [json.loads(line) for line in (first + out).splitlines()]
                summary = lines[-1]
                self.assertTrue(summary["cancelled"])
                self.assertEqual(summary["fonts"], len(lines) - 1)
                self.assertEqual(summary["filesFound"], self.LINKS)
                self.assertLess(summary["filesParsed"], self.LINKS)
                self.assertEqual(err, b"")

    def test_a_signal_during_the_walk(self):
        # So many files that the walk alone takes many seconds.
        process = self.long_scan("--files-from", "-", stdin=subprocess.PIPE)
        process.stdin.write(b"many\n" * 2000)
        process.stdin.close()
        process.stdin = None
        # The walk's thread comes third, after the program's and the one that takes the signals.
        self.wait_until(lambda: len(os.listdir("/proc/%d/task" % process.pid)) > 2)
        process.send_signal(signal.SIGTERM)
        out, err = process.communicate(timeout=WAIT)
        self.assertEqual(process.returncode, 143)
        summary = json.loads(out)
        self.assertTrue(summary["cancelled"])
        self.assertEqual((summary["fonts"], summary["filesParsed"]), (0, 0))
        self.assertLess(summary["filesFound"], 2000 * self.LINKS)

    def wait_until(self, condition):
        end = time.monotonic() + WAIT
        while not condition():
            self.assertLess(time.monotonic(), end)
            time.sleep(0.01)

    @staticmethod
    def waiting_bytes(pipe):
        return struct.unpack("i", fcntl.ioctl(pipe, termios.FIONREAD, b"\0" * 4))[0]

    def test_a_second_signal_ends_at_once(self):
        # Nobody reads, so a record that was read can never be printed.
        process = self.long_scan("many")
        fcntl.fcntl(process.stdout, F_SETPIPE_SZ, 4096)
        self.wait_until(lambda: self.waiting_bytes(process.stdout) > 3500)
        process.send_signal(signal.SIGINT)
        time.sleep(0.5)
        self.assertIsNone(process.poll())
        process.send_signal(signal.SIGTERM)
        self.assertEqual(process.wait(WAIT), 143)

    def test_a_reader_that_leaves_ends_the_scan_quietly(self):
        process = self.long_scan("many")
        process.stdout.readline()
        process.stdout.close()
        started = time.monotonic()
        self.assertEqual(process.wait(WAIT), -signal.SIGPIPE)
        self.assertEqual(process.stderr.read(), b"")
        process.stdout = io.BytesIO()
        self.assertLess(time.monotonic() - started, WAIT / 2)


class OutputTest(ProgramTest):
    def test_a_failed_write_is_reported(self):
        self.write("a.ttf", sfnt.font())
        for arguments in [["scan", "a.ttf"], ["scan", "--format", "jsonl", "a.ttf"],
                          ["explain"], ["--help"], ["--version"]]:
            with self.subTest(arguments=arguments), open("/dev/full", "wb") as full:
                _, err = self.run_program(*arguments, status=1, stdout=full)
                self.assertIn("standard output: No space left on device", err)

    def test_a_closed_standard_output_is_reported(self):
        self.write("a.ttf", sfnt.font())
        result = subprocess.run(["/bin/sh", "-c", '"$0" scan a.ttf >&-', PROGRAM], check=False,
                                cwd=self.folder, capture_output=True, timeout=WAIT)
        self.assertEqual(result.returncode, 1)
        self.assertIn(b"standard output: Bad file descriptor", result.stderr)

    def test_only_results_reach_standard_output(self):
        self.write("a.ttf", sfnt.font())
        self.write("log.properties",
                   b"rootCategory=INFO, console\n"
                   b"appender.console=ConsoleAppender\n"
                   b"appender.console.layout=BasicLayout\n")
        fonts, _, err = self.records("scan", "--log", "log.properties", "--progress", "always",
                                     "a.ttf")
        self.assertEqual(len(fonts), 1)
        self.assertIn("parseFontFile:", err)
        self.assertIn("1 of 1 files", err)

    def test_a_file_holds_everything(self):
        self.write("fonts/a.ttf", sfnt.font())
        with open(self.path("out"), "w+b") as out:
            self.run_program("scan", "--format", "jsonl", "fonts", stdout=out)
            out.seek(0)
            self.assertEqual(len(out.read().splitlines()), 2)


class FoundryTest(ProgramTest):
    def test_a_list_that_is_given_replaces_one_of_the_librarys_own(self):
        parts = sfnt.tables("Acme Sans")
        parts[b"CFF "] = b"\1\0\4\1" + b"\0" * 32
        self.write("a.otf", sfnt.assemble(parts, version=0x4F54544F))
        fonts, _, _ = self.records("scan", "a.otf")
        self.assertNotEqual(fonts[0]["attributes"]["Foundry"], "Test Foundry")
        self.write("names", b"Test Foundry\n")
        fonts, _, _ = self.records("scan", "--foundry-names", "names", "a.otf")
        self.assertEqual(fonts[0]["attributes"]["Foundry"], "Test Foundry")


class TableTest(ProgramTest):
    COLOUR = re.compile("\x1b\\[[0-9]*m")

    def cells(self, text):
        width = {"W": 2, "F": 2}
        return sum(0 if unicodedata.combining(c) else width.get(unicodedata.east_asian_width(c), 1)
                   for c in text)

    def scan(self, columns, *arguments):
        out = self.in_terminal(columns, "scan", "--progress", "never", *arguments)
        *lines, summary = out.splitlines()
        self.assertRegex(summary, r"^\d+ fonts? in \d+ files?: ")
        return lines

    def test_lines_fit_and_columns_stand_under_each_other(self):
        families = ["A", "A family name that is far too long for any column of the table",
                    "源ノ角ゴシック 源ノ角ゴシック 源ノ角ゴシック 源ノ角ゴシック", "Ä Combining"]
        for number, family in enumerate(families):
            self.write("folder %s/%d.ttf" % ("x" * 60, number),
                       sfnt.font(family, wrong_sum=b"hmtx"))
        for columns in [20, 41, 80, 120, 200, 500]:
            with self.subTest(columns=columns):
                lines = [self.COLOUR.sub("", line) for line in self.scan(columns, ".")]
                self.assertEqual(len(lines), 1 + len(families))
                for line in lines:
                    self.assertLessEqual(self.cells(line), columns)
                if columns >= 80:
                    places = {self.cells(line[:re.search(r"\bWRN\b| 1 ", line).end()].rstrip())
                              for line in lines}
                    self.assertEqual(len(places), 1, lines)
                if 80 <= columns < 500:
                    self.assertTrue(all("…" in line and line.endswith(".ttf")
                                        for line in lines[1:]))

    def test_outside_a_terminal_nothing_is_cut(self):
        family = "A family name that is far too long for any column of the table"
        place = self.write("folder %s/a.ttf" % ("x" * 200), sfnt.font(family))
        out, _ = self.run_program("scan", place)
        self.assertNotIn("…", out)
        self.assertIn(family, out)
        self.assertTrue(out.splitlines()[1].endswith(place))

    def test_defects_are_coloured_unless_the_user_does_not_want_it(self):
        self.write("a.ttf", sfnt.font(wrong_sum=b"hmtx"))
        self.assertIn("\x1b[33m1\x1b[0m", "".join(self.scan(80, ".")))
        self.environment["NO_COLOR"] = "1"
        self.assertNotIn("\x1b", "".join(self.scan(80, ".")))
        del self.environment["NO_COLOR"]
        self.environment["TERM"] = "dumb"
        self.assertNotIn("\x1b", "".join(self.scan(80, ".")))

    def test_no_foreign_control_sequence_reaches_the_terminal(self):
        self.environment["NO_COLOR"] = "1"
        hostile = "x\x1b]0;title\x07\x1b[2J\x9b1m\u202e\r\n\ty"
        self.write(hostile + ".ttf", sfnt.font(hostile, hostile, lost=b"post"))
        with open(os.path.join(self.folder.encode(), b"\x9b2J\xff.ttf"), "wb") as file:
            file.write(sfnt.font(version=1))
        for command, status in [("scan", 0), ("check", 1)]:
            for format_name in ["table", "csv", "jsonl"]:
                with self.subTest(command=command, format=format_name):
                    out = self.in_terminal(100, command, "--format", format_name, "--progress",
                                           "never", ".", hostile + "missing", status=1)
                    self.assertIsNone(re.search("[\x00-\x08\x0b\x0c\x0e-\x1f\x7f-\x9f]", out))
                    if format_name == "table":
                        self.assertNotIn("\u202e", out)
                        self.assertNotIn("\r", out)

    def test_progress_is_cleared_and_leaves_the_results_alone(self):
        self.write_links(300)
        out = self.in_terminal(80, "scan", "many")
        self.assertIn("Looking for files", out)
        self.assertRegex(out, r"\d+%  \d+ of 300 files")
        # What stays on the screen: of every line what stands behind the last wiping.
        shown = [self.COLOUR.sub("", line.split("\r\x1b[K")[-1]) for line in out.rstrip("\n").split("\n")]
        self.assertEqual(len(shown), 302)
        self.assertTrue(all(line.startswith("TTF ") for line in shown[1:-1]))

    def test_plain_progress_comes_in_lines(self):
        self.write("a.ttf", sfnt.font())
        _, err = self.run_program("scan", "--progress", "always", "a.ttf")
        self.assertNotIn("\r", err)
        self.assertIn("100%  1 of 1 files, 1 fonts, 0 defects\n", err)
        _, err = self.run_program("scan", "a.ttf")
        self.assertEqual(err, "1 font in 1 file: 0 errors, 0 warnings, 0 notes\n")


class ExplainTest(ProgramTest):
    def test_everything_is_explained_without_a_code(self):
        out, _ = self.run_program("explain", "--format", "jsonl")
        codes = [json.loads(line) for line in out.splitlines()]
        self.assertEqual(sum(c["message"] is not None for c in codes), 166)
        self.assertEqual([c["code"] for c in codes if c["message"] is None],
                         [-1003, -1001, 0, 2, 11051, 11052, 15310])
        self.assertTrue(all(c["message"] or c["remark"] for c in codes))

    def test_only_the_given_codes_are_explained(self):
        out, _ = self.run_program("explain", "11100", "-1003")
        lines = out.splitlines()
        self.assertEqual(len(lines), 3)
        self.assertRegex(lines[1], r"^11100  head +invalid table version number$")
        self.assertRegex(lines[2], r"^-1003 +\[.*\]$")

    def test_an_unknown_code_fails_and_the_others_are_explained(self):
        out, err = self.run_program("explain", "99", "11400", status=1)
        self.assertIn("invalid table version number", out)
        self.assertIn("99", err)


if __name__ == "__main__":
    unittest.main()
