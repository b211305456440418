#!/usr/bin/env python3
"""Makes packages of a small bundle for macOS, and reads them: fleet_package_test.py TOOL PROGRAMS JOB"""
import os
import plistlib
import shutil
import stat
import struct
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree
from pathlib import Path

from flat_package import Bom, cpio_items, xar_members

TOOL, PROGRAMS, JOB = sys.argv.pop(1), sys.argv.pop(1), Path(sys.argv.pop(1)).read_bytes()
LABEL = "com.kyb.InstallerHelperTool"
HELPER = f"Contents/Library/LaunchServices/{LABEL}"
APP = "Brelund Quorlix Installer.app"
FOLDER = "./Library/Application Support/Brelund Quorlix Installer"


def mach_program(job):
    """A program for macOS with a job in it."""
    headers = 32 + 72 + 80
    section = struct.pack("<16s16sQQ8L", b"__launchd_plist", b"__TEXT", 0, len(job), headers, 0, 0, 0, 0, 0, 0, 0)
    segment = struct.pack("<LL16s4Q4L", 0x19, 72 + 80, b"__TEXT", 0, 0, 0, 0, 5, 5, 1, 0)
    return struct.pack("<8L", 0xFEEDFACF, 0x0100000C, 0, 2, 1, 72 + 80, 0, 0) + segment + section + job


def universal(first, second):
    entries = struct.pack(">5L", 7, 3, 4096, len(first), 12) + struct.pack(">5L", 12, 0, 8192, len(second), 12)
    return (struct.pack(">LL", 0xCAFEBABE, 2) + entries).ljust(4096, b"\0") + first.ljust(4096, b"\0") + second


def checksum_of(content):
    """As the system's own program prints it."""
    run = subprocess.run(["cksum"], input=content, capture_output=True, check=True)
    return int(run.stdout.split()[0])


