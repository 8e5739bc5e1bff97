#!/usr/bin/env python3
"""A call on a file fails, once or from then on: no success for what isn't safe, no image blamed, and all arrives in the end.

In the long run at each call of each scenario, with errors in turn; of calls that follow each other on one file, at the first
and the last.
"""

import errno
import itertools
import random
import sys
import unittest

from fault_rig import Sweep, seed, share
from scenarios import ALL
from steps import Play, Stage, telling

SAMPLE = 6
ERRORS = (errno.EIO, errno.ENOSPC, errno.EDQUOT, errno.EINTR, errno.ESTALE, errno.ENOMEM)
ONCE, FOR_EVER = "--fail", "--fail-on"
ANSWERS = {0x0000, 0xA700}  # PS3.4, B.2.3: stored, or refused for want of resources
BLAME = {"contentDoesNotFit", "notUnderstood", "refused", "withoutIdentity", "kindNotSupported", "fileMissing",
         "anotherVersionInCloud", "laterVersionSent"}


class FailedAtAStep(unittest.TestCase):
    pass


def test_of(name):
    def test(self):
        stage = Stage(ALL[name]())
        self.addCleanup(stage.close)
        calls = stage.count(all_calls=True)
        chance = random.Random(SEED)
        points = [(step, manner) for step in ends_of_runs(calls) for manner in (ONCE, FOR_EVER)]
        chosen = share(points, SAMPLE, chance)
        errors = itertools.count(chance.randrange(len(ERRORS)))
        sweep = Sweep(f"{name}, errors", f" of {len(calls)} calls")
        sweep.play(chosen, lambda point: fails_at(stage, *point, error_of(point[1], next(errors)))).end(len(chosen) // 2)
    return test


def error_of(manner, number):
    """The errors take turns. A signal interrupts one call; who asks again at once, as libraries do, gets through."""
    error = ERRORS[number % len(ERRORS)]
    return errno.EIO if manner == FOR_EVER and error == errno.EINTR else error


def ends_of_runs(calls):
    """The numbers of the calls before or behind which something else is called."""
    return [number for number, call in enumerate(calls, 1)
            if calls[number - 2:number - 1] != [call] or calls[number:number + 1] != [call]]


def fails_at(stage, step, manner, error):
    """False where the act was over before."""
    with Play(stage) as play:
        tracer = play.act(manner, step, int(error), all_calls=True)
        play.await_fault(tracer)
        where = tracer.struck()
        try:
            with telling(f"{stage.name}, {errno.errorcode[error]} {manner[2:]} at {where}"):
                blames(play)
                tracer.stop()
                play.recover()
        finally:
            tracer.stop()
        return where is not None


def blames(play):
    """What nobody may be told while a disk fails."""
    if not play.scenario.launches:
        play.rig.gateway.check()
    strange = set(play.ledger.answers) - ANSWERS
    if strange:
        raise AssertionError(f"a sender was answered with {', '.join(f'{status:04x}' for status in strange)}")
    blamed = {kind for kind, in play.rig.asked("SELECT failureClass FROM UploadFailure")} & BLAME
    if blamed:
        raise AssertionError(f"an upload failed as {blamed}")
    is_younger = play.rig.asked("SELECT 1 FROM pragma_table_info('DicomImage') WHERE name = 'damaged'")
    if is_younger and play.rig.asked("SELECT 1 FROM DicomImage WHERE damaged <> 0"):
        raise AssertionError("an image is called damaged")


for scenario in ALL:
    setattr(FailedAtAStep, f"test_{scenario}", test_of(scenario))

if __name__ == "__main__":
    sys.stdout.reconfigure(line_buffering=True)
    SEED = seed()
    unittest.main(verbosity=2)
