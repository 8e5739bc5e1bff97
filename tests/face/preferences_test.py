"""A user changes settings and account in the preferences, by pointer and keyboard, beside others who change them too."""

import json
import shutil
import socket
import unittest

from rig import EMAIL, PASSWORD, PROGRAMS, TITLE, DesktopGateway, FaceTest, await_true, free_port, run, send


class Preferences(FaceTest):

    LOCALE = "C.UTF-8"

    def start_program(self, address, kind):
        self.desktop.locale = self.LOCALE
        return super().start_program(address, kind)

    def press(self, name):
        button = self.see(self.preferences, name, "push button")
        await_true(f"“{name}” to be enabled", lambda: "enabled" in button.states, self.gateway.process)
        self.desktop.click(button)

    def enter(self, field, value):
        self.desktop.click(self.see(self.preferences, field, "text"))
        self.desktop.keys("ctrl+a")
        self.desktop.write(value)

    def turn_to(self, category):
        self.desktop.click(self.see(self.preferences, category, "list item"))

    def setting(self, key):
        return self.gateway.command("settings", "get", key).stdout.strip()

    def await_setting(self, key, value):
        await_true(f"{key} to be {value}", lambda: self.setting(key) == value, self.gateway.process)

    def text_of(self, field):
        return self.see(self.preferences, field, "text").text


class Settings(Preferences):

    def setUp(self):
        super().setUp()
        self.preferences = self.open_preferences()

    def test_the_listener_goes_by_what_is_saved_and_by_nothing_else(self):
        # Given
        self.turn_to("Listener Settings")
        self.see(self.preferences, f"Listening on Port {self.port}")
        self.picture("listener")
        taken = socket.create_server(("127.0.0.1", 0))
        self.addCleanup(taken.close)

        # When what can't be is asked for
        self.enter("Port", str(taken.getsockname()[1]))
        self.press("Save Changes")

        # Then
        self.see(self.preferences, f"Port {taken.getsockname()[1]} is already in use by another process\\.")
        self.picture("taken")
        run("echoscu", "-aec", TITLE, "127.0.0.1", self.port)

        # When
        port = free_port()
        self.enter("Port", str(port))
        self.enter("AE Title", "SECOND")
        self.enter("Timeout \\(seconds\\)", "600")
        self.desktop.keys("Return")

        # Then
        self.see(self.preferences, f"Listening on Port {port}")
        run("echoscu", "-aec", "SECOND", "127.0.0.1", port)
        self.assertEqual(self.setting("ListenerSettings.timeout"), "600")
        self.gateway.port = port
        files = self.samples(ct=2)
        send(self.gateway, files)
        self.gateway.await_received(files)

    def test_what_others_change_is_shown_and_never_written_back(self):
        # Given
        self.turn_to("Listener Settings")
        self.see(self.preferences, f"Listening on Port {self.port}")
        self.enter("Timeout \\(seconds\\)", "77")

        # When
        self.gateway.command("settings", "set", "ListenerSettings.aeTitle", "TERMINAL")
        self.gateway.command("settings", "set", "GatewayAutoDelete", "30-days")
        await_true("the other title", lambda: self.text_of("AE Title") == "TERMINAL", self.gateway.process)
        self.assertEqual(self.text_of("Timeout \\(seconds\\)"), "77")
        self.gateway.command("settings", "set", "GatewayAutoDelete", "never")
        self.press("Save Changes")

        # Then
        self.await_setting("ListenerSettings.timeout", "77")
        self.assertEqual(self.setting("ListenerSettings.aeTitle"), "TERMINAL")
        self.assertEqual(self.setting("GatewayAutoDelete"), "never")

        # When
        self.turn_to("Quorin Cloud Settings")
        self.gateway.command("settings", "set", "quorinCloudCompressToLS", "false")

        # Then
        compress = self.see(self.preferences, "Compress to JPEG-LS", "check box")
        await_true("the switch to follow", lambda: "checked" not in compress.states, self.gateway.process)
        self.desktop.click(compress)
        self.await_setting("quorinCloudCompressToLS", "true")
        self.picture("cloud")

    def test_a_light_face_is_chosen_and_stays(self):
        # When
        self.desktop.click(self.see(self.preferences, "Light", "radio button"))

        # Then
        self.await_setting("QuorinGateway.appearance", "light")
        self.picture("light")
        self.assertGreater(self.brightness(), 0.75)
        self.desktop.click(self.see(self.preferences, "Dark", "radio button"))
        self.await_setting("QuorinGateway.appearance", "dark")
        await_true("a dark window", lambda: self.brightness() < 0.3, self.gateway.process)

    def brightness(self):
        """Of the preferences on the screen, from 0 to 1."""
        x, y, width, height = self.desktop.geometry(self.desktop.window_ids("--name", "^Preferences$")[-1])
        shot = self.picture("brightness")
        told = run("convert", shot, "-crop", f"{width}x{height}+{x}+{y}", "-colorspace", "Gray", "-format",
                   "%[fx:mean]", "info:").stdout
        return float(told)

    def test_the_wizard_is_a_press_away_from_each_pane(self):
        for category in ("Account", "Listener Settings", "Quorin Cloud Settings"):
            self.turn_to(category)
            self.press("Setup Wizard…")
            wizard = self.desktop.window("Quorin Gateway Setup")
            self.desktop.click(self.see(wizard, "Close", "push button"))
            await_true("the wizard to close", lambda: self.desktop.window_with("Step 1 of 5") is None,
                       self.gateway.process)


