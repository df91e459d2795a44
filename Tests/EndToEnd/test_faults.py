"""The program while the file system fails it (Tests/Faults/FaultyFiles.cpp)."""

import json
import os
import resource
import shutil
import struct
import subprocess
import sys
import unittest

import sfnt
from program import NOBODY, PROGRAM, ProgramTest

FAULTS = os.environ["OXPARSER_FAULTS"]
SEEDS = os.environ["OXPARSER_SEEDS"]
UNIT_TESTS = os.environ["OXPARSER_UNIT_TESTS"]

# A font of each format, by the seed that it is made from.
FONTS = {"victim.ttf": "TrueType/good", "victim.otf": "OpenType/kerning",
         "victim.ttc": "Collection/shared", "victim.pfb": "Pfb/good", "victim.pfm": "Pfm/good",
         "victim.dfont": "Dfont/family", "victim": None}
NO_READ = ("EIO", "EACCES", "EMFILE", "ENOMEM")
# What such a font is reported with when it cannot be opened or read, as type and code; a file of
# resources has no records then.
UNREADABLE = {"victim.ttf": [("error", -1003)], "victim.otf": [("error", -1003)],
              "victim.ttc": [], "victim.pfb": [("error", -1003)], "victim.pfm": [],
              "victim.dfont": None, "victim": None}


def apple_double(fork, kind=b""):
    return struct.pack(">2L16xH6L32s", 0x00051607, 0x20000, 2, 9, 50, 32, 2, 82, len(fork),
                       kind) + fork


def set_attribute(file, name, value):
    """False where files have no attributes."""
    try:
        os.setxattr(file, name, value)
    except OSError:
        return False
    return True


