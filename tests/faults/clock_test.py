#!/usr/bin/env python3
"""The clock stands wrong, or is moved: nothing is let go of early, nothing waits for ever, and images come and go all the same."""

import mmap
import struct
import sys
import time
import unittest
from datetime import datetime
from zoneinfo import ZoneInfo

import invariants
from fault_rig import FaultRig, Sweep, figure, rig
from ledger import Ledger, Version
from steps import telling

TEN_MINUTES, HOUR = 600, 3600
DAY = 24 * HOUR
KEPT = 30 * DAY
TO_1970 = -int(time.time()) + 60
MOVES = {"an hour ahead": 3600, "26 hours ahead": 26 * 3600, "400 days ahead": 400 * DAY, "30 years ahead": 30 * 365 * DAY,
         "an hour back": -3600, "400 days back": -400 * DAY, "at 1970": TO_1970}


class ClockRig(FaultRig):
    """A gateway whose clock can be moved."""

    def __init__(self, zone="UTC"):
        super().__init__()
        self._zone = zone
        with open(self.path("clock"), "w+b") as file:
            file.write(bytes(8))
            file.flush()
            self._offset = mmap.mmap(file.fileno(), 8)

    def gateway_arguments(self):
        return ["/usr/bin/env", f"LD_PRELOAD={rig.program('moved_clock.so')}", f"MOVED_CLOCK={self.path('clock')}",
                f"TZ={self._zone}", *super().gateway_arguments()]

    def move(self, seconds):
        self._offset[:] = struct.pack("q", seconds)


class Clock(unittest.TestCase):

    def setUp(self):
        self.machine, self.ledger, self.sent = ClockRig(), Ledger(), 0
        self.failed = True
        self.addCleanup(lambda: self.machine.close(self.failed))
        self.machine.set_up()
        self.machine.set("GatewayAutoDelete", "30-days")
        self.send()

    def send(self, offset=0):
        """One more image, which goes to the cloud, and everything stays here.

        But for one that went while the clock stood back for longer than images are kept: by all that is noted it is old once
        the clock is right again.
        """
        self.sent += 1
        version = Version(self.sent)
        self.assertTrue(self.ledger.send(self.machine.port, rig.TITLE, [version]))
        self.assertEqual(set(self.ledger.answers), {0})
        self.machine.await_settled(self.ledger)
        there = {instance for instance, in self.machine.asked("SELECT originalSOPInstanceUID FROM DicomImage")}
        self.assertEqual(set(self.ledger.acceptable) - self.ledger.pruned - there, set(), "let go of early")
        if offset < -KEPT:
            self.ledger.pruned.add(version.instance)

    def sign_in_where_that_ended(self):
        if not self.machine.status()["session"]["signedIn"]:
            self.machine.sign_in()

    def test_restart(self):
        self.moved("a start with the clock moved", self.machine.restart)

    def test_running(self):
        self.moved("the clock moved in life", lambda: None)

    def moved(self, what, live):
        def move(name, offset):
            with telling(f"{name}, {offset} s"):
                self.machine.move(offset)
                live()
                self.sign_in_where_that_ended()
                self.send(offset)
            return True
        moves = [(name, moved) for name, offset in MOVES.items() for moved in (offset, 0)]
        sweep = Sweep(what)
        sweep.play(moves, lambda each: move(*each))
        self.end()
        sweep.end(len(moves))

    def test_pauses(self):
        """What was to wait until a time that the clock went back from goes with the next run."""
        for name in ("400 days ahead", "30 years ahead"):
            self.machine.gateway.kill()
            self.machine.change("UPDATE DicomImage SET syncState = 2, uploadDate = NULL, notBefore = createDate + ?",
                                MOVES[name] * 1000)
            self.machine.restart()
            self.machine.await_settled(self.ledger)
            self.send()
        figure("2 clocks that came back, nothing held")
        self.end()

    def end(self):
        invariants.check(self.machine, self.ledger)
        self.failed = False


class Nights(unittest.TestCase):
    """The clocks of the zone are set by an hour, and images are kept for a day of its calendar."""

    ZONE = ZoneInfo("Europe/Berlin")

    def send(self):
        """One more image, behind which the gateway looks for what is old."""
        self.sent += 1
        version = Version(self.sent)
        self.assertTrue(self.ledger.send(self.machine.port, rig.TITLE, [version]))
        self.machine.await_settled(self.ledger)
        return version.instance

    def here(self):
        return {instance for instance, in self.machine.asked("SELECT originalSOPInstanceUID FROM DicomImage")}

    def night(self, noon, last, first):
        """
        \param noon   of the day before.
        \param last   how many seconds later the image is to be here still, a moment before the next noon.
        \param first  how many seconds later it is old enough, a moment behind that noon.
        """
        self.machine, self.ledger, self.sent = ClockRig("Europe/Berlin"), Ledger(), 0
        failed = True
        try:
            self.begin = int(noon.timestamp()) - int(time.time())
            self.machine.move(self.begin)
            self.machine.set_up()
            self.machine.set("GatewayAutoDelete", "1-days")
            image = self.send()
            for later in (last // 2, last):
                self.machine.move(self.begin + later)
                self.send()
                self.assertIn(image, self.here(), f"let go of {last - later + 600} s early")
            self.machine.move(self.begin + first)
            self.ledger.pruned.add(image)
            self.send()
            rig.await_that("the image to be let go of", lambda: image not in self.here())
            invariants.check(self.machine, self.ledger)
            failed = False
        finally:
            self.machine.close(failed)

    def test_spring(self):
        self.night(datetime(2027, 3, 27, 12, tzinfo=self.ZONE), 23 * HOUR - TEN_MINUTES, 23 * HOUR + TEN_MINUTES)
        figure("the night in which an hour is missing, let go of after 23 hours and not before")

    def test_autumn(self):
        self.night(datetime(2027, 10, 30, 12, tzinfo=self.ZONE), 25 * HOUR - TEN_MINUTES, 25 * HOUR + TEN_MINUTES)
        figure("the night in which an hour comes twice, let go of after 25 hours and not before")


if __name__ == "__main__":
    sys.stdout.reconfigure(line_buffering=True)
    unittest.main(verbosity=2)
