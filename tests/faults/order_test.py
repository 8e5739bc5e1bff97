#!/usr/bin/env python3
"""Each step that makes an image safe is taken, and before the step that relies on it; no fault is needed to see it."""

import sys
import unittest

from fault_rig import figure
from ledger import Version
from scenarios import Import, Prune, Receive
from steps import Stage

PART, INBOX = "/Import/.part/quorin-", "/Documents/Import"
COPY, BUCKET = "/.incoming/", "/Pavan Data/10000"
LOG = "/index/QuorinGateway.sqlite-wal"

IN_THE_INBOX = [("write", PART), ("fsync", PART), ("rename", PART), ("fsync", INBOX)]
MOVED = [("rename", COPY), ("fsync", BUCKET), ("pwrite64", LOG), ("fdatasync", LOG)]
COPIED = [("sendfile", COPY), ("fsync", COPY)]
OUT_OF_THE_INBOX = [("unlink", f"{INBOX}/quorin-")]


class Order(unittest.TestCase):

    def calls_of(self, scenario):
        """What the act calls: (call, path)."""
        stage = Stage(scenario)
        self.addCleanup(stage.close)
        calls = [call.split(" ", 2)[1:] for call in stage.count()]
        figure(f"{scenario.name}: {len(calls)} calls looked at")
        return calls

    def assert_in_order(self, calls, steps):
        at = 0
        for name, place in steps:
            found = next((number for number in range(at, len(calls)) if is_step(calls[number], name, place)), None)
            if found is None:
                self.fail(f"no {name} of {place} behind {calls[at - 1] if at else 'the start'}")
            at = found + 1

    def assert_written_before_synced(self, calls, place):
        """Nothing is written between the sync of such a file and its renaming."""
        unsynced = False
        for call in calls:
            if is_step(call, "write", place) or is_step(call, "sendfile", place):
                unsynced = True
            elif is_step(call, "fsync", place):
                unsynced = False
            elif is_step(call, "rename", place):
                self.assertFalse(unsynced, f"{call} before it is synced")

    def test_receive(self):
        calls = self.calls_of(ReceiveOne())
        self.assert_in_order(calls, [*IN_THE_INBOX, *MOVED, *OUT_OF_THE_INBOX])
        self.assert_written_before_synced(calls, PART)

    def test_import(self):
        calls = self.calls_of(ImportOne())
        self.assert_in_order(calls, [*COPIED, *MOVED])
        self.assert_written_before_synced(calls, COPY)

    def test_prune(self):
        calls = self.calls_of(Prune())
        removal = next(number for number, call in enumerate(calls) if is_step(call, "unlink", f"{BUCKET}/"))
        noted = [name for name, path in calls[:removal] if path.endswith(LOG) and name in ("pwrite64", "fdatasync")]
        self.assertEqual(noted[-1:], ["fdatasync"], "a file went before it was safe that its rows are gone")
        self.assert_in_order(calls[removal:], [("fsync", BUCKET), ("pwrite64", LOG)])


class ReceiveOne(Receive):
    def __init__(self):
        super().__init__()
        self.versions = [Version(1)]


class ImportOne(Import):
    def __init__(self):
        super().__init__()
        self.versions = [Version(1)]


def is_step(call, name, place):
    """A folder or a file that is named whole, or the beginning of a name."""
    path = call[1]
    at = path.find(place)
    return call[0].startswith(name) and at >= 0 and (place[-1] in "-/" or at + len(place) == len(path))


if __name__ == "__main__":
    sys.stdout.reconfigure(line_buffering=True)
    unittest.main(verbosity=2)
