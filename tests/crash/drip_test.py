#!/usr/bin/env python3
"""Peers that drip their first bytes, one at a time, delay no one else."""
import socket
import sys
import unittest

import rig

DRIPPERS = 8
OBJECTS = 12
# The head of an association request that announces 200 bytes, PS3.8 9.3.2; then zeros, as slowly as the test likes.
REQUEST = b"\x01\x00\x00\x00\x00\xc8\x00\x01\x00\x00" + b"QUORIN".ljust(16) + b"DRIP".ljust(16) + bytes(164)


class Drip(unittest.TestCase):
    def setUp(self):
        self.rig = rig.Rig()
        self.failed = True
        self.addCleanup(lambda: self.rig.close(self.failed))

    def drip(self, place):
        for peer in self.peers:
            peer.sendall(REQUEST[place : place + 1])

    def test_another_sender_is_served_while_peers_drip(self):
        self.rig.set_up()
        samples = rig.make_samples(self.rig.path("samples"), 4001, mr=OBJECTS)
        self.peers = []
        for _ in range(DRIPPERS):
            self.peers.append(socket.create_connection(("127.0.0.1", self.rig.port)))
            self.addCleanup(self.peers[-1].close)
        self.drip(0)

        sender = self.rig.send(samples)
        for count in range(1, OBJECTS + 1):  # a byte of every dripping peer for each object of the other
            sender.read_until_stored(count)
            self.drip(count)
        # The drippers are still there and still unanswered: the sender didn't wait for their end.
        for peer in self.peers:
            peer.setblocking(False)
            self.assertRaises(BlockingIOError, peer.recv, 1)
        sender.finish()
        self.assertEqual(sender.stored, set(samples))
        self.assertTrue(sender.released)
        self.rig.drain(sender.stored)
        self.assertEqual(sender.stored - self.rig.in_cloud(), set(), "not in the cloud")
        self.failed = False


if __name__ == "__main__":
    sys.stdout.reconfigure(line_buffering=True)
    unittest.main(verbosity=2)
