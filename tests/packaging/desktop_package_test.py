"""The package with windows, in a bare Debian: it is installed and shows its dashboard on a screen outside."""

import json
import shutil
import sys
import tempfile
import unittest
from pathlib import Path

from debian import DebianRoot, make_packages

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "face"))
from desktop import Desktop  # noqa: E402
from harness import TITLE, await_true, free_port  # noqa: E402

HOME = "/home/person"


class DesktopPackage(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="desktop-package-"))
        self.addCleanup(shutil.rmtree, self.folder)
        packages = make_packages(self.folder / "packages").values()
        self.root = DebianRoot(self.folder / "root", packages)
        self.addCleanup(self.root.remove)
        self.root.install(*packages)
        self.root.run("install", "-d", "-m", "0700", HOME)

    def test_the_dashboard_comes_up(self):
        desktop = Desktop()
        self.addCleanup(desktop.close)
        variables = {"HOME": HOME, "DISPLAY": desktop.variables["DISPLAY"], "QUORIN_GATEWAY_BIND": "127.0.0.1",
                     "QUORIN_CLOUD_URL": "http://127.0.0.1:9"}  # where no cloud answers
        self.root.run("env", f"HOME={HOME}", "QUORIN_GATEWAY_BIND=127.0.0.1", "quorin-gateway", "setup", "--ae-title", TITLE,
                      "--port", str(free_port()), "--no-bonjour")
        gateway = self.root.start("quorin-gateway", user="root", log=self.folder / "gateway.log", variables=variables)

        def status():
            try:
                return json.loads(self.root.run("env", f"HOME={HOME}", "quorin-gateway", "status", "--json"))
            except AssertionError:
                return None

        await_true("the gateway", status, gateway)
        # A second start brings the dashboard of the first.
        second = self.root.start("quorin-gateway-desktop", user="root", log=self.folder / "second.log", variables=variables)
        self.assertEqual(second.wait(60), 0, (self.folder / "second.log").read_text())
        window = await_true("the dashboard", lambda: desktop.window_ids("--name", "^Quorin Gateway$"), gateway)[0]
        _, _, width, height = desktop.geometry(window)
        self.assertGreater(width * height, 400 * 300)
        desktop.picture("installed-dashboard")


if __name__ == "__main__":
    unittest.main()
