"""An administrator lets the gateway in at an archive from its windows: by a token, and by a code that is entered elsewhere."""

import unittest

from preferences_test import Preferences
from rig import Orthanc, await_true, send

from guarded_archive import Door
from openid_provider import CLIENT, CODE_CLIENT, SECRET, OpenIdProvider, enter_code

WAYS = ("User name and password", "Token", "Token from a file", "OAuth 2.0, by a client and its secret",
        "OAuth 2.0, by a code on another device", "Client certificate alone", "None")


class AtAGuardedArchive(Preferences):

    def start_service(self):
        self.orthanc = Orthanc(self.folder)
        self.addCleanup(self.orthanc.end)
        self.provider = OpenIdProvider(self.folder, 300)
        self.addCleanup(self.provider.end)
        self.door = Door(self.folder, self.orthanc, tokens=self.provider)
        self.addCleanup(self.door.end)
        return self.door.root, "dicomweb"

    def choose(self, way, behind="User name"):
        """By keys, from the field that stands behind the list."""
        self.desktop.click(self.see(self.preferences, behind, "text"))
        self.desktop.keys("shift+Tab", "Home", *["Down"] * WAYS.index(way))

    def write_into(self, *texts):
        """From the field that has the keyboard on, one after the other."""
        for at, text in enumerate(texts):
            if at:
                self.desktop.keys("Tab")
            self.desktop.keys("ctrl+a")
            self.desktop.write(text)

    def scroll_to_the_end(self):
        """By the wheel, over the page."""
        x, y = self.see(self.preferences, "Setup Wizard…", "push button").place.middle
        for _ in range(20):
            self.desktop.click((x, y + 200), button=5)

    def session(self):
        return self.gateway.status()["session"]

    def send_one(self):
        files = self.samples(ct=1)
        send(self.gateway, files)
        self.gateway.await_synced(files)

    def test_a_person_elsewhere_lets_it_in_by_the_code_on_the_screen(self):
        # Given
        self.preferences = self.open_preferences()
        self.see(self.preferences, self.door.root)
        self.choose("OAuth 2.0, by a code on another device")
        self.enter("Issuer", self.provider.issuer)
        self.desktop.keys("Tab")
        self.write_into(CODE_CLIENT, "", "openid offline_access")

        # When
        self.desktop.keys("Return")
        code = self.see(self.preferences, "[A-Z]{4}-[A-Z]{4}").name
        address = self.see(self.preferences, self.provider.issuer + "/device").name
        self.see(self.preferences, r"The code is good for \d+:\d\d more\.")
        self.picture("code")
        self.press("Open Page")
        await_true("the page to open", lambda: any(address in page for page in self.desktop.opened()), self.gateway.process)
        enter_code(address, code, "ann")

        # Then
        self.see(self.preferences, "Signed in")
        await_true("the session", lambda: self.session()["signedIn"], self.gateway.process)
        self.send_one()
        self.picture("signed-in")

        # When
        self.scroll_to_the_end()
        self.press("Test")

        # Then
        for line in ("Name: good", "Sign-in: good", "Store: good", "Find: good", "Delete: remark"):
            self.see(self.preferences, line)
        self.scroll_to_the_end()
        self.picture("tried")

    def test_what_is_wrong_is_told_in_a_sentence_and_a_code_that_is_given_up_signs_nobody_in(self):
        # Given a token that the archive doesn't know
        self.preferences = self.open_preferences()
        self.choose("Token")
        self.enter("Token", "unknown")
        self.desktop.keys("Return")
        self.see(self.preferences, r"The archive refused the token\.")
        self.picture("refused")

        # When no address is entered, where the keyboard is already
        self.choose("OAuth 2.0, by a code on another device", behind="Token")
        self.desktop.keys("Tab")
        self.write_into("no address")
        self.desktop.keys("Return")
        self.see(self.preferences, r"OAuth 2\.0 needs the web address of an issuer or of a token endpoint\.")
        self.write_into(self.provider.issuer, CODE_CLIENT)
        self.desktop.keys("Return")
        self.see(self.preferences, "[A-Z]{4}-[A-Z]{4}")
        self.press("Cancel Sign-In")

        # Then
        self.desktop.see_gone(self.preferences, "[A-Z]{4}-[A-Z]{4}")
        self.assertFalse(self.session()["signedIn"])

    def test_a_client_signs_in_by_its_secret_in_the_sheet(self):
        # Given
        dashboard = self.open_dashboard()
        self.desktop.click(self.see(dashboard, "Sign in", "push button"))
        self.preferences = dashboard  # where the form is

        # When
        self.choose("OAuth 2.0, by a client and its secret")
        self.enter("Issuer", self.provider.issuer)
        self.desktop.keys("Tab")
        self.write_into(CLIENT)
        self.desktop.keys("Tab", "Tab")
        self.desktop.write(SECRET)
        self.picture("filled-in")
        self.desktop.keys("Return")

        # Then
        self.see(dashboard, "Sign In Successful")
        self.picture("successful")
        self.send_one()


if __name__ == "__main__":
    unittest.main(verbosity=2)
