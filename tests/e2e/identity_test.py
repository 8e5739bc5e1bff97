"""What an image is called: its dataset says it, whatever a command, a header or an answer says."""

import json
import sqlite3
import subprocess
import unittest
from urllib.parse import quote

from failing_disk import FailingDisk
from harness import TITLE, Cloud, EndToEndTest, Gateway, await_true, request
from odd_objects import DELIMITER, EXPLICIT, IMPLICIT, JPEG_LS, RLE, Sender, dataset, dataset_of, element, item, part10, with_fragments

STUDY, SERIES = "1.2.9", "1.2.9.1"


class WithoutCompression(EndToEndTest):
    """What arrives can be held against what was sent, byte by byte."""

    def setUp(self):
        super().setUp()
        self.cloud = self.start_cloud()
        self.gateway = self.start_gateway(self.cloud.address)
        self.gateway.sign_in()
        self.gateway.command("settings", "set", "quorinCloudCompressToLS", "false")

    def await_all(self, count):
        self.gateway.await_status(f"{count} uploaded images", lambda s: s["counters"]["synced"] == count
                                  and s["counters"]["notSynced"] == 0)

    def fetched(self, instance, study=STUDY, series=SERIES):
        return dataset_of(self.cloud.fetch(self.cloud.token(), study, series, instance))


