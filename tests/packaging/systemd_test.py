"""The packaged unit under a real systemd: a Debian that it has booted, the package in it, and a local cloud outside.

Ends with 77 where no system may be booted: then nothing was tested.
"""

import json
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from booted import BootedRoot, CannotBoot
from debian import RACK_HOME, USER, OnARack, make_packages
from guarded_archive import Authority
from harness import EMAIL, PASSWORD, TITLE, EndToEndTest, await_true, environment, free_port, identity_of
from orthanc import Orthanc
from site_network import Door, Proxy

SOURCES = Path(__file__).resolve().parent.parent.parent
UNIT = "quorin-gateway.service"
SIGN_IN = "quorin-gateway-sign-in.service"
DROP_INS = f"/etc/systemd/system/{UNIT}.d"
LATER = "9.9.9"
NOT_TESTED = 77


def setUpModule():
    global PACKAGES, FOLDER
    FOLDER = Path(tempfile.mkdtemp(prefix="systemd-"))
    unittest.addModuleCleanup(shutil.rmtree, FOLDER)
    PACKAGES = make_packages(FOLDER / "now")


def from_the_operators_page(pattern):
    """A passage of the page as it stands there, without its indentation."""
    page = (SOURCES / "docs/operations.md").read_text(encoding="utf-8")
    return re.sub(r"^    ", "", re.search(pattern, page, re.M)[0], flags=re.M)


