"""A user at a desktop: the status item, the panel, the dashboard, an account, images that come in, the log."""

import json
import shutil
import time
import unittest

from rig import DASHBOARD, EMAIL, PROGRAMS, FaceTest, Modality, await_true, drag_source, send


class Face(FaceTest):

    def test_the_status_item_opens_the_panel_and_closes_it(self):
        # When
        panel = self.open_panel()
        self.see(panel, "Quorin Gateway")
        self.see(panel, "Sign in required")
        self.see(panel, "Stop Listener")
        self.picture("panel")
        x, y = self.status_item()
        self.desktop.click((x - 8, y))  # so far from the first click that the two are no double click

        # Then
        await_true("the panel to close", lambda: self.panel() is None, self.gateway.process)

    def test_a_click_on_another_window_closes_the_panel(self):
        # Given
        _, elsewhere = drag_source(self.desktop)
        self.open_panel()

        # When
        self.desktop.click(elsewhere)

        # Then
        await_true("the panel to close", lambda: self.panel() is None, self.gateway.process)

    def test_the_panel_stops_and_starts_the_listener(self):
        # When
        panel = self.open_panel()
        self.desktop.click(self.see(panel, "Stop Listener", "check box"))

        # Then
        self.gateway.await_status("the end of the listener", lambda s: s["listener"]["state"] == "stopped")
        self.picture("stopped")

        # When
        self.desktop.click(self.see(panel, "Start Listener", "check box"))

        # Then
        self.gateway.await_status("the listener", lambda s: s["listener"]["state"] == "listening")
        self.see(panel, "Stop Listener", "check box")

    def test_the_panel_quits_the_program(self):
        # Given
        panel = self.open_panel()

        # When
        self.open_menu(self.see(panel, "More"))
        self.picture("menu")
        self.choose_in_menu("Up")  # its last entry

        # Then
        self.assertEqual(self.gateway.process.wait(90), 0)

    def test_the_panel_leads_to_one_dashboard(self):
        # When
        dashboard = self.open_dashboard()
        self.see(dashboard, "DIMSE Listener")
        self.see(dashboard, "RUNNING")
        self.see(dashboard, f"Reached at 127.0.0.1:{self.gateway.port}")
        self.see(dashboard, "SIGNED OUT")
        self.picture("dashboard")
        self.open_dashboard()

        # Then
        self.assertEqual(len(self.desktop.window_ids("--name", f"^{DASHBOARD}$")), 1)

    def test_who_signs_in_is_told_so_and_finds_the_cloud_ready(self):
        # Given
        dashboard = self.open_dashboard()

        # When
        self.sign_in(dashboard)
        self.see(dashboard, f"You are now signed in as {EMAIL}.")
        self.picture("told")
        self.desktop.keys("Return")

        # Then
        self.desktop.see_gone(dashboard, "Sign In Successful")
        self.see(dashboard, "READY")
        self.see(dashboard, f"Signed in as {EMAIL}")
        self.picture("ready")
        self.gateway.await_status("the session", lambda s: s["session"]["state"] == "signedIn"
                                  and s["session"]["label"] == EMAIL)

    def test_who_mistypes_stays_in_the_sheet_and_may_leave_it(self):
        # Given
        dashboard = self.open_dashboard()
        self.desktop.click(self.see(dashboard, "Sign in", "push button"))
        self.see(dashboard, "Password")

        # When
        self.desktop.write(EMAIL)
        self.desktop.keys("Tab")
        self.desktop.write("not it")
        self.desktop.keys("Return")

        # Then
        self.see(dashboard, "Images are still received and kept.*")
        self.picture("refused")
        self.desktop.keys("Escape")
        self.desktop.see_gone(dashboard, "Password")
        self.assertFalse(self.gateway.status()["session"]["signedIn"])

    def test_figures_move_while_images_come_in(self):
        # Given
        files = self.samples(ct=20)
        dashboard = self.open_dashboard()
        modality = Modality(self.desktop, self.gateway, files, repeat=40)

        # When
        self.gateway.await_status("a first image", lambda s: s["counters"]["images"] > 0)
        modality.hold_still()

        # Then
        self.see(dashboard, "RECEIVING")
        await_true("the figure of the images so far",
                   lambda: dashboard.find(f"(Images: )?{self.gateway.status()['counters']['images']:,}"), self.gateway.process)
        self.picture("receiving")
        modality.go_on()
        modality.end_well()
        self.gateway.await_status("all images", lambda s: s["counters"]["images"] == 40 * len(files))
        self.see(dashboard, "RUNNING")
        self.see(dashboard, "(Images: )?800")
        self.picture("received")

    def test_why_uploads_fail_is_said_and_nothing_refused_looks_sent(self):
        # Given
        self.gateway.sign_in()
        dashboard = self.open_dashboard()
        self.see(dashboard, "READY")
        self.cloud.steer("faults", path="/dicom-web/studies", method="POST", status=500, count=1000)

        # When
        send(self.gateway, self.samples(ct=4))
        self.gateway.await_status("failed uploads", lambda s: s["counters"]["failed"] == 4)

        # Then
        self.see(dashboard, "4 images could not be sent")
        self.see(dashboard, "The cloud has a fault of its own\\. .*")
        self.gateway.await_status("no speed", lambda s: s["upload"]["speedMbps"] == 0)
        self.picture("refused")

        # When
        self.cloud.end()
        self.desktop.click(self.see(dashboard, "Refresh", "push button"))

        # Then
        self.see(dashboard, "UNREACHABLE")
        self.see(dashboard, "The cloud service at 127\\.0\\.0\\.1 refused the connection\\.")
        self.picture("unreachable")

    def test_what_is_dropped_is_imported(self):
        # Given
        files = self.samples(ct=3)
        dashboard = self.open_dashboard()
        target = self.see(dashboard, "Drop DICOM Files Or Folders.*")
        source, start = drag_source(self.desktop, files[0].parent)

        # When
        drop = self.desktop.drag(start, target.place.middle)
        self.picture("over-the-area")
        drop()

        # Then
        self.assertEqual(source.stdout.readline(), "taken\n")
        self.gateway.await_received(files)
        self.see(dashboard, "Drop DICOM Files Or Folders.*")
        self.picture("imported")

    def test_what_is_chosen_is_imported(self):
        # Given
        files = self.samples(ct=3)
        shutil.copytree(files[0].parent, self.desktop.home / "scans")
        dashboard = self.open_dashboard()

        # When
        self.desktop.click(self.see(dashboard, "Manual Upload", "push button"))
        dialog = self.desktop.window("Import DICOM Files")
        self.desktop.click(self.see(dialog, "scans"))
        self.picture("chosen")
        self.desktop.click(self.see(dialog, "Import", "push button"))

        # Then
        self.see(dashboard, "Imported 3 of 3 files.*")
        self.gateway.await_received(files)

    def test_an_import_of_the_command_line_is_shown_to_who_looks_at_the_dashboard(self):
        # Given
        files = self.samples(ct=3)
        (files[0].parent / "notes.txt").write_text("no image")
        dashboard = self.open_dashboard()

        # When
        told = self.gateway.command("import", files[0].parent).stdout

        # Then
        self.see(dashboard, "Imported 3 of 4 files")
        self.see(dashboard, "1 not DICOM: .*notes\\.txt")
        self.assertIn("3 files imported, 1 file passed over.", told)
        self.picture("imported")

    def meet_new_terms(self, text):
        """Signs in, and has two images refused until the terms are accepted."""
        dashboard = self.open_dashboard()
        self.sign_in(dashboard)
        self.desktop.keys("Return")
        self.desktop.see_gone(dashboard, "Sign In Successful")
        self.cloud.steer("terms", version="7", text=text, reason="T&Cs updated")
        files = self.samples(ct=2)
        send(self.gateway, files)
        preferences = self.desktop.window("Preferences")
        self.see(preferences, "Quorin Cloud Terms & Conditions")
        return preferences, files

    def test_images_wait_for_the_terms_that_are_accepted_on_the_screen(self):
        # Given
        preferences, files = self.meet_new_terms("\n".join(f"{clause}. Be kind." for clause in range(1, 101)))
        self.see(preferences, "The Terms & Conditions were updated.*")
        accept = self.see(preferences, "Accept", "push button")
        self.assertNotIn("enabled", accept.states)
        self.picture("unread")

        # When
        def scrolled():
            self.desktop.keys("Page_Down")
            return "enabled" in accept.states
        await_true("the end of the terms", scrolled, self.gateway.process)
        self.picture("read")
        self.desktop.click(accept)

        # Then
        self.desktop.see_gone(preferences, "Quorin Cloud Terms & Conditions")
        self.gateway.await_status("accepted terms", lambda s: s["terms"]["required"] is False)
        self.gateway.command("upload")
        self.gateway.await_synced(files)

    def test_who_declines_the_terms_is_signed_out_and_keeps_the_images(self):
        # Given
        preferences, files = self.meet_new_terms("Be kind.")

        # When
        self.desktop.click(self.see(preferences, "Decline", "push button"))

        # Then
        self.desktop.see_gone(preferences, "Quorin Cloud Terms & Conditions")
        self.see(preferences, "Quorin Cloud Terms & Conditions were declined\\. You have been signed out\\.")
        self.see(preferences, "Signed out")
        self.picture("signed-out")
        self.gateway.await_status("the end of the session", lambda s: not s["session"]["signedIn"]
                                  and s["counters"]["images"] == len(files))

    def test_the_log_is_searched_and_deleted(self):
        # Given
        files = self.samples(ct=3)
        send(self.gateway, files)
        self.gateway.await_received(files)
        dashboard = self.open_dashboard()
        self.desktop.click(self.see(dashboard, "View Logs", "push button"))
        self.see(dashboard, r"Showing (\d+) of \1 logs")
        self.picture("all")

        # When
        self.desktop.keys("ctrl+f")
        self.desktop.write("association_started")

        # Then
        self.see(dashboard, r"Showing 1 of \d+ logs")
        self.picture("one")

        # When one looks at it closely
        table = self.see(dashboard, "Log events", "table").place
        self.desktop.click((table.x + 200, table.y + 60))
        self.see(dashboard, "Close details", "push button")
        self.see(dashboard, "Action: association_started")
        self.picture("details")
        self.desktop.keys("Escape")

        # Then
        self.desktop.see_gone(dashboard, "Close details")
        self.assertEqual(len(self.desktop.window_ids("--name", f"^{DASHBOARD}$")), 1)
        self.desktop.click(self.see(dashboard, "Reset Filters", "push button"))
        self.see(dashboard, r"Showing (\d+) of \1 logs")

        # When
        self.desktop.click(self.see(dashboard, "Delete Logs", "push button"))
        self.see(dashboard, "Delete All Logs\\?")
        self.picture("question")
        begun = time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime())
        self.desktop.click(self.see(dashboard, "Delete", "push button"))

        # Then there is nothing but what was logged since, as runs that find nobody signed in are
        self.desktop.see_gone(dashboard, "Delete All Logs\\?")
        self.desktop.keys("ctrl+f")
        self.desktop.write("association_started")
        self.see(dashboard, r"Showing 0 of \d+ logs")
        self.picture("deleted")
        logs = self.folder / "home" / "Application Support" / "QuorinGateway" / "Logs"
        kept = [json.loads(line) for file in logs.glob("*.jsonl") for line in file.read_text().splitlines()]
        self.assertEqual([line for line in kept if line["timestamp"] < begun], [])

    def test_a_second_start_shows_the_dashboard_of_the_first(self):
        # When
        second = self.desktop.start(PROGRAMS / "quorin-gateway", "--home", self.gateway.home,
                                    variables=self.desktop.variables)

        # Then
        self.assertEqual(second.wait(90), 0)
        await_true("the dashboard", self.dashboard, self.gateway.process)


class FirstLook(FaceTest):
    """Nobody knows yet whether the session of the last time is good."""

    def start_program(self, address, kind):
        before = super().start_program(address, kind)
        before.sign_in()
        before.end()
        self.cloud.steer("faults", path="/api/v1/auth/token", delayMs=600_000, count=1000)
        return super().start_program(address, kind)

    def test_each_screen_says_the_same_of_a_session_that_is_not_known_yet(self):
        words = "Checking sign-in status…"
        panel = self.open_panel()
        self.see(panel, words)
        self.desktop.click(self.see(panel, "Open Dashboard"))
        dashboard = await_true("the dashboard", self.dashboard, self.gateway.process)
        self.see(dashboard, words)
        self.see(dashboard, "CHECKING")
        self.assertIsNone(dashboard.find("Sign in", "push button"))
        self.picture("dashboard")
        self.desktop.click(self.see(dashboard, "Preferences", "push button"))
        preferences = self.desktop.window("Preferences")
        self.see(preferences, words)
        self.assertIsNone(preferences.find("Password"))
        self.picture("preferences")
        self.assertIn(f"Session    {words}", self.gateway.command("status").stdout)


if __name__ == "__main__":
    unittest.main()
