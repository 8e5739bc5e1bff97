"""What the rows stand on: programs started on loopback, on free ports and in a throw-away folder, ended by their own
process id; the samples; and what the kernel tells of a tree of processes."""

import contextlib
import json
import os
import re
import signal
import socket
import subprocess
import threading
import time
import urllib.request
from dataclasses import dataclass, field
from pathlib import Path

TITLE = "QUORIN"
EMAIL, PASSWORD = "bench@quorin.example", "bench-password"
PATIENCE_SECONDS = 120
TICKS = os.sysconf("SC_CLK_TCK")
# The toolkit of the senders and of Orthanc leaves Nagle's algorithm on, and every answer then waits some 40 ms for a
# delayed acknowledgement. Both sides are measured without it; the gateway turns it off by itself.
PROMPT = {**os.environ, "TCP_NODELAY": "1"}


@dataclass
class Row:
    """One line of the table; an empty text stands for what doesn't apply."""

    what: str
    ours: str
    peer: str = ""
    ratio: str = ""
    goal: str = ""
    measured: dict = field(default_factory=dict)  # what the texts stand on, round by round: {"ours": [...], ...}


class Failure(Exception):
    """A benchmark that could not be measured, with the reason."""


def await_true(what, condition, pause=0.02):
    end = time.monotonic() + PATIENCE_SECONDS
    while not condition():
        if time.monotonic() > end:
            raise Failure(f"{what} took longer than {PATIENCE_SECONDS} s")
        time.sleep(pause)


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def accepts(port):
    with socket.socket() as probe:
        return probe.connect_ex(("127.0.0.1", port)) == 0


@contextlib.contextmanager
def started(arguments, log, environment=PROMPT):
    with open(log, "w", encoding="utf-8") as out:
        process = subprocess.Popen(arguments, stdout=out, stderr=subprocess.STDOUT, env=environment)
    try:
        yield process
    finally:
        process.send_signal(signal.SIGTERM)
        try:
            process.wait(30)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()


# ---- What /proc tells of a tree of processes


def tree(root):
    """The process ids of a process and of everything below it."""
    found, at = [root], 0
    while at < len(found):
        for tasks in Path(f"/proc/{found[at]}/task").glob("*/children"):
            with contextlib.suppress(OSError):
                found += [int(child) for child in tasks.read_text().split()]
        at += 1
    return found


def processor_seconds(root):
    """Processor time of a tree, with the children that it has reaped."""
    ticks = 0
    for pid in tree(root):
        with contextlib.suppress(OSError):
            fields = Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()
            ticks += sum(int(field) for field in fields[11:15])
    return ticks / TICKS


def memory_mib(root):
    """Proportional set size of a tree: pages shared by its processes count once."""
    kib = 0
    for pid in tree(root):
        with contextlib.suppress(OSError):
            kib += int(re.search(r"^Pss:\s+(\d+)", Path(f"/proc/{pid}/smaps_rollup").read_text(), re.M)[1])
    return kib / 1024


def wake_ups(root):
    """How often the threads of a tree have gone to sleep of their own will so far."""
    switches = 0
    for pid in tree(root):
        for status in Path(f"/proc/{pid}/task").glob("*/status"):
            with contextlib.suppress(OSError):
                switches += int(re.search(r"^voluntary_ctxt_switches:\s+(\d+)", status.read_text(), re.M)[1])
    return switches


class PeakMemory:
    """Samples the memory of a tree every 50 ms while it is entered."""

    def __init__(self, root):
        self.mib = 0.0
        self._root = root
        self._over = threading.Event()
        self._sampler = threading.Thread(target=self._sample)

    def _sample(self):
        while not self._over.wait(0.05):
            self.mib = max(self.mib, memory_mib(self._root))

    def __enter__(self):
        self._sampler.start()
        return self

    def __exit__(self, *_):
        self._over.set()
        self._sampler.join()


# ---- The gateway, the cloud and the peer


class Gateway:
    """A gateway with a fresh home, listening and, without a cloud, not signed in; headless, or with its windows on a
    display."""

    def __init__(self, stack, binaries, folder, cloud="http://127.0.0.1:9", display=None):
        self._command = [str(binaries / "quorin-gateway"), "--home", str(folder / "home")]
        self._environment = {**PROMPT, "DISPLAY": display, "QT_QPA_PLATFORM": "xcb"} if display else PROMPT
        folder.mkdir()
        self.port = free_port()
        self.must("setup", "--ae-title", TITLE, "--port", str(self.port), "--no-bonjour")
        self.start_command = self._command + ["--bind", "127.0.0.1", "--cloud", cloud]
        self.start_command += [] if display else ["--headless"]
        self.pid = stack.enter_context(started(self.start_command, folder / "gateway.log", self._environment)).pid
        await_true("the start of the gateway", self.is_answering)
        await_true("the start of the listener", lambda: accepts(self.port))

    def is_answering(self):
        return self.ask("status", "--json").returncode == 0

    def ask(self, *arguments, words=None):
        return subprocess.run(self._command + list(arguments), input=words, capture_output=True, text=True,
                              env=self._environment)

    def must(self, *arguments, words=None):
        answer = self.ask(*arguments, words=words)
        if answer.returncode != 0:
            raise Failure(f"quorin-gateway {' '.join(arguments[:1])}: {answer.stderr.strip()}")

    def sign_in(self):
        self.must("sign-in", "--email", EMAIL, words=PASSWORD + "\n")

    def counters(self):
        return json.loads(self.ask("status", "--json").stdout)["counters"]

    def images(self):
        return self.counters()["images"]


