#!/usr/bin/env python3
"""The network between the gateway and its cloud is bad for a while: senders are served all along, nothing counts as sent that the
cloud doesn't have, and all arrives in the end, without a restart and without anyone's help.
"""

import random
import sys
import time
import unittest

from fault_rig import FaultRig, figure, is_long, rig, seed  # first: it says where the others are
import invariants
from ledger import Ledger, Version
from weather import FINE, Proxy, Weather

OBJECTS, EXTRA = 5, 40_000  # of a burst, and how large each is beyond a small image
QUICK_STORM, LONG_STORM = 4, 40  # seconds
CLEARING = 900  # seconds; the longest pause of the gate is five minutes, and an answer is waited for for two
LONG_ROUNDS = 4
WEATHERS = {  # of more than one a quick run takes the first
    "delay": (Weather(delay=0.3),),
    "cuts": (Weather(cut=20_000), Weather(cut=200_000), Weather(cut=300)),
    "slow": (Weather(rate=64 << 10),),
    "hole": (Weather(hole=True, forgets=True), Weather(hole=True)),
    "portal": (Weather(portal="page"), Weather(portal="redirect")),
}


class WeatherRig(FaultRig):
    """The gateway knows the cloud by the proxy's address alone."""

    def __init__(self, chance):
        super().__init__()
        self.proxy = Proxy(self.cloud_port, chance)

    @property
    def address(self):
        return f"http://127.0.0.1:{self.proxy.port}"

    def close(self, failed):
        super().close(failed)
        self.proxy.close()


class BadWeather(unittest.TestCase):

    def setUp(self):
        self.chance = random.Random(SEED)
        self.machine, self.ledger = WeatherRig(self.chance), Ledger()
        self.failed = True
        self.addCleanup(lambda: self.machine.close(self.failed))
        self.machine.set_up()
        self.numbers = iter(range(1, 1 << 20))
        self.first = self.machine.gateway.process.pid

    def burst(self):
        versions = [Version(next(self.numbers), extra=EXTRA) for _ in range(OBJECTS)]
        self.assertTrue(self.ledger.send(self.machine.port, rig.TITLE, versions))
        self.assertEqual(set(self.ledger.answers), {0})

    def storm(self, weather):
        """One storm, with two bursts in it."""
        self.burst()
        self.machine.proxy.turn(weather)
        self.burst()
        end = time.monotonic() + (LONG_STORM if is_long() else QUICK_STORM)
        while time.monotonic() < end:
            self.check_claims()
            time.sleep(0.2)
        self.burst()
        self.check_claims()

    def check_claims(self):
        """Nothing counts as sent that the cloud hasn't got."""
        self.machine.gateway.check()
        claimed = self.machine.asked("SELECT originalSOPInstanceUID FROM DicomImage WHERE syncState = 1")
        there = invariants.cloud_files(self.machine)
        lacking = {instance for instance, in claimed if not there.intersection(self.ledger.acceptable[instance])}
        self.assertEqual(lacking, set(), "called sent, and the cloud doesn't have it")

    def play(self, weathers):
        weathers, rounds = (weathers, LONG_ROUNDS) if is_long() else (weathers[:1], 1)
        slowest = 0
        for number in range(rounds * len(weathers)):
            self.storm(weathers[number % len(weathers)])
            self.machine.proxy.turn(FINE)
            begun = time.monotonic()
            self.machine.await_settled(self.ledger, CLEARING)
            slowest = max(slowest, time.monotonic() - begun)
        self.assertEqual(self.machine.gateway.process.pid, self.first)
        self.assertTrue(self.machine.status()["session"]["signedIn"], "the weather has ended the session")
        invariants.check(self.machine, self.ledger)
        self.failed = False
        proxy = self.machine.proxy
        figure(f"{rounds * len(weathers)} storms, {len(self.ledger.acceptable)} objects, {proxy.cuts} connections cut, "
               f"{proxy.swallowed >> 10} KiB swallowed, {proxy.pages} pages of a portal; all had arrived {slowest:.0f} s after the end")


def test_of(weathers):
    return lambda self: self.play(weathers)


for name, kinds in WEATHERS.items():
    setattr(BadWeather, f"test_{name}", test_of(kinds))

if __name__ == "__main__":
    sys.stdout.reconfigure(line_buffering=True)
    SEED = seed()
    unittest.main(verbosity=2)
