#!/usr/bin/env python3
"""Packs the archive, unpacks it, and does what its README says: archive_test.py CPACK BUILD_FOLDER"""
import os
import re
import subprocess
import sys
import tarfile
import tempfile
import unittest
from pathlib import Path

CPACK, BUILD = sys.argv.pop(1), Path(sys.argv.pop(1))
BUNDLE = "Brelund Quorlix Installer.app"
PROGRAM = f"{BUNDLE}/Contents/MacOS/BrelundQuorlixInstaller"
FILES = {
    "README.md",
    f"{BUNDLE}/Contents/Info.plist",
    PROGRAM,
    f"{BUNDLE}/Contents/PlugIns/libKYWizard.so",
    f"{BUNDLE}/Contents/Library/LaunchServices/com.kyb.InstallerHelperTool",
    "OSX/Brelund Quorlix Driver.pkg",
    "OSX/macver.list",
    "macroot/bin/installer",
    "macroot/bin/PlistBuddy",
    "macroot/bin/make_package",
    "macroot/tools/make-macroot",
    "macroot/tools/make-package",
}


def files_below(folder):
    return {str(path.relative_to(folder)) for path in folder.rglob("*") if path.is_file()}


class Archive(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        place = tempfile.TemporaryDirectory()
        cls.addClassCleanup(place.cleanup)
        packed = Path(place.name, "packed")
        subprocess.run([CPACK, "--config", BUILD / "CPackConfig.cmake", "-B", packed], check=True, stdout=subprocess.DEVNULL)
        with tarfile.open(next(packed.glob("*.tar.gz"))) as archive:
            archive.extractall(place.name)
        cls.folder = next(Path(place.name).glob("BrelundQuorlixInstaller-*"))
        cls.readme = (cls.folder / "README.md").read_text() if (cls.folder / "README.md").exists() else ""
        # Nothing here needs more rights, and nothing may ask for a password.
        (cls.folder.parent / "sudo").write_text('#!/bin/sh\nexec "$@"\n')
        (cls.folder.parent / "sudo").chmod(0o755)

    def run_line(self, line):
        path = f"{self.folder.parent}:{os.environ['PATH']}"
        return subprocess.run(["/bin/sh", "-c", line], cwd=self.folder, env=os.environ | {"PATH": path},
                              capture_output=True, text=True)

    def test_holds_what_it_must_and_nothing_else(self):
        resources = {f"{BUNDLE}/Contents/Resources/{file}" for file in files_below(BUILD / BUNDLE / "Contents/Resources")}
        sample = {f"macroot/bin/package/{file}" for file in files_below(BUILD / "macroot/package")}
        self.assertTrue(resources and sample)
        found = {file for file in files_below(self.folder) if not file.startswith("mac/")}
        self.assertEqual(found, FILES | resources | sample)

    def test_what_its_readme_says_can_be_done(self):
        lines = re.findall(r"^    (.+)$", self.readme, re.MULTILINE)
        self.assertEqual(len(lines), 3)
        for line in lines:
            done = self.run_line(line)
            self.assertEqual(done.returncode, 0, line + done.stderr)
        version = re.search(r"^Brelund Quorlix Driver=(.+)$", (self.folder / "OSX/macver.list").read_text(), re.MULTILINE)
        self.assertEqual(done.stdout.strip(), version[1])
        for name in re.findall(r"`((?:mac|macroot|OSX)(?:/[^ `]+)?)", self.readme):
            self.assertTrue((self.folder / name).exists(), name)
        self.assertEqual(self.run_line("macroot/tools/make-package beside.pkg --version 2.0").returncode, 0)
        (self.folder / "beside.pkg").unlink()

    def test_the_module_finds_all_that_it_needs_in_the_program(self):
        ran = self.run_line(f'env -u DISPLAY -u WAYLAND_DISPLAY LD_BIND_NOW=1 "./{PROGRAM}"')
        self.assertEqual(ran.returncode, 3, ran.stderr)
        self.assertNotIn("cannot be loaded", ran.stderr)

    def test_the_statuses_are_those_of_its_readme(self):
        for status, line in [(2, f'KYB_SYSTEM_ROOT=/no/such "./{PROGRAM}" -s me'),
                             (3, f'env -u DISPLAY -u WAYLAND_DISPLAY "./{PROGRAM}"')]:
            self.assertEqual(self.run_line(line).returncode, status)
            self.assertRegex(self.readme, rf"\b{status} when ")


unittest.main()
