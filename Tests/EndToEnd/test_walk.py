"""Which files the program finds, what it says of the others, and how it ends early."""

import fcntl
import json
import os
import signal
import struct
import subprocess
import termios
import time
import unittest

import sfnt
from program import WAIT, ProgramTest

F_SETPIPE_SZ = 1031


class SourcesTest(ProgramTest):
    def setUp(self):
        super().setUp()
        self.write_all("a.ttf", "[b].ttf", "--format/x.ttf", "++/x.ttf")

    def files(self, *arguments, **options):
        fonts, summary, err = self.records("scan", *arguments, **options)
        self.assertEqual(summary["fonts"], len(fonts))
        return [f["file"] for f in fonts], err

    def test_paths_are_taken_as_they_are_given_and_once(self):
        os.symlink("++", self.path("link"))
        for arguments, files in [
            (["./a.ttf", "[b].ttf", "--", "--format"], ["./a.ttf", "[b].ttf", "--format/x.ttf"]),
            (["++"], ["./++/x.ttf"]),
            (["a.ttf", "./a.ttf", ".//a.ttf", self.path("a.ttf"), "++/", "./++", "./++/."],
             ["a.ttf", "++/x.ttf"]),
            (["link/../a.ttf", "a.ttf", "link"], ["link/../a.ttf", "a.ttf", "link/x.ttf"]),
        ]:
            with self.subTest(arguments=arguments):
                self.assertEqual(self.files(*arguments), (files, ""))

    def test_more_paths_come_from_a_list(self):
        self.write_all("new\nline.ttf", "cr\r/x.ttf", "cr/y.ttf")
        for arguments, listed, files in [
            (["--", "--format"], b"a.ttf\n\n[b].ttf", ["--format/x.ttf", "a.ttf", "[b].ttf"]),
            (["--null"], b"new\nline.ttf\0a.ttf\0", ["new\nline.ttf", "a.ttf"]),
            ([], b"\n", []),
            (["a.ttf"], b"[b].ttf\r\n\r\n./a.ttf\r\n++\r", ["a.ttf", "[b].ttf", "++/x.ttf"]),
        ]:
            with self.subTest(listed=listed):
                self.assertEqual(self.files("--files-from", "-", *arguments, stdin=listed),
                                 (files, ""))
        self.assertEqual(self.files("--files-from", "-", stdin=b"cr\r\n")[0], ["cr\r/x.ttf"])
        self.assertIn("++", self.files("--files-from", "-", "--null", stdin=b"++\r\0", status=1)[1])

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

    def test_what_cannot_be_read_is_named_with_the_reason(self):
        self.write("closed/x.ttf", sfnt.font())
        self.write_all("open/0.ttc", "open/1.ttf", "open/2.otf", "open/3.pfb", "open/4.ttf")
        options = self.nobody()
        closed = ["closed", "open/0.ttc", "open/1.ttf", "open/2.otf", "open/3.pfb"]
        for name in closed:
            os.chmod(self.path(name), 0)
        self.addCleanup(os.chmod, self.path("closed"), 0o755)
        fonts, _, err = self.records("scan", "closed", "open", status=1, **options)
        self.assertEqual([[d["code"] for d in f["diagnostics"]] for f in fonts], [[-1003]] * 3 + [[]])
        self.assertEqual(err.replace("cannot read ", "").splitlines(),
                         ["oxparser: %s: Permission denied" % name for name in closed])

    def test_without_a_path_the_font_folders_are_scanned_and_named(self):
        self.write_all("home/.fonts/a.ttf", "data/fonts/b.ttf")
        self.environment.update(HOME=self.path("home"), XDG_DATA_HOME=self.path("data"))
        _, err = self.run_program("check", "--fail-on", "never", "--format", "csv")
        named = err.splitlines()[0].split(": ")[2].split()
        self.assertEqual(named[-2:], [self.path("data/fonts"), self.path("home/.fonts")])

    def test_nothing_waits_for_a_fifo(self):
        os.mkfifo(self.path("pipe.ttf"))
        files, _ = self.files("pipe.ttf", "a.ttf")
        self.assertEqual(files, ["pipe.ttf", "a.ttf"])


