"""Whatever the cloud does, nothing counts as uploaded that it doesn't hold, and all arrives at a later run."""

import unittest

from harness import EndToEndTest, identity_of, send

STORE = {"path": "/dicom-web/studies", "method": "POST"}


class Faults(EndToEndTest):

    def setUp(self):
        super().setUp()
        self.cloud = self.start_cloud()
        self.gateway = self.start_gateway(self.cloud.address)
        self.gateway.sign_in()
        self.sent = self.samples(ct=4)
        self.uids = {identity_of(file)[2] for file in self.sent}

    def send_and_upload(self, failures):
        """Sends the samples; returns the status once all were tried and so many of them failed."""
        send(self.gateway, self.sent)
        self.gateway.await_received(self.sent)
        # Runs may have ended early, before the last of them was tried; what is asked for tries those first.
        self.gateway.await_status("the first run", lambda s: (s["upload"]["lastRun"] or {}).get("selectedCandidates"))
        self.gateway.command("upload")
        return self.gateway.await_status(
            f"{failures} failures", lambda s: not s["upload"]["running"]
            and s["counters"]["notSynced"] == s["counters"]["failed"] == failures)

    def assert_all_arrives_with_the_next_upload(self):
        self.gateway.command("upload")
        self.gateway.await_synced(self.sent)
        self.assertEqual(set(self.cloud.instances()), self.uids)

    def test_a_cloud_that_went_away_gets_everything_when_it_is_back(self):
        # Given
        self.cloud.end()

        # When
        send(self.gateway, self.sent)
        status = self.gateway.await_received(self.sent)
        self.gateway.command("upload")
        offline = self.gateway.await_status("offline", lambda s: not s["cloud"]["online"])

        # Then
        self.assertEqual((status["counters"]["synced"], offline["counters"]["synced"]), (0, 0))
        self.cloud.restart()
        self.gateway.await_status("online", lambda s: s["cloud"]["online"])
        self.assert_all_arrives_with_the_next_upload()

    def test_a_web_page_with_status_200_proves_nothing(self):
        # Given
        self.cloud.steer("faults", **STORE, count=None, status=200, contentType="text/html",
                         body="<html>Welcome to the hotel</html>")

        # When
        status = self.send_and_upload(failures=len(self.sent))

        # Then
        self.assertEqual(status["counters"]["synced"], 0)
        self.assertEqual(self.cloud.instances(), {})
        self.cloud.steer("faults/clear")
        self.assert_all_arrives_with_the_next_upload()

    def test_one_refused_instance_of_several_stays_alone(self):
        # Given
        refused = identity_of(self.sent[1])[2]
        self.cloud.steer("refuse-instances", sopInstanceUIDs=[refused], count=None)

        # When
        status = self.send_and_upload(failures=1)

        # Then
        self.assertEqual(status["counters"]["synced"], len(self.sent) - 1)
        self.assertEqual(set(self.cloud.instances()), self.uids - {refused})
        self.cloud.steer("faults/clear")
        self.assert_all_arrives_with_the_next_upload()

    def test_a_connection_cut_after_the_storing_loses_and_invents_nothing(self):
        # Given
        self.cloud.steer("faults", **STORE, count=None, cutBeforeAnswer=True)

        # When
        status = self.send_and_upload(failures=len(self.sent))

        # Then: stored, but nobody was told so
        self.assertEqual(status["counters"]["synced"], 0)
        self.assertEqual(set(self.cloud.instances()), self.uids)
        self.cloud.steer("faults/clear")
        self.assert_all_arrives_with_the_next_upload()


if __name__ == "__main__":
    unittest.main(verbosity=2)
