#!/usr/bin/env python3
"""The volume of the inbox, the store, the index or the log is full, or nearly: each object is stored or refused with A700 at once,
and when there is room everything goes on by itself. A start on a full volume says why it waits, and goes on by itself as well.
"""

import errno
import os
import random
import sqlite3
import subprocess
import sys
import tempfile
import time
import unittest

from fault_rig import FaultRig, figure, is_long, rig, seed  # first: it says where the others are
import invariants
import odd_objects
from ledger import Ledger, Version
from older_index import make_older

BLOCK = 4096  # of a tmpfs
RESERVE = 64 << 20  # that the inbox leaves alone
CLAIM = 256 << 10  # the least that an object asks for at a time, beyond the reserve
DISK = 112 << 20
EXTRA = 300_000  # bytes of an object, which come in some forty fragments
OBJECT = EXTRA + 3000
FRAGMENT = 8000
QUICK = 6  # of the sizes
MOST_SECONDS = 2  # until an answer
RESUMING = 120  # seconds; the longest first pause of anything that waits for room is half a minute
STORED, NO_ROOM = 0x0000, 0xA700  # PS3.4, B.2.3
NO_ROOM_AT = "There is no room at"
WITHOUT_COPY = "No copy of the index of the version before is kept (Could not copy the index: No space left on device)"


