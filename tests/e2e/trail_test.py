"""Any line of the log that tells of an image leads to its whole life, from its association to its removal."""

import json
import sqlite3
import unittest

from harness import EndToEndTest, Gateway, identity_of, send

LIFE = ["association_started", "file_received_callback", "import_attempted", "import_succeeded",
        "incoming_file_deleted", "upload_candidate_selected", "upload_attempt_started", "upload_attempt_succeeded",
        "upload_result_recorded", "incoming_file_deleted"]
MONTH_MS = 31 * 24 * 3600 * 1000


class Trail(EndToEndTest):

    def setUp(self):
        super().setUp()
        self.cloud = self.start_cloud()
        self.gateway = self.start_gateway(self.cloud.address)
        self.gateway.sign_in()

    def life(self, image):
        """The events of a life, oldest first."""
        printed = self.gateway.command("logs", "--image", image, "--json").stdout
        return [json.loads(line) for line in printed.splitlines()]

    def events(self, action):
        printed = self.gateway.command("logs", "--search", action, "--json").stdout
        return [event for event in map(json.loads, printed.splitlines()) if event["action"] == action]

    def let_go(self, files):
        """Lets a month pass over the gateway, which then starts anew and lets its uploaded images go."""
        self.gateway.command("settings", "set", "GatewayAutoDelete", "30-days")
        self.gateway.end()
        with sqlite3.connect(self.gateway.home / "index/QuorinGateway.sqlite") as index:
            index.execute("UPDATE DicomImage SET uploadDate = uploadDate - ?, createDate = createDate - ?",
                          (MONTH_MS, MONTH_MS))
        self.gateway = Gateway(self.folder, self.cloud.address)
        self.addCleanup(self.gateway.end)
        self.gateway.await_received(files)

    def removed(self):
        return [event for event in self.events("incoming_file_deleted") if event["category"] == "uploadQueue"]

    def test_the_first_and_the_last_line_of_an_image_lead_to_the_same_life(self):
        # Given an image that was sent, uploaded and let go, and another one beside it
        image, other = self.samples(seed=1, ct=1), self.samples(seed=2, ct=1)
        for files, all_files in ((image, image), (other, image + other)):
            send(self.gateway, files)
            self.gateway.await_synced(all_files)
        self.let_go([])
        self.gateway.await_status("the removals in the log", lambda _: len(self.removed()) == 2)
        first = self.events("association_started")[0]

        # When
        life = self.life(first["assocHash"])

        # Then
        actions = [event["action"] for event in life]
        self.assertEqual(sorted(actions), sorted(LIFE + ["association_completed"]))
        # When the association ends, and when the inbox lets its file go, is up to other threads.
        aside = ("association_completed", "incoming_file_deleted")
        self.assertEqual([action for action in actions if action not in aside],
                         [action for action in LIFE if action not in aside])
        self.assertEqual(life[-1]["details"], {"reason": "retention"})
        for line in life:
            for key in ("fileHash", "assocHash"):
                if key in line:
                    self.assertEqual(self.life(line[key]), life, f"by the {key} of {line['action']}")
        told = self.gateway.command("logs", "--image", life[-1]["fileHash"]).stdout
        self.assertEqual(len(told.splitlines()), len(life))
        self.assertNotIn(identity_of(image[0])[2], told)
        self.assertNotIn("Pavan Data", told)

    def test_an_image_that_the_log_does_not_know_is_a_failure_with_a_sentence(self):
        unknown = self.gateway.command("logs", "--image", "0123456789abcdef", check=False)
        no_hash = self.gateway.command("logs", "--image", "1.2.840.113619", check=False)

        self.assertEqual((unknown.returncode, unknown.stdout), (1, ""))
        self.assertIn('knows no image and no association of the hash "0123456789abcdef"', unknown.stderr)
        self.assertEqual((no_hash.returncode, no_hash.stdout), (2, ""))
        self.assertIn("--image takes the 16 digits", no_hash.stderr)


if __name__ == "__main__":
    unittest.main()
