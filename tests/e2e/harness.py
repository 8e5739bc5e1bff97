"""Starts the built programs in throw-away homes on free loopback ports, for the end-to-end tests."""

import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.error
import urllib.request
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "support"))
from ports import free_port  # noqa: E402

PROGRAMS = Path(os.environ["QUORIN_PROGRAMS"])  # the folder that holds the built programs
TITLE = "QUORIN"
EMAIL = "demo@quorin.example"
PASSWORD = "demo-password"
PATIENCE_SECONDS = 180.0  # far longer than anything takes; a test that gets there has failed

DECODERS = {
    "1.2.840.10008.1.2": ["dcmconv", "+te"],
    "1.2.840.10008.1.2.1": ["dcmconv", "+te"],
    "1.2.840.10008.1.2.4.57": ["dcmdjpeg"],
    "1.2.840.10008.1.2.4.70": ["dcmdjpeg"],
    "1.2.840.10008.1.2.4.80": ["dcmdjpls"],
    "1.2.840.10008.1.2.5": ["dcmdrle"],
}
JPEG_LS_LOSSLESS = "1.2.840.10008.1.2.4.80"


def environment():
    """The user's own, without the key ring of their session."""
    kept = dict(os.environ)
    for name in ("DBUS_SESSION_BUS_ADDRESS", "QUORIN_GATEWAY_HOME", "QUORIN_GATEWAY_BIND", "QUORIN_CLOUD_URL"):
        kept.pop(name, None)
    return kept


def run(*command, text_in=None, check=True):
    """Runs a program to its end; a failure carries what it wrote."""
    ended = subprocess.run([str(part) for part in command], input=text_in, capture_output=True, text=True,
                           errors="replace", env=environment(), timeout=PATIENCE_SECONDS)
    if check and ended.returncode != 0:
        raise AssertionError(f"{command} ended with {ended.returncode}: {ended.stdout}{ended.stderr}")
    return ended


def await_true(what, condition, *processes):
    """Asks again and again until the condition holds; returns what it gave."""
    end = time.monotonic() + PATIENCE_SECONDS
    while True:
        found = condition()
        if found:
            return found
        for process in processes:
            if process.poll() is not None:
                raise AssertionError(f"a program ended with {process.returncode} while waiting for {what}")
        if time.monotonic() > end:
            raise AssertionError(f"waited in vain for {what}")
        time.sleep(0.1)


def request(address, body=None, headers=None):
    """One HTTP request: status, headers and body of the answer, whatever it says."""
    question = urllib.request.Request(address, data=body, headers=headers or {})
    try:
        with urllib.request.urlopen(question, timeout=PATIENCE_SECONDS) as answer:
            return answer.status, answer.headers, answer.read()
    except urllib.error.HTTPError as refusal:
        return refusal.code, refusal.headers, refusal.read()


def end(process):
    """Ends a program that was started here."""
    if process.poll() is None:
        process.terminate()
        try:
            process.wait(PATIENCE_SECONDS)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()


def parts_of(content_type, body):
    """The bodies of a multipart/related message (RFC 2046, clause 5.1)."""
    boundary = re.search(r'boundary="?([^";]+)"?', content_type).group(1).encode()
    sections = (b"\r\n" + body).split(b"\r\n--" + boundary)
    if len(sections) < 3 or not sections[-1].startswith(b"--"):
        raise AssertionError("the multipart body isn't whole")
    return [section.split(b"\r\n\r\n", 1)[1] for section in sections[1:-1]]


