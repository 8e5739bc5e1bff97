"""Notices, which may come by themselves, lock nothing."""

import unittest

from rig import FaceTest, await_true


class Notices(FaceTest):
    def open_about(self):
        """The notice of the panel's menu, and its window's number."""
        before = set(self.windows_of_program())
        panel = self.open_panel()
        self.open_menu(self.see(panel, "More"))
        self.choose_in_menu("Up", "Up")
        notice = await_true("the notice", lambda: self.desktop.window_with("Version .*"), self.gateway.process)
        await_true("the panel to close", lambda: self.panel() is None, self.gateway.process)
        (number,) = await_true("its window", lambda: set(self.windows_of_program()) - before, self.gateway.process)
        return notice, number

    def test_a_notice_that_is_out_of_sight_locks_neither_dashboard_nor_panel(self):
        # Given
        dashboard = self.open_dashboard()
        _, number = self.open_about()

        # When the desktop puts it away
        self.desktop.minimize(number)
        await_true("the notice to be away", lambda: number not in self.windows_of_program(), self.gateway.process)

        # Then
        self.desktop.click(self.see(dashboard, "View Logs", "push button"))
        self.see(dashboard, "Transfer event logs")
        self.open_panel()
        self.picture("panel")

    def test_a_further_notice_brings_back_the_one_before(self):
        # Given
        self.open_dashboard()
        _, number = self.open_about()
        self.desktop.minimize(number)
        await_true("the notice to be away", lambda: number not in self.windows_of_program(), self.gateway.process)

        # When
        self.open_menu(self.see(self.open_panel(), "More"))
        self.choose_in_menu("Up", "Up")

        # Then
        await_true("the notice", lambda: number in self.windows_of_program(), self.gateway.process)
        self.picture("back")


if __name__ == "__main__":
    unittest.main()
