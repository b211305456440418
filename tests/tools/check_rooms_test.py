#!/usr/bin/env python3
"""Plants one fault of each kind into a small house, and sees tools/check-rooms name it: check_rooms_test.py CHECK_ROOMS"""
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

CHECK_ROOMS = sys.argv.pop(1)

PLAN = """\
| room | holds | may include |
|---|---|---|
| `common/posix/` | the cellar | – |
| `src/base/` | verbs | posix |
| `src/text/` | words | base |
| `src/shell/` | the roof | base, text |
"""
SHELL_LINKS = "target_link_libraries(shell kyb_base kyb_text)\n"
HOUSE = {
    "docs/architecture.md": PLAN,
    "common/posix/Fd.h": "#include <vector>\n",
    "src/base/threads.cpp": '#include "posix/Fd.h"\n#include <thread>\nstd::thread t;\n',
    "src/base/threads.h": "",
    "src/text/words.h": '#include "base/threads.h" // not std::thread\n',
    "src/text/words.cpp": '#include "words.h"\n#include "made.h"\n',
    "src/text/linux/CMakeLists.txt": "",
    "src/shell/main.cpp": '#include "text/words.h"\n#include "base/threads.h"\nint s = pthread_sigmask(0, 0, 0);\n',
    "src/base/CMakeLists.txt": "kyb_add_room(base\n  ROOMS posix\n  SOURCES threads.cpp)\n",
    "src/text/CMakeLists.txt": "kyb_add_room(text ROOMS base)\n",
    "src/shell/CMakeLists.txt": SHELL_LINKS + 'add_library(shell "${CMAKE_CURRENT_SOURCE_DIR}/main.cpp" ${NAME}.cpp)\n',
    "resources/made.h.in": "",
}
PAIR = PLAN.replace("words | base", "words | base, shell")