class Cloud:
    """A local quorin-cloud with one account and steering."""

    def __init__(self, folder, port=0, options=()):
        self._options = options
        self._data = folder / "cloud"
        self._log = folder / "cloud.log"
        self.start(port)

    def start(self, port):
        with open(self._log, "w", encoding="utf-8") as log:
            self.process = subprocess.Popen(
                [PROGRAMS / "quorin-cloud", "--listen", f"127.0.0.1:{port}", "--data", self._data,
                 "--user", f"{EMAIL}:{PASSWORD}", "--control", *self._options], stdout=log, stderr=log, env=environment())
        line = await_true("the cloud", lambda: re.search(r"^listening on (\S+)$", self._log.read_text(), re.M),
                          self.process)
        self.address = line.group(1)

    def end(self):
        end(self.process)

    def restart(self):
        self.start(int(self.address.rsplit(":", 1)[1]))

    def steer(self, what, **members):
        status, _, body = request(f"{self.address}/control/{what}", json.dumps(members).encode())
        if status != 204:
            raise AssertionError(f"{what} was answered with {status}: {body!r}")

    def instances(self):
        """SOP instance UID -> what the cloud tells of it."""
        status, _, body = request(f"{self.address}/control/instances")
        if status != 200:
            raise AssertionError(f"the instances were answered with {status}")
        return {next(value for key, value in one.items() if key.lower() == "sopinstanceuid"): one
                for one in json.loads(body)}

    def requests(self, method, path):
        """How many requests of a kind came, to all addresses that begin with the path."""
        _, _, body = request(f"{self.address}/control/counts")
        return sum(count for name, count in json.loads(body)["requests"].items()
                   if name.startswith(f"{method} {path}"))

    def token(self):
        """A session of another client's."""
        device = {"pushId": None, "deviceId": "test", "clientVersion": "1", "deviceName": "test", "osVersion": "1",
                  "model": "test"}
        login = {"email": EMAIL, "password": PASSWORD, "otp": None, "platform": "Linux", "deviceId": "test",
                 "referrer": None, "device": device}
        status, _, body = request(f"{self.address}/api/v1/auth/login", json.dumps(login).encode(),
                                  {"Content-Type": "application/json"})
        if status != 200:
            raise AssertionError(f"the login was answered with {status}: {body!r}")
        return json.loads(body)["token"]

    def fetch(self, token, study, series, instance):
        """The one file of an instance, as the cloud keeps it (PS3.18, clause 10.4)."""
        status, headers, body = request(
            f"{self.address}/dicom-web/studies/{study}/series/{series}/instances/{instance}",
            headers={"Authorization": f"Bearer {token}",
                     "Accept": 'multipart/related; type="application/dicom"; transfer-syntax=*'})
        if status != 200:
            raise AssertionError(f"{instance} was answered with {status}: {body[:200]!r}")
        parts = parts_of(headers["Content-Type"], body)
        if len(parts) != 1:
            raise AssertionError(f"{instance} came in {len(parts)} parts")
        return parts[0]


class Gateway:
    """A gateway in a home below the folder; without a display, unless told. Where no address is given, its settings name
    the cloud.
    """

    def __init__(self, folder, cloud_address, kind="quorin", options=(), variables=None, face=("--headless",),
                 program=PROGRAMS / "quorin-gateway"):
        self.home = folder / "home"
        self._log = folder / "gateway.log"
        named = () if cloud_address is None else ("--cloud", cloud_address, "--cloud-kind", kind)
        with open(self._log, "w", encoding="utf-8") as log:
            self.process = subprocess.Popen(
                [program, "--home", self.home, "--bind", "127.0.0.1", *named, *face, *options], stdout=log, stderr=log,
                env=environment() | (variables or {}))
        await_true("the gateway", self.status, self.process)

    def command(self, *arguments, text_in=None, check=True):
        return run(PROGRAMS / "quorin-gateway", "--home", self.home, *arguments, text_in=text_in, check=check)

    def status(self):
        told = self.command("status", "--json", check=False)
        return json.loads(told.stdout) if told.stdout else None

    def said(self):
        """What it has written so far."""
        return self._log.read_text()

    def set_up(self):
        """A port may be taken between the look for a free one and its use: then another one is tried."""
        for _ in range(5):
            self.port = free_port()
            ended = self.command("setup", "--ae-title", TITLE, "--port", self.port, "--no-bonjour", check=False)
            if ended.returncode == 0:
                break
        else:
            raise AssertionError(f"setup: {ended.stderr}")
        await_true("the listener", lambda: self.status()["listener"]["state"] == "listening", self.process)

    def sign_in(self, email=EMAIL, password=PASSWORD, check=True):
        return self.command("sign-in", "--email", email, text_in=password + "\n", check=check)

    def await_status(self, what, holds):
        """The first status that holds."""
        last = {}

        def asked():
            last["status"] = self.status()
            return last["status"] if last["status"] and holds(last["status"]) else None
        try:
            return await_true(what, asked, self.process)
        except AssertionError as failure:
            raise AssertionError(f"{failure}; last status: {json.dumps(last.get('status'))}\n"
                                 f"{self._log.read_text()[-3000:]}") from None

    def await_received(self, files):
        """Every frame of the files is in the index."""
        count = frames_of(files)
        return self.await_status(f"{count} received images", lambda s: s["counters"]["images"] == count)

    def await_synced(self, files):
        """Every frame of the files counts as uploaded."""
        count = frames_of(files)
        return self.await_status(f"{count} uploaded images", lambda s: s["counters"]["synced"] == count
                                 and s["counters"]["notSynced"] == 0)

    def end(self):
        end(self.process)


