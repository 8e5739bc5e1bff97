"""Installs the built programs into a throw-away root and looks at them as a desktop and a user would.

usage: install_test.py BUILD_FOLDER
"""

import configparser
import json
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

    def test_the_conformance_statement_is_what_the_program_says(self):
        home = self.root / "conformance"
        environment = {"PATH": "/usr/bin:/bin", "HOME": str(home), "LANG": "C.UTF-8"}
        gateway = self.root / "usr/bin/quorin-gateway"
        for key, value in ("ListenerSettings.aeTitle", "QUORIN"), ("ListenerSettings.port", "11112"):
            self.run_tool(gateway, "--home", home, "settings", "set", key, value, env=environment)
        said = self.run_tool(gateway, "--home", home, "conformance", env=environment)
        written = (self.share / "doc/quorin-gateway/conformance.md").read_text()
        self.assertEqual(said, written, "docs/conformance.md is to be written anew by quorin-gateway conformance")

    def test_the_operators_page_has_every_setting(self):
        home = self.root / "settings"
        environment = {"PATH": "/usr/bin:/bin", "HOME": str(home), "LANG": "C.UTF-8"}
        said = self.run_tool(self.root / "usr/bin/quorin-gateway", "--home", home, "settings", "list", "--json",
                             env=environment)
        page = (self.share / "doc/quorin-gateway/operations.md").read_text()
        keys = [setting["key"] for setting in json.loads(said)["settings"]]
        self.assertGreater(len(keys), 20)
        self.assertEqual([key for key in keys if f"`{key}`" not in page], [])

    def test_the_service_unit_starts_the_program_of_the_package(self):
        unit = (self.root / "usr/lib/systemd/system/quorin-gateway.service").read_text()
        self.assertIn("ExecStart=/usr/bin/quorin-gateway --headless", unit)


if __name__ == "__main__":
    unittest.main()
