"""Measures the gateway beside its peers and prints one table.

Every row is made by one function, which returns what it measured as `Row`s. Programs are started on loopback, on free
ports and in a throw-away folder, and ended by their own process id. Figures of a shared machine are noisy: ratios are
taken in one run on the same files, side by side in turns, as the median of several rounds.
"""

import argparse
import contextlib
import json
import os
import platform
import re
import signal
import socket
import statistics
import subprocess
import sys
import tempfile
import threading
import time
import urllib.request
from dataclasses import dataclass
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
def started(arguments, log):
    with open(log, "w", encoding="utf-8") as out:
        process = subprocess.Popen(arguments, stdout=out, stderr=subprocess.STDOUT, env=PROMPT)
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
    """A headless gateway with a fresh home, listening and, without a cloud, not signed in."""

    def __init__(self, stack, binaries, folder, cloud="http://127.0.0.1:9"):
        self._command = [str(binaries / "quorin-gateway"), "--home", str(folder / "home")]
        folder.mkdir()
        arguments = self._command + ["--bind", "127.0.0.1", "--cloud", cloud, "--headless"]
        self.pid = stack.enter_context(started(arguments, folder / "gateway.log")).pid
        await_true("the start of the gateway", lambda: self.ask("status", "--json").returncode == 0)
        self.port = free_port()
        self.must("setup", "--ae-title", TITLE, "--port", str(self.port), "--no-bonjour")
        await_true("the start of the listener", lambda: accepts(self.port))

    def ask(self, *arguments, words=None):
        return subprocess.run(self._command + list(arguments), input=words, capture_output=True, text=True)

    def must(self, *arguments, words=None):
        answer = self.ask(*arguments, words=words)
        if answer.returncode != 0:
            raise Failure(f"quorin-gateway {arguments[0]}: {answer.stderr.strip()}")

    def counters(self):
        return json.loads(self.ask("status", "--json").stdout)["counters"]

    def images(self):
        return self.counters()["images"]


class Orthanc:
    """The peer with its defaults; only its folders, its ports and its plugins are set."""

    def __init__(self, stack, _binaries, folder):
        folder.mkdir()
        self.port, self._web = free_port(), free_port()
        settings = {"StorageDirectory": str(folder / "store"), "IndexDirectory": str(folder / "store"),
                    "DicomPort": self.port, "HttpPort": self._web, "RemoteAccessAllowed": False, "Plugins": []}
        config = folder / "orthanc.json"
        config.write_text(json.dumps(settings), encoding="utf-8")
        self.pid = stack.enter_context(started(["Orthanc", str(config)], folder / "orthanc.log")).pid
        await_true("the start of Orthanc", lambda: accepts(self.port) and accepts(self._web), 0.1)

    def images(self):
        with urllib.request.urlopen(f"http://127.0.0.1:{self._web}/statistics", timeout=30) as answer:
            return json.load(answer)["CountInstances"]


@contextlib.contextmanager
def cloud(binaries, folder):
    """A local cloud that doesn't wait for its disk; gives its address."""
    folder.mkdir()
    log = folder / "cloud.log"
    arguments = [str(binaries / "quorin-cloud"), "--listen", "127.0.0.1:0", "--data", str(folder / "data"),
                 "--user", f"{EMAIL}:{PASSWORD}", "--no-sync"]
    with started(arguments, log):
        await_true("the start of the cloud", lambda: "listening on " in log.read_text())
        yield re.search(r"listening on (\S+)", log.read_text())[1]


# ---- The rows


