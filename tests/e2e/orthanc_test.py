"""The gateway in front of an archive of others': Orthanc with its DICOMweb plugin."""

import json
import unittest

from harness import TITLE, EndToEndTest, attributes_of, await_true, identity_of, pixels_of, send
from odd_objects import DELIMITER, EXPLICIT, RLE, Sender, dataset, dataset_of, with_fragments
from orthanc import Orthanc

class BehindAnArchive(EndToEndTest):

    def setUp(self):
        super().setUp()
        self.orthanc = Orthanc(self.folder)
        self.addCleanup(self.orthanc.end)
        self.gateway = self.start_gateway(self.orthanc.root, kind="dicomweb")

    def test_everything_that_is_sent_arrives(self):
        # Given
        self.gateway.sign_in()
        sent = self.samples(ct=3, mr=2, us=1, us_frames=4, dx=1, colour=1, report=1)

        # When
        send(self.gateway, sent)
        self.gateway.await_synced(sent)

        # Then
        there = self.orthanc.files(self.folder)
        self.assertEqual(set(there), {identity_of(file)[2] for file in sent})
        for file in sent:
            with self.subTest(file.stem):
                back = there[identity_of(file)[2]]
                self.assertEqual(attributes_of(file), attributes_of(back))
                pixels = pixels_of(file, self.folder / "pixels" / file.stem / "sent")
                self.assertEqual(len(pixels) == 0, file.stem.startswith("report"))
                self.assertTrue(pixels == pixels_of(back, self.folder / "pixels" / file.stem / "fetched"),
                                f"the pixels of {file.stem} differ")

    def test_what_is_there_is_listed_and_a_refused_deletion_is_told(self):
        # Given
        self.gateway.sign_in()
        sent = self.samples(ct=3, mr=2)
        send(self.gateway, sent)
        self.gateway.await_synced(sent)

        # When
        studies = json.loads(self.gateway.command("cloud", "studies", "--json").stdout)["studies"]
        series = json.loads(self.gateway.command("cloud", "series", studies[0]["studyInstanceUID"],
                                                 "--json").stdout)["series"]

        # Then
        self.assertEqual({study["studyInstanceUID"] for study in studies}, {identity_of(file)[0] for file in sent})
        self.assertEqual(sum(study["images"] for study in studies), len(sent))
        self.assertEqual({one["seriesInstanceUID"] for one in series},
                         {identity_of(file)[1] for file in sent
                          if identity_of(file)[0] == studies[0]["studyInstanceUID"]})

        # When something is to be deleted, which this archive doesn't offer by DICOMweb
        study = studies[0]["studyInstanceUID"]
        for what, words in ((("--study", study, series[0]["seriesInstanceUID"]), "series"), ((study,), "studies")):
            refused = self.gateway.command("cloud", "delete", *what, "--yes", "--expect", "1", check=False)

            # Then
            self.assertEqual(refused.returncode, 1)
            self.assertEqual(refused.stderr, f"Deleted 0 of 1 selected {words}. 1 failed. Last error: "
                             "The server at 127.0.0.1 does not offer this (status 405).\n")
        self.assertEqual(len(self.orthanc.files(self.folder)), len(sent))

    def test_a_corrected_image_that_the_archive_drops_is_not_taken_for_sent(self):
        # Given
        first, second = dataset("1.2.7.1", shade=1), dataset("1.2.7.1", shade=2)
        self.gateway.sign_in()
        sender = Sender(self.gateway.port, TITLE)
        sender.store(first, "1.2.7.1")
        self.gateway.await_status("the first version", lambda s: s["counters"]["synced"] == 1)

        # When
        sender.store(second, "1.2.7.1")
        sender.release()
        status = self.gateway.await_status("the second version is held back", lambda s: "anotherVersionInCloud"
                                           in json.dumps(s["failures"]))

        # Then
        self.assertEqual(status["counters"]["synced"], 0)

    def test_whole_objects_that_end_in_an_odd_way_arrive_and_are_the_same_as_the_regular_ones(self):
        # Given
        compressed, native = with_fragments(dataset("1.2.7.2"), b"one frame " * 9), dataset("1.2.7.3")
        self.gateway.sign_in()
        self.send(compressed[:-len(DELIMITER)], "1.2.7.2", RLE)
        self.send(native + b"abc", "1.2.7.3")
        self.gateway.await_status("both", lambda s: s["counters"]["synced"] == 2)

        # When other bytes come of which the archive keeps nothing
        self.send(compressed, "1.2.7.2", RLE)
        self.send(native, "1.2.7.3")
        await_true("an empty inbox", lambda: not list(self.gateway.home.rglob("quorin-*.dcm")), self.gateway.process)
        self.gateway.await_status("both again", lambda s: s["counters"]["synced"] == 2 and not s["failures"]
                                  and s["counters"]["notSynced"] == 0)

        # Then
        there = self.orthanc.files(self.folder)
        self.assertEqual(set(there), {"1.2.7.2", "1.2.7.3"})
        self.assertEqual(dataset_of(there["1.2.7.2"].read_bytes()), compressed)

    def send(self, body, instance, transfer_syntax=EXPLICIT):
        sender = Sender(self.gateway.port, TITLE, transfer_syntax)
        sender.store(body, instance)
        sender.release()

    def test_a_wrong_password_is_refused_with_one_sentence(self):
        # When
        refused = self.gateway.sign_in(password="not-the-password", check=False)

        # Then
        self.assertEqual(refused.returncode, 1)
        self.assertRegex(refused.stderr, r"\A[A-Z][^.\n]+\.\n\Z")
        self.assertEqual(refused.stdout, "")
        self.assertFalse(self.gateway.status()["session"]["signedIn"])


if __name__ == "__main__":
    unittest.main(verbosity=2)
