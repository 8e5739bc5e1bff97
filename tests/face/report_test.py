"""A user reports a bug, with files and a support bundle, and reads all of it before it goes."""

import json
import unittest
import urllib.request

from rig import EMAIL, PASSWORD, TITLE, FaceTest, await_true, send


class Report(FaceTest):

    def open_report(self):
        self.gateway.sign_in(EMAIL, PASSWORD)
        panel = self.open_panel()
        self.open_menu(self.see(panel, "More"))
        self.choose_in_menu("Up", "Up", "Up")  # the last but two: what lies above isn't the same everywhere
        return self.desktop.window("Report a Bug")

    def press(self, window, name):
        button = self.see(window, name, "push button")
        await_true(f"“{name}” to be enabled", lambda: "enabled" in button.states, self.gateway.process)
        self.desktop.click(button)

    def tick(self, window, name):
        self.desktop.click(self.see(window, name, "check box"))

    def receive_a_patient(self):
        """An image of somebody with a name, which is in the log and the index by then."""
        files = self.samples(ct=2)
        send(self.gateway, files)
        self.gateway.await_received(files)
        told = json.loads(self.gateway.command("local", "studies", "--json").stdout)
        return json.dumps(told), files

    def reports(self):
        with urllib.request.urlopen(f"{self.cloud.address}/control/bug-reports") as answer:
            return json.loads(answer.read())

    def expect_no_canary(self, bundle, patients):
        for study in json.loads(patients)["studies"]:
            for name in ("patientName", "patientID", "studyInstanceUID"):
                if study.get(name):
                    self.assertNotIn(study[name], bundle)
        for canary in (TITLE, str(self.folder), str(self.gateway.home), EMAIL, "127.0.0.1"):
            self.assertNotIn(canary, bundle)

    def test_a_bundle_is_read_saved_and_sent_to_the_letter_and_names_nobody(self):
        # Given
        patients, files = self.receive_a_patient()
        window = self.open_report()
        self.desktop.click(self.see(window, "Description", "text"))
        self.desktop.write("It stops at noon.")
        self.tick(window, "Happened during import")
        self.see(window, "Attachments are required for import/opening issues\\.")
        self.press(window, "Choose files")
        self.choose_file("Choose files", files[0])
        self.see(window, files[0].name)
        self.tick(window, "Add a support bundle")

        # When
        self.press(window, "Read It")
        shown = self.see(window, "Content of the support bundle", "text").text
        self.picture("read")
        self.desktop.keys("Escape")
        self.press(window, "Save…")
        saved = self.folder / "saved.txt"
        self.choose_file("Save Support Bundle", saved)
        self.see(window, f"Saved to {saved}")
        self.picture("filled")
        self.press(window, "Submit")

        # Then
        self.see(window, "Report has been sent successfully\\.")
        self.picture("sent")
        bundle = saved.read_text(encoding="utf-8")
        self.assertEqual(shown, bundle)
        for part in ("== Versions ==", "== Figures ==", "== Settings ==", "== Findings ==", "== Log ==",
                     "import_succeeded", "studies, series, images"):
            self.assertIn(part, bundle)
        self.expect_no_canary(bundle, patients)
        report, = self.reports()
        self.assertEqual(report["description"], "It stops at noon.")
        self.assertEqual([one["fileName"] for one in report["attachments"]], [files[0].name, "support-bundle.txt"])
        arrived, = (self.folder / "cloud" / "bug-reports").glob("*/attachment-2")
        self.assertEqual(arrived.read_text(encoding="utf-8"), bundle)
        self.press(window, "OK")
        await_true("the window to go", lambda: self.desktop.window_with("Issue Details") is None, self.gateway.process)

    def test_a_report_that_fails_keeps_what_was_typed(self):
        # Given
        window = self.open_report()
        self.cloud.steer("faults", path="/api/v1/bug-reports", status=500)
        self.desktop.click(self.see(window, "Description", "text"))
        self.desktop.write("It stops at noon.")

        # When
        self.press(window, "Submit")

        # Then
        self.see(window, "Failed to Send")
        self.picture("failed")
        self.press(window, "OK")
        self.press(window, "Submit")
        self.see(window, "Report has been sent successfully\\.")
        self.assertEqual([one["description"] for one in self.reports()], ["It stops at noon."])


if __name__ == "__main__":
    unittest.main()