class Bench:
    def __init__(self, binaries, work, images, rounds):
        self.binaries, self.work, self.images, self.rounds = binaries, work, images, rounds
        self.made = 0
        self.ct = work / "ct"
        self.run("quorin-samples", "--out", str(self.ct), "--ct", str(images))
        self.files = sorted(self.ct.glob("*.dcm"))
        if len(self.files) != images:
            raise Failure(f"{len(self.files)} of {images} samples were made")
        self.bytes = sum(file.stat().st_size for file in self.files)

    def run(self, program, *arguments):
        done = subprocess.run([str(self.binaries / program), *arguments], capture_output=True, text=True)
        if done.returncode != 0:
            raise Failure(f"{program}: {(done.stderr or done.stdout).strip()[-300:]}")
        return done.stdout

    def fresh(self, name):
        self.made += 1
        return self.work / f"{name}-{self.made}"

    def shares(self, count):
        """The samples, dealt out to folders of links."""
        folders = [self.work / f"share-{count}-{at}" for at in range(count)]
        for at, folder in enumerate(folders):
            if not folder.exists():
                folder.mkdir()
                for file in self.files[at::count]:
                    os.link(file, folder / file.name)
        return folders

    def receive_once(self, kind, associations):
        """Images a second, processor milliseconds an image and peak MiB, until all are indexed."""
        folders = self.shares(associations)
        with contextlib.ExitStack() as stack:
            server = kind(stack, self.binaries, self.fresh("receive"))
            before = processor_seconds(server.pid)
            with PeakMemory(server.pid) as peak:
                begin = time.monotonic()
                senders = [subprocess.Popen(["dcmsend", "-aec", TITLE, "--scan-directories", "127.0.0.1",
                                             str(server.port), str(folder)],
                                            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, env=PROMPT)
                           for folder in folders]
                if any([sender.wait() for sender in senders]):
                    raise Failure(f"dcmsend to {kind.__name__} failed")
                await_true("indexing", lambda: server.images() >= self.images)
                took = time.monotonic() - begin
            spent = processor_seconds(server.pid) - before
            return self.images / took, spent * 1000 / self.images, peak.mib

    def receive(self, associations, goal):
        """Receive, import and index, in turns with Orthanc."""
        ours, theirs = [], []
        for _ in range(self.rounds):
            ours.append(self.receive_once(Gateway, associations))
            theirs.append(self.receive_once(Orthanc, associations))
        ratio = statistics.median(mine[0] / other[0] for mine, other in zip(ours, theirs))
        mine, other = ([statistics.median(column) for column in zip(*side)] for side in (ours, theirs))
        name = f"receive CT, {associations} association{'s' if associations > 1 else ''}"
        return [Row(f"{name}, images/s", f"{mine[0]:.0f}", f"Orthanc {other[0]:.0f}", f"{ratio:.2f}", goal),
                Row("  processor, ms an image", f"{mine[1]:.2f}", f"Orthanc {other[1]:.2f}",
                    f"{mine[1] / other[1]:.2f}", "<= 1.3 ms"),
                Row("  peak memory of the tree, MiB", f"{mine[2]:.0f}", f"Orthanc {other[2]:.0f}",
                    f"{mine[2] / other[2]:.2f}", "<= 90 MiB")]

    def receive_one(self):
        return self.receive(1, ">= 1.8")

    def receive_four(self):
        return self.receive(4, ">= 2.2")

    def cloud_way(self):
        """From the modality to the cloud as JPEG-LS, the receiving included, until nothing waits any more."""
        with contextlib.ExitStack() as stack:
            address = stack.enter_context(cloud(self.binaries, self.fresh("cloud")))
            gateway = Gateway(stack, self.binaries, self.fresh("way"), address)
            gateway.must("sign-in", "--email", EMAIL, words=PASSWORD + "\n")
            share = self.shares(4)[0]
            count = len(list(share.iterdir()))
            begin = time.monotonic()
            subprocess.run(["dcmsend", "-aec", TITLE, "--scan-directories", "127.0.0.1", str(gateway.port), str(share)],
                           check=True, capture_output=True, env=PROMPT)
            await_true("uploading", lambda: gateway.counters()["synced"] >= count, 0.1)
            return [Row("modality to cloud, JPEG-LS, defaults, images/s",
                        f"{count / (time.monotonic() - begin):.1f}")]

    def idle(self):
        """What a gateway that listens and has nothing to do takes."""
        with contextlib.ExitStack() as stack:
            gateway = Gateway(stack, self.binaries, self.fresh("idle"))
            time.sleep(3)
            before = wake_ups(gateway.pid), processor_seconds(gateway.pid)
            time.sleep(10)
            switches = wake_ups(gateway.pid) - before[0]
            share = (processor_seconds(gateway.pid) - before[1]) / 10
            return [Row("idle memory of the tree, MiB", f"{memory_mib(gateway.pid):.0f}", goal="<= 45 MiB"),
                    Row("idle wake-ups in 10 s", f"{switches}", goal="timers only"),
                    Row("idle share of a core", f"{share:.2%}", goal="< 0.2 %")]

    def index(self):
        """The costs of the index at two sizes, as its own benchmark tells them."""
        rows = []
        for line in self.run("quorin-index-bench", "10000", "1000000", "300").splitlines():
            found = re.match(r"(.+?)\s+([\d.]+)\s+([\d.]+)\s+([\d.]+)\s+[\d.]+\s+[\d.]+\s+[\d.]+$", line)
            if found:
                name, small, large, ratio = found.groups()
                rows.append(Row(f"{name}, µs, 1,000,000 rows", large, f"10,000: {small}", ratio, "<= 1.15"))
            elif found := re.match(r"(snapshots of \d+ studies): ([\d.]+) ms", line):
                rows.append(Row(f"{found[1]}, ms", found[2], goal="<= 300 ms"))
        if not rows:
            raise Failure("quorin-index-bench printed no figures")
        return rows

    def log(self):
        """What a caller of the log pays, and reading it back."""
        text = self.run("quorin-log-bench")
        rate, median, tail = re.search(r"events at (\d+) a second: caller ([\d.]+) us median, ([\d.]+) us p95",
                                       text).groups()
        read = float(re.search(r"events read: ([\d.]+) us each", text)[1])
        return [Row(f"log, µs a call at {rate} events/s (p95)", f"{median} ({tail})", goal="<= 5 µs"),
                Row("log, reading back, s for each 1,000,000 lines", f"{read:.2f}", goal="<= 2 s")]

    def curl_rate(self, files, at_once):
        """Files a second when curl posts the same bodies, one connection for each process."""
        with cloud(self.binaries, self.fresh("curl-cloud")) as address:
            login = {"email": EMAIL, "password": PASSWORD, "otp": None, "platform": "Linux", "deviceId": "bench",
                     "referrer": None,
                     "device": {"pushId": None, "deviceId": "bench", "clientVersion": "1", "deviceName": "bench",
                                "osVersion": "1", "model": "bench"}}
            request = urllib.request.Request(f"{address}/api/v1/auth/login", json.dumps(login).encode(),
                                             {"Content-Type": "application/json"})
            token = json.load(urllib.request.urlopen(request, timeout=30))["token"]
            bodies = self.fresh("bodies")
            bodies.mkdir()
            configs = []
            for share in range(at_once):
                parts = []
                for file in files[share::at_once]:
                    body = bodies / file.name
                    body.write_bytes(b"--bench\r\nContent-Type: application/dicom\r\n\r\n" + file.read_bytes()
                                     + b"\r\n--bench--\r\n")
                    parts.append(f'url = "{address}/dicom-web/studies"\ndata-binary = "@{body}"\n'
                                 'header = "Content-Type: multipart/related; type=\\"application/dicom\\"; '
                                 'boundary=bench"\nheader = "Accept: application/dicom+json"\nheader = "Expect:"\n'
                                 f'header = "Authorization: Bearer {token}"\noutput = "/dev/null"\n'
                                 'write-out = "%{http_code}\\n"\nsilent\n')
                configs.append(bodies / f"curl-{share}")
                configs[-1].write_text("next\n".join(parts), encoding="utf-8")
            begin = time.monotonic()
            running = [subprocess.Popen(["curl", "-K", str(config)], stdout=subprocess.PIPE, text=True)
                       for config in configs]
            codes = [code for one in running for code in one.communicate()[0].split()]
            took = time.monotonic() - begin
            if codes != ["200"] * len(files):
                raise Failure(f"curl: the cloud answered {sorted(set(codes))}")
            return len(files) / took

    def upload(self):
        """From the index to the cloud in each way of working, beside curl, and the conversion alone."""
        share = self.shares(4)[0]
        files = sorted(share.iterdir())
        size = sum(file.stat().st_size for file in files) / len(files) / 1e6
        found = {name.strip(): float(rate) for name, rate in
                 re.findall(r"^(\S.*?)\s+([\d.]+) files/s$", self.run("quorin-upload-bench", str(share)), re.M)}
        one, two = (statistics.median(self.curl_rate(files, count) for _ in range(self.rounds)) for count in (1, 2))
        beside = {"single, original": (one, ">= 0.8"), "parallel_file, original": (two, ">= 0.8")}
        rows = []
        for name, rate in found.items():
            if not name.startswith(("import", "conversion")):
                peer, goal = beside.get(name, (None, ""))
                rows.append(Row(f"upload {name}, files/s", f"{rate:.1f}", f"curl {peer:.1f}" if peer else "",
                                f"{rate / peer:.2f}" if peer else "", goal))
        alone = found["conversion alone, two at a time"]
        rows.append(Row("encode and verify, two at a time, files/s (MB/s)", f"{alone:.1f} ({alone * size:.0f})"))
        best = max(rate for name, rate in found.items() if name.endswith("JPEG-LS"))
        rows.append(Row("best JPEG-LS upload beside conversion alone", f"{best:.1f}", f"{alone:.1f}",
                        f"{best / alone:.2f}", ">= 0.85"))
        return rows


