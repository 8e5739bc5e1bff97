#!/usr/bin/env python3
"""A full disk: what was acknowledged stays, what has no room is refused, and all goes on once there is room."""
import errno
import os
import subprocess
import sys
import unittest

import rig

DISK = "128m"  # the gateway leaves 64 MiB alone, so about as much takes in images
ENLARGED = "640m"
SENDERS = 2
OBJECTS = 90  # of half a mebibyte, each sender
REFUSAL = "Refused: OutOfResources"  # how the sender names status A700, PS3.4 table B.2-1


class FullDisk(unittest.TestCase):
    def setUp(self):
        self.rig = rig.Rig()
        self.failed = True
        self.addCleanup(lambda: self.rig.close(self.failed))
        self.disk = self.rig.path("disk")
        self.rig.home = os.path.join(self.disk, "home")
        os.mkdir(self.disk)
        mounted = self.mount("-t", "tmpfs", "-o", f"size={DISK}", "tmpfs", self.disk)
        self.assertEqual(
            mounted.returncode, 0,
            f"This test needs the right to mount a small tmpfs, which it has as root: {mounted.stderr}")
        self.addCleanup(self.unmount)
        os.mkdir(self.rig.home)

    @staticmethod
    def mount(*arguments):
        return subprocess.run(["mount", *arguments], capture_output=True, text=True, check=False)

    def unmount(self):
        for running in (self.rig.gateway, self.rig.cloud):
            if running:
                running.kill()
        subprocess.run(["umount", self.disk], check=True)

    def test_nothing_acknowledged_is_lost_and_the_refused_can_be_sent_again(self):
        samples, senders = self.fill()
        stored = set().union(*(sender.stored for sender in senders))
        refused = set().union(*(sender.refused for sender in senders))
        print(f"{len(stored)} objects acknowledged, {len(refused)} refused", flush=True)
        self.assertGreater(len(stored), 0)
        reasons = {reason for sender in senders for reason in sender.refused.values()}
        self.assertEqual(reasons, {REFUSAL})
        for sender in senders:
            self.assertTrue(sender.released, "the association lived on to its release")
        self.assertEqual(stored | refused, set(samples), "each object was answered for")

        self.make_room()
        self.rig.start_cloud()
        self.rig.command("upload")
        self.rig.drain(stored)
        self.assertEqual(stored - self.rig.in_cloud(), set(), "lost")

        again = self.rig.send({uid: samples[uid] for uid in refused})
        again.finish()
        self.assertEqual(again.stored, refused)
        self.rig.drain(set(samples))
        self.assertEqual(set(samples) - self.rig.in_cloud(), set(), "not in the cloud after sending again")
        self.failed = False

    def test_nothing_acknowledged_is_lost_when_others_fill_the_disk_to_the_last_byte(self):
        self.rig.set_up()
        self.rig.cloud.kill()
        samples = rig.make_samples(self.rig.path("samples"), 3001, ct=OBJECTS)
        sender = self.rig.send(samples)
        sender.read_until_stored(5)
        filler = self.take_all_room()
        sender.finish()
        print(f"{len(sender.stored)} objects acknowledged, {len(sender.refused)} refused", flush=True)
        self.assertGreaterEqual(len(sender.stored), 5)
        self.assertGreater(len(sender.refused), 0)
        self.assertEqual(set(sender.refused.values()), {REFUSAL})
        self.assertTrue(sender.released, "the association lived on to its release")

        # The worst end: killed with the disk full, and started again on it.
        self.rig.gateway.kill()
        self.rig.start_cloud()
        self.rig.start_gateway()
        os.unlink(filler)
        self.make_room()
        self.rig.drain(sender.stored)
        self.assertEqual(sender.stored - self.rig.in_cloud(), set(), "lost")
        self.failed = False

    def fill(self):
        """With the cloud away, more than fits, from several senders at once."""
        self.rig.set_up()
        self.rig.cloud.kill()
        samples, senders = {}, []
        for number in range(SENDERS):
            own = rig.make_samples(self.rig.path(f"samples-{number}"), 2001 + number, ct=OBJECTS)
            samples |= own
            senders.append(self.rig.send(own))
        for sender in senders:
            sender.finish()
        self.rig.gateway.check()
        return samples, senders

    def take_all_room(self):
        """What someone else's file does: not a byte is left."""
        filler = os.path.join(self.disk, "filler")
        with open(filler, "wb", buffering=0) as file:
            for block in (1 << 20, 1 << 12):
                try:
                    while True:
                        os.posix_fallocate(file.fileno(), os.fstat(file.fileno()).st_size, block)
                except OSError as error:
                    self.assertEqual(error.errno, errno.ENOSPC)
        return filler

    def make_room(self):
        enlarged = self.mount("-o", f"remount,size={ENLARGED}", self.disk)
        self.assertEqual(enlarged.returncode, 0, enlarged.stderr)


if __name__ == "__main__":
    sys.stdout.reconfigure(line_buffering=True)
    unittest.main(verbosity=2)
