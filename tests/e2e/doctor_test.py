"""What is wrong with the kept images is told in a sentence, and mended without removing any."""

import json
import shutil
import signal
import socket
import sqlite3
import subprocess
import unittest

from harness import PROGRAMS, EndToEndTest, Gateway, await_true, environment, identity_of, send, value_of

NO_ROOM = "The cloud's storage allowance is used up. Images are kept here and sent when there is room."


def takes(one, port):
    """Binds the socket; not while an ended listener still has the port."""
    try:
        one.bind(("127.0.0.1", port))
    except OSError:
        return False
    return True


class Doctor(EndToEndTest):

    def setUp(self):
        super().setUp()
        self.cloud = self.start_cloud()
        self.gateway = self.start_gateway(self.cloud.address)

    def doctor(self, *options):
        """Exit code and report; nothing in it may name a patient."""
        ended = self.gateway.command("doctor", "--json", *options, check=False)
        self.assertEqual(ended.stderr, "")
        return ended.returncode, json.loads(ended.stdout)

    def counts(self, *options):
        """Exit code, and kind -> (found, mended)."""
        code, report = self.doctor(*options)
        return code, {finding["kind"]: (finding["count"], finding["mended"]) for finding in report["findings"]}

    def receive(self, files):
        send(self.gateway, files)
        self.gateway.await_received(files)

    def store(self):
        return self.gateway.home / "Documents" / "Pavan Data"

    def index(self):
        return self.gateway.home / "index" / "QuorinGateway.sqlite"

    def sql(self, statement, *values):
        with sqlite3.connect(self.index(), timeout=30) as database:
            return database.execute(statement, values).fetchall()

    def stored(self, file):
        """Where the store keeps an image."""
        (path,), = self.sql("SELECT DISTINCT pathString FROM DicomImage WHERE originalSOPInstanceUID = ?",
                            identity_of(file)[2])
        return self.store() / path

    def start_again(self):
        self.gateway = Gateway(self.folder, self.cloud.address)
        self.addCleanup(self.gateway.end)

    def test_what_the_kernel_gives_to_confine_helpers_is_told(self):
        _, report = self.doctor()
        self.assertEqual(sorted(report["confinement"]), ["files", "sentence", "systemCalls"])
        self.assertTrue(report["confinement"]["systemCalls"])

    def test_images_that_wait_while_nobody_has_signed_in_yet_are_no_health(self):
        # Given
        images = self.samples(ct=2)
        self.assertEqual(self.counts(), (0, {}))

        # When
        self.receive(images)
        status = self.gateway.await_status("a pause", lambda s: s["waiting"]["pausedBy"])

        # Then
        self.assertEqual(self.counts(), (1, {"noSession": (2, 0)}))
        self.assertEqual(status["waiting"]["pausedBy"], "notSignedIn")
        told = self.gateway.command("doctor", check=False).stdout + self.gateway.command("status").stdout
        self.assertIn("obody is signed in to the cloud", told)
        self.assertNotIn("has ended", told)
        self.assertNotIn("All is well", told)
        self.gateway.sign_in()
        self.gateway.await_synced(images)
        self.assertEqual(self.counts(), (0, {}))

    def test_a_listener_that_should_listen_and_does_not_is_no_health(self):
        # Given
        port = self.gateway.port
        self.gateway.end()
        with socket.socket() as other:
            other.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
            await_true("the port that the listener had", lambda: takes(other, port))
            other.listen()

            # When
            self.start_again()
            self.gateway.await_status("its failure", lambda s: s["listener"]["state"] == "failed")

            # Then
            self.assertEqual(self.counts(), (1, {"listenerNotListening": (1, 0)}))
            self.assertNotIn("All is well", self.gateway.command("doctor", check=False).stdout)

        # And: one that is switched off is as it should be
        self.gateway.command("settings", "set", "ListenerSettings.isEnabled", "false")
        self.gateway.await_status("a stopped one", lambda s: s["listener"]["state"] == "stopped")
        self.assertEqual(self.counts(), (0, {}))

    def test_a_used_up_allowance_is_told_in_a_sentence_until_there_is_room(self):
        # Given
        self.gateway.sign_in()
        self.cloud.steer("allowance", allowanceKb=1)
        images = self.samples(ct=2)

        # When
        self.receive(images)
        status = self.gateway.await_status("a pause", lambda s: s["waiting"]["pausedBy"] == "storageUsedUp"
                                           and not s["upload"]["running"])

        # Then: the first that is refused stands for those behind it, which are not tried
        self.assertEqual(status["counters"]["notSynced"], 2)
        self.assertIn(NO_ROOM, status["waiting"]["pausedFor"])
        self.assertEqual([failure["class"] for failure in status["failures"]], ["storageUsedUp"])
        refused = status["failures"][0]["count"]
        self.assertIn(NO_ROOM, self.gateway.command("status").stdout)
        told = self.gateway.command("doctor", check=False)
        self.assertEqual(told.returncode, 1)
        self.assertIn(f"{refused} not sent: {NO_ROOM}", told.stdout)
        for image in images:
            self.assertNotIn(value_of(image, "0010,0010"), told.stdout)
            self.assertNotIn(identity_of(image)[2], told.stdout)
        self.cloud.steer("allowance", allowanceKb=1_000_000)
        self.gateway.command("upload")
        self.assertEqual(self.gateway.await_synced(images)["failures"], [])
        self.assertEqual(self.doctor()[0], 0)

    def test_a_damaged_home_is_mended_without_an_instance_and_everything_arrives(self):
        # Given: the file of one image is gone, one lies there without rows, and counts are wrong
        images = self.samples(ct=3)
        stranger = self.samples(seed=2, ct=1)[0]
        self.receive(images)
        self.gateway.end()
        lost = self.stored(images[0])
        shutil.move(lost, self.folder / "backup.dcm")
        # Under a number that the index has given: behind that it would be a store newer than the index.
        shutil.copy(stranger, self.store() / "10000" / "1.stray")
        self.sql("UPDATE Ledger SET imageCount = 99")

        # When
        found = self.counts()
        mended = self.counts("--repair")

        # Then
        self.assertEqual(found, (1, {"wrongCount": (1, 0), "unrecordedImage": (1, 0), "fileGone": (1, 0)}))
        self.assertEqual(mended, (1, {"wrongCount": (1, 1), "unrecordedImage": (1, 1), "fileGone": (1, 0)}))
        shutil.move(self.folder / "backup.dcm", lost)
        self.assertEqual(self.counts("--repair")[1], {})
        self.start_again()
        self.gateway.sign_in()
        self.gateway.await_synced([*images, stranger])
        self.assertEqual(set(self.cloud.instances()), {identity_of(file)[2] for file in [*images, stranger]})
        self.assertEqual(self.counts(), (0, {}))

    def test_a_running_gateway_records_a_stray_image_and_sends_it(self):
        # Given
        self.gateway.sign_in()
        stranger = self.samples(ct=1)[0]
        (self.store() / "10000").mkdir(exist_ok=True)
        shutil.copy(stranger, self.store() / "10000" / "777.dcm")

        # When
        code, counts = self.counts("--repair")

        # Then
        self.assertEqual((code, counts), (0, {"unrecordedImage": (1, 1)}))
        self.gateway.await_synced([stranger])
        self.assertTrue((self.store() / "10000" / "777.dcm").exists())

    def test_images_that_are_just_coming_in_are_no_fault(self):
        # Given
        self.gateway.sign_in()
        images = self.samples(ct=300)

        # When
        sender = subprocess.Popen(["dcmsend", "--decompress-never", "-aec", "QUORIN", "127.0.0.1",
                                   str(self.gateway.port), *map(str, images)], env=environment())
        self.addCleanup(sender.wait)
        examinations = 0
        while sender.poll() is None or self.gateway.status()["counters"]["images"] < len(images):
            counts = self.counts("--repair")[1]
            counts.pop("waitsInInbox", None)
            self.assertEqual(counts, {})
            examinations += 1

        # Then
        self.assertEqual(sender.returncode, 0)
        self.assertGreater(examinations, 0)
        self.assertEqual(self.counts(), (0, {}))

    def test_a_lost_index_is_built_anew_from_the_stored_files_also_after_a_kill(self):
        # Given
        images = self.samples(ct=40)
        self.receive(images)
        self.gateway.end()
        kept = {path: path.read_bytes() for path in self.store().rglob("*.dcm")}
        for file in self.index().parent.glob("QuorinGateway.sqlite*"):
            file.unlink()

        # When
        mending = subprocess.Popen([PROGRAMS / "quorin-gateway", "--home", self.gateway.home, "doctor", "--repair"],
                                   stdout=subprocess.DEVNULL, env=environment())
        await_true("the first rows", lambda: self.rows() > 0 or mending.poll() is not None)
        mending.send_signal(signal.SIGKILL)
        mending.wait()
        code, _ = self.counts("--repair")

        # Then
        self.assertEqual(code, 0)
        self.assertEqual(self.rows(), len(images))
        self.assertEqual({path: path.read_bytes() for path in self.store().rglob("*.dcm")}, kept)
        self.start_again()
        self.gateway.sign_in()
        self.gateway.await_synced(images)

    def rows(self):
        try:
            return self.sql("SELECT count(*) FROM DicomImage")[0][0]
        except sqlite3.Error:
            return 0  # not made yet


if __name__ == "__main__":
    unittest.main(verbosity=2)
