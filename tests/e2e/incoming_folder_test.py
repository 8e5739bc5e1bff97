"""What a modality was told is stored is taken in, whichever incoming folder is chosen afterwards."""

import json
import os
import shutil
import signal
import sqlite3
import unittest

from harness import TITLE, EndToEndTest, Gateway, await_true, free_port, run, send
from helpers_test import children_of
from odd_objects import Sender, dataset, dataset_of

DAY_MS = 24 * 3600 * 1000


class IncomingFolder(EndToEndTest):

    def setUp(self):
        super().setUp()
        self.cloud = self.start_cloud()
        self.gateway = self.start_gateway(self.cloud.address)
        self.inbox = next(self.gateway.home.rglob(".part")).parent
        self.chosen = self.folder / "chosen"
        self.chosen.mkdir()

    def hold_back_imports(self):
        """The file store can't take anything in until `obstacle` is removed."""
        obstacle = self.gateway.home / "Documents/Pavan Data/.incoming"
        shutil.rmtree(obstacle, ignore_errors=True)
        obstacle.write_text("no folder")
        return obstacle

    def leave_behind(self):
        """Images that wait in the inbox, one of them set aside."""
        images = self.samples(ct=3)
        send(self.gateway, images[:2])
        aside = self.inbox / ".rejected"
        aside.mkdir()
        shutil.copy(images[2], aside / "0a0a0a0a-quorin-1cf863cea2530d15b81b6a8b38eae4b7-9.dcm")
        self.assertEqual(len(list(self.inbox.glob("quorin-*.dcm"))), 2)
        return images

    def start_again(self, *, before):
        port = self.gateway.port
        self.gateway.end()
        before()
        self.gateway = Gateway(self.folder, self.cloud.address)
        self.addCleanup(self.gateway.end)
        self.gateway.port = port

    def await_listener(self, state):
        return self.gateway.await_status(f"a listener that is {state}", lambda s: s["listener"]["state"] == state)

    def choose(self):
        self.gateway.command("settings", "set", "ListenerDestinationFolder", self.chosen)

    def findings(self, *options):
        report = json.loads(self.gateway.command("doctor", "--json", *options, check=False).stdout)
        return {found["kind"]: (found["count"], found["mended"]) for found in report["findings"]
                if found["kind"] != "noSession"}

    def assert_all_is_taken_in(self, images):
        self.gateway.await_received(images[:2])
        self.gateway.await_status("the count", lambda s: s["inbox"]["setAside"] == 1)
        self.assertEqual(self.findings("--repair"), {"rejectedObject": (1, 1)})
        self.gateway.await_received(images)
        self.gateway.await_status("nothing set aside", lambda s: s["inbox"]["setAside"] == 0)
        more = self.samples(seed=2, ct=1)
        await_true("the chosen folder's listener",
                   lambda: run("storescu", "-aec", TITLE, "127.0.0.1", self.gateway.port, *more, check=False)
                   .returncode == 0, self.gateway.process)
        self.gateway.await_received(images + more)
        self.assertEqual(list(self.inbox.glob("quorin-*.dcm")), [])
        self.assertTrue((self.chosen / ".part").is_dir())
        self.assertEqual(self.findings(), {})

    def test_the_listener_comes_back_when_another_folder_stood_in_the_place_of_its_own_and_could_not_be_used(self):
        # Given a folder of another number, in which nothing can work
        away = self.folder / "away"
        self.inbox.rename(away)
        (self.inbox / ".part" / "order").mkdir(parents=True)
        (self.inbox / ".part" / ".id").write_text("00000000000000000000000000000001\n")
        told = self.await_listener("failed")["listener"]["error"]
        self.assertIn(f"The incoming folder {self.inbox} can't be used", told)
        self.assertNotIn("Failed to start", told)

        # When
        shutil.rmtree(self.inbox)
        away.rename(self.inbox)

        # Then
        self.await_listener("listening")
        sent = self.samples(ct=1)
        send(self.gateway, sent)
        self.gateway.await_received(sent)
        self.gateway.await_status("the folder in sight", lambda status: status["inbox"]["outOfSight"] == 0)
        self.assertEqual(self.findings(), {})

    def test_what_waits_in_the_one_before_is_taken_in_when_another_is_chosen(self):
        obstacle = self.hold_back_imports()
        images = self.leave_behind()

        self.choose()
        self.start_again(before=obstacle.unlink)

        self.assert_all_is_taken_in(images)

    def test_and_when_another_was_chosen_while_the_gateway_was_down(self):
        obstacle = self.hold_back_imports()
        images = self.leave_behind()

        self.start_again(before=lambda: (obstacle.unlink(), self.choose()))

        self.assert_all_is_taken_in(images)

    def test_the_one_before_is_looked_for_until_its_volume_is_back(self):
        # Given
        obstacle = self.hold_back_imports()
        images = self.leave_behind()[:2]
        shutil.rmtree(self.inbox / ".rejected")
        away = self.folder / "volume"

        # When
        self.start_again(before=lambda: (obstacle.unlink(), self.inbox.rename(away), self.inbox.mkdir(), self.choose()))

        # Then
        self.assertEqual(self.findings(), {"formerInboxOutOfSight": (1, 0)})
        said = self.gateway.command("doctor", check=False)
        self.assertEqual(said.returncode, 1)
        self.assertIn(str(self.inbox), said.stdout)

        # When
        self.inbox.rmdir()
        away.rename(self.inbox)

        # Then
        self.gateway.await_received(images)
        await_true("all is well", lambda: self.findings() == {}, self.gateway.process)

    def start_without_volume(self, make_what_lies_under_it):
        """Two images wait on it. Returns them, and where the volume is meanwhile."""
        obstacle = self.hold_back_imports()
        images = self.samples(ct=2)
        send(self.gateway, images)
        away = self.folder / "volume"
        self.start_again(before=lambda: (obstacle.unlink(), self.inbox.rename(away), make_what_lies_under_it()))
        return images, away

    def names_in(self, folder):
        return [path.relative_to(folder).as_posix() for path in folder.rglob("*")]

    def refuses(self):
        """Nobody can send, and people are told why."""
        self.gateway.await_status("its words", lambda s: "The incoming folder can't be seen at"
                                  in (s["listener"]["error"] or "") and s["inbox"]["outOfSight"] == 1)
        self.assertEqual(self.findings()["inboxOutOfSight"], (1, 0))
        self.assertIn("Inbox      can't be seen", self.gateway.command("status", check=False).stdout)

    def test_one_that_is_not_mounted_at_the_start_is_not_made_anew_under_its_mount_point(self):
        # When
        images, away = self.start_without_volume(self.inbox.mkdir)

        # Then
        self.refuses()
        self.assertNotEqual(run("storescu", "-aec", TITLE, "127.0.0.1", self.gateway.port, *images, check=False)
                            .returncode, 0)
        self.assertEqual(self.names_in(self.inbox), [])

        # When
        self.inbox.rmdir()
        away.rename(self.inbox)

        # Then
        self.gateway.await_received(images)
        more = self.samples(seed=2, ct=1)
        await_true("the listener", lambda: self.gateway.status()["listener"]["state"] == "listening", self.gateway.process)
        send(self.gateway, more)
        self.gateway.await_received(images + more)
        self.assertEqual(self.findings(), {})

    def test_nor_in_life_by_a_receiver_that_is_started_anew(self):
        # Given
        away = self.folder / "volume"
        receiver = children_of(self.gateway.process.pid, "scp")[0]
        self.inbox.rename(away)
        self.inbox.mkdir()

        # When
        os.kill(receiver, signal.SIGKILL)

        # Then
        self.gateway.await_status("its words", lambda s: s["inbox"]["outOfSight"] == 1
                                  and "can't be used" in (s["listener"]["error"] or ""))
        self.assertEqual(self.names_in(self.inbox), [])

        # When
        self.inbox.rmdir()
        away.rename(self.inbox)

        # Then
        self.gateway.await_status("the listener", lambda s: s["listener"]["state"] == "listening"
                                  and s["inbox"]["outOfSight"] == 0)
        images = self.samples(ct=1)
        send(self.gateway, images)
        self.gateway.await_received(images)

    def leave_as_an_earlier_program_did(self):
        """What it made where the volume wasn't mounted."""
        (self.inbox / ".part").mkdir(parents=True)
        (self.inbox / ".part/.lock").touch()
        (self.inbox / ".part/order").touch()

    def test_nor_is_it_forgotten_where_an_earlier_program_worked_under_its_mount_point(self):
        # When
        images, away = self.start_without_volume(self.leave_as_an_earlier_program_did)

        # Then
        self.gateway.await_status("its words", lambda s: s["inbox"]["outOfSight"] == 1
                                  and s["listener"]["state"] == "listening")
        self.choose()
        self.gateway.await_status("the chosen one", lambda s: (self.chosen / ".part/.id").exists()
                                  and s["listener"]["state"] == "listening")
        self.inbox.rename(self.folder / "under")
        away.rename(self.inbox)
        self.gateway.await_received(images)

    def test_a_receiver_puts_nothing_where_another_folder_has_come_until_that_is_noted(self):
        # Given
        away, under = self.folder / "volume", self.folder / "under"
        self.hold_back_imports()
        receiver = children_of(self.gateway.process.pid, "scp")
        self.inbox.rename(away)
        self.leave_as_an_earlier_program_did()
        image = self.samples(ct=1)

        # When
        await_true("an image under the mount point",
                   lambda: run("storescu", "-aec", TITLE, "127.0.0.1", self.gateway.port, *image, check=False)
                   .returncode == 0, self.gateway.process)

        # Then
        self.assertNotEqual(children_of(self.gateway.process.pid, "scp"), receiver)
        self.inbox.rename(under)
        away.rename(self.inbox)
        self.gateway.await_status("its words", lambda s: s["inbox"]["outOfSight"] == 1)
        self.assertEqual(self.findings()["inboxOutOfSight"], (1, 0))
        self.assertEqual(len(list(under.glob("quorin-*.dcm"))), 1)

    def test_the_folder_for_what_is_unfinished_can_be_made_anew_in_life(self):
        # Given
        shutil.rmtree(self.inbox / ".part")
        image = self.samples(ct=1)
        self.gateway.await_status("its words", lambda s: s["inbox"]["outOfSight"] == 1)
        self.assertNotEqual(run("storescu", "-aec", TITLE, "127.0.0.1", self.gateway.port, *image, check=False)
                            .returncode, 0)

        # When
        (self.inbox / ".part").mkdir()

        # Then
        await_true("an image", lambda: run("storescu", "-aec", TITLE, "127.0.0.1", self.gateway.port, *image, check=False)
                   .returncode == 0, self.gateway.process)
        self.gateway.await_received(image)
        self.gateway.await_status("all folders", lambda s: s["inbox"]["outOfSight"] == 0)
        self.assertEqual(self.findings(), {})

    def test_one_that_is_out_of_sight_is_not_forgotten_when_another_is_chosen_then(self):
        # Given
        images, away = self.start_without_volume(self.inbox.mkdir)
        self.refuses()

        # When
        self.choose()
        await_true("the chosen folder's listener", lambda: self.gateway.status()["listener"]["state"] == "listening",
                   self.gateway.process)

        # Then
        self.assertEqual(self.findings(), {"formerInboxOutOfSight": (1, 0)})
        self.assertEqual(self.names_in(self.inbox), [])
        self.inbox.rmdir()
        away.rename(self.inbox)
        self.gateway.await_received(images)

    def test_a_listener_that_was_refused_starts_when_the_other_gateway_ends(self):
        # Given
        self.choose()
        await_true("the first one's listener", (self.chosen / ".part" / ".lock").exists, self.gateway.process)
        second_home = self.folder / "second"
        second_home.mkdir()
        second = Gateway(second_home, self.cloud.address)
        self.addCleanup(second.end)
        second.set_up()
        second.command("settings", "set", "ListenerDestinationFolder", self.chosen, check=False)
        second.await_status("its words", lambda s: "used by another gateway" in (s["listener"]["error"] or ""))

        # When
        self.gateway.end()

        # Then
        second.await_status("its listener", lambda s: s["listener"]["state"] == "listening")

    def test_a_copied_home_leaves_what_the_original_acknowledged(self):
        # Given
        self.hold_back_imports()
        images = self.samples(ct=2)
        send(self.gateway, images)
        self.gateway.end()
        copied = self.folder / "copied"
        copied.mkdir()
        shutil.copytree(self.gateway.home, copied / "home", ignore=shutil.ignore_patterns("Documents"))

        # When
        copy = Gateway(copied, self.cloud.address)
        self.addCleanup(copy.end)
        copy.command("settings", "set", "ListenerSettings.port", free_port())

        # Then
        copy.await_status("a listener", lambda s: s["listener"]["state"] == "listening")
        found = json.loads(copy.command("doctor", "--json", check=False).stdout)["findings"]
        self.assertIn(("inboxOfAnotherHome", 1), [(finding["kind"], finding["count"]) for finding in found])
        self.assertEqual(copy.status()["counters"]["images"], 0)
        self.assertEqual(len(list(self.inbox.glob("quorin-*.dcm"))), 2)

    def test_an_older_version_that_comes_back_with_its_volume_is_not_sent_over_the_later_one(self):
        # Given
        self.cloud.steer("second-versions", policy="replace")
        self.gateway.sign_in()
        self.gateway.command("settings", "set", "quorinCloudCompressToLS", "false")
        first, corrected = dataset("1.2.7.1", shade=1), dataset("1.2.7.1", shade=2)
        obstacle = self.hold_back_imports()
        self.store(first)
        away = self.folder / "volume"
        self.start_again(before=lambda: (obstacle.unlink(), self.inbox.rename(away), self.inbox.mkdir(), self.choose()))
        await_true("the listener", lambda: self.gateway.status()["listener"]["state"] == "listening", self.gateway.process)
        self.store(corrected)
        self.gateway.await_status("the upload", lambda s: s["counters"]["synced"] == 1)
        self.gateway.command("settings", "set", "GatewayAutoDelete", "30-days")
        self.start_again(before=self.let_time_pass)
        self.gateway.await_status("a pruned image", lambda s: s["counters"]["images"] == 0)

        # When
        self.inbox.rmdir()
        away.rename(self.inbox)

        # Then
        self.gateway.await_status("the failure", lambda s: "laterVersionSent" in json.dumps(s["failures"]))
        self.assertEqual(dataset_of(self.cloud.fetch(self.cloud.token(), "1.2.9", "1.2.9.1", "1.2.7.1")), corrected)
        self.assertEqual([dataset_of(file.read_bytes()) for file in (self.gateway.home / "Documents").rglob("*.dcm")],
                         [first])
        self.assertEqual(self.cloud.requests("POST", "/dicom-web/studies"), 1)

    def store(self, body):
        sender = Sender(self.gateway.port, TITLE)
        sender.store(body, "1.2.7.1")
        sender.release()

    def let_time_pass(self):
        with sqlite3.connect(self.gateway.home / "index/QuorinGateway.sqlite") as index:
            index.execute("UPDATE DicomImage SET uploadDate = uploadDate - ?", (60 * DAY_MS,))

    def test_what_lies_behind_a_link_that_leads_elsewhere_now_is_taken_in(self):
        # Given
        link, first, second = (self.folder / name for name in ("link", "first", "second"))
        first.mkdir()
        second.mkdir()
        link.symlink_to(first)
        self.gateway.command("settings", "set", "ListenerDestinationFolder", link)
        await_true("the listener there", (first / ".part").is_dir, self.gateway.process)
        self.inbox = first
        obstacle = self.hold_back_imports()
        images = self.samples(ct=2)
        await_true("images behind the link",
                   lambda: run("storescu", "-aec", TITLE, "127.0.0.1", self.gateway.port, *images, check=False)
                   .returncode == 0, self.gateway.process)
        self.assertEqual(len(list(first.glob("quorin-*.dcm"))), 2)

        # When
        self.start_again(before=lambda: (obstacle.unlink(), link.unlink(), link.symlink_to(second)))

        # Then
        self.gateway.await_received(images)
        await_true("an empty folder", lambda: not list(first.glob("quorin-*.dcm")), self.gateway.process)

    def test_one_that_does_not_answer_holds_up_itself_alone(self):
        # Given: whoever asks for its number waits, as on a share that is dead
        images = self.samples(ct=3)
        obstacle = self.hold_back_imports()
        send(self.gateway, images[:1])
        number, kept = self.inbox / ".part/.id", self.folder / "number"

        def silence():
            obstacle.unlink()
            number.rename(kept)
            os.mkfifo(number)
            self.addCleanup(self.answer_again, number, kept)

        # When
        self.start_again(before=silence)

        # Then
        self.gateway.await_status("a start that waits", lambda s: s["listener"]["state"] == "starting")
        self.gateway.await_status("a folder out of sight", lambda s: s["inbox"]["outOfSight"] == 1)
        self.choose()
        await_true("images in another folder",
                   lambda: run("storescu", "-aec", TITLE, "127.0.0.1", self.gateway.port, *images[1:], check=False)
                   .returncode == 0, self.gateway.process)
        self.gateway.await_received(images[1:])
        self.answer_again(number, kept)
        self.gateway.await_status("all in sight", lambda s: s["inbox"]["outOfSight"] == 0)
        self.gateway.await_received(images)

    @staticmethod
    def answer_again(number, kept):
        """Those who wait go on, and find the number."""
        if kept.exists():
            waiting = os.open(number, os.O_RDWR)
            kept.rename(number)
            os.close(waiting)

    def test_a_folder_belongs_to_one_gateway(self):
        # Given
        self.choose()
        await_true("the first one's listener", (self.chosen / ".part" / ".lock").exists, self.gateway.process)
        images = self.leave_behind_in_chosen()

        # When
        second_home = self.folder / "second"
        second_home.mkdir()
        second = Gateway(second_home, self.cloud.address)
        self.addCleanup(second.end)
        second.set_up()
        second.command("settings", "set", "ListenerDestinationFolder", self.chosen, check=False)

        # Then
        second.await_status("its words", lambda s: "used by another gateway" in (s["listener"]["error"] or ""))
        report = json.loads(second.command("doctor", "--json", check=False).stdout)
        self.assertIn("inboxInUse", [found["kind"] for found in report["findings"]])
        self.obstacle.unlink()
        self.gateway.await_received(images)
        self.assertEqual(second.status()["counters"]["images"], 0)

    def leave_behind_in_chosen(self):
        self.obstacle = self.hold_back_imports()
        images = self.samples(ct=2)
        await_true("images in the chosen folder",
                   lambda: run("storescu", "-aec", TITLE, "127.0.0.1", self.gateway.port, *images, check=False)
                   .returncode == 0, self.gateway.process)
        self.assertEqual(len(list(self.chosen.glob("quorin-*.dcm"))), 2)
        return images


if __name__ == "__main__":
    unittest.main()
