#!/usr/bin/env python3
"""The index is damaged: the gateway refuses in one sentence or goes on, no image suffers, and without the index all is recorded again."""

import copy
import random
import sys
import unittest

import invariants
from fault_rig import FaultRig, Sweep, rig, seed, share
from ledger import Ledger, Version
from steps import telling

QUICK_DAMAGES, LONG_DAMAGES = 12, 300
PAGE = 4096
LOG = "QuorinGateway.sqlite-wal"
INDEX = ("QuorinGateway.sqlite", "QuorinGateway.sqlite", LOG)


def zeroed_page(chance, held):
    at = chance.randrange(max(1, len(held) // PAGE)) * PAGE
    held[at:at + PAGE] = bytes(len(held[at:at + PAGE]))


def flipped_bytes(chance, held):
    for _ in range(chance.randint(1, 20)):
        held[chance.randrange(len(held))] ^= chance.randint(1, 255)


def shortened(chance, held):
    del held[chance.randrange(len(held)):]


def swapped_pages(chance, held):
    one, other = (chance.randrange(max(1, len(held) // PAGE)) * PAGE for _ in range(2))
    held[one:one + PAGE], held[other:other + PAGE] = held[other:other + PAGE], held[one:one + PAGE]


def another_version(_, held):
    held[60:64] = (99).to_bytes(4, "big")  # PRAGMA user_version


def noise(chance, held):
    held[:] = chance.randbytes(len(held))


DAMAGES = (zeroed_page, flipped_bytes, shortened, swapped_pages, another_version, noise)


class IndexDamage(unittest.TestCase):

    def setUp(self):
        self.machine, self.ledger = FaultRig(), Ledger()
        self.failed = True
        self.addCleanup(lambda: self.machine.close(self.failed))
        self.machine.set_up()
        self.assertTrue(self.ledger.send(self.machine.port, rig.TITLE, [Version(number) for number in range(30)]))
        self.machine.await_settled(self.ledger)
        self.machine.command("sign-out")
        self.machine.stop()  # which writes the log back
        self.machine.start_cloud()
        self.machine.start_gateway()
        self.assertTrue(self.ledger.send(self.machine.port, rig.TITLE, [Version(number, study=2) for number in range(3)]))
        rig.await_that("the import", lambda: not self.machine.waiting())
        self.machine.kill()  # with these in the log alone
        self.machine.keep()

    def test_damage(self):
        chance = random.Random(SEED)
        damages = [self.damage(chance, number) for number in range(LONG_DAMAGES)]
        sweep = Sweep("index damaged, refused at the start")
        sweep.play(share(damages, QUICK_DAMAGES, chance), lambda each: self.damaged(*each)).end(0)
        self.failed = False

    @staticmethod
    def damage(chance, number):
        """The harm, its name, the file, and whether the log is there; what stands in the log hides what stands in the file."""
        damage, own, name = DAMAGES[number % len(DAMAGES)], random.Random(chance.random()), chance.choice(INDEX)
        return lambda held: damage(own, held), damage.__name__, name, name == LOG or chance.random() < 0.3

    def damaged(self, damage, kind, name, has_log):
        """True where the gateway refused to start."""
        with telling(f"{kind} of {name}, {'with' if has_log else 'without'} its log"):
            return self.starts_damaged(damage, name, has_log)

    def starts_damaged(self, damage, name, has_log):
        ledger = copy.deepcopy(self.ledger)
        self.machine.return_to_kept()
        path = self.machine.home_path / "index" / name
        held = bytearray(path.read_bytes())
        damage(held)
        path.write_bytes(held)
        if not has_log:
            path.with_name(LOG).unlink()
        before = invariants.stored_files(self.machine)

        self.machine.start_cloud()
        self.machine.launch_gateway()
        runs = self.comes_up()
        if runs:
            ledger.send(self.machine.port, rig.TITLE, [Version(1, study=3)])
            self.assertLessEqual(set(ledger.answers), {0, 0xA700})
        else:
            said = [line for line in self.machine.said_path.read_text(encoding="utf-8").splitlines()
                    if "com.ovelt" not in line]
            self.assertEqual(len(said), 1, said)
        self.machine.gateway.kill()
        after = invariants.stored_files(self.machine)
        self.assertEqual({path: after.get(path) for path in before}, before, "a stored image suffered")

        # As operating says: the index goes away, and the store is recorded again.
        for file in (self.machine.home_path / "index").glob("QuorinGateway.sqlite*"):
            file.unlink()
        self.machine.said_path.unlink()
        self.machine.start_gateway()
        self.machine.sign_in()
        self.machine.await_settled(ledger)
        invariants.check(self.machine, ledger)
        return not runs

    def comes_up(self):
        def decided():
            return self.machine.gateway.ended() or (self.machine.status() or {}).get("listener", {}).get("state") == "listening"
        rig.await_that("a start or a refusal", decided)
        return not self.machine.gateway.ended()


if __name__ == "__main__":
    sys.stdout.reconfigure(line_buffering=True)
    SEED = seed()
    unittest.main(verbosity=2)
