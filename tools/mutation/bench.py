"""Where mutants are built and judged: a copy of the sources, in which one of them lives at a time."""
import contextlib
import os
import re
import shutil
import signal
import subprocess
import sys
import time
from pathlib import Path

from .changes import TOP

WORK = TOP / "build/mutants"

# What compiles everything once more, and what notices a change of the sources as such.
NO_PROOF = "^(MacSources|MacRelease|Tools|Packaging\\.(Archive|BuildForMac)|Helper\\.Version)"

# Compiled and linked hundreds of times.
QUICKLY = ("-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_UNITY_BUILD=OFF", "-DCMAKE_C_COMPILER=clang", "-DCMAKE_CXX_COMPILER=clang++",
           "-DCMAKE_CXX_FLAGS_DEBUG=-O0", "-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld", "-DCMAKE_MODULE_LINKER_FLAGS=-fuse-ld=lld")

# As ctest tells of a test.
FAILED = re.compile(r"Test +#\d+: (\S+).*\*\*\*(?!Skipped)")
STARTED = re.compile(r"Start +\d+: (\S+)")
ENDED = re.compile(r"Test +#\d+: (\S+).* ([\d.]+) sec")

# A mutant is judged by the first suites, which take so many seconds together, then by the next, then by all.
PORTIONS_SECONDS = (3, 20)


def files_of_project(*below):
    listed = subprocess.run(["git", "ls-files", "-co", "--exclude-standard", "-z", *below], cwd=TOP, capture_output=True, text=True,
                            check=True)
    return list(filter(None, listed.stdout.split("\0")))


def end_session_of(process):
    """Kills what a command has begun, as far as it is in the command's session."""
    with contextlib.suppress(ProcessLookupError):
        os.killpg(process.pid, signal.SIGKILL)
    process.wait()


def end_processes_of(folder):
    """Kills what has left the session and names the folder."""
    subprocess.run(["pkill", "-KILL", "-f", f"{folder}/"], check=False)


class Tree:
    """A copy of the sources and a build of it."""

    def __init__(self, preset, name, flags=()):
        self.source, self.build = WORK / "source", WORK / name
        self.copy_sources()
        self.run(["cmake", "--compile-no-warning-as-error", "--preset", preset, "-B", str(self.build), *QUICKLY, *flags], 300)
        if not self.compile():
            sys.exit(f"mutants: the unchanged sources do not build (see {WORK}/log)")

    def copy_sources(self):
        """Only what differs, so that only that is built again; and nothing that is no more."""
        names = {name for name in files_of_project() if (TOP / name).is_file()}
        for name in names:
            there, here = self.source / name, TOP / name
            if not (there.exists() and there.read_bytes() == here.read_bytes()):
                there.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(here, there)  # NB: with a new time, so that what was built of a mutant is built again
        for file in self.source.rglob("*"):
            if file.is_file() and str(file.relative_to(self.source)) not in names:
                file.unlink()

    def run(self, words, limit, until=None):
        """The status of a command, or None when it has not ended in time, or before `until` matches its output. Nothing that
        it began outlives it."""
        scratch = WORK / "tmp"
        shutil.rmtree(scratch, ignore_errors=True)
        scratch.mkdir()
        scratch.chmod(0o1777)  # some tests run a program as somebody else
        with open(WORK / "log", "w") as log:
            process = subprocess.Popen(words, cwd=self.source, stdout=log, stderr=log, stdin=subprocess.DEVNULL,
                                       env=os.environ | {"TMPDIR": str(scratch)}, start_new_session=True)
        try:
            ends = time.time() + limit
            while process.poll() is None and time.time() < ends and not (until and until.search(self.log())):
                time.sleep(0.05)
            return process.poll()
        finally:
            end_session_of(process)
            for folder in (scratch, self.build):
                end_processes_of(folder)
            shutil.rmtree(scratch, ignore_errors=True)

    @staticmethod
    def log():
        return (WORK / "log").read_text(errors="replace")

    def compile(self):
        return self.run(["cmake", "--build", str(self.build), "--", "--quiet"], 900) == 0

    def ctest(self, tests):
        return ["ctest", "--test-dir", str(self.build), "-j8", "-E", NO_PROOF, "-R", tests]

    def suites(self):
        """The names of all groups of tests."""
        self.run(["ctest", "--test-dir", str(self.build), "-N", "-E", NO_PROOF], 300)
        return sorted({name.split(".")[0] for name in re.findall(r"Test +#\d+: (\S+)", self.log())})


def regex_of(suites):
    return f"^({'|'.join(map(re.escape, suites))})\\."


class Bench(Tree):
    """Judges mutants by the suites that run what they change."""

    def __init__(self, preset, coverage):
        super().__init__(preset, preset)
        self.coverage = coverage
        if self.run(self.ctest("."), 2400) != 0:
            sys.exit(f"mutants: the unchanged sources do not pass (see {WORK}/log)")
        self.seconds = {name: float(seconds) for name, seconds in ENDED.findall(self.log())}

    def portions(self, mutant):
        """The suites that can notice, the likeliest first: a few, some more, the rest."""
        portions, total = [[] for _ in range(len(PORTIONS_SECONDS) + 1)], 0
        for suite in self.coverage.suites_of(mutant["file"], mutant["line"]):
            total += self.coverage.seconds[suite]
            portions[sum(total > most for most in PORTIONS_SECONDS)].append(suite)
        return [portion for portion in portions if portion]

    def notices(self, suites):
        """A test that fails or does not end, and does so again when it is run alone, or the empty text."""
        limit = 5 + 2 * sum(self.coverage.seconds[suite] for suite in suites)
        for _ in range(3):
            if self.run(self.ctest(regex_of(suites)), limit, until=FAILED) == 0:
                return ""
            log = self.log()
            suspects = FAILED.findall(log) or set(STARTED.findall(log)) - {name for name, _ in ENDED.findall(log)}
            for name in suspects:
                if self.run(self.ctest(f"^{re.escape(name)}$"), 10 + 5 * self.seconds.get(name, 20)) != 0:
                    return name
        return ""

    def judge(self, mutant):
        """By what it was killed, "survived", or None when it does not compile."""
        path = self.source / mutant["file"]
        original = path.read_text()
        lines = original.split("\n")
        at = mutant["line"] - 1
        lines[at:at + mutant["lines"]] = mutant["changed"]
        path.write_text("\n".join(lines))
        try:
            if not self.compile():
                path.write_text(original)
                if not self.compile():
                    sys.exit(f"mutants: now the unchanged sources do not build either (see {WORK}/log)")
                return None
            return next(filter(None, map(self.notices, self.portions(mutant))), "survived")
        finally:
            path.write_text(original)
