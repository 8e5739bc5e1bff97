#!/usr/bin/env python3
"""Two to twenty starts at once on one home, and commands with them: exactly one works, the others say so and end; and again where the
one that works is killed.
"""

import random
import subprocess
import sys
import time
import unittest

from fault_rig import FaultRig, figure, is_long, rig, seed  # first: it says where the others are
import invariants
from ledger import Ledger, Version

QUICK, LONG = (2, 20), tuple(range(2, 21))
RUNS_ALREADY = "The gateway runs already for this home, as process "
ANSWERS = ("Listener ", "No gateway runs for this home.", "This home is used by ")  # to a command that comes in between


class Starts(unittest.TestCase):

    def setUp(self):
        self.machine, self.ledger, self.chance = FaultRig(), Ledger(), random.Random(SEED)
        self.failed = True
        self.addCleanup(lambda: self.machine.close(self.failed))
        self.machine.set_up()
        self.slowest = 0

    def start(self, arguments):
        return subprocess.Popen(arguments, env=rig.environment(), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                stderr=subprocess.STDOUT, text=True, start_new_session=True)

    def all_at_once(self, count):
        """The one that works; the others have ended and said why."""
        begun = time.monotonic()
        starts = [self.start(self.machine.gateway_arguments()) for _ in range(count)]
        asked = [self.start([rig.program("quorin-gateway"), "--home", self.machine.home, "status"]) for _ in range(count)]
        for each in starts:
            self.addCleanup(rig.kill_session, each.pid)
            self.addCleanup(each.stdout.close)

        def one_left():
            return len([each for each in starts if each.poll() is None]) <= 1
        rig.await_that("the end of all starts but one", one_left)
        self.slowest = max(self.slowest, time.monotonic() - begun)
        [works] = [each for each in starts if each.poll() is None]
        for each in starts:
            if each is not works:
                self.assertIn(f"{RUNS_ALREADY}{works.pid}.", each.stdout.read())
                self.assertEqual(each.returncode, 0)
        for each in asked:
            said, _ = each.communicate(timeout=rig.PATIENCE)
            self.assertTrue(said.startswith(ANSWERS), f"{each.returncode}: {said}")
        rig.await_that("the listener", lambda: self.machine.status()["listener"]["state"] == "listening")
        return works

    def test_at_once(self):
        numbers, counts = iter(range(1, 1000)), LONG if is_long() else QUICK
        for count in counts:
            self.machine.gateway.kill()
            works = self.all_at_once(count)
            self.assertTrue(self.ledger.send(self.machine.port, rig.TITLE, [Version(next(numbers)) for _ in range(3)]))

            # When the one that works is killed in the middle of its work
            rig.kill_session(works.pid)
            works.wait()
            works = self.all_at_once(count)
            self.assertTrue(self.ledger.send(self.machine.port, rig.TITLE, [Version(next(numbers)) for _ in range(3)]))
            rig.kill_session(works.pid)
            works.wait()
            self.machine.start_gateway()
        self.assertEqual(set(self.ledger.answers), {0})
        self.machine.await_settled(self.ledger)
        invariants.check(self.machine, self.ledger)
        self.failed = False
        figure(f"{min(counts)} to {max(counts)} starts at once, {2 * len(counts)} times: one worked each time, the others had said so and "
               f"ended after {self.slowest:.1f} s at most; {len(self.ledger.acceptable)} images acknowledged, none lost")


if __name__ == "__main__":
    sys.stdout.reconfigure(line_buffering=True)
    SEED = seed()
    unittest.main(verbosity=2)
