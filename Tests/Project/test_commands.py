"""./run and what ./test is made of, where things are missing: Debian's packages and their
tools, a network, a git folder, a link on the way. The scripts are real; tools that would build or
install for minutes are stood in for by a few lines of shell."""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
TOOLS = ("bash env sh dirname readlink mkdir mktemp rm cat tail tr grep sed sort find sleep id kill "
         "touch chmod ls cp xargs").split()
CMAKE = """#!/bin/sh
case "$*" in
    *--build*) echo '[7/9] Building'
        mkdir -p build/release/bin
        printf '#!/bin/sh\\necho "ran $*"\\n' >build/release/bin/oxparser
        chmod +x build/release/bin/oxparser ;;
    *) mkdir -p build/release && touch build/release/build.ninja ;;
esac
"""


class Commands(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.base = pathlib.Path(scratch.name)
        self.project = self.base / "a project"
        shutil.copytree(ROOT / "cmake", self.project / "cmake")
        shutil.copytree(ROOT / "Tests/Project", self.project / "Tests/Project")
        for name in ("run", ".clang-tidy"):
            shutil.copy(ROOT / name, self.project)
        self.tools = self.base / "tools"
        self.tools.mkdir()
        for tool in TOOLS:
            (self.tools / tool).symlink_to(shutil.which(tool))
        self.tool("cmake", CMAKE)
        self.tool("id", "#!/bin/sh\necho 0\n")

    def tool(self, name, text):
        path = self.tools / name
        path.unlink(missing_ok=True)
        path.write_text(text)
        path.chmod(0o755)

    def start(self, *command):
        return subprocess.run([str(part) for part in command], capture_output=True, text=True,
                              timeout=120, cwd=self.base,
                              env={"PATH": str(self.tools), "HOME": str(self.base)})

    def test_run_through_a_link_where_no_package_can_be_told(self):
        link = self.base / "oxparser"
        link.symlink_to(self.project / "run")
        done = self.start(link, "scan", "a b")
        self.assertEqual((done.returncode, done.stdout), (0, "ran scan a b\n"), done.stderr)
        self.assertIn("no dpkg-query", done.stderr)
        self.assertIn("libboost-thread-dev", done.stderr)

    def test_missing_packages_without_a_network(self):
        self.tool("dpkg-query", "#!/bin/sh\necho 'ii  cmake'\n")
        self.tool("apt-get", "#!/bin/sh\necho 'Could not resolve deb.debian.org'\nexit 100\n")
        done = self.start(self.project / "run", "--version")
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        last = done.stderr.splitlines()[-1]
        self.assertRegex(last, r"network: apt-get install .*\blibcli11-dev\b")
        self.assertNotRegex(last, r"\bcmake\b")
        self.assertIn("Could not resolve", done.stderr)

    def test_missing_packages_and_nobody_to_install_them(self):
        self.tool("dpkg-query", "#!/bin/sh\nexit 1\n")
        self.tool("id", "#!/bin/sh\necho 1000\n")
        done = self.start(self.project / "run", "--version")
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stderr, r"\A.*only root .*: apt-get install .*\bcmake\b.*\n\Z")

    def test_a_long_build_says_how_far_it_is(self):
        done = self.start("bash", "-c", f". '{self.project}/cmake/steps.sh'; quietly compiling log"
                          " sh -c 'echo \"[7/9] Building\"; sleep 22'")
        self.assertRegex(done.stderr, r"compiling: \[7/9\], 20 s")

    def test_changes_that_git_cannot_tell(self):
        build = self.project / "build"
        build.mkdir()
        source = self.project / "Source"
        source.mkdir()
        (source / "A.cpp").write_text("int a;\n")
        (build / "compile_commands.json").write_text(
            f'[{{"file": "{source}/A.cpp", "command": "c++ -c {source}/A.cpp"}}]')
        tidy = [sys.executable, "-B", self.project / "Tests/Project/tidy.py", build, "--changed"]
        done = self.start(*tidy)
        self.assertIn("skipped: what changed is not known: this is no git checkout", done.stdout)
        (self.project / ".git").mkdir()
        done = self.start(*tidy)
        self.assertIn("skipped: what changed is not known: git is not installed", done.stdout)
        self.tool("git", "#!/bin/sh\necho 'fatal: detected dubious ownership' >&2\nexit 128\n")
        done = self.start(*tidy)
        self.assertIn("not known: fatal: detected dubious ownership", done.stdout)
        self.assertEqual(done.returncode, 0)

    def test_skipped_tests_are_named_with_their_reasons(self):
        results = self.base / "results.xml"
        results.write_text("""<testsuite>
            <testcase name="Good" status="run"><system-out>fine</system-out></testcase>
            <testcase name="Unit" status="notrun"><skipped message="SKIP"/>
                <system-out>a.cpp:12: Skipped\nno attributes here\n</system-out></testcase>
            <testcase name="Program" status="run">
                <system-out>test_x (m.T.test_x) ... skipped 'needs root'\n</system-out></testcase>
            </testsuite>""")
        done = self.start(sys.executable, ROOT / "Tests/Project/skipped_tests.py", results)
        self.assertEqual(done.stdout, "skipped: Unit: no attributes here\n"
                         "skipped: Program: test_x (m.T.test_x): needs root\n")


if __name__ == "__main__":
    unittest.main()
