"""Ways to run the program that OXPARSER_PROGRAM names."""

import fcntl
import json
import os
import pty
import struct
import subprocess
import termios

import records
import sfnt

PROGRAM = os.environ["OXPARSER_PROGRAM"]
NOBODY = 65534
WAIT = 120


class ProgramTest(records.FolderTest):
    """Ways to run the program in the folder, with the reading that the class names."""

    READING = "compatible"

    def setUp(self):
        super().setUp()
        self.environment = {k: v for k, v in os.environ.items()
                            if k not in ("COLUMNS", "NO_COLOR")}
        self.environment["TERM"] = "xterm"

    def write_all(self, *names):
        """A sound font under each of the names."""
        for name in names:
            self.write(name, sfnt.font())

    def nobody(self):
        """Options that start the program as a user whom file permissions stop."""
        if os.geteuid() != 0:
            return {}
        options = {"user": NOBODY, "group": NOBODY, "extra_groups": []}
        try:
            self.run_program("--version", **options)
        except PermissionError:
            self.skipTest("the program is out of an ordinary user's reach")
        return options

    def fail_with(self, fault):
        """From now on the file system fails the program (Tests/Faults/FaultyFiles.cpp)."""
        self.environment.update(LD_PRELOAD=os.environ["OXPARSER_FAULTS"], OXPARSER_FAULT=fault)

    def write_links(self, count):
        """A folder "many" of so many links to one large font."""
        os.mkdir(self.path("many"))
        font = self.write("big.ttf", sfnt.font(padding=1_000_000))
        for number in range(count):
            os.link(font, self.path("many", "%d.ttf" % number))

    def with_reading(self, arguments):
        """The arguments, and the reading where a command takes it."""
        command, *rest = arguments or [None]
        if command not in records.READING_COMMANDS or rest in (["help"], ["--help"]):
            return arguments
        return [command, "--reading", self.READING, *rest]

    def start(self, *arguments, **options):
        options.setdefault("stdout", subprocess.PIPE)
        options.setdefault("stderr", subprocess.PIPE)
        return subprocess.Popen([PROGRAM, *self.with_reading(arguments)], cwd=self.folder, env=self.environment,
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
        objects = self.objects(out)
        self.assertEqual(objects[-1]["record"], "summary")
        self.assertTrue(all(o["record"] == "font" for o in objects[:-1]))
        return objects[:-1], objects[-1], err

    def objects(self, out):
        self.assertTrue(out.endswith("\n"))
        return [json.loads(line) for line in out.splitlines()]

    def in_terminal(self, columns, *arguments, status=0):
        """What the program sends to a terminal of that width."""
        pid, terminal = pty.fork()
        if pid == 0:
            os.chdir(self.folder)
            fcntl.ioctl(1, termios.TIOCSWINSZ, struct.pack("4H", 40, columns, 0, 0))
            os.execve(PROGRAM, [PROGRAM, *self.with_reading(arguments)], self.environment)
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
