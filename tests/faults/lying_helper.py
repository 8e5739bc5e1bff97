#!/usr/bin/env python3
"""Stands in for a helper: starts the true one, passes on what it and the gateway say to each other, and lies while it is told to.

Named quorin-dicom and beside a gateway of its own; QUORIN_TRUE_HELPER names the true one, QUORIN_LIES a file with the seed and how
many of a hundred records are to be lies, for each role: "7 scp=20 worker=5".
"""

import os
import pathlib
import random
import socket
import subprocess
import sys
import threading

CHANNEL = 3
LONGEST = 1 << 20
# What a worker says of the one image before it is believed where it is said in order; what the listener says is looked up in the inbox.
MANNERS = {"scp": ("drop", "twice", "garbage", "cut", "flip", "before"), "worker": ("drop", "garbage")}


def lies():
    """The seed, and role -> how many of a hundred."""
    seed, *shares = pathlib.Path(os.environ["QUORIN_LIES"]).read_text(encoding="utf-8").split()
    return int(seed), {role: int(share) for role, share in (each.split("=") for each in shares)}


def lie(record, before, role, chance):
    """What is said in its place: any number of records."""
    match chance.choice(MANNERS.get(role, ("drop",))):
        case "drop":
            return []
        case "twice":
            return [record, record]
        case "garbage":
            return [chance.randbytes(chance.randint(1, 300))]
        case "cut":
            return [record[:chance.randrange(1, len(record) + 1)]]
        case "flip":
            at = chance.randrange(len(record))
            return [record[:at] + bytes([record[at] ^ 1 << chance.randrange(8)]) + record[at + 1:]]
        case "before":
            return [chance.choice(before), record]
    return [record]


def told_with(record, path):
    with open(path, "ab", buffering=0) as file:
        file.write(b"%d\n" % len(record))


def main():
    role = sys.argv[1]
    ours, theirs = socket.socketpair(socket.AF_UNIX, socket.SOCK_SEQPACKET)
    helper = subprocess.Popen([os.environ["QUORIN_TRUE_HELPER"], *sys.argv[1:]], pass_fds=(CHANNEL,),
                              preexec_fn=lambda: os.dup2(theirs.fileno(), CHANNEL))
    theirs.close()
    gateway = socket.socket(fileno=CHANNEL)

    def pass_on_orders():
        while order := gateway.recv(LONGEST):
            ours.send(order)
        ours.shutdown(socket.SHUT_WR)

    threading.Thread(target=pass_on_orders, daemon=True).start()
    before, chance = [], random.Random(lies()[0] + os.getpid())
    try:
        while record := ours.recv(LONGEST):
            before.append(record)
            said = [record]
            if chance.randrange(100) < lies()[1].get(role, 0):
                said = lie(record, before, role, chance)
                told_with(record, os.environ["QUORIN_LIES"] + ".told")
            for each in said:
                gateway.send(each)
    except (BrokenPipeError, ConnectionResetError):
        pass  # the gateway has had enough
    gateway.close()
    ours.close()
    sys.exit(helper.wait())


if __name__ == "__main__":
    main()
