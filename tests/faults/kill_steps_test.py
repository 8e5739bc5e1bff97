#!/usr/bin/env python3
"""Everything is killed at a call that changes a file: at each one in the long run, at some of each scenario else."""

import random
import sys
import unittest

from fault_rig import Sweep, seed, share
from scenarios import ALL
from steps import Play, Stage, telling

SAMPLE = 8


class KilledAtAStep(unittest.TestCase):
    pass


def test_of(name):
    def test(self):
        stage = Stage(ALL[name]())
        self.addCleanup(stage.close)
        calls = stage.count()
        chosen = share(range(1, len(calls) + 1), SAMPLE, random.Random(SEED))
        sweep = Sweep(f"{name}, kill", f" of {len(calls)} calls")
        sweep.play(chosen, lambda step: killed_at(stage, step)).end(len(chosen) // 2)
    return test


def killed_at(stage, step):
    """False where the act was over before."""
    with Play(stage) as play:
        where = play.killed_at(step)
        with telling(f"{stage.name}, killed at {where}"):
            play.recover()
        return where is not None


for scenario in ALL:
    setattr(KilledAtAStep, f"test_{scenario}", test_of(scenario))

if __name__ == "__main__":
    sys.stdout.reconfigure(line_buffering=True)
    SEED = seed()
    unittest.main(verbosity=2)
