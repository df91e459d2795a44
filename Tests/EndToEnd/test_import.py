"""What the program copies, and what it says of each copy."""

import csv
import io
import os
import re
import subprocess
import unittest

import sfnt
from program import WAIT, ProgramTest


class ImportTest(ProgramTest):
    # By outcome: the file, its family, and where below the destination it belongs.
    FONTS = {
        "copied": ("a.ttf", "New", "N/New/Unknown/a.ttf"),
        "same": ("b.ttf", "Same", "S/Same/Unknown/b.ttf"),
        "differs": ("c.ttf", "Other", "O/Other/Unknown/c.ttf"),
        "refused": ("d.ttf", "../../../out", "../../../out/Unknown/d.ttf"),
        "failed": ("e.ttf", "Blocked", "B/Blocked/Unknown/e.ttf"),
    }
    WHY = {"differs": "the destination is taken by something else", "failed": "Not a directory"}

    def setUp(self):
        super().setUp()
        for file, family, _ in self.FONTS.values():
            self.write("in/" + file, sfnt.font(family))
        seeds = self.path("seeds")
        subprocess.run([os.environ["OXPARSER_SEEDS"], seeds], check=True, timeout=WAIT,
                       stdout=subprocess.DEVNULL)
        os.rename(os.path.join(seeds, "Dfont/family"), self.path("in/f.dfont"))

    def prepare(self, destination):
        self.write(destination + "/S/Same/Unknown/b.ttf", sfnt.font("Same"))
        self.write(destination + "/O/Other/Unknown/c.ttf", b"a user's own file")
        self.write(destination + "/B/Blocked", b"no folder")

    def tree(self, folder):
        found = {}
        for place, folders, files in os.walk(self.path(folder)):
            for name in folders:
                found[os.path.join(place, name)] = None
            for name in files:
                with open(os.path.join(place, name), "rb") as file:
                    found[os.path.join(place, name)] = file.read()
        return found

    def rows(self, destination, **changed):
        """What is expected of the fonts above: outcome, source, destination and why."""
        expected = []
        for outcome, (file, _, place) in self.FONTS.items():
            outcome = changed.get(outcome, outcome)
            expected.append((outcome, "in/" + file, destination + "/" + place,
                             self.WHY.get(outcome)))
        return expected

    def lines(self, *arguments, status=1):
        """The rows of an import in JSON lines, the dfont's aside, and the summary."""
        out, err = self.run_program("import", "--format", "jsonl", *arguments, status=status)
        *objects, summary = self.objects(out)
        self.assertTrue(all(list(o) == ["record", "source", "destination", "outcome", "error"] and
                            o["record"] == "import" for o in objects))
        self.assertEqual((summary["record"], err), ("summary", ""))
        return [(o["outcome"], o["source"], o["destination"], o["error"]) for o in objects
                if o["source"] != "in/f.dfont"], summary

    def test_every_outcome_is_told_in_every_format(self):
        counts = {"copied": 2, "same": 1, "differs": 1, "no-folder": 0, "no-file": 1, "refused": 1,
                  "failed": 1, "bytesCopied": None}
        self.prepare("json")
        rows, summary = self.lines("in", "--to", "json")
        self.assertEqual(rows, self.rows("json"))
        self.assertEqual(list(summary)[-len(counts):], list(counts))
        size = sum(os.path.getsize(self.path("in", name)) for name in ["a.ttf", "f.dfont"])
        self.assertEqual({k: summary[k] for k in counts}, dict(counts, bytesCopied=size))

        self.prepare("csv")
        out, _ = self.run_program("import", "--format", "csv", "in", "--to", "csv", status=1)
        head, *table = csv.reader(io.StringIO(out, newline=""), strict=True)
        self.assertEqual(head, ["outcome", "source", "destination", "error"])
        self.assertIn(["no-file", "in/f.dfont", "", ""], table)
        for row in self.rows("csv"):
            self.assertIn([field or "" for field in row], table)

        self.prepare("table")
        out, err = self.run_program("import", "in", "--to", "table", status=1)
        table = [re.split("  +", line.rstrip()) for line in out.splitlines()]
        self.assertEqual(table[0], ["OUTCOME", "SOURCE", "DESTINATION", "WHY"])
        for row in self.rows("table"):
            self.assertIn([field for field in row if field], table)
        self.assertRegex(err, r"^2 copied, 1 same, 1 differs, 1 no-file, 1 refused, 1 failed "
                              r"\(\d+ bytes\); \d+ fonts in 6 files: ")
        self.assertFalse(os.path.exists(self.path("out")))

    def test_nothing_is_overwritten_and_a_second_run_finds_the_same(self):
        self.prepare("to")
        before = self.tree("to")
        self.lines("in", "--to", "to")
        after = self.tree("to")
        self.assertEqual({k: v for k, v in after.items() if k in before}, before)
        self.assertEqual(after[self.path("to/N/New/Unknown/a.ttf")], sfnt.font("New"))
        rows, summary = self.lines("in", "--to", "to")
        self.assertEqual(rows, self.rows("to", copied="same"))
        self.assertEqual((summary["copied"], summary["bytesCopied"]), (0, 0))
        self.assertEqual(self.tree("to"), after)

    def test_a_rehearsal_says_the_same_and_does_nothing(self):
        self.prepare("to")
        before = self.tree("")
        rows, _ = self.lines("in", "--to", "to", "--dry-run")
        self.assertEqual(rows, self.rows("to"))
        self.run_program("import", "in/a.ttf", "--to", "new", "--dry-run")
        self.assertEqual(self.tree(""), before)

    def test_folders_are_made_unless_that_is_not_wanted(self):
        self.prepare("to")
        before = self.tree("to")
        rows, summary = self.lines("in", "--to", "to", "--no-create-folders")
        self.assertEqual(rows, self.rows("to", copied="no-folder", failed="no-folder"))
        self.assertEqual((summary["copied"], self.tree("to")), (0, before))

    def test_the_exit_status_tells_whether_all_is_in_its_place(self):
        for outcome, (file, _, _) in self.FONTS.items():
            with self.subTest(outcome=outcome):
                self.prepare(outcome)
                _, summary = self.lines("in/" + file, "--to", outcome,
                                        status=0 if outcome in ("copied", "same") else 1)
                self.assertEqual(summary[outcome], 1)
        self.lines("in/f.dfont", "--to", "no-file", status=0)

    def test_a_destination_inside_its_source_is_no_source(self):
        self.write("tree/x.ttf", sfnt.font("New"))
        for outcome in ["copied", "same"]:
            rows, summary = self.lines("tree", "--to", "tree/out/deep", status=0)
            self.assertEqual([r[:2] for r in rows], [(outcome, "tree/x.ttf")])
            self.assertEqual(summary["filesFound"], 1)
            os.symlink("out/deep", self.path("tree", outcome))


