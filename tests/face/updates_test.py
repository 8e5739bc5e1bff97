"""A user updates an AppImage from its own window, and lets it move to its place."""

import sys
import unittest
from pathlib import Path

from rig import DesktopGateway, FaceTest, await_true, send

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "e2e"))
from failing_disk import FailingDisk  # noqa: E402
from update_site import UpdateSite  # noqa: E402

# What the runtime of an AppImage does: it mounts the programs, tells them of it by two variables, and starts them.
IMAGE = """#!/bin/sh
APPIMAGE=$(readlink -f "$0") APPDIR={mount}
export APPIMAGE APPDIR
echo "{build} $APPIMAGE" >>{started}
{more}
exec "$APPDIR/quorin-gateway" "$@"
"""


class ImageTest(FaceTest):
    """The gateway runs from a file in a folder of the user's."""

    FOLDER = "Applications"
    MORE = ""  # of the script

    def start_program(self, address, kind):
        self.site = UpdateSite(self.folder)
        self.addCleanup(self.site.close)
        self.mount = self.folder / "mount"
        self.site.install(self.mount, "quorin-gateway", "quorin-gateway-desktop", "quorin-dicom")
        self.site.publish("9.0", "gateway.AppImage", self.image("new").encode())
        self.file = self.desktop.home / self.FOLDER / "Ann's Gateway.AppImage"
        self.file.parent.mkdir()
        self.file.write_text(self.image("old"))
        self.file.chmod(0o755)
        return DesktopGateway(self.folder, address, self.desktop, kind, program=self.file)

    def image(self, build):
        return IMAGE.format(mount=self.mount, build=build, started=self.folder / "started", more=self.MORE)

    def started(self):
        """Which builds were started so far, and from which files."""
        return (self.folder / "started").read_text().splitlines()


class Update(ImageTest):

    def test_a_person_installs_an_update_and_no_image_is_lost(self):
        # Given
        files = self.samples(ct=3)
        send(self.gateway, files)
        self.gateway.await_received(files)
        self.desktop.click(self.see(self.open_panel(), "Check for Updates…"))
        window = await_true("the window", lambda: self.desktop.window_with("Install and Relaunch"),
                            self.gateway.process)
        self.see(window, r"Quorin Gateway 9\.0 \(Winter\) Is Available")
        self.picture("offered")

        # When
        self.desktop.click(self.see(window, "Install and Relaunch", "push button"))

        # Then: the new build has taken over, in the same process, and takes images again
        await_true("the new build", lambda: len(self.started()) == 2, self.gateway.process)
        self.assertEqual(self.started(), [f"old {self.file}", f"new {self.file}"])
        self.assertEqual(self.file.read_text(), self.image("new"))
        self.gateway.await_status("the listener", lambda s: s["listener"]["state"] == "listening")
        more = self.samples(seed=2, ct=2)
        send(self.gateway, more)
        self.gateway.await_received([*files, *more])

    def test_a_person_who_says_later_keeps_what_runs(self):
        # Given
        self.desktop.click(self.see(self.open_panel(), "Check for Updates…"))
        window = await_true("the window", lambda: self.desktop.window_with("Install and Relaunch"),
                            self.gateway.process)

        # When
        self.desktop.click(self.see(window, "Later", "push button"))

        # Then
        await_true("the window to close", lambda: self.desktop.window_with("Install and Relaunch") is None,
                   self.gateway.process)
        self.assertEqual(self.started(), [f"old {self.file}"])
        self.assertEqual(self.file.read_text(), self.image("old"))

    def test_quitting_installs_what_was_found(self):
        # Given
        whole = len(self.image("new"))
        await_true("the package", lambda: any(part.stat().st_size == whole for part in self.file.parent.glob(".*.part")),
                   self.gateway.process)
        self.gateway.status()  # by then it has looked at what it fetched
        self.gateway.status()

        # When
        self.gateway.end()

        # Then
        self.assertEqual(self.gateway.process.returncode, 0)
        self.assertEqual(self.file.read_text(), self.image("new"))
        self.assertEqual(self.started(), [f"old {self.file}"])
        self.assertEqual(list(self.file.parent.glob(".*")), [])


