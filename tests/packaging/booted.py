"""A bare Debian that its own systemd has started, as the first process of namespaces of its own."""

import os
import signal
import subprocess
import time
from pathlib import Path

from debian import SUDO, DebianRoot, call
from harness import PATIENCE_SECONDS, await_true, environment

NAMESPACES = ("--mount", "--pid", "--ipc", "--uts", "--cgroup")
POWER_OFF = signal.SIGRTMIN + 4  # systemd(1): stops all units in order and ends
# The machine's own network is kept, for a cloud and modalities outside; its settings can't be changed from in there.
BOOT = r"""
set -e
root=$1
mount --bind "$root" "$root"
cd "$root"
mount -t proc proc proc
mount --bind proc/sys proc/sys
mount -o remount,bind,ro proc/sys
mount -t sysfs -o ro sysfs sys
mount -t cgroup2 cgroup2 sys/fs/cgroup
for folder in run tmp dev; do mount -t tmpfs -o mode=0755 tmpfs $folder; done
chmod 1777 tmp
for device in null zero full random urandom tty; do cp -a /dev/$device dev; done
ln -s pts/ptmx dev/ptmx
ln -s /proc/self/fd dev/fd
mkdir dev/shm -m 1777
mkdir -p machine
pivot_root . machine
umount -l /machine
# Credentials are mounted for a service where the others see them: systemd leaves that to who starts it in a container.
mount --make-rshared /
exec env -i container=test PATH=/usr/sbin:/usr/bin:/sbin:/bin /lib/systemd/systemd systemd.unit=multi-user.target
"""


class CannotBoot(Exception):
    """This user, on this machine, may not start another system."""


def control_groups():
    """Where the machine has its control groups of the second version."""
    for line in Path("/proc/self/mounts").read_text(encoding="utf-8").splitlines():
        _, folder, kind, *_ = line.split()
        if kind == "cgroup2":
            return Path(folder)
    raise CannotBoot("there are no control groups of the second version")


class BootedRoot(DebianRoot):
    """Root with systemd in it. Owner: a test, which removes it."""

    def __init__(self, folder, packages):
        super().__init__(folder, packages)
        self._group = control_groups() / f"quorin-{Path(folder).parent.name}"
        call(*SUDO, "mkdir", self._group)
        try:
            self._boot()
        except AssertionError:
            self._process.kill()  # and with it the first process
            self._process.wait()
            self._remove_groups()
            super().remove()
            raise

    @staticmethod
    def try_out():
        """Whether what booting needs is allowed; CannotBoot else."""
        group = control_groups() / f"quorin-{os.getpid()}"
        try:
            call(*SUDO, "mkdir", group)
            call(*SUDO, "rmdir", group)
            call(*SUDO, "unshare", *NAMESPACES, "--fork", "mount", "-t", "cgroup2", "cgroup2", "/mnt")
        except (AssertionError, OSError) as failure:
            raise CannotBoot(str(failure)) from None

    def _needed(self, names):
        return names - {"systemd-standalone-sysusers"} | {"systemd", "systemd-sysv"}

    def _boot(self):
        start = f'echo 0 > "{self._group}/cgroup.procs"; exec unshare {" ".join(NAMESPACES)} --fork --kill-child sh -c "$@"'
        self._process = subprocess.Popen([*SUDO, "sh", "-c", start, "sh", BOOT, "sh", str(self.folder)],
                                         env=environment())
        self._first = await_true("the first process", lambda: self._first_below(self._process.pid), self._process)
        await_true("the system", lambda: self._state() in ("running", "degraded"), self._process)

    def _first_below(self, pid):
        """The machine's number of the process that is the first of its own numbers."""
        try:
            for child in Path(f"/proc/{pid}/task/{pid}/children").read_text(encoding="utf-8").split():
                numbers = [line.split() for line in Path(f"/proc/{child}/status").read_text(encoding="utf-8").splitlines()
                           if line.startswith("NSpid:")][0]
                if len(numbers) > 2 and numbers[-1] == "1":
                    started = Path(f"/proc/{child}/comm").read_text(encoding="utf-8") == "systemd\n"
                    return child if started else None
                found = self._first_below(child)
                if found:
                    return found
        except FileNotFoundError:
            pass  # it has just ended; asked again
        return None

    def _state(self):
        asked = subprocess.run([str(part) for part in (*self._inside("root"), "systemctl", "is-system-running")],
                               stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, env=environment())
        return asked.stdout.strip()

    def _inside(self, user):
        return [*SUDO, "nsenter", "--target", self._first, *NAMESPACES, "--root", "--wdns=/", "env", "-i",
                "PATH=/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL=C.UTF-8", "setpriv", "--reuid", user, "--regid", user,
                "--init-groups", "--"]

    def install(self, *packages):
        names = []
        for package in packages:
            # Its own /tmp is not the folder's.
            call(*SUDO, "cp", package, self.folder / "srv")
            names.append(f"/srv/{Path(package).name}")
        return self.run("dpkg", "--install", *names)

    def write(self, inside, text):
        self.run("mkdir", "-p", str(Path(inside).parent))
        self.run("tee", inside, text_in=text)

    def unit(self, name, *properties):
        """What systemd says of a unit's properties."""
        told = self.run("systemctl", "show", name, *(f"--property={each}" for each in properties))
        return dict(line.split("=", 1) for line in told.splitlines())

    def remove(self):
        call(*SUDO, "kill", f"-{int(POWER_OFF)}", self._first)
        try:
            self._process.wait(PATIENCE_SECONDS)
        except subprocess.TimeoutExpired:
            call(*SUDO, "kill", "-KILL", self._first)
            self._process.wait()
        self._remove_groups()
        super().remove()

    def _remove_groups(self):
        """Those of processes that have just ended may be busy for a moment."""
        folders = sorted(self._group.rglob("*/"), reverse=True)
        end = time.monotonic() + PATIENCE_SECONDS
        for folder in [*folders, self._group]:
            while folder.exists() and subprocess.run([*SUDO, "rmdir", str(folder)], capture_output=True).returncode != 0:
                if time.monotonic() > end:
                    raise AssertionError(f"{folder} stays busy")
                time.sleep(0.01)
