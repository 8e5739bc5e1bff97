"""The gateway as a user at a desktop has it, beside a local cloud and a modality."""

import signal
import subprocess
import sys
from pathlib import Path

from desktop import Desktop

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "e2e"))
from harness import (EMAIL, PASSWORD, PROGRAMS, TITLE, EndToEndTest, Gateway, await_true,  # noqa: E402,F401
                     free_port, identity_of, run, send)
from orthanc import Orthanc  # noqa: E402,F401

DASHBOARD = "Quorin Gateway"  # the title of its window


class DesktopGateway(Gateway):
    """A gateway with its face on a desktop."""

    def __init__(self, folder, cloud_address, desktop, kind="quorin", **more):
        super().__init__(folder, cloud_address, kind, face=(), variables=desktop.variables, **more)


class FaceTest(EndToEndTest):
    """A desktop, a cloud and a gateway that is set up."""

    IS_SET_UP = True

    def setUp(self):
        super().setUp()
        self.desktop = Desktop()
        self.addCleanup(self.desktop.close)
        address, kind = self.start_service()
        if self.IS_SET_UP:
            self.set_up_before_the_start()
        self.gateway = self.start_program(address, kind)
        if self.IS_SET_UP:
            self.gateway.port = self.port
        self.addCleanup(self.gateway.end)

    def start_service(self):
        """Where the gateway uploads to, and of which kind that is."""
        self.cloud = self.start_cloud()
        return self.cloud.address, "quorin"

    def start_program(self, address, kind):
        return DesktopGateway(self.folder, address, self.desktop, kind)

    def set_up_before_the_start(self):
        self.port = free_port()
        run(PROGRAMS / "quorin-gateway", "--home", self.folder / "home", "--bind", "127.0.0.1", "setup",
            "--ae-title", TITLE, "--port", self.port, "--no-bonjour")

    def picture(self, name):
        return self.desktop.picture(f"{self.id().rsplit('.', 1)[1]}-{name}")

    def see(self, within, name, role=None):
        return self.desktop.see(within, name, role, self.gateway.process)

    # Ways that a user takes

    def status_item(self):
        """Where the icon in the tray is, once it is there."""
        def place():
            for window in self.desktop.window_ids("--class", "trayer"):
                x, y, width, height = self.desktop.geometry(window)
                if width >= height // 2:
                    return x + width // 2, y + height // 2
            return None
        return await_true("the status item", place, self.gateway.process)

    def panel(self):
        """The panel, if it is open."""
        return self.desktop.window_with("Open Dashboard")

    def open_panel(self):
        self.desktop.click(self.status_item())
        return await_true("the panel", self.panel, self.gateway.process)

    def windows_of_program(self):
        """All that it shows, menus too, which assistive tools learn of by events alone."""
        return self.desktop.window_ids("--pid", self.gateway.process.pid)

    def open_menu(self, *click, **more):
        """By a click; keys are the menu's once it is shown."""
        before = set(self.windows_of_program())
        self.desktop.click(*click, **more)
        self.menu = await_true("the menu", lambda: set(self.windows_of_program()) - before, self.gateway.process)

    def choose_in_menu(self, *keys):
        """An entry of the open menu, by keys; what is clicked next isn't the menu's any more."""
        self.desktop.keys(*keys, "Return")
        await_true("the menu to close", lambda: not self.menu & set(self.windows_of_program()))

    def choose_file(self, title, path):
        """In the file dialog of that title; not key by key, some of which its list of proposals swallows on a busy machine."""
        name = self.see(self.desktop.window(title), "File name:|Directory:", "text")
        await_true("the keyboard to be at the name", lambda: "focused" in name.states, self.gateway.process)
        name.set_text(str(path))
        self.assertEqual(name.text, str(path))
        self.desktop.keys("Return")

    def dashboard(self):
        """The dashboard, if it is open."""
        return self.desktop.window_with("View Logs")

    def open_dashboard(self):
        self.desktop.click(self.see(self.open_panel(), "Open Dashboard"))
        dashboard = await_true("the dashboard", self.dashboard, self.gateway.process)
        await_true("the panel to close", lambda: self.panel() is None, self.gateway.process)
        return dashboard

    def open_preferences(self):
        self.desktop.click(self.see(self.open_dashboard(), "Preferences", "push button"))
        return self.desktop.window("Preferences")

    def sign_in(self, dashboard):
        """By the sheet and the keyboard alone, once the sheet is asked for."""
        self.desktop.click(self.see(dashboard, "Sign in", "push button"))
        self.see(dashboard, "Password")
        self.desktop.write(EMAIL)
        self.desktop.keys("Tab")
        self.desktop.write(PASSWORD)
        self.desktop.keys("Return")
        self.see(dashboard, "Sign In Successful")


class Modality:
    """A sender that can hold still in the middle of its association."""

    def __init__(self, desktop, gateway, files, repeat):
        self._process = desktop.start("storescu", "--repeat", repeat, "--invent-instance", "-aec", TITLE,
                                      "127.0.0.1", gateway.port, *files)

    def hold_still(self):
        self._process.send_signal(signal.SIGSTOP)

    def go_on(self):
        self._process.send_signal(signal.SIGCONT)

    def end_well(self):
        if self._process.wait(90) != 0:
            raise AssertionError(f"the modality ended with {self._process.returncode}")


def drag_source(desktop, *files):
    """A window of a file browser's, and where to take the files from."""
    source = desktop.start(PROGRAMS / "quorin-drag-source", *files, variables=desktop.variables,
                           stdout=subprocess.PIPE, text=True)
    window = await_true("the file browser", lambda: desktop.window_ids("--name", "^Drag Source$"), source)[0]
    x, y, width, height = desktop.geometry(window)
    return source, (x + width // 2, y + height // 2)
