#!/usr/bin/env python3
"""Everything is killed, and at a call of the next start it is killed again, or the call fails."""

import errno
import random
import sys
import unittest

from fault_rig import Sweep, is_long, seed
from scenarios import ALL
from steps import Play, Stage, telling

QUICK_PAIRS, LONG_PAIRS = 3, 34  # of each scenario
CALLS_OF_A_START = 80
STRIKES = (("--kill",), ("--fail", errno.EIO), ("--fail-on", errno.ENOSPC))


class SecondFault(unittest.TestCase):
    pass


def test_of(name):
    def test(self):
        stage = Stage(ALL[name]())
        self.addCleanup(stage.close)
        chance = random.Random(SEED)
        calls = len(stage.count())
        pairs = [pair(chance, calls) for _ in range(LONG_PAIRS if is_long() else QUICK_PAIRS)]
        Sweep(f"{name}, second faults", f" of {calls} calls").play(pairs, lambda each: struck_twice(stage, *each)).end(len(pairs) // 3)
    return test


def pair(chance, calls):
    manner, *error = chance.choice(STRIKES)
    return chance.randint(1, calls), (manner, chance.randint(1, CALLS_OF_A_START), *map(int, error))


def struck_twice(stage, first, second):
    with Play(stage) as play:
        places = [play.killed_at(first)]
        tracer = play.start_again(*second)
        places.append(tracer.struck())
        with telling(f"{stage.name}, killed at {places[0]}, then {second[0]} at {places[1]}"):
            play.recover()
        return None not in places


for scenario in ALL:
    setattr(SecondFault, f"test_{scenario}", test_of(scenario))

if __name__ == "__main__":
    sys.stdout.reconfigure(line_buffering=True)
    SEED = seed()
    unittest.main(verbosity=2)
