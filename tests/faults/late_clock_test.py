#!/usr/bin/env python3
"""The clock stands later than the volume of the incoming folder can keep: nothing is taken in then, and all is once it is right again."""

import sys
import unittest

import invariants
from clock_test import DAY, ClockRig
from fault_rig import figure, rig
from ledger import Ledger, Version
from volume import Volume

BEYOND_2038 = 15 * 365 * DAY
STORED = 0


class LateClock(unittest.TestCase):

    def setUp(self):
        self.machine, self.ledger, self.sent = ClockRig(), Ledger(), 0
        self.failed = True
        self.addCleanup(lambda: self.machine.close(self.failed))
        volume = Volume("ext4", str(self.machine.inbox), "-I", "128")  # whose times end in 2038
        self.addCleanup(volume.close)
        self.addCleanup(self.machine.kill)
        (self.machine.inbox / "lost+found").rmdir()
        self.machine.set_up()

    def statuses(self):
        """Of one more image."""
        self.sent += 1
        self.ledger.answers.clear()
        self.ledger.send(self.machine.port, rig.TITLE, [Version(self.sent)])
        return list(self.ledger.answers)

    def test_beyond(self):
        self.assertEqual(self.statuses(), [STORED])

        self.machine.move(BEYOND_2038)
        self.assertNotIn(STORED, self.statuses())

        self.machine.move(0)
        for _ in range(3):
            self.assertEqual(self.statuses(), [STORED])
        self.machine.await_settled(self.ledger)
        invariants.check(self.machine, self.ledger)
        figure("a clock beyond the volume's times, three images taken once it was right again")
        self.failed = False


if __name__ == "__main__":
    sys.stdout.reconfigure(line_buffering=True)
    if not Volume.can_be_made():
        print("Skipped: no volume can be made and mounted here, which needs root and loop devices.")
        sys.exit(77)
    unittest.main(verbosity=2)
