"""An archive takes images without a word of each, and its queries fail: nobody waits for them, nothing goes twice."""

import threading
import unittest

from at_an_archive import AtAnArchive
from harness import send


class SilentQueries(AtAnArchive):

    def setUp(self):
        super().setUp()
        store, look = self.archive.store, self.archive.look
        self.query = look  # what a question for an instance is answered with

        def store_without_a_word(headers, body):
            store(headers, body)
            return 200, "", b""

        self.archive.store = store_without_a_word
        self.archive.look = lambda path: self.query(path) if "/instances" in path else look(path)
        self.answered = look
        self.set("basic", "--user", "ann")

    def assert_all_taken_once(self, files):
        self.gateway.await_status("all to be taken", lambda s: s["waiting"]["awaited"] == len(files))
        self.assertEqual((len(self.archive.kept), self.archive.count("POST")), (len(files), len(files)))

    def test_a_query_that_fails_for_a_while_costs_no_second_upload(self):
        for seed, status in enumerate((429, 503), start=1):
            with self.subTest(status):
                # Given
                self.query = lambda _path: (status, "", b"")
                files = self.samples(seed=seed, ct=2)
                self.archive.kept.clear()
                self.archive.requests.clear()
                send(self.gateway, files)
                self.assert_all_taken_once(files)

                # When they are tried again, then they are looked for
                asked = self.archive.count("GET", "/instances")
                self.gateway.command("upload")
                self.gateway.await_status("another look", lambda _: self.archive.count("GET", "/instances") > asked)
                self.assert_all_taken_once(files)

                # When it answers again
                self.query = self.answered
                self.gateway.command("upload")

                # Then
                self.gateway.await_status("all synced", lambda s: s["counters"]["notSynced"] == 0)
                self.assertEqual(self.archive.count("POST"), len(files))

    def test_a_query_that_is_never_answered_holds_up_one_image_once(self):
        # Given
        over = threading.Event()
        self.addCleanup(over.set)

        def keep_silent(path):
            over.wait()
            return self.answered(path)

        self.query = keep_silent
        files = self.samples(ct=4)

        # When
        send(self.gateway, files)

        # Then
        self.assert_all_taken_once(files)
        self.assertEqual(self.archive.count("GET", "/instances"), 1)


if __name__ == "__main__":
    unittest.main(verbosity=2)