class ModernImportTest(ProgramTest):
    READING = "modern"

    def test_families_of_all_scripts_have_folders_that_every_system_takes(self):
        for number, family in enumerate(["明朝体", "Жуковский", "نسخ", "e\u0301tude", "É", "AUX", "a:b"]):
            self.write("in/%d.ttf" % number, sfnt.font(family))
        out, _ = self.run_program("import", "--format", "csv", "in", "--to", "to")
        table = list(csv.reader(io.StringIO(out, newline="")))[1:]
        self.assertEqual([row[2].split("/")[1:3] for row in table],
                         [["明", "明朝体"], ["Ж", "Жуковский"], ["ن", "نسخ"], ["é", "étude"],
                          ["é", "É"], ["A", "AUX_"], ["A", "a_b"]])
        self.assertTrue(all(os.path.isfile(self.path(row[2])) for row in table))

    def test_what_stays_behind_is_told_with_its_reason(self):
        self.write("in/a.ttf", sfnt.font("Acme"))
        self.write("in/page.ttf", b"<!DOCTYPE html><html></html>")
        out, _ = self.run_program("import", "--format", "csv", "in", "--to", "to")
        row = next(row for row in csv.reader(io.StringIO(out)) if row[0] == "copied")
        self.write(row[2], b"the user's own")
        _, err = self.run_program("import", "in", "--to", "to", status=1)
        head, *told, summary = err.splitlines()
        self.assertEqual(head, "Not in its place:")
        self.assertEqual(told[0], "  differs  in/a.ttf: %s is taken by something else" % row[2])
        self.assertRegex(told[1], "^  no-file  in/page.ttf: .*HTML")
        self.assertEqual(len(told), 2)
        self.assertTrue(summary.startswith("0 copied, 1 differs, 1 no-file"), summary)
        for outcome in ["copied", "same"]:
            out, _ = self.run_program("import", "--keep-both", "--format", "csv", "in", "--to", "to")
            self.assertIn([outcome, "in/a.ttf", row[2].replace("a.ttf", "a-2.ttf"), ""],
                          list(csv.reader(io.StringIO(out, newline=""))))


if __name__ == "__main__":
    unittest.main()
