"""While the file store can't take anything in, what was acknowledged is kept, told, and taken in when it can again."""

import json
import os
import re
import shutil
import time
import unittest

from harness import EndToEndTest, Gateway, await_true, request, send

METRICS = ("--metrics", "127.0.0.1:0")
TEN_MINUTES = 600


class StoreVolume(EndToEndTest):

    def setUp(self):
        super().setUp()
        self.cloud = self.start_cloud()
        self.gateway = self.start_gateway(self.cloud.address, options=METRICS)
        self.inbox = next(self.gateway.home.rglob(".part")).parent
        self.store = self.gateway.home / "Documents/Pavan Data"

    def start_again(self, *, before):
        port = self.gateway.port
        self.gateway.end()
        before()
        self.gateway = Gateway(self.folder, self.cloud.address, options=METRICS)
        self.addCleanup(self.gateway.end)
        self.gateway.port = port
        self.await_listening()

    def await_listening(self):
        self.gateway.await_status("a listener", lambda s: s["listener"]["state"] == "listening")

    def ask(self, path):
        address = re.search(r"Metrics are served at (http://\S+)/metrics\.", self.gateway.said()).group(1)
        status, _, body = request(address + path)
        return status, body.decode()

    def examined(self):
        done = self.gateway.command("doctor", "--json", check=False)
        return done.returncode, {found["kind"] for found in json.loads(done.stdout)["findings"]}

    def waiting(self):
        return sorted(self.inbox.glob("quorin-*.dcm"))

    def test_a_volume_that_is_not_mounted_at_the_start_is_told_and_nothing_is_stored_in_its_place(self):
        # Given
        first = self.samples(ct=2)
        send(self.gateway, first)
        self.gateway.await_received(first)
        away = self.folder / "away"

        # When
        self.start_again(before=lambda: (self.store.rename(away), self.store.mkdir()))
        later = self.samples(seed=2, ct=1)
        send(self.gateway, later)

        # Then
        self.gateway.await_status("a store out of sight", lambda s: s["storage"]["outOfSight"])
        self.assertIn("The file store can't be seen at", self.gateway.said())
        self.assertIn("Store      can't be seen", self.gateway.command("status").stdout)
        self.assertIn("can't be seen", self.ask("/healthz")[1])
        self.assertIn("quorin_gateway_store_in_sight 0", self.ask("/metrics")[1])
        code, found = self.examined()
        self.assertEqual(code, 1)
        self.assertIn("storeOutOfSight", found)
        self.gateway.await_status("a waiting image", lambda s: s["inbox"]["waiting"] == 1)
        self.assertEqual(list(self.store.rglob("*")), [])

        # When
        self.store.rmdir()
        away.rename(self.store)

        # Then
        self.gateway.await_status("the store", lambda s: not s["storage"]["outOfSight"])
        self.gateway.await_received(first + later)
        self.gateway.sign_in()
        self.gateway.await_synced(first + later)
        self.assertEqual(self.waiting(), [])

    def test_a_store_that_cannot_be_written_and_the_images_that_wait_for_it_are_told(self):
        # Given
        obstacle = self.store / ".incoming"
        shutil.rmtree(obstacle, ignore_errors=True)
        obstacle.write_text("no folder")
        images = self.samples(ct=3)

        # When
        send(self.gateway, images)

        # Then
        self.gateway.await_status("three waiting images", lambda s: s["inbox"]["waiting"] == 3
                                  and s["inbox"]["longestWaitSeconds"] >= 15)
        self.assertIn("quorin_gateway_inbox_waiting_files 3", self.ask("/metrics")[1])
        code, found = self.examined()
        self.assertEqual(code, 1)
        self.assertIn("storeNotWritten", found)

        # Given: they came ten minutes ago
        for image in self.waiting():
            os.utime(image, (time.time() - TEN_MINUTES,) * 2)

        # Then
        self.assertEqual(self.examined(), (1, {"storeNotWritten", "waitsLongInInbox"}))

        # When
        obstacle.unlink()

        # Then
        self.gateway.await_received(images)
        await_true("an empty inbox", lambda: not self.waiting(), self.gateway.process)
        self.gateway.await_status("nothing that waits", lambda s: s["inbox"]["waiting"] == 0)


if __name__ == "__main__":
    unittest.main()
