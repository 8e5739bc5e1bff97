#!/usr/bin/env python3
"""A disk loses or alters some of what is stored: before an upload it is never sent as if it were whole, it is told, and never let
go of; and an image that is in the cloud already stays what it was there.
"""

import random
import sys
import unittest

from fault_rig import FaultRig, figure, is_long, rig, seed  # first: it says where the others are
import invariants
from ledger import Ledger, Version
from scenarios import OLD

QUICK = 6  # of the harms
EXTRA = 20_000  # bytes beyond a small image
TOLD = {"fileChanged", "fileOfAnotherImage"}


def zeroed(content, at, length):
    return content[:at] + bytes(len(content[at:at + length])) + content[at + length:]


def flipped(content, at):
    return content[:at] + bytes((content[at] ^ 0x10,)) + content[at + 1:]


def harms():
    """How it is called, and what is left of the content. Each concerns the dataset; a header can be made anew from that."""
    yield "all zeros", lambda content, _: bytes(len(content))
    yield "empty", lambda content, _: b""
    yield "a preamble", lambda content, _: content[:132]
    for part in (4, 2, 1):
        yield f"cut, 1/{part} is gone", lambda content, _, part=part: content[:len(content) - (len(content) - 800) // part]
    yield "cut by a byte", lambda content, _: content[:-1]
    yield "cut by two", lambda content, _: content[:-2]
    yield "more behind", lambda content, _: content + b"\1" * 500
    yield "zeros behind", lambda content, _: content + bytes(4096)
    yield "its last block zeroed", lambda content, _: zeroed(content, (len(content) - 1) // 4096 * 4096, 4096)
    yield "a block zeroed", lambda content, _: zeroed(content, 8192, 4096)
    for name, low in (("identity", 360), ("extra", 3000), ("pixels", -2000)):
        yield f"a bit flipped: {name}", lambda content, chance, low=low: flipped(
            content, (low if low > 0 else len(content) + low) + chance.randrange(100))
    yield "another image's content", lambda content, _: content.replace(b"CANARY^", b"CANARY=")


class StoredDamage(unittest.TestCase):

    def setUp(self):
        self.machine, self.ledger, self.chance = FaultRig(), Ledger(), random.Random(SEED)
        self.failed = True
        self.addCleanup(lambda: self.machine.close(self.failed))
        self.machine.set_up()
        everyone = list(harms())
        self.harms = everyone if is_long() else self.chance.sample(everyone, QUICK)
        self.versions = [Version(number, extra=EXTRA) for number in range(len(self.harms))]

    def receive(self, versions):
        self.assertTrue(self.ledger.send(self.machine.port, rig.TITLE, versions))
        self.assertEqual(set(self.ledger.answers), {0})
        rig.await_that("the import", lambda: not self.machine.waiting() and len(self.machine.asked(
            "SELECT 1 FROM DicomImage")) == len(self.ledger.acceptable))

    def harm(self):
        """Instance -> what was done to its stored file, which keeps its times."""
        done = {}
        for version, (name, change) in zip(self.versions, self.harms):
            [(path,)] = self.machine.asked("SELECT pathString FROM DicomImage WHERE originalSOPInstanceUID = ?", version.instance)
            file = self.machine.store / path
            content, times = file.read_bytes(), file.stat()
            file.write_bytes(change(content, self.chance))
            rig.os.utime(file, ns=(times.st_atime_ns, times.st_mtime_ns))
            self.assertTrue(file.read_bytes() != content, name)
            done[version.instance] = name
        return done

    def states(self):
        return dict(self.machine.asked("SELECT originalSOPInstanceUID, syncState FROM DicomImage"))

    def check_cloud(self):
        """It has only what was received."""
        received = {body for bodies in self.ledger.acceptable.values() for body in bodies}
        strange = invariants.cloud_files(self.machine) - received
        self.assertEqual({body[:200] for body in strange}, set(), "a damaged image went up")

    def let_go_of_what_may_go(self):
        """As if forty days had passed, and a start that clears up."""
        self.machine.set("GatewayAutoDelete", "30-days")
        self.machine.stop()
        self.machine.change("UPDATE DicomImage SET uploadDate = uploadDate - ?1, createDate = createDate - ?1", OLD)
        self.machine.start_cloud()
        self.machine.start_gateway()
        late = Version(10_000)  # shows that the gateway works as ever
        self.assertTrue(self.ledger.send(self.machine.port, rig.TITLE, [late]))
        rig.await_that("an image that came later", lambda: self.states().get(late.instance) == 1)

    def before_upload(self, compress):
        self.machine.set("quorinCloudCompressToLS", compress)
        self.machine.command("sign-out")
        whole = Version(9999, extra=EXTRA)
        self.receive([*self.versions, whole])
        done = self.harm()

        self.machine.sign_in()
        rig.await_that("the upload of the whole one", lambda: self.states()[whole.instance] == 1)
        rig.await_that("an end of each other", lambda: not self.machine.asked(
            "SELECT 1 FROM DicomImage WHERE syncState IS NOT 1 AND pathString NOT IN (SELECT pathString FROM UploadFailure)"))
        self.check_told(done)
        if compress == "false":
            self.check_cloud()
        self.let_go_of_what_may_go()
        rig.await_that("the cleanup", lambda: whole.instance not in self.states())
        self.assertLessEqual(set(done), set(self.states()), "a damaged image that nobody else has was let go of")

        # When: the device sends them again
        self.assertTrue(self.ledger.send(self.machine.port, rig.TITLE, self.versions))
        self.ledger.pruned = {whole.instance}
        self.machine.await_settled(self.ledger)
        # The damaged copies go once their successors are in the cloud; until then their files are what nobody sent.
        rig.await_that("the end of the damaged copies", lambda: not invariants.known(self.machine)[1])
        if compress == "false":
            invariants.check(self.machine, self.ledger)
        figure(f"{len(done)} harms to stored files before their upload, each told and kept")
        self.failed = False

    def check_told(self, done):
        states = self.states()
        for instance, name in done.items():
            kinds = {kind for kind, in self.machine.asked(
                "SELECT failureClass FROM UploadFailure JOIN DicomImage USING (pathString) WHERE originalSOPInstanceUID = ?", instance)}
            self.assertNotEqual(states[instance], 1, f"{name}: called sent")
            self.assertTrue(kinds and kinds <= TOLD, f"{name}: told as {kinds}")
        told = self.machine.command("status").stdout + self.machine.command("doctor").stdout
        self.assertIn("The stored file of the image is damaged", told)

    def test_before_upload(self):
        self.before_upload("false")

    def test_before_conversion(self):
        self.before_upload("true")

    def test_before_pruning(self):
        """What was whole when it went up is in the cloud, whatever becomes of its file here."""
        self.receive(self.versions)
        self.machine.await_settled(self.ledger)
        done = self.harm()

        self.machine.command("upload")
        self.check_cloud()
        self.let_go_of_what_may_go()
        rig.await_that("the cleanup", lambda: not set(done) & set(self.states()))
        there = invariants.cloud_files(self.machine)
        lost = {name for instance, name in done.items() if not there.intersection(self.ledger.acceptable[instance])}
        self.assertEqual(lost, set())
        figure(f"{len(done)} harms to stored files after their upload: each was in the cloud as received when it was let go of")
        self.failed = False


if __name__ == "__main__":
    sys.stdout.reconfigure(line_buffering=True)
    SEED = seed()
    unittest.main(verbosity=2)
