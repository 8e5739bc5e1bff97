"""What the retention policy lets go of leaves index and disk; everything else stays, however old it is."""

import json
import sqlite3
import unittest

from harness import EndToEndTest, Gateway, identity_of, send

DAY_MS = 24 * 3600 * 1000


class Retention(EndToEndTest):

    def setUp(self):
        super().setUp()
        self.cloud = self.start_cloud()
        self.gateway = self.start_gateway(self.cloud.address)
        self.gateway.sign_in()

    def upload(self, files):
        send(self.gateway, files)
        self.gateway.await_synced(files)

    def stored(self):
        """The files in the file store."""
        return {str(file.relative_to(self.gateway.home / "Documents/Pavan Data"))
                for file in (self.gateway.home / "Documents/Pavan Data").rglob("*.dcm")}

    def rows(self, sql, *values):
        """Asks or changes the index of a gateway that isn't running."""
        with sqlite3.connect(self.gateway.home / "index/QuorinGateway.sqlite") as index:
            return index.execute(sql, values).fetchall()

    def restart(self, *, after):
        """Ends the gateway, lets time pass in its index, and starts it again with its settings."""
        port = self.gateway.port
        self.gateway.end()
        after()
        self.gateway = Gateway(self.folder, self.cloud.address)
        self.addCleanup(self.gateway.end)
        self.gateway.port = port

    def cleanups(self):
        """The details of all cleanups that the log tells of."""
        events = []
        for file in sorted((self.gateway.home / "Application Support/QuorinGateway/Logs").glob("*.jsonl")):
            for line in file.read_text(encoding="utf-8").splitlines():
                event = json.loads(line)
                if event["action"] == "local_retention_cleanup_completed":
                    events.append(event)
        return events

    def age(self, uids, days):
        """Lets the images, and their uploads, have happened so many days earlier."""
        for uid in uids:
            self.rows("UPDATE DicomImage SET uploadDate = uploadDate - ?, createDate = createDate - ? "
                      "WHERE originalSOPInstanceUID = ?", days * DAY_MS, days * DAY_MS, uid)

    def test_uploaded_images_go_when_their_time_is_up_and_no_others(self):
        # Given
        old, young, waiting = (self.samples(seed=seed, ct=3) for seed in (1, 2, 3))
        self.upload(old + young)
        self.gateway.command("sign-out")
        send(self.gateway, waiting)
        self.gateway.await_received(old + young + waiting)
        self.gateway.command("settings", "set", "GatewayAutoDelete", "30-days")
        uids = {identity_of(file)[2] for file in old}
        paths = {}

        def time_passes():
            paths["old"] = {row[0] for uid in uids for row in self.rows(
                "SELECT pathString FROM DicomImage WHERE originalSOPInstanceUID = ?", uid)}
            paths["all"] = self.stored()
            self.age(uids, days=31)
            self.age((identity_of(file)[2] for file in young), days=29)
            self.age((identity_of(file)[2] for file in waiting), days=400)

        # When
        self.restart(after=time_passes)
        status = self.gateway.await_received(young + waiting)

        # Then
        self.assertEqual(len(paths["old"]), len(old))
        self.assertEqual(self.stored(), paths["all"] - paths["old"])
        self.assertEqual((status["counters"]["synced"], status["counters"]["notSynced"]), (len(young), len(waiting)))
        details = self.cleanups()[0]["details"]
        self.assertEqual((details["trigger"], details["eligible_images"], details["deleted_images"],
                          details["deleted_files"], details["failed_images"]), ("app_launch", "3", "3", "3", "0"))
        self.assertTrue(uids <= set(self.cloud.instances()))

    def test_an_upload_asks_for_a_cleanup_with_the_run_that_it_belongs_to(self):
        # Given
        self.gateway.command("settings", "set", "GatewayAutoDelete", "6-months")

        # When
        self.upload(self.samples(ct=2))
        self.gateway.await_status("a cleanup", lambda _: self.cleanups())

        # Then
        event = self.cleanups()[0]
        self.assertEqual((event["details"]["trigger"], event["details"]["deleted_images"]), ("upload_success", "0"))
        self.assertTrue(event["correlationId"])

    def test_without_a_policy_everything_stays(self):
        # Given
        sent = self.samples(ct=2)
        self.upload(sent)

        # When
        self.restart(after=lambda: self.age((identity_of(file)[2] for file in sent), days=4000))
        self.gateway.command("upload")

        # Then
        self.gateway.await_received(sent)
        self.assertEqual(len(self.stored()), len(sent))
        self.assertEqual(self.cleanups(), [])

    def test_an_image_that_is_sent_again_after_it_went_is_taken_and_uploaded_anew(self):
        # Given
        sent = self.samples(ct=2)
        self.upload(sent)
        self.gateway.command("settings", "set", "GatewayAutoDelete", "1-months")
        self.restart(after=lambda: self.age((identity_of(file)[2] for file in sent), days=32))
        self.gateway.await_received([])
        self.gateway.sign_in()

        # When
        self.upload(sent)

        # Then
        self.assertEqual(len(self.stored()), len(sent))
        self.assertEqual(set(self.cloud.instances()), {identity_of(file)[2] for file in sent})


if __name__ == "__main__":
    unittest.main()
