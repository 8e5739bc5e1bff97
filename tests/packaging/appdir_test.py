"""What an AppImage is made of: it works in a Debian that has none of our libraries, and shows its windows with its own."""

import json
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

from debian import BUILD, SUDO, USER, DebianRoot, call

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "face"))
from desktop import Desktop  # noqa: E402
from harness import EMAIL, PASSWORD, TITLE, EndToEndTest, await_true, end, environment, free_port  # noqa: E402

import unittest  # noqa: E402

APPDIR = "/opt/quorin-gateway"
HOME = "/srv/gateway"


def setUpModule():
    global MADE
    folder = Path(tempfile.mkdtemp(prefix="appdir-"))
    unittest.addModuleCleanup(shutil.rmtree, folder)
    MADE = folder / "Quorin Gateway.AppDir"
    call(Path(__file__).resolve().parents[2] / "tools/appdir", BUILD, MADE)


class AppDir(EndToEndTest):
    def test_images_pass_where_nothing_is_installed(self):
        # Given
        cloud = self.start_cloud()
        root = DebianRoot(self.folder / "root", [])
        self.addCleanup(root.remove)
        call(*SUDO, "cp", "-a", MADE, root.path(APPDIR))
        root.run("useradd", "--no-create-home", USER)
        root.run("install", "-d", "-m", "0700", "-o", USER, HOME)
        self.assertFalse(list(root.path("/usr/lib").rglob("libQt6*")))

        def command(*arguments, text_in=None):
            return root.run(f"{APPDIR}/AppRun", "--home", HOME, *arguments, user=USER, text_in=text_in)

        # When
        port = free_port()
        command("setup", "--ae-title", TITLE, "--port", str(port), "--no-bonjour")
        gateway = root.start(f"{APPDIR}/AppRun", "--home", HOME, "--headless", user=USER, log=self.folder / "gateway.log",
                             variables={"QUORIN_GATEWAY_BIND": "127.0.0.1", "QUORIN_CLOUD_URL": cloud.address})
        self.addCleanup(end, gateway)
        await_true("the gateway", lambda: root.path(HOME + "/run/control.socket").exists(), gateway)
        command("sign-in", "--email", EMAIL, text_in=PASSWORD + "\n")
        files = self.samples(ct=2)
        subprocess.run(["storescu", "-aec", TITLE, "127.0.0.1", str(port), *files], env=environment(), check=True)

        # Then
        await_true("all in the cloud", lambda: len(cloud.instances()) == len(files), gateway)
        told = json.loads(command("status", "--json"))
        self.assertEqual(told["counters"]["synced"], len(files))

    def test_the_windows_come_with_their_own_libraries(self):
        # Given
        desktop = Desktop()
        self.addCleanup(desktop.close)
        call(MADE / "AppRun", "--home", self.folder / "home", "setup", "--ae-title", TITLE, "--port", str(free_port()),
             "--no-bonjour")

        # When
        start = [MADE / "AppRun", "--home", self.folder / "home", "--bind", "127.0.0.1", "--cloud", "http://127.0.0.1:9"]
        gateway = desktop.start(*start, variables=desktop.variables)
        self.addCleanup(end, gateway)
        await_true("the status item", lambda: desktop.window_ids("--class", "trayer"), gateway)
        await_true("the gateway", lambda: (self.folder / "home/run/control.socket").exists(), gateway)
        second = subprocess.run([str(part) for part in start], env=environment() | desktop.variables, timeout=90)

        # Then
        self.assertEqual(second.returncode, 0)
        await_true("the dashboard", lambda: desktop.window_ids("--name", "^Quorin Gateway$"), gateway)
        maps = Path(f"/proc/{gateway.pid}/maps").read_text(encoding="utf-8")
        loaded = {Path(path) for path in re.findall(r"(/\S.*\.so[0-9.]*)$", maps, re.M)}
        own = {path.name for path in loaded if MADE in path.parents}
        self.assertTrue({"libQt6Widgets.so.6", "libqxcb.so", "libicui18n.so.72"} <= own, own)
        bundled = {path.name for path in MADE.rglob("*.so*")}
        self.assertEqual({path.name for path in loaded if MADE not in path.parents} & bundled, set())


if __name__ == "__main__":
    unittest.main()
