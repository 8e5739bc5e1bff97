#!/usr/bin/env python3
"""Helpers that lie on the channel: records that are lost, doubled, cut, garbled, said at the wrong time or made of noise. The gateway's
process lives, and what senders were told is stored is there once the helpers are honest again.
"""

import os
import pathlib
import random
import shutil
import socket
import sys
import unittest

from fault_rig import FaultRig, figure, is_long, rig, seed  # first: it says where the others are
import invariants
from ledger import Ledger, Version

HERE = pathlib.Path(__file__).resolve().parent
QUICK_LIES, LONG_LIES, OBJECTS = 10, 60, 8  # pauses of what is lied about grow to ten seconds
SHARES = "scp=10 worker=10"


class LyingHelpers(unittest.TestCase):

    def setUp(self):
        self.machine, self.ledger = FaultRig(), Ledger()
        self.failed = True
        self.addCleanup(lambda: self.machine.close(self.failed))
        true, programs = pathlib.Path(rig.programs()), pathlib.Path(self.machine.path("programs"))
        programs.mkdir()
        for name in ("quorin-gateway", "quorin-cloud"):
            shutil.copy(true / name, programs)  # which looks for its helper beside itself
        shutil.copy(HERE / "lying_helper.py", programs / "quorin-dicom")
        os.chmod(programs / "quorin-dicom", 0o700)
        self.lies = programs / "lies"
        variables = {"QUORIN_PROGRAMS": str(programs), "QUORIN_TRUE_HELPER": str(true / "quorin-dicom"), "QUORIN_LIES": str(self.lies)}
        plain = rig.environment
        rig.environment = lambda: plain() | variables
        self.addCleanup(setattr, rig, "environment", plain)
        before = os.environ["QUORIN_PROGRAMS"]
        os.environ["QUORIN_PROGRAMS"] = str(programs)
        self.addCleanup(os.environ.__setitem__, "QUORIN_PROGRAMS", before)
        self.tell("")
        self.machine.set_up()

    def tell(self, shares):
        part = self.lies.with_suffix(".part")
        part.write_text(f"{SEED} {shares}", encoding="utf-8")
        part.rename(self.lies)

    def told(self):
        told = self.lies.with_name("lies.told")
        return len(told.read_text(encoding="utf-8").splitlines()) if told.exists() else 0

    def is_listening(self):
        """One that was lied about is started anew, after pauses that grow."""
        try:
            socket.create_connection(("127.0.0.1", self.machine.port)).close()
        except ConnectionRefusedError:
            return False
        return True

    def test_lies(self):
        numbers, chance = iter(range(1, 1 << 20)), random.Random(SEED)
        self.tell(SHARES)
        bursts, served = 0, 0
        while self.told() < (LONG_LIES if is_long() else QUICK_LIES):
            rig.await_that("somebody who listens", self.is_listening)
            bursts += 1
            served += self.ledger.send(self.machine.port, rig.TITLE, [Version(next(numbers)) for _ in range(OBJECTS)])
            if chance.random() < 0.1:
                self.machine.command("upload")
            self.machine.gateway.check()
        lies = self.told()

        # When: the truth again, from helpers started anew
        self.tell("")
        self.machine.restart()
        rig.await_that("an honest sender's turn", lambda: self.ledger.send(self.machine.port, rig.TITLE, [Version(next(numbers))]))

        self.machine.await_settled(self.ledger)
        invariants.check(self.machine, self.ledger)
        self.failed = False
        figure(f"{lies} lies of helpers in {bursts} sendings, {served} of them answered whole; {len(self.ledger.acceptable)} images acknowledged, none lost")


if __name__ == "__main__":
    sys.stdout.reconfigure(line_buffering=True)
    SEED = seed()
    unittest.main(verbosity=2)