class Orthanc:
    """The peer with its defaults; only its folders, its ports and its plugins are set."""

    def __init__(self, stack, _binaries, folder, more=None):
        folder.mkdir()
        self.port, self._web = free_port(), free_port()
        settings = {"StorageDirectory": str(folder / "store"), "IndexDirectory": str(folder / "store"),
                    "DicomPort": self.port, "HttpPort": self._web, "RemoteAccessAllowed": False, "Plugins": [],
                    **(more or {})}
        config = folder / "orthanc.json"
        config.write_text(json.dumps(settings), encoding="utf-8")
        self.pid = stack.enter_context(started(["Orthanc", str(config)], folder / "orthanc.log")).pid
        await_true("the start of Orthanc", lambda: accepts(self.port) and accepts(self._web), 0.1)

    def ask(self, path, question=None):
        """What its own interface answers; a question is posted."""
        body = None if question is None else json.dumps(question).encode()
        with urllib.request.urlopen(f"http://127.0.0.1:{self._web}{path}", body, PATIENCE_SECONDS) as answer:
            return json.load(answer)

    def images(self):
        return self.ask("/statistics")["CountInstances"]


class BareLoop:
    """The toolkit alone: one process an association, one fsync a file, no index."""

    def __init__(self, stack, binaries, folder):
        folder.mkdir()
        self._store = folder / "store"
        self._store.mkdir()
        log = folder / "bare.log"
        self.pid = stack.enter_context(started([str(binaries / "quorin-bare-receiver"), str(self._store)], log)).pid
        await_true("the start of the bare loop", lambda: "listening on " in log.read_text())
        self.port = int(re.search(r"listening on (\d+)", log.read_text())[1])

    def images(self):
        return sum(1 for _ in os.scandir(self._store))


@contextlib.contextmanager
def cloud(binaries, folder):
    """A local cloud that doesn't wait for its disk; gives its address."""
    folder.mkdir()
    log = folder / "cloud.log"
    arguments = [str(binaries / "quorin-cloud"), "--listen", "127.0.0.1:0", "--data", str(folder / "data"),
                 "--user", f"{EMAIL}:{PASSWORD}", "--no-sync", "--control"]
    with started(arguments, log):
        await_true("the start of the cloud", lambda: "listening on " in log.read_text())
        yield re.search(r"listening on (\S+)", log.read_text())[1]


class Bench:
    """A folder for the run, the CT samples in it, and how often a ratio is taken."""

    def __init__(self, binaries, work, images, rounds):
        self.binaries, self.work, self.images, self.rounds = binaries, work, images, rounds
        self._made = 0
        self.files = self.samples("ct", images)
        self.bytes = sum(file.stat().st_size for file in self.files)

    def run(self, program, *arguments):
        done = subprocess.run([str(self.binaries / program), *arguments], capture_output=True, text=True)
        if done.returncode != 0:
            raise Failure(f"{program}: {(done.stderr or done.stdout).strip()[-300:]}")
        return done.stdout

    def fresh(self, name):
        """A path that nobody has used."""
        self._made += 1
        return self.work / f"{name}-{self._made}"

    def samples(self, kind, count, *options):
        """The files of one kind, made at the first call."""
        folder = self.work / kind
        if not folder.exists():
            self.run("quorin-samples", "--out", str(folder), f"--{kind}", str(count), *options)
        files = sorted(folder.glob("*.dcm"))
        if len(files) != count:
            raise Failure(f"{len(files)} of {count} {kind} samples were made")
        return files

    def shares(self, files, count):
        """The files, dealt out to folders of links."""
        folders = [self.work / f"{files[0].parent.name}-share-{count}-{at}" for at in range(count)]
        for at, folder in enumerate(folders):
            if not folder.exists():
                folder.mkdir()
                for file in files[at::count]:
                    os.link(file, folder / file.name)
        return folders


def login(address):
    """The token of a session with a local cloud."""
    body = {"email": EMAIL, "password": PASSWORD, "otp": None, "platform": "Linux", "deviceId": "bench",
            "referrer": None, "device": {"pushId": None, "deviceId": "bench", "clientVersion": "1",
                                         "deviceName": "bench", "osVersion": "1", "model": "bench"}}
    request = urllib.request.Request(f"{address}/api/v1/auth/login", json.dumps(body).encode(),
                                     {"Content-Type": "application/json"})
    return json.load(urllib.request.urlopen(request, timeout=30))["token"]


def count_in(address):
    """How many instances a local cloud holds."""
    with urllib.request.urlopen(f"{address}/control/counts", timeout=30) as answer:
        return json.load(answer)["instances"]