class Identity(WithoutCompression):

    def test_what_a_command_says_of_an_object_does_not_keep_it_from_the_cloud(self):
        # Given
        sent = {"1.2.3.1": ("9.9.9", dataset("1.2.3.1")), "1.2.3.2": (None, dataset("1.2.3.2")),
                "1.2.3.3": ("1.2.3.4.abc", dataset("1.2.3.3")), "1.2.3.abc": ("1.2.3.abc", dataset("1.2.3.abc")),
                "1.02.003": ("1.02.003", dataset("1.02.003")), "1.2.3.7": ("1.2.3.7", dataset(None))}

        # When
        sender = Sender(self.gateway.port, TITLE)
        for command, body in sent.values():
            sender.store(body, command)
        sender.release()
        self.await_all(len(sent))

        # Then
        self.assertEqual(set(self.cloud.instances()), set(sent))
        for instance, (_, body) in sent.items():
            with self.subTest(instance):
                wanted = dataset("1.2.3.7") if instance == "1.2.3.7" else body
                self.assertEqual(self.fetched(instance), wanted)

    def test_a_time_that_cannot_be_read_for_a_moment_lets_no_older_version_win(self):
        # Given
        port = self.gateway.port
        self.gateway.end()
        disk = FailingDisk(self.folder)
        self.gateway = Gateway(self.folder, self.cloud.address, variables=disk.variables())
        self.addCleanup(self.gateway.end)
        self.gateway.port = port
        self.gateway.sign_in()
        self.cloud.steer("second-versions", policy="replace")
        versions = [dataset("1.2.7.1", shade=shade) for shade in (1, 2)]

        def receive(version):
            sender = Sender(self.gateway.port, TITLE)
            sender.store(version, "1.2.7.1")
            sender.release()

        receive(versions[0])
        self.await_all(1)

        # When
        disk.fail("stat", "*/quorin-*.dcm")
        receive(versions[1])
        await_true("some looks at its time", lambda: disk.failures() > 5, self.gateway.process)
        disk.heal()

        # Then
        await_true("the corrected version in the cloud", lambda: self.fetched("1.2.7.1") == versions[1],
                   self.gateway.process)

    def test_files_with_an_odd_header_or_none_arrive(self):
        # Given
        files = {"1.2.4.1": part10(dataset("1.2.4.1"), None), "1.2.4.2": part10(dataset("1.2.4.2"), "1.2.4.2", ascending=False),
                 "1.2.4.3": dataset("1.2.4.3"), "1.2.4.4": dataset("1.2.4.4", explicit=False),
                 "1.2.4.5": part10(dataset("1.2.4.5", explicit=False), "7.7", IMPLICIT)}
        folder = self.folder / "odd"
        folder.mkdir()
        for instance, content in files.items():
            (folder / f"{instance}.dcm").write_bytes(content)

        # When
        self.gateway.command("import", folder)
        self.await_all(len(files))

        # Then
        for instance in files:
            with self.subTest(instance):
                self.assertEqual(self.fetched(instance),
                                 dataset(instance, explicit=instance not in ("1.2.4.4", "1.2.4.5")))

    def test_big_endian_and_deflated_files_arrive_where_their_dataset_says(self):
        # Given
        folder = self.folder / "written otherwise"
        folder.mkdir()
        for instance, option in (("1.2.6.1", "+tb"), ("1.2.6.2", "+td")):
            plain = self.folder / f"{instance}.dcm"
            plain.write_bytes(part10(dataset(instance), instance))
            subprocess.run(["dcmconv", option, plain, folder / plain.name], check=True)

        # When
        self.gateway.command("import", folder)
        self.await_all(2)

        # Then
        for instance in ("1.2.6.1", "1.2.6.2"):
            with self.subTest(instance):
                self.assertEqual(self.fetched(instance), dataset_of((folder / f"{instance}.dcm").read_bytes()))

    def test_what_nobody_could_name_is_told_so_and_keeps_no_other_image_back(self):
        # When
        sender = Sender(self.gateway.port, TITLE)
        sender.store(dataset(None, name="No^Body"), None)
        sender.store(dataset("1.2.5.1"), "1.2.5.1")
        sender.release()

        # Then
        status = self.gateway.await_status("a told failure", lambda s: "withoutIdentity" in json.dumps(s["failures"])
                                           and s["counters"]["synced"] == 1)
        self.assertEqual(status["counters"]["failed"], 1)

    def test_an_odd_representation_hides_no_patient_and_no_study(self):
        # Given
        sent = {}
        for number, odd in enumerate((b"??", b"ox", b"  ", b"\0\0")):
            body = dataset(f"1.2.8.{number}", name=f"Odd^{number}")
            at = body.index(b"\x10\0\x10\0PN")
            sent[f"1.2.8.{number}"] = body[:at] + b"\x09\0\x10\x10" + odd + b"\x04\0abcd" + body[at:]

        # When
        sender = Sender(self.gateway.port, TITLE)
        for instance, body in sent.items():
            sender.store(body, instance)
        sender.release()
        self.await_all(len(sent))

        # Then
        with sqlite3.connect(self.gateway.home / "index/QuorinGateway.sqlite", timeout=30) as index:
            self.assertEqual(index.execute("SELECT originalSOPInstanceUID, damaged FROM DicomImage ORDER BY 1").fetchall(),
                             [(instance, 0) for instance in sent])
        for instance, body in sent.items():
            with self.subTest(instance):
                self.assertEqual(self.fetched(instance), body)

    def test_one_identifier_in_two_studies_is_two_images(self):
        # Given
        one = dataset("1.2.6.1", study="1.2.61", series="1.2.61.1", shade=1)
        other = dataset("1.2.6.1", study="1.2.62", series="1.2.62.1", shade=2)

        # When
        sender = Sender(self.gateway.port, TITLE)
        sender.store(one, "1.2.6.1")
        sender.store(other, "1.2.6.1")
        sender.release()
        self.await_all(2)

        # Then
        self.assertEqual(self.fetched("1.2.6.1", "1.2.61", "1.2.61.1"), one)
        self.assertEqual(self.fetched("1.2.6.1", "1.2.62", "1.2.62.1"), other)


    def test_an_odd_identifier_is_known_again_in_the_cloud_s_answer(self):
        # Given
        study, series, instance = "1.2.11 a?b#c%20", "1.2.11&s=1", "1.2.11+3;4"
        body = dataset(instance, study=study, series=series)

        # When
        sender = Sender(self.gateway.port, TITLE)
        sender.store(body, instance)
        sender.release()
        self.await_all(1)

        # Then
        self.assertEqual(self.cloud.requests("GET", "/dicom-web"), 0, "the answer alone proves it")
        self.assertEqual(self.fetched(*(quote(uid, safe="") for uid in (instance, study, series))), body)


class Compressed(WithoutCompression):
    """With the compression that is on by default."""

    def setUp(self):
        super().setUp()
        self.gateway.command("settings", "set", "quorinCloudCompressToLS", "true")

    def test_what_the_compressed_form_could_not_hold_goes_up_as_it_came(self):
        # Given
        twice = [(0x00204000, "LT", "first"), (0x00204000, "LT", "second")]
        inside = item((0x00081155, "UI", "1.2"), (0x00081155, "UI", "1.2.3"))
        sent = {"1.2.10.1": dataset("1.2.10.1"), "1.2.10.2": dataset("1.2.10.2", more=twice),
                "1.2.10.3": dataset("1.2.10.3", more=[(0x00081140, "SQ", inside)]),
                "1.2.10.4": dataset("1.2.10.4") + element(0x00104000, "LT", "behind the pixels")}

        # When
        sender = Sender(self.gateway.port, TITLE)
        for instance, body in sent.items():
            sender.store(body, instance)
        sender.store(dataset("1.2.10.5") + b"abc", "1.2.10.5")
        sender.release()
        self.await_all(len(sent) + 1)

        # Then
        self.assertEqual(self.cloud.instances()["1.2.10.1"]["transferSyntaxUID"], JPEG_LS)
        for instance in ("1.2.10.2", "1.2.10.3", "1.2.10.4"):
            with self.subTest(instance):
                self.assertEqual(self.fetched(instance), sent[instance])
        self.assertEqual(self.fetched("1.2.10.5"), dataset("1.2.10.5"))