class Account(Preferences):

    def sign_in_here(self):
        self.enter("Email", EMAIL)
        self.enter("Password", PASSWORD)
        self.desktop.keys("Return")
        self.see(self.preferences, "Signed in")

    def test_profile_and_password_are_changed(self):
        # Given
        self.preferences = self.open_preferences()
        self.see(self.preferences, "Signed out")
        self.assertIsNone(self.preferences.find("Open Quorin Lens on the Mac App Store"))
        self.picture("signed-out")
        self.sign_in_here()
        self.see(self.preferences, "Personal Information")
        self.picture("signed-in")

        # When
        self.press("Change Password…")
        self.enter("Current Password", PASSWORD)
        self.enter("New Password", "fresh-word")
        self.enter("Confirm New Password", "fresh-word")
        self.picture("password")
        self.desktop.keys("Return")
        self.see(self.preferences, "Password Updated")
        self.press("OK")
        self.desktop.see_gone(self.preferences, "Password Updated")
        edit = self.see(self.preferences, "Change Password…", "push button")
        self.desktop.click(edit)
        self.desktop.keys("Escape")
        self.desktop.keys(*["Tab"] * 2, "space")  # past "Reload" to "Edit Profile", which stands below
        self.see(self.preferences, "First Name", "text")
        self.enter("First Name", "Annabel")
        self.desktop.keys("Return")

        # Then
        await_true("the profile at the cloud", lambda: json.loads(
            self.gateway.command("account", "show", "--json").stdout).get("firstName") == "Annabel",
                   self.gateway.process)
        self.picture("saved")
        self.press_sign_out()
        self.gateway.sign_in(password="fresh-word")
        self.see(self.preferences, "Signed in")

    def test_what_another_changes_in_the_profile_meanwhile_stays(self):
        # Given
        self.gateway.sign_in()
        self.gateway.command("account", "set", "phoneNumber", "111")
        self.preferences = self.open_preferences()
        self.see(self.preferences, "Personal Information")
        self.see(self.preferences, "111")
        self.desktop.click(self.see(self.preferences, "Change Password…", "push button"))
        self.desktop.keys("Escape")
        self.desktop.keys(*["Tab"] * 2, "space")  # past "Reload" to "Edit Profile", which stands below
        self.enter("First Name", "Anna")

        # When
        self.gateway.command("account", "set", "phoneNumber", "222")
        self.desktop.keys("Return")

        # Then
        self.see(self.preferences, "Account updated successfully\\.")
        told = json.loads(self.gateway.command("account", "show", "--json").stdout)
        self.assertEqual((told["firstName"], told["phoneNumber"]), ("Anna", "222"))
        self.see(self.preferences, "222")

    def test_keys_for_another_window_answer_no_terms(self):
        # Given
        dashboard = self.open_dashboard()
        self.sign_in(dashboard)
        self.cloud.steer("terms", version="7", text="Be kind.", reason="T&Cs updated")
        send(self.gateway, self.samples(ct=1))
        self.preferences = self.desktop.window("Preferences")
        accept = self.see(self.preferences, "Accept", "push button")
        await_true("the end of the terms", lambda: "enabled" in accept.states, self.gateway.process)

        # When who signs in presses Return, which was for the notice of that
        self.desktop.keys("Return")
        self.desktop.write("a name")
        self.desktop.keys("Return")

        # Then
        self.picture("unanswered")
        self.desktop.keys("Tab", "Tab")  # past "Decline"
        await_true("the focus on the button", lambda: "focused" in accept.states, self.gateway.process)
        self.assertEqual(self.cloud.requests("POST", "/api/v1/terms/accept"), 0)
        self.press_until_gone("Return", "Accept")
        self.assertEqual(self.cloud.requests("POST", "/api/v1/terms/accept"), 1)

    def test_words_of_the_next_field_decline_no_terms(self):
        # Given a form at which somebody types when terms come up
        dashboard = self.open_dashboard()
        self.sign_in(dashboard)
        self.cloud.steer("terms", version="7", text="Be kind.", reason="T&Cs updated")
        send(self.gateway, self.samples(ct=1))
        self.preferences = self.desktop.window("Preferences")
        decline = self.see(self.preferences, "Decline", "push button")

        # When
        self.desktop.keys("Tab")
        self.desktop.write("Saint Mary ")
        self.desktop.keys("Tab")
        self.desktop.keys("Return")

        # Then
        self.assertEqual(self.cloud.requests("POST", "/api/v1/terms/decline"), 0)
        self.assertEqual(self.gateway.status()["session"]["state"], "signedIn")
        await_true("the focus on the button", lambda: "focused" in decline.states, self.gateway.process)
        self.press_until_gone("space", "Decline")
        self.assertEqual(self.cloud.requests("POST", "/api/v1/terms/decline"), 1)

    def press_until_gone(self, key, button):
        """A key answers after a rest: it is pressed now and then until it does."""
        def gone():
            if self.preferences.find(button, "push button") is None:
                return True
            self.desktop.keys(key)
            return False

        await_true(f"{button} to be taken", gone, self.gateway.process)

    def press_sign_out(self):
        self.desktop.keys("Home")
        self.gateway.command("sign-out")
        self.see(self.preferences, "Signed out")

    def test_the_panel_leads_to_the_account(self):
        # Given
        self.gateway.sign_in()
        self.preferences = self.open_preferences()
        self.turn_to("Listener Settings")
        self.see(self.preferences, "Connection")

        # When
        panel = self.open_panel()
        self.desktop.click(self.see(panel, "Manage", "push button"))

        # Then
        self.see(self.preferences, "Change Password…", "push button")

    def test_terms_come_once_and_go_with_the_session(self):
        # Given
        self.cloud.steer("terms", version="7", text="Be kind.", reason="T&Cs updated")

        # When
        self.gateway.sign_in()

        # Then
        self.preferences = self.desktop.window("Preferences")
        self.see(self.preferences, "Quorin Cloud Terms & Conditions")
        self.picture("terms")

        # When the window is put away unanswered and uploads fail again and again
        window = self.desktop.window_ids("--name", "^Preferences$")[-1]
        self.desktop._xdotool("windowminimize", window)
        await_true("the window to go", lambda: not self.desktop.window_ids("--name", "^Preferences$"),
                   self.gateway.process)
        send(self.gateway, self.samples(ct=1))
        asked = self.cloud.requests("GET", "/api/v1/terms/status")
        self.gateway.command("upload")
        await_true("a look at the terms", lambda: self.cloud.requests("GET", "/api/v1/terms/status") > asked,
                   self.gateway.process)
        self.gateway.await_status("a failed upload", lambda s: s["failures"])
        self.assertEqual(self.desktop.window_ids("--name", "^Preferences$"), [])

        # When
        self.gateway.command("sign-out")
        self.desktop._xdotool("windowmap", window)

        # Then
        self.preferences = self.desktop.window("Preferences")
        self.see(self.preferences, "Signed out")
        self.assertIsNone(self.preferences.find("Accept", "push button"))

    def test_a_cancelled_sign_in_signs_nobody_in(self):
        # Given
        dashboard = self.open_dashboard()
        self.desktop.click(self.see(dashboard, "Sign in", "push button"))
        self.see(dashboard, "Password")
        self.cloud.steer("faults", path="/api/v1/auth/login", delayMs=3000)
        self.desktop.write(EMAIL)
        x, y, width, height = self.desktop.geometry(self.desktop.window_ids("--name", "^Quorin Gateway$")[-1])
        self.desktop.click((x + width - 30, y + height - 30))
        self.assertEqual(self.see(dashboard, "Email", "text").text, EMAIL)  # a click beside loses nothing
        self.desktop.click(self.see(dashboard, "Password", "text"))
        self.desktop.write(PASSWORD)
        logins = self.cloud.requests("POST", "/api/v1/auth/login")
        self.desktop.keys("Return")
        await_true("the request", lambda: self.cloud.requests("POST", "/api/v1/auth/login") > logins,
                   self.gateway.process)

        # When
        self.desktop.click(self.see(dashboard, "Cancel", "push button"))
        self.desktop.see_gone(dashboard, "Password")

        # Then: the next one's answer comes after that of the first
        self.gateway.command("sign-in", "--email", EMAIL, text_in="wrong\n", check=False)
        self.assertFalse(self.gateway.status()["session"]["signedIn"])
        self.see(dashboard, "SIGNED OUT")


