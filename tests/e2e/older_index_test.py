"""An index of the version before: its copy is kept until a start of this one has ended well, and leads back to that version."""

import errno
import threading
import unittest

from failing_disk import FailingDisk
from harness import EndToEndTest, await_true, send
from older_index import VERSION, make_older, version_of


class OlderIndex(EndToEndTest):

    def setUp(self):
        super().setUp()
        self.cloud = self.start_cloud()
        self.gateway = self.start_gateway(self.cloud.address)
        self.gateway.sign_in()
        self.files = self.samples(ct=3)
        send(self.gateway, self.files)
        self.gateway.await_synced(self.files)
        self.index = self.gateway.home / "index" / "QuorinGateway.sqlite"
        self.former = self.index.with_name("QuorinGateway.sqlite.former")
        self.gateway.end()
        make_older(self.index)

    def start_again(self, variables=None):
        port = self.gateway.port
        self.gateway = type(self.gateway)(self.folder, self.cloud.address, variables=variables)
        self.gateway.port = port
        self.addCleanup(self.gateway.end)
        self.gateway.await_status("the listener", lambda s: s["listener"]["state"] == "listening")

    def test_the_copy_goes_at_the_start_after_the_first_one_that_ended_well(self):
        # When the first start is killed
        self.start_again()

        # Then
        self.assertEqual(self.gateway.status()["formerIndex"], str(self.former))
        self.assertIn(f"kept at {self.former} until", self.gateway.said())
        self.assertIn(str(self.former), self.gateway.command("status").stdout)
        self.assertIn(str(self.former), self.gateway.command("doctor").stdout)
        self.assertEqual(version_of(self.former), VERSION)
        self.gateway.await_synced(self.files)
        self.gateway.process.kill()
        self.gateway.process.wait()

        # When the next one is ended in an orderly way
        self.start_again()
        self.assertEqual(self.gateway.status()["formerIndex"], str(self.former))
        later = self.samples(seed=2, ct=2)
        send(self.gateway, later)
        self.gateway.await_synced(self.files + later)
        self.gateway.end()

        # Then whoever goes back now has it, and whoever goes on needs it no more
        self.assertEqual(version_of(self.former), VERSION)
        self.start_again()
        self.assertIsNone(self.gateway.status()["formerIndex"])
        self.assertEqual(list(self.index.parent.glob("*.former*")), [])
        self.assertNotIn(".former", self.gateway.command("doctor").stdout)
        self.gateway.await_synced(self.files + later)

    def test_whoever_goes_back_has_the_index_of_the_version_before_and_loses_nothing_on_the_way_forward(self):
        # Given images that came since
        self.start_again()
        later = self.samples(seed=2, ct=2)
        send(self.gateway, later)
        self.gateway.await_synced(self.files + later)
        self.gateway.end()

        # When, as docs/operations.md has it
        newer = self.index.with_name("newer")
        newer.mkdir()
        for name in ("", "-wal", "-shm"):
            part = self.index.with_name(self.index.name + name)
            if part.exists():
                part.rename(newer / part.name)
        self.former.rename(self.index)

        # Then
        self.assertEqual(version_of(self.index), VERSION)

        # When
        self.start_again()

        # Then what came since is recorded again, and sent once
        self.gateway.await_synced(self.files + later)
        self.assertEqual(len(self.cloud.instances()), len(self.files + later))

    def test_a_start_that_has_no_room_to_bring_it_forward_waits_though_there_is_some_again_once_that_is_undone(self):
        # Given
        disk = FailingDisk(self.folder)
        disk.fail("write", f"{self.index}-wal", errno.ENOSPC)

        def make_room():
            await_true("the reason", lambda: f"There is no room at {self.index.parent}." in self.gateway.said())
            disk.heal()

        waiting = threading.Thread(target=make_room)

        # When
        waiting.start()
        self.start_again(disk.variables())
        waiting.join()

        # Then
        self.gateway.await_synced(self.files)


if __name__ == "__main__":
    unittest.main()
