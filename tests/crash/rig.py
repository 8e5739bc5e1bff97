"""The programs in a throw-away home, for tests that treat them badly: they end here as in a power cut, by SIGKILL.

QUORIN_PROGRAMS names the folder of the built programs.
"""
import json
import os
import pathlib
import re
import selectors
import shutil
import signal
import socket
import sqlite3
import struct
import subprocess
import sys
import tempfile
import time
import urllib.request

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "support"))
from ports import free_port  # noqa: E402

EMAIL = "demo@quorin.example"
PASSWORD = "demo-password"
TITLE = "QUORIN"
PATIENCE = 180  # seconds; far longer than anything takes, so that a test that gets there has failed
UID_TAG = b"\x02\x00\x03\x00UI"  # (0002,0003) MediaStorageSOPInstanceUID, PS3.10 7.1


def programs():
    return os.environ["QUORIN_PROGRAMS"]


def program(name):
    return os.path.join(programs(), name)


def environment():
    """Nothing of the user's own: no session bus, no key ring."""
    return {name: os.environ[name] for name in ("PATH", "HOME", "LANG") if name in os.environ}


def await_that(what, condition):
    """Asks again and again until the condition gives something true, which is returned."""
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        found = condition()
        if found:
            return found
        time.sleep(0.02)
    raise AssertionError(f"{what} took longer than {PATIENCE} seconds")


def instance_uid(path):
    with open(path, "rb") as file:
        head = file.read(1024)
    start = head.index(UID_TAG) + len(UID_TAG)
    length = struct.unpack_from("<H", head, start)[0]
    return head[start + 2 : start + 2 + length].rstrip(b"\0 ").decode("ascii")


def make_samples(folder, seed, **kinds):
    """Writes samples, one study a seed; their paths by SOP instance UID."""
    options = [word for kind, count in kinds.items() for word in (f"--{kind}", str(count))]
    subprocess.run(
        [program("quorin-samples"), "--out", folder, "--seed", str(seed), *options],
        check=True, env=environment(), stdout=subprocess.DEVNULL)
    paths = [os.path.join(folder, name) for name in sorted(os.listdir(folder)) if name.endswith(".dcm")]
    return {instance_uid(path): path for path in paths}


def session_members(leader):
    """The processes of a session that aren't dead yet."""
    members = []
    for name in filter(str.isdigit, os.listdir("/proc")):
        try:
            with open(f"/proc/{name}/stat", encoding="utf-8", errors="replace") as file:
                state, _, _, session = file.read().rsplit(")", 1)[1].split()[:4]
        except (FileNotFoundError, ProcessLookupError):
            continue
        if int(session) == leader and state not in "ZX":
            members.append(int(name))
    return members


def kill_session(leader):
    """Ends all of a session; looks again at the end, for a look through /proc is no snapshot."""
    for _ in range(2):
        while members := session_members(leader):
            for member in members:
                try:
                    os.kill(member, signal.SIGKILL)
                except ProcessLookupError:
                    pass
        time.sleep(0.01)


class Program:
    """A program that leads a session of its own, so that all of it can be killed, its helpers too."""

    def __init__(self, arguments, log):
        with open(log, "ab") as output:
            self.process = subprocess.Popen(
                arguments, env=environment(), stdin=subprocess.DEVNULL, stdout=output, stderr=output,
                start_new_session=True)

    def ended(self):
        return self.process.poll() is not None

    def check(self):
        if self.ended():
            raise AssertionError(f"{self.process.args[0]} ended by itself with {self.process.returncode}")

    def kill(self):
        kill_session(self.process.pid)
        self.process.wait()


