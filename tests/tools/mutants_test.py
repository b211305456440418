#!/usr/bin/env python3
"""Plants mutants into a small project whose tests see one function wholly, another in part, and a third not at all, and
sees tools/mutants tell which live: mutants_test.py TOOLS_FOLDER"""
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

TOOLS = Path(sys.argv.pop(1)).resolve()
sys.path.insert(0, str(TOOLS))

from mutation.bench import PORTIONS_SECONDS, Bench  # noqa: E402
from mutation.changes import changes_of_line  # noqa: E402
from mutation.coverage import Coverage  # noqa: E402

# A line, what is done to it, and what it is then; a line feed between lines.
CHANGES = (
    ("    if (a == b) {", "== -> !=", "    if (a != b) {"),
    ("    if (a == b) {", "the contrary", "    if (!(a == b)) {"),
    ("    return a < b || !c;", "< -> <=", "    return a <= b || !c;"),
    ("    return a < b || !c;", "|| -> &&", "    return a < b && !c;"),
    ("    return a < b || !c;", "! -> ", "    return a < b || c;"),
    ("constexpr int kMost = 7;", "7 -> 8", "constexpr int kMost = 8;"),
    ("constexpr int kMost = 700; // not 8", "700 -> 0", "constexpr int kMost = 0;"),
    ("constexpr double kStep = 0.5;", "0.5 -> 1.5", "constexpr double kStep = 1.5;"),
    ("constexpr double kBytes = 1'000'000;", "1'000'000 -> 0", "constexpr double kBytes = 0;"),
    ("    sleepFor(50ms);", "50 -> 0", "    sleepFor(0ms);"),
    ('    say("two words");', "two words -> ...x", '    say("two wordx");'),
    ('    say("line\\n");', r"line\n -> ...x", '    say("linex");'),
    ('    say("<b>");', "<b> -> ...x", '    say("<bx");'),
    ("    say('\"', \"a\");", "a -> ...x", "    say('\"', \"x\");"),
    (r"    return c == '\0';", "0 -> 1", r"    return c == '\1';"),
    ("    onMainThread(work);", "onMainThread -> inBackground", "    inBackground(work);"),
    ("    onMainThreadAndWait(work);", "onMainThreadAndWait -> onMainThread", "    onMainThread(work);"),
    ("    work(1);", "taken out", ""),
    ("    lines.append(1);", "done twice", "    lines.append(1);\n    lines.append(1);"),
    ("    a = 1;", "returns before it", "    return;\n    a = 1;"),
)

PRESETS = """{"version": 6, "configurePresets": [{"name": "release", "generator": "Ninja",
 "binaryDir": "${sourceDir}/build/release", "cacheVariables": {"CMAKE_BUILD_TYPE": "Release"}}]}"""
LISTS = """cmake_minimum_required(VERSION 3.25)
project(Small CXX)
enable_testing()
add_library(small src/base/small.cpp)
foreach(name Whole Part)
  add_executable(${name} tests/${name}.cpp)
  target_link_libraries(${name} small)
  add_test(NAME ${name}.Test COMMAND ${name})
  set_tests_properties(${name}.Test PROPERTIES TIMEOUT 5)
endforeach()
"""
SMALL = """int whole(int a) {
    return a + 1;
}
int part(int a) {
    return a > 3 ? a : 0;
}
int nobodys() {
    return 4;
}
int endless(int a) {
    while (a > 0) {
        --a;
    }
    return a;
}
"""
PROJECT = {
    "CMakePresets.json": PRESETS,
    "CMakeLists.txt": LISTS,
    "src/base/small.cpp": SMALL,
    "tests/Whole.cpp": "#include <unistd.h>\nint whole(int);\nint endless(int);\n"
                       "int main() { const bool good = whole(1) == 2 && whole(2) == 3 && endless(2) == 0; _exit(good ? 0 : 1); }\n",
    "tests/Part.cpp": "int part(int);\nint main() { return part(9) == 9 ? 0 : 1; }\n",
    "tools/equivalent-mutants": "# none but\nsrc/base/small.cpp\t0 -> 1\treturn a > 3 ? a : 0;\tnobody says why\n",
}
ALIVE = {"3 -> 4", "> -> >=", "4 -> 5"}  # of part, whose test looks at one side of its bound, and of nobody's


