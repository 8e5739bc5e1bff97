"""A user at a desktop looks at what this computer and the cloud hold, opens series, and deletes with real clicks."""

import csv
import re
import unittest
from pathlib import Path
from urllib.parse import unquote, urlsplit

from rig import FaceTest, Orthanc, await_true, identity_of, send

ROW = 36  # of a table, and of its header
DETAILS = 38  # the middle of the first column


class BrowserTest(FaceTest):

    def setUp(self):
        super().setUp()
        self.dashboard = self.open_dashboard()
        self.sign_in(self.dashboard)
        self.desktop.keys("Return")
        self.desktop.see_gone(self.dashboard, "Sign In Successful")

    def open_from_card(self, card, title):
        """By the only entry of a card's menu."""
        self.open_menu(self.see(self.see(self.dashboard, card), "More"))
        self.choose_in_menu("Down")
        return self.desktop.window(title)

    def place_in(self, table, row, x):
        place = table.place
        left, top = place.x, place.y
        return left + x, top + ROW + row * ROW + ROW // 2

    def open_menu_of_row(self, table, row, x=200):
        self.open_menu(self.place_in(table, row, x), button=3)

    def confirm(self, window, what):
        """The three questions; the focus is on the way back each time, so Return alone deletes nothing."""
        for title, button in ((f"Delete Selected {what}? \\(1/3\\)", "Continue"),
                              (f"Delete Selected {what}? \\(2/3\\)", "Continue"),
                              ("Final Confirmation \\(3/3\\)", "Delete")):
            self.see(window, title.replace("?", "\\?"))
            self.picture(title[:6].strip() + title[-5:-4])
            self.desktop.click(self.armed(window, button))

    def armed(self, window, name):
        """The button of a question, once it takes a press."""
        button = self.see(window, name, "push button")
        await_true(f"“{name}” to take a press", lambda: "enabled" in button.states, self.gateway.process)
        return button

    def stored_files(self):
        return [path for path in (self.gateway.home / "Documents/Pavan Data").rglob("*.dcm")]

    def query_all(self, window):
        """Runs the query without filters; the table of what it found."""
        self.see(window, "No query executed yet.*")
        self.desktop.click(self.see(window, "Patient Name", "text"))
        self.desktop.keys("Return")
        table = self.see(window, "Studies", "table")
        self.see(window, "Showing .*")
        return table


class Browsers(BrowserTest):

    def setUp(self):
        super().setUp()
        self.sent = self.samples(ct=3)
        send(self.gateway, self.sent)
        self.gateway.await_synced(self.sent)

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

        # When three clicks on one spot follow each other faster than anybody reads
        self.desktop.keys("Delete")
        self.desktop.click_often(self.armed(window, "Continue"), 3)
        self.see(window, "Delete Selected Studies\\? \\(2/3\\)")
        self.desktop.keys("Escape")
        self.desktop.see_gone(window, "Delete Selected Studies\\? \\(2/3\\)")
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
        table = self.query_all(window)
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

    def test_what_is_shown_is_exported_to_a_file_that_a_person_names(self):
        # Given
        window = self.open_from_card("Received Items", "Local Studies")
        self.see(window, "Showing .*")
        target = self.folder / "what is here.csv"

        # When
        self.desktop.click(self.see(window, "Export….*", "push button"))
        self.see(window, "Export This Table\\?")
        self.desktop.click(self.see(window, "Choose File…", "push button"))
        self.desktop.window("Export Table")
        self.picture("panel")
        self.choose_file("Export Table", target)

        # Then
        self.see(window, f"Exported to {re.escape(str(target))}")
        with open(target, encoding="utf-8-sig", newline="") as written:
            rows = list(csv.reader(written))
        self.assertIn("Patient Name", rows[0])
        self.assertEqual(len(rows) - 1, len({identity_of(file)[0] for file in self.sent}))
        self.picture("exported")

    def test_a_right_click_leads_to_the_files_of_a_study_and_to_its_lines_in_the_log(self):
        # Given
        window = self.open_from_card("Received Items", "Local Studies")
        table = self.see(window, "Studies", "table")
        self.see(window, "Showing .*")

        # When a person asks for the folder; nothing is left to send
        self.open_menu_of_row(table, 0)
        self.picture("menu")
        self.choose_in_menu("Down", "Down")

        # Then
        folders = {path.parent for path in self.stored_files()}
        await_true("the folder to be opened", self.desktop.opened, self.gateway.process)
        self.assertIn(Path(unquote(urlsplit(self.desktop.opened()[0]).path)), folders)

        # When they ask for its lines in the log; soon, and on the same spot, it would be a double click
        self.open_menu_of_row(table, 0, x=300)
        self.choose_in_menu("Down", "Down", "Down")

        # Then
        self.see(self.dashboard, "From association to removal.*")
        self.see(self.dashboard, "Showing [1-9].* logs")
        self.picture("log")

    def test_what_comes_while_nobody_is_signed_in_is_shown(self):
        # Given
        window = self.open_from_card("Received Items", "Local Studies")
        before = len({identity_of(file)[0] for file in self.sent})
        self.see(window, f"Showing {before} of {before}")
        self.gateway.command("sign-out")

        # When
        send(self.gateway, self.samples(seed=77, ct=1))

        # Then
        self.see(window, f"Showing {before + 1} of {before + 1}")


