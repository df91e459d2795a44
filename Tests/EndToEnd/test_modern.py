"""What the program shows of the modern reading."""

import csv
import io
import json
import os
import re
import unittest

import sfnt
from program import ProgramTest

try:
    import jsonschema
except ImportError:
    jsonschema = None

SCHEMA = os.path.join(os.path.dirname(__file__), "..", "..", "Resources", "oxparser.schema.json")
SCAN_COLUMNS = (
    "state,file,format,container,index,family,style,fullName,postscriptName,version,weight,width,"
    "italic,monospace,foundry,vendor,embedding,glyphs,codepoints,languages,size,errors,warnings,"
    "notes,codes,fingerprint")
CHECK_COLUMNS = "file,index,level,code,table,offset,text,message"


class ModernTest(ProgramTest):
    READING = "modern"

    def setUp(self):
        super().setUp()
        self.write("fonts/Acme.ttf", sfnt.font("Acme, Sans"))
        self.write("fonts/broken.ttf", sfnt.font("Broken", lost=b"post", wrong_sum=b"hmtx"))
        self.write("fonts/page.ttf", b"<!DOCTYPE html><html></html>\n")
        self.write("fonts/readme", b"nothing\n")

    def test_the_table_begins_with_the_state(self):
        out, err = self.run_program("scan", "fonts")
        lines = {line.split()[-1]: line for line in out.splitlines()}
        self.assertEqual(lines["FILE"].split(), ["STATE", "FORMAT", "FAMILY", "STYLE", "WEIGHT",
                                                 "FOUNDRY", "FINDINGS", "FILE"])
        for file, start in [("Acme.ttf", r"broken +truetype  +Acme, Sans  +Regular  +400  "),
                            ("broken.ttf", r"broken +truetype  +Broken  "),
                            ("page.ttf", r"no font  +20000 ")]:
            self.assertRegex(lines["fonts/" + file], "^" + start)
        self.assertRegex(err, r"^2 faces in 2 files: 2 truetype\n2 broken\n"
                              r"2 files are no fonts, though 1 has a font's name\n"
                              r"(  2 with .*\n)+(  1 with .*\n)+(  2 with .*\n)+"  # by gravity
                              r"(  1 with .*\n)+oxparser check ")

    def test_a_terminal_cuts_lines(self):
        for columns in (80, 140):
            for line in self.in_terminal(columns, "scan", "--progress", "never", "fonts",
                                         ).replace("\x1b[0m", "").splitlines()[:4]:
                self.assertLessEqual(len(line) - 5 * line.count("\x1b[3"), columns)

    def test_narrow_terminals_get_shorter_texts_that_are_whole(self):
        self.write("fonts/a.afm", b"StartFontMetrics 4.1\nFontName One-Bold\nFamilyName One\n"
                                  b"FullName One Bold\nEndFontMetrics\n")
        for columns, form, look in ((80, "metrics", "HTML"), (109, "metrics", "20000 HTML"),
                                    (110, "metrics/afm", "20000 HTML")):
            lines = re.sub("\x1b[^m]*m", "", self.in_terminal(
                columns, "scan", "--progress", "never", "fonts")).splitlines()
            found = {line.split("/")[-1].split(".")[0]: line for line in lines[1:5]}
            self.assertRegex(found["a"], f"^[a-z]+ +{form}  +One  +Bold  ")
            self.assertRegex(found["page"], f"^no font +{look}  ")
            self.assertRegex(found["broken"], r" \d{5} \+\d  ")

    def test_csv_has_the_same_columns_whatever_is_found(self):
        for command, columns in (("scan", SCAN_COLUMNS), ("check", CHECK_COLUMNS)):
            for place, found in (("fonts", True), ("fonts/readme", False)):
                out, _ = self.run_program(command, "--format", "csv", "--fail-on", "never", place)
                self.assertEqual(out.split("\r\n")[0], columns)
                self.assertEqual(out.count("\r\n") > 1, found)
        out, _ = self.run_program("check", "--format", "csv", "fonts/broken.ttf", status=1)
        rows = {row["code"]: row for row in csv.DictReader(io.StringIO(out, newline=""))}
        self.assertEqual([(rows[c]["level"], rows[c]["table"]) for c in ("20102", "11028")],
                         [("error", "post"), ("warning", "hmtx")])

    def test_json_holds_typed_properties_behind_the_attributes(self):
        fonts, _, _ = self.records("scan", "fonts/Acme.ttf")
        self.assertEqual(list(fonts[0])[3:6], ["attributes", "properties", "diagnostics"])
        properties = fonts[0]["properties"]
        self.assertEqual(list(properties.items())[:3],
                         [("format", "truetype"), ("container", "sfnt"), ("family", "Acme, Sans")])
        self.assertEqual((properties["weight"], properties["italic"]), (400, False))
        details = {"names", "coverage", "tables"}
        self.assertFalse(details & set(properties))
        fonts, _, _ = self.records("scan", "--names", "--coverage", "--tables", "fonts/Acme.ttf")
        self.assertLessEqual(details - {"coverage"}, set(fonts[0]["properties"]))

    @unittest.skipIf(jsonschema is None, "python3-jsonschema is not installed")
    def test_every_line_follows_the_schema(self):
        with open(SCHEMA, encoding="utf-8") as file:
            schema = jsonschema.Draft7Validator(json.load(file))
        for arguments in (["scan", "--names", "--coverage", "--tables", "fonts"],
                          ["scan", "--reading", "compatible", "fonts"], ["explain"],
                          ["import", "fonts", "--to", "copies"]):
            command, *rest = arguments
            out, _ = self.run_program(command, "--format", "jsonl", *rest)
            for line in self.objects(out):
                self.assertEqual([e.message for e in schema.iter_errors(line)], [], line)


if __name__ == "__main__":
    unittest.main()
