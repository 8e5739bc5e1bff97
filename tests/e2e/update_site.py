"""A web server with a signed feed of updates, and the programs installed so that they look there."""

import http.server
import json
import shutil
import subprocess
import threading
from pathlib import Path

from harness import PROGRAMS

APPCAST = Path(__file__).resolve().parents[2] / "tools/appcast"


def appcast(*arguments):
    return subprocess.run([APPCAST, *arguments], check=True, capture_output=True, text=True).stdout.strip()


class UpdateSite:
    """Gives the files of a folder on a free loopback port, and notes what it was asked for."""

    def __init__(self, folder):
        self._folder = folder
        self.web = folder / "web"
        self.web.mkdir()
        self.asked = asked = []
        web = self.web

        class Handler(http.server.SimpleHTTPRequestHandler):
            def __init__(self, *arguments):
                super().__init__(*arguments, directory=web)

            def log_request(self, code="-", size="-"):
                asked.append(self.path)

        self._server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.address = f"http://127.0.0.1:{self._server.server_port}"
        threading.Thread(target=self._server.serve_forever, daemon=True).start()
        self._key = folder / "key.pem"
        self.public_key = appcast("key", self._key)

    def close(self):
        self._server.shutdown()
        self._server.server_close()

    def was_asked_for_the_feed(self):
        return "/feed.json" in self.asked

    def publish(self, version, package, content, key=None):
        """Offers a package, signed with the site's key unless another one is given."""
        (self.web / package).write_bytes(content)
        notes = self._folder / "notes"
        notes.write_text("Faster uploads.\n<b>Safer</b> against peers that stop.")
        appcast("add", self.web / "feed.json", self.web / package, "--key", key or self._key, "--version", version,
                "--display", f"{version} (Winter)", "--url", f"{self.address}/{package}", "--notes", notes)

    def install(self, place, *programs):
        """The programs in a folder of their own, with a deployment file beside them."""
        place.mkdir(parents=True)
        for name in programs:
            shutil.copy(PROGRAMS / name, place / name)
        deployment = {"updates": {"feed": f"{self.address}/feed.json", "publicKey": self.public_key}}
        (place / "deployment.json").write_text(json.dumps(deployment))
        return place / programs[0]
