"""A gateway that finds its updates itself: from a deployment file beside the program and a signed feed on a web server."""

import http.server
import json
import shutil
import subprocess
import threading
import unittest
from pathlib import Path

import harness
from harness import EndToEndTest, await_true, end, environment

APPCAST = Path(__file__).resolve().parents[2] / "tools/appcast"
FOUND = "Update available: Quorin Gateway 9.0 (Winter). Choose Check for Updates…"


class WebServer:
    """Gives the files of a folder on a free loopback port, and notes what it was asked for."""

    def __init__(self, folder):
        self.asked = []
        asked = self.asked

        class Handler(http.server.SimpleHTTPRequestHandler):
            def __init__(self, *arguments):
                super().__init__(*arguments, directory=folder)

            def log_request(self, code="-", size="-"):
                asked.append((self.path, int(code)))

        self._server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.address = f"http://127.0.0.1:{self._server.server_port}"
        threading.Thread(target=self._server.serve_forever, daemon=True).start()

    def close(self):
        self._server.shutdown()
        self._server.server_close()


class Feed(EndToEndTest):

    def setUp(self):
        super().setUp()
        self.web = self.folder / "web"
        self.web.mkdir()
        self.server = WebServer(self.web)
        self.addCleanup(self.server.close)
        self.key = self.folder / "key.pem"
        self.public_key = self.appcast("key", self.key)
        self.program = self.install()

    def appcast(self, *arguments):
        return subprocess.run([APPCAST, *arguments], check=True, capture_output=True, text=True).stdout.strip()

    def install(self):
        """The programs in a folder of their own, with a deployment file beside them."""
        place = self.folder / "installed"
        place.mkdir()
        for name in ("quorin-gateway", "quorin-dicom"):
            shutil.copy(harness.PROGRAMS / name, place / name)
        deployment = {"updates": {"feed": f"{self.server.address}/feed.json", "publicKey": self.public_key}}
        (place / "deployment.json").write_text(json.dumps(deployment))
        return place / "quorin-gateway"

    def publish(self, version, key=None, notes="Faster."):
        package = self.web / "gateway.deb"
        package.write_bytes(b"a package " + version.encode())
        (self.folder / "notes").write_text(notes)
        self.appcast("add", self.web / "feed.json", package, "--key", key or self.key, "--version", version,
                     "--display", f"{version} (Winter)", "--url", f"{self.server.address}/gateway.deb",
                     "--notes", self.folder / "notes")

    def run_gateway(self):
        """Runs it until its first look at the feed is over, and gives what it said and its own log."""
        cloud = self.start_cloud()
        said = self.folder / "said"
        with open(said, "w", encoding="utf-8") as log:
            process = subprocess.Popen([self.program, "--home", self.folder / "home", "--bind", "127.0.0.1", "--cloud",
                                        cloud.address, "--headless"], stdout=log, stderr=log, env=environment())
        self.addCleanup(end, process)
        await_true("a look at the feed", lambda: any(path == "/feed.json" for path, _ in self.server.asked), process)
        self.process = process
        return said

    def logged(self):
        return subprocess.run([self.program, "--home", self.folder / "home", "logs", "--search", "updater"], check=True,
                              capture_output=True, text=True, env=environment()).stdout

    def test_a_newer_build_is_told_by_one_line_and_nothing_is_fetched(self):
        # Given
        self.publish("9.0")

        # When
        said = self.run_gateway()

        # Then
        await_true("the line", lambda: FOUND in said.read_text(), self.process)
        logged = self.logged()
        self.assertIn("updater_started", logged)
        self.assertIn("updater_check_requested", logged)
        self.assertEqual({path for path, _ in self.server.asked}, {"/feed.json"})

    def test_nothing_is_told_of_what_another_key_signed_of_old_builds_and_of_pages(self):
        # Given
        other = self.folder / "other.pem"
        self.appcast("key", other)
        self.publish("9.0", key=other)

        # When
        said = self.run_gateway()

        # Then: it has looked, and goes on working
        self.await_quiet(said)

        # And an old feed
        (self.web / "feed.json").unlink()
        self.publish("0.0.1")
        self.start_again(said)

        # And a page in place of the feed
        (self.web / "feed.json").write_text("<html>Sign in</html>")
        self.start_again(said)

    def start_again(self, said):
        end(self.process)
        self.server.asked.clear()
        with open(said, "w", encoding="utf-8") as log:
            self.process = subprocess.Popen([self.program, "--home", self.folder / "home", "--bind", "127.0.0.1",
                                             "--headless"], stdout=log, stderr=log, env=environment())
        self.addCleanup(end, self.process)
        await_true("a look at the feed", lambda: any(path == "/feed.json" for path, _ in self.server.asked),
                   self.process)
        self.await_quiet(said)

    def await_quiet(self, said):
        """It answers, and has told of no update."""
        status = [self.program, "--home", self.folder / "home", "status", "--json"]
        await_true("the gateway", lambda: subprocess.run(status, capture_output=True, env=environment(),
                                                         check=False).returncode in (0, 1), self.process)
        self.assertNotIn("Update available", said.read_text())
        self.assertIsNone(self.process.poll())


if __name__ == "__main__":
    unittest.main()
