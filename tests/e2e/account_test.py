"""An administrator at a terminal: terms, account, password and reports, with images waiting behind them."""

import json
import os
import signal
import unittest

from harness import EMAIL, PASSWORD, EndToEndTest, Gateway, await_true, request, send

TERMS_LINE = "Terms & Conditions are accepted. Run: quorin-gateway "


class Account(EndToEndTest):

    def setUp(self):
        super().setUp()
        self.cloud = self.start_cloud()
        self.gateway = self.start_gateway(self.cloud.address)
        self.gateway.sign_in()

    def told_by_cloud(self, what):
        return json.loads(request(f"{self.cloud.address}/control/{what}")[2])

    def send_against_new_terms(self):
        """Four images that the cloud refuses until its terms are accepted."""
        self.cloud.steer("terms", version="7", text="Be kind.", reason=" T&Cs updated ")
        sent = self.samples(ct=4)
        send(self.gateway, sent)
        self.gateway.await_received(sent)
        await_true("the line about the terms", lambda: TERMS_LINE in self.gateway.said(), self.gateway.process)
        return sent

    def test_images_wait_for_the_terms_and_arrive_once_they_are_accepted(self):
        # Given
        sent = self.send_against_new_terms()
        status = self.gateway.await_status("the terms", lambda s: s["terms"]["required"])
        self.assertEqual((status["terms"]["version"], status["counters"]["synced"]), ("7", 0))
        early = self.gateway.command("terms", "accept", check=False)
        self.assertEqual((early.returncode, self.told_by_cloud("terms/answers")), (1, []))

        # When
        shown = self.gateway.command("terms", "show").stdout
        accepted = self.gateway.command("terms", "accept").stdout

        # Then
        self.assertIn("version 7", shown)
        self.assertIn("Be kind.", shown)
        self.assertIn("must be accepted", shown)
        self.assertEqual(accepted, "Quorin Cloud Terms & Conditions, version 7, accepted.\n")
        self.gateway.command("upload")
        self.gateway.await_synced(sent)
        self.gateway.await_status("accepted terms", lambda s: s["terms"]["required"] is False)

    def test_who_declines_is_signed_out_and_keeps_every_image(self):
        # Given
        sent = self.send_against_new_terms()
        self.gateway.command("terms", "show")

        # When
        declined = self.gateway.command("terms", "decline").stdout

        # Then
        self.assertEqual(declined,
                         "Quorin Cloud Terms & Conditions were declined. You have been signed out.\n")
        status = self.gateway.await_status("the sign-out", lambda s: not s["session"]["signedIn"])
        self.assertEqual((status["counters"]["images"], status["counters"]["notSynced"]), (len(sent), len(sent)))
        self.assertEqual([one["answer"] for one in self.told_by_cloud("terms/answers")], ["declined"])

    def test_a_session_outlives_a_kill_right_after_the_sign_in(self):
        for signs_in in (False, True, False, True):
            # When
            if signs_in:
                self.gateway.sign_in()
            else:
                self.gateway.command("sign-out")
            os.kill(self.gateway.process.pid, signal.SIGKILL)
            self.gateway.process.wait()

            # Then
            self.gateway = Gateway(self.folder, self.cloud.address)
            self.addCleanup(self.gateway.end)
            status = self.gateway.await_status("the first look at the session",
                                               lambda s: s["session"]["signedIn"] == signs_in)
            self.assertEqual(status["session"]["label"], EMAIL if signs_in else None)

    def test_a_new_password_is_the_one_to_sign_in_with(self):
        # Given
        refused = self.gateway.command("account", "password", text_in="wrong\nnew\nnew\n", check=False)
        self.assertEqual((refused.returncode, refused.stderr), (1, "Current password is incorrect.\n"))

        # When
        self.gateway.command("account", "password", text_in=f"{PASSWORD}\na new one\na new one\n")
        self.gateway.command("sign-out")

        # Then
        self.assertEqual(self.gateway.sign_in(check=False).returncode, 1)
        self.gateway.sign_in(password="a new one")

    def test_a_profile_is_shown_as_it_was_set(self):
        # When
        self.gateway.command("account", "set", "workplace", " East Clinic ")
        unknown = self.gateway.command("account", "set", "shoe", "42", check=False)

        # Then
        profile = json.loads(self.gateway.command("account", "show", "--json").stdout)
        self.assertEqual((profile["workplace"], profile["email"]), ("East Clinic", EMAIL))
        self.assertEqual(self.gateway.status()["session"]["label"], "East Clinic")
        self.assertEqual(unknown.returncode, 2)

    def test_a_report_carries_its_files(self):
        # Given
        file = self.folder / "scan.bin"
        file.write_bytes(os.urandom(5_000_000))
        bare = self.gateway.command("report", "--description", "It broke.", "--during-import", check=False)
        self.assertEqual((bare.returncode, bare.stderr), (1, "Attachments are required for import/opening issues.\n"))

        # When
        self.gateway.command("report", "--description", "It broke.", "--during-import", "--attach", file)

        # Then
        report, = self.told_by_cloud("bug-reports")
        self.assertEqual(report["attachments"], [{"bytes": 5_000_000, "fileName": "scan.bin"}])
        kept, = (self.folder / "cloud" / "bug-reports").glob("*/attachment-1")
        self.assertEqual(kept.read_bytes(), file.read_bytes())

    def test_each_look_tells_whether_the_cloud_answers_now(self):
        # Given
        self.assertTrue(self.gateway.status()["cloud"]["online"])

        # When
        self.cloud.end()
        away = self.gateway.status()["cloud"]
        self.cloud.restart()
        back = self.gateway.status()["cloud"]

        # Then
        self.assertEqual((away["online"], back["online"], back["lastError"]), (False, True, None))
        self.assertGreaterEqual(back["lastCheckedAt"], away["lastCheckedAt"])
        self.assertGreater(back["storage"]["allowanceKb"], 0)


if __name__ == "__main__":
    unittest.main()
