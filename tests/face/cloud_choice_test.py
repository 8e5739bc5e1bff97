"""An administrator leads the gateway to an archive of their own, from its windows alone."""

import unittest

from preferences_test import Preferences
from rig import EMAIL, PASSWORD, PROGRAMS, DesktopGateway, Orthanc, await_true, run, send
from setup_test import Setup


class Choice:
    """Over a test of a window: its settings name the local cloud, and an archive stands beside it."""

    def start_service(self):
        self.orthanc = Orthanc(self.folder)
        self.addCleanup(self.orthanc.end)
        self.cloud = self.start_cloud()
        for key, value in ("QuorinAPI.BaseURL", self.cloud.address), ("QuorinAPI.Kind", "quorin"):
            run(PROGRAMS / "quorin-gateway", "--home", self.folder / "home", "settings", "set", key, value)
        return None, None

    def start_program(self, address, kind):
        self.desktop.locale = "C.UTF-8"
        return DesktopGateway(self.folder, address, self.desktop)

    def choose_the_archive(self, window):
        self.desktop.click(self.see(window, "Change where images go", "push button"))
        address = self.see(window, "Address", "text")
        self.desktop.click(address)
        self.desktop.keys("shift+Tab", "End")
        self.see(window, "The root of its DICOMweb services.*")
        self.desktop.click(address)
        self.desktop.keys("ctrl+a")
        self.desktop.write("ftp://archive")
        self.desktop.keys("Return")
        self.see(window, "Give a whole web address, such as .*")
        self.desktop.keys("ctrl+a")
        self.desktop.write(self.orthanc.root)
        self.picture("chosen")
        self.desktop.keys("Return")
        return self.gateway.await_status("the new start", lambda s: s["cloud"]["baseUrl"] == self.orthanc.root)


class InThePreferences(Choice, Preferences):

    def test_an_archive_is_chosen_and_images_that_waited_go_there(self):
        # Given
        waiting = self.samples(ct=2)
        send(self.gateway, waiting)
        self.gateway.await_received(waiting)
        process = self.gateway.process.pid
        preferences = self.open_preferences()
        self.see(preferences, "Images go to: Quorin Cloud")
        self.see(preferences, self.cloud.address)

        # When
        self.choose_the_archive(preferences)

        # Then
        self.assertIsNone(self.gateway.process.poll())
        self.assertEqual(self.gateway.process.pid, process)
        self.gateway.await_status("the listener", lambda s: s["listener"]["state"] == "listening")
        self.preferences = self.open_preferences()
        self.see(self.preferences, "Images go to: An archive by DICOMweb")
        self.enter("User name", EMAIL)
        self.enter("Password", PASSWORD)
        self.desktop.keys("Return")
        self.gateway.await_synced(waiting)
        self.assertEqual(len(self.orthanc.files(self.folder)), 2)
        self.assertEqual(len(self.cloud.instances()), 0)
        self.picture("archive")


class InTheWizard(Choice, Setup):

    def to_the_account_step(self):
        wizard = self.wizard()
        self.press(wizard, "Continue")
        self.see(wizard, "Step 2 of 5")
        self.press(wizard, "Continue")
        self.see(wizard, "Step 3 of 5")
        self.press(wizard, "Continue")
        self.see(wizard, "Step 4 of 5")
        return wizard

    def test_an_archive_is_chosen_before_anything_is_set_up(self):
        # When
        wizard = self.to_the_account_step()
        self.see(wizard, "Images go to: Quorin Cloud")
        status = self.choose_the_archive(wizard)

        # Then: the wizard begins again, and signs in there
        self.assertTrue(status["setup"]["required"])
        wizard = self.to_the_account_step()
        self.see(wizard, "Images go to: An archive by DICOMweb")
        self.see(wizard, self.orthanc.root)
        self.enter(wizard, "User name", EMAIL)
        self.enter(wizard, "Password", PASSWORD)
        self.picture("archive")
        self.desktop.keys("Return")
        self.see(wizard, "Account Connected")
        self.picture("signed-in")


if __name__ == "__main__":
    unittest.main()
