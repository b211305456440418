"""Which suites of tests run which lines: of each function of the sources, by an instrumented build in which each suite is
run on its own. Kept below build/mutants."""
import collections
import json
import re
import shutil
import subprocess
import sys
import time

from .bench import WORK, Tree, regex_of

PROFILES = WORK / "profiles"

# NB: written as the program goes (%c), since many end by a signal or without their exit handlers, and by each program into
# a file of its own (%m), since the helper runs its commands in a clean environment.
INSTRUMENTED = (f"-DCMAKE_CXX_FLAGS=-fprofile-instr-generate={PROFILES}/%c%m.profraw -fcoverage-mapping "
                "-mllvm -runtime-counter-relocation",)


class Coverage:
    def __init__(self, seconds, functions):
        self.seconds = seconds  # suite -> how long it takes
        self.functions = functions  # file -> [first line, last line, suites] of each function
        self.breadth = collections.Counter(suite for of_file in functions.values() for *_, suites in of_file for suite in suites)

    def suites_of(self, file, line):
        """The suites that run the innermost function around a line; of a line outside of functions those that run any
        function of the file; all when there is none. Those first that run little else: they are made for it."""
        of_file = self.functions.get(file, [])
        around = [(last - first, suites) for first, last, suites in of_file if first <= line <= last]
        innermost = min((size for size, _ in around), default=None)
        suites = {suite for size, suites in around if size == innermost for suite in suites}
        if not suites and not around:
            suites = {suite for _, _, suites in of_file for suite in suites} or set(self.seconds)
        return sorted(suites, key=lambda suite: (self.breadth[suite], suite))


def executed(profile):
    """The names of the functions that were run."""
    shown = subprocess.run(["llvm-profdata", "show", "--all-functions", "--counts", profile], capture_output=True, text=True, check=True)
    names, name = set(), None
    for line in shown.stdout.splitlines():
        if line.startswith("  ") and line.endswith(":") and not line.startswith("    "):
            name = line.strip()[:-1]
        elif re.match(r"    (?:Function count: |Block counts: \[.*?)[1-9]", line):
            names.add(name)
    return names


def merged(profile):
    parts = sorted(map(str, PROFILES.glob("*.profraw")))
    return bool(parts) and subprocess.run(["llvm-profdata", "merge", "-sparse", "-failure-mode=all", *parts, "-o", profile],
                                          capture_output=True, check=False).returncode == 0


def programs_of(build):
    """All that was linked."""
    found = subprocess.run(["find", str(build), "-type", "f", "(", "-perm", "-u+x", "-o", "-name", "*.so", ")", "-not", "-path",
                            "*/CMakeFiles/*"], capture_output=True, text=True, check=True).stdout.splitlines()
    return [name for name in found if open(name, "rb").read(4) == b"\x7fELF"]


def places(tree, profile):
    """File -> [first line, last line, name] of each function of the sources that was compiled."""
    objects = [word for program in programs_of(tree.build) for word in ("-object", program)]
    exported = subprocess.run(["llvm-cov", "export", "-skip-expansions", "-instr-profile", profile, *objects[1:]], capture_output=True,
                              check=True).stdout
    found = {}
    for function in json.loads(exported)["data"][0]["functions"]:
        file = function["filenames"][0]
        if file.startswith(f"{tree.source}/"):
            first, _, last = function["regions"][0][:3]
            found.setdefault(file[len(f"{tree.source}/"):], set()).add((first, last, function["name"]))
    return found


def measure(preset):
    """Runs every suite on its own, and says which are run by the tests at all."""
    PROFILES.mkdir(parents=True, exist_ok=True)
    PROFILES.chmod(0o1777)
    tree = Tree(preset, f"{preset}-coverage", INSTRUMENTED)
    seconds, run_by, parts = {}, {}, WORK / "parts"
    shutil.rmtree(parts, ignore_errors=True)
    parts.mkdir()
    for suite in tree.suites():
        for left in PROFILES.glob("*"):
            left.unlink()
        started = time.time()
        tree.run(tree.ctest(regex_of([suite])), 900)
        seconds[suite] = round(time.time() - started, 2)
        profile = str(parts / f"{len(seconds)}.profdata")
        if merged(profile):
            for name in executed(profile):
                run_by.setdefault(name, []).append(suite)
        print(f"{seconds[suite]:6.1f} s  {suite}", flush=True)
    whole = str(WORK / "whole.profdata")
    subprocess.run(["llvm-profdata", "merge", "-sparse", *map(str, sorted(parts.glob("*"))), "-o", whole], check=True)
    functions = {file: sorted([first, last, run_by.get(name, [])] for first, last, name in of_file)
                 for file, of_file in places(tree, whole).items()}
    if not functions:
        sys.exit(f"mutants: no function of {tree.source} is in any profile; does a compiler cache shorten its paths?")
    return Coverage(seconds, functions)


def coverage_of(preset, fingerprint):
    kept = WORK / f"coverage-{preset}-{fingerprint[:16]}.json"
    if not kept.exists():
        measured = measure(preset)
        kept.write_text(json.dumps([measured.seconds, measured.functions]))
    return Coverage(*json.loads(kept.read_text()))