class EndToEndTest(unittest.TestCase):
    """A folder of the test's own, removed with everything in it."""

    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="e2e-"))
        self.addCleanup(shutil.rmtree, self.folder)

    def start_cloud(self):
        cloud = Cloud(self.folder)
        self.addCleanup(cloud.end)
        return cloud

    def start_gateway(self, cloud_address, kind="quorin", **more):
        gateway = Gateway(self.folder, cloud_address, kind, **more)
        self.addCleanup(gateway.end)
        gateway.set_up()
        return gateway

    def samples(self, seed=1, **counts):
        """New sample files: samples(ct=2, us=1, us_frames=4)."""
        out = self.folder / f"samples-{seed}"
        options = [text for kind, count in counts.items() for text in (f"--{kind.replace('_', '-')}", count)]
        run(PROGRAMS / "quorin-samples", "--out", out, "--seed", seed, *options)
        files = sorted(out.rglob("*.dcm"))
        self.assertEqual(len(files), sum(count for kind, count in counts.items() if kind != "us_frames"))
        return files


def send(gateway, files):
    """Sends files as they are; every one must be answered with success."""
    run("dcmsend", "--decompress-never", "-aec", TITLE, "127.0.0.1", gateway.port, *files)


def value_of(file, tag):
    """A UID or text of a file."""
    text = run("dcmdump", "-q", "-Un", "+P", tag, file).stdout
    return re.search(r"\[(.*?)\]", text).group(1)


def frames_of(files):
    """How many images the files hold; an object without frames counts as one."""
    count = 0
    for file in files:
        found = re.search(r"\[(\d+)\]", run("dcmdump", "-q", "+P", "0028,0008", file).stdout)
        count += int(found.group(1)) if found else 1
    return count


def identity_of(file):
    """Study, series and SOP instance UID."""
    return tuple(value_of(file, tag) for tag in ("0020,000d", "0020,000e", "0008,0018"))


def attributes_of(file):
    """What a file says, without what a change of the transfer syntax may change."""
    lines = []
    for line in run("dcmdump", "-q", "-Un", "+L", file).stdout.splitlines():
        tag = line.strip()[:11]
        if not tag.startswith("(") or tag.startswith(("(0002,", "(7fe0,", "(fffe,e00d", "(fffe,e0dd")):
            continue
        if tag.endswith(",0000)") or tag == "(0028,0006)" or line.strip().startswith("(fffe,e000) pi"):
            continue
        line = re.sub(r"\s+#\s*[u/\d]+,\s*\d+ \S+\s*$", "", line)
        lines.append(re.sub(r"with (explicit|undefined) length", "", line))
    return lines


def pixels_of(file, folder):
    """The decoded pixel data, by pixel, made by DCMTK; empty for an object without an image."""
    run("mkdir", "-p", folder)
    plain = Path(folder) / "plain.dcm"
    run(*DECODERS[value_of(file, "0002,0010")], file, plain)
    run("dcmdump", "-q", "+W", folder, plain)
    raw = sorted(Path(folder).glob("*.raw"))
    return b"".join(part.read_bytes() for part in raw)