class Endings(WithoutCompression):
    """A whole object that ends in an odd way is a whole object."""

    def store(self, body, instance, transfer_syntax=EXPLICIT):
        sender = Sender(self.gateway.port, TITLE, transfer_syntax)
        sender.store(body, instance)
        sender.release()

    def assert_nothing_is_found(self):
        report = json.loads(self.gateway.command("doctor", "--json", check=False).stdout)
        self.assertEqual(report["findings"], [])

    def test_a_later_version_that_lacks_its_last_delimiter_takes_the_place_of_the_earlier_one(self):
        # Given
        earlier, later = (with_fragments(dataset("1.2.8.1"), bytes([shade]) * 90) for shade in (1, 2))
        self.store(earlier, "1.2.8.1", RLE)
        self.await_all(1)
        self.cloud.steer("second-versions", policy="replace")

        # When
        self.store(later[:-len(DELIMITER)], "1.2.8.1", RLE)

        # Then
        await_true("the later one", lambda: self.fetched("1.2.8.1") == later, self.gateway.process)
        self.await_all(1)
        self.assert_nothing_is_found()

    def test_a_later_version_with_bytes_behind_it_takes_the_place_of_the_earlier_one(self):
        # Given
        earlier, later = (dataset("1.2.8.2", shade=shade) for shade in (1, 2))
        self.store(earlier, "1.2.8.2")
        self.await_all(1)
        self.cloud.steer("second-versions", policy="replace")

        # When
        self.store(later + b"abc", "1.2.8.2")

        # Then
        await_true("the later one", lambda: self.fetched("1.2.8.2") == later, self.gateway.process)
        self.await_all(1)
        self.assert_nothing_is_found()

    def test_an_import_takes_both_and_passes_over_what_is_cut(self):
        # Given
        compressed = with_fragments(dataset("1.2.8.3"), b"one frame ", b"or a part?")
        whole = {"1.2.8.4": (with_fragments(dataset("1.2.8.4"), b"one frame "), RLE, -len(DELIMITER), b""),
                 "1.2.8.5": (dataset("1.2.8.5"), EXPLICIT, None, b"\r\n7")}
        folder = self.folder / "endings"
        folder.mkdir()
        (folder / "cut.dcm").write_bytes(part10(compressed[:-len(DELIMITER)], "1.2.8.3", RLE))
        for instance, (body, transfer_syntax, cut, tail) in whole.items():
            (folder / f"{instance}.dcm").write_bytes(part10(body[:cut], instance, transfer_syntax) + tail)

        # When
        report = json.loads(self.gateway.command("import", "--json", folder, check=False).stdout)

        # Then
        self.assertEqual(report["importedFiles"], 2)
        self.assertEqual([skipped["reason"] for skipped in report["skipped"]], ["damaged_object"])
        self.await_all(2)
        for instance, (body, *_) in whole.items():
            with self.subTest(instance):
                self.assertEqual(self.fetched(instance), body)


