"""Trouble of a disk decides about no image: what was acknowledged is tried again, or set aside where people see it."""

import errno
import json
import re
import shutil
import subprocess
import time
import unittest

from failing_disk import FailingDisk
from harness import (PATIENCE_SECONDS, PROGRAMS, TITLE, EndToEndTest, Gateway, await_true, environment, request,
                     run, send)
from odd_objects import Sender, dataset

COPY = "*/.incoming/*"  # an image while it is being taken in


class SickDisk(EndToEndTest):

    def setUp(self):
        super().setUp()
        self.cloud = self.start_cloud()
        self.disk = FailingDisk(self.folder)
        self.gateway = self.start_gateway(self.cloud.address, variables=self.disk.variables(),
                                          options=("--metrics", "127.0.0.1:0"))
        self.inbox = next(self.gateway.home.rglob(".part")).parent

    def set_aside(self):
        return sorted((self.inbox / ".rejected").glob("*"))

    def test_a_volume_that_cannot_sync_folders_is_said_by_setup_and_by_the_listener(self):
        # Given
        folder = self.folder / "share"
        folder.mkdir()
        self.disk.fail("fsync", str(folder), errno.EINVAL)

        # When: it is chosen
        chosen = self.gateway.command("settings", "set", "ListenerDestinationFolder", folder, check=False)

        # Then
        self.assertNotEqual(chosen.returncode, 0)
        self.assertIn("can't sync folders", chosen.stderr)

        # Given: it was chosen when it still could
        self.disk.heal()
        self.gateway.command("settings", "set", "ListenerDestinationFolder", folder)
        self.disk.fail("fsync", str(folder), errno.EINVAL)

        # When
        self.gateway.command("settings", "set", "ListenerSettings.timeout", "31")  # which starts it again

        # Then
        await_true("the listener's words", lambda: "can't sync folders" in (self.gateway.status()["listener"]["error"] or ""),
                   self.gateway.process)

    def test_a_folder_on_a_share_that_is_dead_holds_up_nothing_but_its_own_answer(self):
        # Given
        folder = self.folder / "share"
        folder.mkdir()
        self.disk.silence("stat", f"{folder}*")

        # When: it is chosen
        choosing = subprocess.Popen([PROGRAMS / "quorin-gateway", "--home", self.gateway.home, "settings", "set",
                                     "ListenerDestinationFolder", folder],
                                    env=environment(), stderr=subprocess.PIPE, text=True)
        self.addCleanup(choosing.stderr.close)
        self.addCleanup(choosing.kill)
        await_true("the look at it", lambda: self.disk.failures() >= 1, self.gateway.process)

        # Then: everything else goes on, and the answer says why nothing was changed
        self.assertEqual(self.gateway.status()["listener"]["state"], "listening")
        files = self.samples(ct=1)
        send(self.gateway, files)
        self.gateway.await_received(files)
        _, words = choosing.communicate(timeout=PATIENCE_SECONDS)
        self.assertNotEqual(choosing.returncode, 0)
        self.assertIn(f"{folder} doesn't answer.", words)

        # When: a setup names it
        setup = self.gateway.command("setup", "--ae-title", TITLE, "--port", self.gateway.port, "--incoming",
                                     folder, "--no-bonjour", check=False)

        # Then
        self.assertIn("The folder doesn't answer.", setup.stderr)
        self.assertEqual(self.gateway.command("settings", "get", "ListenerDestinationFolder").stdout.strip(), "")

        # When: the share is back
        self.disk.heal()

        # Then
        self.gateway.command("settings", "set", "ListenerDestinationFolder", folder)
        self.gateway.await_status("the folder", lambda s: s["listener"]["state"] == "listening")

    def test_a_share_that_dies_with_images_in_it_holds_up_no_other_folder(self):
        # Given: more of them than there are threads
        files = self.samples(ct=30)
        self.disk.silence("stat", f"{self.inbox}/quorin-*")
        send(self.gateway, files[:25])
        await_true("looks at them", lambda: self.disk.failures() >= 1, self.gateway.process)
        chosen = self.folder / "chosen"
        chosen.mkdir()

        # When
        self.gateway.command("settings", "set", "ListenerDestinationFolder", chosen)

        # Then: the receiver of the dead folder is gone, and what comes is taken in
        await_true("the other folder's receiver", (chosen / ".part/.lock").exists, self.gateway.process)
        self.gateway.await_status("a listener", lambda s: s["listener"]["state"] == "listening")
        send(self.gateway, files[25:])
        self.gateway.await_received(files[25:])
        self.assertGreaterEqual(len(list(self.inbox.glob("quorin-*.dcm"))), 1)

        # And the others when they can
        self.disk.heal()
        self.gateway.await_received(files)

    def test_an_image_that_was_taken_in_and_cannot_be_removed_is_told_as_that(self):
        # Given
        self.gateway.sign_in()
        files = self.samples(ct=2)
        self.disk.fail("unlink", f"{self.inbox}/quorin-*.dcm", errno.EROFS)

        # When
        send(self.gateway, files)

        # Then: it is safe, and nobody says that it waits
        self.gateway.await_synced(files)
        status = self.gateway.await_status("the figure", lambda s: s["inbox"]["notRemoved"] == 2)
        self.assertEqual((status["inbox"]["waiting"], status["inbox"]["waitsLong"]), (0, False))
        self.assertIn("can't be removed", self.gateway.command("status", check=False).stdout)
        examined = self.gateway.command("doctor", "--json", check=False)
        self.assertEqual(examined.returncode, 1)
        self.assertEqual([(finding["kind"], finding["count"]) for finding in json.loads(examined.stdout)["findings"]],
                         [("notRemovedFromInbox", 2)])
        self.assertIn("quorin_gateway_inbox_unremoved_files 2", self.metrics())

        # And they go when they can
        self.disk.heal()
        self.gateway.await_status("an empty folder", lambda s: s["inbox"]["notRemoved"] == 0)
        self.assertEqual(list(self.inbox.glob("*.dcm")), [])
        self.assertEqual(self.gateway.status()["counters"]["images"], 2)

    def test_an_image_that_could_not_be_removed_is_taken_in_again_where_its_stored_file_was_lost(self):
        # Given: it lies in the incoming folder, where nothing can be removed, and in the store
        self.disk.fail("unlink", f"{self.inbox}/quorin-*.dcm", errno.EROFS)
        self.store("1.2.7.1")
        self.gateway.await_status("the figure", lambda s: s["inbox"]["notRemoved"] == 1)

        # When
        for stored in (self.gateway.home / "Documents/Pavan Data").rglob("*.dcm"):
            stored.unlink()

        # Then
        self.gateway.await_status("no word of safety", lambda s: s["inbox"]["notRemoved"] == 0)
        self.disk.heal()
        await_true("an empty folder", lambda: not list(self.inbox.glob("*.dcm")), self.gateway.process)
        self.gateway.sign_in()
        self.await_synced(1)

    def metrics(self):
        address = re.search(r"Metrics are served at (http://\S+)\.", self.gateway.said()).group(1)
        return request(address)[2].decode()

    def test_a_full_temporary_folder_blames_neither_an_image_nor_the_cloud(self):
        # Given
        self.gateway.command("settings", "set", "quorinCloudCompressToLS", "false")
        self.gateway.sign_in()
        self.store("1.2.7.1", shade=1)
        self.await_synced(1)
        self.disk.fail("open", "*converted-*", errno.ENOSPC)

        # When: one needs a right header, and one is to be compared with what the cloud has
        self.store("1.2.7.2", named="9.9.9")
        self.store("1.2.7.1", shade=2)

        # Then
        status = self.gateway.await_status("both failures", lambda s: [(f["class"], f["count"]) for f in s["failures"]]
                                           == [("machineTrouble", 2)])
        self.assertIn("Make room", status["failures"][0]["sentence"])
        # And both go by themselves
        self.disk.heal()
        self.await_synced(2)

    def store(self, instance, named=None, shade=0):
        sender = Sender(self.gateway.port, TITLE)
        sender.store(dataset(instance, shade=shade), named or instance)
        sender.release()

    def await_synced(self, count):
        self.gateway.await_status(f"{count} uploaded images", lambda s: s["counters"]["synced"] == count
                                  and s["counters"]["notSynced"] == 0)

    def test_an_index_that_cannot_be_written_holds_uploads_back_and_they_go_on_by_themselves(self):
        # Given
        sent = self.samples(ct=3)
        send(self.gateway, sent)
        self.gateway.await_received(sent)

        # When
        self.disk.fail("write", "*QuorinGateway.sqlite*")
        self.gateway.sign_in()

        # Then
        self.gateway.await_status("a pause", lambda s: s["waiting"]["pausedBy"] == "indexTrouble")
        examined = self.gateway.command("doctor", "--json", check=False)
        self.assertEqual(examined.returncode, 1)
        self.assertIn("indexNotWritten", [finding["kind"] for finding in json.loads(examined.stdout)["findings"]])
        self.assertEqual(self.cloud.requests("POST", "/dicom-web/studies"), 0)
        self.disk.heal()
        self.gateway.await_synced(sent)

    def test_a_stored_image_that_cannot_be_asked_for_is_not_called_missing(self):
        # Given
        sent = self.samples(ct=1)
        send(self.gateway, sent)
        self.gateway.await_received(sent)
        self.disk.fail("stat", "*/Pavan Data/10000/*")

        # When
        self.gateway.sign_in()

        # Then
        status = self.gateway.await_status("a failure", lambda s: s["failures"])
        self.assertEqual([failure["class"] for failure in status["failures"]], ["fileUnreadable"])
        self.disk.heal()
        self.gateway.command("upload")
        self.gateway.await_synced(sent)

    def test_a_read_error_of_a_moment_is_not_noticed(self):
        # Given
        files = self.samples(ct=1)
        self.disk.fail("read", COPY, times=1)

        # When
        send(self.gateway, files)

        # Then
        self.gateway.await_received(files)
        self.assertEqual(self.disk.failures(), 1)
        self.assertEqual(self.set_aside(), [])

    def test_an_image_whose_size_cannot_be_asked_for_a_moment_is_not_blamed(self):
        # Given: the one who parses it is the first to ask about the copy
        files = self.samples(ct=1)
        self.disk.fail("stat", COPY, times=1)

        # When
        send(self.gateway, files)

        # Then
        await_true("the failure", lambda: self.disk.failures() == 1, self.gateway.process)
        await_true("its end", lambda: self.set_aside() or self.gateway.status()["counters"]["images"] == 1,
                   self.gateway.process)
        self.assertEqual(self.set_aside(), [])

    def test_an_image_that_could_not_be_read_for_a_while_is_taken_in_when_it_can(self):
        # Given
        files = self.samples(ct=1)
        self.disk.fail("read", COPY, errno.ESTALE)

        # When
        send(self.gateway, files)
        await_true("three tries", lambda: self.disk.failures() >= 3, self.gateway.process)
        time.sleep(1)  # what would be set aside would be by now

        # Then
        self.assertEqual(self.set_aside(), [])
        self.assertEqual(len(list(self.inbox.glob("*.dcm"))), 1)
        self.disk.heal()
        self.gateway.await_received(files)
        await_true("an empty inbox", lambda: not list(self.inbox.glob("*.dcm")), self.gateway.process)

    def test_an_image_whose_pixels_cannot_be_read_is_recorded_all_the_same(self):
        # Given
        self.gateway.command("sign-out")
        files = self.samples(ct=1)
        self.disk.fail("read-behind", COPY)

        # When
        send(self.gateway, files)

        # Then
        self.gateway.await_received(files)
        self.assertGreater(self.disk.failures(), 0)
        self.assertEqual(self.set_aside(), [])
        self.disk.heal()
        self.gateway.sign_in()
        self.gateway.await_synced(files)

    def test_what_was_set_aside_is_told_everywhere_and_taken_in_by_a_repair(self):
        self.gateway.sign_in()
        # Given: as an earlier version left an image that it couldn't read in a bad moment
        files = self.samples(ct=1)
        aside = self.inbox / ".rejected"
        aside.mkdir()
        (aside / "0123abcd-quorin-00000000000000000000000000000001-1.dcm").write_bytes(files[0].read_bytes())

        # Then
        self.gateway.await_status("the count", lambda s: s["inbox"]["setAside"] == 1)
        self.assertIn("Set aside  1", self.gateway.command("status").stdout)
        self.assertIn("quorin_gateway_set_aside_files 1", self.metrics())
        examined = self.gateway.command("doctor", check=False)
        self.assertNotEqual(examined.returncode, 0)
        self.assertIn(".rejected", examined.stdout)
        self.gateway.command("doctor", "--repair")
        self.gateway.await_received(files)
        self.assertEqual(self.set_aside(), [])
        self.gateway.await_status("nothing set aside", lambda s: s["inbox"]["setAside"] == 0)
        logged = map(json.loads, self.gateway.command("logs", "--search", "doctor", "--json").stdout.splitlines())
        self.assertEqual({event["action"] for event in logged if event["category"] == "receive"},
                         {"import_attempted", "import_succeeded", "incoming_file_deleted"})

    def test_how_far_a_lost_index_is_recorded_again_is_told_until_all_is(self):
        # Given three stored images without an index, one of which can't be read
        files = self.samples(ct=3)
        send(self.gateway, files)
        self.gateway.await_received(files)
        self.gateway.end()
        shutil.rmtree(self.gateway.home / "index")
        stored = sorted(self.gateway.home.glob("Documents/Pavan Data/*/*.dcm"))
        self.disk.fail("read", f"*/{stored[1].parent.name}/{stored[1].name}")

        # When
        self.gateway = Gateway(self.folder, self.cloud.address, variables=self.disk.variables(),
                               options=("--metrics", "127.0.0.1:0"))
        self.addCleanup(self.gateway.end)

        # Then
        self.gateway.await_status("two of three", lambda s: s["recordingAgain"] == {"files": 3, "recorded": 2})
        self.assertIn("2 of 3 recorded again", self.gateway.command("status").stdout)
        metrics = self.metrics()
        self.assertIn("quorin_gateway_files_to_record_again 3", metrics)
        self.assertIn("quorin_gateway_files_recorded_again 2", metrics)
        self.disk.heal()
        self.gateway.await_status("the next look", lambda s: s["recordingAgain"]["files"] == 0)
        self.assertNotIn("recorded again", self.gateway.command("status").stdout)
        self.assertEqual(self.gateway.status()["counters"]["images"], 3)

    def test_an_inbox_that_is_away_refuses_for_want_of_resources_and_receives_again_when_it_is_back(self):
        # Given
        files = self.samples(ct=2)
        away = self.inbox.with_name("away")
        self.inbox.rename(away)

        # When
        refused = run("storescu", "-v", "-aec", TITLE, "127.0.0.1", self.gateway.port, files[0], check=False)

        # Then
        self.assertIn("OutOfResources", refused.stdout + refused.stderr)
        self.assertEqual(list(away.glob("*.dcm")), [])
        away.rename(self.inbox)
        send(self.gateway, files)
        self.gateway.await_received(files)

    def test_an_acknowledged_image_that_was_out_of_sight_needs_no_restart(self):
        # Given: its folder goes away between the acknowledgement and its import
        files = self.samples(ct=1)
        self.disk.fail("read", COPY)
        send(self.gateway, files)
        await_true("three tries", lambda: self.disk.failures() >= 3, self.gateway.process)
        away = self.inbox.with_name("away")
        self.inbox.rename(away)
        self.disk.heal()
        await_true("a try without the folder", lambda: "out_of_sight" in self.log(), self.gateway.process)

        # When
        away.rename(self.inbox)

        # Then
        self.gateway.await_received(files)
        self.assertEqual(self.set_aside(), [])

    def log(self):
        return "".join(file.read_text() for file in self.gateway.home.rglob("gateway-transfer-*.jsonl"))


class SickSettings(EndToEndTest):

    def test_settings_that_cannot_be_read_are_not_taken_for_the_defaults(self):
        # Given: a gateway that was set up on a port of its own
        cloud = self.start_cloud()
        gateway = self.start_gateway(cloud.address)
        gateway.end()
        disk = FailingDisk(self.folder)
        disk.fail("read", "*defaults*")

        # When
        ended = subprocess.run([PROGRAMS / "quorin-gateway", "--home", gateway.home, "--bind", "127.0.0.1",
                                "--headless"], env=environment() | disk.variables(), capture_output=True, text=True,
                               timeout=PATIENCE_SECONDS, check=False)

        # Then
        self.assertGreater(disk.failures(), 0)
        self.assertNotEqual(ended.returncode, 0)
        self.assertIn("settings file", ended.stderr)


if __name__ == "__main__":
    unittest.main(verbosity=2)