ROWS = {"receive-1": Bench.receive_one, "receive-4": Bench.receive_four, "way": Bench.cloud_way, "idle": Bench.idle,
        "upload": Bench.upload, "log": Bench.log, "index": Bench.index}


def machine():
    model = next((line.split(":", 1)[1].strip() for line in Path("/proc/cpuinfo").read_text().splitlines()
                  if line.startswith("model name")), platform.machine())
    memory = int(re.search(r"MemTotal:\s+(\d+)", Path("/proc/meminfo").read_text())[1]) / 1024 / 1024
    return f"{os.cpu_count()} x {model}, {memory:.0f} GiB, Linux {platform.release().split('-')[0]}"


def load():
    return f"{os.getloadavg()[0]:.1f}"


def print_table(rows):
    titles = ("what", "ours", "beside", "ratio", "goal", "load")
    lines = [titles, *((row.what, row.ours, row.peer, row.ratio, row.goal, at) for row, at in rows)]
    widths = [max(len(line[column]) for line in lines) for column in range(len(titles))]
    lines.insert(1, tuple("-" * width for width in widths))
    for line in lines:
        print("| " + " | ".join(text.ljust(width) for text, width in zip(line, widths)) + " |")


def main():
    parser = argparse.ArgumentParser(prog="./bench", description="Measures the gateway beside its peers.")
    parser.add_argument("rows", nargs="*", help=f"which to measure, all without: {', '.join(ROWS)}")
    parser.add_argument("--binaries", type=Path, required=True, help=argparse.SUPPRESS)
    parser.add_argument("--images", type=int, default=400, help="CT samples of 0.5 MB")
    parser.add_argument("--rounds", type=int, default=3, help="how often a ratio is taken; the median counts")
    chosen = parser.parse_args()
    if unknown := set(chosen.rows) - set(ROWS):
        parser.error(f"unknown: {', '.join(sorted(unknown))}")
    rows, failures = [], []
    begin, load_before = time.monotonic(), load()
    with tempfile.TemporaryDirectory() as work:
        bench = Bench(chosen.binaries, Path(work), chosen.images, chosen.rounds)
        for name in chosen.rows or ROWS:
            print(f"Measuring {name} ...", file=sys.stderr, flush=True)
            at = load()
            try:
                measured = ROWS[name](bench)
                rows += [(row, f"{at}-{load()}") for row in measured]
            except (Failure, OSError, subprocess.SubprocessError) as error:
                failures.append(f"{name}: {error}")
    print(f"{time.strftime('%Y-%m-%d %H:%M UTC', time.gmtime())}; {machine()}")
    print(f"{chosen.images} CT files, {bench.bytes / 1e6:.0f} MB, {chosen.rounds} rounds, "
          f"{time.monotonic() - begin:.0f} s; load average {load_before} before, {load()} after\n")
    print_table(rows)
    for failure in failures:
        print(f"Not measured: {failure}")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
