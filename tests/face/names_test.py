"""What a screen reader can say: every widget that is reached by the keyboard or shows something has a name."""

import unittest

from accessible import Gone
from rig import FaceTest, await_true, send

# Roles that group others, or whose words are their children's; all others must say what they are.
SILENT = {"filler", "panel", "layered pane", "scroll pane", "viewport", "split pane", "scroll bar", "separator",
          "unknown", "list", "table", "tool bar"}


def nameless(window):
    """The shown widgets below a window that a screen reader could say nothing of."""
    found = []
    for widget, role, name in window.on_screen():
        try:
            is_reached = "focusable" in widget.states
            says_something = name.strip() or (role in ("text", "label") and widget.text.strip())
            if not says_something and (is_reached or role not in SILENT):
                place = widget.place
                found.append(f"{role} at {place.x},{place.y} of {place.width} x {place.height}")
        except Gone:
            continue
    return found


class Names(FaceTest):

    def assert_named(self, window, least):
        """No widget is nameless; `least` of them were looked at, so that an empty tree doesn't pass."""
        count = sum(1 for _ in window.on_screen())
        self.assertGreaterEqual(count, least, window.words())
        self.assertEqual(nameless(window), [])

    def test_the_panel_says_what_it_shows(self):
        self.assert_named(self.open_panel(), 15)

    def test_the_dashboard_says_what_it_shows(self):
        dashboard = self.open_dashboard()
        self.see(dashboard, "RUNNING")

        self.assert_named(dashboard, 40)

    def test_the_sign_in_sheet_says_what_it_shows(self):
        dashboard = self.open_dashboard()
        self.desktop.click(self.see(dashboard, "Sign in", "push button"))
        self.see(dashboard, "Password")

        self.assert_named(dashboard, 40)

    def test_the_terms_say_what_they_show(self):
        dashboard = self.open_dashboard()
        self.sign_in(dashboard)
        self.desktop.keys("Return")
        self.cloud.steer("terms", version="7", text="Be kind.", reason="T&Cs updated")
        send(self.gateway, self.samples(ct=1))
        preferences = self.desktop.window("Preferences")
        self.see(preferences, "Quorin Cloud Terms & Conditions")

        self.assert_named(preferences, 20)

    def test_the_preferences_say_what_they_show_in_each_pane(self):
        preferences = self.open_preferences()
        for category, group in (("Listener Settings", "Connection"), ("Quorin Cloud Settings", "Retrieval"),
                                ("Account", "Status")):
            self.desktop.click(self.see(preferences, category, "list item"))
            self.see(preferences, group)
            self.assert_named(preferences, 15)

    def test_the_wizard_says_what_it_shows_on_each_page(self):
        preferences = self.open_preferences()
        self.desktop.click(self.see(preferences, "Setup Wizard…", "push button"))
        wizard = self.desktop.window("Quorin Gateway Setup")
        for step in range(1, 6):
            self.see(wizard, f"Step {step} of 5")
            self.assert_named(wizard, 20)
            if step < 5:
                self.desktop.click(self.see(wizard, "Continue", "push button"))

    def test_the_import_panel_says_what_it_shows(self):
        self.desktop.click(self.see(self.open_dashboard(), "Manual Upload", "push button"))

        self.assert_named(self.desktop.window("Import DICOM Files"), 8)

    def test_the_log_says_what_it_shows(self):
        dashboard = self.open_dashboard()
        self.desktop.click(self.see(dashboard, "View Logs", "push button"))
        self.see(dashboard, r"Showing \d+ of \d+ logs")

        self.assert_named(dashboard, 20)

    def test_tab_reaches_every_button_of_the_dashboard(self):
        # Given
        dashboard = self.open_dashboard()
        self.see(dashboard, "RUNNING")
        wanted = {name for widget, role, name in dashboard.on_screen()
                  if role == "push button" and {"focusable", "enabled"} <= widget.states}

        # When
        reached = set()
        for _ in range(3 * len(wanted)):
            self.desktop.keys("Tab")
            focused = await_true("the focus", lambda: [name for widget, _, name in dashboard.on_screen()
                                                       if "focused" in widget.states])
            reached.update(focused)

        # Then
        self.assertEqual(wanted - reached, set())


if __name__ == "__main__":
    unittest.main()
