"""The network door against those who take too much of it: many associations, unfinished requests, an object that drips."""

import re
import socket
import struct
import time
import unittest

from harness import TITLE, EndToEndTest, await_true, request
from helpers_test import children_of

NOBODY = "http://127.0.0.1:9"  # an address where no cloud answers
CT = b"1.2.840.10008.5.1.4.1.1.2"
LIMIT = 3  # associations of one address
MEBIBYTE = 1 << 20


def pdu(kind, body):
    return struct.pack(">BBI", kind, 0, len(body)) + body


def item(kind, value):
    return struct.pack(">BBH", kind, 0, len(value)) + value


def association_request():
    context = b"\x01\0\0\0" + item(0x30, CT) + item(0x40, b"1.2.840.10008.1.2.1")
    return pdu(1, struct.pack(">HH16s16s32x", 1, 0, TITLE.encode().ljust(16), b"DOOR".ljust(16))
               + item(0x10, b"1.2.840.10008.3.1.1.1") + item(0x20, context)
               + item(0x50, struct.pack(">BBHI", 0x51, 0, 4, 16384)))


def data(control, piece):
    return pdu(4, struct.pack(">IBB", len(piece) + 2, 1, control) + piece)


def memory_of(process):
    """Its resident memory in bytes, the largest so far."""
    with open(f"/proc/{process}/status", encoding="utf-8") as file:
        return int(re.search(r"VmHWM:\s+(\d+) kB", file.read()).group(1)) * 1024


class Door(EndToEndTest):

    def setUp(self):
        super().setUp()
        self.gateway = self.start_gateway(NOBODY, options=("--metrics", "127.0.0.1:0"))
        self.metrics = re.search(r"Metrics are served at (http://\S+)/metrics", self.gateway.said()).group(1) + "/metrics"
        self.gateway.command("settings", "set", "ListenerSettings.associationsPerAddress", str(LIMIT))
        self.gateway.set_up()
        self.listener = await_true(
            "the listener's process", lambda: children_of(self.gateway.process.pid, "scp"))[0]

    def peer(self, host="127.0.0.1"):
        peer = socket.create_connection(("127.0.0.1", self.gateway.port), timeout=60, source_address=(host, 0))
        self.addCleanup(peer.close)
        return peer

    def associate(self, host="127.0.0.1"):
        """The connection and the type of the answer: 2 for accepted, 3 for rejected."""
        peer = self.peer(host)
        peer.sendall(association_request())
        return peer, peer.recv(1)[0]

    def turned_away(self, reason):
        found = re.search(rf'quorin_gateway_turned_away_total{{reason="{reason}"}} (\d+)', request(self.metrics)[2].decode())
        return int(found.group(1)) if found else 0

    def assert_told(self, reason):
        await_true(f"{reason} in the metrics", lambda: self.turned_away(reason) >= 1, self.gateway.process)
        told = [line for line in self.gateway.command("logs", "--json").stdout.splitlines() if reason in line]
        self.assertEqual(len(told), 1, told)
        self.assertNotIn("127.0.0", told[0])

    def test_one_address_leaves_associations_to_the_others(self):
        held = [self.associate() for _ in range(LIMIT)]
        self.assertEqual([answer for _, answer in held], [2] * LIMIT)
        self.assertEqual(self.associate()[1], 3)
        self.assertEqual(self.associate("127.0.0.2")[1], 2)
        self.assert_told("address_has_its_associations")

        held[0][0].close()
        await_true("its place is free again", lambda: self.associate()[1] == 2, self.gateway.process)

    def test_unfinished_requests_share_a_budget(self):
        before = memory_of(self.listener)
        announced = struct.pack(">BBI", 1, 0, MEBIBYTE)
        for number in range(100):
            peer = self.peer(f"127.0.1.{number + 1}")  # each a host of its own, or the limit an address would do
            try:
                peer.sendall(announced + bytes(MEBIBYTE - 1))
            except OSError:
                pass  # it was turned away meanwhile
        self.assertEqual(self.associate("127.0.0.2")[1], 2, "another is served meanwhile")
        self.assert_told("requests_too_large")
        grown = memory_of(self.listener) - before
        print(f"the listener grew by {grown // 1024} KiB", flush=True)
        self.assertLess(grown, 32 * MEBIBYTE)

    def test_an_object_that_drips_is_aborted(self):
        peer, answer = self.associate()
        self.assertEqual(answer, 2)
        fields = [(0x0002, CT + b"\0"), (0x0100, b"\1\0"), (0x0110, b"\1\0"), (0x0700, b"\0\0"), (0x0800, b"\1\0"),
                  (0x1000, b"1.2.3.4\0")]
        group = b"".join(struct.pack("<HHI", 0, number, len(value)) + value for number, value in fields)
        peer.settimeout(1)  # how often it drips
        _, _, length = struct.unpack(">BBI", b"\2" + peer.recv(5))
        while length:
            length -= len(peer.recv(length))
        peer.sendall(data(3, struct.pack("<HHII", 0, 0, 4, len(group)) + group) + data(0, bytes(1000))[:20])
        end = time.monotonic() + 240
        answer = None
        while answer is None and time.monotonic() < end:
            peer.sendall(b"\0")
            try:
                answer = peer.recv(10)
            except TimeoutError:
                pass
        self.assertEqual(answer[:1] if answer else answer, b"\7", "an A-ABORT")
        self.assert_told("object_too_slow")


if __name__ == "__main__":
    unittest.main(verbosity=2)