class Killed(ImageTest):
    """At each call that an update makes on files of the folder in which the program lies."""

    CALLS = "open", "write", "fsync", "rename"

    def start_program(self, address, kind):
        self.disk = FailingDisk(self.folder)
        given = self.disk.variables()
        self.MORE = "\n".join(f"export {name}='{value}'" for name, value in given.items())
        self.cloud_address, self.kind = address, kind
        return super().start_program(address, kind)

    def start_again(self):
        self.gateway = DesktopGateway.__new__(DesktopGateway)  # whose process is known though it ends as it starts
        self.addCleanup(self.gateway.end)
        self.gateway.__init__(self.folder, self.cloud_address, self.desktop, self.kind, program=self.file)

    def is_fetched(self):
        whole = len(self.image("new"))
        return any(part.stat().st_size == whole for part in self.file.parent.glob(".*.part"))

    def update(self):
        """Lets the program find, fetch and, as it quits, install the update, unless it is killed on its way."""
        try:
            self.start_again()
            await_true("the package", lambda: self.is_fetched() or self.gateway.process.poll() is not None)
            if self.gateway.process.poll() is None:
                self.gateway.status()  # by then it has looked at what it fetched
                self.gateway.status()
        except AssertionError:
            if self.gateway.process.poll() is None:
                raise
        self.gateway.end()
        return self.gateway.process.returncode

    def test_leaves_the_one_program_or_the_other_whole(self):
        # Given
        self.gateway.end()
        files = self.samples(ct=2)
        struck = 0
        for call in self.CALLS:
            number = 0
            while True:
                number += 1
                with self.subTest(call=call, number=number):
                    self.file.write_text(self.image("old"))
                    for part in self.file.parent.glob(".*"):
                        part.unlink()
                    self.disk.strike(call, f"{self.file.parent}/*", number)

                    # When
                    ended = self.update()

                    # Then
                    calls = self.disk.failures()
                    self.disk.heal()
                    self.assertIn(self.file.read_text(), (self.image("old"), self.image("new")))
                    self.assertTrue(self.file.stat().st_mode & 0o100)
                    if calls < number:
                        break
                    self.assertEqual(ended, -9)
                    struck += 1
            self.assertEqual(self.update(), 0)
            self.assertEqual(self.file.read_text(), self.image("new"), f"what was killed at {call} holds up no later update")
            self.assertEqual(list(self.file.parent.glob(".*")), [])
        print(f"killed at {struck} calls of an update")
        self.assertGreaterEqual(struck, len(self.CALLS))
        self.start_again()
        self.gateway.port = self.port
        self.gateway.await_status("the listener", lambda s: s["listener"]["state"] == "listening")
        send(self.gateway, files)
        self.gateway.await_received(files)


class Move(ImageTest):

    FOLDER = "Downloads"

    def test_a_person_moves_the_program_to_its_place(self):
        # Given
        offer = await_true("the offer", lambda: self.desktop.window_with("Not Now"), self.gateway.process)
        self.see(offer, r"Move Quorin Gateway to Applications\?")
        self.picture("offered")

        # When
        self.desktop.click(self.see(offer, "Move", "push button"))

        # Then
        moved = self.desktop.home / "Applications" / self.file.name
        await_true("the copy", lambda: len(self.started()) == 2, self.gateway.process)
        self.assertEqual(self.started(), [f"old {self.file}", f"old {moved}"])
        self.gateway.await_status("the listener", lambda s: s["listener"]["state"] == "listening")
        self.assertIsNone(self.desktop.window_with("Not Now"))


if __name__ == "__main__":
    unittest.main()