class UnderSystemd(OnARack, EndToEndTest):
    """A booted Debian with the package."""

    def setUp(self):
        super().setUp()
        self.root = BootedRoot(self.folder / "root", [PACKAGES["quorin-gateway"]])
        self.addCleanup(self.root.remove)
        self.root.install(PACKAGES["quorin-gateway"])

    def await_listening(self):
        await_true("the listener", lambda: (self.status() or {}).get("listener", {}).get("state") == "listening")

    def unit(self, name):
        return self.root.unit(UNIT, name)[name]

    def signal(self, name, process):
        self.root.run("sh", "-c", f"kill -{name} {process}")

    def await_another_process(self, former):
        def process():
            found = self.unit("MainPID")
            return found if found not in ("0", former) and self.unit("ActiveState") == "active" else None
        return await_true("another process", process)

    def send(self, file):
        """Whether a modality was told that the image is stored."""
        sent = subprocess.run(["storescu", "-aec", TITLE, "127.0.0.1", str(self.port), file], env=environment(),
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        return sent.returncode == 0


class Service(UnderSystemd):
    def setUp(self):
        super().setUp()
        self.cloud = self.start_cloud()

    def await_in_cloud(self, count):
        await_true(f"{count} instances in the cloud", lambda: len(self.cloud.instances()) == count)

    def enable(self):
        """As the operators' page has it, on the loopback."""
        self.root.write("/etc/quorin-gateway/environment",
                        f"QUORIN_GATEWAY_BIND=127.0.0.1\nQUORIN_CLOUD_URL={self.cloud.address}\n")
        self.port = free_port()
        self.command("setup", "--ae-title", TITLE, "--port", str(self.port), "--no-bonjour")
        self.root.run("systemctl", "enable", "--now", "quorin-gateway")
        self.await_listening()

    def change_unit(self, name, text):
        self.root.write(f"{DROP_INS}/{name}.conf", text)
        self.root.run("systemctl", "daemon-reload")

    def test_a_service_takes_images_signs_in_by_itself_is_upgraded_and_purged(self):
        files = self.samples(ct=4)
        self.assertEqual(self.unit("ActiveState"), "inactive")
        self.assertEqual(self.unit("UnitFileState"), "disabled")
        self.enable()
        self.assertEqual(self.unit("ActiveState"), "active")
        await_true("the line in systemctl status", lambda: self.unit("StatusText"))
        self.assertTrue(self.send(files[0]))

        self.sign_in_by_a_credential()
        self.await_in_cloud(1)
        self.assertTrue(self.send(files[1]))
        self.await_in_cloud(2)
        self.assertTrue(json.loads(self.command("doctor", "--json"))["well"])
        self.has_no_more_rights_than_it_needs()

        former = self.unit("MainPID")
        self.root.install(make_packages(FOLDER / "later", LATER)["quorin-gateway"])
        self.await_another_process(former)
        self.await_listening()
        self.assertTrue(self.send(files[2]))
        self.await_in_cloud(3)

        self.root.run("dpkg", "--purge", "quorin-gateway")
        self.assertEqual(self.unit("LoadState"), "not-found")
        self.assertFalse(self.send(files[3]))
        kept = self.root.run("find", f"{RACK_HOME}/Documents/Pavan Data", "-name", "*.dcm").splitlines()
        self.assertEqual(len(kept), 3)

    def sign_in_by_a_credential(self):
        """The page's own commands and unit; the password is nowhere in clear."""
        encrypt = from_the_operators_page(r"^    systemd-creds encrypt .*")
        self.root.run("sh", "-c", encrypt.replace("< password-file", ""), text_in=PASSWORD + "\n")
        self.root.write(f"/etc/systemd/system/{SIGN_IN}", from_the_operators_page(r"^    \[Unit\]\n(    .*\n)+")
                        .replace("USER", EMAIL))
        for line in from_the_operators_page(r"^    systemctl enable quorin-gateway-sign-in\n    .*").splitlines():
            self.root.run(*line.split())
        await_true("the session", lambda: (self.status() or {}).get("session", {}).get("signedIn"))
        found = self.root.run("sh", "-c", f"grep -rlF {PASSWORD} /etc /var/lib/quorin-gateway || true")
        self.assertEqual(found, "")

    def has_no_more_rights_than_it_needs(self):
        process = self.root.run("cat", f"/proc/{self.unit('MainPID')}/status")
        fields = dict(line.split(":\t", 1) for line in process.splitlines())
        self.assertEqual((int(fields["CapEff"], 16), int(fields["CapBnd"], 16)), (0, 0))
        self.assertEqual((fields["NoNewPrivs"], fields["Seccomp"]), ("1", "2"))

    def test_a_service_that_was_killed_or_wedged_starts_again_and_one_that_was_misunderstood_does_not(self):
        self.change_unit("impatient", "[Service]\nWatchdogSec=3\n")
        self.enable()
        former = self.unit("MainPID")
        self.signal("KILL", former)
        former = self.await_another_process(former)
        self.assertEqual(self.unit("NRestarts"), "1")

        self.await_listening()
        self.signal("STOP", former)
        self.await_another_process(former)
        self.assertEqual(self.unit("NRestarts"), "2")
        self.assertIn("Watchdog timeout", self.root.run("journalctl", "--unit", UNIT))
        self.await_listening()

        self.root.write("/etc/quorin-gateway/environment", "QUORIN_CLOUD_URL=nowhere\n")
        with self.assertRaises(AssertionError):
            self.root.run("systemctl", "restart", "quorin-gateway")
        self.assertEqual((self.unit("ActiveState"), self.unit("ExecMainStatus")), ("failed", "2"))
        self.assertIn("is not a web address", self.root.run("journalctl", "--unit", UNIT))

    def test_events_reach_the_journal_with_their_fields(self):
        self.enable()

        def lines():
            told = self.root.run("journalctl", "--unit", UNIT, "--output=json")
            return [json.loads(line) for line in told.splitlines()]

        starts = await_true("the event", lambda: [line for line in lines()
                                                  if "listener_start" in str(line.get("MESSAGE"))])
        self.assertTrue(all(line["PRIORITY"] == "6" for line in starts), starts)


class FirstHalfHour(UnderSystemd):
    """What the pages say, word by word, at a site with an archive, an authority of its own and a proxy."""

    NAME = "pacs.site.example"

    def setUp(self):
        super().setUp()
        self.orthanc = Orthanc(self.folder)
        self.addCleanup(self.orthanc.end)
        self.authority = Authority(self.folder)
        certificate, key = self.authority.issue("archive", extension=f"subjectAltName=DNS:{self.NAME}")
        door = Door(certificate, key, int(self.orthanc.address.rsplit(":", 1)[1]))
        self.addCleanup(door.end)
        self.proxy = Proxy(self.NAME, door.port)
        self.addCleanup(self.proxy.end)

    def test_images_reach_an_archive_behind_a_private_authority_and_a_proxy(self):
        self.port = free_port()
        self.root.write("/etc/quorin-gateway/environment", "QUORIN_GATEWAY_BIND=127.0.0.1\n")
        said = self.command("--cloud", f"https://{self.NAME}/dicom-web", "--cloud-kind", "dicomweb", "setup", "--ae-title",
                            TITLE, "--port", str(self.port), "--no-bonjour")
        self.assertIn("Once the gateway runs", said)
        self.command("settings", "set", "QuorinAPI.Proxy", f"http://127.0.0.1:{self.proxy.port}")
        self.root.run("systemctl", "enable", "--now", "quorin-gateway")
        self.await_listening()

        told = await_true("the refusal", lambda: self.status()["cloud"]["lastError"])
        setting = re.search(r"in the setting (\S+)\.", told)[1]
        self.root.write("/etc/quorin-gateway/authority.pem", self.authority.certificate.read_text(encoding="utf-8"))
        self.command("settings", "set", setting, "/etc/quorin-gateway/authority.pem")
        self.root.run("systemctl", "restart", "quorin-gateway")
        self.await_listening()
        self.command("sign-in", "--email", EMAIL, text_in=PASSWORD + "\n")
        self.assertTrue(self.status()["cloud"]["online"])

        files = self.samples(ct=2)
        self.assertTrue(all(self.send(file) for file in files))
        await_true("all at the archive", lambda: self.status()["counters"]["synced"] == len(files))
        self.assertEqual(set(self.orthanc.files(self.folder)), {identity_of(file)[2] for file in files})
        self.assertEqual(set(self.proxy.asked), {self.NAME})
        self.root_is_told_how_to_ask()

    def root_is_told_how_to_ask(self):
        told = self.root.run("sh", "-c", f"quorin-gateway --home {RACK_HOME} status 2>&1 && exit 1 || exit 0")
        self.assertIn(f"sudo -u {USER} quorin-gateway --home {RACK_HOME} status", told)


if __name__ == "__main__":
    try:
        BootedRoot.try_out()
    except CannotBoot as why:
        sys.stderr.write(f"nothing was tested, since no system can be booted here: {why}\n")
        sys.exit(NOT_TESTED)
    unittest.main()
