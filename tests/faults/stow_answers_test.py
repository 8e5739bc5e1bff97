#!/usr/bin/env python3
"""Whatever an archive answers to an upload, nothing counts as sent that it doesn't keep, and all arrives in the end.

Each case is played twice: the gateway hears the answer out, or is killed before it can record the result.
"""

import itertools
import json
import random
import sys
import time
import unittest

import invariants
from fault_rig import SETTLING, FaultRig, Sweep, rig, seed, share
from ledger import Ledger, Version
from scripted_archive import Archive, Script, referenced
from steps import telling

SAMPLE = 10
STATUSES = (200, 202, 400, 401, 403, 404, 409, 413, 429, 500, 502, 503, 507)
REDIRECTS = (301, 302, 303, 307, 308)
JSON, XML, HTML = "application/dicom+json", "application/dicom+xml", "text/html"
STRANGER = "1.2.3.4.5.6"


def xml_of(answer):
    """The same in the XML of PS3.19, A.1."""
    item = answer["00081199"]["Value"][0]
    attributes = "".join(f'<DicomAttribute tag="{tag}" vr="{each["vr"]}"><Value number="1">{each["Value"][0]}</Value>'
                         "</DicomAttribute>" for tag, each in item.items())
    return (f'<NativeDicomModel><DicomAttribute tag="00081199" vr="SQ"><Item number="1">{attributes}</Item>'
            "</DicomAttribute></NativeDicomModel>").encode()


def bodies(version):
    """Kind of body -> content type and content. Those that begin with "proof" name the very instance."""
    own = (version.study, f"{version.study}.0", version.instance)
    right = json.dumps(referenced(own)).encode()
    failed = json.dumps({"00081198": referenced(own)["00081199"]}).encode()
    nobody = json.dumps({"00081199": {"vr": "SQ", "Value": [{}]}}).encode()
    return {
        "proof in JSON": (JSON, right),
        "proof in XML": (XML, xml_of(referenced(own))),
        "nothing": ("", b""),
        "a web page": (HTML, b"<html><body>Welcome, " + version.instance.encode() + b"</body></html>"),
        "half of a JSON": (JSON, right[:len(right) // 2]),
        "half of an XML": (XML, xml_of(referenced(own))[:150]),
        "a stranger": (JSON, json.dumps(referenced((*own[:2], STRANGER))).encode()),
        "a stranger in XML": (XML, xml_of(referenced((*own[:2], STRANGER)))),
        "another study": (JSON, json.dumps(referenced((STRANGER, *own[1:]))).encode()),
        "nobody": (JSON, nobody),
        "its failure": (JSON, failed),
        "a huge page": (HTML, b" " * (8 << 20)),
    }


def cases():
    """How each is called, and a function that makes its script for a version and another origin."""
    def plain(status, name, keeps):
        return lambda version, _: Script(status, *bodies(version)[name], keeps=keeps or is_proof(status, name))

    for status, name in itertools.product(STATUSES, bodies(Version(0))):
        for keeps in (False, True):
            if keeps or not is_proof(status, name):  # who says plainly what isn't so can't be found out
                yield f"{status} with {name}, {'kept' if keeps else 'not kept'}", plain(status, name, keeps)
    for status in REDIRECTS:
        yield f"{status} elsewhere", lambda _, other, status=status: Script(
            status, HTML, b"moved", keeps=False, headers=[("Location", f"{other}/studies")])
    for keeps, cut in itertools.product((False, True), ("before", "answer", "body")):
        if not (keeps and cut == "before"):
            yield f"cut: {cut}, {'kept' if keeps else 'not kept'}", lambda version, _, keeps=keeps, cut=cut: Script(
                200, *bodies(version)["proof in JSON"], keeps=keeps, cut=cut)
    yield "slow", lambda version, _: Script(200, *bodies(version)["proof in JSON"], slow=True)


def is_proof(status, name):
    return status in (200, 202, 400, 409) and name.startswith("proof")


class ArchiveRig(FaultRig):
    """A gateway before such an archive."""

    def __init__(self):
        super().__init__()
        self.archive, self.elsewhere = Archive(), Archive()

    @property
    def address(self):
        return self.archive.address

    def gateway_arguments(self):
        return [*super().gateway_arguments(), "--cloud-kind", "dicomweb"]

    def start_cloud(self):
        """It runs already, and outlives each kill."""

    def restart(self):
        self.gateway.kill()
        self.start_gateway()

    def state_of(self, version):
        return [state for state, in self.asked("SELECT syncState FROM DicomImage WHERE originalSOPInstanceUID = ?",
                                               version.instance)]

    def close(self, failed):
        super().close(failed)
        self.archive.close()
        self.elsewhere.close()


class StowAnswers(unittest.TestCase):

    def setUp(self):
        self.failed, self.machine = True, None
        self.addCleanup(lambda: self.machine.close(self.failed))
        self.begin()

    def begin(self):
        """A gateway for which nothing waits any more."""
        if self.machine:
            self.machine.close(True)
        self.machine, self.ledger = ArchiveRig(), Ledger()
        self.machine.set_up()

    def test_heard(self):
        self.play_all(self.hear)

    def test_killed(self):
        self.play_all(self.kill)

    def play_all(self, end):
        known = list(enumerate(cases(), 1))
        chosen = share(known, SAMPLE, random.Random(SEED))
        sweep = Sweep(f"{self._testMethodName[5:]}, answers to an upload")
        sweep.play(chosen, lambda each: self.answered(*each, end), self.begin)
        invariants.check(self.machine, self.ledger, self.machine.archive.datasets())
        self.assertEqual(self.machine.elsewhere.credentials, 0, "the session left its origin")
        sweep.end(len(chosen))
        self.failed = False

    def answered(self, number, case, end):
        name, script_of = case
        version = Version(1, study=number)
        with telling(name):
            self.play(version, script_of(version, self.machine.elsewhere.address), end)
            self.assertEqual(self.machine.elsewhere.credentials, 0, "the session left its origin")
        return True

    def play(self, version, script, end):
        self.machine.archive.script = script
        self.assertTrue(self.ledger.send(self.machine.port, rig.TITLE, [version]))
        if not script.was_played.wait(SETTLING):
            raise AssertionError(f"nothing was sent: {self.machine.unsettled(self.ledger)}")
        end(version)
        self.check_claims()
        limit = time.monotonic() + SETTLING
        while not self.machine.is_settled(self.ledger):
            if time.monotonic() > limit:
                raise AssertionError(f"never sent: {self.machine.unsettled(self.ledger)}")
            if self.machine.status()["session"]["state"] == "credentialsRefused":
                self.machine.sign_in()
            self.machine.command("upload")
        self.check_claims()

    def hear(self, version):
        rig.await_that("the result", lambda: self.machine.state_of(version) != [3])

    def kill(self, _):
        self.machine.restart()

    def check_claims(self):
        """Nothing counts as sent that the archive doesn't keep."""
        claimed = {instance for instance, in self.machine.asked(
            "SELECT originalSOPInstanceUID FROM DicomImage WHERE syncState = 1")}
        self.assertEqual(claimed - set(self.machine.archive.kept), set(), "called sent, and not kept")


if __name__ == "__main__":
    sys.stdout.reconfigure(line_buffering=True)
    SEED = seed()
    unittest.main(verbosity=2)