class Disk:
    """A small volume, which anyone may fill."""

    def __init__(self, folder, size=DISK):
        self.folder = folder
        os.makedirs(folder, exist_ok=True)
        mounted = subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={size}", "tmpfs", folder], capture_output=True, text=True,
                                 check=False)
        if mounted.returncode != 0:
            raise OSError(f"no volume can be mounted: {mounted.stderr}")
        name = os.path.join(folder, "filler")
        self._filler = os.open(name, os.O_CREAT | os.O_RDWR)
        os.unlink(name)  # takes room as long as it is open

    @staticmethod
    def can_be_made():
        with tempfile.TemporaryDirectory() as folder:
            try:
                Disk(folder, 1 << 20).close()
            except OSError:
                return False
        return True

    def free(self):
        figures = os.statvfs(self.folder)
        return figures.f_bavail * figures.f_frsize

    def leave(self, wanted):
        """Fills all but so much, to a block."""
        for _ in range(20):  # others write beside it
            surplus = self.free() - wanted
            held = os.fstat(self._filler).st_size
            if abs(surplus) < BLOCK:
                return
            try:
                if surplus < 0:
                    os.ftruncate(self._filler, max(0, (held + surplus) // BLOCK * BLOCK))
                else:
                    os.posix_fallocate(self._filler, held, surplus // BLOCK * BLOCK)
            except OSError as error:
                if error.errno != errno.ENOSPC:
                    raise

    def make_room(self):
        os.ftruncate(self._filler, 0)

    def close(self):
        os.close(self._filler)
        subprocess.run(["umount", "-l", self.folder], check=True)


def around(need):
    """Sizes from nothing to more than `need`, close together around it and around where the first fragment fits."""
    return sorted({0, BLOCK, 2 * BLOCK, FRAGMENT + BLOCK, need // 4, need // 2, need - 2 * FRAGMENT, need - FRAGMENT, need - BLOCK, need,
                   need + BLOCK, need + FRAGMENT, need + 4 * FRAGMENT, 2 * need})


PLACES = {  # name -> folder below the home, and how much is left at each step
    "inbox": ("Documents/Import", [*around(OBJECT), *(RESERVE + size for size in around(CLAIM)),
                                   *(RESERVE + CLAIM + size for size in around(CLAIM))]),
    "store": ("Documents/Pavan Data", around(OBJECT)),
    "index": ("index", around(256 << 10)),
    "log": ("Application Support/QuorinGateway/Logs", around(16 << 10)),
}


class Fragmented(odd_objects.Sender):
    """Does something before a fragment of its first object; number 0 is the command."""

    def before(self, number, what):
        self._left, self._what = number, what

    def _data(self, control, piece):
        if self._left == 0:
            self._what()
        self._left -= 1
        super()._data(control, piece)


class DiskFull(unittest.TestCase):

    def setUp(self):
        self.machine, self.ledger = FaultRig(), Ledger()
        self.failed = True
        self.addCleanup(lambda: self.machine.close(self.failed))

    def begin(self, place):
        disk = Disk(str(self.machine.home_path / PLACES[place][0]))
        self.addCleanup(disk.close)
        self.addCleanup(self.machine.kill)  # before the volume goes
        self.machine.set_up()
        self.send(Version(0, extra=EXTRA))
        return disk

    def fill(self, place):
        """What each object was answered."""
        disk, sizes = self.begin(place), PLACES[place][1]
        if not is_long():
            sizes = [0, *random.Random(SEED).sample(sizes, QUICK)]
        slowest, answers = 0, []
        for number, size in enumerate(sizes, 1):
            disk.leave(size)
            took, status = self.send(Version(number, extra=EXTRA))
            slowest, answers = max(slowest, took), [*answers, status]
        disk.leave(0)
        self.end(disk, f"{place} full, of {len(sizes)} sizes", slowest, answers)
        return answers

    def send(self, version):
        begun = time.monotonic()
        self.assertTrue(self.ledger.send(self.machine.port, rig.TITLE, [version]), "no answer")
        return time.monotonic() - begun, self.checked(self.ledger.answers[-1])

    def checked(self, status):
        self.machine.gateway.check()
        self.assertIn(status, (STORED, NO_ROOM))
        return status

    def end(self, disk, what, slowest, answers):
        """There is room: what was refused is taken now, and all arrives."""
        disk.make_room()
        begun = time.monotonic()
        refused = [number for number, status in enumerate(answers, 1) if status != STORED]
        for number in refused:
            self.assertEqual(self.send(Version(number, extra=EXTRA))[1], STORED, f"after {time.monotonic() - begun:.1f} s")
        self.machine.await_settled(self.ledger, RESUMING)
        invariants.check(self.machine, self.ledger)  # nothing is set aside either
        figure(f"{what}: {len(refused)} of {len(answers)} refused, answered within {slowest:.2f} s, all settled "
               f"{time.monotonic() - begun:.0f} s after there was room")
        self.assertLess(slowest, MOST_SECONDS)
        self.failed = False

    def test_inbox(self):
        self.assertIn(NO_ROOM, self.fill("inbox"))

    def test_fragments(self):
        """The inbox has room at the beginning of an object, and none from one of its fragments on."""
        disk, fragments = self.begin("inbox"), -(-OBJECT // FRAGMENT)
        places = [1, 2, fragments // 2, fragments - 1, fragments]
        slowest, answers = 0, []
        for number, place in enumerate(range(1, fragments + 1) if is_long() else places, 1):
            disk.make_room()
            sender = Fragmented(self.machine.port, rig.TITLE)
            sender.before(place, lambda: disk.leave(0))
            version = Version(number, extra=EXTRA)
            begun = time.monotonic()
            status = self.checked(sender.ask_to_store(version.body, version.instance))
            slowest, answers = max(slowest, time.monotonic() - begun), [*answers, status]
            self.note(version, status)
            sender.release()
        self.end(disk, f"inbox filled during an object, at {len(answers)} of its {fragments} fragments", slowest, answers)
        self.assertIn(NO_ROOM, answers)

    def note(self, version, status):
        if status == STORED:
            self.ledger.answered(version)
        else:
            self.ledger.not_answered(version)

    def test_store(self):
        self.assertEqual(set(self.fill("store")), {STORED}, "the inbox has room")

    def test_index(self):
        self.assertEqual(set(self.fill("index")), {STORED}, "the inbox has room")

    def await_sentence(self, about):
        """The gateway says what it waits for."""
        rig.await_that(about, lambda: any(about in line and NO_ROOM_AT in line for line in self.said()))
        self.machine.gateway.check()

    def said(self):
        return self.machine.said_path.read_text(encoding="utf-8", errors="replace").splitlines()

    def is_listening(self):
        self.machine.gateway.check()
        return (self.machine.status() or {"listener": {}})["listener"].get("state") == "listening"

    def await_refusal(self, version):
        """The gateway waits, and says so, or its listener is up and has no room for an image."""
        rig.await_that("the start", lambda: any(NO_ROOM_AT in line for line in self.said()) or self.is_listening())
        if self.is_listening():
            self.assertEqual(self.send(version)[1], NO_ROOM)
        else:
            self.assertFalse(self.ledger.send(self.machine.port, rig.TITLE, [version]))

    def write_logs_back(self):
        """As a program that was the last to use them does at its end: a start has to make them anew."""
        for path in (self.machine.home_path / "defaults.sqlite", self.machine.home_path / "index" / "QuorinGateway.sqlite"):
            with sqlite3.connect(path) as database:
                database.execute("PRAGMA wal_checkpoint(TRUNCATE)")
            database.close()
            self.assertFalse(path.with_name(f"{path.name}-wal").exists())

    def put_in_inbox(self, version):
        """As one that was acknowledged before the gateway was killed."""
        name = f"quorin-{version.instance.replace('.', '')[-32:]:0>32}-1.dcm"
        (self.machine.inbox / name).write_bytes(odd_objects.part10(version.body, version.instance))
        self.ledger.answered(version)

    def test_first_start(self):
        """There has never been room."""
        disk = Disk(str(self.machine.home_path))
        self.addCleanup(disk.close)
        self.addCleanup(self.machine.kill)
        disk.leave(0)
        self.machine.start_cloud()
        self.machine.launch_gateway()
        self.await_sentence("defaults.sqlite")
        disk.leave(16 * BLOCK)  # for the settings, and no more
        self.await_sentence("The index can't be opened")
        disk.make_room()
        rig.await_that("the start", self.machine.status)
        self.assertEqual([file.name for file in self.machine.home_path.glob("defaults*.new*")], [])
        self.machine.kill()
        self.machine.set_up()
        self.send(Version(1))
        self.machine.await_settled(self.ledger)
        invariants.check(self.machine, self.ledger)
        figure("a first start on a full volume waited, and went on when there was room")
        self.failed = False

    def test_restart(self):
        """Images wait in inbox and store: the first time after a kill, the second time with the logs written back."""
        disk = Disk(str(self.machine.home_path))
        self.addCleanup(disk.close)
        self.addCleanup(self.machine.kill)
        self.machine.set_up()
        for number, end in enumerate((lambda: None, self.write_logs_back), 1):
            self.machine.command("sign-out")
            self.assertEqual(self.send(Version(number))[1], STORED)
            rig.await_that("the import", lambda: not self.machine.waiting())
            self.machine.kill()
            end()
            self.put_in_inbox(Version(number, study=2))
            disk.leave(0)
            self.machine.start_cloud()
            self.machine.launch_gateway()
            self.await_refusal(Version(number, study=3))
            disk.make_room()
            rig.await_that("the listener", self.is_listening)
            self.assertEqual(self.send(Version(number, study=3))[1], STORED)
            self.machine.sign_in()
            self.machine.await_settled(self.ledger, RESUMING)
            invariants.check(self.machine, self.ledger)
        figure("two starts on a full volume with images waiting: none lost, all settled by themselves")
        self.failed = False

    def test_migration(self):
        """An index of the version before, with no room at first, and then too little for a copy of it."""
        index = self.machine.home_path / "index" / "QuorinGateway.sqlite"
        disk = Disk(str(index.parent))
        self.addCleanup(disk.close)
        self.addCleanup(self.machine.kill)
        self.machine.set_up()
        self.machine.command("sign-out")
        self.assertEqual(self.send(Version(1))[1], STORED)
        rig.await_that("the import", lambda: not self.machine.waiting())
        self.machine.stop()
        make_older(index)
        before = index.read_bytes()
        disk.leave(0)
        self.machine.start_cloud()
        self.machine.launch_gateway()
        self.await_sentence("The index can't be opened")
        self.assertEqual(index.read_bytes(), before)
        disk.make_room()
        rig.await_that("the listener", self.is_listening)
        self.assertTrue(any(WITHOUT_COPY in line for line in self.said()))
        self.assertEqual(list(index.parent.glob("*.former*")), [])
        self.machine.sign_in()
        self.machine.await_settled(self.ledger, RESUMING)
        invariants.check(self.machine, self.ledger)
        figure("an index brought forward where there was no room at first, and too little for a copy")
        self.failed = False

    def test_log(self):
        self.assertEqual(set(self.fill("log")), {STORED}, "the inbox has room")


if __name__ == "__main__":
    sys.stdout.reconfigure(line_buffering=True)
    SEED = seed()
    if not Disk.can_be_made():
        print("Skipped: no volume can be mounted here, which needs root.")
        sys.exit(77)
    unittest.main(verbosity=2)
