#!/usr/bin/env python3
"""A full disk: what was acknowledged stays, what has no room is refused, and all goes on once there is room."""
import errno
import os
import socket
import struct
import subprocess
import sys
import threading
import unittest

import rig

DISK = "128m"  # the gateway leaves 64 MiB alone, so about as much takes in images
ENLARGED = "640m"
SENDERS = 2
OBJECTS = 90  # of half a mebibyte, each sender
OPEN_OBJECTS = 12  # at once
OPEN_BYTES = 15 << 20  # of each of them: together more than there is
RESERVE = 64 << 20
REFUSAL = "Refused: OutOfResources"  # how the sender names status A700, PS3.4 table B.2-1


def pdu(kind, body):
    return struct.pack(">BBI", kind, 0, len(body)) + body


def item(kind, value):
    return struct.pack(">BBH", kind, 0, len(value)) + value


def data(control, piece):
    return pdu(4, struct.pack(">IBB", len(piece) + 2, 1, control) + piece)


class OpenObject(threading.Thread):
    """An association whose one object is begun at once, goes on when all others have begun, and never ends."""

    def __init__(self, port, all_have_begun):
        super().__init__(daemon=True)
        self.socket = socket.create_connection(("127.0.0.1", port), timeout=120)
        self.all_have_begun = all_have_begun
        ct = b"1.2.840.10008.5.1.4.1.1.2\0"
        context = b"\x01\0\0\0" + item(0x30, ct[:-1]) + item(0x40, b"1.2.840.10008.1.2.1")
        self.socket.sendall(pdu(1, struct.pack(">HH16s16s32x", 1, 0, rig.TITLE.encode().ljust(16), b"OPEN".ljust(16))
                                + item(0x10, b"1.2.840.10008.3.1.1.1") + item(0x20, context)
                                + item(0x50, struct.pack(">BBHI", 0x51, 0, 4, 131072))))
        if self.socket.recv(1) != b"\x02":
            raise AssertionError("the association was not accepted")
        fields = [(0x0002, ct), (0x0100, b"\1\0"), (0x0110, b"\1\0"), (0x0700, b"\0\0"), (0x0800, b"\1\0"),
                  (0x1000, b"1.2.3.4\0")]
        group = b"".join(struct.pack("<HHI", 0, number, len(value)) + value for number, value in fields)
        self.socket.sendall(data(3, struct.pack("<HHII", 0, 0, 4, len(group)) + group) + data(0, bytes(1000)))

    def run(self):
        self.all_have_begun.wait()
        for _ in range(OPEN_BYTES // 65536):
            self.socket.sendall(data(0, bytes(65536)))


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

    def test_many_open_objects_leave_the_reserve_together(self):
        self.rig.set_up()
        all_have_begun = threading.Event()
        senders = [OpenObject(self.rig.port, all_have_begun) for _ in range(OPEN_OBJECTS)]
        least = self.free()
        self.assertLess(least - RESERVE, OPEN_OBJECTS * OPEN_BYTES, "or the test would show nothing")
        for sender in senders:
            sender.start()
        all_have_begun.set()
        while any(sender.is_alive() for sender in senders):
            least = min(least, self.free())
            senders[0].join(0.001)
        least = min(least, self.free())
        for sender in senders:
            sender.socket.close()
        print(f"{least} bytes were free at the least", flush=True)
        self.assertGreaterEqual(least, RESERVE - (4 << 20), "the gateway's own index and log take some")
        self.failed = False

    def free(self):
        figures = os.statvfs(self.disk)
        return figures.f_bavail * figures.f_frsize

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