class CorrectedImage(WithoutCompression):
    """An image that is sent again under its identifier with other pixels."""

    FIRST, SECOND = dataset("1.2.7.1", shade=1), dataset("1.2.7.1", shade=2)

    def send(self, body):
        sender = Sender(self.gateway.port, TITLE)
        sender.store(body, "1.2.7.1")
        sender.release()

    def send_both(self, policy, first=FIRST, second=SECOND):
        self.send(first)
        self.await_all(1)
        self.cloud.steer("second-versions", policy=policy)
        self.send(second)

    def await_held_back(self, first=FIRST):
        status = self.gateway.await_status("the corrected image is held back", lambda s: "anotherVersionInCloud"
                                           in json.dumps(s["failures"]))
        self.assertEqual(status["counters"]["failed"], 1)
        self.assertEqual(self.fetched("1.2.7.1"), first)

    def test_it_arrives_where_the_cloud_replaces(self):
        self.send_both("replace")
        await_true("the corrected image", lambda: self.fetched("1.2.7.1") == self.SECOND)
        self.await_all(1)

    def test_it_arrives_compressed_where_the_cloud_replaces(self):
        # Given
        self.gateway.command("settings", "set", "quorinCloudCompressToLS", "true")

        # When
        self.send_both("replace")
        await_true("the second upload", lambda: self.cloud.instances()["1.2.7.1"]["timesStored"] == 2)
        self.await_all(1)

        # Then
        self.assertEqual(self.cloud.instances()["1.2.7.1"]["transferSyntaxUID"], JPEG_LS)
        self.assertEqual(self.cloud.requests("GET", "/dicom-web"), 1)

    def test_it_is_not_sent_where_the_cloud_says_that_it_has_the_first(self):
        self.send_both("refuse")
        self.await_held_back()

    def test_it_is_not_sent_where_the_cloud_drops_it_without_a_word(self):
        self.send_both("ignore")
        self.await_held_back()

    def test_other_colours_by_the_arrangement_alone_are_another_image(self):
        # Given
        pixels = bytes(at % 251 for at in range(32 * 32 * 3))
        by_pixel, by_plane = (dataset("1.2.7.1", more=[
            (0x00280002, "US", 3), (0x00280004, "CS", "RGB"), (0x00280006, "US", arrangement), (0x00280100, "US", 8),
            (0x00280101, "US", 8), (0x00280102, "US", 7), (0x7FE00010, "OW", pixels)]) for arrangement in (0, 1))

        # When
        self.send_both("ignore", by_pixel, by_plane)

        # Then
        self.await_held_back(by_pixel)

    def test_the_same_elements_in_other_items_are_another_image(self):
        # Given
        sop_class, instance = (0x00081150, "UI", "1.2"), (0x00081155, "UI", "1.2.3")
        two, one = (dataset("1.2.7.1", more=[(0x00081140, "SQ", items)])
                    for items in (item(sop_class) + item(instance), item(sop_class, instance)))

        # When
        self.send_both("ignore", two, one)

        # Then
        self.await_held_back(two)

    def test_it_is_not_sent_where_the_answer_cannot_be_read(self):
        # Given
        self.send(self.FIRST)
        self.await_all(1)
        self.cloud.steer("faults", path="/dicom-web/studies", method="POST", count=None, status=200,
                         contentType="text/html", body="<html>Hotel</html>")

        # When
        self.send(self.SECOND)

        # Then
        self.await_held_back()

    def test_the_same_image_again_is_proven_by_one_look(self):
        # Given
        self.send(self.FIRST)
        self.await_all(1)
        self.cloud.steer("second-versions", policy="refuse")
        self.cloud.steer("counts/reset")

        # When
        self.send(self.FIRST)
        await_true("the second upload", lambda: self.cloud.requests("POST", "/dicom-web/studies") == 1)
        self.await_all(1)

        # Then
        self.assertEqual(self.cloud.requests("GET", "/dicom-web"), 1)


