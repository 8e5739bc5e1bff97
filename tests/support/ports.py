"""Ports of the loopback, for tests that run beside each other."""

import random
import socket

_marks = []  # of the ports that this test was given


def free_port():
    """A TCP port that nobody uses at this moment, that no outgoing connection is given, and that no other test is given while
    this one lasts: what listens there may end and start again.
    """
    while True:
        port = random.randrange(20000, 32768)  # below what Linux gives out by itself
        mark = socket.socket(type=socket.SOCK_DGRAM)  # where nothing of ours ever listens
        try:
            mark.bind(("127.0.0.1", port))
        except OSError:
            mark.close()
            continue
        with socket.socket() as probe:
            if probe.connect_ex(("127.0.0.1", port)) != 0:
                _marks.append(mark)
                return port
        mark.close()
