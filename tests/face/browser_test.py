"""A user at a desktop looks at what this computer and the cloud hold, opens series, and deletes with real clicks."""

import unittest

from rig import FaceTest, await_true, send

ROW = 36  # of a table, and of its header
DETAILS = 38  # the middle of the first column


class Browsers(FaceTest):

    def setUp(self):
        super().setUp()
        self.sent = self.samples(ct=3)
        self.dashboard = self.open_dashboard()
        self.sign_in(self.dashboard)
        self.desktop.keys("Return")
        self.desktop.see_gone(self.dashboard, "Sign In Successful")
        send(self.gateway, self.sent)
        self.gateway.await_synced(self.sent)

    def open_from_card(self, card, title):
        """By the only entry of a card's menu."""
        self.desktop.click(self.see(self.see(self.dashboard, card), "More"))
        self.desktop.keys("Down", "Return")
        return self.desktop.window(title)

    def place_in(self, table, row, x):
        place = table.place
        left, top = place.x, place.y
        return left + x, top + ROW + row * ROW + ROW // 2

    def confirm(self, window, what):
        """The three questions; the focus is on the way back each time, so Return alone deletes nothing."""
        for title, button in ((f"Delete Selected {what}? \\(1/3\\)", "Continue"),
                              (f"Delete Selected {what}? \\(2/3\\)", "Continue"),
                              ("Final Confirmation \\(3/3\\)", "Delete")):
            self.see(window, title.replace("?", "\\?"))
            self.picture(title[:6].strip() + title[-5:-4])
            self.desktop.click(self.see(window, button, "push button"))

    def stored_files(self):
        return [path for path in (self.gateway.home / "Documents/Pavan Data").rglob("*.dcm")]

    def test_local_studies_are_deleted_with_their_files(self):
        # Given
        window = self.open_from_card("Received Items", "Local Studies")
        table = self.see(window, "Studies", "table")
        self.see(window, "Showing .*")
        self.picture("open")

        # When a person looks at the series of the first study
        self.desktop.click(self.place_in(table, 0, DETAILS))
        self.see(window, "Local Series")
        self.see(window, "Patient: .*")
        self.picture("series")
        self.desktop.click(self.see(window, "Close", "push button"))
        self.desktop.see_gone(window, "Local Series")

        # When they select all, but change their mind
        self.desktop.click(self.place_in(table, 0, 200))
        self.desktop.keys("ctrl+a", "Delete")
        self.see(window, "Delete Selected Studies\\? \\(1/3\\)")
        self.desktop.keys("Return")
        self.desktop.see_gone(window, "Delete Selected Studies\\? \\(1/3\\)")
        self.assertEqual(len(self.stored_files()), len(self.sent))

        # When they mean it
        self.desktop.keys("Delete")
        self.confirm(window, "Studies")

        # Then
        self.see(window, "No local studies found.")
        await_true("the files to go", lambda: not self.stored_files(), self.gateway.process)
        self.assertEqual(self.gateway.status()["counters"]["images"], 0)
        self.assertEqual(len(self.cloud.instances()), len(self.sent), "what is in the cloud stays")
        self.picture("gone")

    def test_studies_of_the_cloud_are_queried_and_deleted(self):
        # Given
        window = self.open_from_card("Sent Items", "Quorin Cloud Studies")
        self.see(window, "No query executed yet.*")
        self.desktop.click(self.see(window, "Patient Name", "text"))
        self.desktop.keys("Return")
        table = self.see(window, "Studies", "table")
        self.see(window, "Showing .*")
        self.picture("found")

        # When a person looks at the series of the first study
        self.desktop.click(self.place_in(table, 0, DETAILS))
        self.see(window, "Quorin Cloud Series")
        self.picture("series")
        self.desktop.click(self.see(window, "Close", "push button"))
        self.desktop.see_gone(window, "Quorin Cloud Series")

        # When they delete all
        self.desktop.click(self.place_in(table, 0, 200))
        self.desktop.keys("ctrl+a", "Delete")
        self.confirm(window, "Studies")

        # Then
        self.see(window, "No Quorin Cloud studies found for the current filters.")
        self.assertEqual(self.cloud.instances(), {})
        self.assertEqual(len(self.stored_files()), len(self.sent), "what is here stays")
        self.picture("gone")


if __name__ == "__main__":
    unittest.main()