class FleetPackage(unittest.TestCase):
    def setUp(self):
        place = tempfile.TemporaryDirectory()
        self.addCleanup(place.cleanup)
        self.place = Path(place.name)
        self.bundle, self.driver, self.output = self.place / APP, self.place / "the driver", self.place / "our fleet.pkg"
        self.put(self.bundle / "Contents/Info.plist", b"<plist/>")
        self.put(self.bundle / "Contents/Resources/empty", b"")
        self.put(self.bundle / "Contents/Resources/\u00e4 b.txt", "\u00e4".encode())
        self.put(self.bundle / "Contents/MacOS/program", os.urandom(300_000), 0o775)
        self.put(self.bundle / HELPER, universal(mach_program(JOB), mach_program(b"<another/>")), 0o755)
        self.put(self.bundle / "Contents/Frameworks/Kit.framework/Versions/A/Kit", b"kit", 0o755)
        (self.bundle / "Contents/Frameworks/Kit.framework/Versions/Current").symlink_to("A")
        (self.bundle / "Contents/Frameworks/Kit.framework/Kit").symlink_to("Versions/Current/Kit")
        self.put(self.driver / "Brelund Quorlix Driver.pkg", b"a package")
        self.put(self.driver / "macver.list", b"Brelund Quorlix Driver=1.0\n")
        self.put(self.driver / "something else", b"")

    @staticmethod
    def put(path, content, mode=0o644):
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)
        path.chmod(mode)

    def run_tool(self, *options, **values):
        """With the options that it needs; VALUES replace them, and None leaves one out."""
        words = {"bundle": self.bundle, "driver": self.driver, "version": "1.2"} | values
        pairs = [word for name, value in words.items() if value is not None for word in (f"--{name}", value)]
        return subprocess.run([TOOL, "--programs", PROGRAMS, self.output, *pairs, *options], capture_output=True, text=True)

    def make(self, **values):
        run = self.run_tool(**values)
        self.assertEqual((run.returncode, run.stdout, run.stderr), (0, "", ""))
        return xar_members(self.output.read_bytes())

    def expected_payload(self):
        """Path -> type, mode and content (or target) of all that belongs into the package."""
        folders = [".", "./Library", "./Library/Application Support", "./Library/LaunchDaemons",
                   "./Library/PrivilegedHelperTools", FOLDER, FOLDER + "/OSX", f"{FOLDER}/{APP}"]
        items = {folder: (stat.S_IFDIR | 0o755, b"") for folder in folders}
        items[f"./Library/PrivilegedHelperTools/{LABEL}"] = (stat.S_IFREG | 0o544, (self.bundle / HELPER).read_bytes())
        for name in ("Brelund Quorlix Driver.pkg", "macver.list"):
            items[f"{FOLDER}/OSX/{name}"] = (stat.S_IFREG | 0o644, (self.driver / name).read_bytes())
        for path in self.bundle.rglob("*"):
            name = f"{FOLDER}/{APP}/{path.relative_to(self.bundle)}"
            if path.is_symlink():
                items[name] = (stat.S_IFLNK | 0o755, os.readlink(path).encode())
            elif path.is_dir():
                items[name] = (stat.S_IFDIR | 0o755, b"")
            else:
                mode = 0o755 if path.stat().st_mode & stat.S_IXUSR else 0o644
                items[name] = (stat.S_IFREG | mode, path.read_bytes())
        return items

    def test_the_payload_holds_what_it_must_and_nothing_else(self):
        items = cpio_items(self.make()["Payload"])
        job = items.pop(f"./Library/LaunchDaemons/{LABEL}.plist")
        self.assertEqual({path: (item.mode, item.content) for path, item in items.items()}, self.expected_payload())
        self.assertEqual({(item.uid, item.gid) for item in [job, *items.values()]}, {(0, 0)})
        self.assertEqual(job.mode, stat.S_IFREG | 0o644)
        for number, path in enumerate(items):
            self.assertIn(str(Path(path).parent), [str(Path(p)) for p in list(items)[:max(number, 1)]], "its folder is first")

    def test_the_job_is_the_one_in_the_helper_with_its_place(self):
        place = f"/Library/PrivilegedHelperTools/{LABEL}"
        expected = plistlib.loads(JOB) | {"Program": place, "ProgramArguments": [place]}
        self.assertEqual(expected["Label"], LABEL)
        for helper in (universal(mach_program(JOB), b""), mach_program(JOB)):
            self.put(self.bundle / HELPER, helper, 0o755)
            job = cpio_items(self.make()["Payload"])[f"./Library/LaunchDaemons/{LABEL}.plist"]
            self.assertEqual(plistlib.loads(job.content, fmt=plistlib.FMT_XML), expected)

    def test_the_bill_of_materials_lists_the_payload(self):
        members = self.make()
        items, bom = cpio_items(members["Payload"]), Bom(members["Bom"])
        listed = bom.items()
        self.assertEqual(listed.keys(), items.keys())
        for path, item in items.items():
            entry = listed[path]
            self.assertEqual(entry[:4], item[:4], path)
            self.assertEqual(entry.size, len(item.content), path)
            self.assertEqual(entry.checksum, None if stat.S_ISDIR(item.mode) else checksum_of(item.content), path)
            self.assertEqual(entry.target, item.content if stat.S_ISLNK(item.mode) else b"", path)
        for name, node_size in (("HLIndex", 4096), ("Size64", 4096)):
            self.assertEqual(bom.tree(bom.names[name]), [])
        index = bom.block(bom.names["VIndex"])
        self.assertEqual((index[:4], index[8:]), (struct.pack(">L", 1), bytes(5)))
        self.assertEqual(bom.tree(struct.unpack(">L", index[4:8])[0]), [])
        self.assertEqual(bom.names.keys(), {"BomInfo", "Paths", "HLIndex", "VIndex", "Size64"})

    def test_a_bill_of_many_materials_has_several_leaves(self):
        present = len(cpio_items(self.make()["Payload"]))
        leaf = (4096 - 12) // 8
        for total in (leaf, leaf + 1, 3 * leaf):
            for number in range(present, total):
                self.put(self.bundle / f"Contents/Resources/{number}", b"")
            present = total
            members = self.make()
            self.assertEqual(Bom(members["Bom"]).items().keys(), cpio_items(members["Payload"]).keys())
            self.assertEqual(len(Bom(members["Bom"]).items()), total)

    def test_the_description(self):
        members = self.make(version="2.0 beta")
        self.assertEqual(members.keys(), {"PackageInfo", "Bom", "Payload", "Scripts"})
        info = ElementTree.fromstring(members["PackageInfo"])
        items = cpio_items(members["Payload"])
        size = sum(len(item.content) for item in items.values())
        self.assertEqual(info.tag, "pkg-info")
        self.assertEqual(info.attrib, {
            "format-version": "2", "identifier": "com.kyb.BrelundQuorlixInstaller.Fleet", "version": "2.0 beta",
            "install-location": "/", "auth": "root", "overwrite-permissions": "false", "relocatable": "false"})
        self.assertEqual(info.find("payload").attrib,
                         {"installKBytes": str((size + 1023) // 1024), "numberOfFiles": str(len(items))})
        self.assertEqual([(script.tag, script.attrib) for script in info.find("scripts")],
                         [("postinstall", {"file": "./postinstall"})])
        self.assertEqual({child.tag for child in info}, {"payload", "scripts"})

    def test_the_script(self):
        items = cpio_items(self.make()["Scripts"])
        self.assertEqual(list(items), [".", "./postinstall"])
        self.assertEqual(items["./postinstall"].mode, stat.S_IFREG | 0o755)
        self.assertTrue(items["./postinstall"].content.startswith(b"#!/bin/sh\n"))

    def spoil(self, path, content=None, target=None, size=None):
        """Takes what is at a path of the bundle or the driver away; puts a file, a link or a large file there."""
        path = self.place / path
        shutil.rmtree(path) if path.is_dir() else path.unlink(missing_ok=True)
        if content is not None:
            self.put(path, content)
        elif target is not None:
            path.symlink_to(target)
        elif size is not None:
            path.touch()
            os.truncate(path, size)

    def test_what_it_refuses(self):
        kit, other_job = f"{APP}/Contents/Frameworks/Kit.framework/Kit", JOB.replace(LABEL.encode(), b"x")
        for what, complaint in [
                ({"path": APP}, "no application bundle: "),
                ({"path": f"{APP}/Contents/Info.plist"}, "no application bundle: "),
                ({"path": f"{APP}/{HELPER}"}, "no helper in the bundle: "),
                ({"path": f"{APP}/{HELPER}", "content": b"\x7fELF"}, "no program for macOS with a job in it: "),
                ({"path": f"{APP}/{HELPER}", "content": mach_program(JOB)[:-1]}, "no program for macOS with a job in it: "),
                ({"path": f"{APP}/{HELPER}", "content": mach_program(b"no list")}, f"the helper's job is not that of {LABEL}"),
                ({"path": f"{APP}/{HELPER}", "content": mach_program(other_job)}, f"the helper's job is not that of {LABEL}"),
                ({"path": kit, "target": "/tmp/Kit"}, "a link leads out of the bundle: "),
                ({"path": kit, "target": "../../../../Kit"}, "a link leads out of the bundle: "),
                ({"path": f"{APP}/Contents/._Info.plist", "content": b""}, "a leftover of copying is in the bundle: "),
                ({"path": f"{APP}/Contents/large", "size": 2 ** 32}, "Contents/large is too large: it has more than 4 GiB"),
                ({"path": "the driver"}, "Brelund Quorlix Driver.pkg is no file that can be read"),
                ({"path": "the driver/macver.list"}, "macver.list is no file that can be read")]:
            with self.subTest(what):
                self.doCleanups()
                self.setUp()
                self.spoil(**what)
                self.assert_refused(self.run_tool(), complaint)

    def test_it_reads_and_replaces_nothing_but_files(self):
        self.output.mkdir()
        self.assert_refused(self.run_tool(), "our fleet.pkg is there already and no regular file")
        self.output.rmdir()
        os.mkfifo(self.bundle / "Contents/fifo")
        self.assert_refused(self.run_tool(), "Contents/fifo is no file that can be read")
        (self.bundle / "Contents/fifo").unlink()
        self.spoil("the driver/macver.list", target="/proc/version")  # which is longer than it says
        self.assert_refused(self.run_tool(), "macver.list was changed while it was read")

    def assert_refused(self, run, complaint):
        self.assertEqual(run.returncode, 1)
        self.assertTrue(run.stderr.startswith("make_fleet_package: "), run.stderr)
        self.assertIn(complaint, run.stderr)
        self.assertEqual(run.stderr.count("\n"), 1)
        self.assertFalse(self.output.is_file() or list(self.place.glob("*.unfinished")))

    def test_folders_that_it_refuses(self):
        rows = {
            "is no absolute path": ["Library/Ours", ".", "/Library/../tmp", "/Library/" + "x" * 300],
            "needs quoting": ['/Library/a"b', "/Library/a$b", "/Library/a`b", "/Library/a\\b", "/Library/a'b",
                              "/Library/a\tb", "/Library/\u00e4"],
            "must lie below": ["/", "/Library", "/Library/", "/tmp/x", "/var/x", "/private/var/tmp/x", "/Users/Shared/x",
                               "/System/Library/x", "/Library/Caches/x", "/Library/Caches", "/Library/Caches/", "/Library/caches/x",
                               "/Library/./CACHES", "/Libraryx/y", "/usr/local/x", "/library/x", "/opt/x",
                               "/Library/PrivilegedHelperTools", "/Library/privilegedhelpertools/com.kyb.installerhelpertool",
                               "/Library/LaunchDaemons/x"],
        }
        for complaint, folders in rows.items():
            for folder in folders:
                with self.subTest(folder):
                    self.assert_refused(self.run_tool(folder=folder), complaint)

    def test_versions_that_it_refuses(self):
        for version in ["1\n", "1\x01", "1\"", "1\u00e4", "1<", "1/2", "1:", "1@", "1[", "1`", "1{"]:
            with self.subTest(version):
                self.assert_refused(self.run_tool(version=version), "--version has other characters than")

    def test_a_job_from_a_file(self):
        self.put(self.bundle / HELPER, b"a program of another system", 0o755)
        self.put(self.place / "job.plist", JOB)
        items = cpio_items(self.make(job=self.place / "job.plist")["Payload"])
        self.assertIn("Program", plistlib.loads(items[f"./Library/LaunchDaemons/{LABEL}.plist"].content))
        self.assert_refused_without_a_file(self.run_tool(job=self.place / "no such file"))

    def assert_refused_without_a_file(self, run):
        self.assertEqual(run.returncode, 1)
        self.assertIn("no file that can be read: ", run.stderr)

    def test_a_package_that_is_there_is_replaced_only_by_a_whole_one(self):
        self.make(version="1.0")
        self.assertIn(b'version="2.0"', self.make(version="2.0")["PackageInfo"])
        before = self.output.read_bytes()
        (self.driver / "macver.list").unlink()
        self.assertEqual(self.run_tool().returncode, 1)
        self.assertEqual(self.output.read_bytes(), before)

    def test_it_tells_how_it_is_called(self):
        for options, values in [((), {"bundle": None}), ((), {"driver": None}), ((), {"version": None}), ((), {"version": ""}),
                                (("--folder",), {}), (("--what", "x"), {}), (("another.pkg",), {})]:
            with self.subTest(options=options, values=values):
                run = self.run_tool(*options, **values)
                self.assertEqual(run.returncode, 1)
                self.assertEqual(run.stderr, "Usage: make_fleet_package OUT --bundle FOLDER --driver FOLDER --version V "
                                             "[--folder WHERE] [--job FILE]\n")
        run = subprocess.run([TOOL, "--programs", self.place, "a.pkg"], capture_output=True, text=True)
        self.assertEqual((run.returncode, run.stderr.split(";")[0]),
                         (1, "make-fleet-package: no program make_fleet_package"))


unittest.main()
