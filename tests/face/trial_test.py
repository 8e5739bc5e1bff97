"""A user who has set the gateway up tries it: an image goes the whole way, and nothing of it stays."""

import json
import unittest

from accessible import Gone
from rig import EMAIL, PASSWORD, TITLE, FaceTest, Orthanc, await_true, free_port

WINDOW = "Try it now"


class TrialCase(FaceTest):

    IS_SET_UP = False
    NAME_FIELD, SIGN_IN = "Email", "Sign in now"  # of the account page

    def finish_setup(self, signs_in=True):
        """From the first page to the offer."""
        wizard = await_true("the wizard", lambda: self.desktop.window_with("Setup Wizard"), self.gateway.process)
        self.press(wizard, "Continue")
        self.port = free_port()
        for field, value in (("AE Title", TITLE), ("Port", str(self.port))):
            self.enter(wizard, field, value)
        self.see(wizard, f"Port {self.port} is available\\.")
        self.press(wizard, "Continue")
        self.press(wizard, "Continue")
        if signs_in:
            self.enter(wizard, self.NAME_FIELD, EMAIL)
            self.enter(wizard, "Password", PASSWORD)
            self.press(wizard, self.SIGN_IN)
            self.see(wizard, "Account Connected")
            self.press(wizard, "Continue")
        else:
            self.press(wizard, "Skip for now")
        self.see(wizard, "Ready to Apply")
        self.press(wizard, "Finish Setup")
        await_true("the dashboard", self.dashboard, self.gateway.process)
        return self.desktop.window(WINDOW)

    def press(self, window, name):
        button = self.see(window, name, "push button")
        await_true(f"“{name}” to be enabled", lambda: "enabled" in button.states, self.gateway.process)
        self.desktop.click(button)

    def enter(self, window, field, value):
        self.desktop.click(self.see(window, field, "text"))
        self.desktop.keys("ctrl+a")
        self.desktop.write(value)

    def settings(self):
        """All but the running number of stored files."""
        told = json.loads(self.gateway.command("settings", "list", "--json").stdout)
        return [one for one in told["settings"] if one["key"] != "QuorinGateway.DataFileIndex"]

    def images_here(self):
        return self.gateway.status()["counters"]["images"]

    def await_nothing_left(self):
        await_true("the sample to be gone from the cloud", lambda: not self.cloud.instances(), self.gateway.process)
        self.gateway.await_status("the sample to be gone here", lambda s: s["counters"]["images"] == 0)
        told = self.gateway.command("local", "studies", "--json").stdout
        self.assertNotIn("QUORIN-GATEWAY-TEST", told)

    def count(self, window, word):
        try:
            return sum(shown == f"label: {word}" for shown in window.words())
        except Gone:
            return 0


