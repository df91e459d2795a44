"""What the program shows to people: tables, progress, messages."""

import re
import unicodedata
import os
import unittest

import sfnt
from program import ProgramTest


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

    def test_what_tells_two_lines_apart_is_not_cut(self):
        self.write("a.ttf", sfnt.font("Acme", lost=b"post"))
        self.write("out/A/Acme/Unknown/a.ttf", b"something else")
        self.assertRegex(self.in_terminal(80, "check", "a.ttf", status=1), "Font file .*…[a-z]*: post ")
        self.assertIn("taken by something else\n",
                      self.in_terminal(80, "import", "a.ttf", "--to", "out", status=1))

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
        for terminal in ["dumb", ""]:
            self.environment["TERM"] = terminal
            for progress in ["auto", "always"]:
                out = self.in_terminal(80, "scan", "--progress", progress, ".")
                self.assertNotRegex(out, "[\x1b\r]")

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


if __name__ == "__main__":
    unittest.main()
