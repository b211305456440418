"""A folder that plays "/", with the bundle and the package beside it, for tools that run the product again and again."""
import hashlib
import os
import plistlib
import select
import shutil
import signal
import stat
import subprocess
import time
from pathlib import Path

TOP = Path(__file__).resolve().parent.parent
HELPER = "Library/PrivilegedHelperTools/com.kyb.InstallerHelperTool"
WRAPPER_LOG = "var/tmp/kyb/BrelundQuorlix.log"
STAYS = ("Failed to install the Helper Tool",  # what a run that stays has logged, among its last entries, or has said
         "There is no package at")
END_SECONDS = 40


def fingerprint(build, *tools):
    """Of all that a run is made of, and of the tools that judge it."""
    parts = hashlib.sha256()
    folders = (build / "macroot", build / "Brelund Quorlix Installer.app")
    built = (path for folder in folders for path in sorted(folder.rglob("*")) if path.is_file() and "CMakeFiles" not in path.parts)
    for path in (*built, TOP / "tools/make-macroot", TOP / "tools/make-package", Path(__file__), *map(Path, tools)):
        parts.update(hashlib.sha256(path.read_bytes()).digest())
    return parts.hexdigest()[:16]


def make_template(place, build, *package_options):
    """Makes what machines are copied from, in a new folder, of a build's programs."""
    (place / "Installer/OSX").mkdir(parents=True)
    (place / "bin").mkdir()
    subprocess.run([TOP / "tools/make-macroot", place / "root", "--programs", build / "macroot"], check=True)
    subprocess.run([TOP / "tools/make-package", place / "Installer/OSX/Brelund Quorlix Driver.pkg", "--version", "4.2.0", "--programs",
                    build / "macroot", *package_options], check=True, stdout=subprocess.DEVNULL)
    subprocess.run(["cp", "-a", build / "Brelund Quorlix Installer.app", place / "Installer"], check=True)
    sudo = place / "bin/sudo"  # what the program runs with it needs no other rights here
    sudo.write_text('#!/bin/sh\nexec "$@"\n')
    sudo.chmod(0o755)


class Machine:
    """A copy of a template, made unless it is there."""

    def __init__(self, place, template):
        self.place = place
        if not place.exists():
            subprocess.run(["cp", "-a", template, place], check=True)
        self.root = place / "root"
        self.program = place / "Installer/Brelund Quorlix Installer.app/Contents/MacOS/BrelundQuorlixInstaller"
        self.package = place / "Installer/OSX/Brelund Quorlix Driver.pkg"
        self.environment = {"PATH": f"{place}/bin:/usr/bin:/bin", "LANG": "C.UTF-8", "HOME": str(place),
                            "KYB_SYSTEM_ROOT": str(self.root)}
        self.logged_before = 0  # characters of the log, when the last run began

    def end(self):
        subprocess.run(["pkill", "-KILL", "-f", f"{self.place}/"], check=False)
        shutil.rmtree(self.place, ignore_errors=True)

    def installer_words(self):
        return [str(self.root / "usr/sbin/installer"), "-pkg", str(self.package), "-target", "/", "-verboseR"]

    def program_words(self):
        return [str(self.program), "-s", "desk", "PUBLIC"]

    def run(self, words):
        """Its status, or None when it does not end, and what it said."""
        self.logged_before = len(self.log())
        with open(self.place / "output", "w") as file:
            process = subprocess.Popen(words, cwd="/", env=self.environment, stdin=subprocess.DEVNULL, stdout=file, stderr=file,
                                       start_new_session=True)
        ends = time.time() + END_SECONDS
        while process.poll() is None and time.time() < ends and not self.stays():
            time.sleep(0.01)
        status = process.poll()
        if status is None:
            os.killpg(process.pid, signal.SIGKILL)
            process.wait()
        return status, self.output()

    def output(self):
        """What the run that was made last, or is being made, has said."""
        return text_of(self.place / "output")

    def log(self):
        return text_of(self.root / WRAPPER_LOG)

    def stays(self):
        """Whether the run that was made last, or is being made, says why it does not end."""
        lines = self.log()[self.logged_before:].splitlines()[-3:] + self.output().splitlines()
        return any(text in line for line in lines for text in STAYS)

    def forget_short_writes(self):
        self.environment.pop("LD_PRELOAD", None)

    def wait_for_installers(self):
        """A helper that drops its client goes on with the installation. Whether it comes to an end."""
        ends = time.time() + END_SECONDS
        while subprocess.run(["pgrep", "-f", str(self.root / "usr/sbin/installer")], capture_output=True, check=False).returncode == 0:
            if time.time() > ends:
                return False
            time.sleep(0.02)
        return True

    def helper_is_whole(self):
        """Whether nothing but the bundle's helper lies in its folder, or nothing."""
        own = self.program.parent.parent / "Library/LaunchServices" / Path(HELPER).name
        folder = (self.root / HELPER).parent
        return all(path.name == own.name and path.read_bytes() == own.read_bytes() for path in folder.glob("*"))

    def kill_helper(self):
        """Returns when it is gone: one that is still being killed listens, and leaves its next client without an answer."""
        found = subprocess.run(["pgrep", "-f", str(self.root / HELPER)], capture_output=True, text=True, check=False)
        for number in map(int, found.stdout.split()):
            try:
                helper = os.pidfd_open(number)
            except ProcessLookupError:
                continue
            os.kill(number, signal.SIGKILL)
            select.select([helper], [], [])
            os.close(helper)

    def installed(self):
        """What the package's installation is made of: path -> what it is, without what tells the time."""
        found = {}
        for path in sorted(self.root.rglob("*")):
            name = str(path.relative_to(self.root))
            if not name.startswith(("var/log", "var/run", "var/tmp", "var/com.kyb", "Library/PrivilegedHelperTools",
                                    "Library/LaunchDaemons")):
                found[name] = what_it_is(path)
        return found


def text_of(path):
    return path.read_text(errors="replace") if path.exists() else ""


def what_it_is(path):
    info = path.lstat()
    if stat.S_ISLNK(info.st_mode):
        return f"link to {os.readlink(path)}"
    if not stat.S_ISREG(info.st_mode):
        return f"{stat.filemode(info.st_mode)}"
    content = path.read_bytes()
    if path.name.endswith(".plist") and path.parent.name == "receipts":
        entries = plistlib.loads(content)
        content = repr(sorted((key, value) for key, value in entries.items() if key != "InstallDate")).encode()
    return f"{stat.filemode(info.st_mode)} {hashlib.sha1(content).hexdigest()}"
