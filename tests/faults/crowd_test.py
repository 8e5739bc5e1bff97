#!/usr/bin/env python3
"""Peers in crowds take connections, associations and descriptors: an honest sender at another address is served all along, and
afterwards memory, descriptors and processes are what they were.
"""

import contextlib
import itertools
import multiprocessing
import os
import resource
import selectors
import socket
import sys
import time
import unittest

from fault_rig import FaultRig, figure, is_long, rig, seed  # first: it says where the others are
import invariants
from hostile_peers_test import pdu, request
from ledger import Ledger, Version

THEIRS = "127.0.0.2"  # the crowd's address
OBJECTS, GREETINGS = 60, 50  # of an honest sender: in one association, and in one each
MOST_GROWTH = 10 << 20  # bytes, of all of the listener's processes
FEW_DESCRIPTORS = 256
PORT_SCAN = (b"", b"\0", b"GET / HTTP/1.1\r\nHost: a\r\n\r\n", b"SSH-2.0-scanner\r\n", b"\x03\0\0\x13\x0e\xe0\0\0\0\0\0\x01\0\x08\0\x03\0\0\0",
             b"\x16\x03\x01\0\xf8\x01\0\0\xf4\x03\x03" + bytes(243), b"OPTIONS rtsp://a RTSP/1.0\r\n\r\n", b"\xff" * 4096,
             pdu(1, b"", 0xFFFFFFFF), pdu(0x16, request()))


def connect(port):
    return socket.create_connection(("127.0.0.1", port), timeout=10, source_address=(THEIRS, 0))


def hold(port, size, reached, greet, feed):
    """So many connections at a time: each is greeted, then fed; one that is closed gives its place to another."""
    waiting = selectors.EpollSelector()
    while True:
        with contextlib.suppress(OSError):
            while len(waiting.get_map()) < size:
                peer = connect(port)
                greet(peer)
                peer.setblocking(False)
                waiting.register(peer, selectors.EVENT_READ)
                reached.value += 1
        for key, _ in waiting.select(timeout=1):
            with contextlib.suppress(BlockingIOError):
                try:
                    ended = not key.fileobj.recv(65536)
                except ConnectionError:
                    ended = True
                if ended:
                    waiting.unregister(key.fileobj)
                    key.fileobj.close()
        for key in list(waiting.get_map().values()):
            with contextlib.suppress(OSError):
                feed(key.fileobj)


def drip(port, size, reached):
    """A byte a second."""
    places = {}
    hold(port, size, reached, lambda peer: places.update({peer: iter(pdu(1, request()))}),
         lambda peer: peer.send(bytes([next(places[peer], 0)])))


def silent(port, size, reached):
    hold(port, size, reached, lambda peer: None, lambda peer: None)


def idle(port, size, reached):
    """Associations that are asked for, and then nothing."""
    hold(port, size, reached, lambda peer: peer.sendall(pdu(1, request())), lambda peer: None)


def storm(port, _, reached):
    """As many as can be had, one after the other."""
    while True:
        with contextlib.suppress(OSError):
            connect(port).close()
            reached.value += 1


def scan(port, _, reached):
    for what in itertools.cycle(PORT_SCAN):
        with contextlib.suppress(OSError):
            peer = connect(port)
            peer.sendall(what)
            peer.close()
            reached.value += 1


class Crowd:
    """A process of its own, so that it takes nothing from the honest sender but time."""

    def __init__(self, attack, port, size):
        self._reached = multiprocessing.Value("q", 0)
        self._size = size
        self._process = multiprocessing.Process(target=self._run, args=(attack, port), daemon=True)

    def _run(self, attack, port):
        _, most = resource.getrlimit(resource.RLIMIT_NOFILE)
        resource.setrlimit(resource.RLIMIT_NOFILE, (most, most))
        attack(port, self._size, self._reached)

    def __enter__(self):
        self._process.start()
        return self

    def __exit__(self, *_):
        self._process.kill()
        self._process.join()

    def reached(self):
        return self._reached.value


