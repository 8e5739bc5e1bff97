"""Whoever chose German meets no English on the screens, in fair weather and in foul."""

import re
import socket
import unittest

from accessible import Gone
from rig import EMAIL, PASSWORD, FaceTest, Orthanc, await_true, send

# Words of every English sentence that no German one has; names such as "Listener" and "Status" are both.
ENGLISH = set("""a all and are as at be been by can't could did doesn't for from has have here in-use into is isn't it
its no not nothing now of off on one only or so than that the then there they this to took tried until wants
when where which with you your again answer answered checked checking connection could delete failed fault file files
folder images keep kept listening log logs received refused rest retry running save saved search seconds sending sent
settings sign signed studies uploaded uploads waiting window wizard""".split()) - {"so", "in-use", "a"}


class GermanCase(FaceTest):

    def start_program(self, address, kind):
        self.desktop.locale = "de_DE.UTF-8"
        return super().start_program(address, kind)

    def expect_german(self, window, least):
        """At least so many words are there, and none of them is English."""
        seen = set()
        for widget, role, name in window.on_screen():
            try:
                if role != "text":  # what a person or a file says
                    seen.update(re.findall(r"[A-Za-zÄÖÜäöüß_'’]+", name))
            except Gone:
                continue
        self.assertGreaterEqual(len(seen), least, seen)
        self.assertEqual({word for word in seen if word.lower() in ENGLISH}, set())

    def press(self, window, name):
        self.desktop.click(self.see(window, name, "push button"))

    def panel(self):
        return self.desktop.window_with("Übersicht öffnen")

    def open_dashboard(self):
        self.press(self.open_panel(), "Übersicht öffnen")
        return await_true("the dashboard", lambda: self.desktop.window_with("Erreichbar unter.*"),
                          self.gateway.process)


class German(GermanCase):

    def test_the_panel_is_german(self):
        panel = self.open_panel()
        self.see(panel, "Anmeldung nötig")

        self.picture("panel")
        self.expect_german(panel, 15)

    def test_the_dashboard_is_german_while_all_goes_well(self):
        self.gateway.sign_in()
        files = self.samples(ct=3)
        send(self.gateway, files)
        self.gateway.await_synced(files)
        dashboard = self.open_dashboard()
        self.see(dashboard, "BEREIT")
        self.see(dashboard, "Zuletzt geprüft: .*")

        self.picture("well")
        self.expect_german(dashboard, 40)

    def test_the_dashboard_is_german_while_the_cloud_refuses_and_when_it_is_away(self):
        self.gateway.sign_in()
        self.cloud.steer("faults", path="/dicom-web/studies", method="POST", status=500, count=1000)
        dashboard = self.open_dashboard()
        send(self.gateway, self.samples(ct=2))
        self.see(dashboard, "2 Bilder ließen sich nicht senden")
        self.see(dashboard, "Die Cloud hat selbst eine Störung\\. .*")
        self.picture("refused")
        self.expect_german(dashboard, 40)

        self.cloud.end()
        self.press(dashboard, "Aktualisieren")
        self.see(dashboard, "NICHT ERREICHBAR")
        self.picture("away")
        self.expect_german(dashboard, 40)

    def test_the_log_and_its_details_are_german(self):
        send(self.gateway, self.samples(ct=2))
        dashboard = self.open_dashboard()
        self.press(dashboard, "Protokoll")
        self.see(dashboard, r"\d+ von \d+ Einträgen")

        self.picture("log")
        self.expect_german(dashboard, 20)

    def test_the_preferences_and_the_wizard_are_german(self):
        dashboard = self.open_dashboard()
        self.press(dashboard, "Einstellungen")
        preferences = self.desktop.window("Einstellungen")
        for category in ("Listener-Einstellungen", "Cloud-Einstellungen", "Konto"):
            self.desktop.click(self.see(preferences, category, "list item"))
            self.expect_german(preferences, 15)
        self.press(preferences, "Einrichtung …")
        wizard = self.desktop.window("Einrichtung von Quorin Gateway")
        for step in range(1, 6):
            self.see(wizard, f"Schritt {step} von 5")
            self.picture(f"step-{step}")
            self.expect_german(wizard, 20)
            if step < 5:
                self.press(wizard, "Weiter")

    def test_a_sign_in_that_nobody_answers_fails_in_german(self):
        dashboard = self.open_dashboard()
        self.cloud.end()
        self.press(dashboard, "Anmelden")
        self.see(dashboard, "Passwort")
        self.desktop.write(EMAIL)
        self.desktop.keys("Tab")
        self.desktop.write(PASSWORD)
        self.desktop.keys("Return")
        self.see(dashboard, r"Die Cloud unter 127\.0\.0\.1 lehnte die Verbindung ab\..*")

        self.picture("refused")
        self.expect_german(dashboard, 40)


class GermanAndACommandLine(GermanCase):
    """What is wrong, as the screens say it in German and a command in English."""

    def set_up_before_the_start(self):
        super().set_up_before_the_start()
        taken = socket.create_server(("127.0.0.1", self.port))
        self.addCleanup(taken.close)

    def test_a_listener_that_cannot_start_is_told_in_german_and_to_commands_in_english(self):
        alert = self.desktop.window("Fehler des DIMSE-Listeners")
        self.see(alert, f".*Port {self.port} wird bereits von einem anderen Programm verwendet\\..*")
        self.picture("alert")
        self.expect_german(alert, 10)
        self.press(alert, "OK")
        self.press(self.open_panel(), "Übersicht öffnen")
        dashboard = await_true("the dashboard", lambda: self.desktop.window_with("GESCHEITERT"),
                               self.gateway.process)
        self.see(dashboard, f".*Port {self.port} wird bereits von einem anderen Programm verwendet\\.")
        self.picture("card")
        self.expect_german(dashboard, 40)

        status = self.gateway.status()

        self.assertEqual(status["listener"]["error"],
                         f"Failed to start DIMSE listener on port {self.port}. Another app may already be using this "
                         f"port. Port {self.port} is already in use by another program.")

    def test_a_command_is_told_in_english_why_the_cloud_does_not_answer(self):
        self.cloud.end()

        await_true("the cloud to be missed", lambda: self.gateway.status()["cloud"]["lastError"] ==
                   "AFError 7: The cloud service at 127.0.0.1 refused the connection.", self.gateway.process)


class GermanAtAnArchive(GermanCase):
    """Before an archive, which has a sign-in of another kind."""

    def start_service(self):
        self.orthanc = Orthanc(self.folder)
        self.addCleanup(self.orthanc.end)
        return self.orthanc.root, "dicomweb"

    def test_a_refused_sign_in_is_told_in_german(self):
        dashboard = self.open_dashboard()
        self.press(dashboard, "Anmelden")
        self.see(dashboard, "Passwort")
        self.desktop.write(EMAIL)
        self.desktop.keys("Tab")
        self.desktop.write("wrong")
        self.desktop.keys("Return")

        self.see(dashboard, "Das Archiv lehnte den Benutzernamen oder das Passwort ab\\.")
        self.picture("refused")
        self.expect_german(dashboard, 40)


if __name__ == "__main__":
    unittest.main()
