"""The installed tree as a host and a user meet it, with the library shared and static: built
against by CMake and by pkg-config, moved to another prefix, used from another folder and through
PATH."""

import os
import pathlib
import shlex
import shutil
import subprocess
import tempfile
import unittest

HOST = pathlib.Path(__file__).parent / "Host"
SOURCE = os.environ["OXPARSER_SOURCE"]
BUILD = os.environ["OXPARSER_BUILD"]
CXX = shlex.split(os.environ["OXPARSER_CXX"])
LISTS = ["foundrylist.txt", "foundrycodelist.txt"]


def run(*command, status=0, **options):
    done = subprocess.run([str(part) for part in command], capture_output=True, text=True,
                          timeout=300, **options)
    if done.returncode != status:
        raise AssertionError(f"{command} ended with {done.returncode}:\n{done.stdout}{done.stderr}")
    return done


class Tree:
    """What is common to the two kinds of library."""

    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.scratch.cleanup)
        base = pathlib.Path(os.path.realpath(cls.scratch.name))
        cls.elsewhere = base / "else where"
        cls.fonts = cls.elsewhere / "fonts"
        cls.fonts.mkdir(parents=True)
        run(os.environ["OXPARSER_SEEDS"], base / "seeds")
        shutil.copy(base / "seeds/TrueType/good", cls.fonts / "good.ttf")
        # Installed in one place, used in another.
        cls.first, cls.prefix = base / "first", base / "moved/to here"
        cls.install()
        cls.prefix.parent.mkdir()
        cls.first.rename(cls.prefix)
        cls.environment = {name: value for name, value in os.environ.items()
                           if name not in ("LD_LIBRARY_PATH", "OXPARSER_RESOURCES")}
        cls.environment["PATH"] = f"{cls.prefix}/bin:{cls.environment['PATH']}"
        package, = cls.prefix.rglob("oxparser.pc")
        cls.environment["PKG_CONFIG_PATH"] = str(package.parent)
        cls.library = package.parent.parent
        cls.hosts = base / "hosts"
        run("cmake", "-G", "Ninja", "-S", HOST, "-B", cls.hosts / "cmake",
            f"-DCMAKE_PREFIX_PATH={cls.prefix}", f"-DCMAKE_CXX_COMPILER={CXX[-1]}")
        run("cmake", "--build", cls.hosts / "cmake")
        (cls.hosts / "pkg-config").mkdir()
        for host in HOST.glob("*.cpp"):
            flags = run("pkg-config", "--cflags", "--libs", *cls.linking, "oxparser",
                        env=cls.environment).stdout
            run(*CXX, host, "-o", cls.hosts / "pkg-config" / host.stem, *shlex.split(flags))

    @classmethod
    def install(cls):
        run("cmake", "--install", cls.build, "--prefix", cls.first)

    def lists(self, program, **environment):
        return run(program, cwd=self.elsewhere,
                   env={**self.environment, **environment}).stdout.splitlines()

    def each_host(self, name):
        return [self.hosts / how / name for how in ("cmake", "pkg-config")]

    def test_hosts_scan(self):
        environment = {**self.environment, "LD_LIBRARY_PATH": str(self.library)}
        for host in self.each_host("readme_example"):
            done = run(host, "fonts", cwd=self.elsewhere, env=environment)
            self.assertRegex(done.stdout, r"\A1/1 .+ \(TTF\)\n")
            self.assertEqual(done.stderr, "")
            missing = run(host, "no such folder", cwd=self.elsewhere, env=environment, status=2)
            self.assertNotEqual(missing.stderr, "")

    def test_program_runs_from_anywhere(self):
        link = self.elsewhere / "a link"
        link.symlink_to(self.prefix / "bin/oxparser")
        self.addCleanup(link.unlink)
        for program in ("oxparser", self.prefix / "bin/oxparser", link):
            with self.subTest(program):
                done = run(program, "scan", "--format", "csv", "fonts", cwd=self.elsewhere,
                           env=self.environment)
                self.assertIn("good.ttf", done.stdout)
                self.assertNotIn("not installed", done.stderr)

    def test_the_lists_are_looked_for_in_the_installed_tree_alone(self):
        kept = self.prefix / "share/oxparser"
        kept.rename(self.prefix / "taken")
        self.addCleanup((self.prefix / "taken").rename, kept)
        done = run("oxparser", "scan", "fonts", cwd=self.elsewhere, env=self.environment)
        if not pathlib.Path(self.compiled_in).exists():
            self.assertIn("foundrylist.txt is not installed", done.stderr)

    def test_nothing_tells_where_it_was_built(self):
        for file in self.prefix.rglob("*"):
            if file.is_symlink() or not file.is_file():
                continue
            content = file.read_bytes()
            if content.startswith((b"\x7fELF", b"!<arch>")):
                bare = self.hosts / "bare"
                run("strip", "--strip-debug", "-o", bare, file)  # debugging may know the sources
                content = bare.read_bytes()
            for path in (SOURCE, BUILD):
                self.assertNotIn(os.fsencode(path), content, file)


class Shared(Tree, unittest.TestCase):
    build = BUILD
    linking = []
    compiled_in = os.environ["OXPARSER_DATA"]

    def test_hosts_find_the_lists_beside_the_library(self):
        expected = [f"{self.prefix}/share/oxparser/{name}" for name in LISTS]
        for host in self.each_host("find_lists"):
            self.assertEqual(self.lists(host, LD_LIBRARY_PATH=str(self.library)), expected)


class Static(Tree, unittest.TestCase):
    build = f"{BUILD}/Tests/Interface/static"
    linking = ["--static"]

    @classmethod
    def install(cls):
        # Configured for where it is installed, as a host that links it in has a place of its own
        # and knows no other way to the lists.
        cls.compiled_in = cls.first / "share/oxparser"
        same = {"CMAKE_BUILD_TYPE": "", "CMAKE_CXX_FLAGS": "", "CMAKE_CXX_COMPILER_LAUNCHER": "",
                "CMAKE_CXX_COMPILER": ""}
        for line in pathlib.Path(BUILD, "CMakeCache.txt").read_text().splitlines():
            name, _, value = line.partition("=")
            if name.split(":")[0] in same:
                same[name.split(":")[0]] = value
        machine = run(CXX[-1], "-print-multiarch").stdout.strip()
        run("cmake", "-G", "Ninja", "-S", SOURCE, "-B", cls.build, "-DBUILD_SHARED_LIBS=OFF",
            "-DOXPARSER_BUILD_TESTS=OFF", f"-DCMAKE_INSTALL_PREFIX={cls.first}",
            f"-DCMAKE_INSTALL_LIBDIR=lib/{machine}",
            *(f"-D{name}={value}" for name, value in same.items()))
        subprocess.run(["cmake", "--build", cls.build], check=True)
        run("cmake", "--install", cls.build)

    def test_hosts_find_the_lists_where_they_were_installed_or_beside_themselves(self):
        for host in self.each_host("find_lists"):
            self.assertEqual(self.lists(host), ["", ""])  # moved away
            self.prefix.rename(self.first)
            try:
                self.assertEqual(self.lists(host), [f"{self.compiled_in}/{name}" for name in LISTS])
            finally:
                self.first.rename(self.prefix)
            own = self.prefix / "bin" / host.name
            shutil.copy(host, own)
            self.addCleanup(own.unlink, missing_ok=True)
            self.assertEqual(self.lists(host.name),
                             [f"{self.prefix}/share/oxparser/{name}" for name in LISTS])


if __name__ == "__main__":
    unittest.main()