class Crowds(unittest.TestCase):

    def setUp(self):
        self.machine, self.ledger = FaultRig(), Ledger()
        self.failed = True
        self.addCleanup(lambda: self.machine.close(self.failed))
        self.machine.set_up()
        self.numbers = itertools.count(1)

    def send(self, count):
        """How long it takes to be told that all are stored."""
        versions = [Version(next(self.numbers)) for _ in range(count)]
        begun = time.monotonic()
        self.assertTrue(self.ledger.send(self.machine.port, rig.TITLE, versions), "an honest sender was let down")
        took = time.monotonic() - begun
        self.assertEqual(set(self.ledger.answers), {0})
        return took

    def listeners(self):
        """The listener and its associations: process -> its memory in bytes and its descriptors."""
        found = {}
        for process in rig.session_members(self.machine.gateway.process.pid):
            with contextlib.suppress(FileNotFoundError, ProcessLookupError):
                with open(f"/proc/{process}/status", encoding="utf-8") as file:
                    told = dict(line.split(":", 1) for line in file)
                with open(f"/proc/{process}/cmdline", "rb") as file:
                    role = file.read().split(b"\0")[1:2]
                if told["Name"].strip() == "quorin-dicom" and role == [b"scp"]:
                    found[process] = (int(told.get("VmRSS", "0").split()[0]) << 10, len(os.listdir(f"/proc/{process}/fd")))
        return found

    def suffer(self, name, attack, size):
        size = size if is_long() else size // 10
        alone = self.send(OBJECTS)
        rig.await_that("rest", lambda: len(self.listeners()) == 1)
        before = self.listeners()
        with Crowd(attack, self.machine.port, size) as crowd:
            rig.await_that("the crowd", lambda: crowd.reached() >= min(size, 500))
            among = self.send(OBJECTS)
            greetings = sorted(self.send(1) for _ in range(GREETINGS))
            rig.await_that("all of the crowd", lambda: crowd.reached() >= size)
            most = len(self.listeners())
            self.send(OBJECTS)
            reached = crowd.reached()
        rig.await_that("the end of the crowd", lambda: len(self.listeners()) == 1)
        [scp] = before
        self.assertIn(scp, self.listeners(), "the listener is another one")
        rig.await_that("as few descriptors", lambda: self.listeners()[scp][1] <= before[scp][1])
        growth = self.listeners()[scp][0] - before[scp][0]
        self.assertLess(growth, MOST_GROWTH)
        self.send(1)
        self.machine.await_settled(self.ledger)
        invariants.check(self.machine, self.ledger)
        self.failed = False
        figure(f"{name}: {reached} connections in all, {size} wanted at a time; an honest sender's rate {OBJECTS / among:.0f} a second, {OBJECTS / alone:.0f} before; "
               f"an association with one object {greetings[len(greetings) // 2] * 1000:.0f} ms, at most {greetings[-1] * 1000:.0f} ms; "
               f"{most} processes at once, {growth >> 10} KiB of growth")

    def test_drip(self):
        self.suffer("connections that drip", drip, 1000)

    def test_silent(self):
        self.suffer("connections that say nothing", silent, 2000)

    def test_idle(self):
        self.suffer("associations that do nothing", idle, 2000)

    def test_storm(self):
        self.suffer("a storm of connections", storm, 10_000)

    def test_scan(self):
        self.suffer("a scan by other protocols", scan, 10_000)

    def test_few_descriptors(self):
        before = resource.getrlimit(resource.RLIMIT_NOFILE)
        resource.setrlimit(resource.RLIMIT_NOFILE, (FEW_DESCRIPTORS, before[1]))
        try:
            self.machine.restart()
        finally:
            resource.setrlimit(resource.RLIMIT_NOFILE, before)
        self.suffer(f"{FEW_DESCRIPTORS} descriptors, and a crowd that drips", drip, 1000)


if __name__ == "__main__":
    sys.stdout.reconfigure(line_buffering=True)
    seed()
    unittest.main(verbosity=2)
