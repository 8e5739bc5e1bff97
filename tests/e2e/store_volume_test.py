"""While the file store can't take anything in, what was acknowledged is kept, told, and taken in when it can again."""

import json
import os
import re
import shutil
import time
import unittest

from at_an_archive import AtAnArchive
from harness import TITLE, EndToEndTest, Gateway, await_true, request, send
from odd_objects import Sender, dataset, dataset_of, part10

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

    def test_what_waits_while_the_store_is_out_of_sight_for_a_moment_has_its_next_look(self):
        # Given a store that is away for less than the time between two looks at it
        sent = self.samples(ct=3)
        send(self.gateway, sent)
        self.gateway.await_received(sent)
        away = self.folder / "away"
        self.store.rename(away)

        # When
        self.gateway.sign_in()
        self.gateway.await_status("a pause", lambda s: s["waiting"]["pausedBy"] == "indexTrouble")
        away.rename(self.store)

        # Then
        self.gateway.await_synced(sent)

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

    # What came since a backup, and another volume.

    def send_one(self, body, instance):
        sender = Sender(self.gateway.port, TITLE)
        sender.store(body, instance)
        sender.release()

    def back_up(self):
        """Index and settings, as a backup of the system's disk has them."""
        def copy():
            shutil.copytree(self.gateway.home / "index", self.folder / "backup/index")
            for file in self.gateway.home.glob("defaults.sqlite*"):
                shutil.copy(file, self.folder / "backup")
        self.start_again(before=copy)

    def restore(self):
        shutil.rmtree(self.gateway.home / "index")
        shutil.copytree(self.folder / "backup/index", self.gateway.home / "index")
        for file in self.gateway.home.glob("defaults.sqlite*"):
            file.unlink()
        for file in (self.folder / "backup").glob("defaults.sqlite*"):
            shutil.copy(file, self.gateway.home)

    def test_what_came_since_a_backup_is_recorded_when_its_volume_is_mounted_in_life(self):
        # Given
        first = self.samples(ct=1)
        send(self.gateway, first)
        self.gateway.await_received(first)
        self.back_up()
        since = self.samples(seed=2, ct=3)
        send(self.gateway, since)
        self.gateway.await_received(first + since)
        away = self.folder / "away"

        # When
        self.start_again(before=lambda: (self.restore(), self.store.rename(away), self.store.mkdir()))
        self.gateway.await_status("a store out of sight", lambda s: s["storage"]["outOfSight"])
        self.store.rmdir()
        away.rename(self.store)

        # Then
        self.gateway.await_received(first + since)
        self.gateway.sign_in()
        self.gateway.await_synced(first + since)

    def test_a_corrected_image_that_came_since_a_backup_does_not_count_as_the_one_that_was_sent(self):
        # Given
        wrong, corrected = dataset("1.2.7.1", shade=1), dataset("1.2.7.1", shade=2)
        self.gateway.sign_in()
        self.gateway.command("settings", "set", "quorinCloudCompressToLS", "false")
        self.back_up()
        self.cloud.steer("second-versions", policy="ignore")
        self.send_one(wrong, "1.2.7.1")
        self.gateway.await_status("the upload", lambda s: s["counters"]["synced"] == 1)
        self.send_one(corrected, "1.2.7.1")
        self.await_held_back()

        # When
        self.start_again(before=self.restore)
        self.gateway.sign_in()

        # Then
        self.await_held_back()
        self.assertEqual(self.gateway.status()["counters"]["synced"], 0)
        self.assertIn(corrected, [dataset_of(file.read_bytes()) for file in self.store.rglob("*.dcm")])

    def await_held_back(self):
        self.gateway.await_status("the failure", lambda s: "anotherVersionInCloud" in json.dumps(s["failures"]))

    def test_the_store_of_another_gateway_in_its_place_is_left_alone_until_the_right_one_is_back(self):
        # Given
        ours, theirs = dataset("1.2.3.1"), dataset("1.2.99.9", study="1.2.99", series="1.2.99.1", name="Other^Person")
        self.send_one(ours, "1.2.3.1")
        self.gateway.await_status("the image", lambda s: s["counters"]["images"] == 1)
        away = self.folder / "away"

        # When
        def swap():
            self.store.rename(away)
            (self.store / "10000").mkdir(parents=True)
            (self.store / "10000/0.dcm").write_bytes(part10(theirs, "1.2.99.9"))
        self.start_again(before=swap)
        self.gateway.sign_in()
        self.send_one(dataset("1.2.3.2"), "1.2.3.2")

        # Then
        self.gateway.await_status("its words", lambda s: s["storage"]["outOfSight"] and s["inbox"]["waiting"] == 1)
        self.assertIn("or another one stands there", self.gateway.said())
        code, found = self.examined()
        self.assertEqual((code, found & {"anotherStore", "unrecordedImage", "fileGone"}), (1, {"anotherStore"}))
        self.assertEqual(self.cloud.instances(), {})
        self.assertEqual([file.name for file in self.store.rglob("*.dcm")], ["0.dcm"])

        # When
        self.store.rename(self.folder / "theirs")
        away.rename(self.store)

        # Then
        self.gateway.await_status("all in the cloud", lambda s: s["counters"]["synced"] == 2)
        self.assertEqual(sorted(self.cloud.instances()), ["1.2.3.1", "1.2.3.2"])

    def test_nothing_of_another_store_is_recorded_in_an_index_that_was_lost(self):
        # Given
        ours = [f"1.2.3.{number}" for number in range(2)]
        for instance in ours:
            self.send_one(dataset(instance), instance)
        self.gateway.await_status("the images", lambda s: s["counters"]["images"] == 2)
        away = self.folder / "away"

        # When
        def swap():
            shutil.rmtree(self.gateway.home / "index")
            self.store.rename(away)
            (self.store / "10000").mkdir(parents=True)
            (self.store / ".id").write_text("0123456789abcdef0123456789abcdef\n")
            theirs = dataset("1.2.99.9", study="1.2.99", series="1.2.99.1", name="Other^Person")
            (self.store / "10000/0.dcm").write_bytes(part10(theirs, "1.2.99.9"))
        self.start_again(before=swap)
        self.gateway.sign_in()
        self.gateway.await_status("its words", lambda s: s["storage"]["outOfSight"])
        await_true("the look for what is lacking", lambda: "The index lacks stored images" in self.gateway.said(),
                   self.gateway.process)
        self.store.rename(self.folder / "theirs")
        away.rename(self.store)

        # Then
        self.gateway.await_status("all in the cloud", lambda s: s["counters"]["synced"] == 2)
        self.assertEqual(sorted(self.cloud.instances()), ours)
        self.assertEqual(self.gateway.status()["counters"]["images"], 2)

    def test_the_store_of_a_former_system_is_sent_whole_once_it_is_the_one_to_use(self):
        # Given: a system that was installed anew has sent two images before the volume of its images was mounted
        former = [f"1.2.3.{number}" for number in range(4)]
        for instance in former:
            self.send_one(dataset(instance), instance)
        self.gateway.await_status("the images", lambda s: s["counters"]["images"] == 4)
        self.gateway.end()
        volume = self.folder / "volume"
        self.store.rename(volume)
        shutil.rmtree(self.gateway.home)
        self.gateway = self.start_gateway(self.cloud.address, options=METRICS)
        self.gateway.sign_in()
        since = [f"1.2.77.{number}" for number in range(2)]
        for instance in since:
            self.send_one(dataset(instance, study="1.2.77", series="1.2.77.1"), instance)
        self.gateway.await_status("the uploads", lambda s: s["counters"]["synced"] == 2)

        # When
        self.start_again(before=lambda: (self.store.rename(self.folder / "since"), volume.rename(self.store)))
        self.assertEqual(self.examined(), (1, {"anotherStore"}))
        self.gateway.command("doctor", "--repair", check=False)

        # Then
        self.gateway.await_status("all that it holds", lambda s: s["counters"]["synced"] == 4)
        self.assertEqual(sorted(self.cloud.instances()), sorted(former + since))
        self.assertEqual(self.examined(), (0, set()))

    def test_a_file_that_holds_another_image_than_its_rows_say_is_not_sent_in_their_name(self):
        # Given
        self.send_one(dataset("1.2.3.1"), "1.2.3.1")
        self.gateway.await_status("the image", lambda s: s["counters"]["images"] == 1)
        stored = next(self.store.rglob("*.dcm"))
        stored.write_bytes(part10(dataset("1.2.99.9", study="1.2.99", series="1.2.99.1"), "1.2.99.9"))

        # When
        self.gateway.sign_in()

        # Then
        self.gateway.await_status("the failure", lambda s: "fileOfAnotherImage" in json.dumps(s["failures"]))
        self.assertEqual(self.cloud.instances(), {})
        self.assertTrue(stored.exists())


class StoreThatGoes(AtAnArchive):

    def test_no_file_is_called_gone_whose_store_goes_while_its_page_is_sent(self):
        # Given
        sent = self.samples(ct=12)
        send(self.gateway, sent)
        self.gateway.await_received(sent)
        store, away = self.gateway.home / "Documents/Pavan Data", self.folder / "away"
        self.archive.when_sent = lambda _headers: store.exists() and store.rename(away)

        # When
        self.set("none")

        # Then
        held = self.gateway.await_status("a pause", lambda s: s["waiting"]["pausedBy"] == "indexTrouble")
        self.assertNotIn("fileMissing", json.dumps(held["failures"]))
        self.assertEqual(held["counters"]["failed"], 0)

        # When
        self.archive.when_sent = lambda _headers: None
        away.rename(store)

        # Then
        self.gateway.await_synced(sent)


if __name__ == "__main__":
    unittest.main()
