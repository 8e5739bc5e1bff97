"""What `cpack -G DEB` makes, and a bare Debian that installs it, works with it, upgrades and purges it."""

import json
import re
import shlex
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

from debian import BUILD, RACK_HOME, SUDO, USER, DebianRoot, OnARack, call, make_packages
from harness import EMAIL, PASSWORD, TITLE, EndToEndTest, await_true, end, environment, free_port

SOURCES = Path(__file__).resolve().parent.parent.parent
LATER = "9.9.9"
# The parts of the C library and of the compiler, which every program has.
RUNTIME = ("ld-linux", "libc.", "libm.", "libgcc_s.", "libstdc++.")
WINDOWS = ("libqt6gui", "libqt6widgets", "libqt6svg", "libx11", "libxcb", "libgl1", "libglx", "libegl", "libopengl")


def setUpModule():
    global PACKAGES, FOLDER
    FOLDER = Path(tempfile.mkdtemp(prefix="packages-"))
    unittest.addModuleCleanup(shutil.rmtree, FOLDER)
    PACKAGES = make_packages(FOLDER / "now")


def unpacked(name):
    folder = FOLDER / f"{name}-unpacked"
    if not folder.exists():
        call("dpkg-deb", "-x", PACKAGES[name], folder)
    return folder


def content(name):
    folder = unpacked(name)
    return {str(path.relative_to(folder)) for path in folder.rglob("*") if not path.is_dir()}


def needed(program):
    """The libraries that a program asks for."""
    return [name for name in re.findall(r"NEEDED\s+(\S+)", call("objdump", "-p", program)) if not name.startswith(RUNTIME)]


class Content(unittest.TestCase):
    def test_there_are_two_packages_that_share_no_file(self):
        self.assertEqual(set(PACKAGES), {"quorin-gateway", "quorin-gateway-desktop"})
        self.assertEqual(content("quorin-gateway") & content("quorin-gateway-desktop"), set())

    def test_the_headless_one_has_all_that_a_rack_needs(self):
        for path in ("bin/quorin-gateway", "bin/quorin-dicom", "lib/systemd/system/quorin-gateway.service",
                     "lib/sysusers.d/quorin-gateway.conf", "share/quorin-gateway/quorin-gateway.json",
                     "share/quorin-gateway/quorin-gateway-alerts.yml", "share/man/man1/quorin-gateway.1.gz",
                     "share/bash-completion/completions/quorin-gateway", "share/zsh/vendor-completions/_quorin-gateway",
                     "share/fish/vendor_completions.d/quorin-gateway.fish", "share/doc/quorin-gateway/operations.md",
                     "share/doc/quorin-gateway/THIRD-PARTY-NOTICES.md"):
            self.assertIn(f"usr/{path}", content("quorin-gateway"))

    def test_the_other_one_has_what_a_desktop_shows(self):
        mine = "com.ovelt.QuorinGateway"
        for path in ("bin/quorin-gateway-desktop", f"share/applications/{mine}.desktop",
                     f"share/metainfo/{mine}.metainfo.xml", f"share/icons/hicolor/scalable/apps/{mine}.svg"):
            self.assertIn(f"usr/{path}", content("quorin-gateway-desktop"))

    def test_the_headless_one_needs_no_library_of_windows(self):
        depends = call("dpkg-deb", "-f", PACKAGES["quorin-gateway"], "Depends")
        self.assertIn("libqt6core6", depends)
        for library in WINDOWS:
            self.assertNotIn(library, depends)

    def test_debian_finds_nothing_amiss(self):
        found = subprocess.run(["lintian", "--fail-on", "error,warning", *PACKAGES.values()], stdout=subprocess.PIPE,
                               stderr=subprocess.STDOUT, text=True, env=environment())
        self.assertEqual(found.returncode, 0, found.stdout)

    def test_no_program_asks_for_a_library_that_it_does_not_use(self):
        for package in PACKAGES:
            for program in (unpacked(package) / "usr/bin").iterdir():
                found = subprocess.run(["ldd", "-u", program], stdout=subprocess.PIPE, text=True, env=environment())
                self.assertEqual([line for line in found.stdout.splitlines()[1:] if "ld-linux" not in line], [], program)

    def test_the_notices_name_every_library_of_every_program(self):
        notices = (SOURCES / "THIRD-PARTY-NOTICES.md").read_text()
        for package in PACKAGES:
            for program in (unpacked(package) / "usr/bin").iterdir():
                for library in needed(program):
                    self.assertIn(f"`{re.split(r'[.]', library)[0]}`", notices, f"{library} of {program.name}")

    def test_bash_completes_commands_and_their_options(self):
        script = unpacked("quorin-gateway") / "usr/share/bash-completion/completions/quorin-gateway"

        def offered(*words):
            typed = "COMP_WORDS=(quorin-gateway " + " ".join(shlex.quote(word) for word in words) + ")"
            return call("bash", "-c", f'. {script}; {typed}; COMP_CWORD={len(words)}; _quorin_gateway; '
                                      'echo "${COMPREPLY[@]}"').split()

        self.assertEqual(offered("sta"), ["status"])
        self.assertEqual(offered("--home", "/srv", "settings", "s"), ["set"])
        self.assertIn("--patient-name", offered("cloud", "studies", "--pat"))


# Stands for systemctl where systemd doesn't run: tells what it was asked, and stops the gateway as systemd does.
SYSTEMCTL = f"""#!/bin/sh
echo "$@" >> /systemctl.log
case "$*" in
    *is-enabled*) echo enabled ;;
    "stop "*)
        kill -TERM "$(cat /gateway.pid)"
        while tr -d '\\0' < "/proc/$(cat /gateway.pid)/cmdline" | grep -q . ; do sleep 0.1; done ;;
esac
"""


