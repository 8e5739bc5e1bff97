#!/usr/bin/env python3
"""Datasets that no device should send, over the network and from a folder: each is stored, set aside or refused, soon and in
bounds, none of them takes another with it, and what was acknowledged is there afterwards, byte for byte.
"""

import collections
import hashlib
import itertools
import pathlib
import random
import sqlite3
import struct
import subprocess
import sys
import tempfile
import threading
import time
import unittest

from fault_rig import SETTLING, FaultRig, Sweep, figure, is_long, rig, seed  # first: it says where the others are
import hostile_objects
import invariants
import odd_objects
from ledger import ROOT, Ledger, Version
from steps import telling

QUICK, MUTANTS = 100, 400  # of all kinds in a quick run; mutants in a long one, where all kinds are sent
MOST_SECONDS = 10  # from the end of an object until it is stored, set aside or refused
MOST_MEMORY = 512 << 20  # of each process
FOLDER = 20  # files of one import
# What may stand at an image that isn't sent: the cloud's word on it, or ours on what nobody can name.
ITS_OWN = {"refused", "withoutIdentity", "notUnderstood", "contentDoesNotFit", "conversionFailed", "notConfirmed"}


def digest(content):
    return hashlib.sha256(content).hexdigest()


def lacks_padding_alone(body):
    """True where the pixel data ends early and all that its attributes speak of is there."""
    def number(tag):
        at = body.find(struct.pack("<HH2sH", tag >> 16, tag & 0xFFFF, b"US", 2))
        return struct.unpack_from("<H", body, at + 8)[0] if at >= 0 else 1
    at = body.rfind(struct.pack("<HH", 0x7FE0, 0x0010))
    bits = number(0x00280002) * number(0x00280010) * number(0x00280011) * number(0x00280100)
    return at >= 0 and (len(body) - at - 12) * 8 >= bits


class Memory(threading.Thread):
    """The most that any process of a session has had in memory."""

    def __init__(self, session):
        super().__init__(daemon=True)
        self._session, self._end = session, threading.Event()
        self.most = collections.Counter()  # by program

    def run(self):
        while not self._end.wait(0.05):
            for process in rig.session_members(self._session):
                try:
                    told = dict(line.split(":", 1) for line in pathlib.Path(f"/proc/{process}/status").read_text("utf-8").splitlines())
                except (FileNotFoundError, ProcessLookupError):
                    continue
                name, size = told["Name"].strip(), int(told.get("VmHWM", "0").split()[0]) << 10
                self.most[name] = max(self.most[name], size)

    def end(self):
        self._end.set()
        self.join()
        return self.most