class CheckRooms(unittest.TestCase):
    def check(self, faults):
        """What is said about the small house with these files in it; a file without content is taken away."""
        with tempfile.TemporaryDirectory() as top:
            for name, content in (HOUSE | faults).items():
                if content is not None:
                    file = Path(top, name)
                    file.parent.mkdir(parents=True, exist_ok=True)
                    file.write_text(content)
            run = subprocess.run([sys.executable, CHECK_ROOMS, "--matrix", top], capture_output=True, text=True)
            self.assertEqual(run.returncode, 1 if run.stderr else 0, run.stderr)
            return run

    def assert_named(self, faults, *complaints):
        self.assertEqual(self.check(faults).stderr, "".join(complaint + "\n" for complaint in complaints))

    def test_a_sound_house_passes_and_is_drawn(self):
        run = self.check({})
        self.assertEqual(run.stderr, "")
        self.assertRegex(run.stdout, r"src/shell +· +1 +1 +·\n")

    def test_an_include_that_the_row_does_not_allow(self):
        self.assert_named({"src/text/words.h": '\n#include "posix/Fd.h"\n'},
                          "src/text/words.h:2: src/text may not include common/posix")

    def test_it_does_not_hide_in_angle_brackets(self):
        self.assert_named({"src/text/words.h": "# include <posix/Fd.h>\n"},
                          "src/text/words.h:1: src/text may not include common/posix")

    def test_rooms_that_include_each_other(self):
        self.assert_named({"src/base/threads.h": '#include "text/words.h"\n'},
                          "src/base/threads.h:1: src/base may not include src/text",
                          "src/base/threads.h:1: src/base and src/text include each other (and src/text/words.h:1)")

    def test_a_circle_of_three(self):
        said = self.check({"src/base/threads.h": '#include "shell/roof.h"\n', "src/shell/roof.h": "",
                           "src/shell/main.cpp": '#include "text/words.h"\n'}).stderr
        self.assertRegex(said, r": a circle: src/\w+ > src/\w+ > src/\w+ > src/\w+\n")
        self.assertNotIn("each other", said)

    def test_a_row_that_names_a_room_below(self):
        self.assert_named({"docs/architecture.md": PAIR}, "docs/architecture.md:5: “shell” is no room above this one")

    def test_an_include_that_is_found_nowhere(self):
        self.assert_named({"src/text/words.h": '#include "gone.h"\n'}, "src/text/words.h:1: “gone.h” is found nowhere")

    def test_an_include_that_is_found_twice(self):
        said = self.check({"common/base/threads.h": "", "docs/architecture.md": PLAN + "| `common/base/` | twin | – |\n"})
        self.assertIn("src/text/words.h:1: “base/threads.h” is found twice\n", said.stderr)

    def test_an_include_that_climbs(self):
        self.assert_named({"src/text/words.h": '#include "../base/threads.h"\n'},
                          "src/text/words.h:1: “../base/threads.h” climbs out of its folder")

    def test_a_source_in_no_room(self):
        self.assert_named({"src/attic/box.cpp": ""}, "src/attic/box.cpp:1: stands in no room")

    def test_a_row_without_sources(self):
        self.assert_named({"src/shell/main.cpp": None}, "docs/architecture.md: the room src/shell has no sources")

    def test_a_library_that_links_more_or_less_than_its_row(self):
        for links in ("", "kyb_add_room(base ROOMS SOURCES posix.cpp)", "kyb_add_room(base ROOMS posix text)",
                      "kyb_add_room(base ROOMS posix)\ntarget_link_libraries(base PRIVATE kyb_text_objects)"):
            with self.subTest(links):
                said = self.check({"src/base/CMakeLists.txt": links}).stderr
                self.assertRegex(said, r"^src/base/CMakeLists.txt: links and row differ in (common/posix|src/text)\n$")

    def test_a_library_that_is_not_for_the_room(self):
        for target in ("kyb_core", "kyb_platform", "kyb_attic"):
            with self.subTest(target):
                self.assert_named({"src/base/CMakeLists.txt": f"kyb_add_room(base ROOMS posix LIBRARIES {target})"},
                                  f"src/base/CMakeLists.txt:1: links {target}, which is not for this room")

    def test_a_link_that_is_commented_out(self):
        self.assert_named({"src/text/CMakeLists.txt": "# kyb_add_room(text ROOMS base)"},
                          "src/text/CMakeLists.txt: links and row differ in src/base")

    def test_an_include_path_that_leads_out_of_the_room(self):
        for path in ("${PROJECT_SOURCE_DIR}/src", "../base", "/usr/include", "-I../base"):
            with self.subTest(path):
                command = "target_compile_options" if path.startswith("-I") else "target_include_directories"
                self.assert_named({"src/shell/CMakeLists.txt": f'{SHELL_LINKS}{command}(shell PUBLIC "{path}")\n'},
                                  f"src/shell/CMakeLists.txt:1: leads the compiler out of its room: {path}")

    def test_a_source_of_another_kind(self):
        self.assert_named({"src/text/words.inc": ""}, "src/text/words.inc:1: is no .cpp or .h file")

    def test_a_thread_outside_its_home(self):
        for word in ("std::thread", "std::jthread", "std::this_thread::yield()", "std::async", "QThread::sleep(1)",
                     "QThreadPool", "QtConcurrent::run", "pthread_create", "#include <thread>"):
            with self.subTest(word):
                self.assertIn("src/text/words.cpp:1: names a thread: ", self.check({"src/text/words.cpp": word}).stderr)

    def test_a_cmake_file_that_compiles_another_folders_source(self):
        for source in ("../text/words.cpp", '"${PROJECT_SOURCE_DIR}/src/text/words.cpp"', "${support}/a.cpp", "/a.cpp"):
            with self.subTest(source):
                self.assert_named({"src/shell/CMakeLists.txt": f"{SHELL_LINKS}add_library(shell\n  main.cpp {source})\n"},
                                  f"src/shell/CMakeLists.txt:3: compiles another folder's source: " + source.strip('"'))
        self.assert_named({"src/text/CMakeLists.txt": "kyb_add_room(text ROOMS base)\ntarget_sources(text linux/a.cpp)\n"},
                          "src/text/CMakeLists.txt:2: compiles another folder's source: linux/a.cpp")


unittest.main()
