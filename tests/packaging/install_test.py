"""Installs the built programs into a throw-away root and looks at them as a desktop and a user would.

usage: install_test.py BUILD_FOLDER
"""

import configparser
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

BUILD = sys.argv.pop(1)
ID = "com.ovelt.QuorinGateway"


class Installation(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        cls.root = pathlib.Path(cls.folder.name)
        subprocess.run(["cmake", "--install", BUILD, "--prefix", cls.root / "usr"], check=True, stdout=subprocess.DEVNULL)
        cls.share = cls.root / "usr/share"

    def run_tool(self, *command, **options):
        done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=60, **options)
        self.assertEqual(done.returncode, 0, f"{command}:\n{done.stdout}")
        return done.stdout

    def test_the_desktop_entry_is_valid_and_names_what_is_installed(self):
        path = self.share / f"applications/{ID}.desktop"
        self.run_tool("desktop-file-validate", path)
        entry = configparser.ConfigParser(interpolation=None)
        entry.optionxform = str
        entry.read(path)
        entry = entry["Desktop Entry"]
        self.assertTrue(os.access(self.root / "usr/bin" / entry["Exec"], os.X_OK))
        self.assertTrue((self.share / f"icons/hicolor/scalable/apps/{entry['Icon']}.svg").is_file())
        self.assertTrue((self.share / f"icons/hicolor/symbolic/apps/{entry['Icon']}-symbolic.svg").is_file())

    def test_the_software_centre_can_read_the_description(self):
        self.run_tool("appstreamcli", "validate", "--no-net", "--explain", self.share / f"metainfo/{ID}.metainfo.xml")

    def test_the_installed_programs_work_from_where_they_lie(self):
        home = self.root / "home"
        environment = {"PATH": "/usr/bin:/bin", "HOME": str(home), "LANG": "C.UTF-8"}
        gateway = self.root / "usr/bin/quorin-gateway"
        self.assertRegex(self.run_tool(gateway, "--version", env=environment), r"\d+\.\d+\.\d+")
        self.run_tool(gateway, "--home", home, "setup", "--ae-title", "QUORIN", "--port", "11112", env=environment)
        self.assertIn("QUORIN", self.run_tool(gateway, "--home", home, "settings", "get", "ListenerSettings.aeTitle",
                                              env=environment))
        for program in "quorin-dicom", "quorin-gateway-desktop":
            self.assertTrue(os.access(self.root / "usr/bin" / program, os.X_OK))

    def test_the_service_unit_starts_the_program_of_the_package(self):
        unit = (self.root / "usr/lib/systemd/system/quorin-gateway.service").read_text()
        self.assertIn("ExecStart=/usr/bin/quorin-gateway --headless", unit)


if __name__ == "__main__":
    unittest.main()
