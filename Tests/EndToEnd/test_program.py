"""What the program writes: records in all formats, and where they go."""

import csv
import io
import json
import os
import re
import subprocess
import unittest

import sfnt
from program import PROGRAM, WAIT, ProgramTest


class JsonLinesTest(ProgramTest):
    def test_the_working_folder_may_be_gone(self):
        font = self.write("fonts/Acme.ttf", sfnt.font("Acme"))
        os.mkdir(self.path("gone"))
        for arguments in (["scan", font], ["import", font, "--to", self.path("copies")]):
            shell = 'cd "$0" && rmdir "$0" && exec "$@"'
            done = subprocess.run(["sh", "-c", shell, self.path("gone"), PROGRAM, *self.with_reading(arguments)],
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
            '{"record":"font","file":"fonts/Acme.ttf","fontType":5,"attributes":{' + attributes % fingerprint + '},'
            '"diagnostics":[{"type":"error","code":11013,"text":"post",'
            '"message":"Font file table directory has no length value"}],'
            '"printerFontPaths":[],"resources":[]}\n'
            '{"record":"summary","filesFound":1,"filesParsed":1,"fonts":1,"errors":1,'
            '"warnings":0,"notes":0,"cancelled":false}\n')
        self.assertEqual(err, "")

    def test_a_code_without_a_catalogue_row_has_no_message(self):
        self.write("a.ttf", sfnt.font(version=0x12345678))
        fonts, _, err = self.records("scan", "a.ttf")
        self.assertEqual(fonts[0]["diagnostics"],
                         [{"type": "error", "code": -1003, "text": "", "message": None}])
        self.assertEqual(err, "")

    def test_a_path_that_is_not_utf8_is_shown_as_latin_1_and_in_bytes(self):
        name = b"caf\xe9 \xc3\xa9.ttf"
        with open(os.path.join(self.folder.encode(), name), "wb") as file:
            file.write(sfnt.font())
        self.write("é.ttf", sfnt.font())
        fonts, _, _ = self.records("scan", ".")
        self.assertEqual([(f["file"], f.get("fileBytes")) for f in fonts],
                         [("./caf\u00e9 \u00c3\u00a9.ttf", (b"./" + name).hex()), ("./é.ttf", None)])
        self.assertEqual(list(fonts[0])[:4], ["record", "file", "fileBytes", "fontType"])

    def test_two_scans_give_the_same_bytes(self):
        self.write_all(*("many/%d/%d.ttf" % (n % 7, n) for n in range(300)))
        first, second = (self.run_program("scan", "--format", "jsonl", "many") for _ in range(2))
        self.assertEqual(first, second)

    def test_control_characters_are_escaped(self):
        family = "a\x1b[31m\x7f\x9b2Jb\u00e9"
        self.write("a.ttf", sfnt.font(family))
        out, _ = self.run_program("scan", "--format", "jsonl", "a.ttf")
        self.assertIsNone(re.search("[\x00-\x09\x0b-\x1f\x7f-\x9f]", out))
        self.assertEqual(json.loads(out.splitlines()[0])["attributes"]["Familyname"], family)

    def test_a_pipe_can_be_followed(self):
        self.write_links(100)
        self.fail_with("read hang /99.ttf")
        process = self.start("scan", "--format", "jsonl", "many", bufsize=0)
        self.addCleanup(process.communicate)
        self.addCleanup(process.kill)
        for _ in range(50):
            self.assertEqual(json.loads(process.stdout.readline())["record"], "font")


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
        result = subprocess.run(["/bin/sh", "-c", '"$0" scan --reading compatible a.ttf >&-', PROGRAM], check=False,
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

    def test_a_file_holds_everything_in_order(self):
        self.write_all("fonts/a.ttf", "fonts/b.ttf")
        with open(self.path("out"), "w+b") as out:
            self.run_program("scan", "fonts", stdout=out, stderr=subprocess.STDOUT)
            out.seek(0)
            self.assertEqual([line.split()[-1] for line in out.read().decode().splitlines()],
                             ["FILE", "fonts/a.ttf", "fonts/b.ttf", "notes"])


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


if __name__ == "__main__":
    unittest.main()
