"""A volume in a file that can lose its power: what wasn't synced by then is gone."""

import array
import fcntl
import os
import subprocess
import tempfile
import time

BYTES = 400 << 20  # sparse; the least that xfs takes is 300 MiB
SHUTDOWN = 0x8004587D  # EXT4_IOC_SHUTDOWN and XFS_IOC_GOINGDOWN, which are one
WITHOUT_LOG_FLUSH = 2  # as both name it
PATIENCE = 60


class NoVolume(AssertionError):
    """None can be made or mounted."""


class Volume:
    """Made and mounted at `folder`, which needs the rights of root."""

    def __init__(self, kind, folder, *options):
        self.folder = folder
        self._image = f"{folder}.image"
        os.makedirs(folder)
        with open(self._image, "wb") as image:
            image.truncate(BYTES)
        run(f"mkfs.{kind}", "-q", *options, self._image)
        self.mount()

    @staticmethod
    def can_be_made():
        """Whether this user, on this machine, may make and mount one at all."""
        with tempfile.TemporaryDirectory() as folder:
            try:
                Volume("ext4", f"{folder}/volume").close()
            except NoVolume:
                return False
        return True

    def mount(self):
        run("mount", "-o", "loop", self._image, self.folder)

    def cut_power(self):
        """From when this is called nothing more gets there, and what isn't there is lost."""
        root = os.open(self.folder, os.O_RDONLY | os.O_DIRECTORY)
        try:
            fcntl.ioctl(root, SHUTDOWN, array.array("I", [WITHOUT_LOG_FLUSH]))
        finally:
            os.close(root)

    def unmount(self):
        """Of programs that were killed just now some may still be on their way out."""
        end = time.monotonic() + PATIENCE
        while subprocess.run(["umount", self.folder], capture_output=True, check=False).returncode != 0:
            if time.monotonic() > end:
                raise AssertionError(f"{self.folder} stays busy")
            time.sleep(0.01)

    def close(self):
        if os.path.ismount(self.folder):
            self.unmount()


def run(*command):
    ended = subprocess.run(command, capture_output=True, text=True, check=False)
    if ended.returncode != 0:
        raise NoVolume(f"This test needs the rights to make and mount a volume, which it has as root: "
                       f"{command[0]}: {ended.stderr}")
