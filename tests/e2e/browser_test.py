"""What the cloud and this computer hold, looked at and deleted by command; what goes is gone, what stays stays."""

import json
import unittest

from harness import EndToEndTest, send


class Browser(EndToEndTest):

    def setUp(self):
        super().setUp()
        self.cloud = self.start_cloud()
        self.gateway = self.start_gateway(self.cloud.address)

    def told(self, *arguments):
        return json.loads(self.gateway.command(*arguments, "--json").stdout)

    def refusal(self, *arguments):
        ended = self.gateway.command(*arguments, check=False)
        return ended.returncode, ended.stderr

    def stored_files(self):
        return [path for path in (self.gateway.home / "Documents/Pavan Data").rglob("*.dcm")]

    def test_a_study_is_deleted_here_and_there_each_by_itself(self):
        # Given
        self.assertEqual(self.refusal("cloud", "studies"), (1, "Sign in to load Quorin Cloud studies.\n"))
        self.gateway.sign_in()
        sent = self.samples(ct=3)
        send(self.gateway, sent)
        self.gateway.await_synced(sent)
        cloud = self.told("cloud", "studies")["studies"]
        local = self.told("local", "studies")["studies"]
        self.assertEqual({study["studyInstanceUID"] for study in cloud}, {study["id"] for study in local})
        self.assertEqual(sum(study["images"] for study in cloud), len(sent))
        self.assertEqual({study["syncState"] for study in local}, {"Synced"})
        study = local[0]["id"]
        series = self.told("cloud", "series", study)["series"]
        self.assertEqual(sum(one["images"] for one in series), cloud[0]["images"])
        self.assertIn(study, self.gateway.command("local", "studies").stdout)

        # When a person isn't sure
        self.assertEqual(self.refusal("local", "delete", study),
                         (2, "This would delete 1 study from this computer for good. "
                             "To do it, add --yes --expect 1.\n"))
        self.assertEqual(self.refusal("cloud", "delete", study, "--yes", "--expect", "2"),
                         (2, "1 study would be deleted, and 2 are expected. Nothing was deleted.\n"))
        self.assertEqual(self.refusal("cloud", "delete", study, "--yes")[0], 2)
        self.assertEqual((len(self.cloud.instances()), len(self.stored_files())), (len(sent), len(sent)))

        # When the study goes from the cloud
        gone = self.gateway.command("cloud", "delete", study, "--yes", "--expect", "1").stdout
        self.assertEqual(gone, "Deleted 1 study. Copies on this computer stay.\n")
        self.assertEqual(self.told("cloud", "studies")["studies"], cloud[1:])
        self.assertEqual(len(self.stored_files()), len(sent))
        code, words = self.refusal("cloud", "delete", study, "--yes", "--expect", "1")
        self.assertEqual(code, 1)
        self.assertIn("Deleted 0 of 1 selected studies. 1 failed.", words)
        again = self.gateway.command("cloud", "delete", study, "--yes", "--expect", "1", "--json", check=False)
        told = json.loads(again.stdout)
        self.assertEqual((again.returncode, told["deleted"], told["failedTargets"]), (1, 0, [study]))
        self.assertEqual(told["problem"] + "\n", again.stderr)

        # When it goes from here
        gone = self.gateway.command("local", "delete", study, "--yes", "--expect", "1").stdout
        self.assertEqual(gone, "Deleted 1 study. What is in Quorin Cloud stays there.\n"
                               f"Images not in Quorin Cloud: {local[0]['images']}, of 1 of the selected studies. "
                               "They will be lost.\n", "it had been deleted from there before")
        self.assertEqual(self.told("local", "studies")["studies"], local[1:])
        self.assertEqual(len(self.stored_files()), sum(one["images"] for one in local[1:]))

    def test_what_is_not_in_the_cloud_is_told_before_and_behind_its_deletion(self):
        # Given
        sent = self.samples(ct=1)
        send(self.gateway, sent)
        self.gateway.await_status("the import", lambda status: status["counters"]["images"] == len(sent))
        study = self.told("local", "studies")["studies"][0]["id"]
        warning = (f"Images not in Quorin Cloud: {len(sent)}, of 1 of the selected studies. "
                   "They will be lost.\n")

        # When a person looks first
        code, words = self.refusal("local", "delete", study)

        # Then
        self.assertEqual((code, words), (2, "This would delete 1 study from this computer for good.\n" + warning
                                         + "To do it, add --yes --expect 1.\n"))
        self.assertEqual(len(self.stored_files()), len(sent))

        # When they mean it
        gone = self.gateway.command("local", "delete", study, "--yes", "--expect", "1").stdout

        # Then
        self.assertEqual(gone, "Deleted 1 study. What is in Quorin Cloud stays there.\n" + warning)
        self.assertEqual(self.stored_files(), [])

    def test_a_series_deleted_from_the_cloud_stays_here(self):
        # Given
        self.gateway.sign_in()
        sent = self.samples(ct=1, mr=1)
        send(self.gateway, sent)
        self.gateway.await_synced(sent)
        study = self.told("local", "studies")["studies"][0]["id"]
        here = sorted(one["seriesInstanceUID"] for one in self.told("local", "series", study)["series"])
        there = sorted(one["seriesInstanceUID"] for one in self.told("cloud", "series", study)["series"])
        self.assertEqual(here, there, "people name a series alike in both places")

        # When
        self.gateway.command("cloud", "delete", "--study", study, here[0], "--yes", "--expect", "1")

        # Then
        warning = "Images not in Quorin Cloud: 1, of 1 of the selected series. They will be lost.\n"
        self.assertIn(warning, self.refusal("local", "delete", "--study", study, here[0])[1])
        self.assertNotIn(warning, self.refusal("local", "delete", "--study", study, here[1])[1])

    def test_an_empty_name_deletes_nothing(self):
        # Given
        sent = self.samples(ct=1)
        send(self.gateway, sent)
        self.gateway.await_status("the import", lambda status: status["counters"]["images"] == len(sent))
        study = self.told("local", "studies")["studies"][0]["id"]

        # When, Then
        for place in ("local", "cloud"):
            code, _ = self.refusal(place, "delete", "--study", "", study, "--yes", "--expect", "1")
            self.assertEqual(code, 2)
        self.assertEqual(len(self.stored_files()), len(sent))

    def test_nothing_is_asked_of_a_gateway_that_does_not_run(self):
        self.gateway.end()

        self.assertEqual(self.refusal("local", "studies")[0], 3)


if __name__ == "__main__":
    unittest.main()