class HostileObjects(unittest.TestCase):

    def setUp(self):
        self.machine, self.ledger, self.chance = FaultRig(), Ledger(), random.Random(SEED)
        self.failed = True
        self.addCleanup(lambda: self.machine.close(self.failed))
        self.machine.set_up()
        self.machine.set("quorinCloudCompressToLS", "true")
        self.memory = Memory(self.machine.gateway.process.pid)
        self.memory.start()
        self.numbers = itertools.count(10 ** 9 + self.chance.randrange(10 ** 8), 7919)
        self.slowest, self.counts = (0, "none"), collections.Counter()

    def chosen(self, everyone, mutants=()):
        everyone = list(everyone)
        if not is_long():
            return self.chance.sample(everyone, min(QUICK, len(everyone)))
        return [*everyone, *mutants]

    def uid(self):
        return f"{ROOT}.9.{next(self.numbers)}"

    def took(self, begun, name):
        self.slowest = max(self.slowest, (time.monotonic() - begun, name))

    def honestly(self, number):
        self.assertTrue(self.ledger.send(self.machine.port, rig.TITLE, [Version(number, shade=number)]))
        self.assertEqual(set(self.ledger.answers), {0})

    # What is there

    def aside(self):
        folder = self.machine.inbox / ".rejected"
        return [file for file in folder.glob("*") if file.is_file()] if folder.is_dir() else []

    def stored(self):
        return [file.read_bytes() for file in self.machine.store.glob("[0-9]*/*")]

    # The network

    def test_received(self):
        cases = self.chosen(hostile_objects.known(), hostile_objects.mutants(self.chance, MUTANTS))
        acknowledged = {}
        self.honestly(1)
        sweep = Sweep("hostile datasets received")
        sweep.play(cases, lambda each: self.receive(*each, acknowledged))
        self.honestly(2)
        there = {digest(odd_objects.received(file)) for file in [*self.stored(), *(file.read_bytes() for file in self.aside())]}
        self.assertEqual({name for body, name in acknowledged.items() if body not in there}, set(), "acknowledged, and lost")
        self.end("received", len(cases))
        sweep.end(len(cases) // 2)

    def receive(self, name, make, syntax, acknowledged):
        """True where it was acknowledged."""
        with telling(name):
            return self.received(name, make, syntax, acknowledged)

    def received(self, name, make, syntax, acknowledged):
        uid = self.uid()
        body, before = make(uid), len(self.aside())
        begun = time.monotonic()
        status = self.answer_to(body, uid, syntax)
        self.machine.gateway.check()
        if status != 0:
            self.counts["refused"] += 1
            return False
        acknowledged[digest(body)] = name
        rig.await_that(name, lambda: not self.machine.waiting())
        self.took(begun, name)
        self.counts["set aside" if len(self.aside()) > before else "stored"] += 1
        return True

    def answer_to(self, body, uid, syntax):
        """None where the association came to an end instead."""
        try:
            sender = odd_objects.Sender(self.machine.port, rig.TITLE, syntax)
        except AssertionError:
            return None
        try:
            status = sender.ask_to_store(body, uid)
            sender.release()
        except AssertionError:
            status = None
        sender.close()
        return status

    # A folder

    def test_imported(self):
        files = itertools.chain(
            ((name, lambda uid, make=make, syntax=syntax: odd_objects.part10(make(uid), uid, syntax))
             for name, make, syntax in [*hostile_objects.known(), *(hostile_objects.mutants(self.chance, MUTANTS) if is_long() else ())]),
            hostile_objects.headers())
        cases = self.chosen(files)
        some = batches(cases, FOLDER)
        sweep = Sweep("folders of hostile datasets imported")
        sweep.play(enumerate(some), lambda each: self.import_some(*each))
        self.honestly(1)
        self.end("imported", len(cases))
        sweep.end(len(some))

    def import_some(self, number, cases):
        """A file that isn't imported is passed over and told; none stops those behind it."""
        folder = pathlib.Path(self.machine.path(f"import-{number}"))
        folder.mkdir()
        for at, (_, make) in enumerate(cases):
            (folder / f"{at}.dcm").write_bytes(make(self.uid()))
        held = {file.name: digest(file.read_bytes()) for file in folder.iterdir()}
        begun = time.monotonic()
        ended = self.machine.command("import", "--json", str(folder))
        self.took(begun, f"{len(cases)} files from {cases[0][0]} on")
        self.machine.gateway.check()
        summary = rig.json.loads(ended.stdout)
        there = {digest(file) for file in self.stored()}
        passed = {name for name, content in held.items() if content not in there}
        told = sum(reason["files"] for reason in summary["skipped"])
        self.assertEqual((summary["importedFiles"], told), (len(held) - len(passed), len(passed)), summary)
        self.assertEqual({file.name: digest(file.read_bytes()) for file in folder.iterdir()}, held, "a source was changed")
        self.counts.update(stored=len(held) - len(passed), refused=len(passed))
        return True

    # The cloud

    def check_cloud(self):
        """What is called sent is there: as it was stored, in its JPEG-LS form, or with an instance or an end that it lacked."""
        index = self.machine.cloud_path / "archive.sqlite"
        with sqlite3.connect(f"file:{index}?mode=ro", uri=True) as cloud:
            kept = dict(cloud.execute("SELECT SOPInstanceUID, file FROM instances"))
        cloud.close()
        ways = collections.Counter()
        for instance, path in self.machine.asked("SELECT originalSOPInstanceUID, pathString FROM DicomImage WHERE syncState = 1"):
            self.assertIn(instance, kept, "called sent, and the cloud doesn't have it")
            with self.subTest(instance):
                ways[self.way(instance, (self.machine.store / path).read_bytes(), self.machine.cloud_path / "instances" / kept[instance])] += 1
        print(f"in the cloud: {dict(ways)}")

    def way(self, instance, stored, file):
        """How the cloud has what is stored here."""
        held = file.read_bytes()
        sent = odd_objects.received(held)
        if stored.endswith(sent):
            return "as it is"
        compressed = odd_objects.JPEG_LS.encode()
        if compressed in held[:-len(sent)] and compressed not in stored:
            if stored.endswith(hostile_objects.pixels()):
                self.assertTrue(decoded(file).endswith(hostile_objects.pixels()), f"{instance} has other pixels in the cloud")
            return "converted"
        given, slack = odd_objects.padded(instance), len(odd_objects.DELIMITER)  # which it may have been given, or padding
        places = [at for at in range(len(sent)) if sent.startswith(given, at)]  # one that is wrong may say the same
        is_given = any(sent[:max(0, at - 8)] in stored and sent[at + len(given):max(at + len(given), len(sent) - slack)] in stored
                       for at in places)  # any encoding's header has 8 bytes
        if sent[:len(sent) - slack] in stored or is_given:
            return "put right"
        whole = odd_objects.received(stored)
        if sent.startswith(whole) and not sent[len(whole):].strip(b"\0") and lacks_padding_alone(whole):
            return "put right"
        raise AssertionError(f"{instance} is another in the cloud: {sent[:300]!r}, {stored[-len(sent):][:300]!r}")

    # The end

    def is_done(self):
        """Each image is sent, or has a reason of its own for which it isn't."""
        return not self.machine.asked("SELECT 1 FROM DicomImage WHERE syncState IS NOT 1 AND pathString NOT IN "
                                      "(SELECT pathString FROM UploadFailure) LIMIT 1") and not self.machine.asked(
                                          "SELECT 1 FROM DicomImage WHERE syncState = 3")

    def end(self, what, count):
        """Uploads go on to their end, and all is in order."""
        self.machine.command("upload")
        limit = time.monotonic() + SETTLING * (10 if is_long() else 2)
        while not self.is_done():
            self.machine.gateway.check()
            self.machine.cloud.check()
            self.assertLess(time.monotonic(), limit, self.machine.asked("SELECT syncState, count(*) FROM DicomImage GROUP BY 1"))
            time.sleep(0.1)
        most = self.memory.end()
        failures = dict(self.machine.asked("SELECT failureClass, count(*) FROM UploadFailure GROUP BY 1"))
        sent = self.machine.asked("SELECT count(*) FROM DicomImage WHERE syncState = 1")[0][0]
        print(f"{what}: {sent} images sent; not sent: {failures}")
        figure(f"{count} hostile datasets {what}: {', '.join(f'{number} {fate}' for fate, number in sorted(self.counts.items()))}; "
               f"the slowest took {self.slowest[0]:.1f} s, the largest helper {most['quorin-dicom'] >> 20} MiB")
        self.assertLessEqual(set(failures), ITS_OWN)
        self.assertLess(self.slowest[0], MOST_SECONDS, self.slowest[1])
        self.assertLess(max(most.values()), MOST_MEMORY, most)
        self.check_cloud()
        not_sent = {instance for instance, in self.machine.asked(
            "SELECT originalSOPInstanceUID FROM DicomImage WHERE syncState IS NOT 1")}
        self.assertEqual(not_sent & set(self.ledger.acceptable), set(), "an honest sender's image wasn't sent")
        wrong = [*invariants.index(self.machine), *invariants.canaries(self.machine),
                 *(line for line in invariants.leftovers(self.machine) if "/.rejected/" not in line)]
        self.assertEqual(wrong, [])
        self.failed = False


def decoded(file):
    """The bytes of an object in JPEG-LS as the toolkit's own decoder gives them."""
    with tempfile.NamedTemporaryFile() as native:
        ended = subprocess.run(["dcmdjpls", file, native.name], capture_output=True, text=True, check=False)
        if ended.returncode != 0:
            raise AssertionError(f"the cloud's form can't be decoded: {ended.stderr}")
        return pathlib.Path(native.name).read_bytes()


def batches(everyone, size):
    return [everyone[at:at + size] for at in range(0, len(everyone), size)]


if __name__ == "__main__":
    sys.stdout.reconfigure(line_buffering=True)
    SEED = seed()
    unittest.main(verbosity=2)
