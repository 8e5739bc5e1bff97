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
from fault_rig import FaultRig, figure, is_long, rig, seed
from ledger import Ledger, Version
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
        cuts, left, counted, cut_short = LONG_CUTS if is_long() else QUICK_CUTS, 0, 0, 0
        left = cuts
        while left > 0:
            ledger, short = self.one_home(kind, chance, min(left, CUTS_OF_A_HOME))
            counted += len(ledger.acceptable)
            cut_short += short
            left -= CUTS_OF_A_HOME
            print(f"{kind}: {cuts - max(left, 0)} cuts", flush=True)
        figure(f"{kind}: {cuts} cuts, {cut_short} of them in a sending, {counted} images acknowledged, none lost")
        self.assertGreater(counted, cuts)
        self.assertGreater(cut_short, cuts // 5)

    def one_home(self, kind, chance, cuts):
        ledger = CutLedger()
        machine = FaultRig()
        volume = None
        failed, short = True, 0
        try:
            volume = Volume(kind, machine.path("volume"))
            machine.move_home(os.path.join(volume.folder, "home"))
            machine.set_up()
            for number in range(cuts):
                short += self.one_cut(machine, volume, ledger, chance, number)
            failed = False
        finally:
            machine.kill()
            if volume:
                volume.close()
            machine.close(failed)
        return ledger, short

    def one_cut(self, machine, volume, ledger, chance, number):
        """True where senders were cut short."""
        ledger.begin()
        versions = [self.versions(number * SENDERS + sender + 1) for sender in range(SENDERS)]
        senders = [threading.Thread(target=ledger.send, args=(machine.port, rig.TITLE, each)) for each in versions]
        for sender in senders:
            sender.start()
        ledger.await_answers(chance.randint(0, SENDERS * OBJECTS))
        threading.Event().wait(chance.choice((0, chance.uniform(0, 0.01), chance.uniform(0, 0.2))))
        ledger.cut()
        volume.cut_power()
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