class Changes(unittest.TestCase):
    def test_each_kind_of_change(self):
        for line, what, changed in CHANGES:
            with self.subTest(what, line=line):
                self.assertIn((what, changed.split("\n"), 1), list(changes_of_line([line], 0)))

    def test_two_statements_are_swapped(self):
        lines = ["    a = 1;", "    b = 2;"]
        self.assertIn(("swapped with the next", lines[::-1], 2), list(changes_of_line(lines, 0)))

    def test_what_adds_nothing_is_not_done_twice(self):
        self.assertNotIn("done twice", [what for what, _, _ in changes_of_line(["    line.clear();"], 0)])

    def test_what_stands_in_a_string_or_a_comment_is_left_alone(self):
        self.assertEqual([what for what, _, _ in changes_of_line(['const char *kText = "a == 1"; // b == 2'], 0)], ["a == 1 -> ...x"])

    def test_only_an_element_of_xml_has_a_text(self):
        self.assertEqual([what for what, _, _ in changes_of_line(['    {control<&Self::a>, "Ab"},'], 0)], ["Ab -> ...x"])
        self.assertIn(("Ab -> ...x", ["<key>Ax</key>"], 1), list(changes_of_line(["<key>Ab</key>"], 0, is_xml=True)))


class Choice(unittest.TestCase):
    coverage = Coverage({"A": 1, "B": 9, "C": 30, "D": 1}, {"f.cpp": [[1, 9, ["A", "C"]], [4, 6, ["B"]], [8, 8, []]],
                                                               "h.cpp": [[1, 2, ["A"]]]})

    def test_the_innermost_function_counts(self):
        self.assertEqual(set(self.coverage.suites_of("f.cpp", 2)), {"A", "C"})
        self.assertEqual(self.coverage.suites_of("f.cpp", 5), ["B"])

    def test_those_come_first_that_run_little_else(self):
        self.assertEqual(self.coverage.suites_of("f.cpp", 2), ["C", "A"])

    def test_what_nobody_runs_nobody_can_notice(self):
        self.assertEqual(self.coverage.suites_of("f.cpp", 8), [])

    def test_outside_of_functions_those_of_the_file_count_and_else_all(self):
        self.assertEqual(self.coverage.suites_of("f.cpp", 20), ["B", "C", "A"])
        self.assertEqual(self.coverage.suites_of("g.cpp", 1), ["D", "B", "C", "A"])

    def test_the_suites_come_in_portions(self):
        bench = Bench.__new__(Bench)
        bench.coverage = self.coverage
        self.assertEqual(PORTIONS_SECONDS, (3, 20))
        self.assertEqual(bench.portions({"file": "g.cpp", "line": 1}), [["D"], ["B"], ["C", "A"]])


class WholeRun(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        place = tempfile.TemporaryDirectory()
        cls.addClassCleanup(place.cleanup)
        cls.top = Path(place.name).resolve()
        shutil.copytree(TOOLS / "mutation", cls.top / "tools/mutation", ignore=shutil.ignore_patterns("__pycache__"))
        shutil.copy(TOOLS / "mutants", cls.top / "tools/mutants")
        for name, content in PROJECT.items():
            file = cls.top / name
            file.parent.mkdir(parents=True, exist_ok=True)
            file.write_text(content)
        (cls.top / ".gitignore").write_text("build/\n__pycache__/\n")
        subprocess.run(["git", "init", "-q", cls.top], check=True)
        cls.first = cls.run_tool()

    @classmethod
    def run_tool(cls):
        return subprocess.run([sys.executable, cls.top / "tools/mutants", "--rooms", "src/base", "--count", "1000"],
                              capture_output=True, text=True)

    @staticmethod
    def alive(run):
        return {line.split(": ")[1].split("    in")[0] for line in run.stdout.split("\n") if line.startswith("  src")}

    def test_those_live_that_no_test_notices(self):
        self.assertEqual(self.first.returncode, 1, self.first.stderr)
        self.assertEqual(self.alive(self.first), ALIVE)
        self.assertIn("-- -> ++: Whole.Test", self.first.stdout)  # which does not end

    def test_nothing_is_left_changed_and_nothing_is_judged_twice(self):
        self.assertEqual((self.top / "build/mutants/source/src/base/small.cpp").read_text(), SMALL)
        again = self.run_tool()
        self.assertEqual(self.alive(again), ALIVE)
        self.assertEqual(again.stdout.lstrip().split("\n")[0].count("mutants"), 1)

    def test_a_test_that_is_changed_is_asked_anew(self):
        test = self.top / "tests/Part.cpp"
        test.write_text(test.read_text().replace("part(9) == 9", "part(9) == 9 && part(4) == 4 && part(3) == 0"))
        self.assertEqual(self.alive(self.run_tool()), {"4 -> 5"})
        test.write_text(PROJECT["tests/Part.cpp"])


unittest.main()