class ForeignVersion(WithoutCompression):
    """An image of which the cloud holds a version that another sent."""

    THEIRS, OURS = dataset("1.2.7.1", shade=1), dataset("1.2.7.1", shade=2)

    def store_theirs(self, policy):
        body = (b"--part\r\nContent-Type: application/dicom\r\n\r\n" + part10(self.THEIRS, "1.2.7.1")
                + b"\r\n--part--\r\n")
        request(f"{self.cloud.address}/dicom-web/studies", body,
                {"Authorization": f"Bearer {self.cloud.token()}", "Accept": "application/dicom+json",
                 "Content-Type": 'multipart/related; type="application/dicom"; boundary=part'})
        self.assertEqual(self.fetched("1.2.7.1"), self.THEIRS)
        self.cloud.steer("second-versions", policy=policy)

    def send(self, body):
        sender = Sender(self.gateway.port, TITLE)
        sender.store(body, "1.2.7.1")
        sender.release()

    def await_failure(self, word):
        """One image that failed so, and isn't being tried again."""
        self.gateway.await_status(f"a failure called {word}", lambda s: word in json.dumps(s["failures"]) and
                                  (s["counters"]["failed"], s["counters"]["synced"]) == (1, 0))

    def stored(self):
        return [dataset_of(file.read_bytes()) for file in (self.gateway.home / "Documents").rglob("*.dcm")]

    def test_it_is_kept_where_the_cloud_says_that_it_has_one(self):
        self.store_theirs("refuse")
        self.send(self.OURS)

        self.await_failure("anotherVersionInCloud")
        self.assertEqual(self.stored(), [self.OURS])
        # And it is kept when it is tried again
        posts = self.cloud.requests("POST", "/dicom-web/studies")
        self.gateway.command("upload")
        await_true("another try", lambda: self.cloud.requests("POST", "/dicom-web/studies") > posts)
        self.await_failure("anotherVersionInCloud")

    def test_it_is_kept_where_an_earlier_try_never_arrived(self):
        # Given
        self.store_theirs("refuse")
        self.cloud.steer("faults", path="/dicom-web/studies", method="POST", count=1, status=500)

        # When
        self.send(self.OURS)
        self.await_failure("serviceFault")
        self.gateway.command("upload")

        # Then
        self.await_failure("anotherVersionInCloud")

    def test_it_is_kept_where_an_earlier_try_never_arrived_and_the_device_sends_it_again(self):
        # Given
        self.store_theirs("refuse")
        self.cloud.steer("faults", path="/dicom-web/studies", method="POST", count=1, status=500)
        self.send(self.OURS)
        self.await_failure("serviceFault")

        # When
        self.send(self.OURS)

        # Then
        self.await_failure("anotherVersionInCloud")

    def give_nothing_back(self):
        self.cloud.steer("faults", path=f"/dicom-web/studies/{STUDY}/series/{SERIES}/instances/", method="GET",
                         count=None, status=404)

    def test_it_is_kept_where_it_cannot_be_compared(self):
        self.store_theirs("refuse")
        self.give_nothing_back()
        self.send(self.OURS)

        self.await_failure("notComparable")

    def test_one_page_in_place_of_the_instance_says_nothing_of_the_archive(self):
        # Given
        self.store_theirs("refuse")
        self.cloud.steer("faults", path=f"/dicom-web/studies/{STUDY}/series/{SERIES}/instances/", method="GET",
                         status=200, contentType="text/html", body="<html>maintenance</html>")

        # When
        self.send(self.OURS)

        # Then
        self.await_failure("notConfirmed")
        self.gateway.command("upload")
        self.await_failure("anotherVersionInCloud")

    def test_it_is_kept_by_another_cloud_that_gives_nothing_out_whatever_the_first_answered(self):
        # Given
        self.send(self.OURS)
        self.await_all(1)
        (self.folder / "another").mkdir()
        self.cloud = Cloud(self.folder / "another")
        self.addCleanup(self.cloud.end)
        port = self.gateway.port
        self.gateway.end()
        self.store_theirs("refuse")
        self.give_nothing_back()

        # When
        self.gateway = Gateway(self.folder, self.cloud.address)
        self.addCleanup(self.gateway.end)
        self.gateway.port = port
        await_true("the listener", lambda: self.gateway.status()["listener"]["state"] == "listening", self.gateway.process)
        self.gateway.sign_in()
        self.send(self.OURS)

        # Then
        self.await_failure("notComparable")
        self.assertEqual(self.stored(), [self.OURS])

    def test_it_is_kept_where_it_cannot_be_compared_and_came_while_the_cloud_was_away(self):
        # Given
        self.store_theirs("refuse")
        self.cloud.end()
        self.send(self.OURS)
        self.await_failure("notReachable")

        # When
        self.cloud.restart()
        self.cloud.steer("second-versions", policy="refuse")
        self.give_nothing_back()
        self.gateway.command("upload")

        # Then
        self.await_failure("notComparable")
        self.assertEqual(self.stored(), [self.OURS])

    def test_it_is_kept_where_it_cannot_be_compared_and_the_device_sends_it_again_to_a_busy_cloud(self):
        # Given
        self.store_theirs("refuse")
        self.give_nothing_back()
        self.cloud.steer("faults", path="/dicom-web/studies", method="POST", count=1, status=503)
        self.send(self.OURS)
        self.await_failure("tooManyRequests")

        # When
        self.send(self.OURS)
        self.gateway.command("upload")

        # Then
        self.await_failure("notComparable")
        self.assertEqual(self.stored(), [self.OURS])

    def test_the_same_version_is_proven_by_a_look(self):
        self.store_theirs("refuse")
        self.send(self.THEIRS)

        self.await_all(1)


if __name__ == "__main__":
    unittest.main(verbosity=2)
