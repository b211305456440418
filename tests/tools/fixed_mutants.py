#!/usr/bin/env python3
"""Plants the mutants of a table into the sources, one at a time, and sees the tests of the room notice each:
fixed_mutants.py BUILD_FOLDER

Each is compiled alone and linked in the place of what it was made of. The table, fixed_mutants.txt, has in each line, between
tabs: a test program of the build, which of its tests, a source, what is changed as tools/mutants says it, and the line.
"""
import json
import os
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

HERE = Path(__file__).resolve().parent
TOP = HERE.parent.parent
sys.path.insert(0, str(TOP / "tools"))

from mutation.changes import changes_of_line  # noqa: E402

RUN_SECONDS = 20


class Build:
    def __init__(self, folder):
        self.folder = Path(folder).resolve()
        entries = json.loads((self.folder / "compile_commands.json").read_text())
        self.compilations = {entry["file"]: entry for entry in entries}

    def compile(self, source, changed, place):
        """The object of a changed copy of a source, or None when it does not compile."""
        entry = self.compilations[str(source)]
        copy, made = place / source.name, place / "changed.o"
        copy.write_text(changed)
        words = entry["command"].split()
        words = words[:words.index("-o")] + ["-iquote", str(source.parent), "-w", "-o", str(made), "-c", str(copy)]
        built = subprocess.run(" ".join(words), shell=True, cwd=entry["directory"], capture_output=True, check=False)
        return made if built.returncode == 0 else None

    def link(self, program, source, made, place):
        """The program with an object in the place of the source's own."""
        own = self.compilations[str(source)]["command"].split()
        own = own[own.index("-o") + 1]
        commands = subprocess.run(["ninja", "-t", "commands", program], cwd=self.folder, capture_output=True, text=True, check=True)
        line = commands.stdout.splitlines()[-1]
        # NB: of a library only that is taken which is not there yet.
        line = line.replace(f" {own} ", f" {made} ", 1) if f" {own} " in line else line.replace(" -o ", f" {made} -o ", 1)
        linked = place / "program"
        subprocess.run(line.replace(f" -o {program} ", f" -o {linked} ", 1), shell=True, cwd=self.folder, capture_output=True, check=True)
        return linked

    def passes(self, program, tests, place):
        """Whether there are such tests and all pass, in good time."""
        environment = os.environ | {"TMPDIR": str(place), "XDG_RUNTIME_DIR": str(place)}
        try:
            ran = subprocess.run([program, f"--gtest_filter={tests}"], cwd=self.folder, env=environment, capture_output=True, text=True,
                                 errors="replace", timeout=RUN_SECONDS, check=False)
        except subprocess.TimeoutExpired:
            return False
        return ran.returncode == 0 and "[  PASSED  ] 0 tests" not in ran.stdout


def changed_text(source, what, text):
    """The source with that done to that line, or None when there is no such line."""
    lines = source.read_text().split("\n")
    for number, line in enumerate(lines):
        if line.strip() == text:
            for done, changed, count in changes_of_line(lines, number):
                if done == what:
                    return "\n".join(lines[:number] + changed + lines[number + count:])
    return None


def complaint(build, row):
    """What is wrong with a row, or the empty text."""
    program, tests, file, what, text = row
    source = TOP / file
    changed = changed_text(source, what, text)
    if changed is None:
        return "there is no such line, or nothing like that to be done to it"
    with tempfile.TemporaryDirectory() as name:
        place = Path(name)
        made = build.compile(source, changed, place)
        if made is None:
            return "it does not compile"
        linked = build.link(program, source, made, place)
        if any(build.passes(linked, tests, place) for _ in range(2)):  # a kill by accident does not happen twice
            return f"{tests} does not notice it"
    return ""


def main():
    build = Build(sys.argv[1])
    rows = [line.split("\t") for line in (HERE / "fixed_mutants.txt").read_text().splitlines() if not line.startswith("#")]
    bad = 0
    with ThreadPoolExecutor(os.cpu_count()) as pool, tempfile.TemporaryDirectory() as place:
        for program, tests in sorted({(row[0], row[1]) for row in rows}):
            if not build.passes(build.folder / program, tests, place):
                sys.exit(f"{program} {tests}: fails, or has no such test, without any mutant")
        for row, wrong in zip(rows, pool.map(lambda row: complaint(build, row), rows)):
            if wrong:
                bad += 1
                print(f"{row[2]}: {row[3]}: {row[4]}: {wrong}")
    print(f"{len(rows)} mutants, {len(rows) - bad} killed")
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main())
