"""Runs clang-tidy over what a compile database builds: all of it, or what differs from the last
landed commit (where all has landed, from the commit before it). A changed header stands for the
source of its name, or one that includes it. What was found clean is remembered beside the database
until a file that could matter changes.
Usage: tidy.py BUILD_FOLDER --all|--changed"""

import concurrent.futures
import hashlib
import json
import os
import pathlib
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
FOLDERS = ("Source", "Tools", "Tests", "Benchmarks", "Fuzz")
TIDY = "clang-tidy-14"


def git(*arguments):
    done = subprocess.run(["git", "-C", str(ROOT), *arguments], capture_output=True, text=True)
    return done.stdout.split("\0") if "-z" in arguments else done.stdout.strip(), done


def changed_files():
    """Names since the last landed commit; a text instead when git cannot tell."""
    if not (ROOT / ".git").exists():
        return "this is no git checkout"
    try:
        _, head = git("rev-parse", "--verify", "HEAD")
    except FileNotFoundError:
        return "git is not installed"
    if head.returncode:
        return head.stderr.strip().splitlines()[0]
    base = "HEAD"
    for landed in ("origin/main", "main"):
        found, done = git("merge-base", "HEAD", landed)
        if done.returncode == 0:
            # Of what has landed, or is committed on the main branch itself, the last commit.
            base = found if found != head.stdout.strip() else f"{found}^"
            break
    names = set()
    for command in (["diff", "--name-only", "-z", "--diff-filter=d", base],
                    ["ls-files", "-z", "--others", "--exclude-standard"]):
        listed, done = git(*command)
        if done.returncode and base.endswith("^"):
            return "there is one commit only"
        if done.returncode:
            return done.stderr.strip().splitlines()[0]
        names.update(name for name in listed if name)
    return names


def sources_of(names, sources):
    """The sources to check for changed files."""
    wanted = set()
    for name in names:
        path = ROOT / name
        if path in sources:
            wanted.add(path)
        elif path.suffix == ".h" and path.parts[len(ROOT.parts)] in FOLDERS:
            include = f'"{path.name}"'
            by_name = [s for s in sources if s.stem == path.stem]
            wanted.update(by_name or [s for s in sorted(sources) if include in s.read_text()][:1])
    return sorted(wanted)


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    database = {pathlib.Path(entry["file"]): entry["command"]
                for entry in json.loads((build / "compile_commands.json").read_text())}
    sources = {file for file in database
               if file.is_relative_to(ROOT) and not file.is_relative_to(build)}
    chosen = sorted(sources)
    if sys.argv[2] == "--changed":
        names = changed_files()
        if isinstance(names, str):
            print(f"skipped: what changed is not known: {names}")
            return 0
        chosen = sources_of(names, sources)

    common = hashlib.sha256((ROOT / ".clang-tidy").read_bytes())
    for header in sorted(h for folder in FOLDERS for h in (ROOT / folder).rglob("*.h")):
        common.update(header.read_bytes())
    clean = build / "tidy"
    clean.mkdir(exist_ok=True)

    def check(source):
        key = common.copy()
        key.update(f"{source.relative_to(ROOT)} {database[source]}".encode() + source.read_bytes())
        stamp = clean / key.hexdigest()
        if stamp.exists():
            return ""
        done = subprocess.run([TIDY, "--quiet", "-p", str(build), str(source)],
                              capture_output=True, text=True)
        if done.returncode == 0:
            stamp.touch()
            return ""
        return done.stdout + done.stderr

    failed = finished = 0
    told = time.monotonic()
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for found in concurrent.futures.as_completed([pool.submit(check, s) for s in chosen]):
            finished += 1
            if found.result():
                failed += 1
                print(found.result(), flush=True)
            if time.monotonic() - told > 20:
                told = time.monotonic()
                print(f"   clang-tidy: [{finished}/{len(chosen)}]", flush=True)
    print(f"{len(chosen)} of {len(sources)} sources looked at, {failed} with findings")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