class Trial(TrialCase):

    def test_from_finish_setup_an_image_goes_the_whole_way_and_nothing_stays(self):
        # Given
        offer = self.finish_setup()
        self.picture("offer")
        before = self.settings()

        # When
        self.press(offer, WINDOW)

        # Then
        self.see(offer, "It Works")
        self.assertEqual(self.count(offer, "Passed"), 5)
        self.see(offer, f"{TITLE} took it at 127\\.0\\.0\\.1:{self.port}\\.")
        self.picture("passed")
        self.assertEqual(self.cloud.requests("POST", "/dicom-web/studies"), 1)
        self.assertEqual(self.cloud.requests("DELETE", "/dicom-web/studies"), 1)
        self.await_nothing_left()
        self.assertEqual(self.settings(), before)
        self.press(offer, "Done")
        await_true("the window to go", lambda: self.desktop.window_with("It Works") is None, self.gateway.process)

    def test_a_cloud_with_a_fault_is_told_and_the_trial_repeated_once_it_is_mended(self):
        # Given
        offer = self.finish_setup()
        self.cloud.steer("faults", path="/dicom-web/studies", method="POST", count=None, status=500)

        # When
        self.press(offer, WINDOW)

        # Then
        self.see(offer, "Something Is in the Way")
        self.see(offer, "The cloud has a fault of its own\\..*")
        self.assertEqual((self.count(offer, "Passed"), self.count(offer, "Failed"), self.count(offer, "Skipped")),
                         (3, 1, 1))
        self.picture("fault")
        self.await_nothing_left()

        # When
        self.cloud.steer("faults/clear")
        self.press(offer, "Try Again")

        # Then
        self.see(offer, "It Works")
        self.await_nothing_left()

    def test_who_has_not_signed_in_is_told_so(self):
        # Given
        offer = self.finish_setup(signs_in=False)

        # When
        self.press(offer, WINDOW)

        # Then
        self.see(offer, "Something Is in the Way")
        self.see(offer, "Nobody is signed in\\..*")
        self.see(offer, "Nothing of it is left here\\. It never went to the cloud\\.")
        self.picture("signed-out")
        self.await_nothing_left()

    def test_a_cloud_that_does_not_delete_is_told_and_asked_again_at_the_next_start(self):
        # Given
        offer = self.finish_setup()
        self.cloud.steer("faults", path="/dicom-web/studies", method="DELETE", count=None, status=403)

        # When
        self.press(offer, WINDOW)

        # Then
        self.see(offer, "It is deleted here\\. If the cloud has it, .*")
        self.picture("not-deleted")
        self.assertEqual(len(self.cloud.instances()), 1)

        # When
        self.gateway.end()
        self.cloud.steer("faults/clear")
        self.gateway = self.start_program(self.cloud.address, "quorin")
        self.addCleanup(self.gateway.end)

        # Then
        self.await_nothing_left()

    def test_a_gateway_killed_half_way_takes_the_sample_away_at_its_next_start(self):
        # Given
        offer = self.finish_setup()
        self.cloud.steer("faults", path="/dicom-web/studies", method="POST", delayMs=600_000)
        self.press(offer, WINDOW)
        await_true("the upload", self.cloud.instances, self.gateway.process)

        # When
        self.gateway.process.kill()
        self.gateway.process.wait()
        self.gateway = self.start_program(self.cloud.address, "quorin")
        self.addCleanup(self.gateway.end)

        # Then
        self.await_nothing_left()
        self.assertIsNone(self.desktop.window_with(WINDOW))
        self.assertIsNone(self.desktop.window_with("Setup Wizard"))

    def test_who_skips_sends_nothing(self):
        # Given
        offer = self.finish_setup()

        # When
        self.press(offer, "Skip")

        # Then
        await_true("the window to go", lambda: self.desktop.window_with("Send a sample to the listener") is None,
                   self.gateway.process)
        self.assertEqual(self.images_here(), 0)
        self.assertEqual(self.cloud.requests("POST", "/dicom-web/studies"), 0)


class TrialAtAnArchive(TrialCase):
    """Software that isn't ours, and deletes nothing by DICOMweb."""

    NAME_FIELD, SIGN_IN = "User name", "Sign In"

    def start_service(self):
        self.orthanc = Orthanc(self.folder)
        self.addCleanup(self.orthanc.end)
        return self.orthanc.root, "dicomweb"

    def test_an_archive_takes_and_finds_the_sample_and_its_refusal_to_delete_is_told(self):
        # Given
        offer = self.finish_setup()

        # When
        self.press(offer, WINDOW)

        # Then
        self.see(offer, "It is deleted here\\. If the cloud has it, .*")
        self.assertEqual((self.count(offer, "Passed"), self.count(offer, "Failed")), (4, 1))
        self.see(offer, "Read back: good")
        self.see(offer, "The server at 127\\.0\\.0\\.1 answers\\.")
        self.see(offer, ".* the sample stays, under the patient GATEWAY-TEST, .*")
        self.picture("archive")
        self.assertEqual(self.images_here(), 0)
        names = {study["PatientMainDicomTags"]["PatientName"] for study in json.loads(self.orthanc.get("/studies?expand"))}
        self.assertEqual(names, {"TEST^QUORIN GATEWAY", "GATEWAY^TEST"})


if __name__ == "__main__":
    unittest.main()