class Sender:
    """storescu on its way, and what it was answered: read from its verbose output, which tells each file."""

    def __init__(self, port, paths):
        self.by_path = {path: uid for uid, path in paths.items()}
        self.stored, self.refused = set(), {}
        self.released = False
        self._current = None
        self._rest = b""
        self.process = subprocess.Popen(
            ["storescu", "-v", "--no-halt", "-aec", TITLE, "127.0.0.1", str(port), *paths.values()],
            env=environment(), stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        self._selector = selectors.DefaultSelector()
        self._selector.register(self.process.stderr, selectors.EVENT_READ)

    def read(self, seconds):
        """Takes in what was said, for so long at most; False at the end."""
        if not self._selector.select(seconds):
            return True
        said = os.read(self.process.stderr.fileno(), 65536)
        *lines, self._rest = (self._rest + said).split(b"\n")
        for line in lines:
            self._take(line.decode("utf-8", "replace"))
        return bool(said)

    def read_for(self, seconds):
        end = time.monotonic() + seconds
        while (left := end - time.monotonic()) > 0 and self.read(left):
            pass

    def read_until_stored(self, count):
        while len(self.stored) < count and self.read(PATIENCE):
            pass

    def finish(self):
        while self.read(PATIENCE):
            pass
        self.process.wait()
        self._selector.close()
        self.process.stderr.close()

    def _take(self, line):
        if found := re.match(r"I: Sending file: (.*)", line):
            self._current = self.by_path[found[1]]
        elif found := re.match(r"I: Received Store Response \((.*)\)", line):
            if found[1] == "Success":
                self.stored.add(self._current)
            else:
                self.refused[self._current] = found[1]
        elif line.startswith("I: Releasing Association"):
            self.released = True


class Rig:
    """A gateway and a cloud whose homes and ports stay the same, however often they are killed."""

    def __init__(self, home=None):
        self.folder = tempfile.mkdtemp(prefix="quorin-crash-")
        self.home = home or os.path.join(self.folder, "home")
        self.port, self.cloud_port = None, free_port()
        self.cloud = self.gateway = None

    @property
    def address(self):
        return f"http://127.0.0.1:{self.cloud_port}"

    def path(self, name):
        return os.path.join(self.folder, name)

    def start_cloud(self):
        self.cloud = Program(
            [program("quorin-cloud"), "--listen", f"127.0.0.1:{self.cloud_port}", "--data", self.path("cloud"),
             "--user", f"{EMAIL}:{PASSWORD}"], self.path("cloud.log"))

        def answers():
            self.cloud.check()
            with socket.socket() as probe:
                return probe.connect_ex(("127.0.0.1", self.cloud_port)) == 0
        await_that("the start of the cloud", answers)

    def launch_gateway(self):
        """Starts the gateway and waits for nothing."""
        self.gateway = Program(
            [program("quorin-gateway"), "--home", self.home, "--bind", "127.0.0.1", "--cloud", self.address,
             "--headless"], self.path("gateway.log"))

    def start_gateway(self):
        self.launch_gateway()

        def ready():
            self.gateway.check()
            status = self.status()
            return status and (self.port is None or status["listener"]["state"] == "listening")
        await_that("the start of the gateway", ready)

    def set_up(self):
        """The first start: a listener and a session, both of which later starts find again."""
        self.start_cloud()
        self.start_gateway()
        for _ in range(3):  # a port may be taken between the look for a free one and its use
            self.port = free_port()
            result = self.command("setup", "--ae-title", TITLE, "--port", str(self.port), "--no-bonjour")
            if result.returncode == 0:
                break
        else:
            raise AssertionError("setup failed: " + result.stderr)
        self.sign_in()

    def sign_in(self):
        result = self.command("sign-in", "--email", EMAIL, said=PASSWORD + "\n")
        if result.returncode != 0:
            raise AssertionError("signing in failed: " + result.stderr)

    def command(self, *arguments, said="", patience=PATIENCE):
        return subprocess.run(
            [program("quorin-gateway"), "--home", self.home, *arguments], env=environment(), input=said,
            capture_output=True, text=True, timeout=patience, check=False)

    def status(self):
        result = self.command("status", "--json")
        return json.loads(result.stdout) if result.stdout else None

    def send(self, samples):
        return Sender(self.port, samples)

    def indexed(self):
        """The SOP instance UIDs in the gateway's index."""
        index = os.path.join(self.home, "index", "QuorinGateway.sqlite")
        connection = sqlite3.connect(f"file:{index}?mode=ro", uri=True)
        try:
            rows = connection.execute("SELECT originalSOPInstanceUID, sopInstanceUID FROM DicomImage").fetchall()
        finally:
            connection.close()
        return {uid for row in rows for uid in row if uid}

    def drain(self, wanted):
        """Waits until everything wanted is indexed and nothing waits for its upload."""
        def drained():
            self.gateway.check()
            status = self.status()
            return status and status["counters"]["notSynced"] == 0 and not (wanted - self.indexed())
        try:
            await_that("importing and uploading", drained)
        except AssertionError as error:
            status = self.status()
            raise AssertionError(
                f"{error}: {len(wanted - self.indexed())} of {len(wanted)} not indexed; {status}") from error

    def in_cloud(self):
        """The SOP instance UIDs that the cloud holds."""
        device = {"pushId": None, "deviceId": "test", "clientVersion": "1", "deviceName": "test", "osVersion": "1",
                  "model": "test"}
        login = {"email": EMAIL, "password": PASSWORD, "otp": None, "platform": "Linux", "deviceId": "test",
                 "referrer": None, "device": device}
        token = self._call("/api/v1/auth/login", json.dumps(login).encode())["token"]
        found = set()
        for study in self._call("/dicom-web/studies?limit=1000", token=token):
            uid = study["0020000D"]["Value"][0]
            for instance in self._call(f"/dicom-web/studies/{uid}/metadata", token=token):
                found.add(instance["00080018"]["Value"][0])
        return found

    def _call(self, path, body=None, token=None):
        request = urllib.request.Request(self.address + path, data=body)
        request.add_header("Accept", "application/dicom+json, application/json")
        if body:
            request.add_header("Content-Type", "application/json")
        if token:
            request.add_header("Authorization", "Bearer " + token)
        with urllib.request.urlopen(request, timeout=PATIENCE) as answer:
            text = answer.read()
        return json.loads(text) if text else []

    def close(self, failed):
        """Ends everything; after a failure the end of the gateway's log is shown."""
        for running in (self.gateway, self.cloud):
            if running:
                running.kill()
        if failed:
            for name in ("cloud.log", "gateway.log"):
                if os.path.exists(self.path(name)):
                    with open(self.path(name), "rb") as log:
                        print(f"--- {name}\n" + log.read()[-6000:].decode("utf-8", "replace"))
        shutil.rmtree(self.folder)
