"""A gateway that finds its updates itself: from a deployment file beside the program and a signed feed on a web server."""

import subprocess
import unittest

from harness import EndToEndTest, await_true, end, environment
from update_site import UpdateSite, appcast

FOUND = "Update available: Quorin Gateway 9.0 (Winter). Choose Check for Updates…"


class Feed(EndToEndTest):

    def setUp(self):
        super().setUp()
        self.site = UpdateSite(self.folder)
        self.addCleanup(self.site.close)
        self.program = self.site.install(self.folder / "installed", "quorin-gateway", "quorin-dicom")
        self.cloud = self.start_cloud()
        self.log = self.folder / "said"

    def start(self):
        """Runs it until it has asked for the feed."""
        self.site.asked.clear()
        with open(self.log, "w", encoding="utf-8") as log:
            self.process = subprocess.Popen(
                [self.program, "--home", self.folder / "home", "--bind", "127.0.0.1", "--cloud", self.cloud.address,
                 "--headless"], stdout=log, stderr=log, env=environment())
        self.addCleanup(end, self.process)
        await_true("a look at the feed", self.site.was_asked_for_the_feed, self.process)

    def command(self, *arguments):
        return subprocess.run([self.program, "--home", self.folder / "home", *arguments], capture_output=True,
                              text=True, env=environment(), check=False)

    def test_a_newer_build_is_told_by_one_line_and_nothing_is_fetched(self):
        # Given
        self.site.publish("9.0", "gateway.deb", b"a package")

        # When
        self.start()

        # Then
        await_true("the line", lambda: FOUND in self.log.read_text(), self.process)
        logged = self.command("logs", "--search", "updater").stdout
        self.assertIn("updater_started", logged)
        self.assertIn("updater_check_requested", logged)
        self.assertEqual(set(self.site.asked), {"/feed.json"})

    def test_nothing_is_told_of_what_another_key_signed_of_old_builds_and_of_pages(self):
        # Given
        other = self.folder / "other.pem"
        appcast("key", other)
        feed = self.site.web / "feed.json"
        self.site.publish("9.0", "gateway.deb", b"a package", key=other)
        self.assert_quiet()

        # And an old feed
        feed.unlink()
        self.site.publish("0.0.1", "gateway.deb", b"a package")
        self.assert_quiet()

        # And a page in place of the feed
        feed.write_text("<html>Sign in</html>")
        self.assert_quiet()

    def assert_quiet(self):
        """It has looked, goes on working, and has told of no update."""
        self.start()
        await_true("an answer", lambda: self.command("status", "--json").stdout, self.process)
        self.assertNotIn("Update available", self.log.read_text())
        self.assertIsNone(self.process.poll())
        end(self.process)


if __name__ == "__main__":
    unittest.main()
