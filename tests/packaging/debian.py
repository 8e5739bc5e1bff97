"""The packages that the build folder makes, and a bare Debian root to install them in."""

import hashlib
import json
import os
import re
import subprocess
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "e2e"))
from harness import PROGRAMS, end, environment  # noqa: E402

BUILD = PROGRAMS.parent
USER = "quorin-gateway"
RACK_HOME = "/var/lib/quorin-gateway"
SUDO = [] if os.geteuid() == 0 else ["sudo"]


def call(*command, **options):
    """Runs a tool to its end; what it wrote. A failure carries that."""
    ended = subprocess.run([str(part) for part in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                           env=environment() | {"LC_ALL": "C.UTF-8"}, **options)
    if ended.returncode != 0:
        raise AssertionError(f"{command} ended with {ended.returncode}:\n{ended.stdout}")
    return ended.stdout


def make_packages(folder, version=None):
    """The packages by their names, of the version that is built or, of the same programs, called another one."""
    call("cpack", "-G", "DEB", "-B", folder, *(["-R", version] if version else []), cwd=BUILD)
    return {call("dpkg-deb", "-f", file, "Package").strip(): file for file in Path(folder).rglob("*.deb")}


def dependencies(package):
    """What a package depends on, of alternatives the first, without those that are built here."""
    wanted = call("dpkg-deb", "-f", package, "Depends").strip().split(", ")
    names = [re.match(r"[a-z0-9.+-]+", one)[0] for one in wanted]
    return [name for name in names if not name.startswith("quorin-")]


class DebianRoot:
    """A Debian 12 with nothing but apt and what some packages depend on. Owner: a test, which removes it.

    It is fetched once a build folder, by the system's own tool and from where the system has its packages.
    """

    def __init__(self, folder, packages):
        self.folder = Path(folder)
        self._started = []
        call(*SUDO, "mkdir", "-p", self.folder)
        names = self._needed({name for each in packages for name in dependencies(each)})
        call(*SUDO, "tar", "-xpf", self._archive(sorted(names)), "-C", self.folder)

    def _needed(self, names):
        return names

    @staticmethod
    def _archive(names):
        digest = hashlib.sha256(" ".join(names).encode()).hexdigest()[:16]
        archive = BUILD / "debian-roots" / f"{digest}.tar"
        if not archive.exists():
            archive.parent.mkdir(exist_ok=True)
            partial = archive.with_suffix(f".{os.getpid()}.tar")
            more = [f"--include={','.join(names)}"] if names else []
            call(*SUDO, "mmdebstrap", "--quiet", "--variant=apt", "--mode=root", *more, "bookworm", partial)
            partial.rename(archive)
        return archive

    def _inside(self, user):
        # /proc, by which the programs find themselves, is there for this command alone.
        return [*SUDO, "unshare", "--mount", "sh", "-c", 'mount --bind /proc "$1/proc" && shift && exec "$@"', "sh",
                self.folder, "chroot", f"--userspec={user}", self.folder, "env", "-i", "PATH=/usr/sbin:/usr/bin:/sbin:/bin",
                "LC_ALL=C.UTF-8"]

    def run(self, *command, user="root", text_in=None):
        return call(*self._inside(user), *command, input=text_in)

    def start(self, *command, user, log, variables):
        settings = [f"{name}={value}" for name, value in variables.items()]
        with open(log, "ab") as out:
            process = subprocess.Popen([str(part) for part in (*self._inside(user), *settings, *command)], stdout=out,
                                       stderr=out)
        self._started.append(process)
        return process

    def install(self, *packages):
        """By dpkg alone: what a package needs and doesn't name isn't there."""
        names = []
        for package in packages:
            call(*SUDO, "cp", package, self.folder / "tmp")
            names.append(f"/tmp/{Path(package).name}")
        return self.run("dpkg", "--install", *names)

    def files(self, path):
        """The files below a folder with what is in them, as sums."""
        return self.run("find", path, "-type", "f", "-exec", "sha256sum", "{}", "+")

    def path(self, inside):
        return self.folder / str(inside).lstrip("/")

    def remove(self):
        for process in self._started:
            end(process)
        call(*SUDO, "rm", "-rf", "--one-file-system", self.folder)


class OnARack:
    """For tests with a `root` that has the headless package: asks its gateway as the user that it runs as."""

    def command(self, *arguments, text_in=None):
        return self.root.run("quorin-gateway", "--home", RACK_HOME, *arguments, user=USER, text_in=text_in)

    def status(self):
        try:
            return json.loads(self.command("status", "--json"))
        except AssertionError:
            return None
