#!/usr/bin/env python3
"""Peers that keep to no protocol cost themselves alone: each is answered or let go, and an honest sender is served all along."""

import itertools
import random
import socket
import struct
import sys
import time
import unittest

import invariants
import odd_objects
from fault_rig import FaultRig, Sweep, figure, is_long, rig, seed
from ledger import Ledger, Version
from steps import telling

CELLS_BETWEEN_HONEST = 60
QUICK_REQUESTS, LONG_REQUESTS = 1000, 100_000
MOST_GROWTH = 10 << 20  # bytes, of all of the listener's processes
PATIENCE = 10  # seconds until a peer that has said its last is let go


def pdu(kind, body, length=None):
    return struct.pack(">BBI", kind, 0, len(body) if length is None else length) + body


def item(kind, value):
    return struct.pack(">BBH", kind, 0, len(value)) + value


def request():
    """A request for an association, as it should be (PS3.8, 9.3.2), without its PDU's header."""
    context = b"\x01\0\0\0" + item(0x30, odd_objects.CT.encode()) + item(0x40, odd_objects.EXPLICIT.encode())
    return (struct.pack(">HH16s16s32x", 1, 0, rig.TITLE.encode().ljust(16), b"CANARYAE".ljust(16))
            + item(0x10, b"1.2.840.10008.3.1.1.1") + item(0x20, context)
            + item(0x50, struct.pack(">BBHI", 0x51, 0, 4, 16384) + item(0x52, b"1.2.3.4")))


def value(control, piece, length=None):
    """A data PDU with one value."""
    return pdu(4, struct.pack(">IBB", len(piece) + 2 if length is None else length, 1, control) + piece)


def store_command(instance="1.2.3"):
    fields = [(0x0002, odd_objects.padded(odd_objects.CT)), (0x0100, b"\1\0"), (0x0110, b"\1\0"), (0x0700, b"\0\0"),
              (0x0800, b"\1\0"), (0x1000, odd_objects.padded(instance))]
    group = b"".join(struct.pack("<HHI", 0, number, len(field)) + field for number, field in fields)
    return struct.pack("<HHII", 0, 0, 4, len(group)) + group


class Peer:
    """A connection that may be in any state."""

    def __init__(self, port):
        self.socket = socket.create_connection(("127.0.0.1", port), timeout=PATIENCE)

    def say(self, what):
        try:
            self.socket.sendall(what)
        except OSError:
            pass  # let go of already

    def associate(self):
        self.say(pdu(1, request()))
        if self.socket.recv(1) != b"\x02":
            raise AssertionError("no association")
        left = struct.unpack(">xI", self.exactly(5))[0]
        self.exactly(left)

    def exactly(self, count):
        got = b""
        while len(got) < count:
            piece = self.socket.recv(count - len(got))
            if not piece:
                raise AssertionError("the connection ended")
            got += piece
        return got

    def hear_out(self):
        """Says no more; all that comes until the connection's end."""
        heard = b""
        try:
            self.socket.shutdown(socket.SHUT_WR)
            while piece := self.socket.recv(65536):
                heard += piece
        except TimeoutError:
            raise AssertionError(f"not let go of within {PATIENCE} s") from None
        except OSError:
            pass  # a reset is an end
        self.socket.close()
        return heard


STATES = {
    "connected": lambda peer: None,
    "in the middle of its request": lambda peer: peer.say(pdu(1, request())[:40]),
    "associated": Peer.associate,
    "in the middle of a command": lambda peer: (peer.associate(), peer.say(value(1, store_command()[:20]))),
    "behind a command": lambda peer: (peer.associate(), peer.say(value(3, store_command()))),
    "in the middle of an object": lambda peer: (peer.associate(), peer.say(value(3, store_command()) + value(0, bytes(100)))),
    "released": lambda peer: (peer.associate(), peer.say(pdu(5, bytes(4)))),
}

BODIES = {0: b"", 1: request(), 2: request(), 3: bytes(4), 4: struct.pack(">IBB", 102, 1, 0) + bytes(100), 5: bytes(4),
          6: bytes(4), 7: bytes(4), 8: bytes(4), 0x99: b"what"}
LENGTHS = {"right": lambda size: size, "0": lambda _: 0, "-1": lambda size: max(0, size - 1), "+1": lambda size: size + 1,
           "2^31": lambda _: 1 << 31, "2^32-1": lambda _: (1 << 32) - 1}
