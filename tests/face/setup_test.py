"""A user at a new desktop sets the gateway up, step by step, and repairs what stands in the way."""

import socket
import unittest

from rig import EMAIL, PASSWORD, PROGRAMS, TITLE, FaceTest, await_true, free_port, run, send

UNWRITABLE = "/proc/self/fdinfo"  # which nobody can write in, root included


class Setup(FaceTest):

    IS_SET_UP = False

    def wizard(self):
        return await_true("the wizard", lambda: self.desktop.window_with("Setup Wizard"), self.gateway.process)

    def press(self, wizard, name):
        button = self.see(wizard, name, "push button")
        await_true(f"“{name}” to be enabled", lambda: "enabled" in button.states, self.gateway.process)
        self.desktop.click(button)

    def enter(self, wizard, field, value):
        self.desktop.click(self.see(wizard, field, "text"))
        self.desktop.keys("ctrl+a")
        self.desktop.write(value)

    def await_running(self, wizard, title, port):
        """Finishes setup, and finds the listener answering and taking images."""
        self.press(wizard, "Finish Setup")
        dashboard = await_true("the dashboard", self.dashboard, self.gateway.process)
        self.see(dashboard, "RUNNING")
        self.see(dashboard, title)
        status = self.gateway.await_status("the listener", lambda s: s["listener"]["state"] == "listening")
        self.assertEqual((status["listener"]["aeTitle"], status["listener"]["port"]), (title, port))
        self.assertFalse(status["setup"]["required"])
        self.gateway.port = port
        run("echoscu", "-aec", title, "127.0.0.1", port)
        files = self.samples(ct=2)
        send(self.gateway, files)
        self.gateway.await_received(files)


class FirstRun(Setup):

    def test_from_an_empty_home_through_five_steps_to_a_listener_that_takes_images(self):
        # Given
        port = free_port()
        wizard = self.wizard()
        self.see(wizard, "Step 1 of 5")
        self.assertIsNone(wizard.find("Close", "push button"))
        self.picture("welcome")

        # When
        self.press(wizard, "Continue")
        self.enter(wizard, "AE Title", TITLE)
        self.enter(wizard, "Port", str(port))
        self.see(wizard, f"Port {port} is available\\.")
        self.see(wizard, f"127.0.0.1:{port}")
        self.picture("listener")
        self.desktop.keys("Return")
        self.see(wizard, "Step 3 of 5")
        inbox = self.folder / "scans"
        inbox.mkdir()
        self.press(wizard, "Choose Folder…")
        self.choose_file("Select Incoming Files Folder", inbox)
        self.see(wizard, str(inbox))
        self.see(wizard, "Selected folder is writable\\.")
        self.picture("local-files")
        self.press(wizard, "Continue")
        self.enter(wizard, "Email", EMAIL)
        self.enter(wizard, "Password", PASSWORD)
        self.press(wizard, "Sign in now")
        self.see(wizard, "Account Connected")
        self.picture("account")
        self.press(wizard, "Continue")
        self.see(wizard, "Ready to Apply")
        self.see(wizard, "Account is connected\\.")
        self.picture("summary")
        self.export_summary(wizard)

        # Then
        self.await_running(wizard, TITLE, port)
        self.assertEqual(self.gateway.command("settings", "get", "ListenerDestinationFolder").stdout.strip(), str(inbox))
        self.picture("running")

    def export_summary(self, wizard):
        """By the keyboard, since the button stands below what is seen at first."""
        file = self.folder / "summary.pdf"
        self.desktop.keys("shift+Tab", "shift+Tab", "shift+Tab", "space")
        self.choose_file("Export Setup Summary", file)
        self.see(wizard, f"Setup summary exported to {file}")
        self.picture("exported")
        lines = run("pdftotext", "-layout", file, "-").stdout.splitlines()
        self.assertEqual(lines[0].strip(), "Quorin Gateway Setup Summary")
        self.assertIn(f"- AE Title: {TITLE}", [line.strip() for line in lines])
        self.assertIn("[PASSED] Quorin Account: Account is connected.", [line.strip() for line in lines])

    def test_a_setup_from_a_terminal_ends_the_wizard_on_the_screen(self):
        # Given
        self.wizard()

        # When
        self.gateway.command("setup", "--ae-title", "TERMINAL", "--port", free_port(), "--no-bonjour")

        # Then
        dashboard = await_true("the dashboard", self.dashboard, self.gateway.process)
        self.see(dashboard, "TERMINAL")
        self.assertIsNone(self.desktop.window_with("Setup Wizard"))

    def test_who_cannot_go_on_can_quit(self):
        # When
        self.press(self.wizard(), "Quit")

        # Then
        self.assertEqual(self.gateway.process.wait(90), 0)


class Repairs(Setup):

    IS_SET_UP = True  # as far as this goes:

    def set_up_before_the_start(self):
        """Settings of somebody who didn't finish: a port that is taken, and a folder that can't be written."""
        self.port = free_port()
        taker = socket.create_server(("127.0.0.1", self.port))
        self.addCleanup(taker.close)
        self.inbox = self.folder / "inbox"
        self.inbox.mkdir()
        for key, value in (("ListenerSettings.aeTitle", TITLE), ("ListenerSettings.port", self.port),
                           ("ListenerSettings.advertiseWithBonjour", "false"),
                           ("ListenerDestinationFolder", self.inbox)):
            run(PROGRAMS / "quorin-gateway", "--home", self.folder / "home", "settings", "set", key, value)
        self.inbox.rmdir()
        self.inbox.symlink_to(UNWRITABLE)

    def test_a_taken_port_and_a_readonly_folder_are_repaired_as_offered(self):
        # Given
        wizard = self.wizard()
        self.press(wizard, "Continue")
        self.see(wizard, f"Port {self.port} is already in use by another process\\.")
        self.assertNotIn("enabled", self.see(wizard, "Continue", "push button").states)
        self.picture("taken")

        # When
        self.press(wizard, "Use Next Available Port")
        shown = await_true("another port", lambda: (text := self.see(wizard, "Port", "text").text) != str(self.port) and text)
        self.picture("next")
        self.press(wizard, "Continue")
        self.see(wizard, "Selected folder is not writable.*")
        self.picture("readonly")
        self.inbox.unlink()
        self.inbox.mkdir()
        self.press(wizard, "Check Again")
        self.see(wizard, "Selected folder is writable\\.")
        self.press(wizard, "Continue")
        self.press(wizard, "Skip for now")

        # Then
        self.await_running(wizard, TITLE, int(shown))
        self.assertEqual(self.gateway.command("settings", "get", "ListenerDestinationFolder").stdout.strip(),
                         str(self.inbox))
        self.picture("repaired")


if __name__ == "__main__":
    unittest.main()
