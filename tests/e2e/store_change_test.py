"""A person takes another store for that of the gateway: what was begun with the one before says nothing of its files."""

import json
import os
import signal
import unittest

from harness import TITLE, EndToEndTest, Gateway, await_true
from odd_objects import Sender, dataset, part10

ANSWER = {"path": "/dicom-web/studies", "method": "POST"}


class StoreChange(EndToEndTest):

    def setUp(self):
        super().setUp()
        self.cloud = self.start_cloud()
        self.gateway = self.start_gateway(self.cloud.address)
        self.store = self.gateway.home / "Documents/Pavan Data"
        self.inbox = next(self.gateway.home.rglob(".part")).parent

    def send_one(self, body, instance):
        sender = Sender(self.gateway.port, TITLE)
        sender.store(body, instance)
        sender.release()

    def put_another_in_its_place(self):
        """\\return its images."""
        self.store.rename(self.folder / "away")
        (self.store / "10000").mkdir(parents=True)
        (self.store / ".id").write_text("0123456789abcdef0123456789abcdef\n")
        theirs = [f"1.2.99.{number}" for number in range(3)]
        for number, instance in enumerate(theirs):
            body = dataset(instance, study="1.2.99", series="1.2.99.1", name="Other^Person")
            (self.store / f"10000/{number}.dcm").write_bytes(part10(body, instance))
        return theirs

    def found(self, *options):
        done = self.gateway.command("doctor", "--json", *options, check=False)
        return {found["kind"]: found["count"] for found in json.loads(done.stdout)["findings"]}

    def test_an_upload_that_was_under_way_does_not_count_as_one_of_the_next_store(self):
        # Given: the cloud has the first image, and its answer is on the way
        for number in range(3):
            self.send_one(dataset(f"1.2.3.{number}"), f"1.2.3.{number}")
        self.gateway.await_status("the images", lambda s: s["counters"]["images"] == 3)
        self.cloud.steer("faults", **ANSWER, delayMs=15_000)
        self.gateway.sign_in()
        await_true("the request", self.cloud.instances, self.gateway.process)
        sent = set(self.cloud.instances())
        os.kill(self.cloud.process.pid, signal.SIGSTOP)

        # When
        try:
            theirs = self.put_another_in_its_place()
            self.assertIn("anotherStore", self.found("--repair"))
            self.gateway.await_status("its images", lambda s: s["counters"]["images"] == 6)
        finally:
            os.kill(self.cloud.process.pid, signal.SIGCONT)

        # Then
        self.gateway.await_status("its uploads", lambda s: s["counters"]["synced"] == 3)
        self.assertEqual(set(self.cloud.instances()), sent | set(theirs))
        self.assertEqual(self.found(), {"rowWithoutFile": 3})

    def test_what_it_holds_is_sent_though_nothing_else_comes(self):
        # Given
        self.gateway.sign_in()
        self.send_one(dataset("1.2.3.0"), "1.2.3.0")
        self.gateway.await_status("the upload", lambda s: s["counters"]["synced"] == 1)

        # When
        theirs = self.put_another_in_its_place()
        self.gateway.command("doctor", "--repair", check=False)

        # Then
        self.gateway.await_status("its uploads", lambda s: s["counters"]["synced"] == 3)
        self.assertEqual(set(self.cloud.instances()), {"1.2.3.0", *theirs})

    def test_an_import_that_is_repeated_does_not_vouch_for_a_file_that_changed_since(self):
        # Given
        self.gateway.command("settings", "set", "quorinCloudCompressToLS", "false")
        self.send_one(dataset("1.2.3.1"), "1.2.3.1")
        self.gateway.await_status("the image", lambda s: s["counters"]["images"] == 1)
        await_true("an empty inbox", lambda: not list(self.inbox.glob("quorin-*.dcm")), self.gateway.process)
        port = self.gateway.port
        self.gateway.process.kill()
        self.gateway.process.wait()

        # When: the power cut that took the last block brings the name in the inbox back
        stored = next(self.store.rglob("*.dcm"))
        os.link(stored, self.inbox / f"quorin-{'a' * 32}-1.dcm")
        times = stored.stat()
        with open(stored, "r+b") as file:
            file.seek(-1024, os.SEEK_END)
            file.write(bytes(1024))
        os.utime(stored, ns=(times.st_atime_ns, times.st_mtime_ns))
        self.gateway = Gateway(self.folder, self.cloud.address)
        self.addCleanup(self.gateway.end)
        self.gateway.port = port
        await_true("an empty inbox", lambda: not list(self.inbox.glob("quorin-*.dcm")), self.gateway.process)
        self.gateway.sign_in()

        # Then
        self.gateway.await_status("the failure", lambda s: "fileChanged" in json.dumps(s["failures"]))
        self.assertEqual(self.cloud.instances(), {})
        self.assertTrue(stored.exists())


if __name__ == "__main__":
    unittest.main()
