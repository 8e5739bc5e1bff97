#!/usr/bin/env python3
"""Twenty senders for a while, some of what they send hostile, some answers of the cloud errors, and now and then everything of the
gateway's is killed: nothing is lost, and what it takes stays what it was.

QUORIN_SOAK_MINUTES says for how long; a quick run takes a quarter of a minute.
"""

import json
import os
import pathlib
import random
import sys
import threading
import time
import unittest
import urllib.request

from fault_rig import SETTLING, FaultRig, figure, is_long, rig, seed  # first: it says where the others are
import hostile_objects
import invariants
import odd_objects
from ledger import ROOT, Ledger, Version

SENDERS = 20
QUICK_PACE, LONG_PACE = 0.5, 2  # seconds from one object of a sender to its next; each error pauses all uploads for seconds
HOSTILE = 0.05  # of the objects
AGAIN = 0.05  # of them come a second time, with other pixels
ERRORS = 0.02  # of the cloud's answers
MOST_GROWTH = 64 << 20  # bytes of the gateway's memory, from one life to the last
MOST_DESCRIPTORS = 50  # more than at the beginning
QUICK_MINUTES, LONG_MINUTES = 0.25, 60
QUICK_LIFE, LONG_LIFE = 8, 150  # seconds until the next kill, about


def minutes():
    return float(os.environ.get("QUORIN_SOAK_MINUTES", LONG_MINUTES if is_long() else QUICK_MINUTES))


def takes_long():
    return minutes() > 2


class SoakRig(FaultRig):
    """Its cloud answers some uploads with an error."""

    def start_cloud(self):
        self.cloud = rig.Program(
            [rig.program("quorin-cloud"), "--listen", f"127.0.0.1:{self.cloud_port}", "--data", self.path("cloud"),
             "--user", f"{rig.EMAIL}:{rig.PASSWORD}", "--control"], self.path("cloud.log"))
        rig.await_that("the start of the cloud", lambda: self.controls("faults/clear"))

    def controls(self, what, **body):
        request = urllib.request.Request(f"{self.address}/control/{what}", data=json.dumps(body).encode(), method="POST",
                                         headers={"Content-Type": "application/json"})
        try:
            with urllib.request.urlopen(request, timeout=rig.PATIENCE):
                return True
        except OSError:
            self.cloud.check()
            return False

    def memory(self):
        """Bytes of the gateway's own process, and how many descriptors it has."""
        own = pathlib.Path(f"/proc/{self.gateway.process.pid}")
        told = dict(line.split(":", 1) for line in (own / "status").read_text("utf-8").splitlines())
        return int(told["VmRSS"].split()[0]) << 10, len(list((own / "fd").iterdir()))


class SoakSender(threading.Thread):
    """Sends until it is told to end, and keeps a ledger of its own."""

    def __init__(self, port, number, end):
        super().__init__(daemon=True)
        self.ledger, self.hostile, self.failure = Ledger(), 0, None
        self._port, self._number, self._end = port, number, end
        self._chance = random.Random(f"{SEED} {number}")
        self._corpus = [each for each in hostile_objects.known() if "thousand" not in each[0] and "bomb" not in each[0]]
        self._sent = 0

    def run(self):
        try:
            while not self._end.wait(self._chance.uniform(0, 2 * PACE)):
                if self._chance.random() < HOSTILE:
                    self._send_hostile()
                else:
                    self.ledger.send(self._port, rig.TITLE, self._some())
        except Exception as failure:  # told by the test, which waits for all
            self.failure = failure

    def _some(self):
        versions = []
        for _ in range(self._chance.randint(1, 3)):
            self._sent += 1
            versions.append(Version(self._sent, study=100 + self._number))
        if self._chance.random() < AGAIN * len(versions):
            versions.append(Version(self._chance.randint(1, self._sent), shade=self._sent, study=100 + self._number))
        self._end.wait(PACE * (len(versions) - 1))
        return versions

    def _send_hostile(self):
        _, make, syntax = self._chance.choice(self._corpus)
        self.hostile += 1
        uid = f"{ROOT}.8.{self._number}.{10 ** 6 + self.hostile}"
        try:
            sender = odd_objects.Sender(self._port, rig.TITLE, syntax)
        except (OSError, AssertionError):
            return
        try:
            sender.ask_to_store(make(uid), uid)
            sender.release()
        except (OSError, AssertionError):
            pass
        sender.close()


