"""A sign-in that waits for what doesn't answer, a share or an archive, holds up nobody and is told."""

import signal
import subprocess
import threading
import unittest

from failing_disk import FailingDisk
from harness import PROGRAMS, EndToEndTest, await_true, environment, send
from steered_archive import SteeredArchive


class TokenOnAShare(EndToEndTest):
    """Its token lies on a share that can stop answering; so can the archive."""

    def setUp(self):
        super().setUp()
        self.archive = SteeredArchive()
        self.addCleanup(self.archive.end)
        self.disk = FailingDisk(self.folder)
        self.gateway = self.start_gateway(self.archive.address, kind="dicomweb", variables=self.disk.variables())
        self.token = self.folder / "share" / "token"
        self.token.parent.mkdir()
        self.token.write_text("abc\n")
        self.addCleanup(self.disk.heal)  # before the gateway ends

    def sign_in_by_file(self):
        self.gateway.command("archive", "set", "token-file", "--file", self.token)

    def sign_in_as(self, name):
        self.gateway.command("archive", "set", "basic", "--user", name, text_in="s3cret\n")

    def give_up_after(self, reached, *words):
        """Interrupts a command, as by Ctrl+C, once the condition holds."""
        asking = subprocess.Popen([PROGRAMS / "quorin-gateway", "--home", self.gateway.home, *words], env=environment(),
                                  stdin=subprocess.PIPE, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, text=True)
        self.addCleanup(asking.kill)
        asking.stdin.write("s3cret\n")
        asking.stdin.close()
        await_true("the sign-in to be under way", reached, self.gateway.process)
        asking.send_signal(signal.SIGINT)
        asking.wait()

    def test_uploads_wait_in_sight_while_it_is_silent_and_go_by_another_sign_in(self):
        # Given
        self.sign_in_by_file()
        first = self.samples(seed=1, ct=1)
        send(self.gateway, first)
        self.gateway.await_synced(first)

        # When
        self.disk.silence("open", f"{self.token.parent}*")
        second = self.samples(seed=2, ct=1)
        send(self.gateway, second)

        # Then it is told
        held = self.gateway.await_status(
            "the uploads to wait", lambda s: s["waiting"]["pausedBy"] == "signInUnavailable")
        self.assertIn("can't be had at this moment", held["waiting"]["pausedFor"])

        # When: somebody signs in in another way
        self.sign_in_as("ann")

        # Then
        self.gateway.await_synced(first + second)

    def test_uploads_go_on_by_themselves_once_it_answers(self):
        # Given
        self.sign_in_by_file()
        self.disk.silence("open", f"{self.token.parent}*")
        files = self.samples(seed=1, ct=1)
        send(self.gateway, files)
        self.gateway.await_status(
            "the uploads to wait", lambda s: s["waiting"]["pausedBy"] == "signInUnavailable")

        # When
        self.disk.heal()

        # Then
        self.gateway.await_synced(files)

    def test_who_gives_a_sign_in_up_bars_nobody_and_is_not_signed_in_later(self):
        silent = threading.Event()
        self.addCleanup(silent.set)

        def keep_silent(_method, headers):
            if headers.get("Authorization", "").startswith("Basic Zmlyc3Q6"):  # first:
                silent.wait()

        self.disk.silence("open", f"{self.token.parent}*")
        self.archive.guard = keep_silent
        ways = {"a share": (lambda: self.disk.failures() > 0, ("token-file", "--file", self.token)),
                "an archive": (lambda: self.archive.count("GET") > 0, ("basic", "--user", "first"))}
        for name, (reached, words) in ways.items():
            with self.subTest(name):
                # Given
                self.give_up_after(reached, "archive", "set", *words)

                # When
                self.sign_in_as("second")

                # Then
                self.assertEqual(self.gateway.status()["session"]["label"], "second")

        # When: both answer after all
        silent.set()
        self.disk.heal()
        files = self.samples(seed=1, ct=1)
        send(self.gateway, files)

        # Then
        self.gateway.await_synced(files)
        self.assertEqual(self.gateway.status()["session"]["label"], "second")


if __name__ == "__main__":
    unittest.main(verbosity=2)