class WalkTest(ProgramTest):
    def files(self, *sources):
        fonts, summary, err = self.records("scan", *sources)
        self.assertEqual((summary["filesFound"], err), (len(fonts), ""))
        return [f["file"] for f in fonts]

    def test_every_folder_is_walked_once_and_in_order(self):
        ring = ["d%d" % n for n in range(8)]
        for files, links, sources, expected in [
            # Every folder leads to every other.
            (["r/d3/%d.ttf" % n for n in range(8)],
             {"r/%s/to %s" % (a, b): "../" + b for a in ring for b in ring},
             ["r"], ["r/d3/%d.ttf" % n for n in range(8)]),
            # Byte order, whatever the locale; a folder's own place among the names.
            (["o/b.ttf", "o/B.ttf", "o/é.ttf", "o/z/1.ttf", "o/z.ttf", "o/z-/2.ttf", "o/10.ttf"], {},
             ["o"], ["o/10.ttf", "o/B.ttf", "o/b.ttf", "o/z/1.ttf", "o/z-/2.ttf", "o/z.ttf",
                     "o/é.ttf"]),
            # Its own path goes before links; else the first link to it does.
            (["l/z/own.ttf", "outside/x.ttf"],
             {"l/a": "z", "l/b": "../outside", "l/c": "../outside", "l/z/up": ".."},
             ["l", "l/c"], ["l/z/own.ttf", "l/b/x.ttf", "l/c/x.ttf"]),
            # What is reached through a link only may hold links and what others lead into.
            (["in/1.ttf", "far/deep/2.ttf", "farther/3.ttf"],
             {"in/b": "../far/deep", "in/c": "../far", "far/to": "../farther"},
             ["in"], ["in/1.ttf", "in/b/2.ttf", "in/c/to/3.ttf"]),
        ]:
            with self.subTest(sources=sources):
                self.write_all(*files)
                for name, target in links.items():
                    os.makedirs(os.path.dirname(self.path(name)), exist_ok=True)
                    os.symlink(target, self.path(name))
                self.assertEqual(self.files(*sources), expected)

    def test_the_kernels_own_file_systems_are_left_out_unless_they_are_asked_for(self):
        self.write_all("a/1.ttf")
        for name in ["/proc/self/fdinfo", "/sys/kernel", "/dev"]:
            os.symlink(name, self.path("a", os.path.basename(name)))
        self.assertEqual(self.files("a"), ["a/1.ttf"])
        self.assertGreater(self.records("scan", "/proc/self/fdinfo")[1]["filesFound"], 2)

    def test_a_path_that_is_too_long_makes_a_short_complaint(self):
        names = ["a folder with a long name %03d" % n for n in range(300)]
        here = os.open(self.folder, os.O_RDONLY)
        for name in names:
            os.mkdir(name, dir_fd=here)
            below = os.open(name, os.O_RDONLY, dir_fd=here)
            os.close(here)
            here = below
        os.close(here)
        _, _, err = self.records("scan", names[0], "/".join(names[:100] + ["gone.ttf"]), status=1)
        lines = err.splitlines()
        self.assertEqual(len(lines), 2)
        for line, end in zip(lines, ["/gone.ttf: No such file or directory", ": File name too long"]):
            self.assertLess(len(line), 250)
            self.assertIn(names[0] + "/", line)
            self.assertTrue(line.endswith(end), line)


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
        sources = ["links/%d" % number for number in range(2000)]
        os.mkdir(self.path("links"))
        for source in sources:
            os.symlink("../many", self.path(source))
        process = self.long_scan("--files-from", "-", stdin=subprocess.PIPE)
        process.stdin.write("\n".join(sources).encode())
        process.stdin.close()
        process.stdin = None
        # The walk's thread is the fourth.
        self.wait_until(lambda: len(os.listdir("/proc/%d/task" % process.pid)) > 3)
        process.send_signal(signal.SIGTERM)
        out, err = process.communicate(timeout=WAIT)
        self.assertEqual(process.returncode, 143)
        summary = json.loads(out)
        self.assertTrue(summary["cancelled"])
        self.assertEqual((summary["fonts"], summary["filesParsed"]), (0, 0))
        self.assertLess(summary["filesFound"], 2000 * self.LINKS)

    def test_a_walk_that_hangs_tells_what_it_has_found_and_can_be_ended(self):
        self.write_all("tree/1.ttf", "tree/2.ttf", "tree/share/x.ttf", "tree/share/y.ttf")
        self.fail_with("list hang /share")
        for arguments, summary in [
            (["scan", "tree"], "0 fonts in 2 files: 0 errors, 0 warnings, 0 notes"),
            (["import", "tree", "--to", "out"], "0 copied (0 bytes); 0 fonts in 2 files: "),
        ]:
            process = self.start(*arguments, "--progress", "always")
            self.addCleanup(process.kill)
            while b" 2 found" not in process.stderr.readline():
                self.assertIsNone(process.poll())
            process.send_signal(signal.SIGINT)
            out, err = process.communicate(timeout=WAIT)
            self.assertEqual((process.returncode, out), (130, b""))
            self.assertIn(summary, err.decode())
            self.assertIn("(ended early after 0 files)", err.decode())

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
        self.assertEqual(process.wait(WAIT), -signal.SIGPIPE)
        self.assertEqual(process.stderr.read(), b"")


if __name__ == "__main__":
    unittest.main()