class OneStudy(BrowserTest):

    def test_is_sent_alone_by_a_right_click(self):
        # Given two studies that the cloud refuses
        self.sent = self.samples(seed=1, ct=1) + self.samples(seed=2, ct=1)
        uids = {identity_of(file)[2] for file in self.sent}
        self.assertEqual(len({identity_of(file)[0] for file in self.sent}), 2)
        self.cloud.steer("refuse-instances", sopInstanceUIDs=list(uids), count=None)
        send(self.gateway, self.sent)
        self.gateway.await_status("both to be refused", lambda s: s["counters"]["failed"] == 2)
        self.cloud.steer("faults/clear")
        window = self.open_from_card("Received Items", "Local Studies")
        table = self.see(window, "Studies", "table")
        self.see(window, "Showing 2 of 2")

        # When
        self.open_menu_of_row(table, 1)
        self.choose_in_menu("Down", "Down")

        # Then
        self.see(window, "What this study has not sent yet is tried now.*")
        status = self.gateway.await_status("one study to be sent", lambda s: s["counters"]["synced"] == 1
                                           and not s["upload"]["running"])
        self.assertEqual(status["counters"]["failed"], 1, "the other waits for its time")
        self.assertEqual(len(self.cloud.instances()), 1)
        self.picture("sent")


class BehindAnArchive(BrowserTest):
    """The windows over an archive of others."""

    def start_service(self):
        self.orthanc = Orthanc(self.folder)
        self.addCleanup(self.orthanc.end)
        return self.orthanc.root, "dicomweb"

    def test_what_it_holds_is_shown_and_a_deletion_that_it_refuses_is_told(self):
        # Given
        self.sent = self.samples(ct=3)
        send(self.gateway, self.sent)
        self.gateway.await_synced(self.sent)
        window = self.open_from_card("Sent Items", "Quorin Cloud Studies")
        studies = len({identity_of(file)[0] for file in self.sent})

        # When
        table = self.query_all(window)

        # Then
        self.see(window, f"Showing {studies} of {studies}")
        self.picture("found")

        # When a person looks at the series of the first study
        self.desktop.click(self.place_in(table, 0, DETAILS))
        self.see(window, "Quorin Cloud Series")
        self.see(window, "Series", "table")
        self.picture("series")
        self.desktop.click(self.see(window, "Close", "push button"))
        self.desktop.see_gone(window, "Quorin Cloud Series")

        # When they delete all, which this archive doesn't offer by DICOMweb
        self.desktop.click(self.place_in(table, 0, 200))
        self.desktop.keys("ctrl+a", "Delete")
        self.confirm(window, "Studies")

        # Then
        self.see(window, f"Deleted 0 of {studies} selected studies\\. {studies} failed\\. Last error: .*"
                 "does not offer this \\(status 405\\)\\.")
        self.see(window, f"Showing {studies} of {studies}")
        self.assertEqual(len(self.orthanc.files(self.folder)), len(self.sent))
        self.picture("refused")


if __name__ == "__main__":
    unittest.main()
