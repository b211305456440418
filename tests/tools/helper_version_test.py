#!/usr/bin/env python3
"""Changes a small helper in every way, and sees tools/helper-version notice: helper_version_test.py HELPER_VERSION"""
import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

HELPER_VERSION = sys.argv.pop(1)

MADE_OF = ("common/channel/keys.h", "common/posix/spawn.cpp", "common/posix/CMakeLists.txt", "common/posix/table.inc",
           "helper/Service.cpp",
           "helper/Service.h", "helper/CMakeLists.txt", "helper/macos/main.cpp", "helper/macos/client_trust.h",
           "helper/macos/CMakeLists.txt", "helper/macos/xpc/peer.c", "cmake/KybOptions.cmake", "resources/macos/HelperInfo.plist.in", "resources/macos/KybBundle.cmake",
           "resources/macos/code_requirement.h.in", "resources/macos/helper.entitlements",
           "resources/macos/launchd.plist.in")
BESIDE = ("helper/linux/main.cpp", "helper/linux/CMakeLists.txt", "resources/macos/Info.plist.in",
          "resources/macos/app.entitlements", "helper/Service.cpp~", "helper/.DS_Store", "src/shell/main.cpp",
          "cmake/KybRoom.cmake")


class HelperVersion(unittest.TestCase):
    def setUp(self):
        place = tempfile.TemporaryDirectory()
        self.addCleanup(place.cleanup)
        self.top = Path(place.name)
        for name in MADE_OF + BESIDE:
            self.write(name, "as it was\n")
        self.write("CMakeLists.txt", "project(Small VERSION 1.0.0)\nadd_subdirectory(helper)\n")
        self.write("helper/version.txt", "9\nanother\n")
        self.run_tool("--raise")
        self.assertEqual(self.version(), 10)

    def write(self, name, content):
        file = self.top / name
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(content)

    def run_tool(self, *options):
        return subprocess.run([sys.executable, HELPER_VERSION, *options, self.top], capture_output=True, text=True)

    def version(self):
        return int((self.top / "helper/version.txt").read_text().split()[0])

    def assert_noticed(self):
        run = self.run_tool()
        self.assertEqual(run.returncode, 1)
        self.assertIn("has changed, and its version 10 has not", run.stderr)
        self.assertIn("tools/helper-version --raise", run.stderr)

    def assert_sound(self):
        self.assertEqual(self.run_tool().returncode, 0)

    def test_what_has_not_changed_is_sound_and_is_not_raised(self):
        self.assert_sound()
        self.run_tool("--raise")
        self.assertEqual(self.version(), 10)

    def test_each_changed_file_is_noticed(self):
        for name in MADE_OF:
            with self.subTest(name):
                self.write(name, "changed\n")
                self.assert_noticed()
                self.write(name, "as it was\n")
                self.assert_sound()

    def test_what_is_beside_the_helper_does_not_count(self):
        for name in BESIDE:
            self.write(name, "changed\n")
        self.assert_sound()

    def test_a_file_that_comes_goes_or_gets_another_name_is_noticed(self):
        self.write("helper/macos/new.h", "")
        self.assert_noticed()
        (self.top / "helper/macos/new.h").unlink()
        self.assert_sound()
        (self.top / "helper/Service.h").rename(self.top / "helper/Services.h")
        self.assert_noticed()
        (self.top / "helper/Services.h").unlink()
        self.assert_noticed()

    def test_raising_makes_it_sound_with_the_next_number(self):
        self.write("helper/Service.cpp", "changed\n")
        self.assertEqual(self.run_tool("--raise").returncode, 0)
        self.assertEqual(self.version(), 11)
        self.assert_sound()

    def test_a_lower_number_with_the_hash_of_a_higher_one_is_noticed(self):
        file = self.top / "helper/version.txt"
        file.write_text(file.read_text().replace("10\n", "9\n"))
        self.assertEqual(self.run_tool().returncode, 1)

    def test_the_projects_version_is_in_the_helper_and_what_it_consists_of_is_not(self):
        self.write("CMakeLists.txt", "project(Small VERSION 1.0.0)\nadd_subdirectory(source)\n")
        self.assert_sound()
        self.write("CMakeLists.txt", "project(Small VERSION 1.0.1)\nadd_subdirectory(helper)\n")
        self.assert_noticed()

    def test_a_version_is_never_taken_back(self):
        self.commit("as it was")
        self.commit_raised()
        self.git("revert", "--no-edit", "HEAD")
        self.assertEqual(self.version(), 10)
        run = self.run_tool()
        self.assertEqual(run.returncode, 1)
        self.assertIn("its version 10 has not, which has been 11", run.stderr)
        self.run_tool("--raise")
        self.assertEqual(self.version(), 12)
        self.assert_sound()

    def test_a_version_of_a_branch_that_came_to_nothing_counts(self):
        self.commit("as it was")
        self.git("checkout", "-qb", "side")
        self.commit_raised()
        self.git("checkout", "-q", "-")
        self.git("merge", "-q", "-s", "ours", "--no-ff", "-m", "without it", "side")
        self.assertIn("which has been 11", self.run_tool().stderr)

    def test_a_version_that_was_made_in_a_merge_counts(self):
        self.commit("as it was")
        self.git("checkout", "-qb", "side")
        self.commit_raised()
        self.git("checkout", "-q", "-")
        self.write("helper/Service.h", "changed\n")
        self.run_tool("--raise")
        self.commit("changed as well")
        with self.assertRaises(subprocess.CalledProcessError):
            self.git("merge", "side")
        self.run_tool("--raise")
        self.assertEqual(self.version(), 12)
        self.commit("both")
        self.git("revert", "--no-edit", "-m", "1", "HEAD")
        self.assertIn("its version 11 has not, which has been 12", self.run_tool().stderr)

    @unittest.skipUnless(os.geteuid() == 0, "only root gives a folder away")
    def test_a_folder_of_somebody_elses_has_its_history(self):
        self.commit("as it was")
        self.commit_raised()
        self.git("revert", "--no-edit", "HEAD")
        for path in (self.top, *self.top.rglob("*")):
            os.chown(path, 4711, 4711)
        self.assertIn("which has been 11", self.run_tool().stderr)

    def test_a_history_that_git_does_not_read_is_an_error(self):
        self.commit("as it was")
        self.commit_raised()
        shutil.rmtree(self.top / ".git/objects")
        (self.top / ".git/objects").mkdir()
        run = self.run_tool()
        self.assertEqual(run.returncode, 1)
        self.assertIn("git does not read its history", run.stderr)

    def test_how_git_is_set_up_changes_nothing(self):
        self.commit("as it was")
        self.commit_raised()
        self.git("revert", "--no-edit", "HEAD")
        self.git("config", "color.ui", "always")
        self.assertIn("which has been 11", self.run_tool().stderr)

    def test_a_project_of_several_lines_is_noticed(self):
        self.write("CMakeLists.txt", "project(Small\n  VERSION 1.0.0)\n")
        self.run_tool("--raise")
        self.assert_sound()
        self.write("CMakeLists.txt", "project(Small\n  VERSION 1.0.1)\n")
        self.assertEqual(self.run_tool().returncode, 1)

    def test_without_git_there_is_no_history(self):
        run = subprocess.run([sys.executable, HELPER_VERSION, self.top], capture_output=True, text=True, env={"PATH": "/none"})
        self.assertEqual((run.returncode, run.stderr), (0, ""))

    def git(self, *words):
        subprocess.run(["git", "-c", "user.name=a", "-c", "user.email=a@b", "-C", self.top, *words], check=True,
                       capture_output=True)

    def commit_raised(self):
        self.write("helper/Service.cpp", "changed\n")
        self.run_tool("--raise")
        self.commit("changed")

    def commit(self, message):
        self.git("init", "-q")
        self.git("add", "-A")
        self.git("commit", "-qm", message)

    def test_an_empty_file_is_raised_from_nothing(self):
        self.write("helper/version.txt", "")
        self.assertEqual(self.run_tool().returncode, 1)
        self.run_tool("--raise")
        self.assertEqual(self.version(), 1)
        self.assert_sound()

    def test_branches_that_have_both_raised_it_are_followed_by_the_next(self):
        self.write("helper/Service.cpp", "changed here and there\n")
        self.write("helper/version.txt", "<<<<<<< ours\n10\nabc\n=======\n12\ndef\n>>>>>>> 1234567 (Wait 5000 ms)\n")
        self.assertEqual(self.run_tool().returncode, 1)
        self.run_tool("--raise")
        self.assertEqual(self.version(), 13)
        self.assert_sound()


unittest.main()
