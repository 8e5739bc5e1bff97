"""What each running process may do, seen from outside and tried from inside, and what it leaves lying about; see docs/security.md."""

import errno
import json
import os
import platform
import re
import resource
import signal
import stat
import sys
import threading
import unittest
import zipfile
from pathlib import Path

import odd_objects
from harness import PASSWORD, TITLE, EndToEndTest, await_true, send
from helpers_test import children_of
from intruder import Intruder

CAP_SYS_PTRACE = 19  # linux/capability.h
CLOSE_ON_EXEC = 0o2000000
AT_CWD, REMOVED_FROM, NOTHING = -100, 0, 0
OWNERS_ALONE = stat.S_IRWXG | stat.S_IRWXO
STRANGERS = "/etc/passwd"


def told(process, name):
    return Path(f"/proc/{process}/{name}").read_text(encoding="utf-8", errors="replace")


def status_of(process, name):
    return re.search(rf"^{name}:\s*(\S+)", told(process, "status"), re.M)[1]


def limit_of(process, name):
    """The soft limit; a number or "unlimited"."""
    found = re.search(rf"^{name}\s{{2,}}(\S+)", told(process, "limits"), re.M)[1]
    return int(found) if found.isdigit() else found


def descriptors_of(process):
    """Number -> what it is and its flags."""
    found = {}
    for name in os.listdir(f"/proc/{process}/fd"):
        try:
            found[int(name)] = (os.readlink(f"/proc/{process}/fd/{name}"),
                                int(re.search(r"^flags:\s*(\d+)", told(process, f"fdinfo/{name}"), re.M)[1], 8))
        except FileNotFoundError:
            pass  # closed meanwhile
    return found


def family_of(process):
    return [process] + [one for child in children_of(process) for one in family_of(child)]


def allow_cores():
    """For this process, and what it starts."""
    before = resource.getrlimit(resource.RLIMIT_CORE)
    resource.setrlimit(resource.RLIMIT_CORE, (before[1], before[1]))
    return before


def sees_into_helpers():
    """They let in nobody but who may trace every process, as root does unless a container took that away."""
    return os.geteuid() == 0 and int(status_of(os.getpid(), "CapEff"), 16) >> CAP_SYS_PTRACE & 1 == 1


@unittest.skipUnless(sees_into_helpers(), "the right to trace every process is missing here")
class Hardening(EndToEndTest):

    def setUp(self):
        super().setUp()
        self.addCleanup(resource.setrlimit, resource.RLIMIT_CORE, allow_cores())
        self.cloud = self.start_cloud()
        self.gateway = self.start_gateway(self.cloud.address)
        self.process = self.gateway.process.pid

    def test_keeps_no_core(self):
        if resource.getrlimit(resource.RLIMIT_CORE)[0] in (0, 1):
            self.skipTest("this machine keeps none in any case")
        self.assertEqual(limit_of(self.process, "Max core file size"), 1)

        self.gateway.process.send_signal(signal.SIGABRT)
        _, ended = os.waitpid(self.process, 0)

        self.gateway.process.returncode = -signal.SIGABRT  # reaped here
        self.assertTrue(os.WIFSIGNALED(ended))
        self.assertFalse(os.WCOREDUMP(ended))

    def test_leaves_no_descriptor_to_other_programs(self):
        # Given
        self.gateway.sign_in()
        sent = self.samples(ct=60)
        sending = threading.Thread(target=send, args=(self.gateway, sent))

        # When: at any moment of receiving and sending
        sending.start()
        seen, left = set(), set()
        while self.gateway.status()["counters"]["synced"] < len(sent):
            for number, (what, flags) in descriptors_of(self.process).items():
                seen.add(what.split(":")[0])
                if number > 2 and not flags & CLOSE_ON_EXEC:
                    left.add((number, what))
        sending.join()

        # Then
        self.assertIn("socket", seen)
        # A name is looked up, and a pair of sockets made, before the first connection: what is gone at once may be seen once.
        there = {(number, what) for number, (what, flags) in descriptors_of(self.process).items()
                 if number > 2 and not flags & CLOSE_ON_EXEC}
        self.assertEqual(there, set())
        self.assertEqual({what for _, what in left if not what.startswith("socket:")}, set())

    def test_is_its_owners_alone(self):
        self.gateway.sign_in()
        sent = self.samples(ct=2)
        send(self.gateway, sent)
        self.gateway.await_synced(sent)

        self.assertEqual({status_of(process, "Umask") for process in family_of(self.process)}, {"0077"})
        open_to_others = [path for path in [self.gateway.home, *self.gateway.home.rglob("*")]
                          if not path.is_symlink() and path.stat().st_mode & OWNERS_ALONE]
        self.assertEqual(open_to_others, [])

    def test_shows_no_secret_to_who_lists_processes(self):
        # Given: every process that there is
        self.gateway.sign_in()
        sent = self.samples(ct=1)
        send(self.gateway, sent)
        self.gateway.await_synced(sent)
        sender = odd_objects.Sender(self.gateway.port, TITLE)
        self.addCleanup(sender.close)
        [session] = self.gateway.home.glob("*.token")

        # Then
        everyone = family_of(self.process)
        self.assertGreaterEqual(len(everyone), 4, "gateway, listener, association and worker")
        for process in everyone:
            for name in ("cmdline", "environ"):
                for secret in (PASSWORD, json.loads(session.read_text())["token"]):
                    self.assertNotIn(secret, told(process, name))


