"""Of an image that comes more than once the last acknowledged version counts, and no other copy stays behind."""

import json
import shutil
import signal
import sqlite3
import subprocess
import time
import unittest

from failing_disk import FailingDisk
from harness import PROGRAMS, TITLE, EndToEndTest, Gateway, await_true, end, environment, run, send
from odd_objects import EXPLICIT, IMPLICIT, JPEG_LS, RLE, Sender, dataset, dataset_of, part10, with_fragments

DAY_MS = 24 * 3600 * 1000


class Copies(EndToEndTest):

    def setUp(self):
        super().setUp()
        self.cloud = self.start_cloud()
        self.gateway = self.start_gateway(self.cloud.address)

    def store(self):
        return self.gateway.home / "Documents/Pavan Data"

    def stored(self):
        """The files in the file store, by their paths below its root."""
        return sorted(str(file.relative_to(self.store())) for file in self.store().glob("*/*") if file.is_file())

    def rows(self, sql, *values):
        with sqlite3.connect(self.gateway.home / "index/QuorinGateway.sqlite", timeout=30) as index:
            return index.execute(sql, values).fetchall()

    def current(self):
        return sorted(path for path, in self.rows("SELECT DISTINCT pathString FROM DicomImage"))

    def start_again(self, *, before=None):
        port = self.gateway.port
        self.gateway.end()
        if before:
            before()
        self.gateway = Gateway(self.folder, self.cloud.address)
        self.addCleanup(self.gateway.end)
        self.gateway.port = port

    def findings(self, *options):
        """Exit code, and kind -> (found, mended); without that nobody is signed in, as in most of these tests."""
        ended = self.gateway.command("doctor", "--json", *options, check=False)
        report = json.loads(ended.stdout)
        return ended.returncode, {found["kind"]: (found["count"], found["mended"]) for found in report["findings"]
                                  if found["kind"] != "noSession"}

    def version_of(self, file, name, comment, size=None):
        """A copy of a file with another comment, and with pixel data of so many rows and columns."""
        copy = self.folder / name
        shutil.copy(file, copy)
        changes = ["-i", f"(0020,4000)={comment}"]
        if size:
            pixels = self.folder / f"{name}.raw"
            pixels.write_bytes(bytes(size * size * 2))
            changes += ["-m", f"(0028,0010)={size}", "-m", f"(0028,0011)={size}", "-mf", f"(7fe0,0010)={pixels}"]
        run("dcmodify", "-nb", "-q", *changes, copy)
        return copy

    def test_the_last_version_counts_on_a_volume_that_keeps_whole_seconds(self):
        # Given
        self.gateway.end()
        disk = FailingDisk(self.folder)
        disk.coarsen("*", 2)
        port = self.gateway.port
        self.gateway = Gateway(self.folder, self.cloud.address, variables=disk.variables())
        self.addCleanup(self.gateway.end)
        self.gateway.port = port
        self.cloud.steer("second-versions", policy="replace")
        await_true("the listener", lambda: self.gateway.status()["listener"]["state"] == "listening", self.gateway.process)
        images = self.samples(ct=4)
        pairs = [(self.version_of(image, f"{number}-a.dcm", "first", size=3000),
                  self.version_of(image, f"{number}-b.dcm", "corrected")) for number, image in enumerate(images)]

        # When
        for first, corrected in pairs:
            send(self.gateway, [first, corrected])
        self.gateway.await_received(images)
        await_true("an empty inbox", lambda: not list(self.gateway.home.rglob("quorin-*.dcm")), self.gateway.process)

        # Then
        self.assertGreater(disk.failures(), 0, "no time was set")
        self.assertEqual([comment for comment, in self.rows("SELECT comment FROM DicomImage")],
                         ["corrected"] * len(images))
        self.gateway.sign_in()
        self.gateway.await_synced(images)
        await_true("one file an image", lambda: self.stored() == self.current(), self.gateway.process)
        self.assertEqual(self.findings(), (0, {}))

    def test_the_last_version_of_an_association_counts_though_the_one_before_is_large(self):
        # Given
        images = self.samples(ct=4)
        pairs = [(self.version_of(image, f"{number}-a.dcm", "first", size=3000),
                  self.version_of(image, f"{number}-b.dcm", "corrected")) for number, image in enumerate(images)]

        # When
        for first, corrected in pairs:
            send(self.gateway, [first, corrected])
        self.gateway.await_received(images)
        await_true("an empty inbox", lambda: not list(self.gateway.home.rglob("quorin-*.dcm")), self.gateway.process)

        # Then
        self.assertEqual([comment for comment, in self.rows("SELECT comment FROM DicomImage")],
                         ["corrected"] * len(images))
        self.assertEqual(self.findings()[1], {})
        self.gateway.sign_in()
        self.gateway.await_synced(images)
        await_true("one file an image", lambda: self.stored() == self.current(), self.gateway.process)

    def test_nothing_is_left_or_sent_again_once_retention_has_let_go_of_images_that_came_often(self):
        # Given
        self.gateway.sign_in()
        images = self.samples(ct=3)
        for turn in range(3):
            send(self.gateway, [self.version_of(image, f"{turn}-{number}.dcm", f"turn {turn}")
                                for number, image in enumerate(images)])
        self.gateway.await_synced(images)
        await_true("one file an image", lambda: self.stored() == self.current(), self.gateway.process)

        # When
        self.gateway.command("settings", "set", "GatewayAutoDelete", "30-days")
        self.start_again(before=lambda: self.rows(
            "UPDATE DicomImage SET uploadDate = uploadDate - ?", 60 * DAY_MS))
        self.gateway.await_status("an empty index", lambda status: status["counters"]["images"] == 0)

        # Then
        await_true("an empty store", lambda: not self.stored(), self.gateway.process)
        self.assertEqual(self.findings("--repair"), (0, {}))
        self.assertEqual(self.gateway.status()["counters"]["images"], 0)

    def test_an_old_version_that_a_person_brings_in_pushes_out_no_received_one_that_was_not_sent(self):
        # Given
        received, old = dataset("1.2.3.1", shade=2), dataset("1.2.3.1", shade=1)
        self.gateway.command("settings", "set", "quorinCloudCompressToLS", "false")
        sender = Sender(self.gateway.port, TITLE)
        sender.store(received, "1.2.3.1")
        sender.release()
        self.gateway.await_status("the image", lambda s: s["counters"]["images"] == 1)
        disc = self.folder / "old.dcm"
        disc.write_bytes(part10(old, "1.2.3.1"))

        # When
        self.gateway.command("import", disc)
        self.gateway.sign_in()
        self.gateway.await_status("an upload", lambda s: s["counters"]["synced"] == 1)

        # Then
        kept = [dataset_of((self.store() / path).read_bytes()) for path in self.stored()]
        self.assertIn(received, kept)
        self.assertEqual(self.findings("--repair"), (1, {"unsentVersion": (1, 0)}))
        # And the device's goes up when it is sent again
        self.cloud.steer("second-versions", policy="replace")
        sender = Sender(self.gateway.port, TITLE)
        sender.store(received, "1.2.3.1")
        sender.release()
        await_true("one file", lambda: self.stored() == self.current(), self.gateway.process)
        self.assertEqual(dataset_of(self.cloud.fetch(self.cloud.token(), "1.2.9", "1.2.9.1", "1.2.3.1")), received)
        self.assertEqual(self.findings(), (0, {}))

    def test_the_same_dataset_from_a_disc_lets_go_of_the_received_one_once_it_is_in_the_cloud(self):
        # Given
        received = dataset("1.2.3.1", shade=2)
        sender = Sender(self.gateway.port, TITLE)
        sender.store(received, "1.2.3.1")
        sender.release()
        self.gateway.await_status("the image", lambda s: s["counters"]["images"] == 1)
        disc = self.folder / "same.dcm"
        disc.write_bytes(part10(received, "1.2.3.1")) # under a header of its own

        # When
        self.gateway.command("import", disc)
        await_true("two files", lambda: len(self.stored()) == 2, self.gateway.process)
        self.gateway.sign_in()
        self.gateway.await_status("an upload", lambda s: s["counters"]["synced"] == 1)

        # Then
        await_true("one file", lambda: self.stored() == self.current(), self.gateway.process)
        self.assertEqual(len(self.stored()), 1)
        self.assertEqual(self.findings(), (0, {}))

    def test_what_is_received_is_later_than_what_was_imported_while_the_clock_was_ahead(self):
        self.gateway.command("settings", "set", "quorinCloudCompressToLS", "false")
        self.cloud.steer("second-versions", policy="replace")
        # Given: the last import was made while the clock was an hour ahead, and one more was made since
        ahead = int((time.time() + 3600) * 1e9)
        self.start_again(before=lambda: self.rows("UPDATE Ledger SET newestAcknowledged = ?", ahead))
        await_true("the listener", lambda: self.gateway.status()["listener"]["state"] == "listening", self.gateway.process)
        versions = [dataset("1.2.3.1", shade=shade) for shade in (1, 2, 3)]
        for number, body in enumerate(versions[:2]):
            file = self.folder / f"{number}.dcm"
            file.write_bytes(part10(body, "1.2.3.1"))
            self.gateway.command("import", file)

        # When
        self.send_dataset(versions[2], "1.2.3.1")
        await_true("an empty inbox", lambda: not list(self.gateway.home.rglob("quorin-*.dcm")), self.gateway.process)
        self.gateway.sign_in()
        self.gateway.await_status("the upload", lambda s: s["counters"]["synced"] == 1)

        # Then
        held = dataset_of(self.cloud.fetch(self.cloud.token(), "1.2.9", "1.2.9.1", "1.2.3.1"))
        self.assertEqual(held, versions[2])
        await_true("one file", lambda: self.stored() == self.current(), self.gateway.process)
        self.assertEqual(self.findings(), (0, {}))

    def test_a_kill_while_receiving_leaves_one_name_an_image(self):
        # Given
        images = self.samples(ct=40)
        sender = subprocess.Popen(["dcmsend", "--decompress-never", "-aec", TITLE, "127.0.0.1",
                                   str(self.gateway.port), *images], stdout=subprocess.DEVNULL,
                                  stderr=subprocess.DEVNULL)
        self.addCleanup(end, sender)
        await_true("some images", lambda: len(self.stored()) >= 5, self.gateway.process)

        # When
        self.gateway.process.send_signal(signal.SIGKILL)
        self.gateway.process.wait()
        sender.wait()
        self.start_again()
        await_true("an empty inbox", lambda: not list(self.gateway.home.rglob("quorin-*.dcm")), self.gateway.process)

        # Then
        self.assertGreaterEqual(len(self.stored()), 5)
        self.assertEqual(self.stored(), self.current())
        self.assertEqual(self.findings()[1], {})

    def test_a_cut_image_is_passed_over_and_one_from_the_network_takes_no_whole_ones_place(self):
        # Given
        image, other = self.samples(ct=2)
        cut = self.folder / "cut.dcm"
        cut.write_bytes(image.read_bytes()[:image.stat().st_size // 2])
        send(self.gateway, [image])
        self.gateway.await_received([image])

        # When
        ended = self.gateway.command("import", "--json", cut, check=False)
        plain = self.gateway.command("import", cut, check=False)

        # Then
        self.assertEqual(json.loads(ended.stdout)["importedFiles"], 0)
        self.assertEqual([skipped["reason"] for skipped in json.loads(ended.stdout)["skipped"]], ["damaged_object"])
        self.assertIn("ends too early", plain.stdout + plain.stderr)
        self.assertEqual(self.stored(), self.current())
        self.gateway.command("import", other)
        self.gateway.await_received([image, other])

    def test_an_image_cut_just_before_its_pixels_takes_no_whole_ones_place(self):
        # Given
        whole = dataset("1.2.11.1")
        self.send_dataset(whole, "1.2.11.1")
        await_true("the whole one", lambda: len(self.current()) == 1, self.gateway.process)
        before = self.current()

        # When
        self.send_dataset(whole[:whole.rindex(b"\xe0\x7f\x10\x00OW")], "1.2.11.1")
        await_true("two files", lambda: len(self.stored()) == 2, self.gateway.process)
        await_true("an empty inbox", lambda: not list(self.gateway.home.rglob("quorin-*.dcm")), self.gateway.process)

        # Then
        self.assertEqual(self.current(), before)
        self.assertEqual(self.findings()[1], {"damagedImage": (1, 0)})

    def test_the_acknowledged_image_is_sent_whatever_stump_is_imported_after_it(self):
        # Given
        wholes, stumps = {}, self.folder / "stumps"
        stumps.mkdir()
        for transfer_syntax in (EXPLICIT, IMPLICIT, RLE, JPEG_LS):
            sender = Sender(self.gateway.port, TITLE, transfer_syntax)
            for cut, filling in self.cuts(transfer_syntax):
                instance = f"1.2.12.{len(wholes)}"
                body = self.whole(instance, transfer_syntax)
                stump = body[:cut(body)]
                stump += (filling * len(body))[:len(body) - len(stump)]
                sender.store(body, instance)
                wholes[instance] = body
                (stumps / f"{instance}.dcm").write_bytes(part10(stump, instance, transfer_syntax))
            sender.release()
        self.gateway.await_status("all", lambda status: status["counters"]["images"] == len(wholes))

        # When
        ended = self.gateway.command("import", "--json", stumps, check=False)

        # Then
        self.assertEqual([(each["reason"], each["files"]) for each in json.loads(ended.stdout)["skipped"]],
                         [("damaged_object", len(wholes))])
        self.gateway.command("settings", "set", "quorinCloudCompressToLS", "false")
        self.gateway.sign_in()
        self.gateway.await_status("all sent", lambda status: status["counters"]["synced"] == len(wholes))
        for instance, body in wholes.items():
            self.assertEqual(dataset_of(self.cloud.fetch(self.cloud.token(), "1.2.9", "1.2.9.1", instance)), body)

    @staticmethod
    def whole(instance, transfer_syntax):
        body = dataset(instance, explicit=transfer_syntax != IMPLICIT)
        frames = {RLE: bytes(range(200)) * 3, JPEG_LS: b"\xff\xd8\xff" + bytes(range(200)) * 3 + b"\xff\xd9"}
        return with_fragments(body, frames[transfer_syntax]) if transfer_syntax in frames else body

    @staticmethod
    def cuts(transfer_syntax):
        """Where an image is cut, and what it is filled up with; of a filling of nothing it stays short."""
        fillings = (b"\0", b"\xff", b" ", b"<html>Hotel login page, not found", b"")
        places = [lambda body: body.index(b"MONOCHROME2") - 8, lambda body: body.index(b"MONOCHROME2") + 4,
                  lambda body: body.rindex(b"\xe0\x7f\x10\x00")]
        if transfer_syntax in (RLE, JPEG_LS):
            places = [lambda body: len(body) - 300]
        return [(place, filling) for place in places for filling in fillings]

    def send_dataset(self, body, instance):
        sender = Sender(self.gateway.port, TITLE)
        sender.store(body, instance)
        sender.release()

    def test_an_index_that_vanished_is_told_and_its_images_are_sent(self):
        # Given
        images = self.samples(ct=30)
        send(self.gateway, images)
        self.gateway.await_received(images)
        await_true("an empty inbox", lambda: not list(self.gateway.home.rglob("quorin-*.dcm")), self.gateway.process)
        files = self.stored()

        # When
        self.start_again(before=lambda: shutil.rmtree(self.gateway.home / "index"))

        # Then
        self.gateway.await_received(images)
        self.assertIn("The index lacks stored images", self.gateway.said())
        await_true("the end of it", lambda: "30 stored files are recorded" in self.gateway.said(),
                   self.gateway.process)
        self.assertEqual(self.current(), files)
        self.gateway.sign_in()
        self.gateway.await_synced(images)
        self.assertEqual(self.findings(), (0, {}))

    def test_images_that_came_after_the_backup_of_an_index_are_sent_where_it_is_brought_back(self):
        # Given
        before, after = self.samples(seed=1, ct=2), self.samples(seed=2, ct=3)
        backup = self.folder / "backup"
        send(self.gateway, before)
        self.gateway.await_received(before)
        self.start_again(before=lambda: shutil.copytree(self.gateway.home / "index", backup))
        send(self.gateway, after)
        self.gateway.await_received(before + after)
        await_true("an empty inbox", lambda: not list(self.gateway.home.rglob("quorin-*.dcm")), self.gateway.process)

        # When
        def bring_back():
            shutil.rmtree(self.gateway.home / "index")
            shutil.copytree(backup, self.gateway.home / "index")
        self.start_again(before=bring_back)
        self.gateway.sign_in()

        # Then
        self.gateway.await_synced(before + after)
        self.assertEqual(self.findings(), (0, {}))

    def test_a_second_home_with_the_same_documents_is_refused(self):
        # Given
        second = self.folder / "second"
        second.mkdir()
        (second / "Documents").symlink_to(self.gateway.home / "Documents")

        # When
        ended = subprocess.run([PROGRAMS / "quorin-gateway", "--home", second, "--headless"], env=environment(),
                               capture_output=True, text=True, timeout=120, check=False)

        # Then
        self.assertNotEqual(ended.returncode, 0)
        self.assertIn("The file store is used by another gateway", ended.stderr)
        self.assertIn(str(self.gateway.process.pid), ended.stderr)

    def test_a_repair_adds_no_hours(self):
        # Given
        images = self.samples(ct=3)
        send(self.gateway, images)
        self.gateway.await_received(images)
        hours = self.rows("SELECT sum(received) FROM ActivityHour")

        # When
        for _ in range(2):
            self.rows("UPDATE Ledger SET failedCount = failedCount + 1")
            self.assertEqual(self.findings("--repair")[1], {"wrongCount": (1, 1)})

        # Then
        self.assertEqual(self.rows("SELECT sum(received) FROM ActivityHour"), hours)
        self.gateway.sign_in()
        self.gateway.await_synced(images)
        self.assertEqual(self.findings(), (0, {}))


if __name__ == "__main__":
    unittest.main()
