"""What is known of what was sent, over kills of the gateway, in a cloud that gives nothing back."""

import json
import unittest

from harness import TITLE, Gateway, await_true
from identity_test import SERIES, STUDY, WithoutCompression
from odd_objects import Sender, dataset

STORE = {"path": "/dicom-web/studies", "method": "POST"}
RETRIEVAL = f"/dicom-web/studies/{STUDY}/series/{SERIES}/instances/"


class Evidence(WithoutCompression):

    FIRST = dataset("1.2.7.1", shade=1)

    def setUp(self):
        super().setUp()
        self.cloud.steer("faults", path=RETRIEVAL, method="GET", count=None, status=404)

    def send(self, body, instance="1.2.7.1"):
        sender = Sender(self.gateway.port, TITLE)
        sender.store(body, instance)
        sender.release()

    def start_again(self, before=lambda: None):
        port = self.gateway.port
        self.gateway.process.kill()
        self.gateway.process.wait()
        before()
        self.gateway = Gateway(self.folder, self.cloud.address)
        self.addCleanup(self.gateway.end)
        self.gateway.port = port

    def test_an_image_whose_upload_was_killed_needs_no_look_into_the_cloud(self):
        for policy in ("refuse", "ignore", "replace"):
            with self.subTest(policy=policy):
                # Given
                instance = f"1.2.7.{len(policy)}"
                self.cloud.steer("second-versions", policy=policy)
                self.cloud.steer("faults", **STORE, delayMs=600_000)
                self.send(dataset(instance), instance)
                await_true("it in the cloud", lambda: instance in self.cloud.instances(), self.gateway.process)

                # When
                self.start_again()

                # Then
                self.gateway.await_status("the uploaded image", lambda s: s["counters"]["notSynced"] == 0
                                          and s["counters"]["images"] == s["counters"]["synced"])
                self.assertEqual(self.cloud.requests("GET", RETRIEVAL), 0)


if __name__ == "__main__":
    unittest.main(verbosity=2)
