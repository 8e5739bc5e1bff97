#!/usr/bin/env python3
"""What a sender was told is stored is never lost, at whatever moment the gateway and the cloud are killed."""
import os
import random
import shutil
import sys
import unittest

import rig

ROUNDS = 50
OBJECTS = 12  # of a short sending


class KilledAtAnyMoment(unittest.TestCase):
    def setUp(self):
        self.rig = rig.Rig()
        self.failed = True
        self.addCleanup(lambda: self.rig.close(self.failed))
        self.seed = int(os.environ.get("QUORIN_KILL_SEED", random.SystemRandom().randrange(1 << 32)))
        self.random = random.Random(self.seed)
        print(f"QUORIN_KILL_SEED={self.seed}", flush=True)

    def test_every_acknowledged_object_is_found_after_fifty_kills(self):
        self.rig.set_up()
        acknowledged, cut_short = set(), 0
        for number in range(1, ROUNDS + 1):
            stored, sent = self.one_round(number)
            acknowledged |= stored
            cut_short += len(stored) < sent
        print(f"figure: {len(acknowledged)} objects acknowledged, {cut_short} of {ROUNDS} sendings cut short", flush=True)
        # A run in which nothing was interrupted, or nothing got through, would show nothing.
        self.assertGreater(len(acknowledged), ROUNDS)
        self.assertGreater(cut_short, ROUNDS // 5)

        self.rig.drain(acknowledged)
        self.assertEqual(acknowledged - self.rig.indexed(), set(), "lost from the index")
        self.assertEqual(acknowledged - self.rig.in_cloud(), set(), "not in the cloud")
        self.failed = False

    def one_round(self, number):
        """Sends, kills at a random moment, starts again; what was acknowledged, and how many were sent."""
        folder = self.rig.path("samples")
        # On a busy machine we hear late of what was stored: a third of the sendings is long, and is cut short all the same.
        is_long = number % 3 == 0
        samples = rig.make_samples(folder, 1000 + number, mr=(5 if is_long else 1) * OBJECTS - 2, ct=2)
        sender = self.rig.send(samples)
        # One beyond the last: then the kill hits the import and the upload.
        sender.read_until_stored(self.random.randint(0, OBJECTS + 1))
        if not is_long:
            sender.read_for(self.random.choice((0, self.random.uniform(0, 0.02), self.random.uniform(0, 0.2))))
        if self.random.random() < 0.7:
            self.rig.cloud.kill()
        self.rig.gateway.kill()
        sender.finish()
        if self.random.random() < 0.2:
            self.kill_while_starting()
        if self.rig.cloud.ended():
            self.rig.start_cloud()
        self.rig.start_gateway()
        shutil.rmtree(folder)
        return sender.stored, len(samples)

    def kill_while_starting(self):
        """Clearing up after a kill may itself be cut short."""
        self.rig.launch_gateway()
        try:
            self.rig.gateway.process.wait(self.random.uniform(0, 0.15))
        except rig.subprocess.TimeoutExpired:
            pass
        self.rig.gateway.kill()


if __name__ == "__main__":
    sys.stdout.reconfigure(line_buffering=True)
    unittest.main(verbosity=2)