class BareDebian(OnARack, EndToEndTest):
    """A Debian 12 root in a folder, the package in it, and a local cloud outside."""

    def setUp(self):
        super().setUp()
        self.cloud = self.start_cloud()
        self.root = DebianRoot(self.folder / "root", [PACKAGES["quorin-gateway"]])
        self.addCleanup(self.root.remove)
        self.root.install(PACKAGES["quorin-gateway"])
        self.port = free_port()

    def start_as_unit(self):
        """What the unit starts, as whom it starts it."""
        unit = self.root.path("/usr/lib/systemd/system/quorin-gateway.service").read_text()
        self.assertEqual(re.search(r"^User=(.*)$", unit, re.M)[1], USER)
        self.start(shlex.split(re.search(r"^ExecStart=(.*)$", unit, re.M)[1]), {})

    def start_as_container(self):
        """What the container starts, as whom it starts it, in the same home."""
        text = (SOURCES / "packaging/container/Containerfile").read_text()
        self.assertEqual(re.search(r"^USER (.*)$", text, re.M)[1], USER)
        variables = dict(pair.split("=") for pair in re.search(r"^ENV (.*)$", text, re.M)[1].split())
        self.assertEqual(variables["QUORIN_GATEWAY_HOME"], re.search(r"^VOLUME (.*)$", text, re.M)[1])
        variables["QUORIN_GATEWAY_METRICS"] = "127.0.0.1:0"  # nothing beyond the loopback here
        self.start(json.loads(re.search(r"^ENTRYPOINT (.*)$", text, re.M)[1])
                   + json.loads(re.search(r"^CMD (.*)$", text, re.M)[1]), variables)
        health = json.loads(re.search(r"^HEALTHCHECK .*CMD (.*)$", text, re.M)[1])
        self.root.run("env", f"QUORIN_GATEWAY_HOME={variables['QUORIN_GATEWAY_HOME']}", *health, user=USER)

    def start(self, command, variables):
        variables = {"QUORIN_GATEWAY_BIND": "127.0.0.1", "QUORIN_CLOUD_URL": self.cloud.address} | variables
        self.gateway = self.root.start(*command, user=USER, log=self.folder / "gateway.log", variables=variables)
        await_true("the gateway", self.status, self.gateway)
        self.addCleanup(end, self.gateway)

    def stop(self):
        end(self.gateway)
        self.assertEqual(self.gateway.returncode, 0)

    def send(self, file):
        """Whether a modality was told that the image is stored."""
        sent = subprocess.run(["storescu", "-aec", TITLE, "127.0.0.1", str(self.port), file], env=environment(),
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        return sent.returncode == 0

    def await_in_cloud(self, count):
        await_true(f"{count} instances in the cloud", lambda: len(self.cloud.instances()) == count, self.gateway)

    def test_images_pass_and_outlive_upgrade_and_purge(self):
        files = self.samples(ct=6)
        self.start_as_unit()
        self.command("setup", "--ae-title", TITLE, "--port", str(self.port), "--no-bonjour")
        self.command("sign-in", "--email", EMAIL, text_in=PASSWORD + "\n")
        self.assertTrue(all(self.send(file) for file in files[:2]))
        self.await_in_cloud(2)

        self.upgrade_under_a_sender(files[2:4])
        self.assertIn(LATER, self.root.run("dpkg", "--status", "quorin-gateway"))
        self.assertTrue(self.send(files[4]))
        self.await_in_cloud(5)
        self.stop()

        kept = self.root.files(RACK_HOME)
        self.root.run("dpkg", "--purge", "quorin-gateway")
        self.assertEqual(self.root.files(RACK_HOME), kept)
        self.assertIn(USER, self.root.path("/etc/passwd").read_text())
        for name in "usr/bin/quorin-gateway", "usr/share/doc/quorin-gateway", "usr/lib/sysusers.d/quorin-gateway.conf":
            self.assertFalse(self.root.path(name).exists(), name)

        self.root.install(PACKAGES["quorin-gateway"])
        self.start_as_container()
        self.assertEqual(self.status()["counters"]["synced"], 5)
        self.assertTrue(self.send(files[5]))
        self.await_in_cloud(6)

    def upgrade_under_a_sender(self, files):
        """The later version comes while images do; the cloud is away, so that they wait in the index."""
        address = self.cloud.address
        self.cloud.end()
        self.assertTrue(self.send(files[0]))
        self.pretend_systemd()
        self.root.install(make_packages(FOLDER / "later", LATER)["quorin-gateway"])
        self.gateway.wait()
        asked = self.root.path("/systemctl.log").read_text()
        self.assertRegex(asked, r"(?s)stop quorin-gateway\.service.*daemon-reload.*start quorin-gateway\.service")
        self.assertFalse(self.send(files[1]))
        self.start_as_unit()
        self.assertTrue(self.send(files[1]))
        self.cloud.restart()
        self.assertEqual(self.cloud.address, address)
        self.await_in_cloud(4)

    def pretend_systemd(self):
        (self.folder / "systemctl").write_text(SYSTEMCTL)
        call(*SUDO, "install", "-m", "0755", self.folder / "systemctl", self.root.path("/usr/bin/systemctl"))
        call(*SUDO, "mkdir", "-p", self.root.path("/run/systemd/system"))
        (self.folder / "gateway.pid").write_text(str(self.gateway.pid))
        call(*SUDO, "cp", self.folder / "gateway.pid", self.root.path("/gateway.pid"))


if __name__ == "__main__":
    unittest.main()
