#!/usr/bin/env python3
"""One instance comes again and again: sendings that are cut off at every PDU, and twenty that race with other bytes each. What was
acknowledged last counts, and no version is called sent that isn't.
"""

import random
import socket
import struct
import sys
import threading
import unittest

from fault_rig import FaultRig, Sweep, figure, is_long, rig, seed  # first: it says where the others are
import invariants
import odd_objects
from ledger import Ledger, Version

EXTRA = 60_000  # bytes beyond a small image: some PDUs
PDUS = 13  # a request, a command, the object's, a release; a sending has less
QUICK_ROUNDS, LONG_ROUNDS = 1, 20
SENDERS = 20
QUICK_RACES, LONG_RACES = 3, 40
ABORT = struct.pack(">BBIBBBB", 7, 0, 4, 0, 0, 0, 0)


class CutOff(Exception):
    pass


class CutSender(odd_objects.Sender):
    """Ends its connection in its own manner in place of a PDU."""

    def __init__(self, port, pdus, manner):
        self._left, self._manner = pdus, manner
        super().__init__(port, rig.TITLE)

    def _send(self, kind, body):
        if self._left == 0:
            match self._manner:
                case "reset":
                    self._socket.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
                case "abort":
                    self._socket.sendall(ABORT)
                case "half":
                    whole = struct.pack(">BBI", kind, 0, len(body)) + body
                    self._socket.sendall(whole[:len(whole) // 2])
            self._socket.close()
            raise CutOff
        self._left -= 1
        super()._send(kind, body)


class Resent(unittest.TestCase):

    def setUp(self):
        self.machine, self.ledger, self.chance = FaultRig(), Ledger(), random.Random(SEED)
        self.failed = True
        self.addCleanup(lambda: self.machine.close(self.failed))
        self.machine.set_up()
        self.versions = 0

    def version(self):
        """The next one of the same instance; each has a length of its own, so that no two are equal."""
        self.versions += 1
        return Version(1, shade=self.versions % 200, extra=EXTRA + 2 * self.versions)

    def end(self):
        self.machine.await_settled(self.ledger)
        rig.await_that("the end of former versions", lambda: not invariants.known(self.machine)[1])
        invariants.check(self.machine, self.ledger)
        self.failed = False

    def cut(self, pdus, manner):
        """True where it was cut; then it may be kept only as long as nobody else was told more, for its last PDU may have come."""
        version = self.version()
        try:
            sender = CutSender(self.machine.port, pdus, manner)
            status = sender.ask_to_store(version.body, version.instance)
        except CutOff:
            self.ledger.not_answered(version)
            return True
        self.assertEqual(status, 0)
        self.ledger.answered(version)
        try:
            sender.release()
        except CutOff:
            return True
        return False

    def test_cut(self):
        sweep = Sweep("an instance sent again, and cut off")
        points = [(pdus, manner) for _ in range(LONG_ROUNDS if is_long() else QUICK_ROUNDS)
                  for pdus in range(1, PDUS) for manner in ("close", "reset", "abort", "half")]
        self.chance.shuffle(points)
        whole = 0

        def play(point):
            nonlocal whole
            if self.chance.random() < 0.3:
                self.assertTrue(self.ledger.send(self.machine.port, rig.TITLE, [self.version()]))
                whole += 1
            return self.cut(*point)

        sweep.play(points, play)
        self.end()
        figure(f"{whole} whole sendings of the instance between them; what was acknowledged last is in the cloud")
        sweep.end(len(points) * 2 // 3)

    def test_race(self):
        for _ in range(LONG_RACES if is_long() else QUICK_RACES):
            self.race()
        self.end()
        figure(f"{self.versions} sendings of one instance by {SENDERS} senders at once; one of the last {SENDERS} counts")

    def race(self):
        """Nobody can tell which of those that were under way together was told last: each may be kept, and none from before."""
        versions, start, answers = [self.version() for _ in range(SENDERS)], threading.Barrier(SENDERS), {}

        def send(version):
            sender = odd_objects.Sender(self.machine.port, rig.TITLE)
            start.wait()
            answers[version] = sender.ask_to_store(version.body, version.instance)
            sender.release()

        senders = [threading.Thread(target=send, args=(version,)) for version in versions]
        for each in senders:
            each.start()
        for each in senders:
            each.join()
        self.assertEqual({answers.get(version) for version in versions}, {0})
        instance = versions[0].instance
        self.ledger.former += self.ledger.acceptable.get(instance, [])
        self.ledger.acceptable[instance] = [version.body for version in versions]


if __name__ == "__main__":
    sys.stdout.reconfigure(line_buffering=True)
    SEED = seed()
    unittest.main(verbosity=2)
