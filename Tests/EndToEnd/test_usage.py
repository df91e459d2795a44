"""The command line."""

import json
import unittest

from program import ProgramTest


class UsageTest(ProgramTest):
    def test_errors_name_what_is_wrong(self):
        self.write("refused.properties", b"rootCategory=NONSENSE, missing\n")
        for arguments, named in [
            ([], "no command; the commands are scan, check, import and explain"),
            (["frobnicate"], "'frobnicate'; the commands are scan, check, import and explain"),
            (["--bogus"], "--bogus"),
            (["--format", "jsonl", "scan", "."], "unknown option --format; the commands are"),
            (["frobnicate", "scan", "."], "unknown command 'frobnicate'"),
            (["help", "frobnicate"], "unknown command 'frobnicate'"),
            (["frobnicate", "--help"], "unknown command 'frobnicate'"),
            (["import", "--to", "x"], "PATH"),
            (["import", "."], "--to"),
            (["import", ".", "--to", "./"], "--to"),
            (["import", ".", "--to", "refused.properties"], "--to"),
            (["scan", "--bogus"], "--bogus"),
            (["scan", "-x"], "-x"),
            (["scan", "--format", "xml", "."], "--format"),
            (["check", "--fail-on", "note", "."], "--fail-on"),
            (["scan", "--progress", "sometimes", "."], "--progress"),
            (["scan", "--format"], "--format"),
            (["scan", "--reading", "old", "."], "--reading"),
            (["scan", "--reading", "modern", "--names", "."], "--names needs --format jsonl"),
            (["check", "--format", "jsonl", "--tables", "."], "--tables: the compatible reading"),
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
        version = r"^oxparser \d+\.\d+\.\d+\n$"
        commands = r"(?s)Usage: oxparser COMMAND .*\n  scan .*\n  check .*\n  import .*\n  explain "
        scan = r"(?s)Usage: oxparser scan \[options\] \[PATH\.\.\.\]\n.*--fail-on"
        for arguments, expected in [
            (["--version"], version), (["scan", "--version"], version),
            (["explain", "--version"], version), (["--help"], commands), (["help"], commands),
            (["help", "help"], commands), (["scan", "--help"], scan), (["help", "scan"], scan),
            (["scan", "help"], scan), (["explain", "help"], r"explain \[options\] \[CODE\.\.\.\]"),
            (["import", "-h"], r"PATH\.\.\. --to FOLDER"),
        ]:
            with self.subTest(arguments=arguments):
                out, err = self.run_program(*arguments)
                self.assertRegex(out, expected)
                self.assertEqual(err, "")
        self.write_all("help/a.ttf")
        self.assertEqual([f["file"] for f in self.records("scan", "help")[0]], ["help/a.ttf"])


class ExplainTest(ProgramTest):
    def test_everything_is_explained_without_a_code(self):
        out, _ = self.run_program("explain", "--format", "jsonl")
        codes = [json.loads(line) for line in out.splitlines()]
        findings = [c["code"] for c in codes if c["code"] >= 20000]
        self.assertEqual(sum(c["message"] is not None for c in codes), 166 + len(findings))
        self.assertEqual(findings[:2], [20000, 20001])
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
