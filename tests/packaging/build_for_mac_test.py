#!/usr/bin/env python3
"""Configures as docs/macos.md says, with a Mac as the target, and looks at what would be built:
build_for_mac_test.py CMAKE SOURCE_FOLDER LIBRARY_ARCHITECTURE"""
import json
import re
import shlex
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

CMAKE, SOURCES, LIBRARY_ARCHITECTURE = sys.argv.pop(1), Path(sys.argv.pop(1)), sys.argv.pop(1)
BUNDLE = "Brelund Quorlix Installer.app/Contents"
PRODUCT = {
    "BrelundQuorlixInstaller": ("EXECUTABLE", f"{BUNDLE}/MacOS/BrelundQuorlixInstaller"),
    "KYWizard": ("MODULE_LIBRARY", f"{BUNDLE}/PlugIns/libKYWizard.so"),
    "InstallerHelperTool": ("EXECUTABLE", "helper/macos/com.kyb.InstallerHelperTool"),
}
TESTS = {
    "base_test", "catalog_test", "install_test", "logging_test", "privileged_test", "shell_test", "text_test", "ui_test",
    "kyb_platform_contract_test", "views_test", "views_hidpi_test", "wizard_test",
}
TOOLS = {"kyb_make_icns"}
FRAMEWORKS = ["ApplicationServices", "CoreFoundation", "Foundation", "IOKit", "Security", "ServiceManagement"]
# What the project looks for: on a Mac all of it is there, by docs/macos.md.
LOOKED_FOR = {"Qt6 Core", "Qt6 Gui", "Qt6 Test", "Qt6 UiTools", "Qt6 Widgets", "Threads", "GTest", "Python3 Interpreter",
              "rsvg-convert"}
# What may stand in a command that links for a Mac.
LINKED = re.compile("|".join([
    r"-O3|-DNDEBUG|-Xlinker|-framework|-undefined|dynamic_lookup",
    r"-sectcreate|__TEXT|__info_plist|__launchd_plist|/.*/property-lists/(HelperInfo|launchd)\.plist",
    r".*/libkyb_(code_pages|helper_core|posix|views|wizard)\.a",
    r".*/lib(Qt6\w+|gtest|gmock)(_main)?\.(a|so[\d.]*)",
    *FRAMEWORKS]))


def configure(build, *options):
    """Runs the first command in docs/macos.md, with what stands for something in it filled in."""
    text = (SOURCES / "docs/macos.md").read_text().replace("\\\n", " ")
    words = shlex.split(re.search(r"^    cmake (.*)$", text, re.MULTILINE)[1].replace("(TEAM)", "(AB12CD34EF)"))
    words[words.index("-S") + 1] = SOURCES
    words[words.index("-B") + 1] = build
    without_a_mac = [f"-DCMAKE_TOOLCHAIN_FILE={Path(__file__).with_name('mac_without_a_mac.cmake')}",
                     f"-DCMAKE_LIBRARY_ARCHITECTURE={LIBRARY_ARCHITECTURE}"]
    return subprocess.run([CMAKE, *words, *without_a_mac, *options], capture_output=True, text=True)


def sought(words):
    """What a call looks for: a package's components one by one, or its name; or a program."""
    command, arguments = words["cmd"].lower(), words["args"]
    if command != "find_package":
        return {arguments[1]}
    components = arguments[arguments.index("COMPONENTS") + 1:] if "COMPONENTS" in arguments else []
    return {f"{arguments[0]} {component}" for component in components} or {arguments[0]}


def looked_for(trace):
    """What the project's own lists look for, or ask, of all the calls in a trace."""
    calls = (json.loads(line) for line in trace.read_text().splitlines()[1:])
    ours = (call for call in calls if Path(call["file"]).is_relative_to(SOURCES))
    finds = re.compile("find_|pkg_|execute_process", re.IGNORECASE)
    return set().union(*(sought(call) for call in ours if finds.match(call["cmd"])))


def read_targets(build):
    """By name, each target of the build, as CMake's file API describes it."""
    reply = build / ".cmake/api/v1/reply"
    model = json.loads(next(reply.glob("codemodel-v2-*.json")).read_text())
    return {target["name"]: json.loads((reply / target["jsonFile"]).read_text())
            for target in model["configurations"][0]["targets"]}


def words_of(fragments):
    return [word for fragment in fragments for word in shlex.split(fragment["fragment"])]


class BuildForMac(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        place = tempfile.TemporaryDirectory()
        cls.addClassCleanup(place.cleanup)
        cls.place = Path(place.name)
        query = cls.place / "build/.cmake/api/v1/query/codemodel-v2"
        query.parent.mkdir(parents=True)
        query.touch()
        cls.trace = cls.place / "trace"
        configured = configure(cls.place / "build", "--trace-expand", "--trace-format=json-v1",
                               f"--trace-redirect={cls.trace}")
        if configured.returncode != 0:
            raise AssertionError(configured.stdout + configured.stderr)
        cls.targets = read_targets(cls.place / "build")
        cls.linked = {name: target for name, target in cls.targets.items() if "link" in target}

    def test_the_product_is_a_program_a_module_and_a_helper(self):
        found = {name: (target["type"], target["artifacts"][0]["path"]) for name, target in self.linked.items()}
        self.assertEqual({name: found[name] for name in found.keys() - TESTS - TOOLS}, PRODUCT)

    def test_the_tests_that_are_there(self):
        self.assertEqual({name for name in self.linked if name.endswith("_test")}, TESTS)

    def test_everything_is_for_both_processors_and_macos_11(self):
        for name, target in self.linked.items():
            for group in target["compileGroups"]:
                words = words_of(group["compileCommandFragments"])
                architectures = [words[i + 1] for i, word in enumerate(words) if word == "-arch"]
                self.assertEqual(architectures, ["arm64", "x86_64"], name)
                self.assertIn("-mmacosx-version-min=11.0", words, name)

    def test_nothing_is_linked_that_a_mac_has_not(self):
        for name, target in self.linked.items():
            words = words_of(target["link"]["commandFragments"])
            self.assertEqual([word for word in words if not LINKED.fullmatch(word)], [], name)

    def test_nothing_is_looked_for_that_a_mac_has_not(self):
        self.assertEqual(looked_for(self.trace), LOOKED_FOR)

    def test_nothing_of_linux_is_compiled(self):
        by_id = {target["id"]: target for target in self.targets.values()}
        built, waiting = {}, [target["id"] for target in self.linked.values()]
        while waiting:
            target = by_id[waiting.pop()]
            built[target["id"]] = target
            waiting += [needed["id"] for needed in target.get("dependencies", []) if needed["id"] not in built]
        sources = [source["path"] for target in built.values() for source in target.get("sources", [])]
        self.assertEqual([source for source in sources if "linux/" in source], [])

    def test_the_ports_are_tested_against_the_system_itself(self):
        words = words_of(self.linked["kyb_platform_contract_test"]["link"]["commandFragments"])
        self.assertEqual([words[i + 1] for i, word in enumerate(words) if word == "-framework"], FRAMEWORKS)
        self.assertNotIn("kyb_fake_macos", self.targets)

    def test_benchmarks_and_fuzz_targets_are_refused(self):
        for option in ("KYB_BUILD_BENCH", "KYB_BUILD_FUZZ"):
            refused = configure(self.place / option, f"-D{option}=ON")
            self.assertNotEqual(refused.returncode, 0)
            self.assertIn("need the stand-in for macOS", refused.stderr)


unittest.main()
