"""Where the program finds the library's own lists of foundries."""

import os
import re
import shutil
import subprocess
import unittest

import sfnt
from test_program import PROGRAM, ProgramTest


class ListsTest(ProgramTest):
    def test_the_nearest_list_is_taken(self):
        """A named folder goes before one beside the library, a near one before a far one."""
        parts = sfnt.tables("Acme Sans")
        parts[b"CFF "] = b"\1\0\4\1" + b"\0" * 32
        self.write("a.otf", sfnt.assemble(parts, version=0x4F54544F))
        # The folders beside a library in top/prefix/lib, or a program that it is linked into.
        loaded = subprocess.run(["ldd", PROGRAM], check=True, stdout=subprocess.PIPE).stdout
        library = re.search(r"(liboxparser\S*) => (\S+)", loaded.decode())
        os.makedirs(self.path("top/prefix/lib"))
        if library:
            shutil.copy(library[2], self.path("top/prefix/lib", library[1]))
        program = shutil.copy(PROGRAM, self.path("top/prefix/lib/oxparser"))
        self.environment.update(LD_LIBRARY_PATH=self.path("top/prefix/lib"),
                                OXPARSER_RESOURCES=self.path("named"))
        # Each list knows another part of "Copyright Test Foundry".
        places = {"named": b"Test Foundry", "top/prefix/share/oxparser": b"Copyright Test",
                  "top/share/oxparser": b"Foundry"}
        for place, name in places.items():
            self.write(place + "/foundrylist.txt", name + b"\n")
        for place, name in places.items():
            done = subprocess.run([program, "scan", "--reading", "compatible", "--format", "jsonl",
                                   "a.otf"], cwd=self.folder,
                                  env=self.environment, check=True, stdout=subprocess.PIPE,
                                  stderr=subprocess.PIPE)
            self.assertIn(b'"Foundry":"%s"' % name, done.stdout, place)
            os.remove(self.path(place, "foundrylist.txt"))
            os.mkdir(self.path(place, "foundrylist.txt"))  # which is no list


if __name__ == "__main__":
    unittest.main()