@unittest.skipUnless(sees_into_helpers() and platform.machine() == "x86_64",
                     "the right to trace every process is missing here, or the processor's registers have other names")
class Confined(EndToEndTest):
    """A helper in which a stranger's code runs."""

    def setUp(self):
        super().setUp()
        self.gateway = self.start_gateway("http://127.0.0.1:9")
        self.sent = self.samples(ct=2)
        send(self.gateway, self.sent)
        self.gateway.await_received(self.sent)
        self.stored = next(file for file in sorted(self.gateway.home.rglob("[0-9]*.dcm")))
        self.image = self.stored.read_bytes()

    def listener(self):
        return children_of(self.gateway.process.pid, "scp")[0]

    def attempts(self, files=True, processes=True):
        """A call with its arguments, and the error that it must meet."""
        gateway, stored = self.gateway.process.pid, self.stored
        yield errno.EPERM, ("socket", 2, 1, 0)
        yield errno.EPERM, ("socket", 1, 1, 0)
        yield errno.EPERM, ("execve", "/bin/true", NOTHING, NOTHING)
        yield errno.EPERM, ("ptrace", 16, gateway, 0, 0)
        yield errno.EPERM, ("process_vm_readv", gateway, NOTHING, 0, NOTHING, 0, 0)
        if files:
            yield errno.EACCES, ("openat", AT_CWD, STRANGERS, os.O_RDONLY)
            yield errno.EACCES, ("openat", AT_CWD, stored, os.O_WRONLY)
            yield errno.EACCES, ("openat", AT_CWD, self.gateway.home / "defaults.sqlite", os.O_RDWR)
            yield errno.EACCES, ("openat", AT_CWD, self.folder / "new", os.O_WRONLY | os.O_CREAT, 0o600)
            yield errno.EACCES, ("unlinkat", AT_CWD, stored, REMOVED_FROM)
            yield errno.EPERM, ("truncate", stored, 0)
            yield errno.EPERM, ("chmod", stored, 0)
            yield errno.EPERM, ("chown", stored, 1, 1)
        if processes:
            yield errno.EPERM, ("kill", gateway, 0)
            yield errno.EPERM, ("tgkill", gateway, gateway, 0)
            yield errno.EPERM, ("prlimit64", gateway, resource.RLIMIT_FSIZE, NOTHING, NOTHING)
            yield errno.EPERM, ("clone", signal.SIGCHLD, NOTHING, NOTHING, NOTHING, NOTHING)

    def check(self, process, filters, files=True, processes=True):
        self.assertEqual((status_of(process, "Seccomp"), status_of(process, "Seccomp_filters"), status_of(process, "NoNewPrivs")),
                         ("2", str(filters), "1"))
        self.assertEqual(limit_of(process, "Max core file size"), 0)
        tried = 0
        with Intruder(process) as intruder:
            self.assertEqual(intruder.call("getpid"), process)
            for error, call in self.attempts(files, processes):
                answer = intruder.call(*call)
                self.assertEqual(answer, -error, f"{call} was answered with {answer}")
                tried += 1
        self.assertEqual(self.stored.read_bytes(), self.image)
        self.assertFalse((self.folder / "new").exists())
        print(f"process {process}: {tried} calls refused")

    def check_limits(self, process):
        self.assertEqual(limit_of(process, "Max open files"), 64)
        self.assertEqual(limit_of(process, "Max address space"), 1024 ** 3)

    def test_the_attempts_work_where_nothing_is_confined(self):
        with Intruder(self.gateway.process.pid) as intruder:
            opened = [intruder.call("openat", AT_CWD, path, os.O_RDONLY | os.O_CLOEXEC) for path in (STRANGERS, self.stored)]
            self.assertGreater(min(opened), 2)
            self.assertGreater(intruder.call("socket", 2, 1 | os.O_CLOEXEC, 0), 2)
            self.assertEqual(intruder.call("kill", self.gateway.process.pid, 0), 0)
            self.assertEqual(intruder.call("prlimit64", self.listener(), resource.RLIMIT_FSIZE, NOTHING, NOTHING), 0)
            self.assertEqual(intruder.call("truncate", self.stored, len(self.image)), 0)
        self.assertEqual(self.gateway.status()["listener"]["state"], "listening")

    def test_an_association(self):
        before = children_of(self.listener())
        sender = odd_objects.Sender(self.gateway.port, TITLE)
        self.addCleanup(sender.close)
        [process] = await_true("its process", lambda: set(children_of(self.listener())) - set(before))

        self.check(process, filters=2)
        self.check_limits(process)

        # And it still does its own work
        instance = "1.2.826.0.1.3680043.2.1143.7.9.9"
        sender.store(odd_objects.dataset(instance, study=f"{instance}.1", series=f"{instance}.2"), instance)
        sender.release()
        self.gateway.await_status("the image", lambda s: s["counters"]["images"] == len(self.sent) + 1)

    def test_a_worker(self):
        [process, *_] = await_true("a worker", lambda: children_of(self.gateway.process.pid, "worker"))

        self.check(process, filters=1)
        self.check_limits(process)

    def test_an_unpacker(self):
        archive = self.folder / "large.zip"
        with zipfile.ZipFile(archive, "w", zipfile.ZIP_DEFLATED) as packed:
            for number in range(8):
                packed.writestr(f"{number}.dcm", bytes(128) + b"DICM" + bytes(64 * 1024 * 1024))
        importing = threading.Thread(target=self.gateway.command, args=("import", archive), kwargs={"check": False})

        importing.start()
        [process] = await_true("the unpacker", self.confined_unpacker)
        self.check(process, filters=1)
        self.check_limits(process)
        importing.join()

    def confined_unpacker(self):
        """One that is at work, and so behind its fences."""
        found = children_of(self.gateway.process.pid, "unpack")
        try:
            return found if found and status_of(found[0], "Seccomp") == "2" else None
        except FileNotFoundError:
            return None  # ended, and nobody has looked in time

    def test_the_listener(self):
        self.check(self.listener(), filters=1, files=False, processes=False)

        send(self.gateway, self.sent)


if __name__ == "__main__":
    ended = unittest.main(verbosity=2, exit=False).result
    sys.exit(1 if not ended.wasSuccessful() else 77 if ended.skipped else 0)
