"""What a gateway without a display tells of versions: one line, a banner, and events in its log."""

import unittest

from harness import EndToEndTest, await_true

CRITICAL_LINE = ("Critical Update Available: A critical Quorin Gateway update is available. "
                 "Installing the update now is strongly recommended.")
CRITICAL_BANNER = "Critical update available. Install update now."


class VersionPolicy(EndToEndTest):

    def events(self, gateway):
        """The messages of the updater's events, oldest first."""
        told = gateway.command("logs", "--search", "version_policy").stdout
        return told

    def test_a_version_that_may_not_stay_in_use_is_told_once_for_six_hours(self):
        # Given
        cloud = self.start_cloud()
        cloud.steer("versions", minimumVersion="99.0", latestVersion="99.1", minimumOs="")

        # When
        gateway = self.start_gateway(cloud.address)

        # Then
        await_true("the line", lambda: CRITICAL_LINE in gateway.said(), gateway.process)
        gateway.await_status("the banner", lambda s: s["banner"] == CRITICAL_BANNER)
        told = self.events(gateway)
        for action in ("version_policy_check_started", "version_policy_check_succeeded",
                       "version_policy_critical_update_detected"):
            self.assertIn(action, told)

        # When it starts again, the banner comes back and the line doesn't
        gateway.end()
        again = self.start_again(gateway, cloud)

        # Then
        again.await_status("the banner", lambda s: s["banner"] == CRITICAL_BANNER)
        self.assertNotIn("Critical Update Available", again.said())

    def start_again(self, gateway, cloud):
        again = type(gateway)(self.folder, cloud.address)
        self.addCleanup(again.end)
        return again

    def test_a_newer_version_is_told_by_the_banner_alone(self):
        # Given
        cloud = self.start_cloud()
        cloud.steer("versions", minimumVersion="0.0.1", latestVersion="99.1", minimumOs="")

        # When
        gateway = self.start_gateway(cloud.address)

        # Then
        gateway.await_status("the banner", lambda s: s["banner"] == "A new Quorin Gateway version is available. "
                             "Updates install automatically on quit.")
        self.assertNotIn("Update", gateway.said())


if __name__ == "__main__":
    unittest.main()