ODD_VALUES = {
    "odd": value(0, bytes(7)), "empty": value(0, b""), "no value": pdu(4, b""), "length 0": value(0, b"", 0),
    "length 1": value(0, b"", 1), "longer than its PDU": value(0, bytes(10), 1000), "another context": pdu(
        4, struct.pack(">IBB", 12, 99, 0) + bytes(10)), "interleaved": value(1, store_command()[:20]) + value(0, bytes(10)),
    "two in one": pdu(4, 2 * (struct.pack(">IBB", 12, 1, 0) + bytes(10))), "a command again": value(3, store_command()),
    "an object without a command": value(2, bytes(100)), "no known command": value(3, bytes(60)),
    "a last command fragment of nothing": value(3, b"")}


def cells():
    for (state, reach), (kind, body), (name, length) in itertools.product(STATES.items(), BODIES.items(), LENGTHS.items()):
        yield f"{state}: PDU {kind:02x} of length {name}", reach, pdu(kind, body, length(len(body)))
    for (state, reach), (name, odd) in itertools.product(STATES.items(), ODD_VALUES.items()):
        if name == "an object without a command" and state in ("behind a command", "in the middle of an object"):
            continue  # there it is one with a command
        yield f"{state}: a value that is {name}", reach, odd


class HostilePeers(unittest.TestCase):

    def setUp(self):
        self.machine, self.ledger = FaultRig(), Ledger()
        self.failed = True
        self.addCleanup(lambda: self.machine.close(self.failed))
        self.machine.set_up()
        self.honest = 0
        self.honestly()

    def honestly(self):
        """An honest sender is served."""
        self.honest += 1
        self.assertTrue(self.ledger.send(self.machine.port, rig.TITLE, [Version(self.honest)]))
        self.assertEqual(set(self.ledger.answers), {0})

    def listeners(self):
        """The processes of the listener, with their memory in bytes."""
        memory = {}
        for process in rig.session_members(self.machine.gateway.process.pid):
            with open(f"/proc/{process}/status", encoding="utf-8") as file:
                told = dict(line.split(":", 1) for line in file)
            if told["Name"].strip() == "quorin-dicom":
                memory[process] = int(told.get("VmRSS", "0").split()[0]) << 10
        return memory

    def end(self):
        """Everything is as it was."""
        self.honestly()
        self.machine.await_settled(self.ledger)
        invariants.check(self.machine, self.ledger)
        self.failed = False

    def test_table(self):
        known = list(cells())
        sweep = Sweep("states and PDUs")
        sweep.play(enumerate(known), lambda each: self.cell(each[0], *each[1]))
        self.end()
        figure(f"{self.honest} honest senders served between {len(known)} cells of states and PDUs")
        sweep.end(len(known))

    def cell(self, number, name, reach, odd):
        """True when it was let go of, and was told no success."""
        with telling(name):
            peer = Peer(self.machine.port)
            reach(peer)
            peer.say(odd)
            heard = peer.hear_out()
            self.assertNotIn(struct.pack("<HHIH", 0, 0x0900, 2, 0), heard, "success for no whole object")
            if number % CELLS_BETWEEN_HONEST == 0:
                self.honestly()
        return True

    def test_requests(self):
        chance, count = random.Random(SEED), LONG_REQUESTS if is_long() else QUICK_REQUESTS
        for _ in range(count // 10):  # until memory is what it stays
            self.odd_request(chance)
        before, begun = sum(self.listeners().values()), time.monotonic()
        for _ in range(count):
            self.odd_request(chance)
        took = time.monotonic() - begun
        rig.await_that("the end of all associations", lambda: len(self.listeners()) <= 3)
        growth = sum(self.listeners().values()) - before
        figure(f"{count} malformed association requests in {took:.0f} s, {growth >> 10} KiB of growth")
        self.assertLess(growth, MOST_GROWTH)
        self.end()

    def odd_request(self, chance):
        """With one to four bytes changed, cut out or added, or with another length."""
        body = bytearray(request())
        for _ in range(chance.randint(1, 4)):
            at = chance.randrange(len(body))
            match chance.randrange(4):
                case 0:
                    body[at] = chance.choice((0, 1, 0x7F, 0x80, 0xFF, chance.randrange(256)))
                case 1:
                    del body[at:at + chance.randint(1, 8)]
                case 2:
                    body[at:at] = chance.randbytes(chance.randint(1, 8))
                case 3:
                    body += item(chance.randrange(256), chance.randbytes(chance.randrange(200)))
        length = chance.choice((len(body),) * 6 + (0, len(body) - 1, len(body) + 1, 1 << 31))
        peer = Peer(self.machine.port)
        peer.say(pdu(1, bytes(body), length))
        peer.hear_out()


if __name__ == "__main__":
    sys.stdout.reconfigure(line_buffering=True)
    SEED = seed()
    unittest.main(verbosity=2)
