#!/usr/bin/env python3
"""The power fails while images come and go: whatever was acknowledged before is there after the next start.

An answer that comes once the cut has begun doesn't count: a volume that is shut down may still call a sync done.
"""

import os
import random
import sys
import threading
import unittest

import invariants
from fault_rig import FaultRig, Sweep, figure, rig, seed, share
from ledger import Ledger, Version
from steps import telling
from volume import Volume

QUICK_CUTS, LONG_CUTS = 10, 1000  # of each kind of volume
CUTS_OF_A_HOME = 50
SENDERS = 2
OBJECTS = 12  # of each sender


class CutLedger(Ledger):
    """Counts no answer from the cut on."""

    def __init__(self):
        super().__init__()
        self._changed = threading.Condition()
        self._is_cut = False
        self.counted = 0

    def begin(self):
        self._is_cut, self.counted = False, 0

    def answered(self, version):
        with self._changed:
            if self._is_cut:
                super().not_answered(version)
            else:
                super().answered(version)
                self.counted += 1
                self._changed.notify_all()

    def not_answered(self, version):
        with self._changed:
            super().not_answered(version)

    def await_answers(self, answers):
        """Returns when there were so many."""
        with self._changed:
            if not self._changed.wait_for(lambda: self.counted >= answers, rig.PATIENCE):
                raise AssertionError(f"{self.counted} of {answers} answers came")

    def cut(self):
        with self._changed:
            self._is_cut = True


class PowerCut(unittest.TestCase):

    def cuts(self, kind):
        chance = random.Random(SEED)
        cuts = share(range(LONG_CUTS), QUICK_CUTS, chance)
        self.kind, self.machine, self.volume, self.counted, self.failed = kind, None, None, 0, True
        self.addCleanup(self.close)
        self.begin()
        sweep = Sweep(f"{kind}, power cuts in a sending")
        sweep.play(cuts, lambda number: self.cut(number, chance), self.begin)
        self.counted += len(self.ledger.acceptable)
        figure(f"{kind}: {self.counted} images acknowledged before {sweep.played} power cuts")
        sweep.end(len(cuts) // 5)
        self.assertGreater(self.counted, len(cuts))
        self.failed = False

    def begin(self):
        """A home on a volume of its own."""
        self.close()
        self.ledger, self.cuts_of_this = CutLedger(), 0
        self.machine = FaultRig()
        self.volume = Volume(self.kind, self.machine.path("volume"))
        self.machine.move_home(os.path.join(self.volume.folder, "home"))
        self.machine.set_up()

    def close(self):
        if self.machine:
            self.machine.kill()
            if self.volume:
                self.volume.close()
            self.machine.close(self.failed and self.cuts_of_this < CUTS_OF_A_HOME)
        self.machine = self.volume = None

    def cut(self, number, chance):
        """True where senders were cut short."""
        if self.cuts_of_this == CUTS_OF_A_HOME:  # what is there already is checked after each
            self.counted += len(self.ledger.acceptable)
            self.begin()
        self.cuts_of_this += 1
        with telling(f"{self.kind}, cut {number + 1}"):
            return self.one_cut(self.machine, self.volume, self.ledger, chance, number)

    def one_cut(self, machine, volume, ledger, chance, number):
        """True where senders were cut short."""
        ledger.begin()
        versions = [self.versions(number * SENDERS + sender + 1) for sender in range(SENDERS)]
        senders = [threading.Thread(target=ledger.send, args=(machine.port, rig.TITLE, each)) for each in versions]
        for sender in senders:
            sender.start()
        try:
            ledger.await_answers(chance.randint(0, SENDERS * OBJECTS))
            threading.Event().wait(chance.choice((0, chance.uniform(0, 0.01), chance.uniform(0, 0.2))))
            ledger.cut()
            volume.cut_power()
        finally:
            machine.gateway.kill()
            for sender in senders:
                sender.join()
        volume.unmount()
        volume.mount()
        machine.restart()
        machine.command("upload")
        machine.await_settled(ledger)
        invariants.check(machine, ledger)
        return ledger.counted < SENDERS * OBJECTS

    @staticmethod
    def versions(study):
        """The first two come a second time, with other pixels."""
        first = [Version(at, study=study) for at in range(OBJECTS - 2)]
        return first + [Version(at, shade=1, study=study) for at in range(2)]

    def test_ext4(self):
        self.cuts("ext4")

    def test_xfs(self):
        self.cuts("xfs")


if __name__ == "__main__":
    sys.stdout.reconfigure(line_buffering=True)
    SEED = seed()
    if not Volume.can_be_made():
        print("Skipped: no volume can be made and mounted here, which needs root and loop devices.")
        sys.exit(77)
    unittest.main(verbosity=2)
