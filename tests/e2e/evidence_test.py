"""What is known of what was sent, over kills of the gateway and the loss of its index."""

import json
import shutil
import socket
import unittest

from harness import TITLE, Gateway, await_true
from identity_test import SERIES, STUDY, WithoutCompression
from odd_objects import Sender, dataset

STORE = {"path": "/dicom-web/studies", "method": "POST"}
INSTANCES = f"/dicom-web/studies/{STUDY}/series/{SERIES}/instances"


class Evidence(WithoutCompression):

    def give_nothing_back(self):
        self.cloud.steer("faults", path=f"{INSTANCES}/", method="GET", count=None, status=404)

    def send(self, instance, shade=0):
        sender = Sender(self.gateway.port, TITLE)
        sender.store(dataset(instance, shade=shade), instance)
        sender.release()

    def start_again(self, before=lambda: None):
        port = self.gateway.port
        self.gateway.process.kill()
        self.gateway.process.wait()
        before()
        self.gateway = Gateway(self.folder, self.cloud.address)
        self.addCleanup(self.gateway.end)
        self.gateway.port = port
        await_true("the listener", self.is_listening, self.gateway.process)

    def is_listening(self):
        with socket.socket() as device:
            return device.connect_ex(("127.0.0.1", self.gateway.port)) == 0

    def lose_the_index(self):
        shutil.rmtree(self.gateway.home / "index")

    def lose_the_index_after_retention(self):
        self.lose_the_index()
        files = [file for file in (self.gateway.home / "Documents").rglob("*.dcm")]
        self.assertEqual(len(files), 1)
        files[0].unlink()

    def await_failure(self, word):
        return self.gateway.await_status(f"a failure called {word}", lambda s: word in json.dumps(s["failures"]))

    def test_an_image_whose_upload_was_killed_arrives_where_nothing_is_given_back(self):
        self.give_nothing_back()
        for number, policy in enumerate(("refuse", "ignore", "replace"), start=1):
            with self.subTest(policy=policy):
                # Given
                instance = f"1.2.7.{number}"
                self.cloud.steer("second-versions", policy=policy)
                self.cloud.steer("faults", **STORE, delayMs=600_000)
                self.send(instance)
                await_true("it in the cloud", lambda: instance in self.cloud.instances(), self.gateway.process)

                # When
                self.start_again()

                # Then
                self.await_all(number)

    def test_what_the_cloud_holds_is_not_sent_again_after_the_loss_of_the_index(self):
        # Given
        self.send("1.2.7.1")
        self.send("1.2.7.2")
        self.await_all(2)
        self.cloud.steer("counts/reset")

        # When
        self.start_again(self.lose_the_index)

        # Then
        self.await_all(2)
        self.assertEqual(self.cloud.requests("POST", "/dicom-web/studies"), 0)

    def test_what_cannot_be_fetched_after_the_loss_of_the_index_is_told_so_and_sent_once(self):
        # Given
        self.send("1.2.7.1")
        self.await_all(1)
        self.give_nothing_back()
        self.cloud.steer("counts/reset")

        # When
        self.start_again(self.lose_the_index)
        status = self.await_failure("notComparable")

        # Then
        self.assertIn("can't be fetched for comparison", json.dumps(status["failures"]))
        self.assertEqual(self.cloud.requests("POST", "/dicom-web/studies"), 1)
        looks = self.cloud.requests("GET", INSTANCES)
        self.gateway.command("upload")
        await_true("another look", lambda: self.cloud.requests("GET", INSTANCES) > looks + 1, self.gateway.process)
        self.await_failure("notComparable")
        self.assertEqual(self.cloud.requests("POST", "/dicom-web/studies"), 1)
        # And it is settled as soon as the cloud gives it out
        self.cloud.steer("faults/clear")
        self.gateway.command("upload")
        self.await_all(1)
        self.assertEqual(self.cloud.requests("POST", "/dicom-web/studies"), 1)

    def test_a_second_version_is_known_for_one_though_the_first_and_the_index_are_gone(self):
        # Given
        self.send("1.2.7.1", shade=1)
        self.await_all(1)
        self.cloud.steer("second-versions", policy="ignore")

        # When
        self.start_again(self.lose_the_index_after_retention)
        self.send("1.2.7.1", shade=2)

        # Then
        self.await_failure("anotherVersionInCloud")
        self.assertEqual(self.fetched("1.2.7.1"), dataset("1.2.7.1", shade=1))

    def test_a_second_version_is_known_for_one_though_the_index_is_from_a_backup_and_the_first_is_gone(self):
        # Given
        index, backup = self.gateway.home / "index", self.folder / "backup"
        self.send("1.2.7.1", shade=1)
        self.await_all(1)
        self.start_again(lambda: shutil.copytree(index, backup))
        self.send("1.2.7.2", shade=1)
        self.await_all(2)
        self.cloud.steer("second-versions", policy="ignore")

        # When
        def bring_back():
            shutil.rmtree(index)
            shutil.copytree(backup, index)
            for file in (self.gateway.home / "Documents").rglob("*.dcm"):
                file.unlink()
        self.start_again(bring_back)
        self.send("1.2.7.2", shade=2)

        # Then
        self.await_failure("anotherVersionInCloud")
        self.assertEqual(self.fetched("1.2.7.2"), dataset("1.2.7.2", shade=1))

    def test_a_page_in_place_of_a_querys_result_is_no_word_that_the_cloud_has_nothing(self):
        # Given
        self.send("1.2.7.1", shade=1)
        self.await_all(1)
        self.cloud.steer("second-versions", policy="ignore")
        self.start_again(self.lose_the_index_after_retention)
        self.cloud.steer("faults", path=f"/dicom-web/studies/{STUDY}", method="GET", status=200,
                         contentType="text/html", body="<html>maintenance</html>")

        # When
        self.send("1.2.7.1", shade=2)

        # Then
        self.await_failure("notLookedUp")
        self.assertEqual(self.cloud.requests("POST", "/dicom-web/studies"), 1)
        self.await_failure("anotherVersionInCloud")

    def test_one_word_that_there_are_no_queries_is_not_believed(self):
        for status in (403, 404):
            with self.subTest(status=status):
                # Given
                instance = f"1.2.7.{status}"
                self.send(instance, shade=1)
                self.await_all(1)
                self.cloud.steer("second-versions", policy="ignore")
                self.start_again(self.lose_the_index_after_retention)
                # Where nothing is at the address of the series, it asks without a place as well.
                for path in (f"/dicom-web/studies/{STUDY}", "/dicom-web/instances")[:2 if status == 404 else 1]:
                    self.cloud.steer("faults", path=path, method="GET", count=1, status=status,
                                     contentType="text/plain", body="page not found")

                # When
                self.send(instance, shade=2)

                # Then
                self.await_failure("notLookedUp")
                self.await_failure("anotherVersionInCloud")
                self.assertEqual(self.fetched(instance), dataset(instance, shade=1))
                self.start_again(self.lose_the_index_after_retention)

    def test_an_archive_that_names_another_instance_than_it_was_asked_for_has_not_said_no(self):
        # Given
        self.send("1.2.7.1", shade=1)
        self.await_all(1)
        self.cloud.steer("second-versions", policy="ignore")
        self.start_again(self.lose_the_index_after_retention)
        any_one = [{"00080018": {"vr": "UI", "Value": ["1.2.7.99"]}}]
        self.cloud.steer("faults", path=INSTANCES, method="GET", count=2, status=200,
                         contentType="application/dicom+json", body=json.dumps(any_one))

        # When
        self.send("1.2.7.1", shade=2)

        # Then
        self.await_failure("anotherVersionInCloud")
        self.assertEqual(self.gateway.status()["counters"]["synced"], 0)

    def test_a_new_series_costs_one_question_after_the_loss_of_the_index(self):
        # Given
        self.send("1.2.7.1")
        self.await_all(1)
        self.start_again(self.lose_the_index_after_retention)
        self.cloud.steer("counts/reset")

        # When
        sender = Sender(self.gateway.port, TITLE)
        for number in range(1, 5):
            instance = f"1.2.8.{number}"
            sender.store(dataset(instance, study="1.2.8", series="1.2.8.0"), instance)
        sender.release()

        # Then
        self.await_all(4)
        self.assertEqual(self.cloud.requests("GET", "/dicom-web/studies/1.2.8"), 1)
        self.assertEqual(self.cloud.requests("GET", "/dicom-web/studies"), 1)


if __name__ == "__main__":
    unittest.main(verbosity=2)