class Soak(unittest.TestCase):

    def setUp(self):
        self.machine, self.chance = SoakRig(), random.Random(SEED)
        self.failed = True
        self.addCleanup(lambda: self.machine.close(self.failed))
        self.machine.set_up()
        self.kills, self.errors, self.taken = 0, 0, []

    def test_soak(self):
        end, length = threading.Event(), minutes() * 60
        senders = [SoakSender(self.machine.port, number, end) for number in range(SENDERS)]
        for sender in senders:
            sender.start()
        begun, life = time.monotonic(), LONG_LIFE if takes_long() else QUICK_LIFE
        while (left := begun + length - time.monotonic()) > 0:
            self.live(min(left, self.chance.uniform(life / 2, life * 1.5)))
            self.machine.gateway.kill()
            self.machine.start_gateway()
            self.kills += 1
        end.set()
        for sender in senders:
            sender.join(rig.PATIENCE)
            self.assertFalse(sender.is_alive(), "a sender waits for ever")
            self.assertIsNone(sender.failure)
        self.settle(merged(senders), sum(sender.hostile for sender in senders))

    def live(self, seconds):
        """A life of the gateway, until it is killed; what it takes is noted at its end."""
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            time.sleep(min(max(0, end - time.monotonic()), PACE / SENDERS / ERRORS / 2))
            self.machine.gateway.check()
            kind = self.chance.choice(({"status": 500}, {"status": 503}, {"status": 502, "contentType": "text/html", "body": "<html>"},
                                       {"cutBeforeAnswer": True}, {"delayMs": 500}))
            self.errors += self.machine.controls("faults", path="/dicom-web/studies", method="POST", **kind)
        self.taken.append(self.machine.memory())

    def settle(self, ledger, hostile):
        self.machine.controls("faults/clear")
        self.machine.command("upload")
        known = set(ledger.acceptable)
        limit = time.monotonic() + SETTLING * (20 if takes_long() else 2)
        while lacking := self.unsettled(known):
            self.assertLess(time.monotonic(), limit, f"{len(lacking)} not settled: {sorted(lacking)[:5]}")
            self.machine.gateway.check()
            time.sleep(0.5)
        stored, sent = ({odd_objects.received(file.read_bytes()) for file in files} for files in (
            self.machine.store.glob("[0-9]*/*"), (self.machine.cloud_path / "instances").rglob("*.dcm")))
        there = stored | sent
        lost = {instance for instance, bodies in ledger.acceptable.items() if there.isdisjoint(bodies)}
        not_sent = {instance for instance, bodies in ledger.acceptable.items() if sent.isdisjoint(bodies)}
        figure(f"{minutes():g} minutes: {len(known)} images acknowledged of {len(known) + len(ledger.unanswered)}, {hostile} hostile, "
               f"{self.errors} errors of the cloud, {self.kills} kills; {len(lost)} lost; memory at the end of each life "
               f"{', '.join(str(size >> 20) for size, _ in self.taken)} MiB")
        self.assertEqual((lost, not_sent), (set(), set()))
        self.check_what_it_takes()
        wrong = [*invariants.index(self.machine), *invariants.canaries(self.machine),
                 *(line for line in invariants.leftovers(self.machine) if "/.rejected/" not in line)]
        self.assertEqual(wrong, [])
        self.failed = False

    def unsettled(self, known):
        rows = self.machine.asked("SELECT originalSOPInstanceUID FROM DicomImage WHERE syncState = 1")
        return (known - {instance for instance, in rows}) | {file.name for file in self.machine.waiting()}

    def check_what_it_takes(self):
        first, last = self.taken[0], self.taken[-1]
        self.assertLess(last[0] - first[0], MOST_GROWTH, self.taken)
        self.assertLess(last[1] - first[1], MOST_DESCRIPTORS, self.taken)


def merged(senders):
    """One ledger of all, whose instances are different ones."""
    whole = Ledger()
    for sender in senders:
        whole.acceptable |= sender.ledger.acceptable
        whole.unanswered |= sender.ledger.unanswered
    return whole


if __name__ == "__main__":
    sys.stdout.reconfigure(line_buffering=True)
    SEED, PACE = seed(), LONG_PACE if takes_long() else QUICK_PACE
    unittest.main(verbosity=2)