class FaultTest(ProgramTest):
    def setUp(self):
        super().setUp()
        seeds = self.path("seeds")
        subprocess.run([SEEDS, seeds], check=True, stdout=subprocess.DEVNULL)
        for name, seed in FONTS.items():
            os.makedirs(self.path("fonts", name + ".d"))
            if seed:
                shutil.copy(os.path.join(seeds, seed), self.path("fonts", name + ".d", name))
        self.write("fonts/victim.d/victim", b"")
        shutil.copy(os.path.join(seeds, "AppleDouble/double"), self.path("fonts/victim.d/._victim"))
        shutil.rmtree(seeds)
        self.write("fonts/witness.ttf", sfnt.font("Witness"))
        shutil.copytree(self.path("fonts"), self.path("kept"))
        self.good = self.scan()
        self.assertEqual(self.err, "")

    def scan(self, fault=None, **options):
        """Diagnostics and attributes of each file's records, with the fault."""
        if fault:
            self.environment.update(LD_PRELOAD=FAULTS, OXPARSER_FAULT=fault)
        try:
            process = self.start("scan", "--format", "jsonl", "fonts", **options)
            out, err = process.communicate(timeout=120)
        finally:
            self.environment.pop("LD_PRELOAD", None)
            self.environment.pop("OXPARSER_FAULT", None)
        self.assertIn(process.returncode, (0, 1), (fault, err))
        lines = out.decode().splitlines()
        self.err = err.decode()
        self.assertTrue(lines and '"record":"summary"' in lines[-1], (fault, self.err))
        files = {}
        for line in lines[:-1]:
            font = json.loads(line)
            files.setdefault(os.path.basename(font["file"]), []).append(
                ([(d["type"], d["code"]) for d in font["diagnostics"]], font["attributes"]))
        return files

    def restore(self):
        shutil.rmtree(self.path("fonts"), ignore_errors=True)
        shutil.copytree(self.path("kept"), self.path("fonts"))

    def unharmed(self, files, *but):
        """Every other file's records are as they always are."""
        for name, records in self.good.items():
            if name not in but:
                self.assertEqual(files.get(name), records, (name, but))

    def test_every_format_survives_every_failure_of_a_read(self):
        self.assertEqual(len(self.good), len(FONTS) + 1)
        for call in ("open", "read"):
            for name, expected in UNREADABLE.items():
                for error in NO_READ:
                    fault = " ".join((call, error, "/._victim" if name == "victim" else "/" + name))
                    files = self.scan(fault)
                    self.unharmed(files, name)
                    if expected is None:
                        self.assertNotIn(name, files, fault)
                    else:
                        self.assertEqual([r[0] for r in files.get(name, [([], None)])],
                                         [expected], fault)

    def test_bytes_that_cannot_be_read_are_no_mere_defects(self):
        """A record has only sums that differ; that the disk failed is told beside it."""
        for name in ("victim.ttf", "victim.otf", "victim.ttc", "victim.pfb", "victim.pfm"):
            half = os.path.getsize(self.path("fonts", name + ".d", name)) // 2
            self.told("fonts/%s.d/%s" % (name, name), "Input/output error",
                      "read EIO /%s %d" % (name, half))

    def test_an_import_never_leaves_an_unreadable_fork_behind(self):
        """A file whose fork cannot be read is not copied without it."""
        fork = b"\0\0\1\0\0\0\1\4\0\0\0\4\0\0\0\x1e".ljust(1000, b"\0")
        self.write("mac/._Acme.ttf", apple_double(fork))
        self.write("mac/Acme.ttf", sfnt.font("Acme"))
        # Read errors in the header, where the fork begins, and in its midst.
        faults = ["%s /._Acme.ttf" % fault for fault in ("open EIO", "open EACCES", "read EIO")]
        faults += [faults[-1] + " 128", faults[-1] + " 500", "list EIO /mac", "open EACCES mac",
                   "attributes EIO /Acme.ttf"]
        if set_attribute(self.path("mac/Acme.ttf"), "user.com.apple.FinderInfo", bytes(32)):
            faults += ["attribute EIO /Acme.ttf", "attribute huge /Acme.ttf"]
        for fault in [*faults, "close EIO (deleted)"]:
            self.environment.update(LD_PRELOAD=FAULTS, OXPARSER_FAULT=fault)
            out, _ = self.run_program("import", "--format", "csv", "mac/Acme.ttf", "--to", "copies",
                                      status=1)
            self.assertIn("\nfailed,mac/Acme.ttf,", out.replace("\r", ""), fault)
            self.assertEqual([f for _, _, f in os.walk(self.path("copies")) if f], [], fault)
        del self.environment["LD_PRELOAD"], self.environment["OXPARSER_FAULT"]
        self.run_program("import", "mac/Acme.ttf", "--to", "copies")
        copies = [os.path.join(folder, name) for folder, _, names in os.walk(self.path("copies"))
                  for name in names if name.startswith("._")]
        self.assertEqual(len(copies), 1)
        with open(copies[0], "rb") as copy:
            self.assertEqual(copy.read()[82:], fork)

    def test_what_hides_a_fork_is_told(self):
        """A file is never silently taken to have no fork."""
        suitcase = "fonts/victim.d/victim"
        with open(self.path("fonts/victim.d/._victim"), "rb") as file:
            sidecar = file.read()
        faults = {"list EIO /victim.d": "cannot list fonts/victim.d: Input/output error",
                  "open EACCES /victim.d": "cannot list fonts/victim.d: Permission denied",
                  "attributes EIO /victim": "cannot list its attributes: Input/output error",
                  "open EACCES /._victim": "cannot read fonts/victim.d/._victim: Permission denied",
                  "read EIO /._victim": "cannot read fonts/victim.d/._victim: Input/output error",
                  "read EIO /._victim 90":
                      "cannot read fonts/victim.d/._victim: Input/output error"}
        if set_attribute(self.path(suitcase), "user.com.apple.ResourceFork", bytes(9)):
            faults["attribute EIO /victim"] = (
                "cannot read its attribute user.com.apple.ResourceFork: Input/output error")
            faults["attribute huge /victim"] = (
                "cannot read its attribute user.com.apple.ResourceFork: File too large")
        for fault, reason in faults.items():
            with self.subTest(fault):
                self.told(suitcase, reason, fault)
        os.remove(self.path(suitcase))
        self.write(suitcase, b"")
        # Damage, with no record to say it.
        for damaged in (sidecar[:20], sidecar[:90], sidecar[:82] + bytes(len(sidecar) - 82)):
            self.write("fonts/victim.d/._victim", damaged)
            self.told(suitcase, "fonts/victim.d/._victim is damaged")
        self.write("fonts/victim.d/._victim", apple_double(b"", b"FFIL"))
        self.told(suitcase, "The resource fork is missing or empty")

    def test_a_folder_that_can_only_be_entered_hides_no_fork(self):
        """Neither from a scan nor from an import of an ordinary user."""
        if os.geteuid() != 0:
            self.skipTest("needs another user's rights")
        self.write("fonts/victim.d/Acme.ttf", sfnt.font("Acme"))
        self.write("fonts/victim.d/._Acme.ttf", apple_double(bytes(300)))
        os.mkdir(self.path("copies"))
        os.chown(self.path("copies"), NOBODY, NOBODY)
        os.chmod(self.path("fonts/victim.d"), 0o311)
        files = ["fonts/victim.d/victim", "fonts/victim.d/Acme.ttf"]
        out, err = self.run_program("import", "--format", "csv", *files, "--to", "copies", status=1,
                                    user=NOBODY, group=NOBODY, extra_groups=[])
        self.assertIn(files[0] + ": cannot list fonts/victim.d: Permission denied", err)
        self.assertRegex(out, "(?m)^failed,%s,.*Permission denied" % files[1])
        self.assertEqual([f for _, _, f in os.walk(self.path("copies")) if f], [])

    def test_a_damaged_sidecar_is_copied_as_it_is(self):
        whole = apple_double(b"\0\0\1\0\0\0\1\4\0\0\0\4\0\0\0\x1e".ljust(1000, b"\0"))
        for number, sidecar in enumerate((whole[:10], whole[:60], whole[:340],
                                          apple_double(bytes(300)) + b"rest")):
            self.write("mac%d/Acme.ttf" % number, sfnt.font("Acme"))
            self.write("mac%d/._Acme.ttf" % number, sidecar)
            copies = "copies%d" % number
            for outcome in ("copied", "same"):
                out, _ = self.run_program("import", "--format", "csv", "mac%d" % number,
                                          "--to", copies)
                self.assertIn("\n%s,mac" % outcome, out.replace("\r", ""))
            found = [os.path.join(folder, name) for folder, _, names in os.walk(self.path(copies))
                     for name in names if name.startswith("._")]
            self.assertEqual(len(found), 1)
            with open(found[0], "rb") as copy:
                self.assertEqual(copy.read(), sidecar)

    def told(self, file, reason, fault=""):
        """A scan of the file tells that reason, and only it."""
        self.environment.update(LD_PRELOAD=FAULTS, OXPARSER_FAULT=fault)
        _, err = self.run_program("scan", "--format", "csv", file, status=1)
        del self.environment["LD_PRELOAD"], self.environment["OXPARSER_FAULT"]
        complaints = [line for line in err.splitlines() if file in line]
        self.assertEqual([line.split(": ", 2)[2] for line in complaints], [reason], (fault, err))

    def test_short_and_interrupted_reads_change_nothing(self):
        for action in ("short", "interrupted"):
            for name in [*FONTS, "._victim"]:
                self.assertEqual(self.scan("read %s %s" % (action, name)), self.good, action)

    def test_a_file_that_changes_while_it_is_read_harms_no_other(self):
        for call in ("open", "read"):
            for action in ("truncate", "grow", "unlink"):
                for name in FONTS:
                    fork = "/._victim" if name == "victim" else "/" + name
                    files = self.scan(" ".join((call, action, fork)))
                    self.unharmed(files, name)
                    for _, attributes in files.get(name, []):
                        self.assertEqual(attributes.get("FileName", name), name)
                    self.restore()

    def test_a_folder_that_fails_or_vanishes_during_the_walk_is_named(self):
        for action in ("EIO", "remove"):
            self.write("fonts/gone/1.ttf", b"")
            self.write("fonts/gone/2.ttf", b"")
            files = self.scan("list %s /gone" % action)
            self.unharmed(files)
            if action == "EIO":
                self.assertIn("gone: Input/output error", self.err)
            self.restore()

    def test_rights_that_go_away_are_an_unreadable_file(self):
        if os.geteuid() != 0:
            self.skipTest("needs another user's rights to take away")
        for folder, _, names in os.walk(self.path("fonts")):
            os.chown(folder, NOBODY, NOBODY)
            for name in names:
                os.chown(os.path.join(folder, name), NOBODY, NOBODY)
        options = {"user": NOBODY, "group": NOBODY, "extra_groups": []}
        try:
            files = self.scan("open forbid /victim.ttf", **options)
        except PermissionError:
            self.skipTest("the program is out of an ordinary user's reach")
        self.unharmed(files, "victim.ttf")
        self.assertEqual(files["victim.ttf"][0][0], [("error", -1003)])

    def test_a_thread_that_cannot_be_made_ends_the_scan_in_order(self):
        refused = 0
        for number in range(1, 12):
            fault = "thread EAGAIN %d" % number
            self.environment.update(LD_PRELOAD=FAULTS, OXPARSER_FAULT=fault)
            process = self.start("scan", "--format", "jsonl", "fonts")
            out, err = process.communicate(timeout=120)
            if b"Resource temporarily unavailable" in err:
                self.assertEqual((process.returncode, out), (1, b""), fault)
                refused += 1
            else:  # a helper, or more than there are
                self.assertEqual(self.scan(fault), self.good, fault)
        # The walk's and the two of the parsing side must be there.
        self.assertGreaterEqual(refused, 3)

    def test_a_host_may_try_again_after_a_thread_could_not_be_made(self):
        for number in range(1, 4):
            environment = dict(self.environment, LD_PRELOAD=FAULTS,
                               OXPARSER_FAULT="thread EAGAIN %d" % number)
            subprocess.run([UNIT_TESTS, "--gtest_filter=Pipeline.RunsAgain*"], check=True,
                           env=environment, stdout=subprocess.DEVNULL, timeout=60)

    def test_no_more_than_the_largest_file_is_in_memory(self):
        largest = 21_000_000
        for name in FONTS:
            if name.endswith(("ttf", "otf", "ttc", "pfb")):
                os.truncate(self.path("fonts", name + ".d", name), largest)
        # A process of its own, since what a starting process takes counts, too.
        measure = ("import resource, subprocess, sys; subprocess.run(sys.argv[1:], check=True);"
                   "print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss, file=sys.stderr)")
        process = subprocess.run([sys.executable, "-c", measure, PROGRAM, "scan", "--reading",
                                  "compatible", "fonts"],
                                 cwd=self.folder, env=self.environment, capture_output=True,
                                 timeout=120, check=True)
        peak = int(process.stderr.split()[-1]) * 1024
        self.assertLessEqual(peak, largest + (24 << 20))

    def test_a_process_without_descriptors_ends_in_order(self):
        for most in list(range(4, 13)) + [64]:
            def limit(most=most):
                resource.setrlimit(resource.RLIMIT_NOFILE, (most, most))
            if most == 64:
                self.assertEqual(self.scan(preexec_fn=limit), self.good)
                continue
            process = self.start("scan", "--format", "jsonl", "fonts", preexec_fn=limit)
            out, err = process.communicate(timeout=120)
            self.assertIn(process.returncode, (0, 1), err)
            self.assertTrue(b'"record":"summary"' in out or b"Too many open files" in err, most)


if __name__ == "__main__":
    unittest.main()