class Deployed(Preferences):

    def start_program(self, address, kind):
        """Programs with a deployment file beside them."""
        place = self.folder / "installed"
        place.mkdir()
        for name in ("quorin-gateway", "quorin-gateway-desktop", "quorin-dicom"):
            shutil.copy(PROGRAMS / name, place / name)
        (place / "deployment.json").write_text(json.dumps({
            "storePage": "https://store.example/lens", "supportEmail": "help@site.example", "updates": 7}))
        return DesktopGateway(self.folder, address, self.desktop, kind, program=place / "quorin-gateway")

    def test_the_store_and_support_are_where_the_installation_says(self):
        # When
        self.preferences = self.open_preferences()
        self.press("Open Quorin Lens on the Mac App Store")

        # Then
        await_true("the store page", lambda: self.desktop.opened() == ["https://store.example/lens"],
                   self.gateway.process)
        self.picture("store")

        # When
        panel = self.open_panel()
        self.open_menu(self.see(panel, "More", "button menu"))
        self.choose_in_menu("Down", "Down")

        # Then
        await_true("a mail", lambda: self.desktop.opened()[1:] == [
            "mailto:help@site.example?subject=Quorin%20Gateway%20Feedback"], self.gateway.process)


class German(Preferences):

    LOCALE = "de_DE.UTF-8"

    def test_the_panes_speak_german(self):
        # Given
        self.gateway.sign_in()
        self.desktop.click(self.status_item())
        panel = await_true("the panel", lambda: self.desktop.window_with("Verwalten"), self.gateway.process)
        self.desktop.click(self.see(panel, "Verwalten", "push button"))
        self.preferences = self.desktop.window("Einstellungen")

        # When, then
        self.see(self.preferences, "Angemeldet")
        self.see(self.preferences, "Profil")
        self.picture("account")
        self.turn_to("Listener-Einstellungen")
        self.see(self.preferences, f"Lauscht auf Port {self.port}")
        self.picture("listener")
        self.turn_to("Cloud-Einstellungen")
        self.see(self.preferences, "Gleichzeitige Verbindungen")
        self.picture("cloud")


if __name__ == "__main__":
    unittest.main()
